#include "service/service_connection.h"

#include "service/service_client.h"

#include <algorithm>

namespace CorvelService {

ServiceConnection::ServiceConnection(Factory factory, std::shared_ptr<Corvel::Clock> clock, QObject* parent)
    : QObject(parent)
    , m_factory(std::move(factory))
    , m_clock(std::move(clock))
{
    qRegisterMetaType<std::shared_ptr<CorvelService::CorvelServiceIf>>();
}

ServiceConnection::Factory ServiceConnection::serviceFactory(const std::string& workingDir)
{
    return [workingDir] { return createServiceClient(workingDir); };
}

bool ServiceConnection::connectNow()
{
    setClient(createClient());
    return !isLost();
}

void ServiceConnection::setClient(Client client)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_client = std::move(client);
    m_lost = !m_client;
    m_lastAttemptMs = -1;
    m_nextDelayMs = m_intervalMs;
}

ServiceConnection::Client ServiceConnection::client() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_client;
}

ServiceConnection::Client ServiceConnection::createClient() const
{
    return m_factory ? m_factory() : Client();
}

bool ServiceConnection::isLost() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lost;
}

void ServiceConnection::reportLost(const Client& failed)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_lost || failed != m_client)
        return;
    m_lost = true;
    m_lastAttemptMs = m_clock->nowMs();
}

bool ServiceConnection::reconnectIfDue()
{
    return beginReconnect() && finishReconnect(createClient());
}

bool ServiceConnection::beginReconnect()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_lost)
        return false;
    const qint64 now = m_clock->nowMs();
    if (m_lastAttemptMs >= 0 && now - m_lastAttemptMs < m_nextDelayMs)
        return false;
    m_lastAttemptMs = now;
    return true;
}

bool ServiceConnection::finishReconnect(Client fresh)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!fresh) {
            const int cap = m_maxDelayMs > 0 ? m_maxDelayMs : 10 * m_intervalMs;
            m_nextDelayMs = std::min(2 * m_nextDelayMs, cap);
            return false;
        }
        m_nextDelayMs = m_intervalMs;
        m_client = fresh;
        m_lost = false;
    }
    emit clientChanged(fresh);
    return true;
}

qint64 ServiceConnection::msUntilReconnect() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_lost || m_lastAttemptMs < 0)
        return 0;
    return std::max<qint64>(0, m_lastAttemptMs + m_nextDelayMs - m_clock->nowMs());
}

void ServiceConnection::setReconnectInterval(int milliseconds)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_intervalMs = milliseconds;
    m_nextDelayMs = milliseconds;
}

void ServiceConnection::setMaxReconnectDelay(int milliseconds)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_maxDelayMs = milliseconds;
    m_nextDelayMs = std::min(m_nextDelayMs, milliseconds);
}

} // namespace CorvelService
