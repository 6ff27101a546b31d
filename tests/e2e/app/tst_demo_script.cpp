// scripts/demo against the real simulators: it must refuse clearly and quickly when a simulator
// cannot come up, never start the console then, and end everything it started.
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/types.h>

namespace {

quint16 freePort()
{
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost, 0))
        return 0;
    return probe.serverPort();
}

bool portFree(quint16 port)
{
    QTcpServer probe;
    return probe.listen(QHostAddress::LocalHost, port);
}

QString readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

class TestDemoScript : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        QVERIFY(m_dir.isValid());
        m_work = m_dir.path() + "/work-" + QTest::currentDataTag();
        m_work.replace(' ', '-');
        m_marker = m_work + "-console-started";
        // Stands in for the console: says that it ran, then stays until it is ended.
        m_stub = m_dir.path() + "/console-stub";
        QFile stub(m_stub);
        QVERIFY(stub.open(QIODevice::WriteOnly));
        stub.write("#!/bin/sh\n"
                   "printf '%s\\n' \"$$\" \"$DISPLAY\" \"$CORVEL_UNATTENDED\" \"$CORVEL_WORKING_DIR\" "
                   "> \"$DEMO_MARKER.tmp\"\n"
                   "mv \"$DEMO_MARKER.tmp\" \"$DEMO_MARKER\"\n"
                   "exec sleep 60\n");
        stub.close();
        QVERIFY(stub.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }

    void refusesToStart_data()
    {
        QTest::addColumn<QString>("taken");
        QTest::addColumn<QString>("cloudArgs");
        QTest::addColumn<QStringList>("expected");

        QTest::newRow("service port taken")
            << "service" << QString()
            << QStringList{"port %service for the service simulator is already in use by tst_demo_script (pid %pid)",
                           "--service-port N"};
        QTest::newRow("cloud port taken")
            << "cloud" << QString()
            << QStringList{"port %cloud for the cloud simulator is already in use by tst_demo_script (pid %pid)",
                           "--cloud-port N"};
        QTest::newRow("cloud simulator dies at start")
            << QString() << "--data /nonexistent/fixtures.json"
            << QStringList{"the cloud simulator exited at start (status 1) without listening",
                           "No such file or directory: '/nonexistent/fixtures.json'"};
    }

    void refusesToStart()
    {
        QFETCH(QString, taken);
        QFETCH(QString, cloudArgs);
        QFETCH(QStringList, expected);

        const quint16 servicePort = freePort();
        const quint16 cloudPort = freePort();
        QVERIFY(servicePort && cloudPort && servicePort != cloudPort);
        QTcpServer holder;
        if (!taken.isEmpty())
            QVERIFY(holder.listen(QHostAddress::LocalHost, taken == "service" ? servicePort : cloudPort));

        QProcess demo;
        QElapsedTimer clock;
        clock.start();
        startDemo(demo, servicePort, cloudPort, cloudArgs, {});
        QVERIFY2(demo.waitForFinished(20000), "the demo did not give up");
        const qint64 elapsed = clock.elapsed();
        const QString output = QString::fromUtf8(demo.readAll());

        QCOMPARE(demo.exitStatus(), QProcess::NormalExit);
        QVERIFY2(demo.exitCode() != 0, qPrintable(output));
        for (QString line : expected) {
            line.replace("%service", QString::number(servicePort))
                .replace("%cloud", QString::number(cloudPort))
                .replace("%pid", QString::number(QCoreApplication::applicationPid()));
            QVERIFY2(output.contains(line), qPrintable("missing \"" + line + "\" in:\n" + output));
        }
        QVERIFY2(elapsed < 15000, qPrintable(QString("gave up after %1 ms").arg(elapsed)));
        QVERIFY2(!QFile::exists(m_marker), "the console was started");
        // Whatever it had started is gone again.
        holder.close();
        QVERIFY(portFree(servicePort));
        QVERIFY(portFree(cloudPort));
    }

    void headlessRunEndsEverythingItStarted()
    {
        const quint16 servicePort = freePort();
        const quint16 cloudPort = freePort();
        QVERIFY(servicePort && cloudPort && servicePort != cloudPort);

        QProcess demo;
        startDemo(demo, servicePort, cloudPort, {}, {"--headless", "--update-version", "1.7.0.400"});
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_marker), 20000);
        const QStringList console = readAll(m_marker).split('\n');
        QVERIFY(console.size() >= 4);
        const qint64 consolePid = console[0].toLongLong();
        QVERIFY(consolePid > 0);
        QVERIFY2(console[1].startsWith(':'), "no display of its own");
        QCOMPARE(console[2], QString("1"));
        QCOMPARE(console[3], m_work);

        const QString config = readAll(m_work + "/config.json");
        QVERIFY(config.contains(QString("\"service_port\": %1").arg(servicePort)));
        QVERIFY(config.contains(
            QString("\"update_descriptor_url\": \"http://127.0.0.1:%1/Corvel/autoupdate.xml\"").arg(cloudPort)));
        QVERIFY(!portFree(servicePort));
        QVERIFY(!portFree(cloudPort));

        demo.terminate();
        QVERIFY(demo.waitForFinished(15000));
        const QString output = QString::fromUtf8(demo.readAll());
        QVERIFY2(output.contains("DISPLAY=" + console[1] + " import -window root"), qPrintable(output));
        QVERIFY2(output.contains("To stop it: Ctrl+C here, or kill"), qPrintable(output));
        QVERIFY2(output.contains("The cloud offers version 1.7.0.400"), qPrintable(output));
        QVERIFY2(::kill(static_cast<pid_t>(consolePid), 0) != 0, "the console outlived the demo");
        QVERIFY(portFree(servicePort));
        QVERIFY(portFree(cloudPort));
        const QString displayNumber = console[1].mid(1);
        QVERIFY2(!QFile::exists("/tmp/.X11-unix/X" + displayNumber), "the virtual screen outlived the demo");
    }

private:
    void startDemo(QProcess& demo, quint16 servicePort, quint16 cloudPort, const QString& cloudArgs,
                   const QStringList& extra)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("DEMO_CONSOLE", m_stub);
        env.insert("DEMO_MARKER", m_marker);
        env.insert("DEMO_WORK", m_work);
        env.remove("DEMO_USER");
        env.remove("DEMO_UPDATE_VERSION");
        if (cloudArgs.isEmpty())
            env.remove("DEMO_CLOUD_ARGS");
        else
            env.insert("DEMO_CLOUD_ARGS", cloudArgs);
        demo.setProcessEnvironment(env);
        demo.setProcessChannelMode(QProcess::MergedChannels);
        const QString script = qEnvironmentVariable("CORVEL_SOURCE_DIR") + "/scripts/demo";
        demo.start("bash", QStringList{script, "--no-build", "--service-port", QString::number(servicePort),
                                       "--cloud-port", QString::number(cloudPort)} +
                               extra);
        QVERIFY(demo.waitForStarted());
    }

    QTemporaryDir m_dir;
    QString m_work;
    QString m_marker;
    QString m_stub;
};

QTEST_GUILESS_MAIN(TestDemoScript)
#include "tst_demo_script.moc"
