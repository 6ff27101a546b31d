#include "http_test_server.h"
#include "testsupport/cloud_sim.h"
#include "testsupport/log_capture.h"
#include "updater/updater.h"

#include <QElapsedTimer>
#include <QFutureWatcher>
#include <QtConcurrent>
#include <QtTest>

using CorvelTest::HttpTestServer;
using CorvelTest::LogCapture;
using CVUpdater::Updater;

namespace {
const QString DescriptorPath = QStringLiteral("/Corvel/autoupdate.xml");

QByteArray descriptor(const QByteArray& version)
{
    return "<?xml version=\"1.0\"?>\n<BuildInfo>\n  <MsiPathX64>http://127.0.0.1:1/x64.exe</MsiPathX64>\n  <Version>" +
           version + "</Version>\n  <Notice>Fixes</Notice>\n</BuildInfo>\n";
}
} // namespace

class TestUpdateCheck : public QObject {
    Q_OBJECT
private slots:
    void descriptorFetch_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected"); // "url|version|notice", or the line logged on failure

        QTest::newRow("64-bit location preferred")
            << 200
            << QByteArray("<BuildInfo><MsiPath>http://h/32.exe</MsiPath><MsiPathX64>http://h/64.exe</MsiPathX64>"
                          "<Version>1.7.1.12</Version><Notice>New jobs view</Notice></BuildInfo>")
            << "http://h/64.exe|1.7.1.12|New jobs view";
        QTest::newRow("plain location when no 64-bit one")
            << 200 << QByteArray("<BuildInfo><MsiPath>http://h/32.exe</MsiPath><Version>1.7.1.12</Version>"
                                 "<Notice>n</Notice></BuildInfo>")
            << "http://h/32.exe|1.7.1.12|n";
        QTest::newRow("no location") << 200 << QByteArray("<BuildInfo><Version>1.8.0.1</Version><Notice>n</Notice></BuildInfo>")
                                     << "Cannot get URL";
        QTest::newRow("no version") << 200 << QByteArray("<BuildInfo><MsiPath>u</MsiPath><Notice>n</Notice></BuildInfo>")
                                    << "Cannot get version";
        QTest::newRow("no notice") << 200 << QByteArray("<BuildInfo><MsiPath>u</MsiPath><Version>1.8.0.1</Version></BuildInfo>")
                                   << "Cannot get notice";
        QTest::newRow("not xml") << 200 << QByteArray("<BuildInfo><Version>1.8") << "Cannot get info source";
        QTest::newRow("server error") << 500 << descriptor("1.8.0.1") << "Cannot get reply from the server";
    }

    void descriptorFetch()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);

        HttpTestServer server;
        server.setResponse(DescriptorPath, {status, body});
        LogCapture log;
        const auto record = CVUpdater::fetchDescriptor(server.url(DescriptorPath));
        QVERIFY(log.contains(QtInfoMsg, "Looking for download info at: " + server.url(DescriptorPath)));
        if (record)
            QCOMPARE(QStringList({record->downloadUrl, record->version, record->notice}).join('|'), expected);
        else
            QVERIFY2(log.contains(QtInfoMsg, expected), qPrintable(log.texts().join('\n')));
    }

    void silentServerTimesOut()
    {
        CorvelTest::CloudSim sim({"--update-version", "1.9.0.0", "--fault-delay", DescriptorPath + "=20000"});
        QVERIFY(sim.start());
        Updater updater(QString(), sim.origin() + DescriptorPath);
        LogCapture log;
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!updater.checkForUpdates());
        const qint64 elapsed = clock.elapsed();
        QVERIFY2(log.contains(QtInfoMsg, "Cannot get reply from the server"), qPrintable(log.texts().join('\n')));
        QVERIFY(log.contains(QtCriticalMsg, "Cannot get remote version"));
        QCOMPARE(updater.lastStatus(), QString("Cannot get remote version"));
        // Gave up on its own, well before the server would have answered.
        QVERIFY2(elapsed >= CVUpdater::DescriptorTimeoutMs - 100 && elapsed < 15000, qPrintable(QString::number(elapsed)));
    }

    void versionDecision_data()
    {
        QTest::addColumn<QByteArray>("version"); // against the program's own 1.7.0.377
        QTest::addColumn<bool>("offered");
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QString>("status");

        const QStringList required{"Update is required."}, notRequired{"Update is not required."};
        const QStringList wrong{"Wrong remote version format"};
        QTest::newRow("equal") << QByteArray("1.7.0.377") << false
                               << QStringList{"Local version: 1.7.0.377", "Remote version: 1.7.0.377", notRequired[0]}
                               << QString();
        QTest::newRow("next revision") << QByteArray("1.7.0.378") << true
                                       << QStringList{"Remote version: 1.7.0.378", required[0]} << QString();
        QTest::newRow("previous revision") << QByteArray("1.7.0.376") << false << notRequired << QString();
        QTest::newRow("numeric minor, not textual") << QByteArray("1.10.0.0") << true << required << QString();
        QTest::newRow("build beats revision") << QByteArray("1.7.1.0") << true << required << QString();
        QTest::newRow("minor beats build") << QByteArray("1.6.9999.9999") << false << notRequired << QString();
        QTest::newRow("text around") << QByteArray("Corvel v01.7.0.378 (stable)") << true << required << QString();
        QTest::newRow("first match wins") << QByteArray("1.7.0.377.9") << false << notRequired << QString();
        QTest::newRow("largest number") << QByteArray("4294967295.0.0.0") << true << required << QString();
        QTest::newRow("too large") << QByteArray("4294967296.0.0.0") << false << wrong << wrong[0];
        QTest::newRow("two numbers") << QByteArray("1.7") << false << wrong << wrong[0];
        QTest::newRow("three numbers") << QByteArray("1.7.0") << false << wrong << wrong[0];
    }

    // Run on a pool thread, as the main window does, with the server answering on this one.
    void versionDecision()
    {
        QFETCH(QByteArray, version);
        QFETCH(bool, offered);
        QFETCH(QStringList, lines);
        QFETCH(QString, status);

        HttpTestServer server;
        server.setResponse(DescriptorPath, {200, descriptor(version)});
        Updater updater(QString(), server.url(DescriptorPath));
        LogCapture log;
        QFutureWatcher<bool> watcher;
        QSignalSpy finished(&watcher, &QFutureWatcher<bool>::finished);
        watcher.setFuture(QtConcurrent::run(&updater, &Updater::checkForUpdates));
        QVERIFY(finished.wait(10000));

        QCOMPARE(watcher.result(), offered);
        QCOMPARE(log.texts().value(0), QString("Checking for updates."));
        for (const QString& line : lines)
            QVERIFY2(log.contains(line), qPrintable(line + " missing in:\n" + log.texts().join('\n')));
        QCOMPARE(updater.lastStatus(), status);
        QCOMPARE(updater.downloadUrl(), offered ? QString("http://127.0.0.1:1/x64.exe") : QString());
        QCOMPARE(updater.notice(), offered ? QString("Fixes") : QString());
    }

    void manualLocationNeedsNoDescriptor()
    {
        HttpTestServer server;
        const QString manual = QStringLiteral("http://files.example.invalid/corvel-setup.exe");
        Updater updater(manual, server.url(DescriptorPath));
        LogCapture log;
        QVERIFY(updater.checkForUpdates());
        QCOMPARE(updater.downloadUrl(), manual);
        QCOMPARE(updater.offeredVersion(), QString("0.0.0.0"));
        QCOMPARE(updater.notice(), QString("Manual update"));
        QVERIFY(log.contains(QtInfoMsg, "Manual update will be performed using URL: " + manual));
        QVERIFY(server.requestedPaths().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestUpdateCheck)
#include "tst_update_check.moc"
