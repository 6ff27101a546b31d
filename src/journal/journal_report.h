#pragma once

#include "journal/journal_records.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace CorvelJournal {

// Local time of `ms`: the whole date and time, or HH:mm only when `sameDayAs` falls on that day.
QString timeText(qint64 ms, qint64 sameDayAs);
QString durationText(qint64 ms);
QString finalStatusText(const JournalRecord& record);
// One timeline row in words, without its time.
QString entryText(const TimelineEntry& entry);

// Plain text for a ticket: the job, its timeline, the console's version and host.
QString reportText(const JournalRecord& record, const std::vector<TimelineEntry>& timeline, const QString& version,
                   const QString& host);
QString csvText(const std::vector<JournalRecord>& records);
QByteArray jsonText(const std::vector<JournalRecord>& records);

} // namespace CorvelJournal
