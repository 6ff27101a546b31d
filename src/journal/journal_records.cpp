#include "journal/journal_records.h"

#include "CorvelService.h"

namespace CorvelJournal {

JournalJob JournalJob::fromService(const CorvelService::JobDescription& job)
{
    const CorvelService::JobConfiguration& configuration = job.configuration;
    JournalJob out;
    out.id = QString::fromStdString(job.id);
    out.type = static_cast<int>(job.job_type);
    out.status = static_cast<int>(job.status);
    out.substatus = QString::fromStdString(job.substatus);
    out.work = QString::fromStdString(job.current_work.text);
    out.progress = job.current_work.progress;
    out.description = QString::fromStdString(job.description);
    out.client = QString::fromStdString(configuration.client_name);
    out.device = QString::fromStdString(configuration.device_name);
    out.recoveryPoint = QString::fromStdString(configuration.recovery_point);
    out.localCachePath = QString::fromStdString(configuration.local_cache_path);
    out.vmName = QString::fromStdString(configuration.vm_settings.name);
    out.mountPoint = QString::fromStdString(configuration.mount_point);
    out.storageLocation = QString::fromStdString(configuration.vm_settings.storage_location);
    return out;
}

bool JournalJob::operator==(const JournalJob& o) const
{
    return id == o.id && type == o.type && status == o.status && substatus == o.substatus && work == o.work &&
           progress == o.progress && description == o.description && client == o.client && device == o.device &&
           recoveryPoint == o.recoveryPoint && localCachePath == o.localCachePath && vmName == o.vmName &&
           mountPoint == o.mountPoint && storageLocation == o.storageLocation;
}

QString statusName(int status)
{
    const auto& names = CorvelService::_JobStatus_VALUES_TO_NAMES;
    const auto it = names.find(status);
    return it != names.end() ? QString::fromLatin1(it->second) : QString::number(status);
}

QString typeName(int type)
{
    switch (type) {
    case CorvelService::JobType::Virtualization:
        return QStringLiteral("Virtualization");
    case CorvelService::JobType::FileRecovery:
        return QStringLiteral("File Recovery");
    case CorvelService::JobType::VirtualExport:
        return QStringLiteral("Virtual Export");
    }
    return QStringLiteral("unknown");
}

QStringList typeNames()
{
    return {typeName(CorvelService::JobType::Virtualization), typeName(CorvelService::JobType::FileRecovery),
            typeName(CorvelService::JobType::VirtualExport)};
}

QStringList statusNames()
{
    QStringList names;
    for (int status = CorvelService::JobStatus::Created; status <= CorvelService::JobStatus::Deleted; ++status)
        names << statusName(status);
    return names;
}

} // namespace CorvelJournal
