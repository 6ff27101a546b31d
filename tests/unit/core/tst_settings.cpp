#include "build_config.h"
#include "core/settings.h"
#include "testsupport/log_capture.h"

#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtTest>

using namespace Corvel;
using CorvelTest::LogCapture;

class TestSettings : public QObject {
    Q_OBJECT

private:
    static QJsonObject parse(const char* json) { return QJsonDocument::fromJson(json).object(); }

private slots:
    void getters_data()
    {
        QTest::addColumn<QString>("json");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QVariant>("expected");
        QTest::addColumn<QString>("logLine");
        QTest::addColumn<int>("logType");

        const QString none;
        QTest::newRow("bool present") << R"({"use_software_opengl": true})"
                                      << "bool" << QVariant(true) << none << 0;
        QTest::newRow("bool as string")
            << R"({"use_software_opengl": "true"})"
            << "bool" << QVariant(false)
            << R"(Failed to get value at key  "use_software_opengl" . Default value  false  returned.)"
            << int(QtWarningMsg);
        QTest::newRow("bool as number")
            << R"({"use_software_opengl": 1})"
            << "bool" << QVariant(false)
            << R"(Failed to get value at key  "use_software_opengl" . Default value  false  returned.)"
            << int(QtWarningMsg);
        QTest::newRow("bool absent")
            << "{}"
            << "bool" << QVariant(false)
            << R"(Failed to get value at key  "use_software_opengl" . Default value  false  returned.)"
            << int(QtWarningMsg);
        QTest::newRow("int present") << R"({"connection_retries_number": 3})"
                                     << "int" << QVariant(3) << none << 0;
        QTest::newRow("int far below the range") << R"({"connection_retries_number": -1e12})"
                                                 << "int" << QVariant(-2147483647 - 1) << none << 0;
        QTest::newRow("int far above the range") << R"({"connection_retries_number": 1e12})"
                                                 << "int" << QVariant(2147483647) << none << 0;
        QTest::newRow("int as string")
            << R"({"connection_retries_number": "3"})"
            << "int" << QVariant(5)
            << R"(Failed to get value at key  "connection_retries_number" . Default value  5  returned.)"
            << int(QtCriticalMsg);
        QTest::newRow("int absent")
            << "{}"
            << "int" << QVariant(5)
            << R"(Failed to get value at key  "connection_retries_number" . Default value  5  returned.)"
            << int(QtCriticalMsg);
        QTest::newRow("string present") << R"({"auth_url": "https://x/authorization/vusk"})"
                                        << "string" << QVariant("https://x/authorization/vusk") << none << 0;
        QTest::newRow("string as number")
            << R"({"auth_url": 7})"
            << "string" << QVariant("dflt")
            << R"(Failed to get value at key  "auth_url" . Default value  "dflt"  returned.)" << int(QtWarningMsg);
        QTest::newRow("string null") << R"({"auth_url": null})"
                                     << "string" << QVariant("dflt")
                                     << R"(Failed to get value at key  "auth_url" . Default value  "dflt"  returned.)"
                                     << int(QtWarningMsg);
    }

    void getters()
    {
        QFETCH(QString, json);
        QFETCH(QString, kind);
        QFETCH(QVariant, expected);
        QFETCH(QString, logLine);
        QFETCH(int, logType);
        const QJsonObject config = QJsonDocument::fromJson(json.toUtf8()).object();
        LogCapture log;
        QVariant actual;
        if (kind == "bool")
            actual = getBool(config, "use_software_opengl", false);
        else if (kind == "int")
            actual = getInt(config, "connection_retries_number", 5);
        else
            actual = getString(config, "auth_url", "dflt");
        QCOMPARE(actual, expected);
        if (logLine.isEmpty()) {
            QVERIFY(log.entries().isEmpty());
        } else {
            QCOMPARE(log.entries().size(), 1);
            QCOMPARE(log.entries().first().text, logLine);
            QCOMPARE(int(log.entries().first().type), logType);
        }
    }

    // Overrides a deployment sets: silent when absent, logged like any other key when mistyped.
    void deploymentOverrides_data()
    {
        QTest::addColumn<QString>("json");
        QTest::addColumn<QString>("descriptor");
        QTest::addColumn<int>("port");
        QTest::addColumn<int>("logLines");

        const QString builtIn = QStringLiteral(CORVEL_UPDATE_DESCRIPTOR_URL);
        QTest::newRow("absent") << "{}" << builtIn << 9000 << 0;
        QTest::newRow("both set") << R"({"update_descriptor_url": "http://127.0.0.1:5/u.xml", "service_port": 9443})"
                                  << "http://127.0.0.1:5/u.xml" << 9443 << 0;
        QTest::newRow("empty descriptor is kept") << R"({"update_descriptor_url": ""})"
                                                  << "" << 9000 << 0;
        QTest::newRow("mistyped") << R"({"update_descriptor_url": 5, "service_port": "9443"})" << builtIn << 9000 << 2;
        QTest::newRow("port out of range") << R"({"service_port": 70000})" << builtIn << 9000 << 1;
        QTest::newRow("port zero") << R"({"service_port": 0})" << builtIn << 9000 << 1;
    }

    void deploymentOverrides()
    {
        QFETCH(QString, json);
        QFETCH(QString, descriptor);
        QFETCH(int, port);
        QFETCH(int, logLines);
        const Settings settings(QJsonDocument::fromJson(json.toUtf8()).object());
        LogCapture log;
        QCOMPARE(settings.updateDescriptorUrl(), descriptor);
        QCOMPARE(settings.servicePort(), port);
        QCOMPARE(log.entries().size(), logLines);
    }

    void loadConfig_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("loaded");
        QTest::addColumn<int>("keys");
        QTest::addColumn<QString>("logPrefix");
        QTest::newRow("object") << QByteArray(R"({"a": 1, "b": "x"})") << true << 2 << QString();
        QTest::newRow("array top level") << QByteArray("[1, 2]") << true << 0 << QString();
        QTest::newRow("unparsable") << QByteArray("{\"a\": ") << false << 0 << "Failed to parse JSON from file ";
        QTest::newRow("empty file") << QByteArray() << false << 0 << "Failed to parse JSON from file ";
        // The object itself is the first level.
        const auto nested = [](int arrays) {
            return "{\"a\": " + QByteArray(arrays, '[') + QByteArray(arrays, ']') + "}";
        };
        QTest::newRow("64 levels") << nested(63) << true << 1 << QString();
        QTest::newRow("65 levels") << nested(64) << false << 0 << "Failed to parse JSON from file ";
        QTest::newRow("100000 levels") << nested(100000) << false << 0 << "Failed to parse JSON from file ";
        QTest::newRow("brackets inside strings")
            << "{\"a\": \"" + QByteArray(100, '[') + "\", \"b\": \"\\\\\\\"" + QByteArray(100, '{') + "\"}" << true << 2
            << QString();
    }

    void loadConfig()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, loaded);
        QFETCH(int, keys);
        QFETCH(QString, logPrefix);
        QTemporaryDir dir;
        const QString path = dir.path() + "/config.json";
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        LogCapture log;
        const auto config = Corvel::loadConfig(path);
        QCOMPARE(config.has_value(), loaded);
        if (loaded) {
            QCOMPARE(config->size(), keys);
            QVERIFY(log.entries().isEmpty());
        } else {
            QCOMPARE(log.entries().size(), 1);
            QCOMPARE(log.entries().first().type, QtCriticalMsg);
            QVERIFY2(log.entries().first().text.startsWith(logPrefix + path + ". Error: "),
                     qPrintable(log.entries().first().text));
        }
    }

    void missingConfig()
    {
        LogCapture log;
        QVERIFY(!Corvel::loadConfig("/nonexistent/config.json").has_value());
        QVERIFY(log.contains(QtCriticalMsg, "Failed to open config file: /nonexistent/config.json"));
    }

    void stripNuls_data()
    {
        QTest::addColumn<QString>("raw");
        QTest::addColumn<QString>("expected");
        QTest::newRow("terminator") << QString::fromUtf16(u"C:\\Work\0", 8) << "C:\\Work";
        QTest::newRow("several trailing") << QString::fromUtf16(u"C:\\Work\0\0\0", 10) << "C:\\Work";
        QTest::newRow("in the middle") << QString::fromUtf16(u"C:\\Wo\0rk\0", 9) << "C:\\Work";
        QTest::newRow("only NULs") << QString::fromUtf16(u"\0\0", 2) << "";
    }

    void stripNuls()
    {
        QFETCH(QString, raw);
        QFETCH(QString, expected);
        QCOMPARE(Corvel::stripNuls(raw.toStdWString()), expected);
    }

    void workingDirFallsBackToCurrentDirectory()
    {
        qunsetenv("CORVEL_WORKING_DIR");
        LogCapture log;
        QCOMPARE(workingDir(), QDir::currentPath());
        QVERIFY(log.contains(QtCriticalMsg, "Failed to get registry value: SOFTWARE\\Tolvex\\Corvel\\WorkingDir"));
        qputenv("CORVEL_WORKING_DIR", "/srv/corvel");
        QCOMPARE(workingDir(), QString("/srv/corvel"));
    }
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
