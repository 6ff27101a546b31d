#pragma once

#include "core/clock.h"

#include <QList>

#include <atomic>

namespace CorvelTest {

// A clock that moves only when told to (or when someone sleeps on it).
class ManualClock : public Corvel::Clock {
public:
    qint64 nowMs() const override { return m_now; }
    void sleepMs(int milliseconds) override { m_now += milliseconds; }
    void advance(qint64 milliseconds) { m_now += milliseconds; }

private:
    std::atomic<qint64> m_now{1000};
};

} // namespace CorvelTest
