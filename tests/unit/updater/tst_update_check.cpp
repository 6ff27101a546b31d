#include "testsupport/http_test_server.h"
#include "testsupport/log_capture.h"
#include "updater/updater.h"

#include <QFutureWatcher>
#include <QtConcurrent>
#include <QtTest>

using CorvelTest::HttpTestServer;
using CorvelTest::LogCapture;
using CVUpdater::Updater;

namespace {
const QString DescriptorPath = QStringLiteral("/Corvel/autoupdate.xml");

QByteArray descriptor(const QByteArray& version, const QByteArray& notice = "Fixes")
{
    return "<?xml version=\"1.0\"?>\n<BuildInfo>\n  <MsiPathX64>http://127.0.0.1:1/x64.exe</MsiPathX64>\n  <Version>" +
           version + "</Version>\n  <Notice>" + notice + "</Notice>\n</BuildInfo>\n";
}
} // namespace

class TestUpdateCheck : public QObject {
    Q_OBJECT
private slots:
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
        // Hostile servers: each would otherwise offer 1.8.0.1 (or crash the parse, or hang the check).
        const QString noReply = "Cannot get reply from the server";
        row("100000 levels deep",
            "<BuildInfo>" + QByteArray("<a>").repeated(100000) + QByteArray("</a>").repeated(100000) + "</BuildInfo>",
            none, "Cannot get info source");
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
        QFutureWatcher<bool> watcher;
        QSignalSpy finished(&watcher, &QFutureWatcher<bool>::finished);
        watcher.setFuture(QtConcurrent::run(&updater, &Updater::checkForUpdates));
        QVERIFY(finished.wait(CVUpdater::DescriptorTimeoutMs + 10000));

        QCOMPARE(watcher.result(), !offer.isEmpty());
        QCOMPARE(updater.lastStatus(), status);
        const QString got = updater.downloadUrl() + '|' + updater.notice();
        QCOMPARE(got == "|" ? QString() : got, offer);
        QVERIFY2(logged.isEmpty() || log.contains(QtInfoMsg, logged), qPrintable(log.texts().join('\n')));
    }
};

QTEST_GUILESS_MAIN(TestUpdateCheck)
#include "tst_update_check.moc"
