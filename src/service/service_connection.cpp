#include "service/service_connection.h"

#include "service/service_client.h"

#include <QDebug>
#include <QPointer>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <thread>

namespace CorvelService {

namespace {

const char kNoConnection[] = "Unknown exception: No connection to Corvel service";

} // namespace

struct ServiceConnection::Task {
    quint64 id = 0;
    Call call;
    // Make a client first when there is none (a poll only when the back-off allows it).
    bool connect = false;
    bool quiet = false;
    std::atomic<bool> abandoned{false};
};

struct ServiceConnection::Reply {
    enum Kind { Connected, Answered } kind = Answered;
    quint64 id = 0;
    Client client;
    CallResult result;
    QString connectFailure;
};

// What the worker and the owner share. The owner unhooks itself when it goes, so what the
// worker delivers after that is dropped.
struct ServiceConnection::Shared {
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<std::shared_ptr<Task>> queue;
    Client current;
    Factory factory;
    ServiceConnection* owner = nullptr;
    bool stopping = false;
    bool busy = false;

    void deliver(Reply reply)
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (!owner)
            return;
        ServiceConnection* receiver = owner;
        QMetaObject::invokeMethod(
            receiver, [receiver, reply = std::move(reply)] { receiver->take(reply); }, Qt::QueuedConnection);
    }

    void run()
    {
        for (;;) {
            std::shared_ptr<Task> task;
            Client client;
            {
                std::unique_lock<std::mutex> lock(mutex);
                busy = false;
                wake.wait(lock, [this] { return stopping || !queue.empty(); });
                if (stopping)
                    return;
                task = queue.front();
                queue.pop_front();
                busy = true;
                client = current;
            }
            Reply answer;
            answer.id = task->id;
            if (task->abandoned)
                continue;
            if (!client && task->connect) {
                Reply connected;
                connected.kind = Reply::Connected;
                connected.id = task->id;
                {
                    std::unique_ptr<QuietConnect> quiet(task->quiet ? new QuietConnect : nullptr);
                    client = factory ? factory() : Client();
                    if (quiet)
                        connected.connectFailure = QuietConnect::lastFailure();
                }
                {
                    std::lock_guard<std::mutex> lock(mutex);
                    if (client)
                        current = client;
                }
                connected.client = client;
                deliver(std::move(connected));
            }
            answer.client = client;
            if (!client)
                answer.result = {CallOutcome::Unreachable, QString::fromLatin1(kNoConnection)};
            else
                answer.result = tryServiceCall([&] { task->call(*client); });
            deliver(std::move(answer));
        }
    }
};

struct ServiceConnection::Pending {
    QPointer<QObject> context;
    bool hasContext = false;
    bool poll = false;
    Done done;
    CallOptions options;
    std::shared_ptr<Task> task;
    QTimer* limit = nullptr;
};

// Requests out, by task id; only the owner's thread touches it.
struct ServiceConnection::Requests : std::map<quint64, Pending> {};

ServiceConnection::ServiceConnection(Factory factory, std::shared_ptr<Corvel::Clock> clock, QObject* parent)
    : QObject(parent)
    , m_clock(std::move(clock))
    , m_shared(std::make_shared<Shared>())
    , m_requests(std::make_unique<Requests>())
{
    qRegisterMetaType<std::shared_ptr<CorvelService::CorvelServiceIf>>();
    // One factory object, shared with the worker: a factory may keep state between calls.
    m_shared->factory = std::move(factory);
    m_shared->owner = this;
    std::thread([shared = m_shared] { shared->run(); }).detach();

    m_pollTimer.setInterval(PollIntervalMs);
    connect(&m_pollTimer, &QTimer::timeout, this, &ServiceConnection::tick);
    m_silenceTimer.setSingleShot(true);
    m_silenceTimer.setTimerType(Qt::PreciseTimer);
    m_silenceTimer.setInterval(NotRespondingMs + 1);
    connect(&m_silenceTimer, &QTimer::timeout, this, &ServiceConnection::updateSilence);
    m_summaryTimer.setInterval(OutageSummaryMs);
    connect(&m_summaryTimer, &QTimer::timeout, this, &ServiceConnection::logOutageSummary);
}

ServiceConnection::~ServiceConnection()
{
    // The worker is detached from the start: a call the service never answers keeps it, and
    // nothing may wait for that on the way out. It sees `stopping` when it comes back.
    {
        std::lock_guard<std::mutex> lock(m_shared->mutex);
        m_shared->owner = nullptr;
        m_shared->stopping = true;
        m_shared->queue.clear();
    }
    m_shared->wake.notify_all();
}

ServiceConnection::Factory ServiceConnection::serviceFactory(const std::string& workingDir, int port)
{
    return [workingDir, port] { return createServiceClient(workingDir, "localhost", port); };
}

bool ServiceConnection::connectNow()
{
    Client fresh = m_shared->factory ? m_shared->factory() : Client();
    if (fresh)
        adopt(std::move(fresh));
    else
        m_lastAttemptMs = m_clock->nowMs();
    return !isLost();
}

void ServiceConnection::request(QObject* context, Call call, Done done, CallOptions options)
{
    auto task = std::make_shared<Task>();
    task->id = ++m_lastId;
    task->call = std::move(call);
    // A request made while the service is away tries at once: an operator is waiting for it.
    task->connect = true;
    task->quiet = m_outageReported;
    if (isLost())
        m_lastAttemptMs = m_clock->nowMs();

    Pending pending;
    pending.context = context;
    pending.hasContext = context != nullptr;
    pending.done = std::move(done);
    pending.options = options;
    pending.task = task;
    if (options.timeoutMs > 0) {
        pending.limit = new QTimer(this);
        pending.limit->setSingleShot(true);
        const quint64 id = task->id;
        connect(pending.limit, &QTimer::timeout, this, [this, id] {
            const auto it = m_requests->find(id);
            if (it == m_requests->end())
                return;
            Pending expired = std::move(it->second);
            m_requests->erase(it);
            expired.task->abandoned = true;
            expired.limit->deleteLater();
            const CallResult result{CallOutcome::TimedOut,
                                    QStringLiteral("No answer from the Corvel service within %1 s")
                                        .arg((expired.options.timeoutMs + 999) / 1000)};
            logCallFailure(result, expired.options.level);
            if (expired.done && (!expired.hasContext || expired.context))
                expired.done(result);
        });
        pending.limit->start(options.timeoutMs);
    }
    m_requests->emplace(task->id, std::move(pending));
    post(task);
}

CallResult ServiceConnection::call(const Call& call, CallOptions options)
{
    const Client client = m_client;
    CallResult result = client ? tryServiceCall([&] { call(*client); })
                               : CallResult{CallOutcome::OtherFailure, QString::fromLatin1(kNoConnection)};
    settle(result, client, options.level, false, options.lineEnd);
    return result;
}

void ServiceConnection::startPolling()
{
    m_polling = true;
    if (m_pollTimer.interval() > 0 && !m_pollTimer.isActive())
        m_pollTimer.start();
    tick();
}

void ServiceConnection::setPollInterval(int milliseconds)
{
    m_pollTimer.setInterval(milliseconds);
    if (milliseconds <= 0)
        m_pollTimer.stop();
    else if (m_polling)
        m_pollTimer.start();
}

void ServiceConnection::pollSoon()
{
    if (m_pollOut)
        m_pollAgain = true;
    else
        tick();
}

void ServiceConnection::tick()
{
    if (!m_pollOut)
        startPoll();
    emit stateChanged();
}

void ServiceConnection::startPoll()
{
    const bool connect = isLost() && reconnectDue();
    if (isLost() && !connect)
        return;
    if (connect)
        m_lastAttemptMs = m_clock->nowMs();
    auto task = std::make_shared<Task>();
    task->id = ++m_lastId;
    auto jobs = std::make_shared<std::vector<JobDescription>>();
    task->call = [jobs](CorvelServiceIf& service) { service.getAllJobsInfo(*jobs); };
    task->connect = connect;
    task->quiet = m_outageReported;
    m_pollOut = true;
    Pending pending;
    pending.poll = true;
    pending.task = task;
    pending.done = [this, jobs](const CallResult& result) {
        if (result.outcome == CallOutcome::Ok)
            emit jobsArrived(*jobs);
    };
    m_requests->emplace(task->id, std::move(pending));
    post(task);
}

void ServiceConnection::post(std::shared_ptr<Task> task)
{
    if (!m_silenceTimer.isActive() && !m_silent)
        m_silenceTimer.start();
    {
        std::lock_guard<std::mutex> lock(m_shared->mutex);
        m_shared->queue.push_back(std::move(task));
    }
    m_shared->wake.notify_one();
}

void ServiceConnection::take(const Reply& reply)
{
    // Any reply shows the worker moving; the silence clock starts again for what is still out.
    if (reply.kind == Reply::Connected) {
        if (reply.client) {
            adopt(reply.client);
        } else {
            const int cap = m_maxDelayMs > 0 ? m_maxDelayMs : 10 * m_intervalMs;
            m_nextDelayMs = std::min(2 * m_nextDelayMs, cap);
            ++m_attemptsSinceSummary;
            if (!reply.connectFailure.isEmpty())
                m_lastFailure = reply.connectFailure;
        }
        if (m_silent || m_silenceTimer.isActive())
            m_silenceTimer.start();
        emit stateChanged();
        return;
    }

    const auto it = m_requests->find(reply.id);
    Pending pending;
    const bool waiting = it != m_requests->end();
    const bool poll = waiting && it->second.poll;
    if (waiting) {
        pending = std::move(it->second);
        m_requests->erase(it);
        if (pending.limit)
            pending.limit->deleteLater();
    }
    if (m_silent) {
        m_silent = false;
        qInfo("Corvel service answers again.");
    }
    if (m_requests->empty())
        m_silenceTimer.stop();
    else
        m_silenceTimer.start();

    const CallResult& result = reply.result;
    if (waiting || result.outcome != CallOutcome::TimedOut) {
        // A poll's failure during a known outage would only repeat it, and so would a late answer.
        settle(result, reply.client, waiting ? pending.options.level : QtWarningMsg, poll || !waiting,
               pending.options.lineEnd);
        if (result.outcome == CallOutcome::Ok && m_outageReported) {
            m_outageReported = false;
            m_summaryTimer.stop();
            qInfo("Connection to Corvel service restored.");
            emit restored();
        }
    }
    if (waiting && pending.done && (!pending.hasContext || pending.context))
        pending.done(result);
    if (poll) {
        m_pollOut = false;
        emit polled();
        if (m_pollAgain) {
            m_pollAgain = false;
            startPoll();
        }
    }
    emit stateChanged();
}

void ServiceConnection::settle(const CallResult& result, const Client& client, QtMsgType level, bool quietInOutage,
                               const QString& lineEnd)
{
    switch (result.outcome) {
    case CallOutcome::Ok:
    case CallOutcome::TimedOut:
        return;
    case CallOutcome::ApplicationFailure:
        logCallFailure({result.outcome, result.failure + lineEnd}, level);
        return;
    case CallOutcome::OtherFailure:
    case CallOutcome::Unreachable:
        // No client to call with: the caller says what that means to it.
        if (result.outcome == CallOutcome::OtherFailure) {
            if (!(quietInOutage && m_outageReported))
                logCallFailure({result.outcome, result.failure + lineEnd}, level);
            lose(client);
        }
        if (!m_outageReported && isLost()) {
            m_outageReported = true;
            m_attemptsSinceSummary = 0;
            m_summaryTimer.start();
        }
        return;
    }
}

void ServiceConnection::adopt(Client fresh)
{
    {
        std::lock_guard<std::mutex> lock(m_shared->mutex);
        m_shared->current = fresh;
    }
    m_client = std::move(fresh);
    m_nextDelayMs = m_intervalMs;
    m_lastAttemptMs = -1;
}

void ServiceConnection::lose(const Client& failed)
{
    if (!failed || failed != m_client)
        return;
    {
        std::lock_guard<std::mutex> lock(m_shared->mutex);
        if (m_shared->current == failed)
            m_shared->current.reset();
    }
    m_client.reset();
    m_lastAttemptMs = m_clock->nowMs();
    m_nextDelayMs = m_intervalMs;
}

bool ServiceConnection::reconnectDue() const
{
    return m_lastAttemptMs < 0 || m_clock->nowMs() - m_lastAttemptMs >= m_nextDelayMs;
}

ServiceConnection::State ServiceConnection::state() const
{
    if (isLost())
        return State::Unreachable;
    return m_silent ? State::Silent : State::Connected;
}

void ServiceConnection::updateSilence()
{
    if (m_silent || m_requests->empty())
        return;
    m_silent = true;
    qWarning("Corvel service is not responding.");
    emit stateChanged();
}

void ServiceConnection::logOutageSummary()
{
    if (!m_outageReported || m_attemptsSinceSummary == 0)
        return;
    QString line =
        QStringLiteral("Corvel service still not reachable: %1 connection attempts failed in the last minute")
            .arg(m_attemptsSinceSummary);
    if (!m_lastFailure.isEmpty())
        line += QStringLiteral(" (last: %1)").arg(m_lastFailure);
    qWarning().noquote() << line;
    m_attemptsSinceSummary = 0;
}

qint64 ServiceConnection::msUntilReconnect() const
{
    if (!isLost() || m_lastAttemptMs < 0)
        return 0;
    return std::max<qint64>(0, m_lastAttemptMs + m_nextDelayMs - m_clock->nowMs());
}

void ServiceConnection::setReconnectInterval(int milliseconds)
{
    m_intervalMs = milliseconds;
    m_nextDelayMs = milliseconds;
}

void ServiceConnection::setMaxReconnectDelay(int milliseconds)
{
    m_maxDelayMs = milliseconds;
    m_nextDelayMs = std::min(m_nextDelayMs, milliseconds);
}

} // namespace CorvelService
