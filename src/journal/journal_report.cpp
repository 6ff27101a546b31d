#include "journal/journal_report.h"

#include "journal/journal_texts.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace CorvelJournal {

namespace {

QString at(qint64 ms)
{
    return QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QString csvField(QString value)
{
    // A spreadsheet would run a cell starting like a formula.
    if (!value.isEmpty() && QStringLiteral("=+-@").contains(value.front()))
        value.prepend('\'');
    value.replace('"', QLatin1String("\"\""));
    return '"' + value + '"';
}

} // namespace

QString timeText(qint64 ms, qint64 sameDayAs)
{
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(ms);
    if (sameDayAs > 0 && QDateTime::fromMSecsSinceEpoch(sameDayAs).date() == time.date())
        return time.toString(QStringLiteral("HH:mm"));
    return time.toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

QString durationText(qint64 ms)
{
    const qint64 minutes = ms / 60000;
    if (ms < 60000)
        return QStringLiteral("%1 s").arg(qMax<qint64>(0, ms / 1000));
    if (minutes < 60)
        return QStringLiteral("%1 min").arg(minutes);
    if (minutes < 48 * 60)
        return QStringLiteral("%1 h %2 min").arg(minutes / 60).arg(minutes % 60, 2, 10, QLatin1Char('0'));
    return QStringLiteral("%1 d %2 h").arg(minutes / (24 * 60)).arg(minutes / 60 % 24);
}

QString finalStatusText(const JournalRecord& record)
{
    return record.goneMs ? statusName(record.job.status) + QStringLiteral(" (gone)") : statusName(record.job.status);
}

QString entryText(const TimelineEntry& e)
{
    switch (e.kind) {
    case TimelineKind::FirstSeen:
        return e.progress > 0 ? QString::fromLatin1(Texts::FirstSeenAt).arg(statusName(e.status)).arg(e.progress)
                              : QString::fromLatin1(Texts::FirstSeen).arg(statusName(e.status));
    case TimelineKind::Status:
        return statusName(e.status);
    case TimelineKind::Substatus:
        return QString::fromLatin1(Texts::Substatus).arg(e.text);
    case TimelineKind::Work:
        return QString::fromLatin1(Texts::Work).arg(e.text);
    case TimelineKind::Progress:
        return QString::fromLatin1(Texts::Progress).arg(e.progress);
    case TimelineKind::Action:
        return QString::fromLatin1(Texts::Action).arg(e.text, e.user);
    case TimelineKind::Launch:
        return QString::fromLatin1(Texts::Launch).arg(e.user);
    case TimelineKind::Gap:
        return QString::fromLatin1(e.text.isEmpty() ? Texts::NotObserved : Texts::NotAnswering)
            .arg(timeText(e.sinceMs, e.atMs), timeText(e.atMs, e.sinceMs));
    case TimelineKind::Gone:
        return QString::fromLatin1(Texts::Gone);
    case TimelineKind::Stalled:
        return QString::fromLatin1(Texts::Stalled);
    }
    return e.text;
}

QString reportText(const JournalRecord& r, const std::vector<TimelineEntry>& timeline, const QString& version,
                   const QString& host)
{
    const JournalJob& j = r.job;
    QString out;
    auto line = [&out](const char* label, const QString& value) {
        if (!value.isEmpty())
            out += QLatin1String(label) + QStringLiteral(": ") + value + '\n';
    };
    line("Job", j.id);
    line("Type", typeName(j.type));
    line("Description", j.description);
    line("Client", j.client);
    line("Device", j.device);
    line("Recovery point", j.recoveryPoint);
    line("Local cache", j.localCachePath);
    line("VM name", j.vmName);
    line("Mount point", j.mountPoint);
    line("Storage location", j.storageLocation);
    line("Started by", r.startedBy);
    line(r.seenFromStart ? "Started" : "First seen", at(r.firstSeenMs));
    line(r.goneMs ? "Ended" : "Last seen", at(r.endMs()));
    line("Duration", durationText(r.endMs() - r.firstSeenMs));
    line("Final status", finalStatusText(r));
    out += QStringLiteral("\nTimeline:\n");
    for (const TimelineEntry& e : timeline)
        out += at(e.atMs) + QStringLiteral("  ") + entryText(e) + '\n';
    out += QStringLiteral("\nCorvel %1 on %2\n").arg(version, host);
    return out;
}

QString csvText(const std::vector<JournalRecord>& records)
{
    QString out = QStringLiteral("Job,Type,Client,Device,Recovery point,Started,Ended or last seen,Duration,"
                                 "Final status,Started by,Description\n");
    for (const JournalRecord& r : records) {
        const QStringList fields = {r.job.id,
                                    typeName(r.job.type),
                                    r.job.client,
                                    r.job.device,
                                    r.job.recoveryPoint,
                                    at(r.firstSeenMs),
                                    at(r.endMs()),
                                    durationText(r.endMs() - r.firstSeenMs),
                                    finalStatusText(r),
                                    r.startedBy,
                                    r.job.description};
        QStringList quoted;
        for (const QString& field : fields)
            quoted << csvField(field);
        out += quoted.join(',') + '\n';
    }
    return out;
}

QByteArray jsonText(const std::vector<JournalRecord>& records)
{
    QJsonArray jobs;
    for (const JournalRecord& r : records) {
        const JournalJob& j = r.job;
        QJsonObject o{{"id", j.id},
                      {"type", typeName(j.type)},
                      {"status", statusName(j.status)},
                      {"substatus", j.substatus},
                      {"current_work", j.work},
                      {"progress", j.progress},
                      {"description", j.description},
                      {"client", j.client},
                      {"device", j.device},
                      {"recovery_point", j.recoveryPoint},
                      {"local_cache_path", j.localCachePath},
                      {"vm_name", j.vmName},
                      {"mount_point", j.mountPoint},
                      {"storage_location", j.storageLocation},
                      {"started_by", r.startedBy},
                      {"first_seen", QDateTime::fromMSecsSinceEpoch(r.firstSeenMs, Qt::UTC).toString(Qt::ISODate)},
                      {"last_seen", QDateTime::fromMSecsSinceEpoch(r.lastSeenMs, Qt::UTC).toString(Qt::ISODate)},
                      {"gone", r.goneMs
                                   ? QJsonValue(QDateTime::fromMSecsSinceEpoch(r.goneMs, Qt::UTC).toString(Qt::ISODate))
                                   : QJsonValue()},
                      {"seen_from_start", r.seenFromStart}};
        jobs.append(o);
    }
    return QJsonDocument(jobs).toJson(QJsonDocument::Indented);
}

} // namespace CorvelJournal
