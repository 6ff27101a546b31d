#include "testsupport/cloud_sim.h"
#include "testsupport/http_test_server.h"
#include "testsupport/log_capture.h"
#include "testsupport/peak_rss.h"
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
        QCOMPARE(updater.lastStatus(), QString("Cannot get remote version"));
        // Gave up on its own, well before the server would have answered.
        QVERIFY2(elapsed >= CVUpdater::DescriptorTimeoutMs - 100 && elapsed < 15000,
                 qPrintable(QString::number(elapsed)));
    }

    // The descriptor as served, against the program's own version 1.7.0.377.
    void check_data()
    {
        QTest::addColumn<int>("httpStatus");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("offer");  // "url|notice" when offered
        QTest::addColumn<QString>("status"); // lastStatus()
        QTest::addColumn<QString>("logged"); // why the descriptor was unusable

        const QString x64 = "http://127.0.0.1:1/x64.exe|Fixes", wrong = "Wrong remote version format";
        const QString noRemote = "Cannot get remote version";
        QTest::newRow("64-bit location preferred")
            << 200
            << QByteArray("<BuildInfo><MsiPath>http://h/32.exe</MsiPath><MsiPathX64>http://h/64.exe</MsiPathX64>"
                          "<Version>1.7.1.12</Version><Notice>New jobs view</Notice></BuildInfo>")
            << "http://h/64.exe|New jobs view"
            << ""
            << "";
        QTest::newRow("plain location when no 64-bit one")
            << 200
            << QByteArray("<BuildInfo><MsiPath>http://h/32.exe</MsiPath><Version>1.7.1.12</Version>"
                          "<Notice>n</Notice></BuildInfo>")
            << "http://h/32.exe|n"
            << ""
            << "";
        QTest::newRow("no location") << 200
                                     << QByteArray(
                                            "<BuildInfo><Version>1.8.0.1</Version><Notice>n</Notice></BuildInfo>")
                                     << "" << noRemote << "Cannot get URL";
        QTest::newRow("no version") << 200
                                    << QByteArray("<BuildInfo><MsiPath>u</MsiPath><Notice>n</Notice></BuildInfo>") << ""
                                    << noRemote << "Cannot get version";
        QTest::newRow("no notice") << 200
                                   << QByteArray(
                                          "<BuildInfo><MsiPath>u</MsiPath><Version>1.8.0.1</Version></BuildInfo>")
                                   << "" << noRemote << "Cannot get notice";
        QTest::newRow("not xml") << 200 << QByteArray("<BuildInfo><Version>1.8") << "" << noRemote
                                 << "Cannot get info source";
        QTest::newRow("another root element")
            << 200 << descriptor("1.8.0.1").replace("BuildInfo", "Release") << "" << noRemote << "Wrong xml format";
        QTest::newRow("server error") << 500 << descriptor("1.8.0.1") << "" << noRemote
                                      << "Cannot get reply from the server";
        QTest::newRow("equal") << 200 << descriptor("1.7.0.377") << ""
                               << ""
                               << "";
        QTest::newRow("next revision") << 200 << descriptor("1.7.0.378") << x64 << ""
                                       << "";
        QTest::newRow("numeric minor, not textual") << 200 << descriptor("1.10.0.0") << x64 << ""
                                                    << "";
        QTest::newRow("minor beats build") << 200 << descriptor("1.6.9999.9999") << ""
                                           << ""
                                           << "";
        QTest::newRow("text around") << 200 << descriptor("Corvel v01.7.0.378 (stable)") << x64 << ""
                                     << "";
        QTest::newRow("first match wins") << 200 << descriptor("1.7.0.377.9") << ""
                                          << ""
                                          << "";
        QTest::newRow("largest number") << 200 << descriptor("4294967295.0.0.0") << x64 << ""
                                        << "";
        QTest::newRow("too large") << 200 << descriptor("4294967296.0.0.0") << "" << wrong << "";
        QTest::newRow("two numbers") << 200 << descriptor("1.7") << "" << wrong << "";
        // Hostile servers: each descriptor would otherwise offer 1.8.0.1 (or crash the parse).
        const QByteArray deep =
            "<BuildInfo>" + QByteArray("<a>").repeated(100000) + QByteArray("</a>").repeated(100000) + "</BuildInfo>";
        QTest::newRow("100000 levels deep") << 200 << deep << "" << noRemote << "Cannot get info source";
        QByteArray large = descriptor("1.8.0.1");
        large.replace("Fixes", QByteArray(2 * 1024 * 1024, 'x'));
        QTest::newRow("over 1 MiB") << 200 << large << "" << noRemote << "Cannot get reply from the server";
        QTest::newRow("redirection") << 302 << descriptor("1.8.0.1") << "" << noRemote
                                     << "Cannot get reply from the server";
        QByteArray ok = descriptor("1.8.0.1");
        ok.replace("Fixes", QByteArray(1000, 'x'));
        QTest::newRow("long notice") << 200 << ok << "http://127.0.0.1:1/x64.exe|" + QString(1000, 'x') << ""
                                     << "";
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
        server.setResponse(DescriptorPath, {httpStatus, body});
        Updater updater(QString(), server.url(DescriptorPath));
        LogCapture log;
        QFutureWatcher<bool> watcher;
        QSignalSpy finished(&watcher, &QFutureWatcher<bool>::finished);
        watcher.setFuture(QtConcurrent::run(&updater, &Updater::checkForUpdates));
        QVERIFY(finished.wait(10000));

        QCOMPARE(watcher.result(), !offer.isEmpty());
        QCOMPARE(updater.lastStatus(), status);
        const QString got = updater.downloadUrl() + '|' + updater.notice();
        QCOMPARE(got == "|" ? QString() : got, offer);
        QVERIFY2(logged.isEmpty() || log.contains(QtInfoMsg, logged), qPrintable(log.texts().join('\n')));
    }

    // A descriptor far past its limit, on the wire or only once inflated: refused while it arrives.
    void hugeDescriptor_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::newRow("20 MB plain") << "--fault-oversize";
        QTest::newRow("1 MB of gzip inflating to 1 GiB") << "--fault-inflate";
    }

    void hugeDescriptor()
    {
        QFETCH(QString, fault);
        const QString size = fault == "--fault-inflate" ? "1073741824" : "20000000";
        CorvelTest::CloudSim sim({"--update-version", "1.9.0.0", fault, DescriptorPath + "=" + size});
        QVERIFY(sim.start());
        Updater updater(QString(), sim.origin() + DescriptorPath);
        const CorvelTest::PeakRss peak;
        QStringList logged;
        {
            LogCapture log;
            QVERIFY(!updater.checkForUpdates());
            logged = log.texts();
        }
        const qint64 growth = peak.growth();
        QCOMPARE(updater.lastStatus(), QString("Cannot get remote version"));
        QVERIFY2(logged.join('\n').contains("Reply is too large: more than 1048576 bytes\n"
                                            "Cannot get reply from the server\nCannot get remote version"),
                 qPrintable(logged.join('\n')));
        if (peak.available()) {
            qInfo("peak memory growth: %lld KiB", growth / 1024);
            QVERIFY2(growth < 16 * 1024 * 1024, qPrintable(QString::number(growth)));
        }
    }

    void manualLocationNeedsNoDescriptor()
    {
        HttpTestServer server;
        const QString manual = QStringLiteral("http://files.example.invalid/corvel-setup.exe");
        Updater updater(manual, server.url(DescriptorPath));
        QVERIFY(updater.checkForUpdates());
        QCOMPARE(updater.downloadUrl(), manual);
        QCOMPARE(updater.offeredVersion(), QString("0.0.0.0"));
        QCOMPARE(updater.notice(), QString("Manual update"));
        QVERIFY(server.requestedPaths().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestUpdateCheck)
#include "tst_update_check.moc"
