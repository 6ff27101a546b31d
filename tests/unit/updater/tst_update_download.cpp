#include "http_test_server.h"
#include "testsupport/cloud_sim.h"
#include "testsupport/log_capture.h"
#include "updater/updater.h"

#include <QtTest>

using CorvelTest::HttpTestServer;
using CorvelTest::LogCapture;
using CVUpdater::Updater;

namespace {
const QString DescriptorPath = QStringLiteral("/Corvel/autoupdate.xml");
const QString InstallerPath = QStringLiteral("/downloads/setup.exe");
const QString ManualFile = QStringLiteral("Corvel_x64_installer_0.0.0.0.exe");

HttpTestServer::Response payload(const QByteArray& body, int stallAfter = -1)
{
    HttpTestServer::Response response;
    response.body = body;
    response.stallAfter = stallAfter;
    // Qt reports progress at most every 100 ms from the start of the request.
    response.delayMs = stallAfter >= 0 ? 250 : 0;
    return response;
}

QByteArray installerBody()
{
    QByteArray body;
    for (int i = 0; i < 300000; ++i)
        body.append(char('A' + i % 26));
    return body;
}

QStringList filesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden);
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
    void runUpdateOnlyWhenDownloaded();
    void installerRunsDetachedWithoutOutput();

private:
    // Waits for the download's outcome; true when it finished.
    bool download(Updater& updater);

    QScopedPointer<QTemporaryDir> m_temp;
    QByteArray m_oldTmpDir;
};

void TestUpdateDownload::init()
{
    m_temp.reset(new QTemporaryDir);
    m_oldTmpDir = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(m_temp->path()));
    QCOMPARE(QStandardPaths::writableLocation(QStandardPaths::TempLocation), m_temp->path());
}

void TestUpdateDownload::cleanup()
{
    qputenv("TMPDIR", m_oldTmpDir);
    m_temp.reset();
}

bool TestUpdateDownload::download(Updater& updater)
{
    QSignalSpy finished(&updater, &Updater::downloadFinished);
    QSignalSpy failed(&updater, &Updater::downloadFailed);
    updater.startDownload();
    if (!updater.isDownloading())
        return false;
    return QTest::qWaitFor([&] { return finished.count() + failed.count() > 0; }, 10000) && failed.isEmpty();
}

void TestUpdateDownload::downloadSavesInstaller_data()
{
    QTest::addColumn<QByteArray>("version"); // empty: offered through the manual location
    QTest::addColumn<bool>("redirect");
    QTest::addColumn<bool>("sizeKnown");
    QTest::addColumn<QString>("fileName");

    QTest::newRow("release") << QByteArray("1.7.1.12") << false << true << "Corvel_x64_installer_1.7.1.12.exe";
    QTest::newRow("manual location") << QByteArray() << false << true << ManualFile;
    QTest::newRow("redirected") << QByteArray("1.8.0.0") << true << true << "Corvel_x64_installer_1.8.0.0.exe";
    QTest::newRow("size unknown") << QByteArray("1.8.0.1") << false << false << "Corvel_x64_installer_1.8.0.1.exe";
}

void TestUpdateDownload::downloadSavesInstaller()
{
    QFETCH(QByteArray, version);
    QFETCH(bool, redirect);
    QFETCH(bool, sizeKnown);
    QFETCH(QString, fileName);

    const QByteArray body = installerBody();
    HttpTestServer server;
    HttpTestServer::Response installer = payload(body);
    installer.sendLength = sizeKnown;
    server.setResponse(redirect ? "/mirror/setup.exe" : InstallerPath, installer);
    if (redirect) {
        HttpTestServer::Response moved;
        moved.status = 302;
        moved.location = server.url("/mirror/setup.exe").toUtf8();
        server.setResponse(InstallerPath, moved);
    }
    server.setResponse(DescriptorPath,
                       payload("<BuildInfo><MsiPathX64>" + server.url(InstallerPath).toUtf8() +
                               "</MsiPathX64><Version>" + version + "</Version><Notice>n</Notice></BuildInfo>"));
    Updater updater(version.isEmpty() ? server.url(InstallerPath) : QString(), server.url(DescriptorPath));
    QVERIFY(updater.checkForUpdates());

    // A leftover from an earlier run must not survive, whatever it holds.
    const QString target = m_temp->filePath(fileName);
    QFile leftover(target);
    QVERIFY(leftover.open(QIODevice::WriteOnly));
    leftover.write(QByteArray(body.size() * 2, 'Z'));
    leftover.close();

    LogCapture log;
    QVERIFY(download(updater));

    QVERIFY(!updater.isDownloading());
    QCOMPARE(updater.installerPath(), target);
    QVERIFY(leftover.open(QIODevice::ReadOnly));
    QCOMPARE(leftover.readAll(), body);
    QCOMPARE(filesIn(m_temp->path()), QStringList{fileName});
    QCOMPARE(log.texts().mid(0, 2),
             (QStringList{"Starting download", "Downloading request URL: " + server.url(InstallerPath)}));
    QVERIFY(log.contains(QtInfoMsg, "Download finished."));
    // Qt fills in the total at the end even when the server never sent a length.
    QVERIFY(log.contains(QtInfoMsg, QStringLiteral("Update progress: %1/%1").arg(body.size())));
}

void TestUpdateDownload::failedDownload_data()
{
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("criticalLine"); // %1: the temporary folder

    const QString noReply = QStringLiteral("Cannot get reply from the server.");
    const QString noFile = QStringLiteral("Cannot open file: %1/") + ManualFile;
    QTest::newRow("not found") << "404"
                               << "Cannot get reply from the server" << noReply;
    QTest::newRow("connection refused") << "refused"
                                        << "Cannot get reply from the server" << noReply;
    QTest::newRow("connection dropped mid-body") << "dropped"
                                                 << "Cannot get reply from the server" << noReply;
    // Qt gives no temporary location at all then; the bare file name must not land in the root.
    QTest::newRow("temporary folder missing") << "no folder"
                                              << "Cannot open file" << noFile;
    QTest::newRow("folder in the way") << "folder at path"
                                       << "Cannot open file" << noFile;
}

void TestUpdateDownload::failedDownload()
{
    QFETCH(QString, fault);
    QFETCH(QString, status);
    QFETCH(QString, criticalLine);

    HttpTestServer server;
    HttpTestServer::Response installer = payload(installerBody());
    installer.status = fault == "404" ? 404 : 200;
    installer.dropAfter = fault == "dropped" ? 1000 : -1;
    server.setResponse(InstallerPath, installer);
    QTcpServer closed;
    QVERIFY(closed.listen(QHostAddress::LocalHost, 0));
    const QString location = fault == "refused" ? QStringLiteral("http://127.0.0.1:%1/x.exe").arg(closed.serverPort())
                                                : server.url(InstallerPath);
    closed.close();
    Updater updater(location, server.url(DescriptorPath));
    QVERIFY(updater.checkForUpdates());

    QString folder = m_temp->path();
    if (fault == "no folder") {
        qputenv("TMPDIR", QFile::encodeName(m_temp->filePath("gone")));
        folder.clear();
    }
    if (fault == "folder at path")
        QVERIFY(QDir().mkpath(m_temp->filePath(ManualFile)));

    QSignalSpy failed(&updater, &Updater::downloadFailed);
    LogCapture log;
    QVERIFY(!download(updater));

    QCOMPARE(failed.count(), 1);
    QCOMPARE(failed.first().first().toString(), status);
    QCOMPARE(updater.lastStatus(), status);
    QVERIFY2(log.contains(QtCriticalMsg, criticalLine.arg(folder)), qPrintable(log.texts().join('\n')));
    QVERIFY(filesIn(m_temp->path()).isEmpty());
    QVERIFY(!QFileInfo::exists("/" + ManualFile));
    QVERIFY(updater.installerPath().isEmpty());

    bool launched = false;
    updater.setInstallerLauncher([&](const QString&, const QStringList&) { return launched = true; });
    QVERIFY(!updater.runUpdate());
    QVERIFY(!launched);
}

void TestUpdateDownload::cancelStopsDownload()
{
    HttpTestServer server;
    server.setResponse(InstallerPath, payload(installerBody(), 5000));
    Updater updater(server.url(InstallerPath), server.url(DescriptorPath));
    QVERIFY(updater.checkForUpdates());
    QSignalSpy finished(&updater, &Updater::downloadFinished);
    QSignalSpy failed(&updater, &Updater::downloadFailed);

    LogCapture log;
    updater.startDownload();
    QTRY_VERIFY_WITH_TIMEOUT(log.contains("Update progress: 5000/300000"), 10000);
    // A second download while one runs is refused.
    updater.startDownload();
    QVERIFY(log.contains(QtCriticalMsg, "Unexpected state of updater."));
    QCOMPARE(server.requestedPaths().size(), 1);

    log.clear();
    updater.cancel();
    QVERIFY(!updater.isDownloading());
    QCOMPARE(updater.lastStatus(), QString("Update canceled"));
    QCOMPARE(log.texts(), (QStringList{"Cancelling update.", "Downloading canceled.", "Update canceled."}));

    // The aborted reply must come back neither as a failure nor as a finished download.
    QTest::qWait(300);
    QCOMPARE(finished.count() + failed.count(), 0);
    QCOMPARE(log.texts().size(), 3);
    QVERIFY(filesIn(m_temp->path()).isEmpty());

    server.setResponse(InstallerPath, payload("complete"));
    QVERIFY(download(updater));
}

void TestUpdateDownload::simulatorRoundTrip_data()
{
    QTest::addColumn<QStringList>("faults");
    QTest::addColumn<bool>("succeeds");

    QTest::newRow("installer served") << QStringList() << true;
    QTest::newRow("installer unavailable")
        << QStringList{"--fault-status", "/Corvel/Corvel_installer.exe=503"} << false;
}

void TestUpdateDownload::simulatorRoundTrip()
{
    QFETCH(QStringList, faults);
    QFETCH(bool, succeeds);

    CorvelTest::CloudSim sim(QStringList{"--update-version", "1.8.0.5"} + faults);
    QVERIFY(sim.start());
    Updater updater(QString(), sim.origin() + DescriptorPath);
    QVERIFY(updater.checkForUpdates());
    QCOMPARE(updater.downloadUrl(), sim.origin() + "/Corvel/Corvel_installer.exe");

    QCOMPARE(download(updater), succeeds);
    const QString target = m_temp->filePath("Corvel_x64_installer_1.8.0.5.exe");
    QCOMPARE(QFileInfo::exists(target), succeeds);
    if (!succeeds) {
        QCOMPARE(updater.lastStatus(), QString("Cannot get reply from the server"));
        return;
    }
    QNetworkAccessManager network;
    QScopedPointer<QNetworkReply> reply(network.get(QNetworkRequest(QUrl(updater.downloadUrl()))));
    QVERIFY(QSignalSpy(reply.data(), &QNetworkReply::finished).wait(10000));
    QFile saved(target);
    QVERIFY(saved.open(QIODevice::ReadOnly));
    QCOMPARE(saved.readAll(), reply->readAll());
}

void TestUpdateDownload::runUpdateOnlyWhenDownloaded()
{
    HttpTestServer server;
    server.setResponse(InstallerPath, payload(installerBody(), 10));
    Updater updater(server.url(InstallerPath), server.url(DescriptorPath));
    QVERIFY(updater.checkForUpdates());
    QList<QStringList> launches;
    updater.setInstallerLauncher([&](const QString& program, const QStringList& arguments) {
        launches << (QStringList{program} + arguments);
        return false;
    });
    auto refuses = [&] {
        LogCapture log;
        return !updater.runUpdate() && log.contains(QtCriticalMsg, "Unexpected state of updater.") &&
               updater.lastStatus() == "Unexpected state";
    };

    QVERIFY(refuses());
    updater.startDownload();
    QVERIFY(refuses());
    updater.reset();
    QVERIFY(!updater.isDownloading());
    QVERIFY(refuses());

    server.setResponse(InstallerPath, payload("installer"));
    QVERIFY(download(updater));
    const QString saved = m_temp->filePath(ManualFile);
    LogCapture log;
    // The launcher's answer is the result.
    QVERIFY(!updater.runUpdate());
    QCOMPARE(launches, (QList<QStringList>{{saved, "--accept-licenses", "--accept-messages", "--confirm-command",
                                            "force_setup=true", "-d", "-d", "-d"}}));
    QVERIFY(log.contains(QtInfoMsg, "Running update."));
    QCOMPARE(updater.lastStatus(), QString("Running update"));

    // Declining the installation: the file stays, but nothing can be run from it any more.
    updater.reset();
    QVERIFY(refuses());
    QVERIFY(QFileInfo(saved).isFile());
    QCOMPARE(launches.size(), 1);
}

void TestUpdateDownload::installerRunsDetachedWithoutOutput()
{
#ifndef Q_OS_LINUX
    QSKIP("the stand-in installer is a shell script reading /proc");
#endif
    // A stand-in installer that records where its output goes and its arguments.
    const QByteArray record = QFile::encodeName(m_temp->filePath("record.txt"));
    const QByteArray script = "#!/bin/sh\necho to-stdout\necho to-stderr >&2\n"
                              "out=$(readlink /proc/$$/fd/1)\nerr=$(readlink /proc/$$/fd/2)\n"
                              "{ echo \"$out\"; echo \"$err\"; printf '%s\\n' \"$@\"; } > '" +
                              record + ".part'\nmv '" + record + ".part' '" + record + "'\n";
    HttpTestServer server;
    server.setResponse(InstallerPath, payload(script));
    Updater updater(server.url(InstallerPath), server.url(DescriptorPath));
    QVERIFY(updater.checkForUpdates());
    QVERIFY(download(updater));

    QVERIFY(updater.runUpdate());
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(record), 10000);
    QFile file(record);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts),
             (QStringList{"/dev/null", "/dev/null", "--accept-licenses", "--accept-messages", "--confirm-command",
                          "force_setup=true", "-d", "-d", "-d"}));
}

QTEST_GUILESS_MAIN(TestUpdateDownload)
#include "tst_update_download.moc"
