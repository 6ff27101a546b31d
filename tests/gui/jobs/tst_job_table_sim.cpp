#include "jobs/job_action_button.h"
#include "jobs/job_action_buttons_widget.h"
#include "jobs/job_list_widget.h"
#include "jobs/job_status_label.h"
#include "jobs/job_table_widget.h"
#include "jobs/job_work_widget.h"
#include "service/service_client.h"
#include "service_sim_process.h"
#include "testsupport/log_capture.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace CorvelService;
using CvJobs::JobActionButtonsWidget;
using CvJobs::JobTableWidget;

namespace {

QStringList rowIds(const CvJobs::JobListWidget* list)
{
    QStringList ids;
    for (int row = 0; row < list->rowCount(); ++row)
        ids << QString::fromStdString(static_cast<JobActionButtonsWidget*>(list->cell(row, 7))->job().id);
    return ids;
}

} // namespace

// The table against the service simulator over mutual TLS.
class TestJobTableSim : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    ServiceSimProcess m_sim;
    int m_port = 0;

    std::shared_ptr<CorvelServiceIf> connect()
    {
        return createServiceClient(m_dir.path().toStdString(), "localhost", m_port);
    }

    void startSim(const QStringList& arguments)
    {
        QString error;
        QVERIFY2(m_sim.start(m_dir.path(), arguments, error), qPrintable(error));
        m_port = m_sim.port();
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QString error;
        QVERIFY2(ServiceSimProcess::makeCerts(m_dir.path(), error), qPrintable(error));
    }

    void cleanup() { m_sim.stop(); }

    void rowsComeBackAfterServiceRestart()
    {
        const QStringList stateArguments{"--state", m_dir.filePath("jobs.json"), "--tick-ms", "3600000"};
        startSim(stateArguments + QStringList{"--jobs", "6"});
        auto client = connect();
        QVERIFY(client);

        CorvelTest::LogCapture log;
        JobTableWidget table(client, CorvelWidgets::IconFont("velmora-iconfont", {}));
        table.setReconnectInterval(300);
        table.setClientFactory([this] { return connect(); });
        const QStringList before = rowIds(table.jobList());
        QVERIFY(!before.isEmpty());

        m_sim.stop();
        QTRY_VERIFY_WITH_TIMEOUT(table.isServiceLost(), 5000);
        QTest::qWait(1500); // a few ticks and reconnect attempts into the outage
        QCOMPARE(rowIds(table.jobList()), before);
        int outageLines = 0;
        for (const QString& line : log.texts())
            outageLines += line.startsWith("Unknown exception: ") ? 1 : 0;
        QCOMPARE(outageLines, 1);

        startSim(stateArguments);
        QTRY_VERIFY_WITH_TIMEOUT(!table.isServiceLost(), 10000);
        QVERIFY(table.client() != client);
        QCOMPARE(rowIds(table.jobList()), before);
        QVERIFY(log.contains(QtInfoMsg, "Connection to Corvel service restored."));

        // The rebuilt rows act on the new connection.
        CvJobs::JobActionButton* start = nullptr;
        int startRow = -1;
        for (int row = 0; row < table.jobList()->rowCount() && !start; ++row) {
            for (auto* button : static_cast<JobActionButtonsWidget*>(table.jobList()->cell(row, 7))->buttons())
                if (button->action() == JobAction::Start) {
                    start = button;
                    startRow = row;
                }
        }
        QVERIFY2(start, "the demo jobs should include one that can be started");
        const QString id = rowIds(table.jobList()).at(startRow);
        const auto* work = static_cast<CvJobs::JobWorkWidget*>(table.jobList()->cell(startRow, 1));
        const QString statusBefore = work->statusLabel()->text();
        start->click();
        QVERIFY(log.contains(QtInfoMsg, "onStartJob"));
        // The row asked for a refresh at once: the new state is on screen without waiting for a tick.
        const int row = rowIds(table.jobList()).indexOf(id);
        QVERIFY(row >= 0);
        work = static_cast<CvJobs::JobWorkWidget*>(table.jobList()->cell(row, 1));
        QVERIFY(work->statusLabel()->text() != statusBefore);
        QCOMPARE(work->statusLabel()->status(),
                 static_cast<JobActionButtonsWidget*>(table.jobList()->cell(row, 7))->job().status);
    }

    void refusedActionKeepsButtons()
    {
        startSim({"--jobs", "6", "--tick-ms", "3600000", "--fault", "stopJob=exception", "--fault",
                  "startJob=exception", "--fault", "cancelJob=exception"});
        auto client = connect();
        QVERIFY(client);
        JobTableWidget table(client, CorvelWidgets::IconFont("velmora-iconfont", {}));
        table.refreshTimer()->stop();
        CorvelTest::LogCapture log;
        int pressed = 0;
        for (int row = 0; row < table.jobList()->rowCount(); ++row) {
            auto* actions = static_cast<JobActionButtonsWidget*>(table.jobList()->cell(row, 7));
            for (auto* button : actions->buttons()) {
                if (button->action() == JobAction::Delete)
                    continue;
                button->click();
                ++pressed;
                QVERIFY(button->isEnabled());
            }
        }
        QVERIFY(pressed > 0);
        int refusals = 0;
        for (const auto& entry : log.entries())
            refusals += entry.type == QtWarningMsg && entry.text.startsWith("Application exception: ") ? 1 : 0;
        QCOMPARE(refusals, pressed);
        // An application exception leaves the connection usable.
        std::vector<JobDescription> jobs;
        client->getAllJobsInfo(jobs);
        QCOMPARE(jobs, table.jobList()->jobs());
    }
};

QTEST_MAIN(TestJobTableSim)
#include "tst_job_table_sim.moc"
