#include "core/clock.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QThread>

namespace Corvel {

namespace {

class SystemClock : public Clock {
public:
    SystemClock() { m_origin.start(); }
    qint64 nowMs() const override { return m_origin.elapsed(); }
    void sleepMs(int milliseconds) override { QThread::msleep(static_cast<unsigned long>(milliseconds)); }

private:
    QElapsedTimer m_origin;
};

} // namespace

qint64 Clock::epochMs() const
{
    return QDateTime::currentMSecsSinceEpoch();
}

std::shared_ptr<Clock> Clock::system()
{
    static const std::shared_ptr<Clock> clock = std::make_shared<SystemClock>();
    return clock;
}

} // namespace Corvel
