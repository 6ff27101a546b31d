#include "testsupport/cloud_sim.h"
#include "testsupport/http_test_server.h"
#include "testsupport/log_capture.h"
#include "testsupport/peak_rss.h"
#include "updater/updater.h"

#include <QtConcurrent>
#include <QtTest>

using CorvelTest::HttpTestServer;
using CorvelTest::LogCapture;
using CorvelTest::PeakRss;
using CVUpdater::Updater;

Q_DECLARE_METATYPE(HttpTestServer::Response)

namespace {
const QString DescriptorPath = QStringLiteral("/Corvel/autoupdate.xml");
const QString InstallerPath = QStringLiteral("/downloads/setup.exe");
const QString ManualFile = QStringLiteral("Corvel_x64_installer_0.0.0.0.exe");
const QByteArray Installer = QByteArray("ABCDEFGHIJKLMNOPQRSTUVWXYZ").repeated(12000);

QByteArray descriptor(const QByteArray& version, const QByteArray& notice = "Fixes",
                      const QByteArray& location = "http://127.0.0.1:1/x64.exe")
{
    return "<?xml version=\"1.0\"?>\n<BuildInfo>\n  <MsiPathX64>" + location + "</MsiPathX64>\n  <Version>" + version +
           "</Version>\n  <Notice>" + notice + "</Notice>\n</BuildInfo>\n";
}

HttpTestServer::Response payload(const QByteArray& body, int stallAfter = -1)
{
    // Qt reports progress at most every 100 ms from the start of the request.
    return {200, body, stallAfter >= 0 ? 250 : 0, true, stallAfter};
}

QStringList filesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden);
}

// Starts the download and waits for its outcome; true when it finished.
bool downloaded(Updater& updater, int timeoutMs = 10000)
{
    QSignalSpy finished(&updater, &Updater::downloadFinished);
    QSignalSpy failed(&updater, &Updater::downloadFailed);
    updater.startDownload();
    return updater.isDownloading() &&
           QTest::qWaitFor([&] { return finished.count() + failed.count() > 0; }, timeoutMs) && failed.isEmpty();
}

// runUpdate() must refuse: nothing downloaded to run.
bool refuses(Updater& updater)
{
    return !updater.runUpdate() && updater.lastStatus() == "Unexpected state";
}
} // namespace

class TestUpdateDownload : public QObject {
    Q_OBJECT

    QScopedPointer<QTemporaryDir> m_temp;
    QByteArray m_oldTmpDir;

private slots:
    void init()
    {
        m_temp.reset(new QTemporaryDir);
        m_oldTmpDir = qgetenv("TMPDIR");
        qputenv("TMPDIR", QFile::encodeName(m_temp->path()));
    }

    void cleanup()
    {
        qputenv("TMPDIR", m_oldTmpDir);
        m_temp.reset();
    }

    // The descriptor as served, against the program's own version 1.7.0.377.
    void check_data()
    {
        QTest::addColumn<int>("httpStatus"); // 0: the server never answers
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("offer");  // "url|notice" when offered
        QTest::addColumn<QString>("status"); // lastStatus()
        QTest::addColumn<QString>("logged"); // why the descriptor was unusable
        const QString offered = "http://127.0.0.1:1/x64.exe|Fixes", none;
        const auto row = [](const char* name, const QByteArray& body, const QString& offer,
                            const QString& logged = QString(), int httpStatus = 200) {
            const bool unusable = !logged.isEmpty() || httpStatus != 200;
            QTest::newRow(name) << httpStatus << body << offer << (unusable ? "Cannot get remote version" : "")
                                << logged;
        };
        const auto badVersion = [](const char* name, const QByteArray& version) {
            QTest::newRow(name) << 200 << descriptor(version) << QString() << "Wrong remote version format"
                                << QString();
        };

        row("64-bit location preferred",
            "<BuildInfo><MsiPath>http://h/32.exe</MsiPath><MsiPathX64>http://h/64.exe</MsiPathX64>"
            "<Version>1.7.1.12</Version><Notice>New jobs view</Notice></BuildInfo>",
            "http://h/64.exe|New jobs view");
        row("plain location when no 64-bit one",
            "<BuildInfo><MsiPath>http://h/32.exe</MsiPath><Version>1.7.1.12</Version><Notice>n</Notice></BuildInfo>",
            "http://h/32.exe|n");
        row("no location", "<BuildInfo><Version>1.8.0.1</Version><Notice>n</Notice></BuildInfo>", none,
            "Cannot get URL");
        row("no version", "<BuildInfo><MsiPath>u</MsiPath><Notice>n</Notice></BuildInfo>", none, "Cannot get version");
        row("no notice", "<BuildInfo><MsiPath>u</MsiPath><Version>1.8.0.1</Version></BuildInfo>", none,
            "Cannot get notice");
        row("not xml", "<BuildInfo><Version>1.8", none, "Cannot get info source");
        row("another root element", descriptor("1.8.0.1").replace("BuildInfo", "Release"), none, "Wrong xml format");
        row("equal", descriptor("1.7.0.377"), none);
        row("next revision", descriptor("1.7.0.378"), offered);
        row("numeric minor, not textual", descriptor("1.10.0.0"), offered);
        row("minor beats build", descriptor("1.6.9999.9999"), none);
        row("text around", descriptor("Corvel v01.7.0.378 (stable)"), offered);
        row("first match wins", descriptor("1.7.0.377.9"), none);
        row("largest number", descriptor("4294967295.0.0.0"), offered);
        badVersion("too large", "4294967296.0.0.0");
        badVersion("three numbers", "1.8.0");
        // Hostile servers: each would otherwise offer 1.8.0.1 (or hang the check).
        const QString noReply = "Cannot get reply from the server";
        row("over 1 MiB", descriptor("1.8.0.1", QByteArray(2 * 1024 * 1024, 'x')), none, noReply);
        row("server error", descriptor("1.8.0.1"), none, noReply, 500);
        row("redirection", descriptor("1.8.0.1"), none, noReply, 302);
        row("silent server times out", descriptor("1.8.0.1"), none, noReply, 0);
    }

    // Run on a pool thread, as the main window does, with the server answering on this one.
    void check()
    {
        QFETCH(int, httpStatus);
        QFETCH(QByteArray, body);
        QFETCH(QString, offer);
        QFETCH(QString, status);
        QFETCH(QString, logged);

        HttpTestServer server;
        server.setResponse(DescriptorPath, {httpStatus ? httpStatus : 200, body, httpStatus ? 0 : 600000});
        Updater updater(QString(), server.url(DescriptorPath));
        LogCapture log;
        const QFuture<bool> checked = QtConcurrent::run(&updater, &Updater::checkForUpdates);
        QVERIFY(QTest::qWaitFor([&] { return checked.isFinished(); }, CVUpdater::DescriptorTimeoutMs + 10000));
        QCOMPARE(checked.result(), !offer.isEmpty());
        QCOMPARE(updater.lastStatus(), status);
        const QString got = updater.downloadUrl() + '|' + updater.notice();
        QCOMPARE(got == "|" ? QString() : got, offer);
        QVERIFY2(logged.isEmpty() || log.contains(QtInfoMsg, logged), qPrintable(log.texts().join('\n')));
    }

    void download_data()
    {
        using Response = HttpTestServer::Response;
        QTest::addColumn<QByteArray>("version"); // empty: offered through the manual location
        QTest::addColumn<Response>("reply");     // of the installer's location
        QTest::addColumn<QString>("fileName");   // empty: the download fails
        QTest::addColumn<QString>("failure");    // what the "Download failed" dialog shows
        QTest::addColumn<QString>("logged");
        const auto saves = [](const char* name, const QByteArray& version, const Response& reply, const QString& file) {
            QTest::newRow(name) << version << reply << file << QString() << QString();
        };
        const auto fails = [](const char* name, const Response& reply, const QString& logged,
                              const QString& failure = "Cannot get reply from the server") {
            QTest::newRow(name) << QByteArray() << reply << QString() << failure << logged;
        };
        const QString release = "Corvel_x64_installer_1.7.1.12.exe";
        const QString silent = "Nothing received from the server for 500 ms";
        const QString redirection = "Reply is a redirection (HTTP %1), which is not followed";
        saves("release", "1.7.1.12", payload(Installer), release);
        saves("manual location", {}, payload(Installer), ManualFile);
        saves("path around the version", "../../1.7.1.12/x", payload(Installer), release);
        // Followed at its head, even with a body past the network layer's read buffer, kept open.
        saves("302 with a target", {}, Response{302, QByteArray(300000, 'r'), 0, true, -1, true, "/x"}, ManualFile);
        // Qt gives no temporary location at all then; the bare file name must not land in the root.
        fails("temporary folder missing", payload(Installer), QString(), "Cannot open file");
        // The others end well before the test's wait of 10 s and the default stall limit of 30 s.
        fails("not found", Response{404, "not here"}, QString());
        fails("302, connection closed", Response{302, Installer}, redirection.arg(302));
        fails("300 with a target, kept open", Response{300, Installer, 0, true, -1, true, "/x"}, redirection.arg(300));
        fails("silent before the head", Response{200, Installer, 600000}, silent);
        fails("silent in the body", Response{200, Installer, 0, true, 10}, silent);
    }

    void download()
    {
        QFETCH(QByteArray, version);
        QFETCH(HttpTestServer::Response, reply);
        QFETCH(QString, fileName);
        QFETCH(QString, failure);
        QFETCH(QString, logged);

        HttpTestServer server;
        server.setResponse(InstallerPath, reply);
        server.setResponse("/x", payload(Installer));
        server.setResponse(DescriptorPath, payload(descriptor(version, "n", server.url(InstallerPath).toUtf8())));
        Updater updater(version.isEmpty() ? server.url(InstallerPath) : QString(), server.url(DescriptorPath));
        if (reply.status == 200)
            updater.setStallLimit(std::chrono::milliseconds(500));
        QVERIFY(updater.checkForUpdates());
        if (failure == "Cannot open file")
            qputenv("TMPDIR", QFile::encodeName(m_temp->filePath("gone")));
        QFile target(m_temp->filePath(fileName));
        // A leftover from an earlier run must not survive, whatever it holds.
        if (!fileName.isEmpty()) {
            QVERIFY(target.open(QIODevice::WriteOnly));
            target.write(QByteArray(700000, 'Z'));
            target.close();
        }
        LogCapture log;
        QSignalSpy failed(&updater, &Updater::downloadFailed);
        QCOMPARE(downloaded(updater), failure.isEmpty());
        if (failure.isEmpty()) {
            QVERIFY(target.open(QIODevice::ReadOnly));
            QCOMPARE(target.readAll(), Installer);
            QCOMPARE(filesIn(m_temp->path()), QStringList{fileName});
            QCOMPARE(server.requestedPaths().contains(DescriptorPath), !version.isEmpty()); // manual: none needed
            return;
        }
        QCOMPARE(failed.count(), 1);
        QCOMPARE(failed.first().first().toString(), failure);
        QVERIFY2(logged.isEmpty() || log.contains(logged), qPrintable(log.texts().join('\n')));
        QVERIFY(filesIn(m_temp->path()).isEmpty());
        QVERIFY(!QFileInfo::exists("/" + ManualFile));
        QVERIFY(refuses(updater));
    }

    // The installer goes to disk as it arrives, decoded: memory stays flat however large it is.
    void streamedToDisk()
    {
        const qint64 size = 96 << 20;
        CorvelTest::CloudSim sim({"--update-version", "1.7.1.0", "--fault-inflate",
                                  "/Corvel/Corvel_installer.exe=" + QString::number(size)});
        QVERIFY(sim.start());
        Updater updater(QString(), sim.origin() + DescriptorPath);
        QVERIFY(updater.checkForUpdates());
        const PeakRss peak;
        QVERIFY(downloaded(updater, 120000));
        const qint64 growth = peak.growth();
        QVERIFY2(!peak.available() || growth < 32 * 1024 * 1024, qPrintable(QString::number(growth)));
        QCOMPARE(filesIn(m_temp->path()), QStringList{"Corvel_x64_installer_1.7.1.0.exe"});
        QFile file(m_temp->filePath("Corvel_x64_installer_1.7.1.0.exe"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.size(), size);
        // The simulator's installer is a JSON array of spaces.
        QCOMPARE(file.read(2), QByteArray("[ "));
        QVERIFY(file.seek(size - 2));
        QCOMPARE(file.read(2), QByteArray(" ]"));
    }

    void cancelAndRun()
    {
        // A stand-in installer that records where its output goes and its arguments.
        const QByteArray record = QFile::encodeName(m_temp->filePath("record.txt"));
        const QByteArray script =
            "#!/bin/sh\nfds=$(readlink /proc/$$/fd/1 /proc/$$/fd/2)\nprintf '%s\\n' \"$fds\" \"$@\" > '" + record +
            ".part'\nmv '" + record + ".part' '" + record + "'\n";
        HttpTestServer server;
        server.setResponse(InstallerPath, payload(script, 10));
        Updater updater(server.url(InstallerPath), server.url(DescriptorPath));
        QVERIFY(updater.checkForUpdates());
        LogCapture log;
        QVERIFY(refuses(updater));
        updater.startDownload();
        QVERIFY(refuses(updater));
        QTRY_VERIFY_WITH_TIMEOUT(log.contains(QString("Update progress: 10/%1").arg(script.size())), 10000);
        updater.startDownload(); // one at a time
        QCOMPARE(updater.lastStatus(), QString("Unexpected state"));
        updater.cancel();
        QCOMPARE(updater.lastStatus(), QString("Update canceled"));
        QCOMPARE(server.requestedPaths().size(), 1);
        QVERIFY(filesIn(m_temp->path()).isEmpty());
        QVERIFY(refuses(updater));

        server.setResponse(InstallerPath, payload(script));
        QVERIFY(downloaded(updater));
        QVERIFY(updater.runUpdate());
        QCOMPARE(updater.lastStatus(), QString("Running update"));
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(record), 10000);
        QFile file(record);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts),
                 (QStringList{"/dev/null", "/dev/null", "--accept-licenses", "--accept-messages", "--confirm-command",
                              "force_setup=true", "-d", "-d", "-d"}));
        // Declining the installation: the file stays, but nothing can be run from it any more.
        updater.reset();
        QVERIFY(refuses(updater));
        QVERIFY(QFileInfo(m_temp->filePath(ManualFile)).isFile());
    }
};

QTEST_GUILESS_MAIN(TestUpdateDownload)
#include "tst_update_download.moc"
