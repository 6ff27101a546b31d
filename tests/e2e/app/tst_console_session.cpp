#include "testsupport/cloud_sim.h"
#include "testsupport/service_sim.h"
#include "testsupport/test_paths.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

// The real console against both simulators: the service on the fixed port 9000 and the cloud's
// sign-in page in the embedded browser (needs an X server).
class TestConsoleSession : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_work;

    void writeConfig(const QJsonObject& config)
    {
        QFile file(m_work.path() + "/config.json");
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(QJsonDocument(config).toJson());
    }

    QString log() const
    {
        QFile file(m_work.path() + "/logs/corvel.log");
        file.open(QIODevice::ReadOnly);
        return QString::fromUtf8(file.readAll());
    }

    void startConsole(QProcess& process)
    {
        QFile::remove(m_work.path() + "/logs/corvel.log");
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("CORVEL_WORKING_DIR", m_work.path());
        env.insert("CORVEL_INSTALL_DIR", m_work.path());
        env.insert("CORVEL_UNATTENDED", "1");
        env.insert("QT_QPA_PLATFORM", "xcb");
        process.setProcessEnvironment(env);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(CorvelTest::binDir() + "/corvel", QStringList());
        QVERIFY(process.waitForStarted());
    }

    bool waitForLog(QProcess& process, const QString& text, int timeoutMs)
    {
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < timeoutMs) {
            if (log().contains(text))
                return true;
            if (process.state() == QProcess::NotRunning)
                return log().contains(text);
            process.waitForFinished(200);
        }
        return false;
    }

    QJsonObject configFor(const CorvelTest::CloudSim& cloud)
    {
        return QJsonObject{{"use_software_opengl", true},
                           {"disable_services_autostart", true},
                           {"auth_url", cloud.authUrl()},
                           {"vusk_url", cloud.vuskUrl()}};
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_work.isValid());
        const QString error = CorvelTest::ServiceSim::makeCerts(m_work.path());
        QVERIFY2(error.isEmpty(), qPrintable(error));
    }

    void serviceNotRunning()
    {
        writeConfig({{"disable_services_autostart", true}});
        QProcess console;
        startConsole(console);
        QVERIFY(console.waitForFinished(60000));
        QCOMPARE(console.exitCode(), 255);
        const QString text = log();
        QVERIFY2(text.contains(") Thrift error: "), qPrintable(text));
        QVERIFY(text.contains(") Failed to connect to Corvel service\r\n"));
        QVERIFY(text.contains("\tERROR\t") && text.contains(") Failed to create Corvel Service client. Corvel will be closed."));
        QVERIFY(text.contains("[Corvel error] Failed to connect to Corvel service, please make sure that the service is "
                              "installed and running"));
        // Services autostart disabled: the service starter never ran.
        QVERIFY(!text.contains("all running"));
    }

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
        CorvelTest::ServiceSim service;
        const QString error = service.start(m_work.path(), {"--jobs", "3"}, 9000);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        CorvelTest::CloudSim cloud({"--auto-sign-in", user});
        QVERIFY(cloud.start());
        writeConfig(configFor(cloud));
        QProcess console;
        startConsole(console);
        QVERIFY2(waitForLog(console, expected.last(), 120000), qPrintable(log()));
        for (const QString& line : expected)
            QVERIFY2(log().contains(line), qPrintable(line));
        // No token of any kind reaches the log.
        QVERIFY(!log().contains("eyJ"));
        if (user == "broken") {
            QVERIFY(console.state() == QProcess::NotRunning || console.waitForFinished(30000));
            QCOMPARE(console.exitCode(), 0);
            QCOMPARE(cloud.requests().filter("/authorization/vusk").size() >= 3, true);
        }
        console.terminate();
        console.waitForFinished(10000);
    }
};

QTEST_GUILESS_MAIN(TestConsoleSession)
#include "tst_console_session.moc"
