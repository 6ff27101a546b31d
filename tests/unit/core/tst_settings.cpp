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

private slots:
    void getters_data()
    {
        QTest::addColumn<QString>("json");
        QTest::addColumn<QVariant>("expected");
        QTest::addColumn<int>("logType"); // -1: nothing logged
        const auto row = [](const char* name, const char* json, const QVariant& expected, int logType = -1) {
            QTest::newRow(name) << QString(json) << expected << logType;
        };
        const int warning = QtWarningMsg, critical = QtCriticalMsg;
        row("bool present", R"({"use_software_opengl": true})", true);
        row("bool as string", R"({"use_software_opengl": "true"})", false, warning);
        row("bool absent", "{}", false, warning);
        row("int present", R"({"connection_retries_number": 3})", 3);
        row("int far below the range", R"({"connection_retries_number": -1e12})", -2147483647 - 1);
        row("int far above the range", R"({"connection_retries_number": 1e12})", 2147483647);
        row("int as string", R"({"connection_retries_number": "3"})", 5, critical);
        row("int absent", "{}", 5, critical);
        row("string present", "{\"auth_url\": \"https://x/authorization/vusk\"}", "https://x/authorization/vusk");
        row("string as number", R"({"auth_url": 7})", "dflt", warning);
        row("string null", R"({"auth_url": null})", "dflt", warning);
    }

    void getters()
    {
        QFETCH(QString, json);
        QFETCH(QVariant, expected);
        QFETCH(int, logType);
        const QJsonObject config = QJsonDocument::fromJson(json.toUtf8()).object();
        LogCapture log;
        QString key = "auth_url", shown = "\"dflt\"";
        if (expected.type() == QVariant::Bool) {
            QCOMPARE(QVariant(getBool(config, "use_software_opengl", false)), expected);
            key = "use_software_opengl";
            shown = "false";
        } else if (expected.type() == QVariant::Int) {
            QCOMPARE(QVariant(getInt(config, "connection_retries_number", 5)), expected);
            key = "connection_retries_number";
            shown = "5";
        } else {
            QCOMPARE(QVariant(getString(config, "auth_url", "dflt")), expected);
        }
        QCOMPARE(log.entries().size(), logType < 0 ? 0 : 1);
        if (logType < 0)
            return;
        QCOMPARE(log.entries().first().text,
                 QString("Failed to get value at key  \"%1\" . Default value  %2  returned.").arg(key, shown));
        QCOMPARE(int(log.entries().first().type), logType);
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
        QTest::addColumn<QByteArray>("content"); // null: no file at all
        QTest::addColumn<int>("keys");           // -1: not loaded
        QTest::addColumn<QString>("logged");     // %1: the file's path
        const QString unparsable = "Failed to parse JSON from file %1. Error: ";
        // The object itself is the first level.
        const auto nested = [](int arrays) {
            return "{\"a\": " + QByteArray(arrays, '[') + QByteArray(arrays, ']') + "}";
        };
        QTest::newRow("object") << QByteArray(R"({"a": 1, "b": "x"})") << 2 << QString();
        QTest::newRow("array top level") << QByteArray("[1, 2]") << 0 << QString();
        QTest::newRow("unparsable") << QByteArray("{\"a\": ") << -1 << unparsable;
        QTest::newRow("empty file") << QByteArray("") << -1 << unparsable;
        QTest::newRow("missing file") << QByteArray() << -1 << "Failed to open config file: %1";
        QTest::newRow("64 levels") << nested(63) << 1 << QString();
        QTest::newRow("65 levels") << nested(64) << -1 << unparsable;
        QTest::newRow("100000 levels") << nested(100000) << -1 << unparsable;
        QTest::newRow("brackets inside strings")
            << "{\"a\": \"" + QByteArray(100, '[') + "\", \"b\": \"\\\\\\\"" + QByteArray(100, '{') + "\"}" << 2
            << QString();
    }

    void loadConfig()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, keys);
        QFETCH(QString, logged);
        QTemporaryDir dir;
        const QString path = dir.path() + "/config.json";
        QFile file(path);
        QVERIFY(content.isNull() || file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        LogCapture log;
        const auto config = Corvel::loadConfig(path);
        QCOMPARE(config ? config->size() : -1, keys);
        QCOMPARE(log.entries().size(), logged.isEmpty() ? 0 : 1);
        if (!logged.isEmpty()) {
            QCOMPARE(log.entries().first().type, QtCriticalMsg);
            QVERIFY2(log.entries().first().text.startsWith(logged.arg(path)), qPrintable(log.texts().join('\n')));
        }
    }

    void stripNuls_data()
    {
        QTest::addColumn<QString>("raw");
        QTest::addColumn<QString>("expected");
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
