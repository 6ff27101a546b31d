// Prints figures for the job journal:
//   bench_journal [--polls N]
// 1. A list of 1,000 jobs of which 10 change per poll: the time the journal adds to the poll on
//    the GUI thread (the list's comparison that feeds it, the hand-over to its thread).
// 2. The longest pause of the GUI thread's event loop while the journal's thread writes.
// 3. The Job History window over 2,000 jobs and 100,000 timeline rows: opening it, and each
//    keystroke in its filter.
#include "jobs/job_list_widget.h"
#include "journal/journal.h"
#include "journal/journal_database.h"
#include "testsupport/console_look.h"
#include "ui/job_history_window.h"

#include <QApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace CorvelService;

namespace {

std::vector<JobDescription> makeJobs(int count)
{
    std::vector<JobDescription> jobs(count);
    for (int i = 0; i < count; ++i) {
        JobDescription& job = jobs[i];
        job.id = "job-" + std::to_string(i);
        job.description = "Recovery of FS-" + std::to_string(i % 40);
        job.job_type = static_cast<JobType::type>(i % 3);
        job.status = JobStatus::Running;
        job.actions = JobAction::Stop;
        job.configuration.client_name = "client " + std::to_string(i % 60);
        job.configuration.device_name = "FS-" + std::to_string(i % 40);
        job.configuration.recovery_point = "2025-03-01 10:00:00";
        job.configuration.device_token = "device-token-secret";
        job.current_work.text = "Copying disk 1";
        job.current_work.progress = static_cast<int8_t>(i % 90);
    }
    return jobs;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

double percentile(std::vector<double> values, double p)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[std::min(values.size() - 1, size_t(p * values.size()))];
}

void waitBuilt(CvJobs::JobListWidget& list)
{
    while (list.isBuilding())
        QApplication::processEvents();
}

// Per poll: 10 of the jobs move on by one percent.
void step(std::vector<JobDescription>& jobs, int poll)
{
    for (int k = 0; k < 10; ++k) {
        JobDescription& job = jobs[(poll * 37 + k * 97) % jobs.size()];
        job.current_work.progress = static_cast<int8_t>((job.current_work.progress + 1) % 100);
    }
}

void pollCost(int polls, const QString& dir, const CorvelWidgets::IconFont& iconFont)
{
    std::vector<JobDescription> jobs = makeJobs(1000);
    CvJobs::JobListWidget plain(iconFont);
    CvJobs::JobListWidget journaled(iconFont);
    CorvelJournal::Journal journal(dir + "/poll.sqlite");
    QObject::connect(&journaled, &CvJobs::JobListWidget::jobsChanged, &journal,
                     &CorvelJournal::Journal::observeService);
    plain.setJobs(jobs);
    journaled.setJobs(jobs);
    waitBuilt(plain);
    waitBuilt(journaled);
    journal.flush();

    std::vector<double> without, with, handOver;
    QElapsedTimer timer;
    std::vector<JobDescription> changed(jobs.begin(), jobs.begin() + 10);
    for (int poll = 0; poll < polls; ++poll) {
        step(jobs, poll);
        timer.start();
        plain.setJobs(jobs);
        without.push_back(timer.nsecsElapsed() / 1e6);
        timer.start();
        journaled.setJobs(jobs);
        with.push_back(timer.nsecsElapsed() / 1e6);
        timer.start();
        journal.observeService(changed, {});
        handOver.push_back(timer.nsecsElapsed() / 1e6);
        QApplication::processEvents();
    }
    journal.flush();
    std::printf("poll of 1000 jobs, 10 changed (%d polls)\n", polls);
    std::printf("  list without journal     median %.3f ms  p99 %.3f ms\n", median(without), percentile(without, 0.99));
    std::printf("  list feeding the journal median %.3f ms  p99 %.3f ms\n", median(with), percentile(with, 0.99));
    std::printf("  journal's share          median %.3f ms (comparison + hand-over)\n", median(with) - median(without));
    std::printf("  hand-over of 10 jobs     median %.3f ms  p99 %.3f ms\n", median(handOver),
                percentile(handOver, 0.99));
}

void stalls(const QString& dir)
{
    std::vector<JobDescription> jobs = makeJobs(1000);
    CorvelJournal::Journal journal(dir + "/stall.sqlite");
    auto measure = [&](bool write) {
        QElapsedTimer clock;
        clock.start();
        qint64 last = 0, worst = 0;
        int polls = 0;
        QTimer tick;
        tick.setInterval(1);
        QObject::connect(&tick, &QTimer::timeout, [&] {
            const qint64 now = clock.elapsed();
            worst = std::max(worst, now - last);
            last = now;
            // Twenty times the console's pace: every 25 ms, 10 changes, and every poll's availability.
            if (write && now / 25 > polls) {
                ++polls;
                step(jobs, polls);
                std::vector<JobDescription> changed;
                for (int k = 0; k < 10; ++k)
                    changed.push_back(jobs[(polls * 37 + k * 97) % jobs.size()]);
                journal.observeService(changed, {});
                journal.setServiceAvailable(true);
            }
        });
        tick.start();
        while (clock.elapsed() < 3000)
            QApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
        tick.stop();
        return std::make_pair(worst, polls);
    };
    journal.observeService(jobs, {});
    journal.flush();
    const auto idle = measure(false);
    const auto busy = measure(true);
    journal.flush();
    std::printf("GUI event loop, 3 s each\n");
    std::printf("  longest pause, journal idle            %lld ms\n", static_cast<long long>(idle.first));
    std::printf("  longest pause, journal writing %d polls %lld ms\n", busy.second, static_cast<long long>(busy.first));
}

void history(const QString& dir, const CorvelWidgets::IconFont& iconFont)
{
    const QString path = dir + "/history.sqlite";
    {
        CorvelJournal::JournalDatabase db;
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        db.openForWriting(path, now);
        db.begin();
        for (int i = 0; i < 2000; ++i) {
            CorvelJournal::JournalRecord r;
            r.job = CorvelJournal::JournalJob::fromService(makeJobs(1).front());
            r.job.id = QStringLiteral("job-%1").arg(i);
            r.job.client = QStringLiteral("client %1").arg(i % 60);
            r.job.device = QStringLiteral("FS-%1").arg(i % 40);
            r.job.type = i % 3;
            r.job.status = i % 9;
            r.firstSeenMs = now - (2000 - i) * 3600000LL;
            r.lastSeenMs = r.firstSeenMs + 5400000;
            db.saveRecord(r);
            for (int k = 0; k < 50; ++k) {
                CorvelJournal::TimelineEntry e;
                e.atMs = r.firstSeenMs + k * 60000;
                e.kind = CorvelJournal::TimelineKind::Progress;
                e.progress = k * 2;
                e.status = 4;
                db.addEntry(r.job.id, e);
            }
        }
        db.commit();
    }
    QElapsedTimer timer;
    timer.start();
    Corvel::JobHistoryWindow window(iconFont, path);
    window.show();
    QApplication::processEvents();
    const double openMs = timer.nsecsElapsed() / 1e6;
    auto* filter = window.findChild<QLineEdit*>("job_history_filter");
    std::vector<double> keys;
    for (const QString& word : {QStringLiteral("client 1"), QStringLiteral("fs-3"), QStringLiteral("job-19")}) {
        filter->clear();
        QApplication::processEvents();
        for (const QChar c : word) {
            timer.start();
            QTest::keyClick(filter, c.toLatin1());
            QApplication::processEvents();
            keys.push_back(timer.nsecsElapsed() / 1e6);
        }
    }
    std::printf("Job History window, 2000 jobs, 100000 timeline rows\n");
    std::printf("  open to first paint      %.1f ms\n", openMs);
    std::printf("  filter keystroke         median %.1f ms  worst %.1f ms (%zu keys)\n", median(keys),
                *std::max_element(keys.begin(), keys.end()), keys.size());
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    int polls = 400;
    const QStringList args = app.arguments();
    if (const int i = args.indexOf("--polls"); i > 0 && i + 1 < args.size())
        polls = args[i + 1].toInt();
    const CorvelWidgets::IconFont iconFont = CorvelTest::applyConsoleLook();
    QTemporaryDir dir;
    pollCost(polls, dir.path(), iconFont);
    stalls(dir.path());
    history(dir.path(), iconFont);
    return 0;
}
