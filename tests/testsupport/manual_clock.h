#pragma once

#include "core/clock.h"

#include <QList>

#include <atomic>

namespace CorvelTest {

// A clock that moves only when told to (or when someone sleeps on it).
class ManualClock : public Corvel::Clock {
public:
    qint64 nowMs() const override { return m_now; }
    // Wall time moves with the clock from a fixed morning (2025-03-03 10:00 UTC).
    qint64 epochMs() const override { return EpochOrigin + m_now; }
    void sleepMs(int milliseconds) override { m_now += milliseconds; }
    void advance(qint64 milliseconds) { m_now += milliseconds; }

    static constexpr qint64 EpochOrigin = 1740996000000;

private:
    std::atomic<qint64> m_now{1000};
};

} // namespace CorvelTest
