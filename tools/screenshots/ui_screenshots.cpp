// Saves what an operator sees outside the wizard, with the console's look, against the service
// simulator's demo jobs and the cloud simulator's update offer:
//   ui_screenshots OUTPUT_FOLDER
// Run it under Xvfb; QT_SCALE_FACTOR gives the same at 150 % or 200 %.
#include "testsupport/wizard_fixture.h"

#include "jobs/job_action_button.h"
#include "jobs/job_action_buttons_widget.h"
#include "jobs/job_started_window.h"
#include "jobs/job_table_widget.h"
#include "journal/journal.h"
#include "service/service_client.h"
#include "session/auth_session.h"
#include "testsupport/cloud_sim.h"
#include "testsupport/find_child.h"
#include "testsupport/service_sim.h"
#include "testsupport/test_tokens.h"
#include "ui/home_widget.h"
#include "ui/job_history_window.h"
#include "ui/main_window.h"
#include "ui/main_window_geometry.h"
#include "ui/main_window_tabs_widget.h"
#include "ui/progress_dialog.h"
#include "widgets/cv_title_bar.h"
#include "widgets/user_menu_button.h"

#include <QApplication>
#include <QDir>
#include <QJsonObject>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QProgressDialog>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <cstdio>
#include <functional>

namespace {

QString g_folder;

void save(const QPixmap& picture, const QString& name)
{
    const QString file = QDir(g_folder).filePath(name + ".png");
    picture.save(file);
    std::printf("%s\n", qPrintable(file));
}

void shoot(QWidget& window, const QString& name)
{
    QTest::qWait(200);
    save(window.grab(), name);
}

// Presses Tab until `target` has the keyboard, as an operator would.
bool tabTo(QWidget* target)
{
    for (int step = 0; step < 60 && QApplication::focusWidget() && QApplication::focusWidget() != target; ++step)
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    return QApplication::focusWidget() == target;
}

// Saves the next modal window of type T once it is on screen, then lets `dismiss` end it.
template <typename T> void whenShown(const QString& name, std::function<void(T*)> dismiss)
{
    auto* poll = new QTimer;
    QObject::connect(poll, &QTimer::timeout, [poll, name, dismiss] {
        auto* window = qobject_cast<T*>(QApplication::activePopupWidget() ? QApplication::activePopupWidget()
                                                                          : QApplication::activeModalWidget());
        if (!window || !window->isVisible())
            return;
        poll->stop();
        poll->deleteLater();
        QTest::qWait(200);
        save(window->grab(), name);
        dismiss(window);
    });
    poll->start(100);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: ui_screenshots OUTPUT_FOLDER\n");
        return 64;
    }
    g_folder = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(g_folder);
    const CorvelWidgets::IconFont iconFont = applyConsoleLook();

    QTemporaryDir certs;
    QString error = CorvelTest::ServiceSim::makeCerts(certs.path());
    CorvelTest::ServiceSim service;
    if (error.isEmpty())
        error = service.start(certs.path(), {"--jobs", "6", "--tick-ms", "700"});
    CorvelTest::CloudSim cloud({"--update-version", "1.7.0.400"});
    if (error.isEmpty() && !cloud.start())
        error = "the cloud simulator did not start";
    if (!error.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }

    const std::string dir = certs.path().toStdString();
    const int port = service.port();
    CorvelService::ServiceConnection connection(
        [dir, port] { return CorvelService::createServiceClient(dir, "localhost", port); });
    if (!connection.connectNow()) {
        std::fprintf(stderr, "no connection to the service simulator\n");
        return 1;
    }
    TmxAuth::AuthSession session(partnerToken());
    const Corvel::Settings settings(QJsonObject{{"vusk_url", cloud.vuskUrl()}, {"auth_url", cloud.authUrl()}});
    Corvel::MainWindow window(session, iconFont, connection, settings, cloud.origin() + "/Corvel/autoupdate.xml");
    CorvelJournal::Journal journal(certs.filePath("journal.sqlite"));
    window.setJournal(&journal);

    // The offer comes first, as it does after sign-in.
    bool offered = false;
    whenShown<QMessageBox>("update-offer", [&](QMessageBox* box) {
        offered = true;
        box->button(QMessageBox::No)->click();
    });
    window.showNormal();
    Corvel::sizeAndCentreMainWindow(window);
    (void)QTest::qWaitForWindowExposed(&window);
    QApplication::setActiveWindow(&window);
    (void)QTest::qWaitFor([&] { return offered; }, 15000);

    // Let a few ticks climb the progress bars.
    QTest::qWait(2500);
    shoot(window, "main-window");

    QWidget* tabs = window.tabs()->list();
    window.activateWindow();
    QApplication::setActiveWindow(&window);
    (void)QTest::qWaitForWindowActive(&window);
    tabs->setFocus(Qt::TabFocusReason);
    QTest::qWait(100);
    shoot(window, "keyboard-focus-tabs");
    if (tabTo(CorvelTest::named<QPushButton>(&window, "Start New Recovery")))
        shoot(window, "keyboard-focus-button");

    // The history window over what this session journaled, the newest job's timeline open.
    journal.flush();
    QTest::keyClick(&window, Qt::Key_H, Qt::ControlModifier);
    if (QPointer<Corvel::JobHistoryWindow> history = window.findChild<Corvel::JobHistoryWindow*>()) {
        (void)QTest::qWaitForWindowExposed(history);
        QTest::qWait(200);
        shoot(*history, "job-history");
        // The keyboard: the next job, Return opens its timeline, Tab moves on to the report.
        QApplication::setActiveWindow(history);
        QWidget* list = history->findChild<QWidget*>("job_history_list");
        list->setFocus();
        QTest::keyClick(list, Qt::Key_Down);
        QTest::keyClick(list, Qt::Key_Return);
        QWidget* focused = QApplication::focusWidget();
        if (history)
            QTest::keyClick(focused ? focused : history.data(), Qt::Key_Tab);
        QTest::qWait(100);
        if (history) {
            shoot(*history, "job-history-keys");
            QTest::keyClick(history, Qt::Key_Escape);
        }
    }

    window.tabs()->list()->setCurrentRow(1);
    shoot(window, "toolbox");
    window.tabs()->list()->setCurrentRow(0);

    whenShown<QMenu>("user-menu", [](QMenu* menu) { menu->close(); });
    CorvelTest::named<CorvelWidgets::UserMenuButton>(&window, "User menu")->showMenu();

    CVUpdater::ProgressDialog progress(&window);
    progress.open();
    progress.setProgress(42, 100);
    (void)QTest::qWaitForWindowExposed(progress.dialog());
    shoot(*progress.dialog(), "progress-dialog");
    progress.close();

    CvJobs::JobStartedWindow started(iconFont, &window, CorvelService::JobType::Virtualization);
    started.show();
    (void)QTest::qWaitForWindowExposed(&started);
    shoot(started, "job-started");
    started.close();

    // Another console starts one file recovery and stops another: the notification (a banner where
    // there is no tray), then the started job's menu from the keyboard, with its hand-off entries.
    auto other = CorvelService::createServiceClient(dir, "localhost", port);
    std::vector<CorvelService::JobDescription> jobs;
    other->getAllJobsInfo(jobs);
    std::string created, running;
    for (const auto& job : jobs)
        if (job.job_type == CorvelService::JobType::FileRecovery)
            (job.status == CorvelService::JobStatus::Running ? running : created) = job.id;
    other->startJob(created);
    QWidget* row = nullptr;
    (void)QTest::qWaitFor(
        [&] {
            for (auto* actions : window.findChildren<CvJobs::JobActionButtonsWidget*>())
                if (actions->job().id == created && actions->job().status == CorvelService::JobStatus::Running)
                    row = actions->parentWidget();
            return row != nullptr;
        },
        10000);
    other->stopJob(running);
    auto* banner = window.findChild<QWidget*>("notification_banner");
    (void)QTest::qWaitFor([&] { return banner && banner->isVisible(); }, 5000);
    shoot(window, "notification");
    if (row) {
        whenShown<QMenu>("hand-off-menu", [row](QMenu* menu) {
            const QRect area = row->geometry().translated(row->parentWidget()->mapToGlobal(QPoint())).united(
                menu->geometry());
            save(QGuiApplication::primaryScreen()->grabWindow(0, area.x(), area.y(), area.width(), area.height()),
                 "hand-off-menu");
            menu->close();
        });
        QWidget* button = row->findChild<CvJobs::JobActionButtonsWidget*>()->buttons().value(0);
        button->setFocus();
        QTest::keyClick(button, Qt::Key_F10, Qt::ShiftModifier);
    }

    // The service goes away: the table says so and waits, greyed.
    service.stop();
    (void)QTest::qWaitFor(
        [&] { return window.home()->jobTable()->findChild<QLabel*>("job_table_banner")->isVisible(); }, 5000);
    QTest::qWait(200);
    shoot(window, "service-away");

    window.close();
    return offered ? 0 : 1;
}
