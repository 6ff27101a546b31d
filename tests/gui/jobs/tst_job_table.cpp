#include "jobs/delete_vm_dialog.h"
#include "jobs/delete_vm_dialog2.h"
#include "jobs/job_action_button.h"
#include "jobs/job_action_buttons_widget.h"
#include "jobs/job_list_widget.h"
#include "jobs/job_table_widget.h"
#include "jobs/job_work_widget.h"
#include "testsupport/fake_service.h"
#include "testsupport/log_capture.h"
#include "testsupport/manual_clock.h"
#include "testsupport/modal.h"

#include <QLabel>
#include <QProgressBar>
#include <QRadioButton>
#include <QtTest>

#include <functional>

using namespace CorvelService;
using CorvelTest::FakeService;
using CorvelTest::whenModal;
using CvJobs::JobActionButtonsWidget;
using CvJobs::JobTableWidget;
using Failure = FakeService::Failure;
using Change = std::function<void(std::vector<JobDescription>&)>;

Q_DECLARE_METATYPE(Failure)
Q_DECLARE_METATYPE(Change)

namespace {

const QString RefusedLog = "Application exception: job is locked by another operation";
const QString TransportLog = "Unknown exception: Called write on non-open socket";

JobDescription makeJob(const std::string& id, JobStatus::type status, int actions = JobAction::None,
                       JobType::type type = JobType::FileRecovery)
{
    JobDescription job;
    job.id = id;
    job.status = status;
    job.actions = actions;
    job.job_type = type;
    return job;
}

QStringList rowIds(const CvJobs::JobListWidget* list)
{
    QStringList ids;
    for (int row = 0; row < list->rowCount(); ++row)
        ids << QString::fromStdString(static_cast<JobActionButtonsWidget*>(list->cell(row, 7))->job().id);
    return ids;
}

void flushDeferredDeletes()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

class TestJobTable : public QObject {
    Q_OBJECT

private:
    std::shared_ptr<FakeService> m_service;
    std::shared_ptr<CorvelTest::ManualClock> m_clock;
    std::unique_ptr<ServiceConnection> m_connection;
    std::unique_ptr<JobTableWidget> m_table;

    JobTableWidget* makeTable(std::vector<JobDescription> jobs, ServiceConnection::Factory factory = {})
    {
        m_service = std::make_shared<FakeService>();
        m_service->jobs = std::move(jobs);
        m_clock = std::make_shared<CorvelTest::ManualClock>();
        m_table.reset();
        m_connection = std::make_unique<ServiceConnection>(std::move(factory), m_clock);
        m_connection->setClient(m_service);
        m_table = std::make_unique<JobTableWidget>(*m_connection, CorvelWidgets::IconFont("velmora-iconfont", {}));
        m_table->refreshTimer()->stop(); // tests drive the refreshes
        m_table->resize(1200, 500);
        m_table->show();
        return m_table.get();
    }

    JobActionButtonsWidget* firstRow() const
    {
        return qobject_cast<JobActionButtonsWidget*>(m_table->jobList()->cell(0, 7));
    }

    CvJobs::JobActionButton* button(const QString& text) const
    {
        for (auto* candidate : firstRow()->buttons())
            if (candidate->text() == text)
                return candidate;
        return nullptr;
    }

private slots:
    void cleanup()
    {
        CorvelTest::forgetModalWaits();
        m_table.reset();
        flushDeferredDeletes();
        m_service.reset();
    }

    void refreshRebuildsOnlyOnChange_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<QStringList>("ids");
        QTest::addColumn<bool>("rebuilt");
        const auto replace = [](std::vector<JobDescription> jobs) { return Change([jobs](auto& v) { v = jobs; }); };
        // clang-format off
        QTest::newRow("empty list") << replace({}) << QStringList{} << true;
        QTest::newRow("only deleted jobs")
            << replace({makeJob("a", JobStatus::Deleted), makeJob("b", JobStatus::Deleted)}) << QStringList{} << true;
        QTest::newRow("deleted skipped, order kept")
            << replace({makeJob("c", JobStatus::Running), makeJob("a", JobStatus::Deleted),
                        makeJob("b", JobStatus::PendingDelete)}) << QStringList{"c", "b"} << true;
        QTest::newRow("unchanged") << Change([](auto&) {}) << QStringList{"a", "b"} << false;
        QTest::newRow("progress only") << Change([](auto& jobs) { jobs[1].current_work.progress = 41; })
                                       << QStringList{"a", "b"} << true;
        // clang-format on
    }

    void refreshRebuildsOnlyOnChange()
    {
        QFETCH(Change, change);
        QFETCH(QStringList, ids);
        QFETCH(bool, rebuilt);
        auto* table = makeTable({makeJob("a", JobStatus::Running, JobAction::Stop),
                                 makeJob("b", JobStatus::Stopped, JobAction::Start | JobAction::Delete)});
        auto* list = table->jobList();
        QPointer<QWidget> before = list->cell(1, 1);
        change(m_service->jobs);
        table->refresh();
        flushDeferredDeletes();
        QCOMPARE(before.isNull(), rebuilt);
        QCOMPARE(rowIds(list), ids);
        QCOMPARE(list->placeholder()->text(), QString("No Active Jobs"));
        QCOMPARE(list->placeholder()->isVisible(), ids.isEmpty());
    }

    void failingCallKeepsRows()
    {
        auto* table = makeTable({makeJob("a", JobStatus::Running, JobAction::Stop)});
        QPointer<QWidget> row = table->jobList()->cell(0, 0);
        CorvelTest::LogCapture log;
        m_service->listFailure = Failure::Application;
        m_service->jobs.clear();
        table->refresh();
        table->refresh();
        flushDeferredDeletes();
        QVERIFY(row);
        QCOMPARE(log.count(RefusedLog), 2);
        // A refusal is an answer: the connection stands and its client stays.
        QVERIFY(!m_connection->isLost());
        QCOMPARE(m_connection->client(), std::static_pointer_cast<CorvelServiceIf>(m_service));
        m_service->listFailure = Failure::None;
        table->refresh();
        QVERIFY(!table->jobList()->hasRows());
    }

    void reconnectBacksOff()
    {
        const int interval = 100;
        QList<qint64> attempts;
        bool serviceBack = false;
        auto replacement = std::make_shared<FakeService>();
        auto* table =
            makeTable({makeJob("same", JobStatus::Stopped, JobAction::Start)}, [&]() -> ServiceConnection::Client {
                attempts << m_clock->nowMs();
                return serviceBack ? replacement : nullptr;
            });
        replacement->jobs = m_service->jobs;
        m_connection->setReconnectInterval(interval);
        CorvelTest::LogCapture log;
        m_service->listFailure = Failure::Transport;
        table->refresh();
        QVERIFY(table->isServiceLost());
        const qint64 lostAt = m_clock->nowMs();
        auto stepUntil = [&](int count) {
            for (int step = 0; step < 1000 && attempts.size() < count; ++step) {
                m_clock->advance(10);
                table->refresh();
            }
        };
        stepUntil(6);
        // Failed attempts back off: the wait doubles after each, up to ten intervals.
        QList<qint64> waits;
        for (int i = 0; i < attempts.size(); ++i)
            waits << attempts[i] - (i == 0 ? lostAt : attempts[i - 1]);
        QCOMPARE(waits, (QList<qint64>{100, 200, 400, 800, 1000, 1000}));

        serviceBack = true;
        stepUntil(7);
        QVERIFY(!table->isServiceLost());
        QCOMPARE(m_connection->client(), std::static_pointer_cast<CorvelServiceIf>(replacement));
        QCOMPARE(m_service->listCalls, 2); // the dead client is not asked again
        QCOMPARE(log.count(TransportLog), 1);
        QVERIFY(log.contains(QtInfoMsg, "Connection to Corvel service restored."));
        // Same list from the new client: the rows still move over to it.
        button("Start")->click();
        QCOMPARE(replacement->calls(), QStringList{"startJob:same"});
        QVERIFY(m_service->calls().isEmpty());
    }

    void actionButtons_data()
    {
        QTest::addColumn<int>("actions");
        QTest::addColumn<QStringList>("buttons");
        QTest::newRow("0") << 0 << QStringList{"Please wait"};
        QTest::newRow("5") << 5 << QStringList{"Start", "Delete Job"};
        QTest::newRow("unknown bits ignored") << (JobAction::Cancel | 64) << QStringList{"Cancel"};
    }

    void actionButtons()
    {
        QFETCH(int, actions);
        QFETCH(QStringList, buttons);
        makeTable({makeJob("a", JobStatus::Running, actions)});
        QStringList texts;
        for (auto* button : firstRow()->findChildren<QPushButton*>())
            texts << button->text();
        QCOMPARE(texts, buttons);
    }

    void simpleActions_data()
    {
        QTest::addColumn<QString>("buttonText");
        QTest::addColumn<QString>("call");
        QTest::addColumn<Failure>("failure");
        QTest::newRow("delete file recovery asks nothing") << "Delete Job"
                                                           << "deleteJob:j" << Failure::None;
        QTest::newRow("start refused") << "Start"
                                       << "startJob:j" << Failure::Application;
        QTest::newRow("stop, connection gone") << "Stop"
                                               << "stopJob:j" << Failure::Transport;
    }

    void simpleActions()
    {
        QFETCH(QString, buttonText);
        QFETCH(QString, call);
        QFETCH(Failure, failure);
        makeTable({makeJob("j", JobStatus::Running, 15, JobType::FileRecovery)});
        m_service->actionFailure = failure;
        const int listCalls = m_service->listCalls;
        CorvelTest::LogCapture log;
        whenModal([](QWidget* modal) { modal->close(); }); // a dialog would abandon the action

        QTest::mouseClick(button(buttonText), Qt::LeftButton);

        QCOMPARE(m_service->calls(), QStringList{call});
        const bool succeeded = failure == Failure::None;
        // Success refreshes at once and locks the row until the new view is shown.
        QCOMPARE(m_service->listCalls, listCalls + (succeeded ? 1 : 0));
        for (auto* button : firstRow()->buttons())
            QCOMPARE(button->isEnabled(), !succeeded);
        if (!succeeded)
            QVERIFY(log.contains(QtWarningMsg, failure == Failure::Application ? RefusedLog : TransportLog));
    }

    void deleteVirtualMachine_data()
    {
        QTest::addColumn<int>("vmType");
        QTest::addColumn<bool>("pickYes");
        QTest::addColumn<QString>("confirmation"); // empty: not shown
        QTest::addColumn<Failure>("settingsFailure");
        QTest::addColumn<int>("writtenDeleteVm"); // -1: settings not written, job kept
        const int test = VirtualizationType::Test, production = VirtualizationType::Production;
        QTest::newRow("production: NO preselected") << production << false << "" << Failure::None << 0;
        QTest::newRow("test: YES preselected") << test << false << "delete" << Failure::None << 1;
        QTest::newRow("No - Keep Virtual Machine") << test << false << "keep" << Failure::None << 0;
        QTest::newRow("production switched to yes") << production << true << "delete" << Failure::None << 1;
        QTest::newRow("settings refused") << production << false << "" << Failure::Application << -1;
    }

    void deleteVirtualMachine()
    {
        QFETCH(int, vmType);
        QFETCH(bool, pickYes);
        QFETCH(QString, confirmation);
        QFETCH(Failure, settingsFailure);
        QFETCH(int, writtenDeleteVm);
        auto job = makeJob("vm", JobStatus::Running, JobAction::Stop | JobAction::Delete, JobType::Virtualization);
        job.configuration.vm_settings.virtualization_type = static_cast<VirtualizationType::type>(vmType);
        makeTable({job});
        m_service->settingsFailure = settingsFailure;
        m_service->storedSettings.__set_delete_created_vm(writtenDeleteVm != 1);

        bool yesChecked = false, noChecked = false, confirmationShown = false;
        whenModal([&](QWidget* modal) {
            auto* first = static_cast<CvJobs::DeleteVMDialog*>(modal);
            yesChecked = first->yesButton()->isChecked();
            noChecked = first->noButton()->isChecked();
            whenModal([&](QWidget* next) {
                auto* second = qobject_cast<CvJobs::DeleteVMDialog2*>(next);
                confirmationShown = second != nullptr;
                if (!second)
                    next->close();
                else
                    QTest::mouseClick(confirmation == "delete" ? second->deleteButton() : second->keepButton(),
                                      Qt::LeftButton);
            });
            if (pickYes)
                QTest::mouseClick(first->yesButton(), Qt::LeftButton);
            QTest::mouseClick(first->saveButton(), Qt::LeftButton);
        });
        QTest::mouseClick(button("Delete Job"), Qt::LeftButton);

        const bool testVm = vmType == VirtualizationType::Test;
        QCOMPARE(yesChecked, testVm);
        QCOMPARE(noChecked, !testVm);
        QCOMPARE(confirmationShown, !confirmation.isEmpty());
        QCOMPARE(m_service->writtenDeleteVm,
                 writtenDeleteVm < 0 ? std::optional<bool>() : std::optional<bool>(writtenDeleteVm == 1));
        QCOMPARE(m_service->calls().contains("deleteJob:vm"), writtenDeleteVm >= 0);
    }

    void refreshWhileDialogOpen()
    {
        auto job = makeJob("vm", JobStatus::Running, JobAction::Delete, JobType::Virtualization);
        job.configuration.vm_settings.virtualization_type = VirtualizationType::Production;
        auto* table = makeTable({job});
        QPointer<JobActionButtonsWidget> row = firstRow();
        bool rowAliveWhileOpen = false;
        whenModal([&](QWidget* modal) {
            m_service->jobs[0].current_work.progress = 90;
            table->refresh();
            table->refresh();
            flushDeferredDeletes();
            rowAliveWhileOpen = !row.isNull();
            auto* dialog = static_cast<CvJobs::DeleteVMDialog*>(modal);
            QTest::mouseClick(dialog->noButton(), Qt::LeftButton);
            QTest::mouseClick(dialog->saveButton(), Qt::LeftButton);
        });
        QTest::mouseClick(button("Delete Job"), Qt::LeftButton);
        QVERIFY(rowAliveWhileOpen);
        QVERIFY(m_service->calls().contains("deleteJob:vm"));
        QTRY_VERIFY(row.isNull());
        QCOMPARE(static_cast<CvJobs::JobWorkWidget*>(table->jobList()->cell(0, 1))->progressBar()->value(), 90);
    }
};

QTEST_MAIN(TestJobTable)
#include "tst_job_table.moc"
