// scripts/demo against the real simulators: it must refuse clearly and quickly when a simulator
// cannot come up, never start the console then, and end everything it started.
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

class TestDemoScript : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_work;
    QString m_marker;
    quint16 m_servicePort = 0;
    quint16 m_cloudPort = 0;
    QTcpServer m_probes[2]; // hold the service's and the cloud's port

    static bool portFree(quint16 port)
    {
        QTcpServer probe;
        return probe.listen(QHostAddress::LocalHost, port);
    }

    // Picks two free ports, of which `taken` ("service", "cloud") stays in use by this test.
    void startDemo(QProcess& demo, const QString& taken, const QString& cloudArgs, const QStringList& extra)
    {
        QVERIFY(m_probes[0].listen(QHostAddress::LocalHost) && m_probes[1].listen(QHostAddress::LocalHost));
        m_servicePort = m_probes[0].serverPort();
        m_cloudPort = m_probes[1].serverPort();
        if (taken != "service")
            m_probes[0].close();
        if (taken != "cloud")
            m_probes[1].close();
        m_work = m_dir.path() + "/work-" + QString(QTest::currentTestFunction()) + QTest::currentDataTag();
        m_work.replace(' ', '-');
        m_marker = m_work + "-console-started";
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("DEMO_CONSOLE", m_dir.path() + "/console-stub");
        env.insert("DEMO_MARKER", m_marker);
        env.insert("DEMO_WORK", m_work);
        env.insert("DEMO_CLOUD_ARGS", cloudArgs);
        env.remove("DEMO_USER");
        env.remove("DEMO_UPDATE_VERSION");
        demo.setProcessEnvironment(env);
        demo.setProcessChannelMode(QProcess::MergedChannels);
        demo.start("bash", QStringList{qEnvironmentVariable("CORVEL_SOURCE_DIR") + "/scripts/demo", "--no-build",
                                       "--service-port", QString::number(m_servicePort), "--cloud-port",
                                       QString::number(m_cloudPort)} +
                               extra);
        QVERIFY(demo.waitForStarted());
    }

private slots:
    void initTestCase()
    {
        // Stands in for the console: says that it ran, then stays until it is ended.
        QFile stub(m_dir.path() + "/console-stub");
        QVERIFY(stub.open(QIODevice::WriteOnly));
        stub.write("#!/bin/sh\n"
                   "printf '%s\\n' \"$$\" \"$DISPLAY\" \"$CORVEL_UNATTENDED\" \"$CORVEL_WORKING_DIR\" "
                   "> \"$DEMO_MARKER.tmp\"\n"
                   "mv \"$DEMO_MARKER.tmp\" \"$DEMO_MARKER\"\n"
                   "exec sleep 60\n");
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

        QProcess demo;
        QElapsedTimer clock;
        clock.start();
        startDemo(demo, taken, cloudArgs, {});
        QVERIFY2(demo.waitForFinished(20000), "the demo did not give up");
        const QString output = QString::fromUtf8(demo.readAll());
        QVERIFY2(clock.elapsed() < 15000, qPrintable(QString("gave up after %1 ms").arg(clock.elapsed())));
        QCOMPARE(demo.exitStatus(), QProcess::NormalExit);
        QVERIFY2(demo.exitCode() != 0, qPrintable(output));
        for (QString line : expected) {
            line.replace("%service", QString::number(m_servicePort))
                .replace("%cloud", QString::number(m_cloudPort))
                .replace("%pid", QString::number(QCoreApplication::applicationPid()));
            QVERIFY2(output.contains(line), qPrintable("missing \"" + line + "\" in:\n" + output));
        }
        QVERIFY2(!QFile::exists(m_marker), "the console was started");
        // Whatever it had started is gone again.
        m_probes[0].close();
        m_probes[1].close();
        QVERIFY(portFree(m_servicePort) && portFree(m_cloudPort));
    }

    void headlessRunEndsEverythingItStarted()
    {
        QProcess demo;
        startDemo(demo, {}, {}, {"--headless", "--update-version", "1.7.0.400"});
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_marker), 20000);
        QFile marker(m_marker);
        QVERIFY(marker.open(QIODevice::ReadOnly));
        const QStringList console = QString::fromUtf8(marker.readAll()).split('\n'); // pid, display, unattended, work
        QVERIFY(console.size() >= 4 && console[0].toLongLong() > 0);
        QVERIFY2(console[1].startsWith(':'), "no display of its own");
        QCOMPARE(console.mid(2, 2), QStringList({"1", m_work}));
        QFile config(m_work + "/config.json");
        QVERIFY(config.open(QIODevice::ReadOnly));
        const QString settings = QString::fromUtf8(config.readAll());
        QVERIFY(settings.contains(QString("\"service_port\": %1").arg(m_servicePort)));
        QVERIFY(settings.contains(
            QString("\"update_descriptor_url\": \"http://127.0.0.1:%1/Corvel/autoupdate.xml\"").arg(m_cloudPort)));
        QVERIFY(!portFree(m_servicePort) && !portFree(m_cloudPort));

        demo.terminate();
        QVERIFY(demo.waitForFinished(15000));
        const QString output = QString::fromUtf8(demo.readAll());
        QVERIFY2(output.contains("The cloud offers version 1.7.0.400"), qPrintable(output));
        QVERIFY2(::kill(static_cast<pid_t>(console[0].toLongLong()), 0) != 0, "the console outlived the demo");
        QVERIFY(portFree(m_servicePort) && portFree(m_cloudPort));
        QVERIFY2(!QFile::exists("/tmp/.X11-unix/X" + console[1].mid(1)), "the virtual screen outlived the demo");
    }
};

QTEST_GUILESS_MAIN(TestDemoScript)
#include "tst_demo_script.moc"
