#include "testsupport/service_sim.h"
#include "testsupport/test_paths.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

// The real console executable on prepared working folders, up to where it gives up.
class TestStartupProcess : public QObject {
    Q_OBJECT

private slots:
    void startUp_data()
    {
        QTest::addColumn<QByteArray>("config"); // "-": no config.json
        QTest::addColumn<QString>("setup");     // "logs blocked" by a file; "certs" made, or a "protected key"
        QTest::addColumn<QString>("stdErr");
        QTest::addColumn<QStringList>("lines"); // "LEVEL text" of whole log lines; * stands for any text or level
        QTest::addColumn<QString>("absent");

        const QString configFailed = "ERROR Failed to load config. Corvel will be closed.";
        QTest::newRow("no config") << QByteArray("-") << ""
                                   << "Corvel error: Failed to open config.json file. Please make sure that file exists"
                                   << QStringList{"INFO Logging intialized.", configFailed} << "";
        QTest::newRow("unparsable config")
            << QByteArray("{\"use_software_opengl\": ") << ""
            << "" << QStringList{"* Failed to parse JSON from file %dir/config.json. Error: *", configFailed} << "";
        QTest::newRow("config not json") << QByteArray("use_software_opengl=true") << ""
                                         << ""
                                         << QStringList{"* Failed to parse JSON from file %dir/config.json. Error: *",
                                                        configFailed}
                                         << "";
        QTest::newRow("logs blocked") << QByteArray("-") << "logs blocked"
                                      << "Failed to initialize logging.\n"
                                      << QStringList{} << "";
        // No service manager here: the three services count as running.
        QTest::newRow("missing keys use defaults")
            << QByteArray("{}") << ""
            << ""
            << QStringList{"WARN Failed to get value at key  \"use_software_opengl\" . Default value  false  returned.",
                           "WARN Failed to get value at key  \"disable_services_autostart\" . Default value  false  "
                           "returned.",
                           "INFO all running"}
            << "";
        QTest::newRow("service not running")
            << QByteArray("{\"disable_services_autostart\": true, \"service_port\": 1}") << "certs"
            << ""
            << QStringList{"ERROR Thrift error: *", "ERROR Failed to connect to Corvel service",
                           "ERROR Failed to create Corvel Service client. Corvel will be closed.",
                           "* [Corvel error] Failed to connect to Corvel service, please make sure that the "
                           "service is installed and running"}
            << "all running";
        // Started from a shell, with a terminal: nothing may be asked there.
        QTest::newRow("key wants a passphrase")
            << QByteArray("{\"disable_services_autostart\": true}") << "protected key"
            << ""
            << QStringList{"ERROR Failed to create SSL socket factory: *",
                           "ERROR Failed to create Corvel Service client. Corvel will be closed."}
            << "tolvex-secret-words";
    }

    void startUp()
    {
        QFETCH(QByteArray, config);
        QFETCH(QString, setup);
        QFETCH(QString, stdErr);
        QFETCH(QStringList, lines);
        QFETCH(QString, absent);
        QTemporaryDir dir;
        QFile file(dir.path() + "/config.json");
        QVERIFY(config == "-" || (file.open(QIODevice::WriteOnly) && file.write(config) == config.size()));
        file.close();
        if (setup == "logs blocked")
            QVERIFY(QFile(dir.path() + "/logs").open(QIODevice::WriteOnly));
        if (setup == "certs" || setup == "protected key")
            QCOMPARE(CorvelTest::ServiceSim::makeCerts(dir.path()), QString());
        const QString key = dir.path() + "/tolvex.key";
        if (setup == "protected key") {
            QCOMPARE(QProcess::execute("openssl", {"pkey", "-in", key, "-aes256", "-passout",
                                                   "pass:tolvex-secret-words", "-out", key + ".new"}),
                     0);
            QVERIFY(QFile::remove(key) && QFile::rename(key + ".new", key));
        }

        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("CORVEL_WORKING_DIR", dir.path());
        env.insert("CORVEL_UNATTENDED", "1");
        env.insert("QT_QPA_PLATFORM", "offscreen");
        process.setProcessEnvironment(env);
        const QString console = CorvelTest::binDir() + "/corvel";
        if (setup == "protected key")
            process.start("script", {"-qec", console, "/dev/null"});
        else
            process.start(console, QStringList());
        QVERIFY2(process.waitForFinished(30000), qPrintable(process.readAll()));
        QCOMPARE(process.exitCode(), 255);
        QVERIFY2(QString::fromUtf8(process.readAllStandardError()).contains(stdErr), qPrintable(stdErr));
        QFile logFile(dir.path() + "/logs/corvel.log");
        const QString log = logFile.open(QIODevice::ReadOnly) ? QString::fromUtf8(logFile.readAll()) : QString();
        for (QString line : lines) {
            line.replace("%dir", dir.path());
            const QString level = line.section(' ', 0, 0), text = line.section(' ', 1);
            const QString prefix =
                "^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}\\t" + level + "\\tTID=\\d+\\t\\([^)]*\\) ";
            const QRegularExpression re((level == "*" ? "^.*" : prefix) +
                                            QRegularExpression::escape(text).replace("\\*", ".*") + "\\r$",
                                        QRegularExpression::MultilineOption);
            QVERIFY2(re.match(log).hasMatch(), qPrintable(line + " not in:\n" + log));
        }
        QVERIFY(absent.isEmpty() || !log.contains(absent));
        QVERIFY2(!log.contains("Undefined var"), qPrintable(log));
    }
};

QTEST_GUILESS_MAIN(TestStartupProcess)
#include "tst_startup_process.moc"
