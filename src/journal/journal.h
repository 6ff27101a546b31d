#pragma once

#include "core/clock.h"
#include "journal/journal_records.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QThread>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

namespace CorvelService {
class JobDescription;
}

namespace CorvelJournal {

class JournalWriter;

// The console's side of the journal: every call stamps the time and hands the change to the
// journal's own thread, which alone writes the database. Nothing here waits on the disk (but
// flush), and a writer that falls behind loses changes instead of holding the caller up.
class Journal : public QObject {
    Q_OBJECT
public:
    static constexpr int QueueLimit = 1000;
    // How often jobs that did not change are stamped as still seen.
    static constexpr qint64 StillListedIntervalMs = 30000;

    explicit Journal(const QString& path, std::shared_ptr<Corvel::Clock> clock = Corvel::Clock::system(),
                     QObject* parent = nullptr);
    ~Journal() override;

    QString path() const { return m_path; }

    // The first call of a session is the whole list; later ones the jobs that changed and the ids
    // the service no longer lists.
    void observe(std::vector<JournalJob> changed, QStringList gone = {});
    // The same from the service's own records.
    void observeService(const std::vector<CorvelService::JobDescription>& changed, const QStringList& gone);
    void recordAction(const QString& jobId, const QString& action, const QString& user);
    void recordLaunch(const JournalJob& job, const QString& user);
    void connectionLost();
    void connectionRestored();
    // After every poll: whether the service answered. Tracks losses and stamps unchanged jobs.
    void setServiceAvailable(bool available);

    // Waits until everything handed over so far is written (tests, benchmarks, the way out).
    void flush();
    int droppedChanges() const { return m_dropped.load(); }

private:
    void post(std::function<void(JournalWriter&)> task);

    QString m_path;
    std::shared_ptr<Corvel::Clock> m_clock;
    QThread* m_thread;
    QObject* m_context;
    std::shared_ptr<JournalWriter> m_writer;
    std::shared_ptr<std::atomic<int>> m_pending;
    std::atomic<int> m_dropped{0};
    bool m_queueFullReported = false;
    bool m_firstObserved = false;
    bool m_lost = false;
    qint64 m_lostSinceMs = 0;
    qint64 m_lastStampMs = 0;
};

} // namespace CorvelJournal
