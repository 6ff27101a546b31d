#include "wizard/job_assembly.h"
#include "wizard/restore_points.h"
#include "wizard/wizard_rules.h"

#include <QtTest>
#include <thrift/TToString.h>

using namespace Corvel;
using namespace CorvelService;

namespace {

// Every field set, including those the job type does not use, and secrets that must stay out of logs.
RecoveryWizardValues filled(JobType::type type, bool localCache)
{
    RecoveryWizardValues v;
    v.recoveryType = type;
    v.clientId = 101;
    v.clientName = "northwind (Northwind Ltd)";
    v.dataSourceId = 11;
    v.dataSourceType = "server";
    v.deviceId = 1001;
    v.deviceName = "FS-01";
    v.deviceHost = "https://cloud/restore/1001";
    v.deviceToken = "SECRET-device-token";
    v.snapshot = "2026_03_02_09_05_00";
    v.localCacheEnabled = localCache;
    v.localCachePath = "D:\\cache";
    v.localCacheLogin = "SECRET-login";
    v.localCachePassword = "SECRET-password";
    v.localCacheReadOnly = true;
    v.jobDescription = "SECRET-description";
    v.mountPoint = "E";
    v.virtualDiskType = VirtualDiskType::VdiVirtualBox;
    v.useDynamicVirtualDisk = true;
    v.disksNames = QStringList{"disk-b", "disk-a"};
    v.virtualizationType = VirtualizationType::Production;
    v.vmSettings.name = "FS-01 recovered";
    v.vmSettings.ramBytes = 4096ull * 1048576;
    v.vmSettings.cpuCores = 2;
    v.vmSettings.networkAdapters = QStringList{"Default Switch", "LAN"};
    v.vmSettings.generation = 2;
    v.vmSettings.bootOnStart = false;
    v.vmSettings.reserve = 10;
    v.vmSettings.limit = 90;
    v.vmSettings.relativeWeight = 200;
    v.vmSettings.storageLocation = "C:\\VMs";
    v.vmSettings.diskType = VirtualDiskType::VhdxGenTwo;
    v.vmSettings.dynamicDisk = false;
    return v;
}

} // namespace

// The decisions of the wizard's pages and the job they make, as tables.
class TestWizardRules : public QObject {
    Q_OBJECT

private slots:
    void restorePoints_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QString>("dates");
        QTest::addColumn<QString>("day");
        QTest::addColumn<QString>("times");
        QTest::newRow("service order kept, not sorted")
            << QStringList{"2026_03_02_17_30_00", "2026_03_02_09_05_00"} << "2026-03-02 2026-03-02"
            << "2026-03-02"
            << "5:30 pm=2026_03_02_17_30_00 9:05 am=2026_03_02_09_05_00";
        QTest::newRow("newest date first, times of one day")
            << QStringList{"2025_12_31_23_59_59", "2026_01_15_00_00_00", "2026_01_01_12_00_00"}
            << "2026-01-15 2026-01-01 2025-12-31"
            << "2025-12-31"
            << "11:59 pm=2025_12_31_23_59_59";
        QTest::newRow("names that do not parse are left out")
            << QStringList{"snapshot-latest", "2026_02_30_10_00_00", "2026_3_02_09_05_00x", "2026_03_02_00_00_00"}
            << "2026-03-02"
            << "2026-03-02"
            << "12:00 am=2026_03_02_00_00_00";
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
        QTest::newRow("all 26 used") << quint32(0x3FFFFFF) << "";
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
        QTest::newRow("odd") << "1023" << false << qint64(1023) << "RAM value 1023 is not even";
        QTest::newRow("below 32") << "30" << false << qint64(30) << "RAM value 30 less than 32 Mib";
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

    // A system disk's partition style rules out a generation and picks one; only generation 1 takes VHD.
    void generations()
    {
        const auto offered = [](DiskStyle::type style) {
            const auto generations = WizardRules::generationsFor(style);
            return QString("1:%1 2:%2 checked %3 VHD:%4")
                .arg(generations.generation1Enabled)
                .arg(generations.generation2Enabled)
                .arg(generations.checked)
                .arg(WizardRules::vhdAllowed(generations.checked));
        };
        QCOMPARE(offered(DiskStyle::GPT), "1:0 2:1 checked 2 VHD:0");
        QCOMPARE(offered(DiskStyle::MBR), "1:1 2:0 checked 1 VHD:1");
        QCOMPARE(offered(DiskStyle::RAW), "1:1 2:1 checked 2 VHD:0"); // no system disk
    }

    void diskLabels()
    {
        DiskInfo disk;
        disk.is_system = true;
        disk.volumes.resize(2);
        disk.volumes[0].size = 100ll * 1073741824;
        disk.volumes[1].size = 536870912;
        QCOMPARE(WizardRules::diskLabel(0, disk), QString("Disk 0 [System] (2 volume(s) totalling 100.50 GiB)"));
    }

    // The job the service is asked for; the VM page's disk, not the export's.
    void jobMapping()
    {
        const JobConfiguration job = JobAssembly::configuration(filled(JobType::Virtualization, true));
        const QString sent = QString::fromStdString(apache::thrift::to_string(job));
        QVERIFY2(
            sent ==
                "JobConfiguration(client_name=northwind (Northwind Ltd), device_name=FS-01, device_id=1001, "
                "recovery_point=2026_03_02_09_05_00, device_host=https://cloud/restore/1001, device_token=SECRET-"
                "device-token, local_cache_path=D:\\cache, local_cache_login=SECRET-login, local_cache_password="
                "SECRET-password, local_cache_read_only=1, mount_point=E, virtual_disk_type=VhdxGenTwo, "
                "use_dynamic_virtual_disk=0, disks_names=[disk-b, disk-a], vm_settings=VMSettings(generation=2, "
                "name=FS-01 recovered, ram_bytes=4294967296, cpu_cores=2, boot_on_start=0, network_adapters=["
                "Default Switch, LAN], storage_location=C:\\VMs, virtualization_type=Production, reserve=10, limit=90, "
                "relative_weight=200))",
            qPrintable(sent));
    }

    void valueLogs()
    {
        const RecoveryWizardValues values = filled(JobType::Virtualization, false);
        const QString log = JobAssembly::valuesLog(values);
        for (const QString line : {"Recovery wizard values:", "Recovery type: Virtualization", "Client ID: 101",
                                   "Data source: 11", "Local cache enabled: false", "Local cache open mode: read-only",
                                   "Disks selected for virtual export: disk-b disk-a"})
            QVERIFY2(log.split('\n').contains(line), qPrintable(line + " in " + log));
        const QString vm = JobAssembly::vmSettingsLog(values);
        QCOMPARE(vm.split('\n'),
                 QStringList({"VM settings: ", "Generation: 2", "Name: FS-01 recovered", "Memory (bytes): 4294967296",
                              "CPU cores: 2", "Reserve: 10", "Limit: 90", "Relative weight: 200",
                              "Boot on start: false", "Network adapters: Default Switch, LAN",
                              "Storage location: C:\\VMs", "Virtualization type: Production"}));
        const QString cacheOn = JobAssembly::valuesLog(filled(JobType::FileRecovery, true));
        QVERIFY(cacheOn.contains("\nLocal cache path: D:\\cache\n"));
        QVERIFY(cacheOn.contains("\nVirtual disk type: VdiVirtualBox\n"));
        for (const QString& text : {log, vm, cacheOn})
            QVERIFY2(!text.contains("SECRET"), qPrintable(text));
    }
};

QTEST_GUILESS_MAIN(TestWizardRules)
#include "tst_wizard_rules.moc"
