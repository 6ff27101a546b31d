#pragma once

#include "corvel_service_types.h"

#include <QList>
#include <QString>

class QWidget;

namespace CorvelPlatform {
class Desktop;
}

namespace CvJobs {

// What a row's menu offers to take the operator to a job's result: the mounted volumes of a running
// file recovery, an export's folder, a running virtual machine, and each one's path to copy.
class JobHandOff {
public:
    enum class Kind { OpenFolder, ConnectVm, CopyPath };
    struct Entry {
        Kind kind;
        // The menu's text, '&' escaped.
        QString text;
        // The path, or the virtual machine's name.
        QString target;
    };

    // The entries that apply to the job in its state, in menu order.
    static QList<Entry> entries(const CorvelService::JobDescription& job);
    // Opens, connects or copies; a target that is gone or fails is said in a box over `parent`.
    static void run(const Entry& entry, const CorvelService::JobDescription& job, CorvelPlatform::Desktop& desktop,
                    QWidget* parent);
};

} // namespace CvJobs
