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

namespace {
const QString DescriptorPath = QStringLiteral("/Corvel/autoupdate.xml");

QByteArray descriptor(const QByteArray& version)
{
    return "<?xml version=\"1.0\"?>\n<BuildInfo>\n  <MsiPathX64>http://127.0.0.1:1/x64.exe</MsiPathX64>\n  <Version>" +
           version + "</Version>\n  <Notice>Fixes</Notice>\n</BuildInfo>\n";
}

HttpTestServer::Response xml(const QByteArray& body, int status = 200)
{
    HttpTestServer::Response response;
    response.status = status;
    response.body = body;
    return response;
}
} // namespace

class TestUpdateCheck : public QObject {
    Q_OBJECT
private slots:
    void descriptorFetch_data();
    void descriptorFetch();
    void silentServerTimesOut();
    void versionDecision_data();
    void versionDecision();
    void manualLocationNeedsNoDescriptor();
};

void TestUpdateCheck::descriptorFetch_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("failureLine"); // empty: a record is expected
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("notice");

    QTest::newRow("64-bit location preferred")
        << 200
        << QByteArray("<BuildInfo><MsiPath>http://h/32.exe</MsiPath><MsiPathX64>http://h/64.exe</MsiPathX64>"
                      "<Version>1.7.1.12</Version><Notice>New jobs view</Notice></BuildInfo>")
        << QString() << "http://h/64.exe"
        << "1.7.1.12"
        << "New jobs view";
    QTest::newRow("plain location when no 64-bit one")
        << 200
        << QByteArray("<BuildInfo><MsiPath>http://h/32.exe</MsiPath><Version>1.7.1.12</Version>"
                      "<Notice>n</Notice></BuildInfo>")
        << QString() << "http://h/32.exe"
        << "1.7.1.12"
        << "n";
    QTest::newRow("first of each name, others ignored, text untrimmed")
        << 200
        << QByteArray("<BuildInfo><Extra>x</Extra><MsiPathX64>http://h/a.exe</MsiPathX64>"
                      "<MsiPathX64>http://h/b.exe</MsiPathX64><Version> 1.8.0.1 </Version>"
                      "<Version>9.9.9.9</Version><Notice> two words </Notice></BuildInfo>")
        << QString() << "http://h/a.exe"
        << " 1.8.0.1 "
        << " two words ";
    QTest::newRow("no location") << 200
                                 << QByteArray("<BuildInfo><Version>1.8.0.1</Version><Notice>n</Notice></BuildInfo>")
                                 << "Cannot get URL" << QString() << QString() << QString();
    QTest::newRow("no version") << 200
                                << QByteArray(
                                       "<BuildInfo><MsiPath>http://h/a.exe</MsiPath><Notice>n</Notice></BuildInfo>")
                                << "Cannot get version" << QString() << QString() << QString();
    QTest::newRow("version only deeper down")
        << 200
        << QByteArray("<BuildInfo><MsiPath>u</MsiPath><Notice>n</Notice><Meta><Version>2.0.0.0</Version></Meta>"
                      "</BuildInfo>")
        << "Cannot get version" << QString() << QString() << QString();
    QTest::newRow("no notice") << 200
                               << QByteArray("<BuildInfo><MsiPath>u</MsiPath><Version>1.8.0.1</Version></BuildInfo>")
                               << "Cannot get notice" << QString() << QString() << QString();
    QTest::newRow("other root element")
        << 200 << QByteArray("<Build><MsiPath>u</MsiPath><Version>1.8.0.1</Version><Notice>n</Notice></Build>")
        << "Wrong xml format" << QString() << QString() << QString();
    QTest::newRow("not xml") << 200 << QByteArray("<BuildInfo><Version>1.8") << "Cannot get info source" << QString()
                             << QString() << QString();
    QTest::newRow("server error") << 500 << descriptor("1.8.0.1") << "Cannot get reply from the server" << QString()
                                  << QString() << QString();
}

void TestUpdateCheck::descriptorFetch()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, failureLine);
    QFETCH(QString, url);
    QFETCH(QString, version);
    QFETCH(QString, notice);

    HttpTestServer server;
    server.setResponse(DescriptorPath, xml(body, status));
    LogCapture log;

    const auto record = CVUpdater::fetchDescriptor(server.url(DescriptorPath));

    QVERIFY(log.contains(QtInfoMsg, "Looking for download info at: " + server.url(DescriptorPath)));
    if (!failureLine.isEmpty()) {
        QVERIFY(!record);
        QVERIFY2(log.contains(QtInfoMsg, failureLine), qPrintable(log.texts().join('\n')));
        return;
    }
    QVERIFY2(record, qPrintable(log.texts().join('\n')));
    QCOMPARE(record->downloadUrl, url);
    QCOMPARE(record->version, version);
    QCOMPARE(record->notice, notice);
}

void TestUpdateCheck::silentServerTimesOut()
{
    CorvelTest::CloudSim sim({"--update-version", "1.9.0.0", "--fault-delay", DescriptorPath + "=20000"});
    QVERIFY(sim.start());
    const QString location = sim.origin() + DescriptorPath;

    CVUpdater::Updater updater(QString(), location);
    LogCapture log;
    QElapsedTimer clock;
    clock.start();
    const bool offered = updater.checkForUpdates();
    const qint64 elapsed = clock.elapsed();

    QVERIFY(!offered);
    QVERIFY2(log.contains(QtInfoMsg, "Cannot get reply from the server"), qPrintable(log.texts().join('\n')));
    QVERIFY(log.contains(QtCriticalMsg, "Cannot get remote version"));
    QCOMPARE(updater.lastStatus(), QString("Cannot get remote version"));
    QVERIFY(updater.downloadUrl().isEmpty());
    // Gave up on its own, well before the server would have answered.
    QVERIFY2(elapsed >= CVUpdater::DescriptorTimeoutMs - 100 && elapsed < 15000, qPrintable(QString::number(elapsed)));
}

void TestUpdateCheck::versionDecision_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("offered");
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QString>("status");

    const QString same = QStringLiteral(CORVEL_VERSION);
    QTest::newRow("same version") << descriptor(same.toUtf8()) << false
                                  << QStringList{"Local version: " + same, "Remote version: " + same,
                                                 "Update is not required."}
                                  << QString();
    QTest::newRow("next revision") << descriptor("1.7.0.378") << true
                                   << QStringList{"Remote version: 1.7.0.378", "Update is required."} << QString();
    QTest::newRow("numeric comparison") << descriptor("1.10.0.0") << true << QStringList{"Update is required."}
                                        << QString();
    QTest::newRow("two numbers") << descriptor("1.7") << false << QStringList{"Wrong remote version format"}
                                 << "Wrong remote version format";
    QTest::newRow("broken descriptor") << QByteArray("<BuildInfo>") << false
                                       << QStringList{"Cannot get info source", "Cannot get remote version"}
                                       << "Cannot get remote version";
}

// Run on a pool thread, as the main window does, with the server answering on this one.
void TestUpdateCheck::versionDecision()
{
    QFETCH(QByteArray, body);
    QFETCH(bool, offered);
    QFETCH(QStringList, lines);
    QFETCH(QString, status);

    HttpTestServer server;
    server.setResponse(DescriptorPath, xml(body));
    CVUpdater::Updater updater(QString(), server.url(DescriptorPath));
    LogCapture log;
    QFutureWatcher<bool> watcher;
    QSignalSpy finished(&watcher, &QFutureWatcher<bool>::finished);
    watcher.setFuture(QtConcurrent::run(&updater, &CVUpdater::Updater::checkForUpdates));
    QVERIFY(finished.wait(10000));

    QCOMPARE(watcher.result(), offered);
    QCOMPARE(log.texts().value(0), QString("Checking for updates."));
    for (const QString& line : lines)
        QVERIFY2(log.contains(line), qPrintable(line + " missing in:\n" + log.texts().join('\n')));
    QCOMPARE(updater.lastStatus(), status);
    QCOMPARE(updater.downloadUrl(), offered ? QString("http://127.0.0.1:1/x64.exe") : QString());
    QCOMPARE(updater.notice(), offered ? QString("Fixes") : QString());
}

void TestUpdateCheck::manualLocationNeedsNoDescriptor()
{
    HttpTestServer server;
    server.setResponse(DescriptorPath, xml(descriptor("1.0.0.0")));
    const QString manual = QStringLiteral("http://files.example.invalid/corvel-setup.exe");
    CVUpdater::Updater updater(manual, server.url(DescriptorPath));
    LogCapture log;

    QVERIFY(updater.checkForUpdates());
    QCOMPARE(updater.downloadUrl(), manual);
    QCOMPARE(updater.offeredVersion(), QString("0.0.0.0"));
    QCOMPARE(updater.notice(), QString("Manual update"));
    QVERIFY(log.contains(QtInfoMsg, "Manual update will be performed using URL: " + manual));
    QVERIFY(server.requestedPaths().isEmpty());
}

QTEST_GUILESS_MAIN(TestUpdateCheck)
#include "tst_update_check.moc"
