#include "core/cv_logger.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

using Corvel::CvLogger;

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
