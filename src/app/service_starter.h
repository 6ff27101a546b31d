#pragma once

#include "platform/platform.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

class QProgressDialog;

namespace Corvel {

// Makes sure the local services the console depends on are running, starting the stopped ones
// behind a small progress dialog.
class ServiceStarter {
public:
    using Sleeper = std::function<void(int milliseconds)>;

    explicit ServiceStarter(
        std::shared_ptr<CorvelPlatform::ServiceControl> control = CorvelPlatform::systemServiceControl(),
        Sleeper sleeper = {});

    bool startServices();

    // Called once the progress dialog exists (tests use it to press Cancel).
    std::function<void(QProgressDialog&)> onDialogShown;

    static const char* const ServiceNames[3];
    static constexpr int StartTimeoutMs = 180000;
    static constexpr int PollIntervalMs = 1000;

private:
    std::optional<unsigned long> queryStatus(CorvelPlatform::ServiceHandle service);
    bool startAndWait(CorvelPlatform::ServiceHandle service, QProgressDialog& dialog);

    std::shared_ptr<CorvelPlatform::ServiceControl> m_control;
    Sleeper m_sleep;
};

} // namespace Corvel
