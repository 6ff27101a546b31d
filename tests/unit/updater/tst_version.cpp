#include "updater/installer.h"
#include "updater/version_info.h"

#include <QtTest>

using CVUpdater::VersionInfo;

Q_DECLARE_METATYPE(VersionInfo)

class TestVersion : public QObject {
    Q_OBJECT
private slots:
    void parseAndOrder_data();
    void parseAndOrder();
    void installerFileName_data();
    void installerFileName();
};

namespace {
const VersionInfo Local{1, 7, 0, 377};
}

void TestVersion::parseAndOrder_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("parses");
    QTest::addColumn<VersionInfo>("expected");
    // -1: older than the program's own 1.7.0.377, 0: the same, 1: newer.
    QTest::addColumn<int>("againstLocal");

    QTest::newRow("equal") << "1.7.0.377" << true << VersionInfo{1, 7, 0, 377} << 0;
    QTest::newRow("next revision") << "1.7.0.378" << true << VersionInfo{1, 7, 0, 378} << 1;
    QTest::newRow("previous revision") << "1.7.0.376" << true << VersionInfo{1, 7, 0, 376} << -1;
    QTest::newRow("numeric minor, not textual") << "1.10.0.0" << true << VersionInfo{1, 10, 0, 0} << 1;
    QTest::newRow("build beats revision") << "1.7.1.0" << true << VersionInfo{1, 7, 1, 0} << 1;
    QTest::newRow("major beats the rest") << "0.99.99.999" << true << VersionInfo{0, 99, 99, 999} << -1;
    QTest::newRow("minor beats build") << "1.6.9999.9999" << true << VersionInfo{1, 6, 9999, 9999} << -1;
    QTest::newRow("text around") << "Corvel v1.7.0.378 (stable)" << true << VersionInfo{1, 7, 0, 378} << 1;
    QTest::newRow("first match wins") << "1.7.0.377.9" << true << VersionInfo{1, 7, 0, 377} << 0;
    QTest::newRow("leading zeros") << "01.007.0.0378" << true << VersionInfo{1, 7, 0, 378} << 1;
    QTest::newRow("largest number") << "4294967295.0.0.0" << true << VersionInfo{4294967295u, 0, 0, 0} << 1;
    QTest::newRow("two numbers") << "1.7" << false << VersionInfo{} << 0;
    QTest::newRow("three numbers") << "1.7.0" << false << VersionInfo{} << 0;
    QTest::newRow("empty") << "" << false << VersionInfo{} << 0;
    QTest::newRow("letters") << "a.b.c.d" << false << VersionInfo{} << 0;
    QTest::newRow("too large") << "4294967296.0.0.0" << false << VersionInfo{} << 0;
}

void TestVersion::parseAndOrder()
{
    QFETCH(QString, text);
    QFETCH(bool, parses);
    QFETCH(VersionInfo, expected);
    QFETCH(int, againstLocal);

    const std::optional<VersionInfo> parsed = CVUpdater::parseVersion(text);
    QCOMPARE(parsed.has_value(), parses);
    if (!parsed)
        return;
    QCOMPARE(parsed->major, expected.major);
    QCOMPARE(parsed->minor, expected.minor);
    QCOMPARE(parsed->build, expected.build);
    QCOMPARE(parsed->revision, expected.revision);

    QCOMPARE(Local<*parsed, againstLocal> 0);
    QCOMPARE(*parsed < Local, againstLocal < 0);
}

void TestVersion::installerFileName_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("fileName");

    QTest::newRow("release") << "1.7.1.12"
                             << "Corvel_x64_installer_1.7.1.12.exe";
    QTest::newRow("manual") << "0.0.0.0"
                            << "Corvel_x64_installer_0.0.0.0.exe";
    QTest::newRow("untrimmed descriptor text") << " 1.7.1.12\n"
                                               << "Corvel_x64_installer_1.7.1.12.exe";
    QTest::newRow("path in the version") << "../../1.7.1.12/x"
                                         << "Corvel_x64_installer_1.7.1.12.exe";
    QTest::newRow("no version at all") << "../evil\\name"
                                       << "Corvel_x64_installer_.._evil_name.exe";
}

void TestVersion::installerFileName()
{
    QFETCH(QString, version);
    QFETCH(QString, fileName);
    QCOMPARE(CVUpdater::installerFileName(version), fileName);
}

QTEST_GUILESS_MAIN(TestVersion)
#include "tst_version.moc"
