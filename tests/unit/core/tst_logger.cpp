#include "core/cv_logger.h"
#include "testsupport/manual_clock.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>

#include <memory>

using Corvel::CvLogger;

namespace {

// Stands for the disk under the log folder: while `full`, a write takes at most `acceptBytes`
// of a line (what a filling disk still had room for) and fails; opening fails while `openRefused`.
class Disk : public Corvel::LogFileSystem {
public:
    bool full = false;
    bool openRefused = false;
    qint64 acceptBytes = 0;
    int tries = 0; // writes and opens

    std::unique_ptr<QFile> openAppend(const QString& path) override
    {
        ++tries;
        auto file = std::make_unique<File>(path, this);
        if (openRefused || !file->open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered))
            return nullptr;
        return file;
    }

private:
    class File : public QFile {
    public:
        File(const QString& path, Disk* disk)
            : QFile(path)
            , m_disk(disk)
        {
        }

    protected:
        qint64 writeData(const char* data, qint64 length) override
        {
            ++m_disk->tries;
            if (!m_disk->full)
                return QFile::writeData(data, length);
            const qint64 part = qMin(length, m_disk->acceptBytes);
            m_disk->acceptBytes -= part;
            return part > 0 ? QFile::writeData(data, part) : -1;
        }

    private:
        Disk* m_disk;
    };
};

QString readAll(const QString& path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return QString::fromUtf8(file.readAll());
}

} // namespace

class TestLogger : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { qInstallMessageHandler(nullptr); }

    void lineFormat_data()
    {
        QTest::addColumn<int>("minimum");
        QTest::addColumn<int>("type");
        QTest::addColumn<QByteArray>("source"); // under the source tree
        QTest::addColumn<QString>("line");      // after the thread id; empty: nothing written
        QTest::newRow("debug dropped") << int(QtInfoMsg) << int(QtDebugMsg) << QByteArray() << "";
        QTest::newRow("info") << int(QtInfoMsg) << int(QtInfoMsg) << QByteArray() << "INFO (:0) hi";
        QTest::newRow("warning") << int(QtInfoMsg) << int(QtWarningMsg) << QByteArray() << "WARN (:0) hi";
        QTest::newRow("critical") << int(QtInfoMsg) << int(QtCriticalMsg) << QByteArray() << "ERROR (:0) hi";
        QTest::newRow("source prefix stripped") << int(QtInfoMsg) << int(QtInfoMsg) << QByteArray("src/app/startup.cpp")
                                                << "INFO (src/app/startup.cpp:42) hi";
    }

    void lineFormat()
    {
        QFETCH(int, minimum);
        QFETCH(int, type);
        QFETCH(QByteArray, source);
        QFETCH(QString, line);
        QTemporaryDir dir;
        QVERIFY(CvLogger::init(QtMsgType(minimum), dir.path() + "/logs", "corvel.log", 10485760));
        const QByteArray ownFile(__FILE__);
        const QByteArray file = ownFile.left(ownFile.indexOf("tests/unit/core/")) + source;
        const QMessageLogContext context(source.isEmpty() ? nullptr : file.constData(), source.isEmpty() ? 0 : 42,
                                         nullptr, nullptr);
        CvLogger::handleMessage(QtMsgType(type), context, QStringLiteral("hi"));
        const QString text = readAll(dir.path() + "/logs/corvel.log");
        const QStringList parts = line.split(' ');
        const QRegularExpression expected("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}\\t" + parts.value(0) +
                                          "\\tTID=\\d+\\t" + QRegularExpression::escape(parts.mid(1).join(' ')) +
                                          "\\r\\n$");
        QVERIFY2(line.isEmpty() ? text.isEmpty() : expected.match(text).hasMatch(), qPrintable(text));
    }

    void rotationKeepsFive()
    {
        QTemporaryDir dir;
        QVERIFY(CvLogger::init(QtInfoMsg, dir.path(), "corvel.log", 4));
        for (int i = 1; i <= 7; ++i) // each line lands exactly on the rotation size
            CvLogger::instance()->write(QString("L%1\r\n").arg(i));
        QStringList found;
        for (int n = 1; n <= 6; ++n)
            found << readAll(dir.path() + QString("/corvel.%1.log").arg(n)).remove("\r\n");
        QCOMPARE(found, (QStringList{"L7", "L6", "L5", "L4", "L3", ""}));
    }

    void fullDiskLosesCountedLinesAndRecovers_data()
    {
        QTest::addColumn<qint64>("acceptBytes"); // of the first line that meets the full disk
        QTest::newRow("write refused") << qint64(0);
        QTest::newRow("half a line fits") << qint64(7);
    }

    void fullDiskLosesCountedLinesAndRecovers()
    {
        QFETCH(qint64, acceptBytes);
        QTemporaryDir dir;
        auto disk = std::make_shared<Disk>();
        auto clock = std::make_shared<CorvelTest::ManualClock>();
        QVERIFY(CvLogger::init(QtInfoMsg, dir.path(), "corvel.log", 10485760, clock, disk));
        CvLogger& logger = *CvLogger::instance();
        logger.write("before\r\n");
        disk->full = disk->openRefused = true;
        disk->acceptBytes = acceptBytes;
        logger.write("first lost line\r\n");
        int lost = 1;
        QCOMPARE(logger.lostLines(), quint64(lost));

        // Nothing is tried within the second, however many lines come, and nothing is kept.
        const int tries = disk->tries;
        const size_t heapBefore = mallinfo2().uordblks;
        const int savedStderr = ::dup(2), null = ::open("/dev/null", O_WRONLY);
        ::dup2(null, 2);
        for (int i = 0; i < 50000; ++i, ++lost)
            logger.write(QString(100, 'x') + "\r\n");
        std::fflush(stderr);
        ::dup2(savedStderr, 2);
        ::close(savedStderr);
        ::close(null);
        QVERIFY2(mallinfo2().uordblks < heapBefore + 1024 * 1024, "lost lines are kept");
        clock->advance(999);
        logger.write("still within the second\r\n");
        QCOMPARE(disk->tries, tries);

        // One try when the second is up, which fails; then another second to wait.
        clock->advance(1);
        logger.write("tried and lost\r\n");
        QCOMPARE(disk->tries, tries + 1);
        lost += 2;
        QCOMPARE(logger.lostLines(), quint64(lost));

        // Space comes back: the next line waits for its turn, then one line tells the loss.
        disk->full = disk->openRefused = false;
        logger.write("space is back, but the second is not up\r\n");
        ++lost;
        QCOMPARE(disk->tries, tries + 1);
        clock->advance(1000);
        logger.write("after\r\n");
        QCOMPARE(logger.lostLines(), quint64(0));

        const QString text = readAll(dir.path() + "/corvel.log");
        QVERIFY2(text.startsWith("before\r\n" + QString(acceptBytes ? "first l\r\n" : "") + "20"),
                 qPrintable(text.left(200))); // a torn line is ended
        const QStringList lines = text.split("\r\n", Qt::SkipEmptyParts);
        const QRegularExpression notice(
            QString("^\\S+ \\S+\\tWARN\\tTID=\\d+\\t\\(:0\\) Log file could not be written: %1 lines lost$").arg(lost));
        QCOMPARE(lines.size(), acceptBytes ? 4 : 3);
        QVERIFY2(notice.match(lines.value(lines.size() - 2)).hasMatch(), qPrintable(text));
        QCOMPARE(lines.last(), QString("after"));
    }
};

QTEST_GUILESS_MAIN(TestLogger)
#include "tst_logger.moc"
