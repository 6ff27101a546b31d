#include "localcache/local_cache_texts.h"
#include "wizard/job_assembly.h"
#include "wizard/restore_points.h"
#include "wizard/wizard_rules.h"
#include "wizard/wizard_texts.h"

#include <QtTest>

using namespace Corvel;
using CorvelService::DiskStyle;
using CorvelService::JobType;
using CorvelService::VirtualDiskType;

// The decisions of the wizard's pages, as tables.
class TestWizardRules : public QObject {
    Q_OBJECT

private slots:
    // Texts the product fixes, odd spellings and spaces included: a "correction" breaks them.
    void fixedTexts_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("restore points title")
            << QString(WizardTexts::RestorePointsTitle) << "Retrieveing restore points";
        QTest::newRow("unreachable cache")
            << QString(WizardTexts::CacheUnreachable)
            << "Error, cannot access the path specified for the Local Cache repository.  Check permissions.";
        QTest::newRow("opening cache") << QString(WizardTexts::OpeningCacheLog) << "Opening local cache database .";
        QTest::newRow("no client") << QString(WizardTexts::NoClientLog) << "Failed to create Corvel Service client";
        QTest::newRow("metadata box") << QString(WizardTexts::MetadataFailed)
                                      << "Failed to load disks metadata, please make sure that the Corvel service is "
                                         "installed and running";
        QTest::newRow("passphrase box") << WizardTexts::passphraseFailed(503, "busy")
                                        << "Failed to get device encryption passphrase.\nError code: 503, reason: busy";
        QTest::newRow("library error line") << QString(LocalCacheTexts::MirelErrorLine) << "Mirel error: %s\n";
    }

    void fixedTexts()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(text, expected);
    }

    void restorePoints_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QString>("dates");
        QTest::addColumn<QString>("day");
        QTest::addColumn<QString>("times");
        const QStringList sameDay{"2026_03_02_09_05_00", "2026_03_02_17_30_00"};
        QTest::newRow("two on one day, service order") << sameDay << "2026-03-02 2026-03-02"
                                                       << "2026-03-02"
                                                       << "9:05 am=2026_03_02_09_05_00 5:30 pm=2026_03_02_17_30_00";
        QTest::newRow("order kept, not sorted")
            << QStringList{"2026_03_02_17_30_00", "2026_03_02_09_05_00"} << "2026-03-02 2026-03-02"
            << "2026-03-02"
            << "5:30 pm=2026_03_02_17_30_00 9:05 am=2026_03_02_09_05_00";
        QTest::newRow("newest date first")
            << QStringList{"2025_12_31_23_59_59", "2026_01_15_00_00_00", "2026_01_01_12_00_00"}
            << "2026-01-15 2026-01-01 2025-12-31"
            << "2025-12-31"
            << "11:59 pm=2025_12_31_23_59_59";
        QTest::newRow("names that do not parse are left out")
            << QStringList{"snapshot-latest", "2026_02_30_10_00_00", "2026_3_02_09_05_00x", "2026_03_02_00_00_00"}
            << "2026-03-02"
            << "2026-03-02"
            << "12:00 am=2026_03_02_00_00_00";
        QTest::newRow("empty") << QStringList{} << ""
                               << "2026-03-02"
                               << "";
    }

    void restorePoints()
    {
        QFETCH(QStringList, names);
        QFETCH(QString, dates);
        QFETCH(QString, day);
        QFETCH(QString, times);
        QStringList shownDates;
        for (const QDate& date : RestorePoints::availableDates(names))
            shownDates << date.toString(Qt::ISODate);
        QCOMPARE(shownDates.join(' '), dates);
        QStringList shownTimes;
        for (const auto& entry : RestorePoints::timesOn(names, QDate::fromString(day, Qt::ISODate)))
            shownTimes << entry.text + '=' + entry.name;
        QCOMPARE(shownTimes.join(' '), times);
    }

    void freeDriveLetters_data()
    {
        QTest::addColumn<quint32>("mask");
        QTest::addColumn<QString>("letters");
        QTest::newRow("none used") << quint32(0) << "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
        QTest::newRow("all 26 used") << quint32(0x3FFFFFF) << "";
        QTest::newRow("A B C used") << quint32(0x7) << "DEFGHIJKLMNOPQRSTUVWXYZ";
        QTest::newRow("gaps") << quint32(0x3FFFFFF & ~((1u << 3) | (1u << 7) | (1u << 25))) << "DHZ";
        QTest::newRow("bits above Z ignored") << quint32(0xFC000000 | 0x3FFFFFE) << "A";
    }

    void freeDriveLetters()
    {
        QFETCH(quint32, mask);
        QFETCH(QString, letters);
        QCOMPARE(WizardRules::freeDriveLetters(mask).join(QString()), letters);
    }

    void ramCheck_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<qint64>("storedMiB"); // -1: nothing stored
        QTest::addColumn<QString>("problem");
        QTest::newRow("whole GiB") << "4096" << true << qint64(4096) << "";
        QTest::newRow("odd") << "33" << false << qint64(33) << "RAM value 33 is not even";
        QTest::newRow("below 32") << "30" << false << qint64(30) << "RAM value 30 less than 32 Mib";
        QTest::newRow("odd under the maximum") << "1023" << false << qint64(1023) << "RAM value 1023 is not even";
        QTest::newRow("above the maximum") << "8194" << false << qint64(8194) << "RAM value 8194 more than max RAM";
        QTest::newRow("exactly the maximum") << "8192" << true << qint64(8192) << "";
        QTest::newRow("not a number") << "12GB" << false << qint64(-1) << "Failed to convert 12GBto integer value.";
        QTest::newRow("empty") << "" << false << qint64(-1) << "Failed to convert to integer value.";
    }

    void ramCheck()
    {
        QFETCH(QString, text);
        QFETCH(bool, valid);
        QFETCH(qint64, storedMiB);
        QFETCH(QString, problem);
        const WizardRules::RamCheck check = WizardRules::checkRam(text, 8192ull * 1048576);
        QCOMPARE(check.valid, valid);
        QCOMPARE(check.ramBytes ? qint64(*check.ramBytes / 1048576) : qint64(-1), storedMiB);
        QCOMPARE(check.problem, problem);
    }

    void ramChoices()
    {
        QCOMPARE(WizardRules::ramChoices(3ull * 1073741824 + 5), (QStringList{"1024", "2048", "3072"}));
        QVERIFY(WizardRules::ramChoices(1073741823).isEmpty());
    }

    void generations_data()
    {
        QTest::addColumn<int>("style");
        QTest::addColumn<bool>("gen1");
        QTest::addColumn<bool>("gen2");
        QTest::addColumn<int>("checked");
        QTest::addColumn<bool>("vhd");
        QTest::newRow("GPT") << int(DiskStyle::GPT) << false << true << 2 << false;
        QTest::newRow("MBR") << int(DiskStyle::MBR) << true << false << 1 << true;
        QTest::newRow("RAW (no system disk)") << int(DiskStyle::RAW) << true << true << 2 << false;
    }

    void generations()
    {
        QFETCH(int, style);
        QFETCH(bool, gen1);
        QFETCH(bool, gen2);
        QFETCH(int, checked);
        QFETCH(bool, vhd);
        const auto generations = WizardRules::generationsFor(DiskStyle::type(style));
        QCOMPARE(generations.generation1Enabled, gen1);
        QCOMPARE(generations.generation2Enabled, gen2);
        QCOMPARE(generations.checked, checked);
        QCOMPARE(WizardRules::vhdAllowed(generations.checked), vhd);
    }

    void diskLabels()
    {
        CorvelService::DiskInfo disk;
        disk.is_system = true;
        disk.volumes.resize(2);
        disk.volumes[0].size = 100ll * 1073741824;
        disk.volumes[1].size = 536870912;
        QCOMPARE(WizardRules::diskLabel(0, disk), QString("Disk 0 [System] (2 volume(s) totalling 100.50 GiB)"));
        disk.is_system = false;
        disk.volumes.clear();
        QCOMPARE(WizardRules::diskLabel(3, disk), QString("Disk 3 (0 volume(s) totalling 0.00 GiB)"));
        QVERIFY(WizardRules::dynamicAllowed(VirtualDiskType::VdiVirtualBox));
        QVERIFY(!WizardRules::dynamicAllowed(VirtualDiskType::VhdAzure));
    }
};

QTEST_GUILESS_MAIN(TestWizardRules)
#include "tst_wizard_rules.moc"
