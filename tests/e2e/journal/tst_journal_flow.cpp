// A job driven through its life by the service simulator, watched by the jobs list as the console
// watches it and journaled across two sessions with the console closed in between: the journal
// read afterwards (directly and through corvel-journal) tells the story in order, marks the time
// nobody watched, and holds none of the secrets the job was created with.

#include "jobs/job_list_widget.h"
#include "journal/journal.h"
#include "journal/journal_database.h"
#include "journal/journal_report.h"
#include "service/service_client.h"
#include "testsupport/manual_clock.h"
#include "testsupport/service_sim.h"
#include "testsupport/test_paths.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace CorvelService;
using CorvelJournal::Journal;
using CorvelJournal::TimelineKind;
using Done = std::function<bool(const JobDescription*)>;

class TestJournalFlow : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    CorvelTest::ServiceSim m_sim;
    std::shared_ptr<CorvelServiceIf> m_client;
    std::shared_ptr<CorvelTest::ManualClock> m_clock = std::make_shared<CorvelTest::ManualClock>();
    const CorvelWidgets::IconFont m_iconFont{"velmora-iconfont", {}};

    // Polls like the table, feeding the list, until `done` holds for the job's listed state (null: gone).
    bool pollUntil(CvJobs::JobListWidget& list, const std::string& id, const Done& done)
    {
        for (int i = 0; i < 300; ++i) {
            std::vector<JobDescription> jobs;
            m_client->getAllJobsInfo(jobs);
            const auto job = std::find_if(jobs.begin(), jobs.end(), [&](const auto& j) { return j.id == id; });
            list.setJobs(jobs);
            m_clock->advance(1000);
            if (done(job == jobs.end() ? nullptr : &*job))
                return true;
            QTest::qWait(50);
        }
        return false;
    }

    // A file recovery the simulator accepts, of the cloud simulator's device 1001.
    JobConfiguration fileRecovery() const
    {
        JobConfiguration c;
        c.device_host = "http://127.0.0.1/restore/1001";
        c.device_token = "device-token-1001-11";
        std::vector<std::string> points;
        m_client->retrieveRestorePoints(points, c.device_host, c.device_token);
        c.recovery_point = points.empty() ? std::string() : points.back();
        c.mount_point = "E";
        return c;
    }

private slots:
    void jobStoryAcrossTwoSessions()
    {
        QString error = m_sim.startWithCerts(m_dir.path(), {"--tick-ms", "100"});
        QVERIFY2(error.isEmpty(), qPrintable(error));
        m_client = createServiceClient(m_dir.path().toStdString(), "localhost", m_sim.port());
        QVERIFY(m_client);
        const QString path = m_dir.filePath("journal.sqlite");
        JobDescription launched;
        launched.job_type = JobType::FileRecovery;
        launched.configuration = fileRecovery();
        launched.configuration.local_cache_login = "share-login-Kq81";
        launched.configuration.local_cache_password = "share-pass-Zx42";
        m_client->createJob(launched.id, JobType::FileRecovery, "journal flow", launched.configuration);
        const std::string& id = launched.id;
        const QString jobId = QString::fromStdString(id);
        const auto listed = [](JobStatus::type status, int progress = 0) {
            return [=](const JobDescription* j) {
                return j && j->status == status && j->current_work.progress >= progress;
            };
        };
        {
            Journal journal(path, m_clock);
            CvJobs::JobListWidget list(m_iconFont);
            connect(&list, &CvJobs::JobListWidget::jobsChanged, &journal, &Journal::observeService);
            journal.recordLaunch(CorvelJournal::JournalJob::fromService(launched), "alice");
            QVERIFY(pollUntil(list, id, listed(JobStatus::Created)));
            m_client->startJob(id);
            QVERIFY(pollUntil(list, id, listed(JobStatus::Running, 10)));
            m_client->stopJob(id);
            journal.recordAction(jobId, "Stop", "alice");
            QVERIFY(pollUntil(list, id, listed(JobStatus::Stopped)));
        }
        const qint64 closedAt = m_clock->epochMs();
        const qint64 closedMs = 2 * 3600 * 1000;
        m_clock->advance(closedMs);
        {
            Journal journal(path, m_clock);
            CvJobs::JobListWidget list(m_iconFont);
            connect(&list, &CvJobs::JobListWidget::jobsChanged, &journal, &Journal::observeService);
            QVERIFY(pollUntil(list, id, listed(JobStatus::Stopped)));
            m_client->deleteJob(id);
            journal.recordAction(jobId, "Delete", "bob");
            QVERIFY(pollUntil(list, id, [](const JobDescription* j) { return j == nullptr; }));
        }

        CorvelJournal::JournalDatabase db;
        QVERIFY2(db.openForReading(path, &error), qPrintable(error));
        const auto record = db.record(jobId);
        QVERIFY(record);
        QCOMPARE(record->startedBy, QStringLiteral("alice"));
        QVERIFY(record->goneMs > 0);
        const auto timeline = db.timeline(jobId);
        QStringList statuses;
        qint64 previous = 0, gapSince = 0, gapUntil = 0;
        for (const auto& entry : timeline) {
            QVERIFY(entry.atMs >= previous);
            previous = entry.atMs;
            if (entry.kind == TimelineKind::Status && !statuses.endsWith(CorvelJournal::statusName(entry.status)))
                statuses << CorvelJournal::statusName(entry.status);
            if (entry.kind == TimelineKind::Gap) {
                gapSince = entry.sinceMs;
                gapUntil = entry.atMs;
            }
        }
        QCOMPARE(statuses.filter(QRegularExpression("^(Created|Running|Stopped|Deleted)$")),
                 QStringList({"Created", "Running", "Stopped", "Deleted"}));
        QVERIFY(gapSince > 0 && gapSince <= closedAt && gapUntil - gapSince >= closedMs);

        const QString report = CorvelJournal::reportText(*record, timeline, "1.7.0.377", "host");
        QVERIFY(report.contains(QStringLiteral("not observed from")));
        QVERIFY(report.contains(QStringLiteral("Stop requested by alice")));

        QProcess cli;
        cli.start(CorvelTest::binDir() + "/corvel-journal", {"--db", path, "show", jobId});
        QVERIFY(cli.waitForFinished(10000) && cli.exitCode() == 0);
        const QByteArray shown = cli.readAllStandardOutput();
        QVERIFY(shown.contains("not observed from"));

        QByteArray everything = report.toUtf8() + CorvelJournal::csvText(db.records()).toUtf8() + shown;
        for (const QString& file : QDir(m_dir.path()).entryList({"journal.sqlite*"})) {
            QFile f(m_dir.filePath(file));
            QVERIFY(f.open(QIODevice::ReadOnly));
            everything += f.readAll();
        }
        for (const std::string& secret : {launched.configuration.device_token, launched.configuration.local_cache_login,
                                          launched.configuration.local_cache_password}) {
            QVERIFY2(!everything.contains(QByteArray::fromStdString(secret)), secret.c_str());
        }
    }
};

QTEST_MAIN(TestJournalFlow)
#include "tst_journal_flow.moc"
