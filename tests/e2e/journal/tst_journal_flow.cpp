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

namespace {

const std::string DeviceToken = "device-token-1001-11";
const std::string ShareLogin = "share-login-Kq81";
const std::string SharePassword = "share-pass-Zx42";
constexpr qint64 ClosedMs = 2 * 3600 * 1000;

} // namespace

class TestJournalFlow : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    CorvelTest::ServiceSim m_sim;
    std::shared_ptr<CorvelServiceIf> m_client;
    std::shared_ptr<CorvelTest::ManualClock> m_clock = std::make_shared<CorvelTest::ManualClock>();

    // Polls like the table until `done` holds for the job's listed state (or it is gone).
    bool pollUntil(CvJobs::JobListWidget& list, const std::string& id,
                   const std::function<bool(const JobDescription*)>& done)
    {
        for (int i = 0; i < 300; ++i) {
            std::vector<JobDescription> jobs;
            m_client->getAllJobsInfo(jobs);
            const JobDescription* job = nullptr;
            for (const auto& j : jobs)
                if (j.id == id)
                    job = &j;
            const bool finished = done(job);
            list.setJobs(jobs);
            m_clock->advance(1000);
            if (finished)
                return true;
            QTest::qWait(50);
        }
        return false;
    }

private slots:
    void jobStoryAcrossTwoSessions();
};

void TestJournalFlow::jobStoryAcrossTwoSessions()
{
    QVERIFY(m_dir.isValid());
    QString error = CorvelTest::ServiceSim::makeCerts(m_dir.path());
    QVERIFY2(error.isEmpty(), qPrintable(error));
    error = m_sim.start(m_dir.path(), {"--tick-ms", "100"});
    QVERIFY2(error.isEmpty(), qPrintable(error));
    m_client = createServiceClient(m_dir.path().toStdString(), "localhost", m_sim.port());
    QVERIFY(m_client);
    const QString path = m_dir.filePath("journal.sqlite");
    const CorvelWidgets::IconFont iconFont("velmora-iconfont", {});

    JobConfiguration configuration = CorvelTest::ServiceSim::validConfiguration(*m_client, JobType::FileRecovery);
    QCOMPARE(configuration.device_token, DeviceToken);
    configuration.local_cache_login = ShareLogin;
    configuration.local_cache_password = SharePassword;
    std::string id;
    {
        Journal journal(path, m_clock);
        CvJobs::JobListWidget list(iconFont);
        connect(&list, &CvJobs::JobListWidget::jobsChanged, &journal, &Journal::observeService);
        m_client->createJob(id, JobType::FileRecovery, "journal flow", configuration);
        JobDescription launched;
        launched.id = id;
        launched.job_type = JobType::FileRecovery;
        launched.configuration = configuration;
        journal.recordLaunch(CorvelJournal::JournalJob::fromService(launched), "alice");
        QVERIFY(pollUntil(list, id, [](const JobDescription* j) { return j && j->status == JobStatus::Created; }));
        m_client->startJob(id);
        QVERIFY(pollUntil(list, id, [](const JobDescription* j) {
            return j && j->status == JobStatus::Running && j->current_work.progress >= 10;
        }));
        m_client->stopJob(id);
        journal.recordAction(QString::fromStdString(id), "Stop", "alice");
        QVERIFY(pollUntil(list, id, [](const JobDescription* j) { return j && j->status == JobStatus::Stopped; }));
    }
    const qint64 closedAt = m_clock->epochMs();
    m_clock->advance(ClosedMs);
    {
        Journal journal(path, m_clock);
        CvJobs::JobListWidget list(iconFont);
        connect(&list, &CvJobs::JobListWidget::jobsChanged, &journal, &Journal::observeService);
        QVERIFY(pollUntil(list, id, [](const JobDescription* j) { return j != nullptr; }));
        m_client->deleteJob(id);
        journal.recordAction(QString::fromStdString(id), "Delete", "bob");
        QVERIFY(pollUntil(list, id, [](const JobDescription* j) { return j == nullptr; }));
    }

    CorvelJournal::JournalDatabase db;
    QVERIFY2(db.openForReading(path, &error), qPrintable(error));
    const auto record = db.record(QString::fromStdString(id));
    QVERIFY(record);
    QCOMPARE(record->startedBy, QStringLiteral("alice"));
    QVERIFY(record->goneMs > 0);
    const auto timeline = db.timeline(QString::fromStdString(id));
    QStringList statuses;
    qint64 previous = 0;
    qint64 gapSince = 0, gapUntil = 0;
    for (const auto& entry : timeline) {
        QVERIFY(entry.atMs >= previous);
        previous = entry.atMs;
        if (entry.kind == TimelineKind::Status)
            statuses << CorvelJournal::statusName(entry.status);
        if (entry.kind == TimelineKind::Gap) {
            gapSince = entry.sinceMs;
            gapUntil = entry.atMs;
        }
    }
    const QStringList expected{"Created", "Running", "Stopped", "Deleted"};
    int at = 0;
    for (const QString& status : statuses)
        at += at < expected.size() && status == expected[at];
    QVERIFY2(at == expected.size(), qPrintable(statuses.join(", ")));
    QVERIFY(gapSince > 0 && gapSince <= closedAt && gapUntil - gapSince >= ClosedMs);

    const QString report = CorvelJournal::reportText(*record, timeline, "1.7.0.377", "host");
    QVERIFY(report.contains(QStringLiteral("not observed from")));
    QVERIFY(report.contains(QStringLiteral("Stop requested by alice")));

    QProcess cli;
    cli.start(CorvelTest::binDir() + "/corvel-journal", {"--db", path, "show", QString::fromStdString(id)});
    QVERIFY(cli.waitForFinished(10000));
    QCOMPARE(cli.exitCode(), 0);
    const QString shown = QString::fromUtf8(cli.readAllStandardOutput());
    QVERIFY(shown.contains(QStringLiteral("not observed from")));

    QByteArray everything = report.toUtf8() + CorvelJournal::csvText(db.records()).toUtf8() + shown.toUtf8();
    for (const QString& file : QDir(m_dir.path()).entryList({"journal.sqlite*"})) {
        QFile f(m_dir.filePath(file));
        QVERIFY(f.open(QIODevice::ReadOnly));
        everything += f.readAll();
    }
    for (const std::string& secret : {DeviceToken, ShareLogin, SharePassword}) {
        QVERIFY2(!everything.contains(QByteArray::fromStdString(secret)), secret.c_str());
        // SQLite keeps text as UTF-8, but a UTF-16 copy must not be there either.
        const QString wide = QString::fromStdString(secret);
        QVERIFY(!everything.contains(QByteArray(reinterpret_cast<const char*>(wide.utf16()), wide.size() * 2)));
    }
}

QTEST_MAIN(TestJournalFlow)
#include "tst_journal_flow.moc"
