#pragma once

#include "notify/notification.h"

#include <QObject>

namespace CorvelNotify {

// Where notifications are shown: the system tray, a banner in the window, or a test's record.
class Notifier : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    virtual void show(const Notification& notification) = 0;

signals:
    // The operator clicked the notification of this job (empty: one of the service's).
    void activated(const QString& jobId);
};

} // namespace CorvelNotify
