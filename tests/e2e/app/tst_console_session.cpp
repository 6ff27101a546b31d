#include "testsupport/cloud_sim.h"
#include "testsupport/service_sim.h"
#include "testsupport/test_paths.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

// The real console against both simulators, the cloud's sign-in page in the embedded browser
// (needs an X server).
class TestConsoleSession : public QObject {
    Q_OBJECT

private slots:
    void signIn_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("token never decodes: three windows, then the dialog and status 0")
            << "broken"
            << QStringList{") Failed to parse CV token. Corvel will be closed.",
                           "[Corvel error] Invalid security token received, Corvel will be closed"};
        QTest::newRow("partner signs in")
            << "partner"
            << QStringList{"reseller_id is presented, user role detected as Partner.", ") Creating main window."};
    }

    void signIn()
    {
        QFETCH(QString, user);
        QFETCH(QStringList, expected);
        QTemporaryDir work;
        CorvelTest::ServiceSim service;
        const QString error = service.startWithCerts(work.path(), {"--jobs", "3"});
        QVERIFY2(error.isEmpty(), qPrintable(error));
        CorvelTest::CloudSim cloud({"--auto-sign-in", user});
        QVERIFY(cloud.start());
        QFile config(work.path() + "/config.json");
        QVERIFY(config.open(QIODevice::WriteOnly));
        config.write(QJsonDocument(QJsonObject{{"use_software_opengl", true},
                                               {"disable_services_autostart", true},
                                               {"service_port", service.port()},
                                               {"auth_url", cloud.authUrl()},
                                               {"vusk_url", cloud.vuskUrl()}})
                         .toJson());
        config.close();

        QProcess console;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("CORVEL_WORKING_DIR", work.path());
        env.insert("CORVEL_INSTALL_DIR", work.path());
        env.insert("CORVEL_UNATTENDED", "1");
        env.insert("QT_QPA_PLATFORM", "xcb");
        console.setProcessEnvironment(env);
        console.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        console.start(CorvelTest::binDir() + "/corvel", QStringList());
        QVERIFY(console.waitForStarted());
        const auto readLog = [&] {
            QFile file(work.path() + "/logs/corvel.log");
            return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
        };
        const QDeadlineTimer deadline(120000);
        while (!readLog().contains(expected.last()) && console.state() == QProcess::Running && !deadline.hasExpired())
            console.waitForFinished(200);
        const QString log = readLog();
        for (const QString& line : expected)
            QVERIFY2(log.contains(line), qPrintable(line + " not in:\n" + log));
        // No token of any kind reaches the log.
        QVERIFY(!log.contains("eyJ"));
        if (user == "broken") {
            QVERIFY(console.state() == QProcess::NotRunning || console.waitForFinished(30000));
            QCOMPARE(console.exitCode(), 0);
            QVERIFY(cloud.requests().filter("/authorization/vusk").size() >= 3);
        }
        console.terminate();
        console.waitForFinished(10000);
    }
};

QTEST_GUILESS_MAIN(TestConsoleSession)
#include "tst_console_session.moc"
