#pragma once

#include "journal/journal_database.h"
#include "journal/journal_records.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

namespace CorvelJournal {

// Turns what the console saw into journal rows: the one writer of the database, on the journal's
// thread. Every call carries the time the console saw it, so a late write keeps the right time.
class JournalWriter {
public:
    // A progress row at most every ProgressStep points or every ProgressIntervalMs.
    static constexpr int ProgressStep = 5;
    static constexpr qint64 ProgressIntervalMs = 60000;

    explicit JournalWriter(QString path);

    // Opens the file (setting a bad one aside), prunes it and takes up the jobs still listed.
    bool start(qint64 nowMs);
    // `complete`: `changed` is the whole list (the first of a session), so a job it lacks is gone.
    void observe(const std::vector<JournalJob>& changed, const QStringList& gone, bool complete, qint64 nowMs);
    void recordAction(const QString& jobId, const QString& action, const QString& user, qint64 nowMs);
    void recordLaunch(const JournalJob& job, const QString& user, qint64 nowMs);
    // The service answered again after not answering since `lostMs`.
    void connectionRestored(qint64 lostMs, qint64 nowMs);
    // The jobs listed are still seen (nothing changed).
    void stillListed(qint64 nowMs);

    bool isOpen() const { return m_open; }
    qint64 lostRows() const { return m_lostRows; }

private:
    struct Known {
        JournalRecord record;
        int loggedProgress = -1;
        qint64 loggedProgressMs = 0;
        // When its status, work or progress last changed; a running job still after that is marked once.
        qint64 movedMs = 0;
        bool stallMarked = false;
        // Seen in this session; a job known only from an earlier session has a gap before it.
        bool seen = false;
    };
    struct Batch {
        std::vector<JournalRecord> records;
        std::vector<std::pair<QString, TimelineEntry>> entries;
        void add(const QString& id, TimelineEntry entry) { entries.emplace_back(id, std::move(entry)); }
    };

    void noteProgress(Known& known, const JournalJob& job, qint64 nowMs, Batch& batch);
    void write(const Batch& batch, qint64 nowMs, bool retry = true);
    // A file found damaged while in use is set aside like one found so at the start.
    bool reopen(qint64 nowMs);
    void announceSetAside(qint64 nowMs);

    QString m_path;
    JournalDatabase m_db;
    QHash<QString, Known> m_known;
    bool m_open = false;
    qint64 m_sessionStartMs = 0;
    qint64 m_lostRows = 0;
    bool m_failing = false;
};

} // namespace CorvelJournal
