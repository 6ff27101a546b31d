#include "testsupport/test_paths.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

// Runs the real console executable against prepared working folders.
class TestStartupProcess : public QObject {
    Q_OBJECT

private:
    struct Run {
        int exitCode = -1;
        QString stdErr;
        QString log;
    };

    Run runConsole(const QString& workingDir, const QByteArray& config = QByteArray(), bool writeConfig = false)
    {
        if (writeConfig) {
            QFile file(workingDir + "/config.json");
            file.open(QIODevice::WriteOnly);
            file.write(config);
        }
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("CORVEL_WORKING_DIR", workingDir);
        env.insert("CORVEL_UNATTENDED", "1");
        env.insert("QT_QPA_PLATFORM", "offscreen");
        process.setProcessEnvironment(env);
        process.start(CorvelTest::binDir() + "/corvel", QStringList());
        if (!process.waitForFinished(60000))
            process.kill();
        Run run;
        run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2;
        run.stdErr = QString::fromUtf8(process.readAllStandardError());
        QFile log(workingDir + "/logs/corvel.log");
        if (log.open(QIODevice::ReadOnly))
            run.log = QString::fromUtf8(log.readAll());
        return run;
    }

    static QString lineFor(const QString& level, const QString& text)
    {
        return "^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}\\t" + level + "\\tTID=\\d+\\t\\([^)]*\\) " +
               QRegularExpression::escape(text) + "\\r$";
    }

    static bool hasLine(const QString& log, const QString& level, const QString& text)
    {
        const QRegularExpression re(lineFor(level, text), QRegularExpression::MultilineOption);
        return re.match(log).hasMatch();
    }

private slots:
    void missingConfig()
    {
        QTemporaryDir dir;
        const Run run = runConsole(dir.path());
        QCOMPARE(run.exitCode, 255);
        QVERIFY2(hasLine(run.log, "INFO", "Logging intialized."), qPrintable(run.log));
        QVERIFY2(hasLine(run.log, "ERROR", "Failed to load config. Corvel will be closed."), qPrintable(run.log));
        QVERIFY(run.stdErr.contains("Corvel error: Failed to open config.json file. Please make sure that file exists"));
    }

    void brokenConfig_data()
    {
        QTest::addColumn<QByteArray>("config");
        QTest::newRow("unparsable") << QByteArray("{\"use_software_opengl\": ");
        QTest::newRow("not json") << QByteArray("use_software_opengl=true");
    }

    void brokenConfig()
    {
        QFETCH(QByteArray, config);
        QTemporaryDir dir;
        const Run run = runConsole(dir.path(), config, true);
        QCOMPARE(run.exitCode, 255);
        QVERIFY(run.log.contains("Failed to parse JSON from file " + dir.path() + "/config.json. Error: "));
        QVERIFY(hasLine(run.log, "ERROR", "Failed to load config. Corvel will be closed."));
    }

    void loggingCannotStart()
    {
        QTemporaryDir dir;
        QFile blocker(dir.path() + "/logs");
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        const Run run = runConsole(dir.path());
        QCOMPARE(run.exitCode, 255);
        QCOMPARE(run.stdErr, QString("Failed to initialize logging.\n"));
    }

    void missingKeysUseDefaults()
    {
        QTemporaryDir dir;
        const Run run = runConsole(dir.path(), "{}", true);
        QVERIFY(hasLine(run.log, "WARN",
                        "Failed to get value at key  \"use_software_opengl\" . Default value  false  returned."));
        QVERIFY(hasLine(run.log, "WARN",
                        "Failed to get value at key  \"disable_services_autostart\" . Default value  false  returned."));
        // No service manager here: the three services count as running.
        QVERIFY(hasLine(run.log, "INFO", "all running"));
        QVERIFY2(!run.log.contains("Undefined var"), qPrintable(run.log));
    }
};

QTEST_GUILESS_MAIN(TestStartupProcess)
#include "tst_startup_process.moc"
