#pragma once

#include "corvel_service_types.h"

#include <QString>

namespace CvJobs {

// What a row says about its job beyond the service's own fields, and the text "Copy details" puts
// on the clipboard.
class JobDetails {
public:
    // What a running or finished job produced ("Mounted at E:", the VM, the export folder); empty
    // before it runs or when its configuration does not say.
    static QString result(const CorvelService::JobDescription& job);
    // A restore point's name as the wizard showed it ("11/18/2026 12:42 am"), or the name itself
    // when it is not a date.
    static QString recoveryPoint(const std::string& name);
    // Every field an operator may pass on, one per line; credentials and tokens left out.
    static QString text(const CorvelService::JobDescription& job);
};

} // namespace CvJobs
