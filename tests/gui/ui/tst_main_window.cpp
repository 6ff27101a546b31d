#include "CorvelService.h"
#include "jobs/job_action_button.h"
#include "jobs/job_action_buttons_widget.h"
#include "jobs/job_list_widget.h"
#include "jobs/job_table_widget.h"
#include "notify/job_notifications.h"
#include "notify/notifier.h"
#include "service/service_client.h"
#include "session/auth_session.h"
#include "testsupport/cloud_sim.h"
#include "testsupport/fake_cloud.h"
#include "testsupport/find_child.h"
#include "testsupport/log_capture.h"
#include "testsupport/manual_clock.h"
#include "testsupport/modal.h"
#include "testsupport/service_sim.h"
#include "testsupport/test_tokens.h"
#include "ui/help_center_widget.h"
#include "ui/home_widget.h"
#include "ui/job_history_window.h"
#include "ui/main_window.h"
#include "ui/main_window_tabs_widget.h"
#include "widgets/cv_title_bar.h"
#include "widgets/message_box.h"
#include "widgets/user_menu_button.h"
#include "wizard/recovery_wizard.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QJsonObject>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QStackedWidget>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

using namespace CorvelService;
using Corvel::MainWindow;
using CorvelNotify::JobNotifications;
using CorvelTest::LogCapture;
using CorvelTest::named;
using CorvelWidgets::MessageBox;
using CvJobs::JobActionButtonsWidget;
using CvJobs::JobTableWidget;

namespace {

MessageBox::Request lastBox()
{
    const QList<MessageBox::Request> shown = MessageBox::shown();
    return shown.isEmpty() ? MessageBox::Request{} : shown.last();
}

// What would have been shown, as "title|job id", and the texts.
class RecordingNotifier : public CorvelNotify::Notifier {
public:
    RecordingNotifier(QStringList& shown, QStringList& texts)
        : m_shown(shown)
        , m_texts(texts)
    {
    }
    void show(const CorvelNotify::Notification& notification) override
    {
        m_shown << notification.title + "|" + notification.jobId;
        m_texts << notification.text;
    }

private:
    QStringList& m_shown;
    QStringList& m_texts;
};

JobDescription job(const std::string& id, JobStatus::type status, int progress = 50)
{
    JobDescription out;
    out.id = id;
    out.job_type = JobType::FileRecovery;
    out.status = status;
    out.current_work.progress = static_cast<int8_t>(progress);
    return out;
}

QLabel* banner(const JobTableWidget& table)
{
    return table.findChild<QLabel*>("job_table_banner");
}

QList<CvJobs::JobActionButton*> buttons(const JobTableWidget& table)
{
    QList<CvJobs::JobActionButton*> all;
    for (int row = 0; row < table.jobList()->rowCount(); ++row)
        all << static_cast<JobActionButtonsWidget*>(table.jobList()->cell(row, 7))->buttons();
    return all;
}

} // namespace

// The main window alone, and on the service simulator with a fake clock and a recording notifier.
class TestMainWindow : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        Q_INIT_RESOURCE(resources);
        QVERIFY(m_dir.isValid());
        const QString error = CorvelTest::ServiceSim::makeCerts(m_dir.path());
        QVERIFY2(error.isEmpty(), qPrintable(error));
    }

    void init()
    {
        MessageBox::setAutoAnswer(true);
        MessageBox::clearShown();
        m_clock = std::make_shared<CorvelTest::ManualClock>();
        m_shown.clear();
        m_texts.clear();
    }

    void cleanup()
    {
        m_window.reset();
        m_session.reset();
        m_connection.reset();
        m_sim.stop();
        qunsetenv("CORVEL_INSTALL_DIR");
    }

    // Tab walks the title bar left to right, the tabs, then the page shown, and comes round again;
    // nothing that takes the keyboard is left out, and no control is a picture without a name.
    void tabReachesEveryControl()
    {
        startSim({"--jobs", "2", "--tick-ms", "3600000"});
        showWindow(partnerToken());
        QTRY_COMPARE(m_window->home()->jobTable()->jobList()->rowCount(), 2);
        QListWidget* list = m_window->tabs()->list();
        QCOMPARE(QApplication::focusWidget(), list);

        QList<QWidget*> visited{list};
        for (int step = 0; step < 100; ++step) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            if (QApplication::focusWidget() == list)
                break;
            QVERIFY2(!visited.contains(QApplication::focusWidget()), "Tab went round without reaching the tabs");
            visited << QApplication::focusWidget();
        }
        QCOMPARE(QApplication::focusWidget(), list);

        auto* bar = m_window->titleBar();
        const QList<QWidget*> chrome{named<CorvelWidgets::UserMenuButton>(m_window.get(), "User menu"),
                                     bar->minimizeButton(), bar->maximizeButton(), bar->closeButton()};
        QCOMPARE(visited.mid(visited.size() - chrome.size()), chrome);
        // The home page top to bottom: the jobs' rows, then the buttons under them, left to right.
        const QList<QWidget*> buttons{named<QPushButton>(m_window.get(), "Job History"),
                                      named<QPushButton>(m_window.get(), "Start New Recovery")};
        QCOMPARE(visited.mid(visited.size() - chrome.size() - 2, 2), buttons);
        QVERIFY(qobject_cast<CvJobs::JobActionButtonsWidget*>(visited[visited.size() - chrome.size() - 3]->parentWidget()));
        // Return presses the button that has the focus.
        buttons.first()->setFocus(Qt::TabFocusReason);
        QTest::keyClick(buttons.first(), Qt::Key_Return);
        auto* history = m_window->findChild<Corvel::JobHistoryWindow*>();
        QVERIFY(history && history->isVisible());
        history->close();

        QStringList missed; // or a picture without a name
        for (QWidget* widget : m_window->findChildren<QWidget*>()) {
            auto* button = qobject_cast<QAbstractButton*>(widget);
            const bool unnamed = button && button->text().isEmpty() &&
                                 (button->accessibleName().isEmpty() || button->toolTip().isEmpty());
            if (widget->isVisibleTo(m_window.get()) && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus) &&
                !widget->focusProxy() && (!visited.contains(widget) || unnamed))
                missed << widget->metaObject()->className() + QString("#") + widget->objectName();
        }
        QVERIFY2(missed.isEmpty(), qPrintable(missed.join(", ")));

        // Ctrl+1..3 switch tabs from a page's control, as the tabs' tips say.
        auto* tabs = m_window->tabs();
        const QStringList pages{"Corvel::HomeWidget", "Corvel::ToolBoxWidget", "Corvel::HelpCenterWidget"};
        for (int row : {1, 2, 0}) {
            QWidget* start = tabs->stack()->currentWidget()->findChild<QPushButton*>();
            start->setFocus();
            QTest::keyClick(start, Qt::Key(Qt::Key_1 + row), Qt::ControlModifier);
            QCOMPARE(tabs->list()->currentRow(), row);
            QCOMPARE(tabs->stack()->currentWidget()->metaObject()->className(), pages[row].toLatin1());
            QCOMPARE(tabs->list()->item(row)->toolTip(),
                     QString("%1 (Ctrl+%2)").arg(tabs->list()->item(row)->text()).arg(row + 1));
        }
    }

    void missingAnalysisTool()
    {
        QTemporaryDir installDir;
        qputenv("CORVEL_INSTALL_DIR", installDir.path().toLocal8Bit());
        showWindow(partnerToken());
        auto* help = m_window->findChild<Corvel::HelpCenterWidget*>();
        m_window->tabs()->list()->setCurrentRow(2);
        LogCapture log;
        QTest::mouseClick(named<QWidget>(help, "Analysis Tool")->findChild<QPushButton*>(), Qt::LeftButton);
        QCOMPARE(log.texts().filter(QRegularExpression("^(Opening )?Analysis Tool")),
                 QStringList({"Opening Analysis Tool", "Analysis Tool opening failed"}));
        QCOMPARE(MessageBox::shown().size(), 1);
        QCOMPARE(lastBox().text, "The Analysis Tool could not be started.\n" + installDir.path() +
                                     "/tolvex-analysis-tool.exe is not there: the tool is not installed.");
    }

    void startRecoveryByRole_data()
    {
        QTest::addColumn<QString>("token");
        QTest::addColumn<QString>("expectedBox"); // empty: the wizard opens
        QTest::newRow("Velmora administrator") << makeToken(R"({"data":{"username":"root"}})")
                                               << "Velmora Admin user is not allowed to start new recovery";
        QTest::newRow("unknown role") << QString() << "Access token has expired. Please login and try again";
        QTest::newRow("partner") << partnerToken() << QString();
        QTest::newRow("client") << clientToken() << QString();
    }

    // Only partners and clients reach the wizard, centred over the window as far as the screen lets
    // it; closing it makes no job.
    void startRecoveryByRole()
    {
        QFETCH(QString, token);
        QFETCH(QString, expectedBox);
        showWindow(token);
        CorvelTest::FakeCloud cloud;
        m_window->setWizardCloud(&cloud);
        QString wizardTitle;
        QRect wizardGeometry;
        CorvelTest::whenModal([&](QWidget* modal) {
            if (auto* wizard = qobject_cast<Corvel::RecoveryWizard*>(modal)) {
                wizardTitle = wizard->title();
                wizardGeometry = wizard->geometry();
                wizard->reject();
            }
        });
        LogCapture log;
        QTest::mouseClick(named<QPushButton>(m_window.get(), "Start New Recovery"), Qt::LeftButton);
        QCOMPARE(wizardTitle, expectedBox.isEmpty() ? QString("Recovery Type") : QString());
        if (!expectedBox.isEmpty()) {
            QCOMPARE(MessageBox::shown().size(), 1);
            QCOMPARE(QString("%1 %2/%3").arg(lastBox().icon).arg(lastBox().title, lastBox().text),
                     QString("%1 Access Error/%2").arg(QMessageBox::Critical).arg(expectedBox));
            return;
        }
        const QRect screen = m_window->screen()->availableGeometry();
        const int centre = qBound(screen.left() + wizardGeometry.width() / 2, m_window->geometry().center().x(),
                                  screen.right() - wizardGeometry.width() / 2);
        QVERIFY(screen.contains(wizardGeometry) && qAbs(wizardGeometry.center().x() - centre) <= 1);
        QVERIFY(log.contains(QtInfoMsg, "Recozery wizard rejected."));
        QVERIFY(MessageBox::shown().isEmpty());
    }

    // Logging out signs in again: as someone else the window stays; a closed sign-in window closes it.
    void logOut()
    {
        showWindow(partnerToken());
        auto* button = named<CorvelWidgets::UserMenuButton>(m_window.get(), "User menu");
        QCOMPARE(button->text(), QString("Paula"));
        std::optional<QString> next = clientToken();
        m_window->setTokenSource([&](const QString&, const QString& logoutUrl, QWidget*) {
            return logoutUrl.endsWith("/auth/logout") ? next : std::nullopt;
        });
        button->logOutAction()->trigger();
        QCOMPARE(button->text(), QString("Oskar"));
        QVERIFY(m_window->isVisible() && MessageBox::shown().isEmpty());

        next.reset();
        button->logOutAction()->trigger();
        QVERIFY(!m_window->isVisible());
        QCOMPARE(lastBox().icon, QMessageBox::Warning);
        QCOMPARE(lastBox().text, QString("Failed to login. Corvel will be closed. Please run Corvel and try again."));
    }

    // A declined offer comes back from the user menu for as long as this run lasts; closing during
    // the download asks first.
    void updateOfferAndCloseWhileDownloading()
    {
        // Accepts the download and never answers, so the updater stays downloading.
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        MessageBox::setNextAnswer(QMessageBox::No);
        createWindow(partnerToken(),
                     {{"update_url", QString("http://127.0.0.1:%1/Corvel_setup.exe").arg(server.serverPort())}});
        auto* again = m_window->findChild<QAction*>("check_for_updates_action");
        QVERIFY(!again->isVisible());
        m_window->show();
        QTRY_COMPARE(MessageBox::shown().size(), 1);
        QVERIFY(again->isVisible());
        QCOMPARE(again->text(), QString("Check for updates"));

        MessageBox::setNextAnswer(QMessageBox::Yes);
        again->trigger();
        QCOMPARE(lastBox().text, QString("The new version of Corvel 0.0.0.0 is available"));
        QVERIFY(m_window->updater().isDownloading());
        QVERIFY(!again->isVisible());

        MessageBox::setNextAnswer(QMessageBox::No);
        QVERIFY(!m_window->close());
        QCOMPARE(lastBox().text, QString("Update downloading in process"));
        QCOMPARE(lastBox().defaultButton, QMessageBox::No);
        MessageBox::setNextAnswer(QMessageBox::Yes);
        QVERIFY(m_window->close());
    }

    void closeWaitsForSlowUpdateCheck()
    {
        CorvelTest::CloudSim cloud({"--fault-delay", "/Corvel/autoupdate.xml=2500"});
        QVERIFY(cloud.start());
        CorvelTest::LogCapture log;
        createWindow(partnerToken(), {{"update_url", QString()}}, cloud.origin() + "/Corvel/autoupdate.xml");
        m_window->show();
        QTRY_VERIFY(
            log.contains(QtInfoMsg, "Looking for download info at: " + cloud.origin() + "/Corvel/autoupdate.xml"));
        QVERIFY(m_window->updateCheck().isRunning());
        QVERIFY(m_window->close());
        // The close returned only once the check had its answer from the slow server.
        QVERIFY(m_window->updateCheck().isFinished());
        QVERIFY(log.contains(QtInfoMsg, "Update is not required."));
    }

    // While the service is away the table says so, keeps its rows and offers no action; away for
    // 30 s is one notification, 29 s none. Once it is back the rows follow within three seconds on
    // the new connection, that is told too, and refused actions are logged and stay enabled.
    void outageAndReturn()
    {
        const QStringList kept{"--state", m_dir.filePath("jobs.json"), "--tick-ms", "3600000"};
        startSim(kept + QStringList{"--jobs", "6"});
        CorvelTest::LogCapture log;
        JobTableWidget& table = showOnSim("problems", 6);
        const std::vector<JobDescription> before = table.jobList()->jobs();

        m_sim.stop();
        QTRY_VERIFY_WITH_TIMEOUT(banner(table)->isVisible(), 5000);
        QVERIFY2(banner(table)->text().contains("not reachable"), qPrintable(banner(table)->text()));
        QVERIFY(!buttons(table).first()->isEnabled());
        QCOMPARE(table.jobList()->jobs(), before);
        m_clock->advance(JobNotifications::OutageMs - 1000);
        QTest::qWait(JobNotifications::CheckIntervalMs + 200);
        QVERIFY(m_shown.isEmpty());
        m_clock->advance(1000);
        QTRY_COMPARE(m_shown, QStringList{"Corvel service unreachable|"});

        const QStringList faults{"--fault", "startJob=exception", "--fault", "stopJob=exception",
                                 "--fault", "cancelJob=exception"};
        const QString error = m_sim.start(m_dir.path(), kept + faults, m_sim.port());
        QVERIFY2(error.isEmpty(), qPrintable(error));
        QTRY_VERIFY_WITH_TIMEOUT(!m_connection->isLost() && banner(table)->isHidden(), 3000);
        QTRY_COMPARE(m_shown, (QStringList{"Corvel service unreachable|", "Corvel service back|"}));
        m_connection->setPollInterval(0);
        QTRY_VERIFY(!m_connection->isPollOut());
        QCOMPARE(log.texts().filter(QRegularExpression("^Unknown exception: ")).size(), 1);
        QCOMPARE(table.jobList()->jobs(), before);

        m_clock->advance(JobActionButtonsWidget::SettleMs);
        int pressed = 0;
        for (auto* button : buttons(table)) {
            if (button->action() == JobAction::Delete)
                continue;
            QVERIFY(button->isEnabled());
            button->click();
            ++pressed;
            QVERIFY(button->isEnabled());
        }
        QVERIFY(pressed > 0);
        QCOMPARE(log.texts().filter(QRegularExpression("^Application exception: ")).size(), pressed);
    }

    // Another console's Stop is told once, here by the banner (no tray); "Show job" shows its row.
    void stopNotAskedForIsToldOnce()
    {
        startSim({"--jobs", "7", "--tick-ms", "3600000"});
        JobTableWidget& table = showOnSim(QString(), 7);
        const std::string id = stopElsewhere();
        auto* banner = m_window->findChild<QWidget*>("notification_banner");
        QTRY_VERIFY(banner->isVisible());
        QCOMPARE(banner->findChild<QLabel*>("notification_banner_title")->text(), QString("Recovery job stopped"));
        QTest::mouseClick(banner->findChild<QPushButton*>("notification_banner_show"), Qt::LeftButton);
        QVERIFY(banner->isHidden());
        QWidget* row = nullptr;
        for (auto* actions : table.findChildren<JobActionButtonsWidget*>())
            if (actions->job().id == id)
                row = actions->parentWidget();
        QVERIFY(row && row->property("highlighted").toBool());

        QTest::qWait(JobNotifications::CheckIntervalMs);
        QVERIFY(banner->isHidden());
    }

    // With "all" a mount is told, naming the job and where its volumes are.
    void allTellsAMountOnce()
    {
        startSim({"--jobs", "4", "--tick-ms", "200"});
        showOnSim("all", 4);
        // The fourth demo job is a file recovery at 99 % on H:.
        QTRY_COMPARE(m_shown.filter("Volumes mounted|").size(), 1);
        const QString text = m_texts.filter("volumes mounted").value(0);
        QVERIFY2(text.startsWith("File Recovery of RECEPTION-PC, recovery point ") && text.endsWith(" at H:\\."),
                 qPrintable(text));
    }

    // Each event once, a job at most once a minute (the later one waits), a stall once; the
    // taskbar shows the job furthest from done and turns red until the operator has looked.
    void onceAndOnceAMinute()
    {
        RecordingNotifier notifier(m_shown, m_texts);
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
        QCOMPARE(m_shown, QStringList{"Recovery job stopped|a"});
        QCOMPARE(lastTaskbar(), QString("2:70"));
        rules.acknowledge();
        QCOMPARE(lastTaskbar(), QString("1:70"));

        m_clock->advance(10000);
        rules.observe({job("a", JobStatus::Running)}, {});
        rules.observe({}, {"a"});
        QCOMPARE(m_shown.size(), 1);
        m_clock->advance(JobNotifications::PerJobIntervalMs - 10000);
        rules.observe({}, {});
        QCOMPARE(m_shown.last(), QString("Recovery job removed|a"));

        m_clock->advance(CorvelJournal::JobActivity::StallMs);
        rules.observe({}, {});
        m_clock->advance(CorvelJournal::JobActivity::StallMs);
        rules.observe({}, {});
        QCOMPARE(m_shown.filter("not progressing").size(), 1);
        QCOMPARE(m_shown.size(), 3);
    }

private:
    // Over the simulator once it is started, else over a service that answers nothing.
    void createWindow(const QString& token, const QJsonObject& settings,
                      const QString& descriptorUrl = QStringLiteral("http://127.0.0.1:9/Corvel/autoupdate.xml"))
    {
        m_window.reset();
        m_session = std::make_unique<TmxAuth::AuthSession>(token);
        if (!m_connection) {
            m_connection = std::make_unique<ServiceConnection>([] { return std::make_shared<CorvelServiceNull>(); });
            m_connection->connectNow();
        }
        m_window = std::make_unique<MainWindow>(*m_session, m_iconFont, *m_connection, Corvel::Settings(settings),
                                                descriptorUrl);
    }

    void showWindow(const QString& token)
    {
        createWindow(token, {{"update_url", QString()}});
        m_window->setUpdateOfferBlocked(true);
        m_window->updateCheck().waitForFinished();
        QCoreApplication::processEvents();
        m_window->showNormal();
        m_window->resize(1100, 700);
        QApplication::setActiveWindow(m_window.get());
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        MessageBox::clearShown();
    }

    void startSim(const QStringList& arguments)
    {
        const QString error = m_sim.start(m_dir.path(), arguments, m_sim.port());
        QVERIFY2(error.isEmpty(), qPrintable(error));
        m_connection = std::make_unique<ServiceConnection>(
            [this, port = m_sim.port()] { return createServiceClient(m_dir.path().toStdString(), "localhost", port); });
        QVERIFY(m_connection->connectNow());
    }

    // `level` empty: the default notifier (here, the banner). Waits for `jobs` rows.
    JobTableWidget& showOnSim(const QString& level, int jobs)
    {
        createWindow(partnerToken(), {{"notifications", level.isEmpty() ? "problems" : level}});
        m_window->setUpdateOfferBlocked(true);
        if (!level.isEmpty())
            m_window->setNotifier(std::make_unique<RecordingNotifier>(m_shown, m_texts), m_clock);
        JobTableWidget& table = *m_window->home()->jobTable();
        table.setClock(m_clock);
        m_window->show();
        (void)QTest::qWaitFor([&] { return table.jobList()->rowCount() == jobs; }, 5000);
        return table;
    }

    // A job running on the simulator, stopped by another console.
    std::string stopElsewhere()
    {
        auto other = createServiceClient(m_dir.path().toStdString(), "localhost", m_sim.port());
        std::vector<JobDescription> all;
        other->getAllJobsInfo(all);
        for (const auto& candidate : all) {
            if (candidate.status == JobStatus::Running) {
                other->stopJob(candidate.id);
                return candidate.id;
            }
        }
        return {};
    }

    CorvelWidgets::IconFont m_iconFont{"velmora-iconfont", {}};
    QTemporaryDir m_dir;
    CorvelTest::ServiceSim m_sim;
    std::shared_ptr<CorvelTest::ManualClock> m_clock;
    QStringList m_shown, m_texts;
    std::unique_ptr<TmxAuth::AuthSession> m_session;
    std::unique_ptr<ServiceConnection> m_connection;
    std::unique_ptr<MainWindow> m_window;
};

QTEST_MAIN(TestMainWindow)
#include "tst_main_window.moc"
