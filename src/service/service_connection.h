#pragma once

#include "CorvelService.h"
#include "core/clock.h"

#include <QMetaType>
#include <QObject>

#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace CorvelService {

// The console's link to the local service: the current client everyone on the GUI thread uses, a
// factory for worker threads that need a client of their own, and the reconnection after the
// current client failed in transport (a Thrift client never recovers from that).
class ServiceConnection : public QObject {
    Q_OBJECT
public:
    using Client = std::shared_ptr<CorvelServiceIf>;
    // Must be callable from any thread; returns an empty client on failure.
    using Factory = std::function<Client()>;

    static constexpr int DefaultReconnectIntervalMs = 500;

    explicit ServiceConnection(Factory factory, std::shared_ptr<Corvel::Clock> clock = Corvel::Clock::system(),
                               QObject* parent = nullptr);

    // The factory of the console: createServiceClient(workingDir).
    static Factory serviceFactory(const std::string& workingDir);

    // Makes the current client with the factory; false (and lost) when that fails.
    bool connectNow();
    // Replaces the current client (an empty one counts as lost).
    void setClient(Client client);

    Client client() const;
    // A fresh client for the calling thread, independent of the current one.
    Client createClient() const;
    // The factory itself, for work that may outlive this object.
    Factory factory() const { return m_factory; }

    bool isLost() const;
    // The call on `failed` broke its transport. Ignored when `failed` is no longer current.
    void reportLost(const Client& failed);
    // While lost, asks the factory again once the back-off has run out: first after the base
    // interval, then doubling after each failure up to ten times the base. True when a new client
    // took over (clientChanged has been emitted).
    bool reconnectIfDue();
    // The same in two steps, for a caller that makes the client on another thread: true when an
    // attempt is due now (it counts as started); then the attempt's client, or an empty one when
    // it failed, goes to finishReconnect on this object's thread.
    bool beginReconnect();
    bool finishReconnect(Client fresh);
    // Milliseconds until the next attempt is due (0 when due now or not lost).
    qint64 msUntilReconnect() const;
    void setReconnectInterval(int milliseconds);
    // The longest wait between attempts (default: ten intervals).
    void setMaxReconnectDelay(int milliseconds);

signals:
    void clientChanged(std::shared_ptr<CorvelService::CorvelServiceIf> client);

private:
    Factory m_factory;
    std::shared_ptr<Corvel::Clock> m_clock;
    mutable std::mutex m_mutex;
    Client m_client;
    bool m_lost = true;
    qint64 m_lastAttemptMs = -1;
    int m_intervalMs = DefaultReconnectIntervalMs;
    int m_nextDelayMs = DefaultReconnectIntervalMs;
    int m_maxDelayMs = -1;
};

} // namespace CorvelService

Q_DECLARE_METATYPE(std::shared_ptr<CorvelService::CorvelServiceIf>)
