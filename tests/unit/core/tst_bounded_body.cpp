#include "core/bounded_body.h"

#include <QtTest>

#include <zlib.h>

using Corvel::BoundedBody;

namespace {

// windowBits as zlib takes them: 16 + 15 gzip, 15 zlib-wrapped deflate, -15 raw deflate.
QByteArray compress(const QByteArray& data, int windowBits)
{
    z_stream stream{};
    if (deflateInit2(&stream, 9, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        return {};
    QByteArray out(int(deflateBound(&stream, uLong(data.size()))), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
    stream.avail_in = uInt(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = uInt(out.size());
    deflate(&stream, Z_FINISH);
    out.truncate(int(stream.total_out));
    deflateEnd(&stream);
    return out;
}

QByteArray sample(int size)
{
    QByteArray data;
    for (int i = 0; data.size() < size; ++i)
        data += QByteArray::number(i * 7919) + ',';
    return data.left(size);
}

} // namespace

class TestBoundedBody : public QObject {
    Q_OBJECT

private slots:
    void decode_data()
    {
        QTest::addColumn<QByteArray>("encoding");
        QTest::addColumn<QByteArray>("wire");
        QTest::addColumn<int>("chunk"); // bytes per feed, as the network hands them over
        QTest::addColumn<QByteArray>("decoded");
        QTest::addColumn<int>("status"); // BoundedBody::Status after finish()

        const auto row = [](const char* name, const QByteArray& encoding, const QByteArray& wire, int chunk,
                            const QByteArray& decoded, BoundedBody::Status status = BoundedBody::Status::Ok) {
            QTest::newRow(name) << encoding << wire << chunk << decoded << int(status);
        };
        const BoundedBody::Status tooLarge = BoundedBody::Status::TooLarge,
                                  unreadable = BoundedBody::Status::Unreadable;
        const int gzipBits = 16 + MAX_WBITS;
        const QByteArray text = sample(300000), gzip = compress(text, gzipBits);
        const QByteArray limit(1 << 20, ' ');
        row("identity", {}, text, 70000, text);
        row("gzip in one piece", "gzip", gzip, 1000000, text);
        row("gzip byte by byte", "gzip", compress(sample(5000), gzipBits), 1, sample(5000));
        row("two gzip members", "x-gzip", gzip + compress("tail", gzipBits), 4096, text + "tail");
        row("deflate, zlib-wrapped", "deflate", compress(text, MAX_WBITS), 8192, text);
        row("deflate, raw", "deflate", compress(text, -MAX_WBITS), 8192, text);
        row("exactly the limit", "gzip", compress(limit, gzipBits), 512, limit);
        row("one byte past the limit", "gzip", compress(limit + ' ', gzipBits), 512, {}, tooLarge);
        row("plain past the limit", {}, limit + ' ', 300000, {}, tooLarge);
        row("gzip broken off", "gzip", gzip.left(gzip.size() / 2), 4096, {}, unreadable);
        row("unknown encoding", "br", text.left(1000), 4096, {}, unreadable);
    }

    // Whatever the encoding, the sink never sees a piece over PieceBytes nor, in all, more than the
    // limit (1 MiB here).
    void decode()
    {
        QFETCH(QByteArray, encoding);
        QFETCH(QByteArray, wire);
        QFETCH(int, chunk);
        QFETCH(QByteArray, decoded);
        QFETCH(int, status);

        BoundedBody body(encoding, 1 << 20);
        QByteArray out;
        qint64 largestPiece = 0;
        const BoundedBody::Sink sink = [&](const char* data, qint64 size) {
            out.append(data, int(size));
            largestPiece = qMax(largestPiece, size);
            return true;
        };
        for (int offset = 0; offset < wire.size() && body.status() == BoundedBody::Status::Ok; offset += chunk)
            body.feed(wire.mid(offset, chunk), sink);
        QCOMPARE(int(body.finish()), status);
        QVERIFY(largestPiece <= BoundedBody::PieceBytes);
        QVERIFY(out.size() <= 1 << 20);
        if (status == int(BoundedBody::Status::Ok))
            QCOMPARE(out, decoded);
    }

    void sinkRefusal()
    {
        BoundedBody body(QByteArray(), 1000);
        QCOMPARE(body.feed("abc", [](const char*, qint64) { return false; }), BoundedBody::Status::Unreadable);
        int calls = 0;
        body.feed("def", [&](const char*, qint64) { return ++calls > 0; });
        QCOMPARE(calls, 0);
    }
};

QTEST_GUILESS_MAIN(TestBoundedBody)
#include "tst_bounded_body.moc"
