#include "jobs/job_action_button.h"
#include "jobs/job_action_buttons_widget.h"
#include "jobs/job_list_widget.h"
#include "jobs/job_table_widget.h"
#include "service/service_client.h"
#include "session/auth_session.h"
#include "testsupport/log_capture.h"
#include "testsupport/service_sim.h"
#include "testsupport/test_tokens.h"
#include "ui/home_widget.h"
#include "ui/main_window.h"
#include "widgets/message_box.h"

#include <QLabel>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>

using namespace CorvelService;
using CvJobs::JobActionButtonsWidget;
using CvJobs::JobTableWidget;

namespace {

int countStarting(const CorvelTest::LogCapture& log, const QString& prefix)
{
    return log.texts().filter(QRegularExpression("^" + QRegularExpression::escape(prefix))).size();
}

QLabel* banner(const JobTableWidget& table)
{
    return table.findChild<QLabel*>("job_table_banner");
}

} // namespace

// The main window's jobs table against the service simulator over mutual TLS.
class TestMainWindowSim : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    CorvelTest::ServiceSim m_sim;

    std::shared_ptr<CorvelServiceIf> connectTo(int port)
    {
        return createServiceClient(m_dir.path().toStdString(), "localhost", port);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        const QString error = CorvelTest::ServiceSim::makeCerts(m_dir.path());
        QVERIFY2(error.isEmpty(), qPrintable(error));
    }

    void cleanup() { m_sim.stop(); }

    // While the service is away the table says so and offers no action; when it is back the rows
    // follow within three seconds, on the new connection.
    void rowsComeBackAfterRestart()
    {
        const QStringList stateArguments{"--state", m_dir.filePath("jobs.json"), "--tick-ms", "3600000"};
        QString error = m_sim.start(m_dir.path(), stateArguments + QStringList{"--jobs", "6"});
        QVERIFY2(error.isEmpty(), qPrintable(error));
        const int port = m_sim.port();
        CorvelTest::LogCapture log;
        std::atomic<int> attempts{0};
        CorvelService::ServiceConnection connection([&] {
            ++attempts;
            return connectTo(port);
        });
        QVERIFY(connection.connectNow());
        attempts = 0;
        TmxAuth::AuthSession session(partnerToken());
        Corvel::MainWindow window(session, CorvelWidgets::IconFont("velmora-iconfont", {}), connection,
                                  Corvel::Settings(), QStringLiteral("http://127.0.0.1:9/Corvel/autoupdate.xml"));
        window.setUpdateOfferBlocked(true);
        window.show();
        JobTableWidget& table = *window.home()->jobTable();
        QTRY_VERIFY_WITH_TIMEOUT(table.jobList()->rowCount() == 6, 5000);
        const std::vector<JobDescription> before = table.jobList()->jobs();
        QVERIFY(banner(table)->isHidden());

        m_sim.stop();
        QTRY_VERIFY_WITH_TIMEOUT(banner(table)->isVisible(), JobTableWidget::RefreshIntervalMs + 200);
        QVERIFY2(banner(table)->text().contains("not reachable"), qPrintable(banner(table)->text()));
        QVERIFY(!static_cast<JobActionButtonsWidget*>(table.jobList()->cell(0, 7))->buttons().first()->isEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(attempts >= 2, 5000);
        QCOMPARE(table.jobList()->jobs(), before);

        const QStringList faults{"--fault", "startJob=exception", "--fault", "stopJob=exception",
                                 "--fault", "cancelJob=exception"};
        error = m_sim.start(m_dir.path(), stateArguments + faults, port);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        QElapsedTimer sinceRestart;
        sinceRestart.start();
        QTRY_VERIFY_WITH_TIMEOUT(!connection.isLost() && banner(table)->isHidden(), 3000);
        std::fprintf(stderr, "rows back %lld ms after the restart\n", sinceRestart.elapsed());
        connection.setPollInterval(0);
        QTRY_VERIFY(!connection.isPollOut());
        QCOMPARE(countStarting(log, "Unknown exception: "), 1);
        QCOMPARE(table.jobList()->jobs(), before);

        // Refused actions reach the new connection and keep the buttons enabled.
        int pressed = 0;
        for (int row = 0; row < table.jobList()->rowCount(); ++row) {
            for (auto* button : static_cast<JobActionButtonsWidget*>(table.jobList()->cell(row, 7))->buttons()) {
                if (button->action() == JobAction::Delete)
                    continue;
                QVERIFY(button->isEnabled());
                button->click();
                ++pressed;
                QVERIFY(button->isEnabled());
            }
        }
        QVERIFY(pressed > 0);
        QCOMPARE(countStarting(log, "Application exception: "), pressed);
    }

    // A service that holds every answer for ten seconds never holds up the window.
    void neverWaitsOnTheService()
    {
        const QString error =
            m_sim.start(m_dir.path(), {"--jobs", "4", "--tick-ms", "3600000", "--fault", "getAllJobsInfo=delay:10000"});
        QVERIFY2(error.isEmpty(), qPrintable(error));
        CorvelService::ServiceConnection connection([&] { return connectTo(m_sim.port()); });
        QVERIFY(connection.connectNow());

        QElapsedTimer sinceLastTick;
        qint64 worstStallMs = 0;
        QTimer probe;
        probe.setInterval(10);
        connect(&probe, &QTimer::timeout,
                [&] { worstStallMs = std::max(worstStallMs, sinceLastTick.restart() - probe.interval()); });

        QElapsedTimer clock;
        clock.start();
        TmxAuth::AuthSession session(partnerToken());
        Corvel::MainWindow window(session, CorvelWidgets::IconFont("velmora-iconfont", {}), connection,
                                  Corvel::Settings(), QStringLiteral("http://127.0.0.1:9/Corvel/autoupdate.xml"));
        window.setUpdateOfferBlocked(true);
        window.show();
        const qint64 windowAfterMs = clock.elapsed();
        sinceLastTick.start();
        probe.start();
        JobTableWidget& table = *window.home()->jobTable();

        QTRY_VERIFY_WITH_TIMEOUT(banner(table)->isVisible(), 4000);
        const qint64 bannerAfterMs = clock.elapsed();
        QVERIFY2(banner(table)->text().contains("not responding"), qPrintable(banner(table)->text()));

        // The held answer arrives; the next request is held again and the rows' actions stop.
        QTRY_VERIFY_WITH_TIMEOUT(table.jobList()->rowCount() == 4 && banner(table)->isHidden(), 12000);
        QElapsedTimer sinceRows;
        sinceRows.start();
        auto* actions = static_cast<JobActionButtonsWidget*>(table.jobList()->cell(0, 7));
        QVERIFY(!actions->buttons().isEmpty() && actions->buttons().first()->isEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(banner(table)->isVisible(), 4000);
        const qint64 secondBannerMs = sinceRows.elapsed();
        for (int row = 0; row < table.jobList()->rowCount(); ++row)
            for (auto* button : static_cast<JobActionButtonsWidget*>(table.jobList()->cell(row, 7))->buttons())
                QVERIFY(!button->isEnabled());
        probe.stop();
        qInfo("window after %lld ms, banner after %lld ms and %lld ms, worst stall %lld ms", windowAfterMs,
              bannerAfterMs, secondBannerMs, worstStallMs);
        // Bounds that only a window waiting on the 10 s hold can break; the latency bench measures the pauses.
        QVERIFY2(windowAfterMs < 1000, "the window waited for the service");
        QVERIFY(bannerAfterMs <= 2500 + 1500);
        QVERIFY(secondBannerMs <= 2500 + 1500);
        QVERIFY2(worstStallMs < 1000, qPrintable(QString::number(worstStallMs)));
    }
};

QTEST_MAIN(TestMainWindowSim)
#include "tst_main_window_sim.moc"
