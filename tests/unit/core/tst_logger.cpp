#include "core/cv_logger.h"
#include "testsupport/manual_clock.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>

#include <memory>

using Corvel::CvLogger;

namespace {

// Stands for the disk under the log folder: while `full`, a write takes at most `acceptBytes`
// of a line (what a filling disk still had room for) and fails; opening fails while
// `openRefused`, renaming the log file itself while `renameRefused`.
struct Disk {
    bool full = false;
    bool openRefused = false;
    qint64 acceptBytes = 0;
    bool renameRefused = false;
    int writeAttempts = 0;
    int openAttempts = 0;
    int logRenames = 0;
};

class DiskFile : public QFile {
public:
    DiskFile(const QString& path, std::shared_ptr<Disk> disk)
        : QFile(path)
        , m_disk(std::move(disk))
    {
    }

protected:
    qint64 writeData(const char* data, qint64 length) override
    {
        ++m_disk->writeAttempts;
        if (!m_disk->full)
            return QFile::writeData(data, length);
        const qint64 part = qMin(length, m_disk->acceptBytes);
        m_disk->acceptBytes -= part;
        if (part > 0)
            QFile::writeData(data, part);
        return part > 0 ? part : -1;
    }

private:
    std::shared_ptr<Disk> m_disk;
};

class DiskFileSystem : public Corvel::LogFileSystem {
public:
    explicit DiskFileSystem(std::shared_ptr<Disk> disk)
        : m_disk(std::move(disk))
    {
    }

    std::unique_ptr<QFile> openAppend(const QString& path) override
    {
        ++m_disk->openAttempts;
        if (m_disk->openRefused)
            return nullptr;
        auto file = std::make_unique<DiskFile>(path, m_disk);
        if (!file->open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered))
            return nullptr;
        return file;
    }

    bool rename(const QString& from, const QString& to) override
    {
        if (QFileInfo(from).fileName() != "corvel.log")
            return LogFileSystem::rename(from, to);
        ++m_disk->logRenames;
        return !m_disk->renameRefused && LogFileSystem::rename(from, to);
    }

private:
    std::shared_ptr<Disk> m_disk;
};

// Standard error goes nowhere while alive (the logger copies every line there).
class StderrSilenced {
public:
    StderrSilenced()
        : m_saved(::dup(2))
    {
        const int null = ::open("/dev/null", O_WRONLY);
        ::dup2(null, 2);
        ::close(null);
    }
    ~StderrSilenced()
    {
        std::fflush(stderr);
        ::dup2(m_saved, 2);
        ::close(m_saved);
    }

private:
    int m_saved;
};

} // namespace

class TestLogger : public QObject {
    Q_OBJECT

private:
    QString readAll(const QString& path)
    {
        QFile file(path);
        file.open(QIODevice::ReadOnly);
        return QString::fromUtf8(file.readAll());
    }

private slots:
    void cleanup() { qInstallMessageHandler(nullptr); }

    void lineFormat_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("word");
        QTest::addColumn<bool>("written");
        QTest::newRow("debug dropped") << int(QtDebugMsg) << "DEBUG" << false;
        QTest::newRow("info") << int(QtInfoMsg) << "INFO" << true;
        QTest::newRow("warning") << int(QtWarningMsg) << "WARN" << true;
        QTest::newRow("critical") << int(QtCriticalMsg) << "ERROR" << true;
        QTest::newRow("unknown type") << 77 << "" << true;
    }

    void lineFormat()
    {
        QFETCH(int, type);
        QFETCH(QString, word);
        QFETCH(bool, written);
        QTemporaryDir dir;
        QVERIFY(CvLogger::init(QtInfoMsg, dir.path() + "/logs", "corvel.log", 10485760));
        QMessageLogContext context;
        CvLogger::handleMessage(static_cast<QtMsgType>(type), context, QStringLiteral("hello world"));
        const QString text = readAll(dir.path() + "/logs/corvel.log");
        if (!written) {
            QCOMPARE(text, QString());
            return;
        }
        const QRegularExpression line("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}\\t" +
                                      QRegularExpression::escape(word) + "\\tTID=\\d+\\t\\(:0\\) hello world\\r\\n$");
        QVERIFY2(line.match(text).hasMatch(), qPrintable(text));
    }

    void unknownMinimumLevelPassesOnlyUnknownTypes()
    {
        QTemporaryDir dir;
        QVERIFY(CvLogger::init(static_cast<QtMsgType>(99), dir.path(), "corvel.log", 10485760));
        QMessageLogContext context;
        CvLogger::handleMessage(QtCriticalMsg, context, "critical");
        CvLogger::handleMessage(static_cast<QtMsgType>(42), context, "odd");
        const QString text = readAll(dir.path() + "/corvel.log");
        QVERIFY(!text.contains("critical"));
        QVERIFY(text.contains("odd"));
    }

    void sourcePrefixIsStripped()
    {
        QTemporaryDir dir;
        QVERIFY(CvLogger::init(QtInfoMsg, dir.path(), "corvel.log", 10485760));
        const QByteArray ownFile(__FILE__);
        const QByteArray root = ownFile.left(ownFile.indexOf("tests/unit/core/"));
        const QByteArray file = root + "src/app/startup.cpp";
        QMessageLogContext context(file.constData(), 42, "f", "default");
        CvLogger::handleMessage(QtInfoMsg, context, "x");
        QVERIFY2(readAll(dir.path() + "/corvel.log").contains("\t(src/app/startup.cpp:42) x\r\n"),
                 qPrintable(readAll(dir.path() + "/corvel.log")));
    }

    void rotatesAtExactSize()
    {
        QTemporaryDir dir;
        const QMessageLogContext context;
        // Measure one line, then size the limit so that the second line lands exactly on it.
        QVERIFY(CvLogger::init(QtInfoMsg, dir.path(), "corvel.log", 1u << 30));
        const QString line = CvLogger::instance()->formatLine(QtInfoMsg, context, "0123456789");
        const quint64 lineSize = static_cast<quint64>(line.toUtf8().size());
        QFile::remove(dir.path() + "/corvel.log");
        QVERIFY(CvLogger::init(QtInfoMsg, dir.path(), "corvel.log", 2 * lineSize));
        CvLogger::instance()->write(line);
        QVERIFY(!QFile::exists(dir.path() + "/corvel.1.log"));
        CvLogger::instance()->write(line);
        QVERIFY(QFile::exists(dir.path() + "/corvel.1.log"));
        QCOMPARE(QFileInfo(dir.path() + "/corvel.1.log").size(), qint64(2 * lineSize));
        QCOMPARE(QFileInfo(dir.path() + "/corvel.log").size(), qint64(0));
        CvLogger::instance()->write("next\r\n");
        QCOMPARE(readAll(dir.path() + "/corvel.log"), QString("next\r\n"));
    }

    void rotationShiftsAndKeepsFive()
    {
        QTemporaryDir dir;
        QVERIFY(CvLogger::init(QtInfoMsg, dir.path(), "corvel.log", 4));
        for (int i = 1; i <= 7; ++i)
            CvLogger::instance()->write(QString("L%1\r\n").arg(i));
        // Newest rotated file holds the latest line; the oldest kept is the fifth back.
        QCOMPARE(readAll(dir.path() + "/corvel.1.log"), QString("L7\r\n"));
        QCOMPARE(readAll(dir.path() + "/corvel.5.log"), QString("L3\r\n"));
        QVERIFY(!QFile::exists(dir.path() + "/corvel.6.log"));
    }

    void undeletableOldestKeepsFourthInPlace()
    {
        QTemporaryDir dir;
        // A non-empty folder named corvel.5.log cannot be removed as a file.
        QVERIFY(QDir().mkpath(dir.path() + "/corvel.5.log/keep"));
        for (int n = 1; n <= 4; ++n) {
            QFile file(dir.path() + QString("/corvel.%1.log").arg(n));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(QByteArray::number(n));
        }
        QVERIFY(CvLogger::init(QtInfoMsg, dir.path(), "corvel.log", 4));
        CvLogger::instance()->write("new!\r\n");
        // corvel.4 is not moved onto the stuck corvel.5; the lower ones shift as usual.
        QVERIFY(QFileInfo(dir.path() + "/corvel.5.log/keep").isDir());
        QCOMPARE(readAll(dir.path() + "/corvel.4.log"), QString("3"));
        QCOMPARE(readAll(dir.path() + "/corvel.3.log"), QString("2"));
        QCOMPARE(readAll(dir.path() + "/corvel.2.log"), QString("1"));
        QCOMPARE(readAll(dir.path() + "/corvel.1.log"), QString("new!\r\n"));
    }

    void fullDiskLosesCountedLinesAndRecovers_data()
    {
        QTest::addColumn<qint64>("acceptBytes"); // of the first line that meets the full disk
        QTest::addColumn<bool>("rotateIntoFullDisk");
        QTest::newRow("write refused") << qint64(0) << false;
        QTest::newRow("half a line fits") << qint64(7) << false;
        QTest::newRow("rotation cannot reopen the file") << qint64(0) << true;
    }

    void fullDiskLosesCountedLinesAndRecovers()
    {
        QFETCH(qint64, acceptBytes);
        QFETCH(bool, rotateIntoFullDisk);
        QTemporaryDir dir;
        const QString path = dir.path() + "/corvel.log";
        auto disk = std::make_shared<Disk>();
        auto clock = std::make_shared<CorvelTest::ManualClock>();
        QVERIFY(CvLogger::init(QtInfoMsg, dir.path(), "corvel.log", rotateIntoFullDisk ? 20 : 10485760, clock,
                               std::make_shared<DiskFileSystem>(disk)));
        CvLogger& logger = *CvLogger::instance();
        logger.write("before\r\n");

        // When rotating, a line that still fits takes the file past the rotation size, and the
        // file cannot be made again after it has been moved aside.
        disk->openRefused = true;
        disk->full = !rotateIntoFullDisk;
        disk->acceptBytes = acceptBytes;
        logger.write(rotateIntoFullDisk ? "fills the file up\r\n" : "first lost line\r\n");
        int lost = rotateIntoFullDisk ? 0 : 1;
        QCOMPARE(logger.lostLines(), quint64(lost));
        disk->full = true;

        // Nothing is tried within the second, however many lines come, and nothing is kept.
        const int attempts = disk->writeAttempts + disk->openAttempts;
        const QString filler(100, QChar('x'));
        const size_t heapBefore = mallinfo2().uordblks;
        {
            StderrSilenced quiet;
            for (int i = 0; i < 50000; ++i)
                logger.write(filler + "\r\n");
        }
        lost += 50000;
        QVERIFY2(mallinfo2().uordblks < heapBefore + 1024 * 1024,
                 qPrintable(QString("heap grew by %1 bytes").arg(mallinfo2().uordblks - heapBefore)));
        QCOMPARE(disk->writeAttempts + disk->openAttempts, attempts);
        clock->advance(999);
        logger.write("still within the second\r\n");
        ++lost;
        QCOMPARE(disk->writeAttempts + disk->openAttempts, attempts);

        // One try when the second is up, which fails; then another second to wait.
        clock->advance(1);
        logger.write("tried and lost\r\n");
        ++lost;
        QCOMPARE(disk->writeAttempts + disk->openAttempts, attempts + 1);
        QCOMPARE(logger.lostLines(), quint64(lost));

        // Space comes back: the next line waits for its turn, then one line tells the loss.
        disk->full = false;
        disk->openRefused = false;
        logger.write("space is back, but the second is not up\r\n");
        ++lost;
        QCOMPARE(disk->writeAttempts + disk->openAttempts, attempts + 1);
        clock->advance(1000);
        logger.write("after\r\n");
        QCOMPARE(logger.lostLines(), quint64(0));

        // A rotation that went wrong has rotated once more since (the notice passes its size).
        const QString text = readAll(rotateIntoFullDisk ? dir.path() + "/corvel.1.log" : path);
        if (rotateIntoFullDisk)
            QCOMPARE(readAll(dir.path() + "/corvel.2.log"), QString("before\r\nfills the file up\r\n"));
        else
            QVERIFY2(text.startsWith("before\r\n"), qPrintable(text.left(200)));
        QVERIFY2(text.endsWith("after\r\n"), qPrintable(text.right(200)));
        const QStringList lines = text.split("\r\n", Qt::SkipEmptyParts);
        const QRegularExpression notice(
            QString("^\\S+ \\S+\\tWARN\\tTID=\\d+\\t\\(:0\\) Log file could not be written: %1 lines lost$").arg(lost));
        QCOMPARE(lines.filter("could not be written").size(), 1);
        QVERIFY2(notice.match(lines[lines.size() - 2]).hasMatch(), qPrintable(lines[lines.size() - 2]));
        QVERIFY(!text.contains("xxxx"));
        if (acceptBytes > 0)
            QVERIFY2(text.contains("first l\r\n"), qPrintable(text)); // the torn line is ended
    }

    void stuckRotationIsRetriedOnceASecond()
    {
        QTemporaryDir dir;
        for (int n = 1; n <= 5; ++n) {
            QFile file(dir.path() + QString("/corvel.%1.log").arg(n));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(QByteArray::number(n));
        }
        auto disk = std::make_shared<Disk>();
        disk->renameRefused = true; // another program holds the file
        auto clock = std::make_shared<CorvelTest::ManualClock>();
        QVERIFY(CvLogger::init(QtInfoMsg, dir.path(), "corvel.log", 10, clock, std::make_shared<DiskFileSystem>(disk)));
        CvLogger& logger = *CvLogger::instance();
        for (int i = 0; i < 50; ++i)
            logger.write(QString("line %1\r\n").arg(i));
        QCOMPARE(disk->logRenames, 1);
        // Writing went on into the file that could not be moved.
        QCOMPARE(readAll(dir.path() + "/corvel.log").count("\r\n"), 50);
        QCOMPARE(logger.lostLines(), quint64(0));

        for (int second = 1; second <= 3; ++second) {
            clock->advance(1000);
            logger.write("again\r\n");
            logger.write("and again\r\n");
            QCOMPARE(disk->logRenames, 1 + second);
        }
        // The first attempt made room once; the retries pushed no older file out.
        for (int n = 2; n <= 5; ++n)
            QCOMPARE(readAll(dir.path() + QString("/corvel.%1.log").arg(n)), QString::number(n - 1));

        disk->renameRefused = false;
        clock->advance(1000);
        logger.write("rotates now\r\n");
        QVERIFY(readAll(dir.path() + "/corvel.1.log").startsWith("line 0\r\n"));
        QCOMPARE(readAll(dir.path() + "/corvel.2.log"), QString("1"));
        QCOMPARE(readAll(dir.path() + "/corvel.log"), QString());
    }

    void concurrentWritersProduceWholeLines()
    {
        QTemporaryDir dir;
        QVERIFY(CvLogger::init(QtInfoMsg, dir.path(), "corvel.log", 10485760));
        QList<QThread*> threads;
        for (int t = 0; t < 8; ++t) {
            threads << QThread::create([t] {
                for (int i = 0; i < 300; ++i)
                    qInfo().noquote() << QString("thread %1 message %2 ").arg(t).arg(i) + QString(40, QChar('x'));
            });
            threads.last()->start();
        }
        for (QThread* thread : threads) {
            thread->wait();
            delete thread;
        }
        qInstallMessageHandler(nullptr);
        const QStringList lines = readAll(dir.path() + "/corvel.log").split("\r\n", Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 8 * 300);
        const QRegularExpression whole(
            "^\\S+ \\S+\\tINFO\\tTID=\\d+\\t\\([^)]*:\\d+\\) thread \\d message \\d+ x{40}$");
        for (const QString& line : lines)
            QVERIFY2(whole.match(line).hasMatch(), qPrintable(line));
    }
};

QTEST_GUILESS_MAIN(TestLogger)
#include "tst_logger.moc"
