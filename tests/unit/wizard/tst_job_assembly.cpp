#include "wizard/job_assembly.h"

#include <QtTest>

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

class TestJobAssembly : public QObject {
    Q_OBJECT

private slots:
    void mapping_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<bool>("localCache");
        QTest::addColumn<int>("diskType");
        QTest::addColumn<bool>("dynamic");
        QTest::addColumn<bool>("vm");
        QTest::newRow("file recovery, cache off")
            << int(JobType::FileRecovery) << false << int(VirtualDiskType::VdiVirtualBox) << true << false;
        QTest::newRow("export, cache on")
            << int(JobType::VirtualExport) << true << int(VirtualDiskType::VdiVirtualBox) << true << false;
        QTest::newRow("virtualization: the VM page's disk")
            << int(JobType::Virtualization) << true << int(VirtualDiskType::VhdxGenTwo) << false << true;
    }

    void mapping()
    {
        QFETCH(int, type);
        QFETCH(bool, localCache);
        QFETCH(int, diskType);
        QFETCH(bool, dynamic);
        QFETCH(bool, vm);
        const RecoveryWizardValues values = filled(JobType::type(type), localCache);
        const JobConfiguration job = JobAssembly::configuration(values);
        QCOMPARE(job.client_name, std::string("northwind (Northwind Ltd)"));
        QCOMPARE(job.device_name, std::string("FS-01"));
        QCOMPARE(job.device_id, int64_t(1001));
        QCOMPARE(job.recovery_point, std::string("2026_03_02_09_05_00"));
        QCOMPARE(job.device_host, std::string("https://cloud/restore/1001"));
        QCOMPARE(job.device_token, std::string("SECRET-device-token"));
        QCOMPARE(job.local_cache_path, std::string(localCache ? "D:\\cache" : ""));
        QCOMPARE(job.local_cache_login, std::string(localCache ? "SECRET-login" : ""));
        QCOMPARE(job.local_cache_password, std::string(localCache ? "SECRET-password" : ""));
        QCOMPARE(job.local_cache_read_only, localCache);
        QCOMPARE(job.mount_point, std::string("E"));
        QCOMPARE(int(job.virtual_disk_type), diskType);
        QCOMPARE(job.use_dynamic_virtual_disk, dynamic);
        QCOMPARE(job.disks_names, (std::vector<std::string>{"disk-b", "disk-a"}));
        if (!vm) {
            QCOMPARE(job.vm_settings, VMSettings());
            return;
        }
        const VMSettings& s = job.vm_settings;
        QCOMPARE(s.generation, 2);
        QCOMPARE(s.name, std::string("FS-01 recovered"));
        QCOMPARE(s.ram_bytes, int64_t(4096) * 1048576);
        QCOMPARE(s.cpu_cores, 2);
        QCOMPARE(s.boot_on_start, false);
        QCOMPARE(s.network_adapters, (std::vector<std::string>{"Default Switch", "LAN"}));
        QCOMPARE(s.storage_location, std::string("C:\\VMs"));
        QCOMPARE(s.virtualization_type, VirtualizationType::Production);
        QCOMPARE(s.reserve, 10);
        QCOMPARE(s.limit, 90);
        QCOMPARE(s.relative_weight, 200);
    }

    void valueLogs()
    {
        const RecoveryWizardValues values = filled(JobType::Virtualization, false);
        const QString log = JobAssembly::valuesLog(values);
        QCOMPARE(log.split('\n'),
                 QStringList({"Recovery wizard values:", "Recovery type: Virtualization",
                              "Client name: northwind (Northwind Ltd)", "Client ID: 101", "Data source type: server",
                              "Data source: 11", "Device name: FS-01", "Device ID: 1001",
                              "Device host: https://cloud/restore/1001", "Snapshot: 2026_03_02_09_05_00",
                              "Mount point: E", "Local cache enabled: false",
                              "Local cache path: ", "Local cache open mode: read-only", "Virtual disk type: VhdxGenTwo",
                              "Disks selected for virtual export: disk-b disk-a", "Use dynamic virtual disk: false"}));
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

QTEST_GUILESS_MAIN(TestJobAssembly)
#include "tst_job_assembly.moc"
