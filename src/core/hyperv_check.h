#pragma once

#include "platform/platform.h"

namespace Corvel {

// True when the Hyper-V Virtual Machine Management service ("vmms") is running. Failures to reach
// the service manager or the service are logged and count as "not running".
bool isHyperVRunning(CorvelPlatform::ServiceControl& control);

} // namespace Corvel
