#include "notify/job_notifications.h"

#include "jobs/job_details.h"
#include "jobs/job_type_label.h"
#include "notify/notifier.h"
#include "notify/notify_texts.h"

#include <QDebug>

#include <algorithm>

namespace CorvelNotify {

namespace {

using CorvelService::JobDescription;
using CorvelService::JobStatus;
using CorvelService::JobType;
using Kind = Notification::Kind;

bool isActive(JobStatus::type status)
{
    return status == JobStatus::Initializing || status == JobStatus::Starting || status == JobStatus::Running;
}

bool isStopping(JobStatus::type status)
{
    return status == JobStatus::Stopping || status == JobStatus::Stopped;
}

bool isRemoving(JobStatus::type status)
{
    return status == JobStatus::PendingDelete || status == JobStatus::Deleting || status == JobStatus::Deleted;
}

bool isDone(const JobDescription& job)
{
    return job.current_work.progress >= 100;
}

bool exportFinished(const JobDescription& job)
{
    return job.job_type == JobType::VirtualExport && isStopping(job.status) &&
           (job.substatus == "Completed" || isDone(job));
}

bool succeeded(const JobDescription& job)
{
    return (job.status == JobStatus::Running && isDone(job)) || exportFinished(job);
}

QString jobName(const JobDescription& job)
{
    const QString type = CvJobs::JobTypeLabel::typeText(job.job_type);
    const QString device = QString::fromStdString(job.configuration.device_name);
    const QString named = device.isEmpty() ? QString::fromStdString(job.id) : device;
    if (job.configuration.recovery_point.empty())
        return QString::fromLatin1(Texts::JobNameWithoutPoint).arg(type, named);
    return QString::fromLatin1(Texts::JobName)
        .arg(type, named, CvJobs::JobDetails::recoveryPoint(job.configuration.recovery_point));
}

struct Wording {
    const char* title;
    const char* text;
};

Wording wording(Kind kind)
{
    switch (kind) {
    case Kind::Stopped:
        return {Texts::StoppedTitle, Texts::Stopped};
    case Kind::Cancelled:
        return {Texts::CancelledTitle, Texts::Cancelled};
    case Kind::Removed:
        return {Texts::RemovedTitle, Texts::Removed};
    case Kind::Stalled:
        return {Texts::StalledTitle, Texts::Stalled};
    case Kind::ServiceLost:
        return {Texts::ServiceLostTitle, Texts::ServiceLost};
    case Kind::ServiceBack:
        return {Texts::ServiceBackTitle, Texts::ServiceBack};
    case Kind::Mounted:
        return {Texts::MountedTitle, Texts::Mounted};
    case Kind::VmRunning:
        return {Texts::VmRunningTitle, Texts::VmRunning};
    case Kind::ExportFinished:
        return {Texts::ExportFinishedTitle, Texts::ExportFinished};
    }
    return {"", ""};
}

} // namespace

JobNotifications::JobNotifications(Notifier& notifier, Corvel::NotificationLevel level,
                                   std::shared_ptr<Corvel::Clock> clock, QObject* parent)
    : QObject(parent)
    , m_notifier(notifier)
    , m_level(level)
    , m_clock(std::move(clock))
{
    qRegisterMetaType<CorvelPlatform::TaskbarState>("CorvelPlatform::TaskbarState");
    // Stalls, outages and held notifications come due without any change to see.
    m_checkTimer.setInterval(CheckIntervalMs);
    connect(&m_checkTimer, &QTimer::timeout, this, &JobNotifications::check);
    m_checkTimer.start();
}

void JobNotifications::observe(const std::vector<JobDescription>& changed, const QStringList& gone)
{
    const bool baseline = !m_seeded;
    m_seeded = true;
    for (const JobDescription& job : changed)
        take(job, baseline);
    for (const QString& id : gone) {
        const auto found = m_jobs.find(id);
        if (found == m_jobs.end())
            continue;
        removed(*found);
        found->gone = true;
    }
    check();
    updateTaskbar();
}

void JobNotifications::take(const JobDescription& job, bool baseline)
{
    const QString id = QString::fromStdString(job.id);
    const bool known = m_jobs.contains(id);
    Watched& watched = m_jobs[id];
    const JobStatus::type before = watched.job.status;
    watched.job = job;
    watched.gone = false;
    const qint64 now = m_clock->nowMs();
    watched.activity.update(job.status == JobStatus::Running && !isDone(job),
                            QString::fromStdString(job.current_work.text), job.current_work.progress, now);
    if (!watched.activity.isStalled(now))
        watched.stallTold = false;
    if (baseline) {
        watched.stopTold = isStopping(job.status) || isRemoving(job.status);
        watched.removalTold = isRemoving(job.status);
        watched.successTold = succeeded(job);
        return;
    }
    if (isActive(job.status) && !(known && isActive(before))) {
        watched.stopExpected = false;
        watched.stopTold = false;
        watched.successTold = false;
    }
    if (isStopping(job.status)) {
        if (!watched.stopTold && known && !isStopping(before) && !isRemoving(before)) {
            if (exportFinished(job)) {
                watched.successTold = true;
                notify(&watched, Kind::ExportFinished, QString::fromStdString(job.configuration.mount_point));
            } else if (!watched.stopExpected) {
                const bool cancelled = QString::fromStdString(job.substatus).contains("cancel", Qt::CaseInsensitive);
                notify(&watched, cancelled ? Kind::Cancelled : Kind::Stopped);
            }
        }
        watched.stopTold = true;
        watched.stopExpected = false;
    }
    if (isRemoving(job.status))
        removed(watched);
    if (job.status == JobStatus::Running && isDone(job) && !watched.successTold) {
        watched.successTold = true;
        if (job.job_type == JobType::FileRecovery)
            notify(&watched, Kind::Mounted, QString::fromStdString(job.configuration.mount_point));
        else if (job.job_type == JobType::Virtualization)
            notify(&watched, Kind::VmRunning, QString::fromStdString(job.configuration.vm_settings.name));
    }
}

void JobNotifications::removed(Watched& watched)
{
    if (!watched.removalTold && !watched.deleteExpected)
        notify(&watched, Kind::Removed);
    watched.removalTold = true;
}

void JobNotifications::actionTaken(const QString& jobId, const QString& action)
{
    Watched& watched = m_jobs[jobId];
    if (action == QLatin1String("Stop") || action == QLatin1String("Cancel"))
        watched.stopExpected = true;
    else if (action == QLatin1String("Start"))
        watched.stopExpected = false;
    else if (action == QLatin1String("Delete"))
        watched.deleteExpected = true;
}

void JobNotifications::setServiceAvailable(bool available)
{
    if (available == m_available)
        return;
    m_available = available;
    if (!available) {
        m_awaySinceMs = m_clock->nowMs();
    } else {
        if (m_outageTold)
            notify(nullptr, Kind::ServiceBack);
        m_outageTold = false;
    }
    check();
}

void JobNotifications::check()
{
    const qint64 now = m_clock->nowMs();
    if (!m_available && !m_outageTold && now - m_awaySinceMs >= OutageMs) {
        m_outageTold = true;
        notify(nullptr, Kind::ServiceLost);
    }
    for (auto it = m_jobs.begin(); it != m_jobs.end();) {
        Watched& watched = *it;
        if (!watched.gone && watched.activity.isStalled(now) && !watched.stallTold) {
            watched.stallTold = true;
            notify(&watched, Kind::Stalled);
        }
        if (watched.held && now - watched.lastShownMs >= PerJobIntervalMs) {
            const Notification held = *watched.held;
            watched.held.reset();
            watched.lastShownMs = now;
            deliver(held);
        }
        if (watched.gone && !watched.held)
            it = m_jobs.erase(it);
        else
            ++it;
    }
}

void JobNotifications::notify(Watched* watched, Notification::Kind kind, const QString& detail)
{
    Notification notification;
    notification.kind = kind;
    if (m_level == Corvel::NotificationLevel::Off ||
        (!notification.isProblem() && m_level != Corvel::NotificationLevel::All))
        return;
    const Wording words = wording(kind);
    notification.title = QString::fromLatin1(words.title);
    notification.text = QString::fromLatin1(words.text);
    if (!watched) {
        deliver(notification);
        return;
    }
    notification.jobId = QString::fromStdString(watched->job.id);
    // One arg() call: a device name with "%2" in it stays as it is.
    notification.text =
        notification.text.contains(QLatin1String("%2"))
            ? notification.text.arg(jobName(watched->job), detail.isEmpty() ? QStringLiteral("?") : detail)
            : notification.text.arg(jobName(watched->job));
    const qint64 now = m_clock->nowMs();
    if (watched->shownBefore && now - watched->lastShownMs < PerJobIntervalMs) {
        // The newest waits for the minute to pass, but a success never pushes out a problem.
        if (!watched->held || !watched->held->isAlert() || notification.isAlert())
            watched->held = notification;
        return;
    }
    watched->shownBefore = true;
    watched->lastShownMs = now;
    deliver(notification);
}

void JobNotifications::deliver(const Notification& notification)
{
    qInfo().noquote() << QString::fromLatin1(Texts::Shown).arg(notification.title, notification.text);
    if (notification.isAlert())
        m_alert = true;
    m_notifier.show(notification);
    updateTaskbar();
}

void JobNotifications::acknowledge()
{
    if (!m_alert)
        return;
    m_alert = false;
    updateTaskbar();
}

void JobNotifications::updateTaskbar()
{
    bool any = false;
    int percent = 100;
    for (const Watched& watched : qAsConst(m_jobs)) {
        if (watched.gone || !isActive(watched.job.status))
            continue;
        any = true;
        percent = std::min(percent, std::max(0, static_cast<int>(watched.job.current_work.progress)));
    }
    const auto state = m_alert ? CorvelPlatform::TaskbarState::Error
                       : any   ? CorvelPlatform::TaskbarState::Normal
                               : CorvelPlatform::TaskbarState::NoProgress;
    const std::pair<CorvelPlatform::TaskbarState, int> shown{state, any ? percent : (m_alert ? 100 : 0)};
    if (m_taskbar == shown)
        return;
    m_taskbar = shown;
    emit taskbarChanged(shown.first, shown.second);
}

} // namespace CorvelNotify
