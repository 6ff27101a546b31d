#include "jobs/job_details.h"

#include "jobs/job_status_label.h"
#include "jobs/job_type_label.h"

#include <QDateTime>
#include <QStringList>

namespace CvJobs {

namespace {

bool hasRun(CorvelService::JobStatus::type status)
{
    using CorvelService::JobStatus;
    return status == JobStatus::Running || status == JobStatus::Stopping || status == JobStatus::Stopped;
}

} // namespace

QString JobDetails::result(const CorvelService::JobDescription& job)
{
    if (!hasRun(job.status))
        return {};
    const QString mountPoint = QString::fromStdString(job.configuration.mount_point);
    switch (job.job_type) {
    case CorvelService::JobType::FileRecovery:
        return mountPoint.isEmpty() ? QString() : "Mounted at " + mountPoint;
    case CorvelService::JobType::VirtualExport:
        return mountPoint.isEmpty() ? QString() : "Exported to " + mountPoint;
    case CorvelService::JobType::Virtualization: {
        const QString vm = QString::fromStdString(job.configuration.vm_settings.name);
        return vm.isEmpty() ? QString() : "Virtual machine " + vm;
    }
    }
    return {};
}

QString JobDetails::recoveryPoint(const std::string& name)
{
    const QString raw = QString::fromStdString(name);
    const QDateTime point = QDateTime::fromString(raw, QStringLiteral("yyyy_MM_dd_hh_mm_ss"));
    return point.isValid() ? point.toString(QStringLiteral("M/d/yyyy h:mm ap")) : raw;
}

QString JobDetails::text(const CorvelService::JobDescription& job)
{
    const auto& configuration = job.configuration;
    const auto value = [](const std::string& text) { return QString::fromStdString(text); };
    QStringList lines{"Job: " + value(job.id), "Job type: " + JobTypeLabel::typeText(job.job_type),
                      "Status: " + JobStatusLabel::statusText(job.status)};
    const auto add = [&lines](const QString& label, const QString& text) {
        if (!text.isEmpty())
            lines << label + ": " + text;
    };
    add("Substatus", value(job.substatus));
    add("Current work", value(job.current_work.text));
    if (!job.current_work.text.empty())
        lines << "Progress: " + QString::number(job.current_work.progress) + " %";
    add("Result", result(job));
    add("Client", value(configuration.client_name));
    add("Device name", value(configuration.device_name));
    if (!configuration.recovery_point.empty())
        lines << "Recovery point: " + recoveryPoint(configuration.recovery_point) + " (" +
                     value(configuration.recovery_point) + ")";
    add("Local cache", value(configuration.local_cache_path));
    add("Description", value(job.description));
    add("Details", value(job.current_work.technical_details));
    return lines.join('\n');
}

} // namespace CvJobs
