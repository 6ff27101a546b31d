#pragma once

#include "CorvelService.h"
#include "core/clock.h"
#include "core/settings.h"
#include "journal/job_activity.h"
#include "notify/notification.h"
#include "platform/platform.h"

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <memory>
#include <optional>
#include <vector>

namespace CorvelNotify {

class Notifier;

// Decides what is worth a notification from the jobs the service lists and the console's own
// actions on them: a job that stops, is cancelled or goes away when this console did not ask for
// it, no progress for ten minutes, the service away for 30 s and back; with "all" also a mount, a
// running virtual machine and a finished export. Each event is told once, and a job at most once a
// minute (a later event waits for the minute to pass). Also sums the jobs up for the taskbar.
class JobNotifications : public QObject {
    Q_OBJECT
public:
    static constexpr qint64 PerJobIntervalMs = 60000;
    static constexpr qint64 OutageMs = 30000;
    static constexpr int CheckIntervalMs = 1000;

    JobNotifications(Notifier& notifier, Corvel::NotificationLevel level, std::shared_ptr<Corvel::Clock> clock,
                     QObject* parent = nullptr);

public slots:
    // The list's changes; the first call of all is the whole list, taken as it stands.
    void observe(const std::vector<CorvelService::JobDescription>& changed, const QStringList& gone);
    // An operator's action through this console ("Start", "Stop", "Cancel", "Delete", ...).
    void actionTaken(const QString& jobId, const QString& action);
    void setServiceAvailable(bool available);
    // The operator has seen the window: the taskbar is no longer red.
    void acknowledge();

signals:
    void taskbarChanged(CorvelPlatform::TaskbarState state, int percent);

private:
    struct Watched {
        CorvelService::JobDescription job;
        bool stopExpected = false;
        bool deleteExpected = false;
        bool stopTold = false;
        bool successTold = false;
        bool removalTold = false;
        bool stallTold = false;
        CorvelJournal::JobActivity activity;
        qint64 lastShownMs = 0;
        bool shownBefore = false;
        // No longer listed; kept until its held notification is out.
        bool gone = false;
        std::optional<Notification> held;
    };

    void take(const CorvelService::JobDescription& job, bool baseline);
    void removed(Watched& watched);
    void check();
    void notify(Watched* watched, Notification::Kind kind, const QString& detail = {});
    void deliver(const Notification& notification);
    void updateTaskbar();

    Notifier& m_notifier;
    Corvel::NotificationLevel m_level;
    std::shared_ptr<Corvel::Clock> m_clock;
    QHash<QString, Watched> m_jobs;
    bool m_seeded = false;
    bool m_available = true;
    qint64 m_awaySinceMs = 0;
    bool m_outageTold = false;
    bool m_alert = false;
    std::optional<std::pair<CorvelPlatform::TaskbarState, int>> m_taskbar;
    QTimer m_checkTimer;
};

} // namespace CorvelNotify

Q_DECLARE_METATYPE(CorvelPlatform::TaskbarState)
