#include "journal/journal.h"

#include "journal/journal_texts.h"
#include "journal/journal_writer.h"

#include "CorvelService.h"

#include <QDebug>
#include <QMetaObject>

namespace CorvelJournal {

namespace {
// The way out waits this long for the writer; a disk that hangs must not keep the console open.
constexpr unsigned long ShutdownWaitMs = 5000;
} // namespace

Journal::Journal(const QString& path, std::shared_ptr<Corvel::Clock> clock, QObject* parent)
    : QObject(parent)
    , m_path(path)
    , m_clock(std::move(clock))
    , m_thread(new QThread)
    , m_context(new QObject)
    , m_writer(std::make_shared<JournalWriter>(path))
    , m_pending(std::make_shared<std::atomic<int>>(0))
{
    m_thread->setObjectName(QStringLiteral("journal"));
    m_context->moveToThread(m_thread);
    m_thread->start(QThread::LowPriority);
    const qint64 now = m_clock->epochMs();
    m_lastStampMs = now;
    post([now](JournalWriter& writer) { writer.start(now); });
}

Journal::~Journal()
{
    // The database connection belongs to the writer's thread and is closed there, after every
    // change handed over before.
    QMetaObject::invokeMethod(
        m_context,
        [writer = std::move(m_writer)]() mutable {
            writer.reset();
            QThread::currentThread()->quit();
        },
        Qt::QueuedConnection);
    if (m_thread->wait(ShutdownWaitMs)) {
        delete m_context;
        delete m_thread;
        return;
    }
    // Left running rather than destroyed under its own feet; the process is on its way out.
    qWarning().noquote() << QString::fromLatin1(Texts::LogRowsLost).arg(QStringLiteral("the disk did not answer"));
}

void Journal::post(std::function<void(JournalWriter&)> task)
{
    if (m_pending->load() >= QueueLimit) {
        ++m_dropped;
        if (!m_queueFullReported)
            qWarning().noquote() << QString::fromLatin1(Texts::LogQueueFull);
        m_queueFullReported = true;
        return;
    }
    m_queueFullReported = false;
    ++*m_pending;
    QMetaObject::invokeMethod(
        m_context,
        [writer = m_writer, pending = m_pending, task = std::move(task)] {
            task(*writer);
            --*pending;
        },
        Qt::QueuedConnection);
}

void Journal::observe(std::vector<JournalJob> changed, QStringList gone)
{
    const bool complete = !m_firstObserved;
    m_firstObserved = true;
    if (changed.empty() && gone.isEmpty() && !complete)
        return;
    const qint64 now = m_clock->epochMs();
    post([changed = std::move(changed), gone = std::move(gone), complete, now](JournalWriter& writer) {
        writer.observe(changed, gone, complete, now);
    });
}

void Journal::observeService(const std::vector<CorvelService::JobDescription>& changed, const QStringList& gone)
{
    std::vector<JournalJob> jobs;
    jobs.reserve(changed.size());
    for (const auto& job : changed)
        jobs.push_back(JournalJob::fromService(job));
    observe(std::move(jobs), gone);
}

void Journal::recordAction(const QString& jobId, const QString& action, const QString& user)
{
    const qint64 now = m_clock->epochMs();
    post([=](JournalWriter& writer) { writer.recordAction(jobId, action, user, now); });
}

void Journal::recordLaunch(const JournalJob& job, const QString& user)
{
    const qint64 now = m_clock->epochMs();
    post([=](JournalWriter& writer) { writer.recordLaunch(job, user, now); });
}

void Journal::connectionLost()
{
    if (m_lost)
        return;
    m_lost = true;
    m_lostSinceMs = m_clock->epochMs();
}

void Journal::connectionRestored()
{
    if (!m_lost)
        return;
    m_lost = false;
    const qint64 since = m_lostSinceMs;
    const qint64 now = m_clock->epochMs();
    m_lastStampMs = now;
    post([since, now](JournalWriter& writer) { writer.connectionRestored(since, now); });
}

void Journal::setServiceAvailable(bool available)
{
    if (!available) {
        connectionLost();
        return;
    }
    connectionRestored();
    // A service with no jobs at all sends no change; the journal still learns its list is empty.
    if (!m_firstObserved)
        observe({});
    const qint64 now = m_clock->epochMs();
    if (now - m_lastStampMs < StillListedIntervalMs)
        return;
    m_lastStampMs = now;
    post([now](JournalWriter& writer) { writer.stillListed(now); });
}

void Journal::flush()
{
    QMetaObject::invokeMethod(
        m_context, [] {}, Qt::BlockingQueuedConnection);
}

} // namespace CorvelJournal
