#include "fake_job_service.h"
#include "jobs/delete_vm_dialog.h"
#include "jobs/delete_vm_dialog2.h"
#include "jobs/job_action_button.h"
#include "jobs/job_action_buttons_widget.h"
#include "jobs/job_list_widget.h"
#include "jobs/job_table_widget.h"
#include "jobs/job_work_widget.h"
#include "testsupport/log_capture.h"

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QRadioButton>
#include <QtTest>

#include <algorithm>
#include <functional>

using namespace CorvelService;
using CvJobs::JobActionButtonsWidget;
using CvJobs::JobTableWidget;
using Failure = FakeJobService::Failure;
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

int g_modalGeneration = 0;

// Runs `handle` on the next modal dialog once it is up (dialogs block in their own event loop).
// Pollers left over from a finished test function stop at the next generation.
void whenModal(std::function<void(QWidget*)> handle, int attemptsLeft = 400, int generation = g_modalGeneration)
{
    QTimer::singleShot(5, [handle, attemptsLeft, generation] {
        if (generation != g_modalGeneration)
            return;
        if (QWidget* modal = QApplication::activeModalWidget())
            handle(modal);
        else if (attemptsLeft > 0)
            whenModal(handle, attemptsLeft - 1, generation);
    });
}

void flushDeferredDeletes()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

class TestJobTable : public QObject {
    Q_OBJECT

private:
    std::shared_ptr<FakeJobService> m_service;
    std::unique_ptr<JobTableWidget> m_table;

    JobTableWidget* makeTable(std::vector<JobDescription> jobs)
    {
        m_service = std::make_shared<FakeJobService>();
        m_service->jobs = std::move(jobs);
        m_table = std::make_unique<JobTableWidget>(m_service, CorvelWidgets::IconFont("velmora-iconfont", {}));
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
        ++g_modalGeneration;
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
        QTest::newRow("order swapped") << Change([](auto& jobs) { std::swap(jobs[0], jobs[1]); })
                                       << QStringList{"b", "a"} << true;
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
        QCOMPARE(list->findChildren<JobActionButtonsWidget*>().size(), ids.size());
    }

    void failingCallKeepsRows_data()
    {
        QTest::addColumn<Failure>("failure");
        QTest::addColumn<QString>("logLine");
        QTest::addColumn<int>("loggedTimes");
        QTest::newRow("application exception, every time") << Failure::Application << RefusedLog << 3;
        QTest::newRow("transport failure, once per outage") << Failure::Transport << TransportLog << 1;
    }

    void failingCallKeepsRows()
    {
        QFETCH(Failure, failure);
        QFETCH(QString, logLine);
        QFETCH(int, loggedTimes);
        auto* table = makeTable({makeJob("a", JobStatus::Running, JobAction::Stop)});
        QPointer<QWidget> row = table->jobList()->cell(0, 0);
        CorvelTest::LogCapture log;
        m_service->listFailure = failure;
        m_service->jobs.clear();
        for (int tick = 0; tick < 3; ++tick)
            table->refresh();
        flushDeferredDeletes();
        QVERIFY(row);
        QCOMPARE(log.count(logLine), loggedTimes);
        QVERIFY(log.contains(QtWarningMsg, logLine));

        m_service->listFailure = Failure::None;
        table->refresh();
        QVERIFY(!table->jobList()->hasRows());
        QCOMPARE(log.contains("Connection to Corvel service restored."), failure == Failure::Transport);
    }

    void reconnectsAtMostOncePerInterval()
    {
        const int interval = 100;
        auto* table = makeTable({makeJob("same", JobStatus::Stopped, JobAction::Start)});
        // The replacement shows the same list: rows must still be rebuilt to act on it.
        auto replacement = std::make_shared<FakeJobService>();
        replacement->jobs = m_service->jobs;
        QElapsedTimer clock;
        QList<qint64> attempts;
        bool serviceBack = false;
        table->setReconnectInterval(interval);
        table->setClientFactory([&]() -> std::shared_ptr<CorvelServiceIf> {
            attempts << clock.elapsed();
            return serviceBack ? replacement : nullptr;
        });
        std::shared_ptr<CorvelServiceIf> announced;
        connect(table, &JobTableWidget::serviceClientChanged, this, [&](auto client) { announced = client; });

        CorvelTest::LogCapture log;
        m_service->listFailure = Failure::Transport;
        clock.start();
        table->refresh();
        QVERIFY(table->isServiceLost());
        table->refreshTimer()->start(5);
        QTRY_VERIFY(attempts.size() >= 3);
        serviceBack = true;
        QTRY_VERIFY(!table->isServiceLost());
        table->refreshTimer()->stop();

        // Failed attempts back off: each wait is at least twice the one before, up to ten intervals.
        for (int i = 1; i < attempts.size(); ++i)
            QVERIFY2(attempts[i] - attempts[i - 1] >= std::min(interval << i, 10 * interval) - 2,
                     qPrintable(QString::number(i)));
        QCOMPARE(m_service->listCalls, 2); // the dead client is not asked again
        QCOMPARE(log.count(TransportLog), 1);
        QCOMPARE(table->client(), std::shared_ptr<CorvelServiceIf>(replacement));
        QCOMPARE(announced, std::shared_ptr<CorvelServiceIf>(replacement));
        button("Start")->click();
        QCOMPARE(replacement->calls, QStringList{"startJob:same"});
        QVERIFY(m_service->calls.isEmpty());
    }

    void actionButtons_data()
    {
        QTest::addColumn<int>("actions");
        QTest::addColumn<QStringList>("buttons");
        QTest::newRow("0") << 0 << QStringList{"Please wait"};
        QTest::newRow("5") << 5 << QStringList{"Start", "Delete Job"};
        QTest::newRow("15") << 15 << QStringList{"Start", "Stop", "Delete Job", "Cancel"};
        QTest::newRow("unknown bits ignored") << (JobAction::Cancel | 64) << QStringList{"Cancel"};
    }

    void actionButtons()
    {
        QFETCH(int, actions);
        QFETCH(QStringList, buttons);
        makeTable({makeJob("a", JobStatus::Running, actions)});
        QStringList texts;
        for (auto* button : firstRow()->findChildren<QPushButton*>()) {
            texts << button->text();
            QVERIFY(button->isEnabled());
        }
        QCOMPARE(texts, buttons);
    }

    void simpleActions_data()
    {
        QTest::addColumn<QString>("buttonText");
        QTest::addColumn<QString>("call");
        QTest::addColumn<Failure>("failure");
        // clang-format off
        QTest::newRow("start") << "Start" << "startJob:j" << Failure::None;
        QTest::newRow("cancel") << "Cancel" << "cancelJob:j" << Failure::None;
        QTest::newRow("delete file recovery asks nothing") << "Delete Job" << "deleteJob:j" << Failure::None;
        QTest::newRow("start refused") << "Start" << "startJob:j" << Failure::Application;
        QTest::newRow("stop, connection gone") << "Stop" << "stopJob:j" << Failure::Transport;
        // clang-format on
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

        QCOMPARE(m_service->calls, QStringList{call});
        const bool succeeded = failure == Failure::None;
        // Success refreshes at once and locks the row until the service's new view is shown.
        QCOMPARE(m_service->listCalls, listCalls + (succeeded ? 1 : 0));
        for (auto* button : firstRow()->buttons())
            QCOMPARE(button->isEnabled(), !succeeded);
        if (!succeeded)
            QVERIFY(log.contains(QtWarningMsg, failure == Failure::Application ? RefusedLog : TransportLog));
    }

    void deleteVirtualMachine_data()
    {
        QTest::addColumn<int>("vmType");
        QTest::addColumn<QStringList>("answers"); // first dialog: save, yes (then save), close;
                                                  // confirmation: delete, keep, close
        QTest::addColumn<Failure>("settingsFailure");
        QTest::addColumn<int>("writtenDeleteVm"); // -1: settings not written, job kept
        QTest::addColumn<QString>("logLine");

        const int test = VirtualizationType::Test;
        const int production = VirtualizationType::Production;
        // clang-format off
        QTest::newRow("production: NO preselected") << production << QStringList{"save"} << Failure::None << 0
                                                    << "Keep VM.";
        QTest::newRow("test: YES preselected") << test << QStringList{"save", "delete"} << Failure::None << 1
                                               << "Delete VM during job deletion.";
        QTest::newRow("No - Keep Virtual Machine") << test << QStringList{"save", "keep"} << Failure::None << 0
                                                   << "Keep VM.";
        QTest::newRow("production switched to yes") << production << QStringList{"yes", "delete"} << Failure::None << 1
                                                    << "Delete VM during job deletion.";
        QTest::newRow("first dialog closed") << test << QStringList{"close"} << Failure::None << -1
                                             << "Ask user about VM deletion.";
        QTest::newRow("confirmation closed") << test << QStringList{"save", "close"} << Failure::None << -1
                                             << "Abort job deletion.";
        QTest::newRow("settings refused") << production << QStringList{"save"} << Failure::Application << -1
                                          << "Abort job deletion.";
        // clang-format on
    }

    void deleteVirtualMachine()
    {
        QFETCH(int, vmType);
        QFETCH(QStringList, answers);
        QFETCH(Failure, settingsFailure);
        QFETCH(int, writtenDeleteVm);
        QFETCH(QString, logLine);

        auto job = makeJob("vm", JobStatus::Running, JobAction::Stop | JobAction::Delete, JobType::Virtualization);
        job.configuration.vm_settings.virtualization_type = static_cast<VirtualizationType::type>(vmType);
        makeTable({job});
        m_service->settingsFailure = settingsFailure;
        m_service->storedSettings.__set_delete_created_vm(writtenDeleteVm != 1);
        CorvelTest::LogCapture log;

        bool yesChecked = false, noChecked = false, confirmationShown = false;
        const QString confirmation = answers.size() > 1 ? answers.last() : "close";
        whenModal([&](QWidget* modal) {
            auto* first = qobject_cast<CvJobs::DeleteVMDialog*>(modal);
            if (!first) {
                modal->close();
                return;
            }
            yesChecked = first->yesButton()->isChecked();
            noChecked = first->noButton()->isChecked();
            whenModal([&](QWidget* next) {
                auto* second = qobject_cast<CvJobs::DeleteVMDialog2*>(next);
                confirmationShown = second != nullptr;
                if (!second || confirmation == "close")
                    next->close();
                else
                    QTest::mouseClick(confirmation == "delete" ? second->deleteButton() : second->keepButton(),
                                      Qt::LeftButton);
            });
            if (answers.first() == "yes")
                QTest::mouseClick(first->yesButton(), Qt::LeftButton);
            QTest::mouseClick(answers.first() == "close" ? first->closeButton() : first->saveButton(), Qt::LeftButton);
        });

        QTest::mouseClick(button("Delete Job"), Qt::LeftButton);

        const bool testVm = vmType == VirtualizationType::Test;
        QCOMPARE(yesChecked, testVm);
        QCOMPARE(noChecked, !testVm);
        QCOMPARE(confirmationShown, answers.size() > 1);
        QVERIFY2(log.contains(QtInfoMsg, logLine), qPrintable(log.texts().join('\n')));
        QCOMPARE(m_service->writtenDeleteVm,
                 writtenDeleteVm < 0 ? std::optional<bool>() : std::optional<bool>(writtenDeleteVm == 1));
        if (writtenDeleteVm < 0)
            QVERIFY(!m_service->calls.contains("deleteJob:vm"));
        else
            QCOMPARE(m_service->calls.mid(m_service->calls.size() - 3),
                     QStringList({"getJobMutableSettings:vm", "setJobMutableSettings:vm", "deleteJob:vm"}));
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
        QVERIFY(m_service->calls.contains("deleteJob:vm"));
        // Once the dialog is gone the postponed rebuild happens.
        QTRY_VERIFY(row.isNull());
        QCOMPARE(static_cast<CvJobs::JobWorkWidget*>(table->jobList()->cell(0, 1))->progressBar()->value(), 90);
    }
};

QTEST_MAIN(TestJobTable)
#include "tst_job_table.moc"
