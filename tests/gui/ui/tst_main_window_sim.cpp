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
        connection.setReconnectInterval(200);
        QVERIFY(connection.connectNow());
        attempts = 0;
        TmxAuth::AuthSession session(partnerToken());
        Corvel::MainWindow window(session, CorvelWidgets::IconFont("velmora-iconfont", {}), connection,
                                  Corvel::Settings(), QStringLiteral("http://127.0.0.1:9/Corvel/autoupdate.xml"));
        window.setUpdateOfferBlocked(true);
        JobTableWidget& table = *window.home()->jobTable();
        table.refreshTimer()->setInterval(50);
        const std::vector<JobDescription> before = table.jobList()->jobs();
        QVERIFY(!before.empty());

        m_sim.stop();
        QTRY_VERIFY_WITH_TIMEOUT(table.isServiceLost(), 5000);
        QTRY_VERIFY_WITH_TIMEOUT(attempts >= 2, 5000);
        QCOMPARE(table.jobList()->jobs(), before);

        const QStringList faults{"--fault", "startJob=exception", "--fault", "stopJob=exception",
                                 "--fault", "cancelJob=exception"};
        error = m_sim.start(m_dir.path(), stateArguments + faults, port);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        QTRY_VERIFY_WITH_TIMEOUT(!table.isServiceLost(), 10000);
        table.refreshTimer()->stop();
        QCOMPARE(countStarting(log, "Unknown exception: "), 1);
        QCOMPARE(table.jobList()->jobs(), before);

        // Refused actions reach the new connection and keep the buttons enabled.
        int pressed = 0;
        for (int row = 0; row < table.jobList()->rowCount(); ++row) {
            for (auto* button : static_cast<JobActionButtonsWidget*>(table.jobList()->cell(row, 7))->buttons()) {
                if (button->action() == JobAction::Delete)
                    continue;
                button->click();
                ++pressed;
                QVERIFY(button->isEnabled());
            }
        }
        QVERIFY(pressed > 0);
        QCOMPARE(countStarting(log, "Application exception: "), pressed);
    }
};

QTEST_MAIN(TestMainWindowSim)
#include "tst_main_window_sim.moc"
