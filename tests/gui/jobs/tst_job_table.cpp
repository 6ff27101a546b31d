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
#include "widgets/message_box.h"

#include <QAccessible>
#include <QClipboard>
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
using Outcome = CorvelPlatform::Desktop::Outcome;
using Change = std::function<void(std::vector<JobDescription>&)>;

Q_DECLARE_METATYPE(Failure)
Q_DECLARE_METATYPE(Change)
Q_DECLARE_METATYPE(Outcome)

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

// Records what the console asks of the desktop.
class FakeDesktop : public CorvelPlatform::Desktop {
public:
    QStringList calls;
    Outcome outcome = Outcome::Opened;
    Result openFolder(const std::string& path) override { return record("open " + path); }
    Result connectToVirtualMachine(const std::string& name) override { return record("vm " + name); }

private:
    Result record(const std::string& call)
    {
        calls << QString::fromStdString(call);
        return {outcome, 0};
    }
};

// The rows shown, as "job progress".
QStringList rowIds(const CvJobs::JobListWidget* list)
{
    QStringList ids;
    for (int row = 0; row < list->rowCount(); ++row)
        ids << QString::fromStdString(static_cast<JobActionButtonsWidget*>(list->cell(row, 7))->job().id) + " " +
                   QString::number(static_cast<CvJobs::JobWorkWidget*>(list->cell(row, 1))->progressBar()->value());
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

    // The first client is the fake; later ones come from `factory`. The tests drive the refreshes,
    // and the operator has looked long enough for a press to count.
    JobTableWidget* makeTable(std::vector<JobDescription> jobs, ServiceConnection::Factory factory = {})
    {
        m_service = std::make_shared<FakeService>();
        m_service->jobs = std::move(jobs);
        m_clock = std::make_shared<CorvelTest::ManualClock>();
        m_table.reset();
        m_connection = std::make_unique<ServiceConnection>(
            [first = ServiceConnection::Client(m_service), factory]() mutable -> ServiceConnection::Client {
                if (first)
                    return std::exchange(first, nullptr);
                return factory ? factory() : nullptr;
            },
            m_clock);
        m_connection->setPollInterval(0);
        m_connection->connectNow();
        m_table = std::make_unique<JobTableWidget>(*m_connection, m_iconFont);
        m_table->setClock(m_clock);
        m_table->resize(1200, 500);
        m_table->show();
        waitForPoll(*m_connection);
        // A loaded machine may build the rows over a few event-loop passes.
        (void)QTest::qWaitFor([this] { return !m_table->jobList()->isBuilding(); });
        m_clock->advance(JobActionButtonsWidget::SettleMs);
        return m_table.get();
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

    QPushButton* button(const QString& text) const { return buttonOf(firstRow()->job().id, text); }

    // The buttons of job `id`'s row, or of the first row.
    QStringList buttonTexts(const std::string& id = {}) const
    {
        QWidget* actions = id.empty() ? firstRow() : rowOf(id)->findChild<JobActionButtonsWidget*>();
        QStringList texts;
        for (auto* button : actions->findChildren<QPushButton*>(QString(), Qt::FindDirectChildrenOnly))
            if (!button->isHidden())
                texts << button->text();
        return texts;
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
        QTest::addColumn<Failure>("failure");
        QTest::addColumn<QStringList>("rows");
        const auto replace = [](std::vector<JobDescription> jobs) { return Change([jobs](auto& v) { v = jobs; }); };
        const Failure none = Failure::None;
        // clang-format off
        QTest::newRow("empty list") << replace({}) << none << QStringList{};
        QTest::newRow("deleted skipped, service order")
            << replace({makeJob("c", JobStatus::Running), makeJob("a", JobStatus::Deleted),
                        makeJob("b", JobStatus::PendingDelete)}) << none << QStringList{"c 0", "b 0"};
        QTest::newRow("reordered")
            << Change([](auto& jobs) { std::swap(jobs[0], jobs[1]); }) << none << QStringList{"b 7", "a 0"};
        QTest::newRow("progress only") << Change([](auto& jobs) { jobs[1].current_work.progress = 41; })
                                       << none << QStringList{"a 0", "b 41"};
        // A refusal is an answer: the rows stand, and so do the connection and its client.
        QTest::newRow("refused") << replace({}) << Failure::Application << QStringList{"a 0", "b 7"};
        // clang-format on
    }

    void refreshShowsTheServiceList()
    {
        QFETCH(Change, change);
        QFETCH(Failure, failure);
        QFETCH(QStringList, rows);
        auto b = makeJob("b", JobStatus::Stopped, JobAction::Start | JobAction::Delete);
        b.current_work.progress = 7;
        auto* table = makeTable({makeJob("a", JobStatus::Running, JobAction::Stop), b});
        auto* list = table->jobList();
        CorvelTest::LogCapture log;
        change(m_service->jobs);
        m_service->listFailure = failure;
        poll(*m_connection);
        QCOMPARE(rowIds(list), rows);
        QCOMPARE(list->findChild<QLabel*>("no_job_item")->text(), QString("No Active Jobs"));
        QCOMPARE(list->findChild<QLabel*>("no_job_item")->isVisible(), rows.isEmpty());
        QCOMPARE(log.count(RefusedLog), failure == Failure::None ? 0 : 1);
        QVERIFY(!m_connection->isLost());
        QVERIFY(banner(table)->isHidden());
    }

    // Rows changed in place look exactly like rows built afresh for the same jobs; the focus stays on
    // its button, and Tab walks the rows top to bottom, each row's buttons in order. Groups of three
    // rows, so that rows come, go and move across groups.
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
        table->jobList()->setRowsPerGroup(3);
        QApplication::setActiveWindow(table);
        QVERIFY(QTest::qWaitForWindowActive(table));
        QPointer<QPushButton> focused = buttonOf("job-2", "Stop");
        focused->setFocus(Qt::TabFocusReason);
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
        std::swap(next[1], next[5]);
        next.push_back(makeJob("late", JobStatus::Running, JobAction::Stop));
        poll(*m_connection);
        QVERIFY(focused && focused->hasFocus());

        JobTableWidget fresh(*m_connection, m_iconFont);
        fresh.jobList()->setRowsPerGroup(3);
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
        QTRY_COMPARE(table->jobList()->size(), fresh.jobList()->size());
        QTest::qWait(20);
        const QImage changed = table->jobList()->grab().toImage();
        const QImage built = fresh.jobList()->grab().toImage();
        if (changed != built) {
            changed.save(QDir::temp().filePath("jobs-in-place.png"));
            built.save(QDir::temp().filePath("jobs-fresh.png"));
        }
        QVERIFY2(changed == built, "the rows changed in place differ from a fresh build (images in the temp folder)");
        QCOMPARE(tabOrder(table->jobList()), (QStringList{"job-0:Stop", "job-5:Stop", "added:Please wait", "job-2:Stop",
                                                          "job-1:Start", "job-1:Delete Job", "late:Stop"}));
    }

    // The row follows its job in place without changing height, so the rows below stay under the
    // pointer: the bar within 0..100 whatever the wire's signed byte says, the status picture
    // switching between running and stopped, the buttons the service allows. A press right after
    // the row moved or changed its buttons was aimed at what stood there before, and is ignored.
    void rowFollowsItsJob_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<int>("bar");
        QTest::addColumn<bool>("pictureChanges");
        QTest::addColumn<QStringList>("buttons");
        QTest::addColumn<int>("pressIgnored"); // of the first button; -1: not pressed
        QTest::newRow("above 100") << Change([](auto& jobs) { jobs[0].current_work.progress = 120; }) << 100 << false
                                   << QStringList{"Stop", "Cancel"} << 0;
        QTest::newRow("negative, unknown action bits") << Change([](auto& jobs) {
            jobs[0].current_work.progress = -5;
            jobs[0].actions = JobAction::Cancel | 64;
        }) << 0 << false << QStringList{"Cancel"} << 1;
        QTest::newRow("stopped, no text") << Change([](auto& jobs) {
            jobs[0].status = JobStatus::Stopped;
            jobs[0].actions = JobAction::Start | JobAction::Delete;
            jobs[0].current_work.text = "";
        }) << 42 << true << QStringList{"Start", "Delete Job"}
                                          << 1;
        QTest::newRow("starting, no action") << Change([](auto& jobs) {
            jobs[0].status = JobStatus::Starting;
            jobs[0].actions = JobAction::None;
        }) << 42 << false << QStringList{"Please wait"}
                                             << -1;
        QTest::newRow("moved down") << Change([](auto& jobs) {
            jobs.insert(jobs.begin(), makeJob("new", JobStatus::Created));
        }) << 42 << false << QStringList{"Stop", "Cancel"}
                                    << 1;
    }

    void rowFollowsItsJob()
    {
        QFETCH(Change, change);
        QFETCH(int, bar);
        QFETCH(bool, pictureChanges);
        QFETCH(QStringList, buttons);
        QFETCH(int, pressIgnored);
        auto job = makeJob("a", JobStatus::Running, JobAction::Stop | JobAction::Cancel);
        job.current_work.text = "Mounting volumes";
        job.current_work.progress = 42;
        // One row per group: a job put in front moves the group holding "a", not "a" within it.
        makeTable({job, makeJob("b", JobStatus::Running, JobAction::Stop)})->jobList()->setRowsPerGroup(1);
        const int height = rowOf("a")->height();
        const int below = rowOf("b")->y() - rowOf("a")->y();
        auto* icon = rowOf("a")->findChild<QPushButton*>("job_icon_label");
        const QImage picture = icon->icon().pixmap(16).toImage();
        change(m_service->jobs);
        poll(*m_connection);
        QCoreApplication::processEvents();
        QCOMPARE(rowOf("a")->findChild<CvJobs::JobWorkWidget*>()->progressBar()->value(), bar);
        QCOMPARE(icon->icon().pixmap(16).toImage() != picture, pictureChanges);
        QCOMPARE(buttonTexts("a"), buttons);
        QCOMPARE(rowOf("a")->height(), height);
        QCOMPARE(rowOf("b")->y() - rowOf("a")->y(), below);
        if (pressIgnored < 0)
            return;
        m_clock->advance(JobActionButtonsWidget::SettleMs - 1);
        CorvelTest::LogCapture log;
        QTest::mouseClick(buttonOf("a", buttons.first()), Qt::LeftButton);
        QCOMPARE(m_service->calls().size(), 1 - pressIgnored);
        QCOMPARE(log.texts().filter(" ignored: the row of job a changed").size(), pressIgnored);
        if (!pressIgnored)
            return;
        m_clock->advance(1);
        QTest::mouseClick(buttonOf("a", buttons.first()), Qt::LeftButton);
        QCOMPARE(m_service->calls().size(), 1);
    }

    // Without hovering a row says what its job produced, its substatus and the restore point as the
    // wizard showed it. Its menu (Shift+F10) offers what applies and hands the right path or machine
    // to the desktop; "Copy details" takes every field but the secrets.
    void rowResultAndMenu_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("result"); // empty: none shown
        QTest::addColumn<Outcome>("outcome");
        QTest::addColumn<QString>("open"); // the first entry; empty: only "Copy details" is offered
        QTest::addColumn<QString>("chosen");
        QTest::addColumn<QStringList>("effect"); // the desktop's calls, then the box shown or the clipboard
        const int recovery = JobType::FileRecovery, exported = JobType::VirtualExport, vm = JobType::Virtualization;
        const int running = JobStatus::Running, stopped = JobStatus::Stopped;
        const Outcome opened = Outcome::Opened;
        const QString mounted = "Mounted at E:", machine = "Virtual machine FS-01 \"recovered\"";
        const QString mount = "Open E:\\", folder = "Open export folder", connect = "Connect to virtual machine";
        QTest::newRow("mounted volumes") << recovery << running << mounted << opened << mount << mount
                                         << QStringList{"open E:\\"};
        QTest::newRow("mount point gone") << recovery << running << mounted << Outcome::Missing << mount << mount
                                          << QStringList{"open E:\\", "E:\\ does not exist any more."};
        QTest::newRow("details of a stopped recovery")
            << recovery << stopped << mounted << opened << ""
            << "Copy details"
            << QStringList{"Job: job-7\nJob type: File Recovery\nStatus: Stopped\nSubstatus: Waiting for the "
                           "cache\nResult: Mounted at E:\nRecovery point: 11/18/2026 12:42 am (2026_11_18_00_42_00)"};
        QTest::newRow("export folder") << exported << stopped << "Exported to D:\\Exports & Co" << opened << folder
                                       << folder << QStringList{"open D:\\Exports & Co"};
        QTest::newRow("export not begun") << exported << int(JobStatus::Starting) << "" << opened << ""
                                          << "" << QStringList{};
        QTest::newRow("running machine") << vm << running << machine << opened << connect << connect
                                         << QStringList{"vm FS-01 \"recovered\""};
        QTest::newRow("machine path copied")
            << vm << running << machine << opened << connect << "Copy path" << QStringList{"D:\\Hyper-V\\FS-01"};
        QTest::newRow("stopped machine") << vm << stopped << machine << opened << ""
                                         << "" << QStringList{};
    }

    void rowResultAndMenu()
    {
        QFETCH(int, type);
        QFETCH(int, status);
        QFETCH(QString, result);
        QFETCH(Outcome, outcome);
        QFETCH(QString, open);
        QFETCH(QString, chosen);
        QFETCH(QStringList, effect);
        auto job = makeJob("job-7", JobStatus::type(status), JobAction::Stop, JobType::type(type));
        job.configuration.mount_point = type == JobType::FileRecovery ? "E:" : "D:\\Exports & Co";
        job.configuration.vm_settings.name = "FS-01 \"recovered\"";
        job.configuration.vm_settings.storage_location = "D:\\Hyper-V\\FS-01";
        job.configuration.recovery_point = "2026_11_18_00_42_00";
        job.configuration.device_token = "device-token-1001-secret";
        job.configuration.local_cache_password = "share-password";
        job.substatus = "Waiting for the cache";
        auto* table = makeTable({job});
        auto* shown = table->findChild<QLabel*>("job_item_result");
        QCOMPARE(shown->isVisible(), !result.isEmpty());
        QCOMPARE(shown->text(), result);
        QCOMPARE(table->findChild<QLabel*>("job_item_substatus")->text(), QString("Waiting for the cache"));
        QStringList points;
        for (auto* label : table->findChildren<QLabel*>("job_info_label"))
            if (label->toolTip().contains("2026_11_18_00_42_00"))
                points << label->text().remove(CvJobs::ZeroWidthSpace);
        QCOMPARE(points, QStringList{"11/18/2026 12:42 am"});

        auto desktop = std::make_shared<FakeDesktop>();
        desktop->outcome = outcome;
        table->setDesktop(desktop);
        CorvelWidgets::MessageBox::setAutoAnswer(true);
        CorvelWidgets::MessageBox::clearShown();
        QGuiApplication::clipboard()->clear();
        QStringList offered;
        QTimer::singleShot(50, [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            QVERIFY(menu);
            for (QAction* action : menu->actions()) {
                if (!action->isSeparator())
                    offered << action->text().replace("&&", "&");
                if (action->text().replace("&&", "&") == chosen)
                    action->trigger();
            }
            menu->close();
        });
        QTest::keyClick(button("Stop"), Qt::Key_F10, Qt::ShiftModifier);
        CorvelWidgets::MessageBox::setAutoAnswer(false);
        QCOMPARE(offered,
                 (open.isEmpty() ? QStringList{"Copy details"} : QStringList{open, "Copy path", "Copy details"}));
        QStringList seen = desktop->calls;
        for (const auto& box : CorvelWidgets::MessageBox::shown())
            seen << box.text;
        if (!QGuiApplication::clipboard()->text().isEmpty())
            seen << QGuiApplication::clipboard()->text();
        QCOMPARE(seen, effect);
    }

    void reconnectBacksOff()
    {
        QList<qint64> attempts;
        std::atomic<bool> serviceBack{false};
        auto replacement = std::make_shared<FakeService>();
        auto* table =
            makeTable({makeJob("same", JobStatus::Stopped, JobAction::Start)}, [&]() -> ServiceConnection::Client {
                attempts << m_clock->nowMs();
                return serviceBack ? replacement : nullptr;
            });
        replacement->jobs = m_service->jobs;
        m_connection->setReconnectInterval(100);
        CorvelTest::LogCapture log;
        m_service->listFailure = Failure::Transport;
        poll(*m_connection);
        QVERIFY(m_connection->isLost());
        QCOMPARE(banner(table)->text(), QString("The Corvel service is not reachable. Trying again in 1 s."));
        QVERIFY(banner(table)->isVisible());
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
        QTest::newRow("quotes and brackets") << "Disk \"C\" <system> & data"
                                             << "<b>not bold</b>";
        QTest::newRow("markup") << "<html><b>Disk</b> 1 of 2</html>"
                                << "a < b > c";
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
        auto* table = makeTable({job});
        const QString tip = table->findChild<QLabel*>("job_item_status")->toolTip();
        QTextDocument rendered;
        if (Qt::mightBeRichText(tip))
            rendered.setHtml(tip);
        else
            rendered.setPlainText(tip);
        QCOMPARE(rendered.toPlainText(), details);
        const QString shown = static_cast<QLabel*>(table->jobList()->cell(0, 6))->text().remove(CvJobs::ZeroWidthSpace);
        QCOMPARE(shown, description.size() <= CvJobs::MaxShownCharacters
                            ? description
                            : description.left(CvJobs::MaxShownCharacters) + QChar(0x2026));
        QCOMPARE(firstRow()->job().description.size(), size_t(description.size()));
    }

    // A row action by key calls the service: success refreshes at once and locks the row until the
    // list changes, a failure is logged and leaves the buttons enabled. Then the keyboard stays with
    // the job, or goes to the table once it is gone; never to another job's button, where Space
    // would act on the wrong job.
    void rowActions_data()
    {
        QTest::addColumn<QString>("press");
        QTest::addColumn<QString>("call");
        QTest::addColumn<Failure>("failure");
        QTest::addColumn<int>("actionsAfter");   // -1: the job is gone
        QTest::addColumn<QString>("focusAfter"); // a button of "j", or "" for none
        QTest::newRow("delete file recovery asks nothing") << "Delete Job"
                                                           << "deleteJob:j" << Failure::None << -1 << "";
        // Return presses a focused row button as Space does.
        QTest::newRow("cancel by Return, nothing allowed after")
            << "Cancel"
            << "cancelJob:j" << Failure::None << int(JobAction::None) << "Please wait";
        QTest::newRow("start refused, new buttons")
            << "Start"
            << "startJob:j" << Failure::Application << int(JobAction::Delete) << "Delete Job";
        // Its buttons disabled while the service is away, the focus goes, but not to another job.
        QTest::newRow("stop, connection gone") << "Stop"
                                               << "stopJob:j" << Failure::Transport << 15 << "";
    }

    void rowActions()
    {
        QFETCH(QString, press);
        QFETCH(QString, call);
        QFETCH(Failure, failure);
        QFETCH(int, actionsAfter);
        QFETCH(QString, focusAfter);
        // A broken transport drops the client; the service is then found again.
        auto* table = makeTable({makeJob("j", JobStatus::Running, 15), makeJob("b", JobStatus::Running, 15)},
                                [this] { return m_service; });
        QApplication::setActiveWindow(table);
        QVERIFY(QTest::qWaitForWindowActive(table));
        m_service->actionFailure = failure;
        const int listCalls = m_service->listCalls;
        CorvelTest::LogCapture log;
        whenModal([](QWidget* modal) { modal->close(); }); // a dialog would abandon the action
        button(press)->setFocus(Qt::TabFocusReason);
        QTest::keyClick(button(press), press == "Cancel" ? Qt::Key_Return : Qt::Key_Space);
        waitForPoll(*m_connection);

        QCOMPARE(m_service->calls(), QStringList{call});
        const bool succeeded = failure == Failure::None;
        QCOMPARE(m_service->listCalls, listCalls + (succeeded ? 1 : 0));
        for (auto* button : firstRow()->buttons())
            QCOMPARE(button->isEnabled(), !succeeded);
        if (!succeeded)
            QVERIFY(log.contains(QtWarningMsg, failure == Failure::Application ? RefusedLog : TransportLog));
        QCOMPARE(m_connection->isLost(), failure == Failure::Transport);
        const auto notOnB = [&] { return !rowOf("b")->isAncestorOf(QApplication::focusWidget()); };
        QVERIFY(notOnB());

        m_service->actionFailure = Failure::None;
        if (actionsAfter < 0)
            m_service->jobs.erase(m_service->jobs.begin());
        else
            m_service->jobs[0].actions = actionsAfter;
        m_service->jobs[0].current_work.progress = 12;
        m_clock->advance(1000);
        poll(*m_connection);
        QVERIFY(notOnB());
        QWidget* focused = QApplication::focusWidget();
        if (focusAfter.isEmpty())
            QVERIFY(!qobject_cast<QPushButton*>(focused));
        else
            QCOMPARE(focused, static_cast<QWidget*>(button(focusAfter)));
        for (auto* button : firstRow()->buttons())
            QVERIFY(button->isEnabled());
    }

    // The row stays as it was while its dialogs are open, and follows the list once they close.
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
        auto* table = makeTable({job});
        m_service->settingsFailure = settingsFailure;
        m_service->storedSettings.__set_delete_created_vm(writtenDeleteVm != 1);

        bool yesChecked = false, noChecked = false, confirmationShown = false;
        QStringList buttonsWhileOpen;
        whenModal([&](QWidget* modal) {
            m_service->jobs[0].current_work.progress = 90;
            m_service->jobs[0].actions = JobAction::Start;
            poll(*m_connection);
            poll(*m_connection);
            buttonsWhileOpen = buttonTexts();
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
        QCOMPARE(buttonsWhileOpen, (QStringList{"Stop", "Delete Job"}));
        poll(*m_connection);
        QCOMPARE(rowIds(table->jobList()), QStringList{"vm 90"});
        QCOMPARE(buttonTexts(), QStringList{"Start"});
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
        QTest::newRow("shift+tab from below") << "backtab";
    }

    void farRowsAreReached()
    {
        QFETCH(QString, how);
        constexpr int Count = 60;
        std::vector<JobDescription> jobs;
        for (int i = 0; i < Count; ++i) {
            jobs.push_back(makeJob("job-" + std::to_string(i), JobStatus::Running, JobAction::Stop));
            jobs.back().description = "Nightly fileserver-" + std::to_string(i);
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
        } else if (how == "backtab") {
            // As in a fresh build, the control below the table leads back to the last job's row.
            auto* below = new QPushButton("Job History", table);
            below->show();
            QApplication::setActiveWindow(table);
            QVERIFY(QTest::qWaitForWindowActive(table));
            below->setFocus(Qt::TabFocusReason);
            QTest::keyClick(below, Qt::Key_Backtab);
            QTRY_VERIFY(rowOf(last) && QApplication::focusWidget() == buttonOf(last, "Stop"));
        } else {
            table->revealJob(last);
        }
        QTRY_VERIFY(rowOf(last) && !rowOf(last)->visibleRegion().isEmpty());
        QAccessibleInterface* note = QAccessible::queryAccessibleInterface(table->jobList()->cell(Count - 1, 6));
        QVERIFY(note);
        QCOMPARE(note->text(QAccessible::Name), QString("Nightly fileserver-%1").arg(Count - 1));
        QVERIFY(rowOf(last)->findChild<QLabel*>("job_activity")->text().startsWith("1:30"));
    }
};

QTEST_MAIN(TestJobTable)
#include "tst_job_table.moc"
