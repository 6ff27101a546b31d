#include "testsupport/cloud_sim.h"
#include "testsupport/http_test_server.h"
#include "testsupport/log_capture.h"
#include "testsupport/peak_rss.h"
#include "updater/updater.h"

#include <QtTest>

using CorvelTest::HttpTestServer;
using CorvelTest::LogCapture;
using CorvelTest::PeakRss;
using CVUpdater::Updater;

namespace {
const QString DescriptorPath = QStringLiteral("/Corvel/autoupdate.xml");
const QString InstallerPath = QStringLiteral("/downloads/setup.exe");
const QString ManualFile = QStringLiteral("Corvel_x64_installer_0.0.0.0.exe");

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

    void download_data()
    {
        QTest::addColumn<QByteArray>("version"); // empty: offered through the manual location
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QString>("status"); // empty: the download succeeds

        QTest::newRow("release") << QByteArray("1.7.1.12") << ""
                                 << "Corvel_x64_installer_1.7.1.12.exe"
                                 << "";
        QTest::newRow("manual location") << QByteArray() << "" << ManualFile << "";
        QTest::newRow("path around the version") << QByteArray("../../1.7.1.12/x") << ""
                                                 << "Corvel_x64_installer_1.7.1.12.exe"
                                                 << "";
        QTest::newRow("version as offered") << QByteArray("1.07.0.378") << ""
                                            << "Corvel_x64_installer_1.07.0.378.exe"
                                            << "";
        QTest::newRow("text around the version") << QByteArray("Corvel v01.7.0.378 (stable)") << ""
                                                 << "Corvel_x64_installer_01.7.0.378.exe"
                                                 << "";
        QTest::newRow("not found") << QByteArray() << "404" << ManualFile << "Cannot get reply from the server";
        // A redirection without a target to follow: its body is no installer.
        QTest::newRow("redirection") << QByteArray() << "302" << ManualFile << "Cannot get reply from the server";
        // Qt gives no temporary location at all then; the bare file name must not land in the root.
        QTest::newRow("temporary folder missing") << QByteArray() << "no folder" << ManualFile << "Cannot open file";
    }

    void download()
    {
        QFETCH(QByteArray, version);
        QFETCH(QString, fault);
        QFETCH(QString, fileName);
        QFETCH(QString, status);

        QByteArray body;
        for (int i = 0; i < 300000; ++i)
            body.append(char('A' + i % 26));
        HttpTestServer server;
        if (fault == "302")
            server.setResponse(InstallerPath, {302, body});
        else if (fault != "404")
            server.setResponse(InstallerPath, payload(body));
        server.setResponse(DescriptorPath,
                           payload("<BuildInfo><MsiPathX64>" + server.url(InstallerPath).toUtf8() +
                                   "</MsiPathX64><Version>" + version + "</Version><Notice>n</Notice></BuildInfo>"));
        Updater updater(version.isEmpty() ? server.url(InstallerPath) : QString(), server.url(DescriptorPath));
        QVERIFY(updater.checkForUpdates());

        const QString target = m_temp->filePath(fileName);
        if (fault == "no folder")
            qputenv("TMPDIR", QFile::encodeName(m_temp->filePath("gone")));
        QFile leftover(target);
        if (status.isEmpty()) {
            // A leftover from an earlier run must not survive, whatever it holds.
            QVERIFY(leftover.open(QIODevice::WriteOnly));
            leftover.write(QByteArray(body.size() * 2, 'Z'));
            leftover.close();
        }

        QSignalSpy failed(&updater, &Updater::downloadFailed);
        QCOMPARE(downloaded(updater), status.isEmpty());
        if (status.isEmpty()) {
            QVERIFY(leftover.open(QIODevice::ReadOnly));
            QCOMPARE(leftover.readAll(), body);
            QCOMPARE(filesIn(m_temp->path()), QStringList{fileName});
            return;
        }
        // The "Download failed" dialog shows the status the signal carries.
        QCOMPARE(failed.count(), 1);
        QCOMPARE(failed.first().first().toString(), status);
        QVERIFY(filesIn(m_temp->path()).isEmpty());
        QVERIFY(!QFileInfo::exists("/" + ManualFile));
        QVERIFY(refuses(updater));
    }

    // A redirection that is not followed ends the download as soon as its head arrives, whatever
    // the server then does with the connection; the wait stays far below the stall limit.
    void redirection_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("bodySize");
        QTest::addColumn<bool>("keepOpen");
        QTest::addColumn<bool>("target");

        QTest::newRow("302, body, connection kept open") << 302 << 300000 << true << false;
        QTest::newRow("302, body, connection closed") << 302 << 300000 << false << false;
        QTest::newRow("302, no body, connection kept open") << 302 << 0 << true << false;
        QTest::newRow("308, body, connection kept open") << 308 << 300000 << true << false;
        QTest::newRow("300 with a target, connection kept open") << 300 << 300000 << true << true;
        QTest::newRow("302 with a target is followed") << 302 << 300000 << true << true;
    }

    void redirection()
    {
        QFETCH(int, code);
        QFETCH(int, bodySize);
        QFETCH(bool, keepOpen);
        QFETCH(bool, target);

        HttpTestServer server;
        HttpTestServer::Response reply{code, QByteArray(bodySize, 'r')};
        reply.keepOpen = keepOpen;
        if (target)
            reply.location = server.url("/elsewhere").toUtf8();
        server.setResponse(InstallerPath, reply);
        server.setResponse("/elsewhere", payload("installer"));
        Updater updater(server.url(InstallerPath), server.url(DescriptorPath));
        QVERIFY(updater.checkForUpdates());
        LogCapture log;
        QSignalSpy failed(&updater, &Updater::downloadFailed);
        const bool followed = code == 302 && target;
        QCOMPARE(downloaded(updater), followed);
        if (followed) {
            QCOMPARE(server.requestedPaths(), (QStringList{"/downloads/setup.exe", "/elsewhere"}));
            return;
        }
        QCOMPARE(failed.count(), 1);
        QCOMPARE(failed.first().first().toString(), QString("Cannot get reply from the server"));
        QVERIFY(log.contains(QString("Reply is a redirection (HTTP %1), which is not followed").arg(code)));
        QVERIFY(filesIn(m_temp->path()).isEmpty());
        QVERIFY(refuses(updater));
    }

    // A server that goes silent, before its head or in the middle of the body, ends the download.
    void stalled_data()
    {
        QTest::addColumn<int>("delayMs");
        QTest::addColumn<int>("stallAfter");
        QTest::newRow("before the head") << 600000 << -1;
        QTest::newRow("in the body") << 0 << 10;
    }

    void stalled()
    {
        QFETCH(int, delayMs);
        QFETCH(int, stallAfter);
        HttpTestServer server;
        server.setResponse(InstallerPath, {200, QByteArray(1000, 'i'), delayMs, true, stallAfter});
        Updater updater(server.url(InstallerPath), server.url(DescriptorPath));
        updater.setStallLimit(std::chrono::milliseconds(300));
        QVERIFY(updater.checkForUpdates());
        LogCapture log;
        QSignalSpy failed(&updater, &Updater::downloadFailed);
        QVERIFY(!downloaded(updater));
        QCOMPARE(failed.count(), 1);
        QCOMPARE(failed.first().first().toString(), QString("Cannot get reply from the server"));
        QVERIFY(log.contains("Nothing received from the server for 300 ms"));
        QVERIFY(filesIn(m_temp->path()).isEmpty());
    }

    // The installer goes to disk as it arrives: memory stays flat however large it is.
    void largeInstaller()
    {
        const qint64 size = 256 * 1024 * 1024;
        CorvelTest::CloudSim sim({"--update-version", "1.7.1.0", "--installer-size", QString::number(size)});
        QVERIFY(sim.start());
        Updater updater(QString(), sim.origin() + DescriptorPath);
        QVERIFY(updater.checkForUpdates());
        const PeakRss peak;
        QVERIFY(downloaded(updater, 120000));
        const qint64 growth = peak.growth();

        const QString path = m_temp->filePath("Corvel_x64_installer_1.7.1.0.exe");
        QCOMPARE(filesIn(m_temp->path()), QStringList{"Corvel_x64_installer_1.7.1.0.exe"});
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.size(), size);
        // The simulator repeats its usual installer: the first and the last of those copies match.
        const qint64 block = 393216;
        const QByteArray first = file.read(block);
        QVERIFY(file.seek(size - size % block - block));
        QCOMPARE(file.read(block), first);
        if (peak.available()) {
            qInfo("peak memory growth: %lld KiB for %lld MiB", growth / 1024, size / (1024 * 1024));
            QVERIFY2(growth < 32 * 1024 * 1024, qPrintable(QString::number(growth)));
        }
    }

    // A gzip-encoded installer is saved decoded.
    void gzipInstaller()
    {
        const int size = 8 * 1024 * 1024;
        CorvelTest::CloudSim sim({"--update-version", "1.7.1.0", "--fault-inflate",
                                  "/Corvel/Corvel_installer.exe=" + QString::number(size)});
        QVERIFY(sim.start());
        Updater updater(QString(), sim.origin() + DescriptorPath);
        QVERIFY(updater.checkForUpdates());
        QVERIFY(downloaded(updater, 60000));
        QFile file(m_temp->filePath("Corvel_x64_installer_1.7.1.0.exe"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), '[' + QByteArray(size - 2, ' ') + ']');
    }

    void cancelAndRun()
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
        server.setResponse(InstallerPath, payload(script, 10));
        Updater updater(server.url(InstallerPath), server.url(DescriptorPath));
        QVERIFY(updater.checkForUpdates());
        QSignalSpy finished(&updater, &Updater::downloadFinished);
        QSignalSpy failed(&updater, &Updater::downloadFailed);
        LogCapture log;
        QVERIFY(refuses(updater));
        updater.startDownload();
        QVERIFY(refuses(updater));
        QTRY_VERIFY_WITH_TIMEOUT(log.contains(QString("Update progress: 10/%1").arg(script.size())), 10000);
        updater.startDownload(); // one at a time
        QCOMPARE(updater.lastStatus(), QString("Unexpected state"));
        QTest::qWait(50);
        QCOMPARE(server.requestedPaths().size(), 1);

        updater.cancel();
        QVERIFY(!updater.isDownloading());
        QCOMPARE(updater.lastStatus(), QString("Update canceled"));
        // The aborted reply must come back neither as a failure nor as a finished download.
        QTest::qWait(300);
        QCOMPARE(finished.count() + failed.count(), 0);
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
