#include "jobs/job_action_button.h"
#include "jobs/job_action_buttons_widget.h"
#include "jobs/job_list_widget.h"
#include "jobs/job_table_widget.h"
#include "notify/job_notifications.h"
#include "notify/notifier.h"
#include "service/service_client.h"
#include "session/auth_session.h"
#include "testsupport/manual_clock.h"
#include "testsupport/service_sim.h"
#include "testsupport/test_tokens.h"
#include "ui/home_widget.h"
#include "ui/main_window.h"

#include <QJsonObject>
#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

using namespace CorvelService;
using CorvelNotify::JobNotifications;
using CorvelNotify::Notification;

namespace {

// What would have been shown, as "title|job id".
class RecordingNotifier : public CorvelNotify::Notifier {
public:
    explicit RecordingNotifier(std::shared_ptr<QStringList> shown)
        : m_shown(std::move(shown))
    {
    }
    void show(const Notification& notification) override
    {
        *m_shown << notification.title + "|" + notification.jobId;
        texts << notification.text;
    }
    QStringList texts;

private:
    std::shared_ptr<QStringList> m_shown;
};

JobDescription job(const std::string& id, JobStatus::type status, int progress = 50)
{
    JobDescription out;
    out.id = id;
    out.job_type = JobType::FileRecovery;
    out.status = status;
    out.current_work.progress = static_cast<int8_t>(progress);
    out.current_work.text = "Mounting volumes";
    return out;
}

} // namespace

// What the operator is told, with the service simulator, the fake clock and a notifier that records.
class TestNotifications : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    CorvelTest::ServiceSim m_sim;
    TmxAuth::AuthSession m_session{partnerToken()};
    std::shared_ptr<CorvelTest::ManualClock> m_clock;
    std::shared_ptr<QStringList> m_shown;
    std::unique_ptr<ServiceConnection> m_connection;
    std::unique_ptr<Corvel::MainWindow> m_window;
    RecordingNotifier* m_recorder = nullptr;

    // The console on the simulator; `level` empty: the default notifier (here, the banner).
    CvJobs::JobTableWidget& open(const QStringList& simArguments, const QString& level, int jobs)
    {
        const QString error = m_sim.start(m_dir.path(), simArguments, m_sim.port());
        if (!error.isEmpty())
            qFatal("%s", qPrintable(error));
        const int port = m_sim.port();
        const std::string certs = m_dir.path().toStdString();
        m_connection = std::make_unique<ServiceConnection>(
            [certs, port] { return createServiceClient(certs, "localhost", port); });
        m_connection->connectNow();
        const QJsonObject config{{"notifications", level.isEmpty() ? "problems" : level}};
        m_window = std::make_unique<Corvel::MainWindow>(m_session, CorvelWidgets::IconFont("velmora-iconfont", {}),
                                                        *m_connection, Corvel::Settings(config),
                                                        QStringLiteral("http://127.0.0.1:9/Corvel/autoupdate.xml"));
        m_window->setUpdateOfferBlocked(true);
        if (!level.isEmpty()) {
            auto recorder = std::make_unique<RecordingNotifier>(m_shown);
            m_recorder = recorder.get();
            m_window->setNotifier(std::move(recorder), m_clock);
        }
        CvJobs::JobTableWidget& table = *m_window->home()->jobTable();
        table.setClock(m_clock);
        m_window->show();
        (void)QTest::qWaitFor([&] { return table.jobList()->jobs().size() == size_t(jobs); }, 5000);
        return table;
    }

    // The simulator's jobs as another console sees them.
    std::vector<JobDescription> running(std::shared_ptr<CorvelServiceIf>& other)
    {
        other = createServiceClient(m_dir.path().toStdString(), "localhost", m_sim.port());
        std::vector<JobDescription> all, out;
        other->getAllJobsInfo(all);
        for (const auto& candidate : all)
            if (candidate.status == JobStatus::Running)
                out.push_back(candidate);
        return out;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        const QString error = CorvelTest::ServiceSim::makeCerts(m_dir.path());
        QVERIFY2(error.isEmpty(), qPrintable(error));
    }

    void init()
    {
        m_clock = std::make_shared<CorvelTest::ManualClock>();
        m_shown = std::make_shared<QStringList>();
    }

    void cleanup()
    {
        m_window.reset();
        m_connection.reset();
        m_sim.stop();
    }

    // Another console's Stop is a problem worth one notification; this operator's own Stop is not.
    void stopNotAskedForIsToldOnce()
    {
        auto& table = open({"--jobs", "7", "--tick-ms", "3600000"}, "problems", 7);
        std::shared_ptr<CorvelServiceIf> other;
        const auto jobs = running(other);
        QVERIFY(jobs.size() >= 2);
        other->stopJob(jobs[0].id);
        QTRY_COMPARE(*m_shown, QStringList{"Recovery job stopped|" + QString::fromStdString(jobs[0].id)});

        m_clock->advance(CvJobs::JobActionButtonsWidget::SettleMs);
        for (auto* actions : table.findChildren<CvJobs::JobActionButtonsWidget*>())
            for (auto* button : actions->buttons())
                if (actions->job().id == jobs[1].id && button->text() == "Stop")
                    button->click();
        QTRY_VERIFY(std::any_of(table.jobList()->jobs().begin(), table.jobList()->jobs().end(),
                                [&](const auto& j) { return j.id == jobs[1].id && j.status == JobStatus::Stopping; }));
        QTest::qWait(JobNotifications::CheckIntervalMs);
        QCOMPARE(m_shown->size(), 1);
    }

    // With "all" a mount is told once, naming the job and where its volumes are.
    void allTellsAMountOnce()
    {
        open({"--jobs", "4", "--tick-ms", "200"}, "all", 4);
        // The fourth demo job is a file recovery at 99 % on H:.
        QTRY_COMPARE(m_shown->filter("Volumes mounted|").size(), 1);
        QTest::qWait(1000);
        QCOMPARE(m_shown->filter("Volumes mounted|").size(), 1);
        const QString text = m_recorder->texts.filter("volumes mounted").value(0);
        QVERIFY2(text.startsWith("File Recovery of RECEPTION-PC, recovery point ") && text.endsWith(" at H:\\."),
                 qPrintable(text));
    }

    // A service away for 30 s is one notification, its return another; 29 s are none.
    void outageAndReturn()
    {
        const QStringList kept{"--state", m_dir.filePath("jobs.json"), "--tick-ms", "3600000"};
        open(kept + QStringList{"--jobs", "2"}, "problems", 2);
        m_sim.stop();
        QTRY_VERIFY(m_connection->state() != ServiceConnection::State::Connected);
        m_clock->advance(JobNotifications::OutageMs - 1000);
        QTest::qWait(JobNotifications::CheckIntervalMs + 200);
        QVERIFY(m_shown->isEmpty());
        m_clock->advance(1000);
        QTRY_COMPARE(*m_shown, QStringList{"Corvel service unreachable|"});
        const QString error = m_sim.start(m_dir.path(), kept, m_sim.port());
        QVERIFY2(error.isEmpty(), qPrintable(error));
        QTRY_COMPARE_WITH_TIMEOUT(m_shown->size(), 2, 5000);
        QCOMPARE(m_shown->last(), QString("Corvel service back|"));
    }

    // Without a tray the banner says it, and "Show job" brings the job's row into view.
    void bannerShowsTheJob()
    {
        auto& table = open({"--jobs", "7", "--tick-ms", "3600000"}, QString(), 7);
        std::shared_ptr<CorvelServiceIf> other;
        const std::string id = running(other).at(0).id;
        other->stopJob(id);
        auto* banner = m_window->findChild<QWidget*>("notification_banner");
        QVERIFY(banner);
        QTRY_VERIFY(banner->isVisible());
        QCOMPARE(banner->findChild<QLabel*>("notification_banner_title")->text(), QString("Recovery job stopped"));
        QTest::mouseClick(banner->findChild<QPushButton*>("notification_banner_show"), Qt::LeftButton);
        QVERIFY(banner->isHidden());
        QWidget* row = nullptr;
        for (auto* actions : table.findChildren<CvJobs::JobActionButtonsWidget*>())
            if (actions->job().id == id)
                row = actions->parentWidget();
        QVERIFY(row && row->property("highlighted").toBool());
    }

    // Each event once, a job at most once a minute (the later one waits), a stall once; the
    // taskbar shows the job furthest from done and turns red until the operator has looked.
    void onceAndOnceAMinute()
    {
        auto shown = std::make_shared<QStringList>();
        RecordingNotifier notifier(shown);
        JobNotifications rules(notifier, Corvel::NotificationLevel::Problems, m_clock);
        QSignalSpy taskbar(&rules, &JobNotifications::taskbarChanged);
        const auto lastTaskbar = [&] {
            const auto args = taskbar.last();
            return QString::number(int(args[0].value<CorvelPlatform::TaskbarState>())) + ":" + args[1].toString();
        };
        rules.observe({job("a", JobStatus::Running, 40), job("b", JobStatus::Running, 70)}, {});
        QCOMPARE(lastTaskbar(), QString("1:40"));

        rules.observe({job("a", JobStatus::Stopped)}, {});
        rules.observe({job("a", JobStatus::Stopped, 51)}, {});
        QCOMPARE(*shown, QStringList{"Recovery job stopped|a"});
        QCOMPARE(lastTaskbar(), QString("2:70"));
        rules.acknowledge();
        QCOMPARE(lastTaskbar(), QString("1:70"));

        m_clock->advance(10000);
        rules.observe({job("a", JobStatus::Running)}, {});
        rules.observe({}, {"a"});
        QCOMPARE(shown->size(), 1);
        m_clock->advance(JobNotifications::PerJobIntervalMs - 10000);
        rules.observe({}, {});
        QCOMPARE(shown->last(), QString("Recovery job removed|a"));

        m_clock->advance(CorvelJournal::JobActivity::StallMs);
        rules.observe({}, {});
        m_clock->advance(CorvelJournal::JobActivity::StallMs);
        rules.observe({}, {});
        QCOMPARE(shown->filter("not progressing").size(), 1);
        QCOMPARE(shown->size(), 3);
    }
};

QTEST_MAIN(TestNotifications)
#include "tst_notifications.moc"
