#include "ui/main_window.h"

#include "cloud/vusk_request.h"
#include "jobs/job_list_widget.h"
#include "jobs/job_started_window.h"
#include "jobs/job_table_widget.h"
#include "journal/journal.h"
#include "localcache/local_cache_check.h"
#include "notify/banner_notifier.h"
#include "notify/job_notifications.h"
#include "notify/notify_texts.h"
#include "notify/tray_notifier.h"
#include "platform/platform.h"
#include "session/auth_session.h"
#include "ui/help_center_widget.h"
#include "ui/home_widget.h"
#include "ui/job_history_window.h"
#include "ui/main_window_tabs_widget.h"
#include "ui/progress_dialog.h"
#include "ui/tool_box_widget.h"
#include "ui/ui_texts.h"
#include "wizard/job_assembly.h"
#include "wizard/job_launcher.h"
#include "wizard/recovery_wizard.h"

#include "widgets/cv_title_bar.h"
#include "widgets/glyph.h"
#include "widgets/initial_focus.h"
#include "widgets/user_menu_button.h"

#include <QAction>
#include <QCloseEvent>
#include <QDebug>
#include <QDesktopServices>
#include <QKeyEvent>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QShortcut>
#include <QSystemTrayIcon>
#include <QUrl>
#include <QtConcurrent>

namespace Corvel {

MainWindow::MainWindow(TmxAuth::AuthSession& session, const CorvelWidgets::IconFont& iconFont,
                       CorvelService::ServiceConnection& connection, const Corvel::Settings& settings)
    : MainWindow(session, iconFont, connection, settings, settings.updateDescriptorUrl())
{
}

MainWindow::MainWindow(TmxAuth::AuthSession& session, const CorvelWidgets::IconFont& iconFont,
                       CorvelService::ServiceConnection& connection, const Corvel::Settings& settings,
                       const QString& updateDescriptorUrl)
    : ResizableWindow(nullptr)
    , m_body(new QVBoxLayout)
    , m_updater(settings.updateUrl(), updateDescriptorUrl)
    , m_session(session)
    , m_iconFont(iconFont)
    , m_connection(connection)
    , m_launcher(connection)
    , m_settings(settings)
{
    // The jobs are asked for before anything is built: a long list then comes in while the window
    // is being made, not after its first paint.
    m_connection.startPolling();
    CVUpdater::useProgressDialog(m_updater);
    setObjectName("main_window");
    setWindowTitle(UiTexts::Corvel);
    setWindowState(Qt::WindowMaximized);

    m_body->setContentsMargins(0, 0, 0, 0);
    m_body->setSpacing(0);
    contentLayout()->addLayout(m_body);

    m_userMenu = new CorvelWidgets::UserMenuButton(m_iconFont);
    m_userMenu->setUserName(m_session.userData().userDisplayName);
    titleBar()->setUserMenuButton(m_userMenu);
    m_checkForUpdates = m_userMenu->userMenu()->addAction(UiTexts::CheckForUpdates);
    m_checkForUpdates->setObjectName("check_for_updates_action");
    m_checkForUpdates->setVisible(false);
    connect(m_checkForUpdates, &QAction::triggered, this, &MainWindow::showUpdateOffer);

    m_home = new HomeWidget(m_connection, m_iconFont);
    m_toolBox = new ToolBoxWidget(m_iconFont);
    m_helpCenter = new HelpCenterWidget(m_iconFont);
    auto tabIcon = [this](const char* glyph) { return m_iconFont.icon(glyph, {{"scale-selected", 0.95}}); };
    m_tabs = new MainWindowTabsWidget({{tabIcon(CorvelWidgets::Glyph::Home), UiTexts::HomeTab, m_home},
                                       {tabIcon(CorvelWidgets::Glyph::Toolbox), UiTexts::ToolboxTab, m_toolBox},
                                       {tabIcon(CorvelWidgets::Glyph::Help), UiTexts::HelpCenterTab, m_helpCenter}},
                                      this);
    m_body->addWidget(m_tabs);

    connect(m_home, &HomeWidget::newRecoveryRequested, this, &MainWindow::startRecoveryWizard);
    connect(m_home, &HomeWidget::historyRequested, this, &MainWindow::openJobHistory);
    auto* history = new QShortcut(QKeySequence(Qt::CTRL + Qt::Key_H), this);
    history->setContext(Qt::WindowShortcut);
    connect(history, &QShortcut::activated, this, &MainWindow::openJobHistory);
    connect(m_toolBox, &ToolBoxWidget::openUrlRequested, this, &MainWindow::openUrl);
    connect(this, &MainWindow::updateOffered, this, &MainWindow::showUpdateOffer, Qt::QueuedConnection);
    connect(&m_updater, &CVUpdater::Updater::downloadFinished, this, &MainWindow::showUpdateReady);
    connect(&m_updater, &CVUpdater::Updater::downloadFailed, this, &MainWindow::showDownloadFailed);
    connect(m_userMenu, &CorvelWidgets::UserMenuButton::logOutRequested, this, &MainWindow::logOut);

    // Keyboard order: the title bar left to right, the tabs, then the page shown.
    setTabOrder(m_userMenu, titleBar()->minimizeButton());
    setTabOrder(titleBar()->minimizeButton(), titleBar()->maximizeButton());
    setTabOrder(titleBar()->maximizeButton(), titleBar()->closeButton());
    setTabOrder(titleBar()->closeButton(), m_tabs->list());
    m_tabs->list()->setFocus();

    std::unique_ptr<CorvelNotify::Notifier> notifier;
    if (QSystemTrayIcon::isSystemTrayAvailable()) {
        qInfo(CorvelNotify::Texts::ViaTray);
        notifier = std::make_unique<CorvelNotify::TrayNotifier>(QIcon(QStringLiteral(":/res/orbex-recover.png")));
    } else {
        qInfo(CorvelNotify::Texts::ViaBanner);
        auto banner = std::make_unique<CorvelNotify::BannerNotifier>();
        m_body->insertWidget(0, banner->widget());
        notifier = std::move(banner);
    }
    setNotifier(std::move(notifier), Clock::system());
    // This window is a dialog, which looks through every push button it holds each time the focus
    // comes to or leaves an auto-default one: with the jobs' rows, tens of milliseconds a key. Its
    // buttons take Return themselves instead (the rows' buttons do so where they are made).
    for (QPushButton* button : findChildren<QPushButton*>())
        if (button->autoDefault() && button->window() == this)
            CorvelWidgets::pressOnReturn(button);

    m_updateCheck = QtConcurrent::run(this, &MainWindow::runUpdateCheck);
}

MainWindow::~MainWindow()
{
    // The check uses the updater; it must not outlive it even when the window was never closed.
    m_updateCheck.waitForFinished();
}

void MainWindow::runUpdateCheck()
{
    if (m_updater.checkForUpdates())
        emit updateOffered();
    else if (!m_updater.lastStatus().isEmpty()) // nothing to say when no update is needed
        qInfo().noquote() << m_updater.lastStatus();
}

QMessageBox::StandardButton MainWindow::ask(CorvelWidgets::MessageBox::Request request)
{
    request.flags |= Qt::Tool | Qt::CustomizeWindowHint;
    return CorvelWidgets::MessageBox::ask(this, request);
}

void MainWindow::showUpdateOffer()
{
    if (m_updateOfferBlocked)
        return;
    CorvelWidgets::MessageBox::Request request;
    request.icon = QMessageBox::Information;
    request.title = UiTexts::Corvel;
    request.text = QString(UiTexts::UpdateAvailable).arg(m_updater.offeredVersion());
    request.informativeText = QString(UiTexts::UpdateQuestion).arg(UiTexts::JobsInterrupted);
    request.buttons = QMessageBox::Yes | QMessageBox::No;
    request.defaultButton = QMessageBox::No;
    const bool accepted = ask(request) == QMessageBox::Yes;
    m_checkForUpdates->setVisible(!accepted);
    if (accepted)
        m_updater.startDownload(this);
}

void MainWindow::showUpdateReady()
{
    qInfo() << UiTexts::DownloadFinished;
    CorvelWidgets::MessageBox::Request request;
    request.icon = QMessageBox::Information;
    request.title = UiTexts::Corvel;
    request.text = UiTexts::UpdaterReady;
    request.informativeText = QString(UiTexts::UpdaterReadyQuestion).arg(UiTexts::JobsInterrupted);
    request.buttons = QMessageBox::Yes | QMessageBox::No;
    request.defaultButton = QMessageBox::No;
    if (ask(request) == QMessageBox::Yes && m_updater.runUpdate()) {
        close();
        return;
    }
    m_updater.reset();
}

void MainWindow::showDownloadFailed(const QString& lastStatus)
{
    qInfo() << UiTexts::DownloadFailed;
    CorvelWidgets::MessageBox::Request request;
    request.icon = QMessageBox::Warning;
    request.title = UiTexts::Corvel;
    request.text = UiTexts::DownloadFailed;
    request.informativeText = QString(UiTexts::DownloadFailedDetail).arg(lastStatus);
    request.buttons = QMessageBox::Ok;
    ask(request);
}

void MainWindow::openUrl(const QString& url)
{
    if (!QDesktopServices::openUrl(QUrl(url)))
        qInfo().noquote() << UiTexts::CannotOpenUrl + url;
}

MainWindow::RecoveryResult MainWindow::startRecoveryWizard()
{
    qInfo() << UiTexts::StartingWizard;
    CorvelWidgets::MessageBox::Request refusal;
    refusal.icon = QMessageBox::Critical;
    refusal.title = UiTexts::AccessError;
    switch (m_session.userData().role) {
    case TmxAuth::UserRole::VelmoraAdmin:
        qWarning() << UiTexts::AdminRefusedLog;
        refusal.text = UiTexts::AdminRefused;
        ask(refusal);
        return RecoveryResult::NotAllowed;
    case TmxAuth::UserRole::None:
        qWarning() << UiTexts::UnknownRefusedLog;
        refusal.text = UiTexts::TokenExpired;
        ask(refusal);
        return RecoveryResult::NotAllowed;
    case TmxAuth::UserRole::Client:
    case TmxAuth::UserRole::Partner:
        break;
    }

    std::unique_ptr<VuskAPI::VuskRequest> ownCloud;
    if (!m_wizardCloud)
        ownCloud = std::make_unique<VuskAPI::VuskRequest>(&m_session, m_settings.vuskUrl());
    const std::shared_ptr<CorvelPlatform::ServiceControl> serviceControl =
        m_serviceControl ? m_serviceControl : CorvelPlatform::systemServiceControl();
    RecoveryWizardContext context{m_session,
                                  m_settings,
                                  m_connection,
                                  m_wizardCloud ? *m_wizardCloud : *ownCloud,
                                  *serviceControl,
                                  [this](QWidget* parent) {
                                      return TmxAuth::reSignInAfterTimeout(m_session, m_settings.authUrl(), parent,
                                                                           m_tokenSource) == 0;
                                  },
                                  &TmxAuth::showRequestError,
                                  [](const std::string& path, const std::string& login, const std::string& password,
                                     const std::string& passphrase, std::string& reason) {
                                      return checkLocalCache(path, login, password, passphrase, reason);
                                  },
                                  RecoveryWizard::ServiceCallLimitMs};
    // What the operator entered stays here, in memory only, while they correct a job the service refused.
    RecoveryWizardValues kept;
    QVector<qint32> keptPages;
    for (;;) {
        RecoveryWizard wizard(this, m_iconFont, context);
        if (!keptPages.isEmpty())
            wizard.resume(kept, keptPages);
        centreOverThis(wizard);
        wizard.setWindowFlags(wizard.windowFlags() | Qt::Tool);
        qInfo() << UiTexts::WizardStarted;
        if (wizard.exec() != QDialog::Accepted) {
            qInfo() << UiTexts::WizardRejected;
            return RecoveryResult::Closed;
        }
        kept = wizard.values();
        if (!kept.recoveryType)
            return RecoveryResult::Closed;
        const RecoveryResult result = launchJob(kept);
        if (result != RecoveryResult::BackToWizard)
            return result;
        keptPages = wizard.history();
    }
}

MainWindow::RecoveryResult MainWindow::launchJob(const RecoveryWizardValues& values)
{
    const LaunchOutcome outcome = m_launcher.launch(values);
    if (outcome.kind != LaunchOutcome::Kind::Started) {
        CorvelWidgets::MessageBox::Request request;
        request.icon = QMessageBox::Critical;
        request.title = outcome.title;
        request.text = outcome.text;
        // A job the service never created can be corrected; one it created but did not start is listed already.
        if (outcome.kind != LaunchOutcome::Kind::StartFailed) {
            request.buttons = QMessageBox::Ok | QMessageBox::Retry;
            request.buttonTexts[QMessageBox::Retry] = UiTexts::BackToWizard;
            request.defaultButton = QMessageBox::Ok;
        }
        return CorvelWidgets::MessageBox::ask(this, request) == QMessageBox::Retry ? RecoveryResult::BackToWizard
                                                                                   : RecoveryResult::Failed;
    }
    m_home->jobTable()->refresh();
    CvJobs::JobStartedWindow started(m_iconFont, this, *values.recoveryType);
    started.adjustSize();
    centreOverThis(started);
    started.exec();
    m_home->jobTable()->revealJob(outcome.jobId);
    return RecoveryResult::Started;
}

void MainWindow::setJournal(CorvelJournal::Journal* journal)
{
    m_journal = journal;
    CvJobs::JobTableWidget* table = m_home->jobTable();
    CvJobs::JobListWidget* list = table->jobList();
    if (!journal)
        return;
    connect(list, &CvJobs::JobListWidget::jobsChanged, journal, &CorvelJournal::Journal::observeService);
    connect(list, &CvJobs::JobListWidget::actionTaken, journal, [this](const QString& jobId, const QString& action) {
        m_journal->recordAction(jobId, action, m_session.userData().username);
    });
    connect(&m_connection, &CorvelService::ServiceConnection::polled, journal,
            [table, journal] { journal->setServiceAvailable(!table->isServiceUnavailable()); });
    // A silent service counts as away from the moment its silence starts, not when it answers.
    connect(&m_connection, &CorvelService::ServiceConnection::stateChanged, journal, [this, journal] {
        if (m_connection.state() != CorvelService::ServiceConnection::State::Connected)
            journal->connectionLost();
    });
    connect(&m_launcher, &JobLauncher::jobCreated, journal,
            [this](const std::string& jobId, const RecoveryWizardValues& values) {
                CorvelService::JobDescription launched;
                launched.id = jobId;
                launched.job_type = *values.recoveryType;
                launched.description = values.jobDescription.toStdString();
                launched.configuration = JobAssembly::configuration(values);
                m_journal->recordLaunch(CorvelJournal::JournalJob::fromService(launched),
                                        m_session.userData().username);
            });
}

void MainWindow::setNotifier(std::unique_ptr<CorvelNotify::Notifier> notifier, std::shared_ptr<Corvel::Clock> clock)
{
    using CorvelNotify::JobNotifications;
    m_notifications.reset();
    m_notifier = std::move(notifier);
    m_notifications = std::make_unique<JobNotifications>(*m_notifier, m_settings.notifications(), std::move(clock));
    JobNotifications* rules = m_notifications.get();
    CvJobs::JobListWidget* list = m_home->jobTable()->jobList();
    connect(list, &CvJobs::JobListWidget::jobsChanged, rules, &JobNotifications::observe);
    connect(list, &CvJobs::JobListWidget::actionTaken, rules, &JobNotifications::actionTaken);
    const auto followService = [this, rules] {
        rules->setServiceAvailable(m_connection.state() == CorvelService::ServiceConnection::State::Connected);
    };
    connect(&m_connection, &CorvelService::ServiceConnection::stateChanged, rules, followService);
    followService();
    connect(rules, &JobNotifications::taskbarChanged, this, [this](CorvelPlatform::TaskbarState state, int percent) {
        const WId window = internalWinId();
        const long error = window ? CorvelPlatform::setTaskbarProgress(window, state, percent) : 0;
        if (error && !m_taskbarFailureLogged) {
            m_taskbarFailureLogged = true;
            qWarning().noquote() << QString::fromLatin1(CorvelNotify::Texts::TaskbarFailed)
                                        .arg(static_cast<unsigned long>(error), 8, 16, QLatin1Char('0'));
        }
    });
    connect(m_notifier.get(), &CorvelNotify::Notifier::activated, this, &MainWindow::showJob);
    if (auto* tray = qobject_cast<CorvelNotify::TrayNotifier*>(m_notifier.get())) {
        connect(tray, &CorvelNotify::TrayNotifier::showWindowRequested, this, [this] { showJob({}); });
        connect(tray, &CorvelNotify::TrayNotifier::historyRequested, this, &MainWindow::openJobHistory);
        connect(tray, &CorvelNotify::TrayNotifier::quitRequested, this, &QWidget::close);
    }
}

void MainWindow::showJob(const QString& jobId)
{
    setWindowState((windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    show();
    raise();
    activateWindow();
    if (!jobId.isEmpty()) {
        m_tabs->list()->setCurrentRow(0);
        m_home->jobTable()->revealJob(jobId.toStdString());
    }
    m_notifications->acknowledge();
}

void MainWindow::changeEvent(QEvent* event)
{
    ResizableWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow() && m_notifications)
        m_notifications->acknowledge();
}

void MainWindow::openJobHistory()
{
    if (!m_history) {
        const QString path = m_journal ? m_journal->path() : workingDir() + QStringLiteral("/journal.sqlite");
        auto* window = new JobHistoryWindow(m_iconFont, path, this);
        window->setAttribute(Qt::WA_DeleteOnClose);
        window->setWindowFlags(window->windowFlags() | Qt::Tool);
        m_history = window;
        window->move(x() + (width() - window->width()) / 2, y() + (height() - window->height()) / 2);
    }
    m_history->show();
    m_history->raise();
    m_history->activateWindow();
}

void MainWindow::centreOverThis(QWidget& dialog) const
{
    dialog.ensurePolished();
    dialog.adjustSize();
    dialog.move(x() + (width() - dialog.width()) / 2, y() + (height() - dialog.height()) / 2);
}

void MainWindow::logOut()
{
    if (!TmxAuth::logOutAndSignIn(m_session, m_settings.authUrl(), this, m_tokenSource)) {
        CorvelWidgets::MessageBox::Request request;
        request.icon = QMessageBox::Warning;
        request.title = UiTexts::Corvel;
        request.text = UiTexts::LoginFailed;
        ask(request);
        // Nobody is signed in any more: no question about a running download either.
        m_updater.cancel();
        close();
        return;
    }
    m_userMenu->setUserName(m_session.userData().userDisplayName);
    if (QAction* first = m_userMenu->logOutAction())
        first->setText(UiTexts::LogOut);
}

void MainWindow::keyPressEvent(QKeyEvent* event)
{
    // A dialog ends on Escape; the console's only window must not vanish on a key meant to
    // leave a menu or a field.
    if (event->matches(QKeySequence::Cancel)) {
        event->accept();
        return;
    }
    ResizableWindow::keyPressEvent(event);
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (m_updateCheck.isRunning()) {
        m_updateCheck.cancel();
        m_updateCheck.waitForFinished();
    }
    if (!m_updater.isDownloading()) {
        event->accept();
        return;
    }
    CorvelWidgets::MessageBox::Request request;
    request.icon = QMessageBox::Information;
    request.title = UiTexts::Corvel;
    request.text = UiTexts::DownloadInProcess;
    request.informativeText = UiTexts::CancelDownload;
    request.buttons = QMessageBox::Yes | QMessageBox::No;
    request.defaultButton = QMessageBox::No;
    if (ask(request) == QMessageBox::Yes)
        event->accept();
    else
        event->ignore();
}

} // namespace Corvel
