#include "testsupport/cloud_sim.h"
#include "testsupport/service_sim.h"
#include "testsupport/test_paths.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

// The real console executable on prepared working folders, and signing in against both
// simulators (the cloud's sign-in page in the embedded browser needs an X server).
class TestStartupProcess : public QObject {
    Q_OBJECT

    // entry: "LEVEL text" of a whole log line; * stands for any text or level.
    static bool inLog(const QString& log, const QString& entry)
    {
        const QString level = entry.section(' ', 0, 0), text = entry.section(' ', 1);
        const QString prefix =
            "^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}\\t" + level + "\\tTID=\\d+\\t\\([^)]*\\) ";
        const QRegularExpression line((level == "*" ? "^.*" : prefix) +
                                          QRegularExpression::escape(text).replace("\\*", ".*") + "\\r$",
                                      QRegularExpression::MultilineOption);
        return line.match(log).hasMatch();
    }

private slots:
    void startUp_data()
    {
        QTest::addColumn<QByteArray>("config"); // "-": no config.json
        QTest::addColumn<QString>(
            "setup"); // "logs blocked" by a file, "certs" made, a "protected key", "sign in: USER"
        // "EXIT n", "STDERR text", "!text" nowhere in the log, else a log line as inLog() takes it
        QTest::addColumn<QStringList>("expected");

        const QString configFailed = "ERROR Failed to load config. Corvel will be closed.";
        const QString noClient = "ERROR Failed to create Corvel Service client. Corvel will be closed.";
        QTest::newRow("no config") << QByteArray("-") << ""
                                   << QStringList{"EXIT 255", "INFO Logging intialized.", configFailed,
                                                  "STDERR Corvel error: Failed to open config.json file. Please make "
                                                  "sure that file exists"};
        QTest::newRow("logs blocked") << QByteArray("-") << "logs blocked"
                                      << QStringList{"EXIT 255", "STDERR Failed to initialize logging.\n"};
        // No service manager here: the three services count as running.
        QTest::newRow("missing keys use defaults")
            << QByteArray("{}") << "" << QStringList{"INFO all running", "!Undefined var"};
        QTest::newRow("service not running")
            << QByteArray("{\"disable_services_autostart\": true, \"service_port\": 1}") << "certs"
            << QStringList{"EXIT 255",
                           "ERROR Thrift error: *",
                           "ERROR Failed to connect to Corvel service",
                           noClient,
                           "* [Corvel error] Failed to connect to Corvel service, please make sure that the "
                           "service is installed and running",
                           "!all running"};
        // Started from a shell, with a terminal: nothing may be asked there.
        QTest::newRow("key wants a passphrase")
            << QByteArray("{\"disable_services_autostart\": true}") << "protected key"
            << QStringList{"EXIT 255", "ERROR Failed to create SSL socket factory: *", noClient,
                           "!tolvex-secret-words"};
        QTest::newRow("token never decodes: three windows, then the dialog and status 0")
            << QByteArray() << "sign in: broken"
            << QStringList{"EXIT 0", "ERROR Failed to parse CV token. Corvel will be closed.",
                           "* [Corvel error] Invalid security token received, Corvel will be closed", "!eyJ"};
        QTest::newRow("partner signs in") << QByteArray() << "sign in: partner"
                                          << QStringList{"* reseller_id is presented, user role detected as Partner.",
                                                         "* Creating main window.", "!eyJ"};
    }

    void startUp()
    {
        QFETCH(QByteArray, config);
        QFETCH(QString, setup);
        QFETCH(QStringList, expected);
        QTemporaryDir dir;
        if (setup == "certs" || setup == "protected key")
            QCOMPARE(CorvelTest::ServiceSim::makeCerts(dir.path()), QString());
        const QString key = dir.path() + "/tolvex.key";
        if (setup == "protected key") {
            QCOMPARE(QProcess::execute("openssl", {"pkey", "-in", key, "-aes256", "-passout",
                                                   "pass:tolvex-secret-words", "-out", key + ".new"}),
                     0);
            QVERIFY(QFile::remove(key) && QFile::rename(key + ".new", key));
        }
        if (setup == "logs blocked")
            QVERIFY(QFile(dir.path() + "/logs").open(QIODevice::WriteOnly));
        const bool signIn = setup.startsWith("sign in: ");
        CorvelTest::ServiceSim service;
        CorvelTest::CloudSim cloud({"--auto-sign-in", setup.mid(9)});
        if (signIn) {
            QCOMPARE(service.startWithCerts(dir.path(), {"--jobs", "3"}), QString());
            QVERIFY(cloud.start());
            config = QJsonDocument(QJsonObject{{"use_software_opengl", true},
                                               {"disable_services_autostart", true},
                                               {"service_port", service.port()},
                                               {"auth_url", cloud.authUrl()},
                                               {"vusk_url", cloud.vuskUrl()}})
                         .toJson();
        }
        QFile file(dir.path() + "/config.json");
        QVERIFY(config == "-" || (file.open(QIODevice::WriteOnly) && file.write(config) == config.size()));
        file.close();

        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("CORVEL_WORKING_DIR", dir.path());
        env.insert("CORVEL_INSTALL_DIR", dir.path());
        env.insert("CORVEL_UNATTENDED", "1");
        env.insert("QT_QPA_PLATFORM", signIn ? "xcb" : "offscreen");
        process.setProcessEnvironment(env);
        const QString console = CorvelTest::binDir() + "/corvel";
        if (setup == "protected key")
            process.start("script", {"-qec", console, "/dev/null"});
        else
            process.start(console, QStringList());
        QVERIFY(process.waitForStarted());
        const auto readLog = [&] {
            QFile log(dir.path() + "/logs/corvel.log");
            return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
        };
        const QStringList lines = expected.filter(QRegularExpression("^(?!EXIT |STDERR |!)"));
        const auto allLogged = [&] {
            const QString log = readLog();
            return std::all_of(lines.begin(), lines.end(), [&](const QString& line) { return inLog(log, line); });
        };
        const QDeadlineTimer deadline(120000);
        while (process.state() != QProcess::NotRunning && !allLogged() && !deadline.hasExpired())
            process.waitForFinished(200);

        const QString log = readLog();
        for (const QString& entry : expected) {
            if (entry.startsWith("EXIT ")) {
                QVERIFY2(process.state() == QProcess::NotRunning || process.waitForFinished(30000), "still running");
                QCOMPARE(process.exitCode(), entry.mid(5).toInt());
            } else if (entry.startsWith("STDERR ")) {
                QVERIFY(QString::fromUtf8(process.readAllStandardError()).contains(entry.mid(7)));
            } else if (entry.startsWith('!')) {
                QVERIFY2(!log.contains(entry.mid(1)), qPrintable(entry));
            }
        }
        for (const QString& line : lines)
            QVERIFY2(inLog(log, line), qPrintable(line + " not in:\n" + log));
        if (setup == "sign in: broken")
            QVERIFY(cloud.requests().filter("/authorization/vusk").size() >= 3);
        process.terminate();
        process.waitForFinished(10000);
    }
};

QTEST_GUILESS_MAIN(TestStartupProcess)
#include "tst_startup_process.moc"
