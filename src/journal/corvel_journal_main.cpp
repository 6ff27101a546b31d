// corvel-journal: the console's job journal for scripts and monitoring, read-only.
#include "build_config.h"
#include "core/settings.h"
#include "journal/journal_database.h"
#include "journal/journal_report.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QStringList>
#include <QSysInfo>
#include <QTextStream>

#include <cstdio>

namespace {

const char* const Usage = "Usage: corvel-journal [--db PATH] list [--json] [--since DATE]\n"
                          "       corvel-journal [--db PATH] show JOB_ID\n"
                          "\n"
                          "Reads the console's job journal (read-only; the console may be running).\n"
                          "  --db PATH      the journal file (default: journal.sqlite in the working folder)\n"
                          "  --json         the jobs as a JSON array\n"
                          "  --since DATE   jobs active on or after DATE (YYYY-MM-DD or YYYY-MM-DDTHH:MM)\n";

int fail(const QString& message)
{
    std::fprintf(stderr, "corvel-journal: %s\n", qPrintable(message));
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    QString dbPath;
    QString command;
    QString jobId;
    QString since;
    bool json = false;
    for (int i = 0; i < args.size(); ++i) {
        const QString& arg = args[i];
        if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
            std::fputs(Usage, stdout);
            return 0;
        } else if (arg == QLatin1String("--db") && i + 1 < args.size()) {
            dbPath = args[++i];
        } else if (arg == QLatin1String("--since") && i + 1 < args.size()) {
            since = args[++i];
        } else if (arg == QLatin1String("--json")) {
            json = true;
        } else if (arg.startsWith('-')) {
            std::fputs(Usage, stderr);
            return fail(QStringLiteral("unknown option %1").arg(arg));
        } else if (command.isEmpty()) {
            command = arg;
        } else if (command == QLatin1String("show") && jobId.isEmpty()) {
            jobId = arg;
        } else {
            std::fputs(Usage, stderr);
            return fail(QStringLiteral("unexpected argument %1").arg(arg));
        }
    }
    if (command != QLatin1String("list") && !(command == QLatin1String("show") && !jobId.isEmpty())) {
        std::fputs(Usage, stderr);
        return 2;
    }
    qint64 sinceMs = 0;
    if (!since.isEmpty()) {
        QDateTime from = QDateTime::fromString(since, Qt::ISODate);
        if (!from.isValid())
            from = QDateTime(QDate::fromString(since, Qt::ISODate), QTime(0, 0));
        if (!from.isValid())
            return fail(QStringLiteral("--since takes a date such as 2025-03-01, not %1").arg(since));
        sinceMs = from.toMSecsSinceEpoch();
    }
    if (dbPath.isEmpty())
        dbPath = Corvel::workingDir() + QStringLiteral("/journal.sqlite");

    CorvelJournal::JournalDatabase db;
    QString error;
    if (!db.openForReading(dbPath, &error))
        return fail(error);
    QTextStream out(stdout);
    out.setCodec("UTF-8");
    if (command == QLatin1String("show")) {
        const auto record = db.record(jobId);
        if (!record)
            return fail(QStringLiteral("no job %1 in %2").arg(jobId, dbPath));
        out << CorvelJournal::reportText(*record, db.timeline(jobId), QStringLiteral(CORVEL_VERSION),
                                         QSysInfo::machineHostName());
        return 0;
    }
    const auto records = db.records(sinceMs);
    if (json) {
        out << CorvelJournal::jsonText(records);
        return 0;
    }
    for (const auto& r : records) {
        out << QDateTime::fromMSecsSinceEpoch(r.firstSeenMs).toString(QStringLiteral("yyyy-MM-dd HH:mm")) << "  "
            << CorvelJournal::durationText(r.endMs() - r.firstSeenMs).leftJustified(10) << "  "
            << CorvelJournal::finalStatusText(r).leftJustified(20) << "  "
            << CorvelJournal::typeName(r.job.type).leftJustified(14) << "  " << r.job.id << "  " << r.job.client
            << " / " << r.job.device << '\n';
    }
    return 0;
}
