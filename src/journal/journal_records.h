#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <vector>

namespace CorvelService {
class JobDescription;
}

namespace CorvelJournal {

// What the journal keeps of a job as the service lists it. Secrets the service is sent with a
// job (device token, local cache login and password) have no place here, so they cannot be written.
struct JournalJob {
    QString id;
    int type = -1;
    int status = -1;
    QString substatus;
    QString work;
    int progress = -1;
    QString description;
    QString client;
    QString device;
    QString recoveryPoint;
    QString localCachePath;
    QString vmName;
    QString mountPoint;
    QString storageLocation;

    static JournalJob fromService(const CorvelService::JobDescription& job);
    bool operator==(const JournalJob& other) const;
    bool operator!=(const JournalJob& other) const { return !(*this == other); }
};

// A job as the journal has it: the last state seen and when.
struct JournalRecord {
    JournalJob job;
    QString startedBy;
    qint64 firstSeenMs = 0;
    qint64 lastSeenMs = 0;
    // When the service stopped listing it; 0 while it is listed.
    qint64 goneMs = 0;
    // Seen from its first state on, or started here; false when first seen already under way.
    bool seenFromStart = false;

    qint64 endMs() const { return goneMs ? goneMs : lastSeenMs; }
};

enum class TimelineKind {
    FirstSeen = 0,
    Status = 1,
    Substatus = 2,
    Work = 3,
    Progress = 4,
    Action = 5,
    Launch = 6,
    Gap = 7,
    Gone = 8,
    Stalled = 9,
};

struct TimelineEntry {
    qint64 atMs = 0;
    TimelineKind kind = TimelineKind::Status;
    int status = -1;
    int progress = -1;
    QString text;
    // Gap: where the time the console did not see began.
    qint64 sinceMs = 0;
    // Action and launch: the signed-in operator.
    QString user;
};

// A line the journal itself left for the operator, such as a database set aside.
struct JournalNote {
    qint64 atMs = 0;
    QString text;
};

QString statusName(int status);
QString typeName(int type);
// Type names the history window offers as filters, in the service's order.
QStringList typeNames();
QStringList statusNames();

} // namespace CorvelJournal
