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
    // Through the facade, the way the console reads config.json; a missing or mistyped value
    // gives the default and says so.
    void getters_data()
    {
        QTest::addColumn<QString>("json");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("expected");
        QTest::addColumn<int>("logType"); // -1: nothing logged
        const auto row = [](const char* name, const char* json, const char* key, const QVariant& expected,
                            int logType = -1) { QTest::newRow(name) << QString(json) << key << expected << logType; };
        const int warning = QtWarningMsg, critical = QtCriticalMsg;
        const QString builtIn = QStringLiteral(CORVEL_UPDATE_DESCRIPTOR_URL);
        row("bool present", R"({"use_software_opengl": true})", "use_software_opengl", true);
        row("bool as string", R"({"use_software_opengl": "true"})", "use_software_opengl", false, warning);
        row("int present", R"({"connection_retries_number": 3})", "connection_retries_number", 3);
        row("int far below the range", R"({"connection_retries_number": -1e12})", "connection_retries_number",
            -2147483647 - 1);
        row("int as string", R"({"connection_retries_number": "3"})", "connection_retries_number", 5, critical);
        row("string present", R"({"update_url": "u"})", "update_url", "u");
        row("string as number", R"({"update_url": 7})", "update_url", "", warning);
        // Overrides a deployment sets: silent when absent.
        row("descriptor absent", "{}", "update_descriptor_url", builtIn);
        row("descriptor set", R"({"update_descriptor_url": "u.xml"})", "update_descriptor_url", "u.xml");
        row("empty descriptor is kept", R"({"update_descriptor_url": ""})", "update_descriptor_url", "");
        row("descriptor mistyped", R"({"update_descriptor_url": 5})", "update_descriptor_url", builtIn, warning);
        row("port absent", "{}", "service_port", 9000);
        row("port set", R"({"service_port": 9443})", "service_port", 9443);
        row("port out of range", R"({"service_port": 70000})", "service_port", 9000, critical);
        row("port zero", R"({"service_port": 0})", "service_port", 9000, critical);
    }

    void getters()
    {
        QFETCH(QString, json);
        QFETCH(QString, key);
        QFETCH(QVariant, expected);
        QFETCH(int, logType);
        const QHash<QString, std::function<QVariant(const Settings&)>> getters{
            {"use_software_opengl", [](const Settings& s) { return s.useSoftwareOpengl(); }},
            {"connection_retries_number", [](const Settings& s) { return s.connectionRetriesNumber(); }},
            {"update_url", [](const Settings& s) { return s.updateUrl(); }},
            {"update_descriptor_url", [](const Settings& s) { return s.updateDescriptorUrl(); }},
            {"service_port", [](const Settings& s) { return s.servicePort(); }}};
        const Settings settings(QJsonDocument::fromJson(json.toUtf8()).object());
        LogCapture log;
        QCOMPARE(getters[key](settings), expected);
        QCOMPARE(log.entries().size(), logType < 0 ? 0 : 1);
        if (logType < 0)
            return;
        const QString shown =
            expected.type() == QVariant::String ? '"' + expected.toString() + '"' : expected.toString();
        QCOMPARE(log.entries().first().text,
                 QString("Failed to get value at key  \"%1\" . Default value  %2  returned.").arg(key, shown));
        QCOMPARE(int(log.entries().first().type), logType);
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
        QTest::newRow("missing file") << QByteArray() << -1 << "Failed to open config file: %1";
        QTest::newRow("64 levels") << nested(63) << 1 << QString();
        QTest::newRow("65 levels") << nested(64) << -1 << unparsable;
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
