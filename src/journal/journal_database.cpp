#include "journal/journal_database.h"

#include <QAtomicInt>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

namespace CorvelJournal {

namespace {

QAtomicInt connectionCounter;

const char* const RecordColumns = "id, type, status, substatus, work, progress, description, client, device, "
                                  "recovery_point, local_cache_path, vm_name, mount_point, storage_location, "
                                  "started_by, first_seen, last_seen, gone, from_start";

// Each step takes the schema from the version before it to its own number.
const char* const Migrations[][4] = {
    {"CREATE TABLE jobs(id TEXT PRIMARY KEY, type INTEGER, status INTEGER, substatus TEXT, work TEXT, "
     "progress INTEGER, description TEXT, client TEXT, device TEXT, recovery_point TEXT, local_cache_path TEXT, "
     "vm_name TEXT, mount_point TEXT, storage_location TEXT, started_by TEXT, first_seen INTEGER, "
     "last_seen INTEGER, gone INTEGER, from_start INTEGER)",
     "CREATE TABLE timeline(id INTEGER PRIMARY KEY, job_id TEXT NOT NULL, at INTEGER, kind INTEGER, "
     "status INTEGER, progress INTEGER, text TEXT, since INTEGER, user TEXT)",
     nullptr, nullptr},
    {"CREATE INDEX timeline_job ON timeline(job_id, id)", "CREATE INDEX jobs_first_seen ON jobs(first_seen)",
     "CREATE TABLE notes(id INTEGER PRIMARY KEY, at INTEGER, text TEXT)", nullptr},
};
static_assert(sizeof(Migrations) / sizeof(Migrations[0]) == JournalDatabase::SchemaVersion,
              "one migration per schema version");

QString setAsideName(const QString& path, qint64 nowMs)
{
    const QFileInfo info(path);
    const QString stamp = QDateTime::fromMSecsSinceEpoch(nowMs).toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString name = info.path() + '/' + info.completeBaseName() + "-set-aside-" + stamp + '.' + info.suffix();
    for (int n = 2; QFile::exists(name); ++n)
        name = info.path() + '/' + info.completeBaseName() + "-set-aside-" + stamp + '-' + QString::number(n) + '.' +
               info.suffix();
    return name;
}

} // namespace

JournalDatabase::JournalDatabase()
    : m_connection(QStringLiteral("corvel-journal-%1").arg(connectionCounter.fetchAndAddOrdered(1)))
{
}

JournalDatabase::~JournalDatabase()
{
    close();
}

void JournalDatabase::close()
{
    m_saveRecord.reset();
    m_addEntry.reset();
    if (QSqlDatabase::contains(m_connection)) {
        {
            QSqlDatabase db = QSqlDatabase::database(m_connection, false);
            db.close();
        }
        QSqlDatabase::removeDatabase(m_connection);
    }
}

JournalDatabase::Open JournalDatabase::tryOpen(const QString& path, QString* why)
{
    close();
    m_path = path;
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection);
    db.setDatabaseName(path);
    db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(OpenBusyMs));
    if (!db.open()) {
        *why = db.lastError().text();
        return Open::Failed;
    }
    QSqlQuery query(db);
    // The first statements read the file: a damaged one or another process's lock shows here.
    if (!query.exec(QStringLiteral("PRAGMA journal_mode=WAL")) || !query.next()) {
        *why = query.lastError().text();
        return Open::Unusable;
    }
    if (query.value(0).toString().compare(QLatin1String("wal"), Qt::CaseInsensitive) != 0) {
        *why = QStringLiteral("journal mode stays %1").arg(query.value(0).toString());
        return Open::Unusable;
    }
    if (!query.exec(QStringLiteral("PRAGMA quick_check")) || !query.next()) {
        *why = query.lastError().text();
        return Open::Unusable;
    }
    if (query.value(0).toString() != QLatin1String("ok")) {
        *why = query.value(0).toString();
        return Open::Unusable;
    }
    if (!migrate(why))
        return Open::Unusable;
    // Readers pass a writer's lock in this mode; only a write shows another process holding it.
    if (!query.exec(QStringLiteral("BEGIN IMMEDIATE")) || !query.exec(QStringLiteral("COMMIT"))) {
        *why = query.lastError().text();
        query.exec(QStringLiteral("ROLLBACK"));
        return Open::Unusable;
    }
    query.exec(QStringLiteral("PRAGMA synchronous=NORMAL"));
    m_saveRecord = std::make_unique<QSqlQuery>(db);
    m_addEntry = std::make_unique<QSqlQuery>(db);
    if (!m_saveRecord->prepare(
            QStringLiteral("INSERT OR REPLACE INTO jobs(%1) VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)")
                .arg(QLatin1String(RecordColumns))) ||
        !m_addEntry->prepare(
            QStringLiteral("INSERT INTO timeline(job_id, at, kind, status, progress, text, since, user) "
                           "VALUES(?,?,?,?,?,?,?,?)"))) {
        *why = m_saveRecord->lastError().text() + m_addEntry->lastError().text();
        return Open::Unusable;
    }
    return Open::Ok;
}

bool JournalDatabase::migrate(QString* why)
{
    QSqlDatabase db = QSqlDatabase::database(m_connection, false);
    QSqlQuery query(db);
    if (!query.exec(QStringLiteral("PRAGMA user_version")) || !query.next()) {
        *why = query.lastError().text();
        return false;
    }
    const int version = query.value(0).toInt();
    if (version > SchemaVersion) {
        *why = QStringLiteral("schema version %1 is newer than this console's %2").arg(version).arg(SchemaVersion);
        return false;
    }
    for (int step = version; step < SchemaVersion; ++step) {
        db.transaction();
        for (const char* statement : Migrations[step]) {
            if (statement && !query.exec(QLatin1String(statement))) {
                *why = query.lastError().text();
                db.rollback();
                return false;
            }
        }
        if (!query.exec(QStringLiteral("PRAGMA user_version=%1").arg(step + 1)) || !db.commit()) {
            *why = query.lastError().text();
            db.rollback();
            return false;
        }
    }
    return true;
}

bool JournalDatabase::openForWriting(const QString& path, qint64 nowMs)
{
    m_setAsideReason.clear();
    m_setAsidePath.clear();
    QString why;
    const Open first = tryOpen(path, &why);
    if (first == Open::Ok)
        return true;
    close();
    if (!QFile::exists(path)) {
        m_lastError = QSqlError(why, QString(), QSqlError::ConnectionError);
        return false;
    }
    m_setAsideReason = why;
    m_setAsidePath = setAsideName(path, nowMs);
    // The write-ahead log belongs to the file set aside; the shared-memory index is rebuilt.
    const bool moved = QFile::rename(path, m_setAsidePath);
    if (moved && QFile::exists(path + "-wal"))
        QFile::rename(path + "-wal", m_setAsidePath + "-wal");
    QFile::remove(path + "-shm");
    // A file another process keeps open may refuse to move (Windows): this session writes beside it.
    const QString fresh = moved ? path : m_setAsidePath;
    if (!moved)
        m_setAsidePath = path;
    if (tryOpen(fresh, &why) == Open::Ok)
        return true;
    close();
    m_lastError = QSqlError(why, QString(), QSqlError::ConnectionError);
    return false;
}

bool JournalDatabase::openForReading(const QString& path, QString* error)
{
    close();
    m_path = path;
    if (!QFileInfo(path).isFile()) {
        *error = QStringLiteral("no journal at %1").arg(path);
        return false;
    }
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection);
    db.setDatabaseName(path);
    db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=%1").arg(OpenBusyMs));
    if (!db.open()) {
        *error = db.lastError().text();
        return false;
    }
    QSqlQuery query(db);
    if (!query.exec(QStringLiteral("PRAGMA user_version")) || !query.next()) {
        *error = query.lastError().text();
        return false;
    }
    const int version = query.value(0).toInt();
    if (version < 1 || version > SchemaVersion) {
        *error = QStringLiteral("%1 is not a journal this console reads (schema version %2)").arg(path).arg(version);
        return false;
    }
    return true;
}

bool JournalDatabase::exec(QSqlQuery& query)
{
    if (query.exec())
        return true;
    m_lastError = query.lastError();
    return false;
}

bool JournalDatabase::run(const QString& statement)
{
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    if (query.exec(statement))
        return true;
    m_lastError = query.lastError();
    return false;
}

JournalRecord JournalDatabase::readRecord(const QSqlQuery& q)
{
    JournalRecord r;
    JournalJob& j = r.job;
    j.id = q.value(0).toString();
    j.type = q.value(1).toInt();
    j.status = q.value(2).toInt();
    j.substatus = q.value(3).toString();
    j.work = q.value(4).toString();
    j.progress = q.value(5).toInt();
    j.description = q.value(6).toString();
    j.client = q.value(7).toString();
    j.device = q.value(8).toString();
    j.recoveryPoint = q.value(9).toString();
    j.localCachePath = q.value(10).toString();
    j.vmName = q.value(11).toString();
    j.mountPoint = q.value(12).toString();
    j.storageLocation = q.value(13).toString();
    r.startedBy = q.value(14).toString();
    r.firstSeenMs = q.value(15).toLongLong();
    r.lastSeenMs = q.value(16).toLongLong();
    r.goneMs = q.value(17).toLongLong();
    r.seenFromStart = q.value(18).toBool();
    return r;
}

std::vector<JournalRecord> JournalDatabase::records(qint64 sinceMs) const
{
    std::vector<JournalRecord> out;
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.setForwardOnly(true);
    query.prepare(
        QStringLiteral("SELECT %1 FROM jobs WHERE first_seen >= ? OR COALESCE(NULLIF(gone, 0), last_seen) >= ? "
                       "ORDER BY first_seen DESC, rowid DESC")
            .arg(QLatin1String(RecordColumns)));
    query.addBindValue(sinceMs);
    query.addBindValue(sinceMs);
    if (!query.exec()) {
        m_lastError = query.lastError();
        return out;
    }
    while (query.next())
        out.push_back(readRecord(query));
    return out;
}

std::vector<JournalRecord> JournalDatabase::listedRecords() const
{
    std::vector<JournalRecord> out;
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.setForwardOnly(true);
    if (!query.exec(
            QStringLiteral("SELECT %1 FROM jobs WHERE gone IS NULL OR gone = 0").arg(QLatin1String(RecordColumns)))) {
        m_lastError = query.lastError();
        return out;
    }
    while (query.next())
        out.push_back(readRecord(query));
    return out;
}

std::optional<JournalRecord> JournalDatabase::record(const QString& id) const
{
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(QStringLiteral("SELECT %1 FROM jobs WHERE id = ?").arg(QLatin1String(RecordColumns)));
    query.addBindValue(id);
    if (!query.exec() || !query.next()) {
        m_lastError = query.lastError();
        return std::nullopt;
    }
    return readRecord(query);
}

std::vector<TimelineEntry> JournalDatabase::timeline(const QString& id) const
{
    std::vector<TimelineEntry> out;
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.setForwardOnly(true);
    query.prepare(QStringLiteral(
        "SELECT at, kind, status, progress, text, since, user FROM timeline WHERE job_id = ? ORDER BY id"));
    query.addBindValue(id);
    if (!query.exec()) {
        m_lastError = query.lastError();
        return out;
    }
    while (query.next()) {
        TimelineEntry e;
        e.atMs = query.value(0).toLongLong();
        e.kind = static_cast<TimelineKind>(query.value(1).toInt());
        e.status = query.value(2).toInt();
        e.progress = query.value(3).toInt();
        e.text = query.value(4).toString();
        e.sinceMs = query.value(5).toLongLong();
        e.user = query.value(6).toString();
        out.push_back(e);
    }
    return out;
}

std::vector<JournalNote> JournalDatabase::notes() const
{
    std::vector<JournalNote> out;
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    if (!query.exec(QStringLiteral("SELECT at, text FROM notes ORDER BY id"))) {
        m_lastError = query.lastError();
        return out;
    }
    while (query.next())
        out.push_back({query.value(0).toLongLong(), query.value(1).toString()});
    return out;
}

bool JournalDatabase::begin()
{
    QSqlDatabase db = QSqlDatabase::database(m_connection, false);
    if (db.transaction())
        return true;
    m_lastError = db.lastError();
    return false;
}

bool JournalDatabase::commit()
{
    QSqlDatabase db = QSqlDatabase::database(m_connection, false);
    if (db.commit())
        return true;
    m_lastError = db.lastError();
    db.rollback();
    return false;
}

void JournalDatabase::rollback()
{
    QSqlDatabase::database(m_connection, false).rollback();
}

bool JournalDatabase::saveRecord(const JournalRecord& r)
{
    if (!m_saveRecord)
        return false;
    const JournalJob& j = r.job;
    QSqlQuery& q = *m_saveRecord;
    const QVariant values[] = {j.id,
                               j.type,
                               j.status,
                               j.substatus,
                               j.work,
                               j.progress,
                               j.description,
                               j.client,
                               j.device,
                               j.recoveryPoint,
                               j.localCachePath,
                               j.vmName,
                               j.mountPoint,
                               j.storageLocation,
                               r.startedBy,
                               r.firstSeenMs,
                               r.lastSeenMs,
                               r.goneMs ? QVariant(r.goneMs) : QVariant(),
                               r.seenFromStart ? 1 : 0};
    for (int i = 0; i < static_cast<int>(std::size(values)); ++i)
        q.bindValue(i, values[i]);
    return exec(q);
}

bool JournalDatabase::addEntry(const QString& jobId, const TimelineEntry& e)
{
    if (!m_addEntry)
        return false;
    QSqlQuery& q = *m_addEntry;
    q.bindValue(0, jobId);
    q.bindValue(1, e.atMs);
    q.bindValue(2, static_cast<int>(e.kind));
    q.bindValue(3, e.status);
    q.bindValue(4, e.progress);
    q.bindValue(5, e.text);
    q.bindValue(6, e.sinceMs ? QVariant(e.sinceMs) : QVariant());
    q.bindValue(7, e.user.isEmpty() ? QVariant() : QVariant(e.user));
    return exec(q);
}

bool JournalDatabase::addNote(const JournalNote& note)
{
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(QStringLiteral("INSERT INTO notes(at, text) VALUES(?, ?)"));
    query.addBindValue(note.atMs);
    query.addBindValue(note.text);
    return exec(query);
}

bool JournalDatabase::touchListed(qint64 nowMs)
{
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(QStringLiteral("UPDATE jobs SET last_seen = ? WHERE gone IS NULL OR gone = 0"));
    query.addBindValue(nowMs);
    return exec(query);
}

int JournalDatabase::prune(qint64 nowMs)
{
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(QStringLiteral("DELETE FROM jobs WHERE COALESCE(NULLIF(gone, 0), last_seen) < ? OR id IN "
                                 "(SELECT id FROM jobs ORDER BY first_seen DESC, rowid DESC LIMIT -1 OFFSET ?)"));
    query.addBindValue(nowMs - KeptMs);
    query.addBindValue(KeptJobs);
    if (!begin())
        return -1;
    if (!exec(query)) {
        rollback();
        return -1;
    }
    const int dropped = query.numRowsAffected();
    if (dropped > 0 && !run(QStringLiteral("DELETE FROM timeline WHERE job_id NOT IN (SELECT id FROM jobs)"))) {
        rollback();
        return -1;
    }
    return commit() ? dropped : -1;
}

} // namespace CorvelJournal
