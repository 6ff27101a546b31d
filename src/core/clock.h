#pragma once

#include <QtGlobal>

#include <memory>

namespace Corvel {

// Time for code that waits, retries or backs off; tests hand in a clock they move by hand.
class Clock {
public:
    virtual ~Clock() = default;
    // Monotonic milliseconds from an arbitrary origin.
    virtual qint64 nowMs() const = 0;
    // Wall time in milliseconds since 1970 (UTC), for records a person reads later.
    virtual qint64 epochMs() const;
    virtual void sleepMs(int milliseconds) = 0;

    static std::shared_ptr<Clock> system();
};

} // namespace Corvel
