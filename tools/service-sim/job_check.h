#pragma once

#include "corvel_service_types.h"

#include <QDate>

#include <cstdint>
#include <string>

namespace CorvelSim {

// What the real service checks before it accepts a job: empty when the configuration is good,
// else the reason, naming the field ("device_token: ...").
std::string jobRefusal(CorvelService::JobType::type type, const CorvelService::JobConfiguration& configuration,
                       const QDate& today, std::int64_t memoryLeft);

// One log line's worth of the configuration, every field, secrets masked.
std::string describe(const CorvelService::JobConfiguration& configuration);

} // namespace CorvelSim
