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

        const int ok = int(BoundedBody::Status::Ok), tooLarge = int(BoundedBody::Status::TooLarge),
                  unreadable = int(BoundedBody::Status::Unreadable);
        const QByteArray text = sample(300000);
        const QByteArray gzip = compress(text, 16 + MAX_WBITS);
        QTest::newRow("identity") << QByteArray() << text << 70000 << text << ok;
        QTest::newRow("identity, named") << QByteArray("Identity") << text << 1000000 << text << ok;
        QTest::newRow("gzip in one piece") << QByteArray("gzip") << gzip << 1000000 << text << ok;
        QTest::newRow("gzip byte by byte")
            << QByteArray("gzip") << compress(sample(5000), 16 + MAX_WBITS) << 1 << sample(5000) << ok;
        QTest::newRow("two gzip members")
            << QByteArray("x-gzip") << gzip + compress("tail", 16 + MAX_WBITS) << 4096 << text + "tail" << ok;
        QTest::newRow("deflate, zlib-wrapped")
            << QByteArray("deflate") << compress(text, MAX_WBITS) << 8192 << text << ok;
        QTest::newRow("deflate, raw") << QByteArray("deflate") << compress(text, -MAX_WBITS) << 8192 << text << ok;
        QTest::newRow("exactly the limit") << QByteArray("gzip") << compress(QByteArray(1 << 20, ' '), 16 + MAX_WBITS)
                                           << 512 << QByteArray(1 << 20, ' ') << ok;
        QTest::newRow("one byte past the limit")
            << QByteArray("gzip") << compress(QByteArray((1 << 20) + 1, ' '), 16 + MAX_WBITS) << 512 << QByteArray()
            << tooLarge;
        QTest::newRow("plain past the limit")
            << QByteArray() << QByteArray((1 << 20) + 1, ' ') << 300000 << QByteArray() << tooLarge;
        QTest::newRow("gzip broken off") << QByteArray("gzip") << gzip.left(gzip.size() / 2) << 4096 << QByteArray()
                                         << unreadable;
        QTest::newRow("not gzip at all") << QByteArray("gzip") << text.left(1000) << 4096 << QByteArray() << unreadable;
        QTest::newRow("unknown encoding") << QByteArray("br") << text.left(1000) << 4096 << QByteArray() << unreadable;
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
