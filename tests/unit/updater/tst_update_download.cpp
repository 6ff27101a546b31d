#include "http_test_server.h"
#include "testsupport/cloud_sim.h"
#include "testsupport/log_capture.h"
#include "updater/updater.h"

#include <QtTest>

using CorvelTest::HttpTestServer;
using CorvelTest::LogCapture;

namespace {
const QString DescriptorPath = QStringLiteral("/Corvel/autoupdate.xml");
const QString InstallerPath = QStringLiteral("/downloads/setup.exe");
// Qt reports download progress at most every 100 ms from the start of the request.
const int StallDelayMs = 250;

HttpTestServer::Response payload(const QByteArray& body)
{
    HttpTestServer::Response response;
    response.body = body;
    return response;
}

QByteArray installerBody()
{
    QByteArray body;
    for (int i = 0; i < 300000; ++i)
        body.append(char('A' + i % 26));
    return body;
}
} // namespace

class TestUpdateDownload : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void downloadSavesInstaller_data();
    void downloadSavesInstaller();
    void failedDownload_data();
    void failedDownload();
    void cancelStopsDownload();
    void simulatorRoundTrip_data();
    void simulatorRoundTrip();
    void oneDownloadAtATime();
    void runUpdateOnlyWhenDownloaded();
    void runUpdateHandsOverArguments_data();
    void runUpdateHandsOverArguments();
    void installerRunsDetachedWithoutOutput();

private:
    // Offers the installer at InstallerPath through a descriptor (or a manual location when
    // version is empty) and runs the check.
    bool offer(CVUpdater::Updater& updater, HttpTestServer& server, const QByteArray& version);
    void download(CVUpdater::Updater& updater);

    QScopedPointer<QTemporaryDir> m_temp;
    QByteArray m_oldTmpDir;
};

void TestUpdateDownload::init()
{
    m_temp.reset(new QTemporaryDir);
    QVERIFY(m_temp->isValid());
    m_oldTmpDir = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(m_temp->path()));
    QCOMPARE(QStandardPaths::writableLocation(QStandardPaths::TempLocation), m_temp->path());
}

void TestUpdateDownload::cleanup()
{
    qputenv("TMPDIR", m_oldTmpDir);
    m_temp.reset();
}

bool TestUpdateDownload::offer(CVUpdater::Updater& updater, HttpTestServer& server, const QByteArray& version)
{
    server.setResponse(DescriptorPath,
                       payload("<BuildInfo><MsiPathX64>" + server.url(InstallerPath).toUtf8() +
                               "</MsiPathX64><Version>" + version + "</Version><Notice>n</Notice></BuildInfo>"));
    return updater.checkForUpdates();
}

void TestUpdateDownload::download(CVUpdater::Updater& updater)
{
    QSignalSpy finished(&updater, &CVUpdater::Updater::downloadFinished);
    QSignalSpy failed(&updater, &CVUpdater::Updater::downloadFailed);
    updater.startDownload();
    QVERIFY(updater.isDownloading());
    QTRY_VERIFY_WITH_TIMEOUT(finished.count() + failed.count() > 0, 10000);
}

void TestUpdateDownload::downloadSavesInstaller_data()
{
    QTest::addColumn<bool>("manual");
    QTest::addColumn<QByteArray>("version");
    QTest::addColumn<bool>("redirect");
    QTest::addColumn<bool>("sizeKnown");
    QTest::addColumn<QString>("fileName");

    QTest::newRow("release") << false << QByteArray("1.7.1.12") << false << true << "Corvel_x64_installer_1.7.1.12.exe";
    QTest::newRow("manual location") << true << QByteArray() << false << true << "Corvel_x64_installer_0.0.0.0.exe";
    QTest::newRow("redirected") << false << QByteArray("1.8.0.0") << true << true << "Corvel_x64_installer_1.8.0.0.exe";
    QTest::newRow("size unknown") << false << QByteArray("1.8.0.1") << false << false
                                  << "Corvel_x64_installer_1.8.0.1.exe";
}

void TestUpdateDownload::downloadSavesInstaller()
{
    QFETCH(bool, manual);
    QFETCH(QByteArray, version);
    QFETCH(bool, redirect);
    QFETCH(bool, sizeKnown);
    QFETCH(QString, fileName);

    const QByteArray body = installerBody();
    HttpTestServer server;
    HttpTestServer::Response installer = payload(body);
    installer.sendLength = sizeKnown;
    if (redirect) {
        HttpTestServer::Response moved;
        moved.status = 302;
        moved.location = server.url("/mirror/setup.exe").toUtf8();
        server.setResponse(InstallerPath, moved);
        server.setResponse("/mirror/setup.exe", installer);
    } else {
        server.setResponse(InstallerPath, installer);
    }

    CVUpdater::Updater updater(manual ? server.url(InstallerPath) : QString(), server.url(DescriptorPath));
    QVERIFY(offer(updater, server, version));

    // A leftover from an earlier run must not survive, whatever it holds.
    const QString target = m_temp->filePath(fileName);
    {
        QFile leftover(target);
        QVERIFY(leftover.open(QIODevice::WriteOnly));
        leftover.write(QByteArray(body.size() * 2, 'Z'));
    }

    QSignalSpy finished(&updater, &CVUpdater::Updater::downloadFinished);
    QSignalSpy failed(&updater, &CVUpdater::Updater::downloadFailed);
    LogCapture log;
    download(updater);

    QCOMPARE(failed.count(), 0);
    QCOMPARE(finished.count(), 1);
    QVERIFY(!updater.isDownloading());
    QCOMPARE(updater.installerPath(), target);
    QFile saved(target);
    QVERIFY(saved.open(QIODevice::ReadOnly));
    QCOMPARE(saved.readAll(), body);
    QCOMPARE(QDir(m_temp->path()).entryList(QDir::Files | QDir::Hidden), QStringList{fileName});

    QCOMPARE(log.texts().mid(0, 2),
             (QStringList{"Starting download", "Downloading request URL: " + server.url(InstallerPath)}));
    QVERIFY(log.contains(QtInfoMsg, "Download finished."));
    // Qt fills in the total at the end even when the server never sent a length.
    QVERIFY2(log.contains(QtInfoMsg, QStringLiteral("Update progress: %1/%1").arg(body.size())),
             qPrintable(log.texts().join('\n')));
}

void TestUpdateDownload::failedDownload_data()
{
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("criticalLine"); // %1: the installer path

    QTest::newRow("not found") << "404"
                               << "Cannot get reply from the server"
                               << "Cannot get reply from the server.";
    QTest::newRow("connection refused") << "refused"
                                        << "Cannot get reply from the server"
                                        << "Cannot get reply from the server.";
    QTest::newRow("connection dropped mid-body") << "dropped"
                                                 << "Cannot get reply from the server"
                                                 << "Cannot get reply from the server.";
    QTest::newRow("temporary folder missing") << "no folder"
                                              << "Cannot open file"
                                              << "Cannot open file: %1";
    QTest::newRow("folder in the way") << "folder at path"
                                       << "Cannot open file"
                                       << "Cannot open file: %1";
}

void TestUpdateDownload::failedDownload()
{
    QFETCH(QString, fault);
    QFETCH(QString, status);
    QFETCH(QString, criticalLine);

    HttpTestServer server;
    HttpTestServer::Response installer = payload(installerBody());
    if (fault == "404")
        installer.status = 404;
    server.setResponse(InstallerPath, installer);

    QString location = server.url(InstallerPath);
    if (fault == "refused") {
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
        location = QStringLiteral("http://127.0.0.1:%1/setup.exe").arg(probe.serverPort());
    } else if (fault == "dropped") {
        installer.dropAfter = 1000;
        server.setResponse(InstallerPath, installer);
    }
    CVUpdater::Updater updater(location, server.url(DescriptorPath));
    QVERIFY(updater.checkForUpdates());

    const QString target = m_temp->filePath("Corvel_x64_installer_0.0.0.0.exe");
    if (fault == "no folder")
        qputenv("TMPDIR", QFile::encodeName(m_temp->filePath("gone")));
    if (fault == "folder at path")
        QVERIFY(QDir().mkpath(target));

    QSignalSpy finished(&updater, &CVUpdater::Updater::downloadFinished);
    QSignalSpy failed(&updater, &CVUpdater::Updater::downloadFailed);
    LogCapture log;
    download(updater);

    QCOMPARE(finished.count(), 0);
    QCOMPARE(failed.count(), 1);
    QCOMPARE(failed.first().first().toString(), status);
    QCOMPARE(updater.lastStatus(), status);
    const QString expectedLine =
        criticalLine.arg((fault == "no folder" ? QString() : m_temp->path()) + "/Corvel_x64_installer_0.0.0.0.exe");
    QVERIFY2(log.contains(QtCriticalMsg, expectedLine), qPrintable(log.texts().join('\n')));
    QVERIFY(!updater.isDownloading());
    QVERIFY(updater.installerPath().isEmpty());
    QVERIFY(!QFileInfo(target).isFile());
    QVERIFY(!QFileInfo::exists("/Corvel_x64_installer_0.0.0.0.exe"));

    bool launched = false;
    updater.setInstallerLauncher([&](const QString&, const QStringList&) { return launched = true; });
    QVERIFY(!updater.runUpdate());
    QVERIFY(!launched);
}

void TestUpdateDownload::cancelStopsDownload()
{
    HttpTestServer server;
    HttpTestServer::Response slow = payload(installerBody());
    slow.stallAfter = 5000;
    slow.delayMs = StallDelayMs;
    server.setResponse(InstallerPath, slow);
    CVUpdater::Updater updater(server.url(InstallerPath), server.url(DescriptorPath));
    QVERIFY(updater.checkForUpdates());

    QSignalSpy finished(&updater, &CVUpdater::Updater::downloadFinished);
    QSignalSpy failed(&updater, &CVUpdater::Updater::downloadFailed);
    LogCapture log;
    updater.startDownload();
    QTRY_VERIFY_WITH_TIMEOUT(log.contains(QStringLiteral("Update progress: 5000/%1").arg(slow.body.size())), 10000);
    QVERIFY(updater.isDownloading());

    updater.cancel();

    QVERIFY(!updater.isDownloading());
    QCOMPARE(updater.lastStatus(), QString("Update canceled"));
    const QStringList lines = log.texts();
    const int first = lines.indexOf("Cancelling update.");
    QVERIFY(first >= 0);
    QCOMPARE(lines.mid(first), (QStringList{"Cancelling update.", "Downloading canceled.", "Update canceled."}));

    // The aborted reply must not come back as a failure or a finished download.
    QTest::qWait(300);
    QCOMPARE(finished.count(), 0);
    QCOMPARE(failed.count(), 0);
    QVERIFY(!log.contains("Download finished."));
    QVERIFY(!log.contains("Unexpected state of updater."));
    QVERIFY(QDir(m_temp->path()).entryList(QDir::Files | QDir::Hidden).isEmpty());

    // The check offered once; a new download can start after a cancel.
    server.setResponse(InstallerPath, payload("complete"));
    download(updater);
    QCOMPARE(finished.count(), 1);
}

void TestUpdateDownload::simulatorRoundTrip_data()
{
    QTest::addColumn<QStringList>("faults");
    QTest::addColumn<bool>("offered");
    QTest::addColumn<QString>("failure"); // empty: the download must succeed

    QTest::newRow("update installed") << QStringList() << true << QString();
    QTest::newRow("installer unavailable") << QStringList{"--fault-status", "/Corvel/Corvel_installer.exe=503"} << true
                                           << "Cannot get reply from the server";
    QTest::newRow("descriptor malformed")
        << QStringList{"--fault-malformed", "/Corvel/autoupdate.xml"} << false << QString();
    QTest::newRow("descriptor empty") << QStringList{"--fault-empty", "/Corvel/autoupdate.xml"} << false << QString();
}

void TestUpdateDownload::simulatorRoundTrip()
{
    QFETCH(QStringList, faults);
    QFETCH(bool, offered);
    QFETCH(QString, failure);

    CorvelTest::CloudSim sim(QStringList{"--update-version", "1.8.0.5"} + faults);
    QVERIFY(sim.start());
    CVUpdater::Updater updater(QString(), sim.origin() + DescriptorPath);
    LogCapture log;
    QCOMPARE(updater.checkForUpdates(), offered);
    if (!offered) {
        QVERIFY2(log.contains(QtInfoMsg, "Cannot get info source"), qPrintable(log.texts().join('\n')));
        QCOMPARE(updater.lastStatus(), QString("Cannot get remote version"));
        return;
    }
    QCOMPARE(updater.offeredVersion(), QString("1.8.0.5"));
    QCOMPARE(updater.downloadUrl(), sim.origin() + "/Corvel/Corvel_installer.exe");

    QSignalSpy failed(&updater, &CVUpdater::Updater::downloadFailed);
    download(updater);
    const QString target = m_temp->filePath("Corvel_x64_installer_1.8.0.5.exe");
    if (!failure.isEmpty()) {
        QCOMPARE(failed.count(), 1);
        QCOMPARE(updater.lastStatus(), failure);
        QVERIFY(!QFileInfo::exists(target));
        return;
    }
    QCOMPARE(failed.count(), 0);
    QCOMPARE(updater.installerPath(), target);

    QNetworkAccessManager network;
    QNetworkReply* reply = network.get(QNetworkRequest(QUrl(updater.downloadUrl())));
    QSignalSpy done(reply, &QNetworkReply::finished);
    QVERIFY(done.wait(10000));
    QFile saved(target);
    QVERIFY(saved.open(QIODevice::ReadOnly));
    QCOMPARE(saved.readAll(), reply->readAll());
    delete reply;
}

void TestUpdateDownload::oneDownloadAtATime()
{
    HttpTestServer server;
    HttpTestServer::Response slow = payload(installerBody());
    slow.stallAfter = 100;
    server.setResponse(InstallerPath, slow);
    CVUpdater::Updater updater(server.url(InstallerPath), server.url(DescriptorPath));
    QVERIFY(updater.checkForUpdates());

    updater.startDownload();
    LogCapture log;
    updater.startDownload();
    QVERIFY(log.contains(QtCriticalMsg, "Unexpected state of updater."));
    QCOMPARE(updater.lastStatus(), QString("Unexpected state"));
    QVERIFY(updater.isDownloading());
    QTRY_COMPARE(server.requestedPaths().size(), 1);
    QTest::qWait(100);
    QCOMPARE(server.requestedPaths().size(), 1);
}

void TestUpdateDownload::runUpdateOnlyWhenDownloaded()
{
    HttpTestServer server;
    HttpTestServer::Response slow = payload(installerBody());
    slow.stallAfter = 10;
    server.setResponse(InstallerPath, slow);
    CVUpdater::Updater updater(server.url(InstallerPath), server.url(DescriptorPath));
    QVERIFY(updater.checkForUpdates());
    int launches = 0;
    updater.setInstallerLauncher([&](const QString&, const QStringList&) { return ++launches > 0; });

    auto refused = [&](const char* when) {
        LogCapture log;
        if (updater.runUpdate())
            return QByteArray("ran while ") + when;
        if (!log.contains(QtCriticalMsg, "Unexpected state of updater.") || updater.lastStatus() != "Unexpected state")
            return QByteArray("no unexpected-state report while ") + when;
        return QByteArray();
    };

    QCOMPARE(refused("idle"), QByteArray());
    updater.startDownload();
    QCOMPARE(refused("downloading"), QByteArray());
    updater.reset();
    QVERIFY(!updater.isDownloading());

    server.setResponse(InstallerPath, payload("installer"));
    download(updater);
    const QString saved = updater.installerPath();
    QVERIFY(QFileInfo(saved).isFile());
    // Declining the installation: the file stays, but nothing can be run from it any more.
    updater.reset();
    QCOMPARE(refused("reset after download"), QByteArray());
    QVERIFY(QFileInfo(saved).isFile());
    QCOMPARE(launches, 0);
}

void TestUpdateDownload::runUpdateHandsOverArguments_data()
{
    QTest::addColumn<bool>("started");
    QTest::newRow("installer starts") << true;
    QTest::newRow("installer does not start") << false;
}

void TestUpdateDownload::runUpdateHandsOverArguments()
{
    QFETCH(bool, started);

    HttpTestServer server;
    server.setResponse(InstallerPath, payload("installer"));
    CVUpdater::Updater updater(QString(), server.url(DescriptorPath));
    QVERIFY(offer(updater, server, "1.7.1.12"));
    download(updater);

    QStringList programs;
    QList<QStringList> arguments;
    updater.setInstallerLauncher([&](const QString& program, const QStringList& args) {
        programs << program;
        arguments << args;
        return started;
    });
    LogCapture log;
    QCOMPARE(updater.runUpdate(), started);

    QCOMPARE(programs, QStringList{m_temp->filePath("Corvel_x64_installer_1.7.1.12.exe")});
    QCOMPARE(arguments.value(0), (QStringList{"--accept-licenses", "--accept-messages", "--confirm-command",
                                              "force_setup=true", "-d", "-d", "-d"}));
    QVERIFY(log.contains(QtInfoMsg, "Running update."));
    QCOMPARE(updater.lastStatus(), QString("Running update"));
}

void TestUpdateDownload::installerRunsDetachedWithoutOutput()
{
    // A stand-in installer that records its arguments and where its output goes.
    const QString record = m_temp->filePath("record.txt");
    const QByteArray script = "#!/bin/sh\n"
                              "echo installer-output\n"
                              "echo installer-error >&2\n"
                              "out=$(readlink /proc/$$/fd/1)\n"
                              "err=$(readlink /proc/$$/fd/2)\n"
                              "{ echo \"$out\"; echo \"$err\"; printf '%s\\n' \"$@\"; } > '" +
                              QFile::encodeName(record) +
                              ".part'\n"
                              "mv '" +
                              QFile::encodeName(record) + ".part' '" + QFile::encodeName(record) + "'\n";
    HttpTestServer server;
    server.setResponse(InstallerPath, payload(script));
    CVUpdater::Updater updater(server.url(InstallerPath), server.url(DescriptorPath));
    QVERIFY(updater.checkForUpdates());
    download(updater);

    QVERIFY(updater.runUpdate());
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(record), 10000);
    QFile file(record);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines, (QStringList{"/dev/null", "/dev/null", "--accept-licenses", "--accept-messages",
                                 "--confirm-command", "force_setup=true", "-d", "-d", "-d"}));
}

QTEST_GUILESS_MAIN(TestUpdateDownload)
#include "tst_update_download.moc"
