#pragma once

#include "journal/journal_records.h"

#include <QSqlError>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

class QSqlQuery;

namespace CorvelJournal {

// One connection to a journal file, used on the thread that opened it. The writer opens it for
// writing (and sets a file it cannot use aside); the history window and corvel-journal read.
class JournalDatabase {
public:
    static constexpr int SchemaVersion = 2;
    static constexpr int KeptJobs = 2000;
    static constexpr qint64 KeptMs = 180LL * 24 * 60 * 60 * 1000;
    // How long opening waits for another holder of the file before it counts as locked.
    static constexpr int OpenBusyMs = 2000;

    JournalDatabase();
    ~JournalDatabase();
    JournalDatabase(const JournalDatabase&) = delete;
    JournalDatabase& operator=(const JournalDatabase&) = delete;

    // Opens or creates the file; one that is damaged, locked or from a newer console is renamed
    // aside with the time in its name and a fresh one is started. False only when no file at all
    // can be written there.
    bool openForWriting(const QString& path, qint64 nowMs);
    // Read-only; a missing or unreadable file is an error (the reason in `error`).
    bool openForReading(const QString& path, QString* error);
    void close();

    QString path() const { return m_path; }
    // Why and where the previous file went when openForWriting set one aside, else empty.
    QString setAsideReason() const { return m_setAsideReason; }
    QString setAsidePath() const { return m_setAsidePath; }

    std::vector<JournalRecord> records(qint64 sinceMs = 0) const;
    // Jobs the service still listed when last seen.
    std::vector<JournalRecord> listedRecords() const;
    std::optional<JournalRecord> record(const QString& id) const;
    std::vector<TimelineEntry> timeline(const QString& id) const;
    std::vector<JournalNote> notes() const;

    bool begin();
    bool commit();
    void rollback();
    bool saveRecord(const JournalRecord& record);
    bool addEntry(const QString& jobId, const TimelineEntry& entry);
    bool addNote(const JournalNote& note);
    // Marks every listed job as seen now.
    bool touchListed(qint64 nowMs);
    // Drops jobs beyond the newest KeptJobs and those that ended more than KeptMs ago, with their
    // timelines. The number of jobs dropped, or -1.
    int prune(qint64 nowMs);

    QSqlError lastError() const { return m_lastError; }

private:
    enum class Open { Ok, Unusable, Failed };
    Open tryOpen(const QString& path, QString* why);
    bool migrate(QString* why);
    bool exec(QSqlQuery& query);
    bool run(const QString& statement);
    static JournalRecord readRecord(const QSqlQuery& query);

    QString m_connection;
    QString m_path;
    QString m_setAsideReason;
    QString m_setAsidePath;
    std::unique_ptr<QSqlQuery> m_saveRecord;
    std::unique_ptr<QSqlQuery> m_addEntry;
    mutable QSqlError m_lastError;
};

} // namespace CorvelJournal
