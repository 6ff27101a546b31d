#include "fake_job_service.h"
#include "jobs/delete_vm_dialog.h"
#include "jobs/delete_vm_dialog2.h"
#include "jobs/job_action_button.h"
#include "jobs/job_action_buttons_widget.h"
#include "jobs/job_info_label.h"
#include "jobs/job_list_widget.h"
#include "jobs/job_status_label.h"
#include "jobs/job_table_header_widget.h"
#include "jobs/job_table_widget.h"
#include "jobs/job_type_label.h"
#include "jobs/job_work_widget.h"
#include "jobs/soft_wrap.h"
#include "testsupport/log_capture.h"

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QRadioButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QtTest>

#include <functional>

using namespace CorvelService;
using CvJobs::JobActionButtonsWidget;
using CvJobs::JobTableWidget;
using Failure = FakeJobService::Failure;

Q_DECLARE_METATYPE(Failure)
Q_DECLARE_METATYPE(JobDescription)
Q_DECLARE_METATYPE(std::vector<JobDescription>)
Q_DECLARE_METATYPE(std::function<void(std::vector<JobDescription>&)>)

namespace {

JobDescription makeJob(const std::string& id, JobStatus::type status, int actions = JobAction::None,
                       JobType::type type = JobType::FileRecovery)
{
    JobDescription job;
    job.id = id;
    job.status = status;
    job.actions = actions;
    job.job_type = type;
    job.description = "job " + id;
    job.configuration.client_name = "Harbour Logistics";
    job.configuration.device_name = "FS-" + id;
    job.configuration.recovery_point = "2026-03-14 02:00";
    job.current_work.text = "Mounting volumes";
    job.current_work.progress = 40;
    return job;
}

CorvelWidgets::IconFont iconFont()
{
    return CorvelWidgets::IconFont("velmora-iconfont", {});
}

QStringList buttonTexts(const JobActionButtonsWidget* actions)
{
    QStringList texts;
    for (auto* button : actions->findChildren<QPushButton*>())
        texts << button->text();
    return texts;
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
// Pollers of a finished test function stop at the next generation.
void whenModal(std::function<void(QWidget*)> handle, int attemptsLeft = 200, int generation = g_modalGeneration)
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
        m_table = std::make_unique<JobTableWidget>(m_service, iconFont());
        // Tests drive refreshes themselves; the timer would interleave with the fake's changes.
        m_table->refreshTimer()->stop();
        m_table->resize(1200, 500);
        return m_table.get();
    }

    JobActionButtonsWidget* actionsOfRow(int row) const
    {
        return qobject_cast<JobActionButtonsWidget*>(m_table->jobList()->cell(row, 7));
    }

    CvJobs::JobActionButton* button(int row, const QString& text) const
    {
        for (auto* candidate : actionsOfRow(row)->buttons())
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

    void structure()
    {
        auto* table = makeTable({});
        QVERIFY(table->findChild<QScrollArea*>("job_table_header_scroll_area"));
        auto* area = table->findChild<QScrollArea*>("job_table_scroll_area");
        QVERIFY(area);
        QCOMPARE(area->verticalScrollBar()->objectName(), QString("job_table_scroll_bar"));
        QStringList captions;
        for (auto* label : table->header()->findChildren<QLabel*>("job_table_header_caption"))
            captions << label->text();
        QCOMPARE(captions, QStringList({"JOB TYPE", "STATUS", "CLIENT", "DEVICE NAME", "RECOVERY POINT",
                                        "LOCAL CACHE", "DESCRIPTION", "ACTION"}));
        QCOMPARE(table->refreshTimer()->interval(), 500);
        QCOMPARE(m_service->listCalls, 1);
    }

    void shownRows_data()
    {
        QTest::addColumn<std::vector<JobDescription>>("jobs");
        QTest::addColumn<QStringList>("ids");
        QTest::newRow("empty list") << std::vector<JobDescription>{} << QStringList{};
        QTest::newRow("only deleted jobs") << std::vector<JobDescription>{makeJob("a", JobStatus::Deleted),
                                                                          makeJob("b", JobStatus::Deleted)}
                                           << QStringList{};
        QTest::newRow("deleted jobs skipped, service order kept")
            << std::vector<JobDescription>{makeJob("c", JobStatus::Running), makeJob("a", JobStatus::Deleted),
                                           makeJob("b", JobStatus::PendingDelete)}
            << QStringList{"c", "b"};
    }

    void shownRows()
    {
        QFETCH(std::vector<JobDescription>, jobs);
        QFETCH(QStringList, ids);
        auto* table = makeTable({makeJob("seed", JobStatus::Running)});
        auto* list = table->jobList();
        QVERIFY(list->hasRows());
        m_service->jobs = jobs;
        table->refresh();
        table->show();
        QCOMPARE(rowIds(list), ids);
        QCOMPARE(list->hasRows(), !ids.isEmpty());
        QCOMPARE(list->placeholder()->objectName(), QString("no_job_item"));
        QCOMPARE(list->placeholder()->text(), QString("No Active Jobs"));
        QCOMPARE(list->placeholder()->isVisible(), ids.isEmpty());
        flushDeferredDeletes();
        QCOMPARE(list->findChildren<JobActionButtonsWidget*>().size(), ids.size());
    }

    void rebuildOnlyOnChange_data()
    {
        QTest::addColumn<std::function<void(std::vector<JobDescription>&)>>("change");
        QTest::addColumn<bool>("rebuilt");
        using Change = std::function<void(std::vector<JobDescription>&)>;
        QTest::newRow("unchanged") << Change([](auto&) {}) << false;
        QTest::newRow("progress only") << Change([](auto& jobs) { jobs[1].current_work.progress = 41; }) << true;
        QTest::newRow("technical details only")
            << Change([](auto& jobs) { jobs[0].current_work.technical_details = "sector 12"; }) << true;
        QTest::newRow("substatus only") << Change([](auto& jobs) { jobs[0].substatus = "waiting"; }) << true;
        QTest::newRow("order swapped") << Change([](auto& jobs) { std::swap(jobs[0], jobs[1]); }) << true;
        QTest::newRow("job added") << Change([](auto& jobs) { jobs.push_back(makeJob("c", JobStatus::Created)); })
                                   << true;
    }

    void rebuildOnlyOnChange()
    {
        QFETCH(std::function<void(std::vector<JobDescription>&)>, change);
        QFETCH(bool, rebuilt);
        auto* table = makeTable({makeJob("a", JobStatus::Running, JobAction::Stop),
                                 makeJob("b", JobStatus::Stopped, JobAction::Start | JobAction::Delete)});
        QPointer<QWidget> before = table->jobList()->cell(1, 1);
        QVERIFY(before);
        change(m_service->jobs);
        table->refresh();
        flushDeferredDeletes();
        QCOMPARE(before.isNull(), rebuilt);
        QCOMPARE(table->jobList()->jobs() == m_service->jobs, true);
        if (rebuilt)
            QCOMPARE(table->jobList()->findChildren<CvJobs::JobWorkWidget*>().size(), int(m_service->jobs.size()));
    }

    void failingCallKeepsRows_data()
    {
        QTest::addColumn<Failure>("failure");
        QTest::addColumn<QString>("logLine");
        QTest::addColumn<int>("loggedTimes");
        QTest::newRow("application exception, every time")
            << Failure::Application << "Application exception: job is locked by another operation" << 3;
        QTest::newRow("transport failure, once per outage")
            << Failure::Transport << "Unknown exception: Called write on non-open socket" << 1;
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
        QCOMPARE(rowIds(table->jobList()), QStringList{"a"});
        QCOMPARE(log.count(logLine), loggedTimes);
        QVERIFY(log.contains(QtWarningMsg, logLine));
        QCOMPARE(m_service->listCalls, 4);

        m_service->listFailure = Failure::None;
        table->refresh();
        QVERIFY(!table->jobList()->hasRows());
        QCOMPARE(log.contains("Connection to Corvel service restored."), failure == Failure::Transport);
    }

    void reconnectsThroughFactory()
    {
        auto* table = makeTable({makeJob("old", JobStatus::Running, JobAction::Stop)});
        auto replacement = std::make_shared<FakeJobService>();
        replacement->jobs = {makeJob("new", JobStatus::Stopped, JobAction::Start)};
        int factoryCalls = 0;
        bool serviceBack = false;
        table->setReconnectInterval(150);
        table->setClientFactory([&]() -> std::shared_ptr<CorvelServiceIf> {
            ++factoryCalls;
            if (!serviceBack)
                return nullptr;
            return replacement;
        });
        std::shared_ptr<CorvelServiceIf> announced;
        connect(table, &JobTableWidget::serviceClientChanged, this,
                [&](std::shared_ptr<CorvelServiceIf> client) { announced = client; });

        // An application exception leaves the connection as it is.
        m_service->listFailure = Failure::Application;
        table->refresh();
        QCOMPARE(factoryCalls, 0);
        QVERIFY(!table->isServiceLost());

        CorvelTest::LogCapture log;
        m_service->listFailure = Failure::Transport;
        table->refresh();
        QVERIFY(table->isServiceLost());
        const int callsOnDeadClient = m_service->listCalls;
        for (int tick = 0; tick < 5; ++tick)
            table->refresh();
        QCOMPARE(factoryCalls, 0); // the interval has not passed yet
        QTest::qWait(200);
        for (int tick = 0; tick < 5; ++tick)
            table->refresh();
        QCOMPARE(factoryCalls, 1);
        QCOMPARE(m_service->listCalls, callsOnDeadClient); // the dead client is not asked again
        QCOMPARE(rowIds(table->jobList()), QStringList{"old"});

        serviceBack = true;
        QTest::qWait(200);
        table->refresh();
        QCOMPARE(factoryCalls, 2);
        QCOMPARE(table->client(), std::shared_ptr<CorvelServiceIf>(replacement));
        QCOMPARE(announced, std::shared_ptr<CorvelServiceIf>(replacement));
        QCOMPARE(rowIds(table->jobList()), QStringList{"new"});
        QCOMPARE(log.count("Unknown exception: Called write on non-open socket"), 1);

        // Rows built after the reconnect act on the new connection.
        button(0, "Start")->click();
        QCOMPARE(replacement->calls, QStringList{"startJob:new"});
        QVERIFY(!m_service->calls.contains("startJob:new"));
    }

    void reconnectRebuildsUnchangedRows()
    {
        auto* table = makeTable({makeJob("same", JobStatus::Stopped, JobAction::Start)});
        auto replacement = std::make_shared<FakeJobService>();
        replacement->jobs = m_service->jobs;
        table->setReconnectInterval(0);
        table->setClientFactory([&] { return replacement; });
        m_service->listFailure = Failure::Transport;
        table->refresh();
        table->refresh();
        button(0, "Start")->click();
        QCOMPARE(replacement->calls, QStringList{"startJob:same"});
        QVERIFY(m_service->calls.isEmpty());
    }

    void rowContent_data()
    {
        QTest::addColumn<JobDescription>("job");
        QTest::addColumn<QString>("typeText");
        QTest::addColumn<QString>("statusText");
        QTest::addColumn<int>("glyph");
        QTest::addColumn<QStringList>("buttons");

        auto job = makeJob("1", JobStatus::Running, JobAction::None, JobType::Virtualization);
        QTest::newRow("nothing allowed") << job << "Virtualization" << "Running" << 0xE953 << QStringList{"Please wait"};
        job = makeJob("2", JobStatus::Stopped, JobAction::Start | JobAction::Delete, JobType::FileRecovery);
        QTest::newRow("start and delete") << job << "File Recovery" << "Stopped" << 0xE9B5
                                          << QStringList{"Start", "Delete Job"};
        job = makeJob("3", JobStatus::Starting, 15, JobType::VirtualExport);
        QTest::newRow("all four") << job << "Virtual Export" << "Starting" << 0xE953
                                  << QStringList{"Start", "Stop", "Delete Job", "Cancel"};
        job = makeJob("4", JobStatus::Initializing, JobAction::Cancel | JobAction::Stop, static_cast<JobType::type>(7));
        QTest::newRow("unknown type, stop and cancel") << job << "unknown" << "Initializing" << 0xE953
                                                       << QStringList{"Stop", "Cancel"};
        job = makeJob("5", JobStatus::Created, JobAction::Start | 64);
        QTest::newRow("unknown bits ignored") << job << "File Recovery" << "Created" << 0xE953
                                              << QStringList{"Start"};
        for (auto status : {JobStatus::Stopping, JobStatus::PendingDelete, JobStatus::Deleting}) {
            job = makeJob("6", status, JobAction::Delete);
            const QString name = QString::fromLatin1(_JobStatus_VALUES_TO_NAMES.at(status));
            QTest::addRow("inactive %s", qPrintable(name)) << job << "File Recovery" << name << 0xE9B5
                                                           << QStringList{"Delete Job"};
        }
        job = makeJob("7", static_cast<JobStatus::type>(42), JobAction::Delete);
        QTest::newRow("status outside the table") << job << "File Recovery" << "42" << 0xE9B5
                                                  << QStringList{"Delete Job"};
    }

    void rowContent()
    {
        QFETCH(JobDescription, job);
        QFETCH(QString, typeText);
        QFETCH(QString, statusText);
        QFETCH(int, glyph);
        QFETCH(QStringList, buttons);
        auto* table = makeTable({job});
        auto* list = table->jobList();

        auto* type = qobject_cast<CvJobs::JobTypeLabel*>(list->cell(0, 0));
        QVERIFY(type);
        QCOMPARE(type->objectName(), QString("job_item_type"));
        QCOMPARE(type->text(), typeText);

        auto* work = qobject_cast<CvJobs::JobWorkWidget*>(list->cell(0, 1));
        QVERIFY(work);
        QCOMPARE(work->objectName(), QString("job_item"));
        QCOMPARE(work->statusLabel()->objectName(), QString("job_icon_label"));
        QCOMPARE(work->statusLabel()->text(), statusText);
        QVERIFY(!work->statusLabel()->icon().isNull());
        QCOMPARE(int(CvJobs::JobStatusLabel::glyph(job.status)), glyph);

        auto* actions = qobject_cast<JobActionButtonsWidget*>(list->cell(0, 7));
        QVERIFY(actions);
        QCOMPARE(buttonTexts(actions), buttons);
        const bool waiting = job.actions == JobAction::None;
        QCOMPARE(actions->waitButton() != nullptr, waiting);
        if (waiting)
            QCOMPARE(actions->waitButton()->objectName(), QString("job_action_button_empty"));
        for (auto* button : actions->buttons()) {
            QCOMPARE(button->objectName(), QString("job_action_button"));
            QVERIFY(button->isEnabled());
        }
    }

    void workAndInfoColumns()
    {
        auto job = makeJob("w", JobStatus::Running, JobAction::Stop);
        job.current_work.technical_details = "read 12 GiB of 30 GiB";
        job.current_work.progress = 73;
        job.configuration.client_name = "";
        job.configuration.local_cache_path = "\\\\nas01\\cache\\Harbour";
        job.description = "ABCDEFGHIJKLMNOPQRSTUVWXY";
        auto idle = makeJob("i", JobStatus::Stopped, JobAction::Start);
        idle.current_work = CurrentWork();
        idle.current_work.progress = -5;
        auto* list = makeTable({job, idle})->jobList();

        auto* work = qobject_cast<CvJobs::JobWorkWidget*>(list->cell(0, 1));
        QVERIFY(work->workLabel());
        QCOMPARE(work->workLabel()->objectName(), QString("job_item_status"));
        QCOMPARE(work->workLabel()->text(), QString("Mounting volumes"));
        QCOMPARE(work->workLabel()->toolTip(), QString("read 12 GiB of 30 GiB"));
        QCOMPARE(work->progressBar()->objectName(), QString("job_current_work_progress_bar"));
        QCOMPARE(work->progressBar()->value(), 73);
        QVERIFY(!work->progressBar()->isTextVisible());
        QCOMPARE(work->findChildren<QLabel*>("job_item_status").size(), 1);

        auto* idleWork = qobject_cast<CvJobs::JobWorkWidget*>(list->cell(1, 1));
        QVERIFY(!idleWork->workLabel());
        QVERIFY(idleWork->findChildren<QLabel*>("job_item_status").isEmpty());
        QCOMPARE(idleWork->progressBar()->value(), 0);

        const QString zw = CvJobs::ZeroWidthSpace;
        const QStringList names = {"job_info_stub", "job_info_label", "job_info_label", "job_info_label",
                                   "job_info_label"};
        const QStringList texts = {"none", "FS-w", "2026-03-14" + zw + " 02:00",
                                   "\\" + zw + "\\" + zw + "nas01\\" + zw + "cache\\" + zw + "Harbour",
                                   "ABCDEFGHIJ" + zw + "KLMNOPQRST" + zw + "UVWXY"};
        for (int column = 2; column <= 6; ++column) {
            auto* label = qobject_cast<CvJobs::JobInfoLabel*>(list->cell(0, column));
            QVERIFY2(label, qPrintable(QString::number(column)));
            QCOMPARE(label->objectName(), names[column - 2]);
            QCOMPARE(label->text(), texts[column - 2]);
            QVERIFY(label->wordWrap());
        }
    }

    void simpleActions_data()
    {
        QTest::addColumn<QString>("buttonText");
        QTest::addColumn<QString>("slotName");
        QTest::addColumn<QString>("call");
        QTest::addColumn<Failure>("failure");
        QTest::addColumn<QString>("failureLog");
        const QString app = "Application exception: job is locked by another operation";
        const QString other = "Unknown exception: Called write on non-open socket";
        QTest::newRow("start") << "Start" << "onStartJob" << "startJob:j" << Failure::None << "";
        QTest::newRow("stop") << "Stop" << "onStopJob" << "stopJob:j" << Failure::None << "";
        QTest::newRow("cancel") << "Cancel" << "onCancelJob" << "cancelJob:j" << Failure::None << "";
        QTest::newRow("delete file recovery asks nothing")
            << "Delete Job" << "onDeleteJob" << "deleteJob:j" << Failure::None << "";
        QTest::newRow("start refused") << "Start" << "onStartJob" << "startJob:j" << Failure::Application << app;
        QTest::newRow("stop, connection gone") << "Stop" << "onStopJob" << "stopJob:j" << Failure::Transport << other;
        QTest::newRow("cancel refused") << "Cancel" << "onCancelJob" << "cancelJob:j" << Failure::Application << app;
        QTest::newRow("delete refused") << "Delete Job" << "onDeleteJob" << "deleteJob:j" << Failure::Application
                                        << app;
    }

    void simpleActions()
    {
        QFETCH(QString, buttonText);
        QFETCH(QString, slotName);
        QFETCH(QString, call);
        QFETCH(Failure, failure);
        QFETCH(QString, failureLog);
        auto* table = makeTable({makeJob("j", JobStatus::Running, 15, JobType::FileRecovery)});
        table->show();
        m_service->actionFailure = failure;
        const int listCalls = m_service->listCalls;
        auto* row = actionsOfRow(0);
        CorvelTest::LogCapture log;
        int modalDialogs = 0;
        whenModal([&](QWidget* modal) {
            ++modalDialogs;
            modal->close();
        });

        QTest::mouseClick(button(0, buttonText), Qt::LeftButton);
        QTest::qWait(30);

        QCOMPARE(m_service->calls, QStringList{call});
        QCOMPARE(modalDialogs, 0);
        QVERIFY(log.contains(QtInfoMsg, slotName));
        const bool succeeded = failure == Failure::None;
        // Success asks for a refresh at once and locks the row until the service's new view is shown.
        QCOMPARE(m_service->listCalls, listCalls + (succeeded ? 1 : 0));
        for (auto* button : row->buttons())
            QCOMPARE(button->isEnabled(), !succeeded);
        if (!succeeded)
            QVERIFY(log.contains(QtWarningMsg, failureLog));
    }

    void deleteVirtualMachine_data()
    {
        QTest::addColumn<int>("vmType");
        QTest::addColumn<QString>("firstAnswer");  // close, save, yes (check YES and save), no
        QTest::addColumn<QString>("secondAnswer"); // -, delete, keep, close
        QTest::addColumn<Failure>("settingsFailure");
        QTest::addColumn<bool>("yesPreselected");
        QTest::addColumn<int>("writtenDeleteVm"); // -1: settings not written
        QTest::addColumn<bool>("jobDeleted");
        QTest::addColumn<QStringList>("logLines");

        const int test = VirtualizationType::Test;
        const int production = VirtualizationType::Production;
        QTest::newRow("production: keep preselected, saved") << production << "save" << "-" << Failure::None << false
                                                             << 0 << true << QStringList{"Keep VM."};
        QTest::newRow("test: delete preselected, confirmed")
            << test << "save" << "delete" << Failure::None << true << 1 << true
            << QStringList{"Delete VM during job deletion."};
        QTest::newRow("test: confirmation answers keep") << test << "save" << "keep" << Failure::None << true << 0
                                                         << true << QStringList{"Keep VM."};
        QTest::newRow("production switched to yes, confirmed")
            << production << "yes" << "delete" << Failure::None << false << 1 << true
            << QStringList{"Delete VM during job deletion."};
        QTest::newRow("test switched to no") << test << "no" << "-" << Failure::None << true << 0 << true
                                             << QStringList{"Keep VM."};
        QTest::newRow("first dialog closed") << test << "close" << "-" << Failure::None << true << -1 << false
                                             << QStringList{};
        QTest::newRow("confirmation closed") << test << "save" << "close" << Failure::None << true << -1 << false
                                             << QStringList{"Abort job deletion."};
        QTest::newRow("settings refused: job kept")
            << production << "save" << "-" << Failure::Application << false << -1 << false
            << QStringList{"Keep VM.", "Application exception: job is locked by another operation",
                           "Abort job deletion."};
    }

    void deleteVirtualMachine()
    {
        QFETCH(int, vmType);
        QFETCH(QString, firstAnswer);
        QFETCH(QString, secondAnswer);
        QFETCH(Failure, settingsFailure);
        QFETCH(bool, yesPreselected);
        QFETCH(int, writtenDeleteVm);
        QFETCH(bool, jobDeleted);
        QFETCH(QStringList, logLines);

        auto job = makeJob("vm", JobStatus::Running, JobAction::Stop | JobAction::Delete, JobType::Virtualization);
        job.configuration.vm_settings.virtualization_type = static_cast<VirtualizationType::type>(vmType);
        auto* table = makeTable({job});
        table->show();
        m_service->settingsFailure = settingsFailure;
        m_service->storedSettings.delete_created_vm = writtenDeleteVm != 1;
        CorvelTest::LogCapture log;

        QStringList dialogs;
        bool yesWasChecked = false;
        bool noWasChecked = false;
        whenModal([&](QWidget* modal) {
            auto* first = qobject_cast<CvJobs::DeleteVMDialog*>(modal);
            if (!first) {
                modal->close();
                return;
            }
            dialogs << first->windowTitle();
            yesWasChecked = first->yesButton()->isChecked();
            noWasChecked = first->noButton()->isChecked();
            if (secondAnswer != "-")
                whenModal([&](QWidget* next) {
                    auto* second = qobject_cast<CvJobs::DeleteVMDialog2*>(next);
                    if (!second) {
                        next->close();
                        return;
                    }
                    dialogs << second->findChild<QLabel*>("delete_vm_label_big")->text();
                    if (secondAnswer == "delete")
                        QTest::mouseClick(second->deleteButton(), Qt::LeftButton);
                    else if (secondAnswer == "keep")
                        QTest::mouseClick(second->keepButton(), Qt::LeftButton);
                    else
                        QTest::mouseClick(second->closeButton(), Qt::LeftButton);
                });
            if (firstAnswer == "close") {
                QTest::mouseClick(first->closeButton(), Qt::LeftButton);
                return;
            }
            if (firstAnswer == "yes")
                QTest::mouseClick(first->yesButton(), Qt::LeftButton);
            if (firstAnswer == "no")
                QTest::mouseClick(first->noButton(), Qt::LeftButton);
            QTest::mouseClick(first->saveButton(), Qt::LeftButton);
        });

        QTest::mouseClick(button(0, "Delete Job"), Qt::LeftButton);
        QTest::qWait(30);

        QStringList expectedDialogs{"Delete Virtual Machine"};
        if (secondAnswer != "-")
            expectedDialogs << "ARE YOU SURE?";
        QCOMPARE(dialogs, expectedDialogs);
        QCOMPARE(yesWasChecked, yesPreselected);
        QCOMPARE(noWasChecked, !yesPreselected);
        QVERIFY(log.contains(QtInfoMsg, "onDeleteJob"));
        QVERIFY(log.contains(QtInfoMsg, "Ask user about VM deletion."));
        for (const QString& line : logLines)
            QVERIFY2(log.contains(line), qPrintable(line));
        if (writtenDeleteVm < 0)
            QVERIFY(!m_service->writtenDeleteVm.has_value());
        else
            QCOMPARE(m_service->writtenDeleteVm, std::optional<bool>(writtenDeleteVm == 1));
        QCOMPARE(m_service->calls.contains("deleteJob:vm"), jobDeleted);
        if (jobDeleted)
            QCOMPARE(m_service->calls.mid(m_service->calls.size() - 3),
                     QStringList({"getJobMutableSettings:vm", "setJobMutableSettings:vm", "deleteJob:vm"}));
        for (auto* button : actionsOfRow(0)->buttons())
            QCOMPARE(button->isEnabled(), !jobDeleted);
    }

    void rowSurvivesRefreshWhileDialogOpen()
    {
        auto job = makeJob("vm", JobStatus::Running, JobAction::Delete, JobType::Virtualization);
        job.configuration.vm_settings.virtualization_type = VirtualizationType::Production;
        auto* table = makeTable({job});
        table->show();
        table->refreshTimer()->start(); // polls inside the dialog's event loop, as in the console
        QPointer<JobActionButtonsWidget> row = actionsOfRow(0);
        bool rowAliveWhileOpen = false;
        whenModal([&](QWidget* modal) {
            m_service->jobs[0].current_work.progress = 90;
            QTest::qWait(1200); // two ticks see the changed list
            flushDeferredDeletes();
            rowAliveWhileOpen = !row.isNull();
            QTest::mouseClick(static_cast<CvJobs::DeleteVMDialog*>(modal)->saveButton(), Qt::LeftButton);
        });
        QTest::mouseClick(button(0, "Delete Job"), Qt::LeftButton);
        QVERIFY(rowAliveWhileOpen);
        QVERIFY(m_service->calls.contains("deleteJob:vm"));
        // Once the dialog is gone the waiting rebuild happens.
        QTRY_VERIFY(row.isNull());
        QCOMPARE(static_cast<CvJobs::JobWorkWidget*>(table->jobList()->cell(0, 1))->progressBar()->value(), 90);
    }
};


QTEST_MAIN(TestJobTable)
#include "tst_job_table.moc"
