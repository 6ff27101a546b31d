#include "jobs/delete_vm_dialog.h"
#include "jobs/delete_vm_dialog2.h"
#include "jobs/job_action_button.h"
#include "jobs/job_action_buttons_widget.h"
#include "jobs/job_list_widget.h"
#include "jobs/job_table_widget.h"
#include "jobs/job_work_widget.h"
#include "jobs/soft_wrap.h"
#include "testsupport/console_look.h"
#include "testsupport/fake_service.h"
#include "testsupport/find_child.h"
#include "testsupport/log_capture.h"
#include "testsupport/manual_clock.h"
#include "testsupport/modal.h"

#include <QAccessible>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QRadioButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTextDocument>
#include <QtTest>

#include <atomic>
#include <functional>

using namespace CorvelService;
using CorvelTest::FakeService;
using CorvelTest::named;
using CorvelTest::whenModal;
using CvJobs::JobActionButtonsWidget;
using CvJobs::JobTableWidget;
using Failure = FakeService::Failure;
using Change = std::function<void(std::vector<JobDescription>&)>;

Q_DECLARE_METATYPE(Failure)
Q_DECLARE_METATYPE(Change)

namespace {

const QString RefusedLog = "Application exception: job is locked by another operation";
const QString DeleteYes = "YES - Delete this virtual machine from the Hyper-V host";
const QString DeleteNo = "NO - Leave this virtual machine on the Hyper-V host";
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

// Waits for the request in flight, if any, to come back and be shown.
void waitForPoll(ServiceConnection& connection)
{
    if (!connection.isPollOut())
        return;
    QSignalSpy polled(&connection, &ServiceConnection::polled);
    QVERIFY(polled.wait(5000));
}

void poll(ServiceConnection& connection)
{
    waitForPoll(connection);
    connection.pollSoon();
    waitForPoll(connection);
    flushDeferredDeletes();
}

QLabel* banner(const QWidget* table)
{
    return table->findChild<QLabel*>("job_table_banner");
}

// The row controls in keyboard order, from the first row's first control, as "job:text".
QStringList tabOrder(const CvJobs::JobListWidget* list)
{
    QStringList order;
    QWidget* first =
        list->cell(0, 7) ? static_cast<JobActionButtonsWidget*>(list->cell(0, 7))->findChild<QPushButton*>() : nullptr;
    for (QWidget* widget = first; widget && order.size() < 100; widget = widget->nextInFocusChain()) {
        if (!list->isAncestorOf(widget) || widget->isHidden() || !(widget->focusPolicy() & Qt::TabFocus))
            continue;
        const auto* actions = qobject_cast<JobActionButtonsWidget*>(widget->parentWidget());
        const QString entry =
            QString::fromStdString(actions->job().id) + ":" + static_cast<QPushButton*>(widget)->text();
        if (!order.isEmpty() && entry == order.first())
            break;
        order << entry;
    }
    return order;
}

} // namespace

class TestJobTable : public QObject {
    Q_OBJECT

private:
    std::shared_ptr<FakeService> m_service;
    std::shared_ptr<CorvelTest::ManualClock> m_clock;
    std::unique_ptr<ServiceConnection> m_connection;
    std::unique_ptr<JobTableWidget> m_table;
    CorvelWidgets::IconFont m_iconFont{"velmora-iconfont", {}};

    JobTableWidget* makeTable(std::vector<JobDescription> jobs, ServiceConnection::Factory factory = {})
    {
        m_service = std::make_shared<FakeService>();
        m_service->jobs = std::move(jobs);
        m_clock = std::make_shared<CorvelTest::ManualClock>();
        m_table.reset();
        // The first client is the fake; later ones come from `factory`.
        m_connection = std::make_unique<ServiceConnection>(
            [first = ServiceConnection::Client(m_service), factory]() mutable -> ServiceConnection::Client {
                if (first)
                    return std::exchange(first, nullptr);
                return factory ? factory() : nullptr;
            },
            m_clock);
        m_connection->setPollInterval(0); // tests drive the refreshes
        m_connection->connectNow();
        m_table = std::make_unique<JobTableWidget>(*m_connection, m_iconFont);
        m_table->setClock(m_clock);
        m_table->resize(1200, 500);
        m_table->show();
        waitForPoll(*m_connection);
        settle();
        return m_table.get();
    }

    // The operator looks at the table long enough for a press to count.
    void settle() const
    {
        QCoreApplication::processEvents();
        m_clock->advance(JobActionButtonsWidget::SettleMs);
    }

    // The row of job `id`, found as a user would see it.
    QWidget* rowOf(const std::string& id) const
    {
        for (auto* actions : m_table->findChildren<JobActionButtonsWidget*>())
            if (actions->job().id == id && actions->isVisible())
                return actions->parentWidget();
        return nullptr;
    }

    QPushButton* buttonOf(const std::string& id, const QString& text) const
    {
        QWidget* row = rowOf(id);
        for (auto* candidate : row ? row->findChildren<QPushButton*>() : QList<QPushButton*>())
            if (candidate->text() == text && candidate->isVisible())
                return candidate;
        return nullptr;
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
    // The real style sheet: it tells cells apart by object name, so what a row shows depends on it.
    void initTestCase() { m_iconFont = CorvelTest::applyConsoleLook(); }

    void cleanup()
    {
        CorvelTest::forgetModalWaits();
        m_table.reset();
        flushDeferredDeletes();
        m_service.reset();
    }

    void refreshShowsTheServiceList_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<QStringList>("ids");
        QTest::addColumn<int>("progress"); // of job "b", -1 when not shown
        const auto replace = [](std::vector<JobDescription> jobs) { return Change([jobs](auto& v) { v = jobs; }); };
        // clang-format off
        QTest::newRow("empty list") << replace({}) << QStringList{} << -1;
        QTest::newRow("only deleted jobs")
            << replace({makeJob("a", JobStatus::Deleted), makeJob("b", JobStatus::Deleted)}) << QStringList{} << -1;
        QTest::newRow("deleted skipped, service order")
            << replace({makeJob("c", JobStatus::Running), makeJob("a", JobStatus::Deleted),
                        makeJob("b", JobStatus::PendingDelete)}) << QStringList{"c", "b"} << 0;
        QTest::newRow("reordered")
            << Change([](auto& jobs) { std::swap(jobs[0], jobs[1]); }) << QStringList{"b", "a"} << 7;
        QTest::newRow("unchanged") << Change([](auto&) {}) << QStringList{"a", "b"} << 7;
        QTest::newRow("progress only") << Change([](auto& jobs) { jobs[1].current_work.progress = 41; })
                                       << QStringList{"a", "b"} << 41;
        // clang-format on
    }

    void refreshShowsTheServiceList()
    {
        QFETCH(Change, change);
        QFETCH(QStringList, ids);
        QFETCH(int, progress);
        auto b = makeJob("b", JobStatus::Stopped, JobAction::Start | JobAction::Delete);
        b.current_work.progress = 7;
        auto* table = makeTable({makeJob("a", JobStatus::Running, JobAction::Stop), b});
        auto* list = table->jobList();
        change(m_service->jobs);
        const int calls = m_service->listCalls;
        poll(*m_connection);
        QCOMPARE(m_service->listCalls, calls + 1);
        QCOMPARE(rowIds(list), ids);
        QCOMPARE(list->findChild<QLabel*>("no_job_item")->text(), QString("No Active Jobs"));
        QCOMPARE(list->findChild<QLabel*>("no_job_item")->isVisible(), ids.isEmpty());
        const int rowB = ids.indexOf("b");
        if (rowB >= 0)
            QCOMPARE(static_cast<CvJobs::JobWorkWidget*>(list->cell(rowB, 1))->progressBar()->value(), progress);
    }

    // Rows changed in place look exactly like rows built afresh for the same jobs.
    void inPlaceMatchesFreshBuild_data()
    {
        QTest::addColumn<int>("width");
        QTest::newRow("narrow") << 760;
        QTest::newRow("default") << 1175;
        QTest::newRow("wide") << 1700;
    }

    void inPlaceMatchesFreshBuild()
    {
        QFETCH(int, width);
        std::vector<JobDescription> jobs;
        for (int i = 0; i < 6; ++i) {
            auto job = makeJob("job-" + std::to_string(i), JobStatus::Running, JobAction::Stop,
                               static_cast<JobType::type>(i % 3));
            job.configuration.client_name = "Harbour Logistics";
            job.configuration.device_name = "FS-10" + std::to_string(i);
            job.configuration.recovery_point = "2026_03_14_02_00_00";
            job.current_work.text = i % 2 ? "Mounting volumes" : "";
            job.current_work.progress = static_cast<int8_t>(10 * i);
            jobs.push_back(job);
        }
        auto* table = makeTable(jobs);
        auto& next = m_service->jobs;
        next[0].current_work.progress = 90;
        next[1].status = JobStatus::Stopped;
        next[1].actions = JobAction::Start | JobAction::Delete;
        next[1].current_work.text = "";
        next[2].description = "A description long enough to wrap over several lines of its narrow column";
        next[2].configuration.local_cache_path = "\\\\nas01\\cache\\harbour\\a-very-long-folder-name";
        next[3].status = JobStatus::Deleted;
        next.erase(next.begin() + 4);
        auto added = makeJob("added", JobStatus::Starting, JobAction::None, JobType::Virtualization);
        added.current_work.text = "Preparing the virtual machine";
        next.insert(next.begin() + 2, added);
        poll(*m_connection);
        next[0].current_work.text = "Now with a text";
        next[3].description = "short";
        poll(*m_connection);

        JobTableWidget fresh(*m_connection, m_iconFont);
        for (JobTableWidget* shown : {table, &fresh}) {
            shown->resize(width, 500);
            shown->show();
        }
        waitForPoll(*m_connection);
        // A loaded machine may still be building the fresh rows in slices.
        QTRY_VERIFY(!table->jobList()->isBuilding() && !fresh.jobList()->isBuilding());
        flushDeferredDeletes();
        QCoreApplication::processEvents();
        // A focused button wears the focus ring; only the rows are compared.
        for (JobTableWidget* shown : {table, &fresh})
            for (auto* button : shown->findChildren<QPushButton*>())
                button->clearFocus();
        QCOMPARE(rowIds(table->jobList()), rowIds(fresh.jobList()));
        // Both lists lay out again at the new width.
        QTRY_COMPARE(table->jobList()->size(), fresh.jobList()->size());
        QTest::qWait(20);
        const QImage changed = table->jobList()->grab().toImage();
        const QImage built = fresh.jobList()->grab().toImage();
        if (changed != built) {
            changed.save(QDir::temp().filePath("jobs-in-place.png"));
            built.save(QDir::temp().filePath("jobs-fresh.png"));
        }
        QVERIFY2(changed == built, "the rows changed in place differ from a fresh build (images in the temp folder)");
        QCOMPARE(tabOrder(table->jobList()), tabOrder(fresh.jobList()));
    }

    void focusSurvivesOtherRowsChanging()
    {
        auto* table = makeTable({makeJob("a", JobStatus::Running, JobAction::Stop | JobAction::Cancel),
                                 makeJob("b", JobStatus::Stopped, JobAction::Start)});
        table->activateWindow();
        QApplication::setActiveWindow(table);
        auto* cancel = button("Cancel");
        cancel->setFocus(Qt::TabFocusReason);
        QVERIFY(cancel->hasFocus());
        m_service->jobs[1].current_work.progress = 50;
        m_service->jobs[1].actions = JobAction::Delete;
        m_service->jobs.insert(m_service->jobs.begin(), makeJob("new", JobStatus::Created, JobAction::Start));
        poll(*m_connection);
        QCOMPARE(rowIds(table->jobList()), (QStringList{"new", "a", "b"}));
        QVERIFY(cancel->hasFocus());
        QCOMPARE(tabOrder(table->jobList()), (QStringList{"new:Start", "a:Stop", "a:Cancel", "b:Delete Job"}));
    }

    // After a row action the keyboard stays with that job, or goes to the table once the job is
    // gone; never to another job's button, where Space would act on the wrong job.
    void focusStaysWithItsJob_data()
    {
        QTest::addColumn<int>("actionsAfter"); // -1: the job is gone
        QTest::addColumn<QString>("focusAfter"); // a button of "a", or "" for the table
        QTest::newRow("new buttons") << int(JobAction::Delete) << "Delete Job";
        QTest::newRow("same buttons") << int(JobAction::Stop | JobAction::Cancel) << "Stop";
        QTest::newRow("nothing allowed") << int(JobAction::None) << "Please wait";
        QTest::newRow("job gone") << -1 << "";
    }

    void focusStaysWithItsJob()
    {
        QFETCH(int, actionsAfter);
        QFETCH(QString, focusAfter);
        auto* table = makeTable({makeJob("a", JobStatus::Running, JobAction::Stop | JobAction::Cancel),
                                 makeJob("b", JobStatus::Running, JobAction::Stop | JobAction::Cancel)});
        QApplication::setActiveWindow(table);
        QVERIFY(QTest::qWaitForWindowActive(table));
        QPushButton* cancel = buttonOf("a", "Cancel");
        cancel->setFocus(Qt::TabFocusReason);
        QTest::keyClick(cancel, Qt::Key_Space);
        QCOMPARE(m_service->calls(), QStringList{"cancelJob:a"});
        const auto notOnB = [&] { return !rowOf("b")->isAncestorOf(QApplication::focusWidget()); };
        QVERIFY(notOnB());

        // The action's own refresh reads the service's list on the worker: change it only after.
        waitForPoll(*m_connection);
        if (actionsAfter < 0)
            m_service->jobs.erase(m_service->jobs.begin());
        else
            m_service->jobs[0].actions = actionsAfter;
        m_service->jobs[0].current_work.progress = 30;
        poll(*m_connection);
        QVERIFY(notOnB());
        QWidget* focused = QApplication::focusWidget();
        QVERIFY(focused);
        if (focusAfter.isEmpty()) {
            QVERIFY(!qobject_cast<QPushButton*>(focused));
            QVERIFY(table->isAncestorOf(focused));
        } else {
            QCOMPARE(focused, static_cast<QWidget*>(buttonOf("a", focusAfter)));
        }
    }

    // Tab walks the rows top to bottom, each row's buttons in order, with no stop in between.
    void tabFollowsRows()
    {
        auto* table = makeTable({makeJob("a", JobStatus::Running, JobAction::Stop),
                                 makeJob("b", JobStatus::Stopped, JobAction::Start | JobAction::Delete),
                                 makeJob("c", JobStatus::Running, JobAction::Stop | JobAction::Cancel)});
        QApplication::setActiveWindow(table);
        QVERIFY(QTest::qWaitForWindowActive(table));
        auto& jobs = m_service->jobs;
        std::swap(jobs[0], jobs[2]);
        jobs[1].actions = JobAction::Delete;
        jobs.insert(jobs.begin() + 1, makeJob("d", JobStatus::Created, JobAction::Start | JobAction::Cancel));
        poll(*m_connection);
        jobs[3].actions = JobAction::Start | JobAction::Delete;
        poll(*m_connection);

        QWidget* first = buttonOf("c", "Stop");
        first->setFocus(Qt::TabFocusReason);
        QStringList stops;
        for (QWidget* at = first; stops.size() < 20;) {
            auto* actions = qobject_cast<JobActionButtonsWidget*>(at->parentWidget());
            stops << (actions ? QString::fromStdString(actions->job().id) + ":" + static_cast<QPushButton*>(at)->text()
                              : QString(at->metaObject()->className()));
            QTest::keyClick(at, Qt::Key_Tab);
            at = QApplication::focusWidget();
            if (at == first)
                break;
        }
        QCOMPARE(stops, (QStringList{"c:Stop", "c:Cancel", "d:Start", "d:Cancel", "b:Delete Job", "a:Start",
                                     "a:Delete Job"}));
    }

    // A press on a row that just moved or changed its buttons was aimed at what stood there before.
    void pressesRightAfterAChangeAreIgnored_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<QString>("press"); // a button of job "a"
        QTest::addColumn<bool>("byKey");
        QTest::addColumn<bool>("ignored");
        QTest::newRow("its buttons changed")
            << Change([](auto& jobs) { jobs[0].actions = JobAction::Start | JobAction::Delete; }) << "Delete Job"
            << false << true;
        QTest::newRow("it moved down, by key")
            << Change([](auto& jobs) { jobs.insert(jobs.begin(), makeJob("new", JobStatus::Created)); }) << "Stop"
            << true << true;
        QTest::newRow("another row's progress")
            << Change([](auto& jobs) { jobs[1].current_work.progress = 60; }) << "Stop" << false << false;
    }

    void pressesRightAfterAChangeAreIgnored()
    {
        QFETCH(Change, change);
        QFETCH(QString, press);
        QFETCH(bool, byKey);
        QFETCH(bool, ignored);
        auto* table = makeTable({makeJob("a", JobStatus::Running, JobAction::Stop),
                                 makeJob("b", JobStatus::Running, JobAction::Stop)});
        QApplication::setActiveWindow(table);
        change(m_service->jobs);
        poll(*m_connection);
        QCoreApplication::processEvents();
        m_clock->advance(JobActionButtonsWidget::SettleMs - 1);
        const auto pressOnce = [&] {
            QPushButton* target = buttonOf("a", press);
            QVERIFY(target);
            if (byKey) {
                target->setFocus(Qt::TabFocusReason);
                QTest::keyClick(target, Qt::Key_Space);
            } else {
                QTest::mouseClick(target, Qt::LeftButton);
            }
        };
        CorvelTest::LogCapture log;
        pressOnce();
        QCOMPARE(m_service->calls().isEmpty(), ignored);
        QCOMPARE(log.texts().filter(" ignored: the row of job a changed").size(), ignored ? 1 : 0);
        if (!ignored)
            return;
        m_clock->advance(1);
        pressOnce();
        QCOMPARE(m_service->calls().size(), 1);
    }

    // Progress and status never change a row's height, so the rows below stay under the pointer.
    void rowHeightStaysPut()
    {
        auto job = makeJob("a", JobStatus::Running, JobAction::Stop | JobAction::Cancel);
        job.current_work.text = "Mounting volumes";
        makeTable({job, makeJob("b", JobStatus::Running, JobAction::Stop)});
        QCoreApplication::processEvents();
        const int height = rowOf("a")->height();
        const int below = rowOf("b")->y();
        const QList<Change> changes{
            [](auto& jobs) { jobs[0].current_work.progress = 70; },
            [](auto& jobs) {
                jobs[0].status = JobStatus::Stopped;
                jobs[0].actions = JobAction::Start;
                jobs[0].current_work.text = "";
            },
            [](auto& jobs) {
                jobs[0].status = JobStatus::Starting;
                jobs[0].actions = JobAction::None;
            },
            [](auto& jobs) {
                jobs[0].status = JobStatus::Running;
                jobs[0].actions = JobAction::Stop | JobAction::Cancel;
                jobs[0].current_work.text = "Mounting volumes";
            }};
        for (const Change& change : changes) {
            change(m_service->jobs);
            poll(*m_connection);
            QCoreApplication::processEvents();
            QCOMPARE(rowOf("a")->height(), height);
            QCOMPARE(rowOf("b")->y(), below);
        }
    }

    // Without hovering a row says what its job produced, the service's substatus and the restore
    // point as the wizard showed it; "Copy details" takes every field but the secrets.
    void rowShowsItsResult_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("result"); // empty: none shown
        QTest::newRow("mounted") << int(JobType::FileRecovery) << int(JobStatus::Running) << "Mounted at E:";
        QTest::newRow("exported") << int(JobType::VirtualExport) << int(JobStatus::Stopped)
                                  << "Exported to E:\\exports";
        QTest::newRow("virtual machine") << int(JobType::Virtualization) << int(JobStatus::Running)
                                         << "Virtual machine FS-01 recovered";
        QTest::newRow("not run yet") << int(JobType::FileRecovery) << int(JobStatus::Starting) << QString();
    }

    void rowShowsItsResult()
    {
        QFETCH(int, type);
        QFETCH(int, status);
        QFETCH(QString, result);
        auto job = makeJob("a", JobStatus::type(status), JobAction::Stop, JobType::type(type));
        job.configuration.mount_point = type == JobType::VirtualExport ? "E:\\exports" : "E:";
        job.configuration.vm_settings.name = "FS-01 recovered";
        job.configuration.recovery_point = "2026_11_18_00_42_00";
        job.configuration.device_token = "device-token-1001-secret";
        job.configuration.local_cache_password = "share-password";
        job.substatus = "Waiting for the cache";
        auto* table = makeTable({job});
        auto* shown = table->findChild<QLabel*>("job_item_result");
        QCOMPARE(shown->isVisible(), !result.isEmpty());
        QCOMPARE(shown->text(), result);
        QCOMPARE(table->findChild<QLabel*>("job_item_substatus")->text(), QString("Waiting for the cache"));
        QLabel* point = nullptr;
        for (auto* label : table->findChildren<QLabel*>("job_info_label"))
            if (label->toolTip().contains("2026_11_18_00_42_00"))
                point = label;
        QVERIFY(point);
        QCOMPARE(point->text().remove(QChar(0x200B)), QString("11/18/2026 12:42 am"));

        QGuiApplication::clipboard()->clear();
        QTimer::singleShot(50, [] {
            if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
                for (QAction* action : menu->actions())
                    if (action->text() == "Copy details")
                        action->trigger();
                menu->close();
            }
        });
        QWidget* row = rowOf("a");
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), row->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(row, &event);
        const QString copied = QGuiApplication::clipboard()->text();
        for (const QString& field : {QString("Job: a"), QString("Substatus: Waiting for the cache"),
                                     QString("Recovery point: 11/18/2026 12:42 am (2026_11_18_00_42_00)")})
            QVERIFY2(copied.contains(field), qPrintable(copied));
        if (!result.isEmpty())
            QVERIFY2(copied.contains("Result: " + result), qPrintable(copied));
        QVERIFY(!copied.contains("secret") && !copied.contains("share-password"));
    }

    // A job launched a moment ago is scrolled into view and marked, even when it is listed later.
    void newJobIsRevealed()
    {
        std::vector<JobDescription> jobs;
        for (int i = 0; i < 30; ++i)
            jobs.push_back(makeJob("job-" + std::to_string(i), JobStatus::Running, JobAction::Stop));
        auto* table = makeTable(jobs);
        auto* scroll = table->findChild<QScrollArea*>("job_table_scroll_area");
        QCOMPARE(scroll->verticalScrollBar()->value(), 0);
        table->revealJob("launched");
        m_service->jobs.push_back(makeJob("launched", JobStatus::Created, JobAction::Cancel));
        poll(*m_connection);
        // Rows of a long list may be built over a few event-loop passes.
        QTRY_VERIFY(rowOf("launched"));
        QWidget* row = rowOf("launched");
        QTRY_COMPARE(row->property("highlighted").toBool(), true);
        QTRY_VERIFY(scroll->verticalScrollBar()->value() > 0);
        const QRect inView(row->mapTo(scroll->viewport(), QPoint(0, 0)), row->size());
        QVERIFY2(scroll->viewport()->rect().contains(inView), qPrintable(QString::number(inView.y())));
        QTRY_COMPARE_WITH_TIMEOUT(row->property("highlighted").toBool(), false, 4000);
    }

    void failingCallKeepsRows()
    {
        auto* table = makeTable({makeJob("a", JobStatus::Running, JobAction::Stop)});
        QPointer<QWidget> row = table->jobList()->cell(0, 0);
        CorvelTest::LogCapture log;
        m_service->listFailure = Failure::Application;
        m_service->jobs.clear();
        poll(*m_connection);
        poll(*m_connection);
        QVERIFY(row);
        QCOMPARE(log.count(RefusedLog), 2);
        // A refusal is an answer: the connection stands and its client stays.
        QVERIFY(!m_connection->isLost());
        QVERIFY(banner(table)->isHidden());
        m_service->listFailure = Failure::None;
        poll(*m_connection);
        QVERIFY(table->findChild<QLabel*>("no_job_item")->isVisible());
    }

    void reconnectBacksOff()
    {
        const int interval = 100;
        QList<qint64> attempts;
        std::atomic<bool> serviceBack{false};
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
        poll(*m_connection);
        QVERIFY(m_connection->isLost());
        QVERIFY(banner(table)->isVisible());
        QCOMPARE(banner(table)->text(), QString("The Corvel service is not reachable. Trying again in 1 s."));
        QVERIFY(!button("Start")->isEnabled());
        const qint64 lostAt = m_clock->nowMs();
        auto stepUntil = [&](int count) {
            for (int step = 0; step < 1000 && attempts.size() < count; ++step) {
                m_clock->advance(10);
                poll(*m_connection);
            }
        };
        stepUntil(7);
        // Failed attempts back off: the wait doubles after each, capped while the table is shown.
        QList<qint64> waits;
        for (int i = 0; i < attempts.size(); ++i)
            waits << attempts[i] - (i == 0 ? lostAt : attempts[i - 1]);
        QCOMPARE(waits, (QList<qint64>{100, 200, 400, 800, 1600, 2500, 2500}));
        m_clock->advance(1000);
        poll(*m_connection);
        QCOMPARE(banner(table)->text(), QString("The Corvel service is not reachable. Trying again in 2 s."));

        serviceBack = true;
        stepUntil(8);
        QVERIFY(!m_connection->isLost());
        QVERIFY(banner(table)->isHidden());
        QCOMPARE(m_service->listCalls, 2); // the dead client is not asked again
        QCOMPARE(log.count(TransportLog), 1);
        QVERIFY(log.contains(QtInfoMsg, "Connection to Corvel service restored."));
        // Same list from the new client: the rows still move over to it.
        button("Start")->click();
        QCOMPARE(replacement->calls(), QStringList{"startJob:same"});
        QVERIFY(m_service->calls().isEmpty());
    }

    // What the service sends is shown as sent: no markup interpreted, a runaway value cut short.
    void serviceTextsShownAsSent_data()
    {
        QTest::addColumn<QString>("details");
        QTest::addColumn<QString>("description");
        QTest::newRow("plain") << "Mount point M:\\" << "Nightly check";
        QTest::newRow("quotes and brackets") << "Disk \"C\" <system> & data" << "<b>not bold</b>";
        QTest::newRow("markup") << "<html><b>Disk</b> 1 of 2</html>" << "a < b > c";
        QTest::newRow("16 MB description") << "details" << QString(16 * 1024 * 1024, QChar('x'));
    }

    void serviceTextsShownAsSent()
    {
        QFETCH(QString, details);
        QFETCH(QString, description);
        auto job = makeJob("j", JobStatus::Running, JobAction::Stop);
        job.current_work.text = "Mounting volumes";
        job.current_work.technical_details = details.toStdString();
        job.description = description.toStdString();
        QElapsedTimer shown;
        shown.start();
        auto* table = makeTable({job});
        QCoreApplication::processEvents();
        const qint64 elapsedMs = shown.elapsed();

        const QString tip = table->findChild<QLabel*>("job_item_status")->toolTip();
        QTextDocument rendered;
        if (Qt::mightBeRichText(tip))
            rendered.setHtml(tip);
        else
            rendered.setPlainText(tip);
        QCOMPARE(rendered.toPlainText(), details);

        auto* label = static_cast<QLabel*>(table->jobList()->cell(0, 6));
        const QString shownText = label->text().remove(QChar(0x200B));
        if (description.size() <= CvJobs::MaxShownCharacters) {
            QCOMPARE(shownText, description);
        } else {
            QCOMPARE(shownText, description.left(CvJobs::MaxShownCharacters) + QChar(0x2026));
            QCOMPARE(firstRow()->job().description.size(), size_t(description.size()));
            QVERIFY2(elapsedMs < 3000, qPrintable(QString::number(elapsedMs)));
        }
    }

    // The work cell follows its job in place: the bar within 0..100 whatever the wire's signed byte
    // says, and the status picture switches between running and stopped.
    void workCellFollowsTheJob_data()
    {
        QTest::addColumn<int>("progress");
        QTest::addColumn<int>("shown");
        QTest::newRow("within") << 42 << 42;
        QTest::newRow("above 100") << 120 << 100;
        QTest::newRow("negative") << -5 << 0;
    }

    void workCellFollowsTheJob()
    {
        QFETCH(int, progress);
        QFETCH(int, shown);
        auto* table = makeTable({makeJob("j", JobStatus::Running, JobAction::Stop)});
        auto* icon = table->findChild<QPushButton*>("job_icon_label");
        const QImage running = icon->icon().pixmap(16).toImage();
        m_service->jobs[0].current_work.progress = static_cast<int8_t>(progress);
        m_service->jobs[0].status = JobStatus::Stopped;
        poll(*m_connection);
        QCOMPARE(table->findChild<QProgressBar*>("job_current_work_progress_bar")->value(), shown);
        QVERIFY(icon->icon().pixmap(16).toImage() != running);
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
        // A broken transport drops the client; the service is then found again.
        makeTable({makeJob("j", JobStatus::Running, 15, JobType::FileRecovery)}, [this] { return m_service; });
        m_service->actionFailure = failure;
        const int listCalls = m_service->listCalls;
        CorvelTest::LogCapture log;
        whenModal([](QWidget* modal) { modal->close(); }); // a dialog would abandon the action

        QTest::mouseClick(button(buttonText), Qt::LeftButton);
        waitForPoll(*m_connection);

        QCOMPARE(m_service->calls(), QStringList{call});
        const bool succeeded = failure == Failure::None;
        // Success refreshes at once and locks the row until the list changes.
        QCOMPARE(m_service->listCalls, listCalls + (succeeded ? 1 : 0));
        for (auto* button : firstRow()->buttons())
            QCOMPARE(button->isEnabled(), !succeeded);
        if (!succeeded)
            QVERIFY(log.contains(QtWarningMsg, failure == Failure::Application ? RefusedLog : TransportLog));
        QCOMPARE(m_connection->isLost(), failure == Failure::Transport);
        m_service->actionFailure = Failure::None;
        m_service->jobs[0].current_work.progress = 12;
        m_clock->advance(1000);
        poll(*m_connection);
        for (auto* button : firstRow()->buttons())
            QVERIFY(button->isEnabled());
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
            yesChecked = named<QRadioButton>(first, DeleteYes)->isChecked();
            noChecked = named<QRadioButton>(first, DeleteNo)->isChecked();
            whenModal([&](QWidget* next) {
                auto* second = qobject_cast<CvJobs::DeleteVMDialog2*>(next);
                confirmationShown = second != nullptr;
                if (!second)
                    next->close();
                else
                    QTest::mouseClick(confirmation == "delete"
                                          ? named<QPushButton>(second, "Yes - Delete Virtual Machine")
                                          : named<QPushButton>(second, "No - Keep Virtual Machine"),
                                      Qt::LeftButton);
            });
            if (pickYes)
                QTest::mouseClick(named<QRadioButton>(first, DeleteYes), Qt::LeftButton);
            QTest::mouseClick(named<QPushButton>(first, "Save"), Qt::LeftButton);
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
            m_service->jobs[0].actions = JobAction::Stop;
            poll(*m_connection);
            poll(*m_connection);
            rowAliveWhileOpen =
                !row.isNull() && row->buttons().size() == 1 && row->buttons()[0]->text() == "Delete Job";
            QTest::mouseClick(named<QRadioButton>(modal, DeleteNo), Qt::LeftButton);
            QTest::mouseClick(named<QPushButton>(modal, "Save"), Qt::LeftButton);
        });
        QTest::mouseClick(button("Delete Job"), Qt::LeftButton);
        QVERIFY(rowAliveWhileOpen);
        QVERIFY(m_service->calls().contains("deleteJob:vm"));
        waitForPoll(*m_connection);
        QCOMPARE(static_cast<CvJobs::JobWorkWidget*>(table->jobList()->cell(0, 1))->progressBar()->value(), 90);
        QCOMPARE(firstRow()->buttons().size(), 1);
        QCOMPARE(firstRow()->buttons()[0]->text(), QString("Stop"));
    }

    // Rows far below the view are built as they come near: the keyboard, the scroll bar and a
    // reveal reach the last job's row like any other, a reader finds its texts, and its activity
    // clock counts from the job's first sight.
    void farRowsAreReached_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("tab") << "tab";
        QTest::newRow("scroll") << "scroll";
        QTest::newRow("reveal") << "reveal";
    }

    void farRowsAreReached()
    {
        QFETCH(QString, how);
        constexpr int Count = 60;
        std::vector<JobDescription> jobs;
        for (int i = 0; i < Count; ++i) {
            jobs.push_back(makeJob("job-" + std::to_string(i), JobStatus::Running, JobAction::Stop));
            jobs.back().description = "Nightly " + std::to_string(i);
        }
        auto* table = makeTable(jobs);
        m_clock->advance(90000);
        const std::string last = "job-" + std::to_string(Count - 1);
        QScrollBar* bar = table->findChild<QScrollArea*>("job_table_scroll_area")->verticalScrollBar();
        if (how == "tab") {
            QApplication::setActiveWindow(table);
            QVERIFY(QTest::qWaitForWindowActive(table));
            QWidget* at = buttonOf("job-0", "Stop");
            at->setFocus(Qt::TabFocusReason);
            for (int i = 1; i < Count; ++i) {
                QTest::keyClick(at, Qt::Key_Tab);
                QCoreApplication::processEvents();
                at = QApplication::focusWidget();
                const auto* actions = qobject_cast<JobActionButtonsWidget*>(at ? at->parentWidget() : nullptr);
                QVERIFY2(actions, qPrintable(QString("Tab %1 left the rows").arg(i)));
                QCOMPARE(actions->job().id, "job-" + std::to_string(i));
            }
        } else if (how == "scroll") {
            // The range grows as rows are built; an operator drags to the end again.
            QTRY_VERIFY([&] {
                bar->setValue(bar->maximum());
                return rowOf(last) && !rowOf(last)->visibleRegion().isEmpty();
            }());
        } else {
            table->revealJob(last);
        }
        QTRY_VERIFY(rowOf(last) && !rowOf(last)->visibleRegion().isEmpty());
        QAccessibleInterface* note = QAccessible::queryAccessibleInterface(table->jobList()->cell(Count - 1, 6));
        QVERIFY(note);
        QCOMPARE(note->text(QAccessible::Name), QString("Nightly %1").arg(Count - 1));
        QVERIFY(rowOf(last)->findChild<QLabel*>("job_activity")->text().startsWith("1:30"));
    }
};

QTEST_MAIN(TestJobTable)
#include "tst_job_table.moc"
