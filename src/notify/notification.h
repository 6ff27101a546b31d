#pragma once

#include <QString>

namespace CorvelNotify {

// One event worth telling the operator about.
struct Notification {
    enum class Kind {
        // Problems: shown unless notifications are off; all but ServiceBack turn the taskbar red.
        Stopped,
        Cancelled,
        Removed,
        Stalled,
        ServiceLost,
        ServiceBack,
        // Successes: shown with "all".
        Mounted,
        VmRunning,
        ExportFinished,
    };

    Kind kind = Kind::Stopped;
    // Empty for the service's own events.
    QString jobId;
    QString title;
    QString text;

    bool isProblem() const { return kind <= Kind::ServiceBack; }
    bool isAlert() const { return kind <= Kind::ServiceLost; }
};

} // namespace CorvelNotify
