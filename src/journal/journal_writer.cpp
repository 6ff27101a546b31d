#include "journal/journal_writer.h"

#include "journal/job_activity.h"
#include "journal/journal_report.h"
#include "journal/journal_texts.h"

#include <QDebug>

#include <cstdlib>

namespace CorvelJournal {

namespace {

constexpr int CreatedStatus = 0;
constexpr int RunningStatus = 4;

bool damaged(const QSqlError& error)
{
    // SQLite's codes for a file that is no longer a sound database.
    const int code = error.nativeErrorCode().toInt();
    return code == 11 || code == 26;
}

TimelineEntry entry(TimelineKind kind, qint64 atMs, const JournalJob& job, QString text = {})
{
    TimelineEntry e;
    e.atMs = atMs;
    e.kind = kind;
    e.status = job.status;
    e.progress = job.progress;
    e.text = std::move(text);
    return e;
}

} // namespace

JournalWriter::JournalWriter(QString path)
    : m_path(std::move(path))
{
}

void JournalWriter::announceSetAside(qint64 nowMs)
{
    if (m_db.setAsideReason().isEmpty())
        return;
    qWarning().noquote()
        << QString::fromLatin1(Texts::LogSetAside).arg(m_path, m_db.setAsideReason(), m_db.setAsidePath());
    m_db.addNote(
        {nowMs,
         QString::fromLatin1(Texts::NoteSetAside).arg(timeText(nowMs, 0), m_db.setAsideReason(), m_db.setAsidePath())});
}

bool JournalWriter::start(qint64 nowMs)
{
    m_sessionStartMs = nowMs;
    m_open = m_db.openForWriting(m_path, nowMs);
    if (!m_open) {
        qWarning().noquote() << QString::fromLatin1(Texts::LogNoDatabase).arg(m_path, m_db.lastError().text());
        return false;
    }
    announceSetAside(nowMs);
    const int pruned = m_db.prune(nowMs);
    if (pruned > 0)
        qInfo().noquote() << QString::fromLatin1(Texts::LogPruned).arg(pruned);
    for (JournalRecord& record : m_db.listedRecords()) {
        Known known;
        known.loggedProgress = record.job.progress;
        known.loggedProgressMs = record.lastSeenMs;
        known.movedMs = record.lastSeenMs;
        known.record = std::move(record);
        m_known.insert(known.record.job.id, std::move(known));
    }
    return true;
}

void JournalWriter::noteProgress(Known& known, const JournalJob& job, qint64 nowMs, Batch& batch)
{
    if (job.progress == known.loggedProgress)
        return;
    if (std::abs(job.progress - known.loggedProgress) < ProgressStep &&
        nowMs - known.loggedProgressMs < ProgressIntervalMs)
        return;
    batch.add(job.id, entry(TimelineKind::Progress, nowMs, job));
    known.loggedProgress = job.progress;
    known.loggedProgressMs = nowMs;
}

void JournalWriter::observe(const std::vector<JournalJob>& changed, const QStringList& gone, bool complete,
                            qint64 nowMs)
{
    if (!m_open)
        return;
    Batch batch;
    for (const JournalJob& job : changed) {
        auto it = m_known.find(job.id);
        if (it == m_known.end()) {
            Known known;
            known.record.job = job;
            known.record.firstSeenMs = nowMs;
            known.record.seenFromStart = job.status == CreatedStatus;
            known.loggedProgress = job.progress;
            known.loggedProgressMs = nowMs;
            known.movedMs = nowMs;
            batch.add(job.id, entry(known.record.seenFromStart ? TimelineKind::Status : TimelineKind::FirstSeen, nowMs,
                                    job, known.record.seenFromStart ? QString() : job.work));
            it = m_known.insert(job.id, std::move(known));
        } else {
            Known& known = *it;
            JournalJob& last = known.record.job;
            if (!known.seen && known.record.lastSeenMs < m_sessionStartMs) {
                TimelineEntry gap = entry(TimelineKind::Gap, nowMs, job);
                gap.sinceMs = known.record.lastSeenMs;
                batch.add(job.id, gap);
            }
            if (job.status != last.status) {
                batch.add(job.id, entry(TimelineKind::Status, nowMs, job));
                known.loggedProgress = job.progress;
                known.loggedProgressMs = nowMs;
            }
            if (job.substatus != last.substatus && !job.substatus.isEmpty())
                batch.add(job.id, entry(TimelineKind::Substatus, nowMs, job, job.substatus));
            if (job.work != last.work && !job.work.isEmpty()) {
                batch.add(job.id, entry(TimelineKind::Work, nowMs, job, job.work));
                known.loggedProgress = job.progress;
                known.loggedProgressMs = nowMs;
            }
            noteProgress(known, job, nowMs, batch);
            if (job.status != last.status || job.work != last.work || job.progress != last.progress) {
                known.movedMs = nowMs;
                known.stallMarked = false;
            }
            last = job;
        }
        it->seen = true;
        it->record.lastSeenMs = nowMs;
        it->record.goneMs = 0;
        batch.records.push_back(it->record);
    }
    auto retire = [&](Known& known, qint64 goneMs) {
        TimelineEntry e = entry(TimelineKind::Gone, nowMs, known.record.job);
        known.record.goneMs = goneMs;
        batch.add(known.record.job.id, e);
        batch.records.push_back(known.record);
    };
    for (const QString& id : gone) {
        auto it = m_known.find(id);
        if (it == m_known.end())
            continue;
        it->record.lastSeenMs = nowMs;
        retire(*it, nowMs);
        m_known.erase(it);
    }
    if (complete) {
        for (auto it = m_known.begin(); it != m_known.end();) {
            if (it->seen) {
                ++it;
                continue;
            }
            // It went while nobody watched: when exactly is not known.
            TimelineEntry gap = entry(TimelineKind::Gap, nowMs, it->record.job);
            gap.sinceMs = it->record.lastSeenMs;
            batch.add(it->record.job.id, gap);
            retire(*it, it->record.lastSeenMs);
            it = m_known.erase(it);
        }
    }
    write(batch, nowMs);
}

void JournalWriter::recordAction(const QString& jobId, const QString& action, const QString& user, qint64 nowMs)
{
    if (!m_open)
        return;
    Batch batch;
    JournalJob job;
    if (auto it = m_known.find(jobId); it != m_known.end())
        job = it->record.job;
    TimelineEntry e = entry(TimelineKind::Action, nowMs, job, action);
    e.user = user;
    batch.add(jobId, e);
    write(batch, nowMs);
}

void JournalWriter::recordLaunch(const JournalJob& job, const QString& user, qint64 nowMs)
{
    if (!m_open)
        return;
    Batch batch;
    auto it = m_known.find(job.id);
    if (it == m_known.end()) {
        Known known;
        known.record.job = job;
        // Not seen yet: the first state the service lists is then a change worth a row.
        known.record.job.status = -1;
        known.record.firstSeenMs = nowMs;
        known.record.lastSeenMs = nowMs;
        known.loggedProgress = job.progress;
        known.loggedProgressMs = nowMs;
        known.seen = true;
        it = m_known.insert(job.id, std::move(known));
    }
    it->record.startedBy = user;
    it->record.seenFromStart = true;
    TimelineEntry e = entry(TimelineKind::Launch, nowMs, job);
    e.status = -1;
    e.user = user;
    batch.add(job.id, e);
    batch.records.push_back(it->record);
    write(batch, nowMs);
}

void JournalWriter::connectionRestored(qint64 lostMs, qint64 nowMs)
{
    if (!m_open)
        return;
    Batch batch;
    for (Known& known : m_known) {
        if (!known.seen)
            continue;
        TimelineEntry gap = entry(TimelineKind::Gap, nowMs, known.record.job, QStringLiteral("service"));
        gap.sinceMs = lostMs;
        batch.add(known.record.job.id, gap);
    }
    write(batch, nowMs);
}

void JournalWriter::stillListed(qint64 nowMs)
{
    if (!m_open)
        return;
    Batch batch;
    for (Known& known : m_known) {
        if (!known.seen)
            continue;
        known.record.lastSeenMs = nowMs;
        // Marked when the stall began, as the row showed it, not when this stamp noticed it.
        if (known.record.job.status == RunningStatus && !known.stallMarked &&
            nowMs - known.movedMs >= JobActivity::StallMs) {
            known.stallMarked = true;
            batch.add(known.record.job.id,
                      entry(TimelineKind::Stalled, known.movedMs + JobActivity::StallMs, known.record.job));
        }
    }
    write(batch, nowMs);
    if (!m_db.touchListed(nowMs) && damaged(m_db.lastError()))
        reopen(nowMs);
}

void JournalWriter::write(const Batch& batch, qint64 nowMs, bool retry)
{
    if (batch.records.empty() && batch.entries.empty())
        return;
    bool ok = m_db.begin();
    for (size_t i = 0; ok && i < batch.records.size(); ++i)
        ok = m_db.saveRecord(batch.records[i]);
    for (size_t i = 0; ok && i < batch.entries.size(); ++i)
        ok = m_db.addEntry(batch.entries[i].first, batch.entries[i].second);
    ok = ok && m_db.commit();
    if (ok) {
        if (m_failing)
            qInfo().noquote() << QString::fromLatin1(Texts::LogRowsWrittenAgain).arg(m_lostRows);
        m_failing = false;
        return;
    }
    const QSqlError error = m_db.lastError();
    m_db.rollback();
    m_lostRows += static_cast<qint64>(batch.records.size() + batch.entries.size());
    if (!m_failing)
        qWarning().noquote() << QString::fromLatin1(Texts::LogRowsLost).arg(error.text());
    m_failing = true;
    if (retry && damaged(error) && reopen(nowMs))
        write(batch, nowMs, false);
}

bool JournalWriter::reopen(qint64 nowMs)
{
    m_db.close();
    m_open = m_db.openForWriting(m_path, nowMs);
    if (!m_open) {
        qWarning().noquote() << QString::fromLatin1(Texts::LogNoDatabase).arg(m_path, m_db.lastError().text());
        return false;
    }
    announceSetAside(nowMs);
    // The fresh file starts with the jobs still listed.
    for (Known& known : m_known)
        if (!m_db.saveRecord(known.record))
            return false;
    return true;
}

} // namespace CorvelJournal
