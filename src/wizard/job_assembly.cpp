#include "wizard/job_assembly.h"

namespace Corvel::JobAssembly {

using namespace CorvelService;

namespace {

bool isVirtualization(const RecoveryWizardValues& values)
{
    return values.recoveryType == JobType::Virtualization;
}

VirtualDiskType::type effectiveDiskType(const RecoveryWizardValues& values)
{
    return isVirtualization(values) ? values.vmSettings.diskType : values.virtualDiskType;
}

bool effectiveDynamicDisk(const RecoveryWizardValues& values)
{
    return isVirtualization(values) ? values.vmSettings.dynamicDisk : values.useDynamicVirtualDisk;
}

QString text(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

template <typename Enum> QString name(Enum value)
{
    return QString::fromStdString(to_string(value));
}

} // namespace

JobConfiguration configuration(const RecoveryWizardValues& values)
{
    JobConfiguration job;
    job.client_name = values.clientName.toStdString();
    job.device_name = values.deviceName.toStdString();
    job.device_id = static_cast<int64_t>(values.deviceId);
    job.recovery_point = values.snapshot.toStdString();
    job.device_host = values.deviceHost.toStdString();
    job.device_token = values.deviceToken.toStdString();
    if (values.localCacheEnabled) {
        job.local_cache_path = values.localCachePath.toStdString();
        job.local_cache_login = values.localCacheLogin.toStdString();
        job.local_cache_password = values.localCachePassword.toStdString();
        job.local_cache_read_only = values.localCacheReadOnly;
    }
    job.mount_point = values.mountPoint.toStdString();
    job.virtual_disk_type = effectiveDiskType(values);
    job.use_dynamic_virtual_disk = effectiveDynamicDisk(values);
    for (const QString& disk : values.disksNames)
        job.disks_names.push_back(disk.toStdString());
    if (isVirtualization(values)) {
        const RecoveryWizardVmSettings& vm = values.vmSettings;
        VMSettings& settings = job.vm_settings;
        settings.generation = vm.generation;
        settings.name = vm.name.toStdString();
        settings.ram_bytes = static_cast<int64_t>(vm.ramBytes);
        settings.cpu_cores = static_cast<int32_t>(vm.cpuCores);
        settings.boot_on_start = vm.bootOnStart;
        for (const QString& adapter : vm.networkAdapters)
            settings.network_adapters.push_back(adapter.toStdString());
        settings.storage_location = vm.storageLocation.toStdString();
        settings.virtualization_type = values.virtualizationType;
        settings.reserve = static_cast<int32_t>(vm.reserve);
        settings.limit = static_cast<int32_t>(vm.limit);
        settings.relative_weight = static_cast<int32_t>(vm.relativeWeight);
    }
    return job;
}

QString valuesLog(const RecoveryWizardValues& values)
{
    QString disks;
    for (const QString& disk : values.disksNames)
        disks += ' ' + disk;
    const QStringList lines{
        "Recovery wizard values:",
        "Recovery type: " + (values.recoveryType ? name(*values.recoveryType) : QString()),
        "Client name: " + values.clientName,
        "Client ID: " + QString::number(values.clientId),
        "Data source type: " + values.dataSourceType,
        "Data source: " + QString::number(values.dataSourceId),
        "Device name: " + values.deviceName,
        "Device ID: " + QString::number(values.deviceId),
        "Device host: " + values.deviceHost,
        "Snapshot: " + values.snapshot,
        "Mount point: " + values.mountPoint,
        "Local cache enabled: " + text(values.localCacheEnabled),
        "Local cache path: " + (values.localCacheEnabled ? values.localCachePath : QString()),
        "Local cache open mode: " + QString(values.localCacheReadOnly ? "read-only" : "read-write"),
        "Virtual disk type: " + name(effectiveDiskType(values)),
        "Disks selected for virtual export:" + disks,
        "Use dynamic virtual disk: " + text(effectiveDynamicDisk(values)),
    };
    return lines.join('\n');
}

QString vmSettingsLog(const RecoveryWizardValues& values)
{
    const RecoveryWizardVmSettings& vm = values.vmSettings;
    const QStringList lines{
        "VM settings: ",
        "Generation: " + QString::number(vm.generation),
        "Name: " + vm.name,
        "Memory (bytes): " + QString::number(vm.ramBytes),
        "CPU cores: " + QString::number(vm.cpuCores),
        "Reserve: " + QString::number(vm.reserve),
        "Limit: " + QString::number(vm.limit),
        "Relative weight: " + QString::number(vm.relativeWeight),
        "Boot on start: " + text(vm.bootOnStart),
        "Network adapters: " + vm.networkAdapters.join(", "),
        "Storage location: " + vm.storageLocation,
        "Virtualization type: " + name(values.virtualizationType),
    };
    return lines.join('\n');
}

} // namespace Corvel::JobAssembly
