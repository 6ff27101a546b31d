#pragma once

#include "CorvelService.h"
#include "core/clock.h"
#include "service/service_call.h"

#include <QMetaType>
#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace CorvelService {

// What a caller asks of one call beyond the call itself.
struct CallOptions {
    CallOptions(QtMsgType level = QtWarningMsg, int timeoutMs = 0, QString lineEnd = QString())
        : level(level)
        , timeoutMs(timeoutMs)
        , lineEnd(std::move(lineEnd))
    {
    }
    // The level its failure is logged at.
    QtMsgType level;
    // With a limit, the caller hears TimedOut once it has passed; the call's late answer is dropped.
    int timeoutMs;
    // Appended to the logged line.
    QString lineEnd;
};

// The console's one owner of the local service. A worker thread of its own runs the jobs poll,
// reconnection and every call handed to it, so the window never waits on the service; the row
// actions and the job launch borrow the current client for a call on their own thread. Every
// failure is classified here, once: refused by the service (the connection survives) or broken
// in transport (the client is dropped and made again after a back-off; a Thrift client never
// recovers).
class ServiceConnection : public QObject {
    Q_OBJECT
public:
    using Client = std::shared_ptr<CorvelServiceIf>;
    // Runs on the worker thread; returns an empty client on failure.
    using Factory = std::function<Client()>;
    using Call = std::function<void(CorvelServiceIf&)>;
    using Done = std::function<void(const CallResult&)>;

    enum class State {
        Connected,
        // No client: the last one broke or none could be made; attempts follow the back-off.
        Unreachable,
        // A call has been out for NotRespondingMs without an answer.
        Silent,
    };

    static constexpr int PollIntervalMs = 500;
    static constexpr int NotRespondingMs = 2000;
    static constexpr int DefaultReconnectIntervalMs = 500;
    // While a lost service stays away, one summary line per this interval.
    static constexpr int OutageSummaryMs = 60000;

    explicit ServiceConnection(Factory factory, std::shared_ptr<Corvel::Clock> clock = Corvel::Clock::system(),
                               QObject* parent = nullptr);
    // Stops the worker; a call the service never answers is left behind, not waited for.
    ~ServiceConnection() override;

    // The console's factory: createServiceClient(workingDir) on localhost:port.
    static Factory serviceFactory(const std::string& workingDir, int port);

    // Makes the first client on the calling thread (start-up); false when that fails.
    bool connectNow();

    // Runs `call` on the worker with the current client (made first when there is none) and gives
    // the result to `done` on this object's thread, unless `context` has gone by then.
    void request(QObject* context, Call call, Done done, CallOptions options = {});
    // Runs `call` on the calling thread with the current client: for the row actions and the job
    // launch, which must have happened when they return.
    CallResult call(const Call& call, CallOptions options = {});

    // The jobs poll: getAllJobsInfo every PollIntervalMs from now on, and once right away.
    void startPolling();
    // Asks for the jobs now, or as soon as the request that is out has come back.
    void pollSoon();
    bool isPollOut() const { return m_pollOut; }
    // 0 leaves the poll to pollSoon alone.
    void setPollInterval(int milliseconds);

    State state() const;
    bool isLost() const { return !m_client; }
    // Milliseconds until the next attempt to reconnect is due (0 when due now or not lost).
    qint64 msUntilReconnect() const;
    void setReconnectInterval(int milliseconds);
    // The longest wait between attempts (default: ten intervals).
    void setMaxReconnectDelay(int milliseconds);
    void setOutageSummaryInterval(int milliseconds) { m_summaryTimer.setInterval(milliseconds); }

signals:
    // A poll came back with the service's list.
    void jobsArrived(const std::vector<CorvelService::JobDescription>& jobs);
    // A poll came back, whatever it brought.
    void polled();
    // Something the service banner shows may have changed: the state or the countdown.
    void stateChanged();
    // The service answered again after an outage.
    void restored();

private:
    struct Shared;
    struct Task;
    struct Reply;
    struct Pending;
    struct Requests;

    void tick();
    void startPoll();
    void post(std::shared_ptr<Task> task);
    void take(const Reply& reply);
    // The one place a failure is judged: logged at `level`, and a broken transport drops `client`.
    void settle(const CallResult& result, const Client& client, QtMsgType level, bool quietInOutage,
                const QString& lineEnd = QString());
    void adopt(Client fresh);
    void lose(const Client& failed);
    bool reconnectDue() const;
    void updateSilence();
    void logOutageSummary();

    std::shared_ptr<Corvel::Clock> m_clock;
    std::shared_ptr<Shared> m_shared;
    std::unique_ptr<Requests> m_requests;
    Client m_client;
    quint64 m_lastId = 0;
    QTimer m_pollTimer;
    QTimer m_silenceTimer;
    QTimer m_summaryTimer;
    bool m_polling = false;
    bool m_pollOut = false;
    bool m_pollAgain = false;
    bool m_silent = false;
    // An outage is logged when it starts and ends; the failures in between stay quiet.
    bool m_outageReported = false;
    int m_attemptsSinceSummary = 0;
    QString m_lastFailure;
    qint64 m_lastAttemptMs = -1;
    int m_intervalMs = DefaultReconnectIntervalMs;
    int m_nextDelayMs = DefaultReconnectIntervalMs;
    int m_maxDelayMs = -1;
};

} // namespace CorvelService

Q_DECLARE_METATYPE(std::shared_ptr<CorvelService::CorvelServiceIf>)
