// The journal without a screen: estimates of a running activity, its stall marks, files it cannot
// use (damaged, locked by another process), and the history's texts.

#include "journal/job_activity.h"
#include "journal/journal.h"
#include "journal/journal_database.h"
#include "journal/journal_report.h"
#include "testsupport/log_capture.h"
#include "testsupport/manual_clock.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using CorvelJournal::JobActivity;
using CorvelJournal::Journal;
using CorvelJournal::JournalDatabase;
using CorvelJournal::JournalJob;

namespace {

constexpr int Running = 4;

JournalJob runningJob(const QString& id, int progress)
{
    JournalJob job;
    job.id = id;
    job.type = 1;
    job.status = Running;
    job.work = QStringLiteral("Copying disk 1");
    job.progress = progress;
    return job;
}

} // namespace

class TestJournal : public QObject {
    Q_OBJECT
private slots:
    void estimate_data()
    {
        QTest::addColumn<int>("stepMs");  // one percent per step
        QTest::addColumn<int>("startAt"); // progress when first seen
        QTest::addColumn<int>("steps");
        QTest::addColumn<qint64>("expectedMs"); // -1: no estimate

        QTest::newRow("steady, half way") << 6000 << 0 << 50 << qint64(50 * 6000);
        QTest::newRow("steady, seen from 20 %") << 3000 << 20 << 40 << qint64(40 * 3000);
        QTest::newRow("below 5 %") << 20000 << 0 << 4 << qint64(-1);
        QTest::newRow("under 30 s of samples") << 1000 << 10 << 20 << qint64(-1);
    }

    void estimate()
    {
        QFETCH(int, stepMs);
        QFETCH(int, startAt);
        QFETCH(int, steps);
        QFETCH(qint64, expectedMs);
        JobActivity activity;
        for (int i = 0; i <= steps; ++i)
            activity.update(true, QStringLiteral("Copying"), startAt + i, 1000 + i * stepMs);
        const qint64 left = activity.remainingMs(1000 + steps * stepMs);
        QVERIFY2(expectedMs < 0 ? left == -1 : qAbs(left - expectedMs) <= expectedMs / 5,
                 qPrintable(QString::number(left)));
    }

    // A job that stands still gets one timeline mark per stall, dated when the stall began.
    void stallWrittenOnce()
    {
        QTemporaryDir dir;
        auto clock = std::make_shared<CorvelTest::ManualClock>();
        const QString path = dir.filePath(QStringLiteral("journal.sqlite"));
        const qint64 start = clock->epochMs();
        const auto stamp = [&](Journal& journal, int times) {
            for (int i = 0; i < times; ++i) {
                clock->advance(Journal::StillListedIntervalMs);
                journal.setServiceAvailable(true);
            }
        };
        {
            Journal journal(path, clock);
            journal.observe({runningJob(QStringLiteral("job-1"), 1)});
            clock->advance(60000);
            journal.observe({runningJob(QStringLiteral("job-1"), 2)});
            stamp(journal, 50);
            journal.observe({runningJob(QStringLiteral("job-1"), 3)});
            stamp(journal, 25);
        }
        JournalDatabase db;
        QString error;
        QVERIFY2(db.openForReading(path, &error), qPrintable(error));
        QList<qint64> marks;
        for (const auto& entry : db.timeline(QStringLiteral("job-1")))
            if (entry.kind == CorvelJournal::TimelineKind::Stalled)
                marks << entry.atMs - start;
        const qint64 moved = 60000 + 50 * Journal::StillListedIntervalMs;
        QCOMPARE(marks, (QList<qint64>{60000 + JobActivity::StallMs, moved + JobActivity::StallMs}));
    }

    void unusableFile_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::newRow("not a database") << "noise";
        QTest::newRow("locked by another process") << "BEGIN EXCLUSIVE";
        QTest::newRow("from a newer console")
            << QString("PRAGMA user_version=%1").arg(JournalDatabase::SchemaVersion + 1);
    }

    void unusableFile()
    {
        QFETCH(QString, damage);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("journal.sqlite"));
        auto clock = std::make_shared<CorvelTest::ManualClock>();
        {
            Journal journal(path, clock);
            for (int i = 0; i < 300; ++i)
                journal.observe({runningJob(QStringLiteral("old-%1").arg(i), 1)});
        }
        QFile file(path);
        QProcess holder; // runs the statement on its own connection and keeps it open for a minute
        if (damage == "noise") {
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(QByteArray(64 * 1024, 'x')) > 0 && file.flush());
        } else {
            holder.start(QStringLiteral("python3"),
                         {QStringLiteral("-c"),
                          QStringLiteral("import sqlite3,sys,time\n"
                                         "c=sqlite3.connect(sys.argv[1],isolation_level=None)\n"
                                         "c.execute(sys.argv[2])\nprint('done',flush=True)\ntime.sleep(60)"),
                          path, damage});
            QVERIFY(holder.waitForReadyRead(10000));
        }

        CorvelTest::LogCapture log;
        clock->advance(3600000);
        {
            Journal journal(path, clock);
            journal.observe({runningJob(QStringLiteral("new-job"), 40)});
            journal.flush();
        }
        holder.kill();
        holder.waitForFinished();

        QCOMPARE(log.texts().filter(QStringLiteral("set aside as")).size(), 1);
        JournalDatabase db;
        QString error;
        QVERIFY2(db.openForReading(path, &error), qPrintable(error));
        QCOMPARE(db.records().size(), size_t(1));
        QCOMPARE(db.records().front().job.id, QStringLiteral("new-job"));
        QCOMPARE(QDir(dir.path()).entryList({QStringLiteral("journal-set-aside-*.sqlite")}).size(), 1);
    }

    // The history's duration column at each unit's edges, and its export to a spreadsheet.
    void durations()
    {
        const QList<QPair<qint64, QString>> rows{{-5, "0 s"},
                                                 {59999, "59 s"},
                                                 {60000, "1 min"},
                                                 {3599999, "59 min"},
                                                 {3600000, "1 h 00 min"},
                                                 {48 * 3600000LL - 1, "47 h 59 min"},
                                                 {49 * 3600000LL, "2 d 1 h"}};
        for (const auto& [ms, text] : rows)
            QCOMPARE(CorvelJournal::durationText(ms), text);

        // Cells a spreadsheet would run as formulas go out as text.
        std::vector<CorvelJournal::JournalRecord> records(1);
        records[0].job.client = "@SUM(A1)";
        records[0].job.device = "=1+1";
        records[0].job.recoveryPoint = "+x";
        records[0].startedBy = "-y";
        records[0].job.description = "say \"hi\"";
        const QString line = CorvelJournal::csvText(records).section('\n', 1, 1);
        QVERIFY2(line.contains("\"'@SUM(A1)\",\"'=1+1\",\"'+x\",") && line.endsWith(",\"'-y\",\"say \"\"hi\"\"\""),
                 qPrintable(line));
    }
};

QTEST_GUILESS_MAIN(TestJournal)
#include "tst_journal.moc"
