#pragma once

#include "auth/sign_in_flows.h"
#include "core/settings.h"
#include "service/service_connection.h"
#include "updater/updater.h"
#include "widgets/icon_font.h"
#include "widgets/message_box.h"
#include "widgets/resizable_window.h"
#include "wizard/job_launcher.h"

#include <QFuture>
#include <QPointer>

#include <memory>

class QAction;

namespace CorvelJournal {
class Journal;
}
namespace CorvelNotify {
class JobNotifications;
class Notifier;
} // namespace CorvelNotify
namespace CorvelPlatform {
class ServiceControl;
}
namespace CorvelWidgets {
class UserMenuButton;
}
namespace VuskAPI {
class CloudApi;
}

namespace Corvel {

class HomeWidget;
class HelpCenterWidget;
class MainWindowTabsWidget;
struct RecoveryWizardValues;
class ToolBoxWidget;

// The console's single top-level window: tabs for Home, Toolbox and Help Center, the user menu,
// and the updater with its background check and dialogs.
class MainWindow : public ResizableWindow {
    Q_OBJECT
public:
    // The update descriptor is looked for where the settings say (the build's location unless
    // configured); the second form names it. The session and the connection must outlive the window.
    MainWindow(TmxAuth::AuthSession& session, const CorvelWidgets::IconFont& iconFont,
               CorvelService::ServiceConnection& connection, const Corvel::Settings& settings);
    MainWindow(TmxAuth::AuthSession& session, const CorvelWidgets::IconFont& iconFont,
               CorvelService::ServiceConnection& connection, const Corvel::Settings& settings,
               const QString& updateDescriptorUrl);
    ~MainWindow() override;

    // Keeps the update offer from being shown (it is dropped, not deferred).
    void setUpdateOfferBlocked(bool blocked) { m_updateOfferBlocked = blocked; }

    // Where the log-out flow and the wizard's re-sign-in get a new token; the login window unless set.
    void setTokenSource(TmxAuth::TokenSource source) { m_tokenSource = std::move(source); }
    // What the recovery wizard talks to instead of the cloud at vusk_url and the machine's service
    // manager (tests). The cloud must outlive the window.
    void setWizardCloud(VuskAPI::CloudApi* cloud) { m_wizardCloud = cloud; }
    void setServiceControl(std::shared_ptr<CorvelPlatform::ServiceControl> control)
    {
        m_serviceControl = std::move(control);
    }

    // The journal the jobs table feeds: its changes, the operator's actions and launches. Set once;
    // it must outlive the window.
    void setJournal(CorvelJournal::Journal* journal);

    // Where the notifications go and what times them: the tray (or a banner in this window where
    // there is no tray) and the system clock unless set, before the first jobs arrive.
    void setNotifier(std::unique_ptr<CorvelNotify::Notifier> notifier, std::shared_ptr<Corvel::Clock> clock);

    CVUpdater::Updater& updater() { return m_updater; }
    QFuture<void> updateCheck() const { return m_updateCheck; }
    MainWindowTabsWidget* tabs() const { return m_tabs; }
    HomeWidget* home() const { return m_home; }

    // How "Start New Recovery" ended.
    enum class RecoveryResult { NotAllowed, Closed, Started, Failed, BackToWizard };

public slots:
    void openUrl(const QString& url);
    RecoveryResult startRecoveryWizard();
    // The Job History window (Ctrl+H), raised when it is open already.
    void openJobHistory();

signals:
    void updateOffered();

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void runUpdateCheck();
    void showUpdateOffer();
    void showUpdateReady();
    void showDownloadFailed(const QString& lastStatus);
    void logOut();
    // Started, Failed, or BackToWizard when the operator wants to correct a job the service did not create.
    RecoveryResult launchJob(const RecoveryWizardValues& values);
    void centreOverThis(QWidget& dialog) const;
    // Brings the window up with the job's row in view (none: just the window).
    void showJob(const QString& jobId);
    QMessageBox::StandardButton ask(CorvelWidgets::MessageBox::Request request);

    QVBoxLayout* m_body;
    CVUpdater::Updater m_updater;
    QFuture<void> m_updateCheck;
    bool m_updateOfferBlocked = false;

    TmxAuth::AuthSession& m_session;
    const CorvelWidgets::IconFont m_iconFont;
    CorvelService::ServiceConnection& m_connection;
    JobLauncher m_launcher;
    const Corvel::Settings m_settings;
    TmxAuth::TokenSource m_tokenSource;
    VuskAPI::CloudApi* m_wizardCloud = nullptr;
    std::shared_ptr<CorvelPlatform::ServiceControl> m_serviceControl;
    CorvelWidgets::UserMenuButton* m_userMenu = nullptr;
    // Brings a declined offer back; there only while one was declined in this run.
    QAction* m_checkForUpdates = nullptr;
    HomeWidget* m_home = nullptr;
    ToolBoxWidget* m_toolBox = nullptr;
    HelpCenterWidget* m_helpCenter = nullptr;
    MainWindowTabsWidget* m_tabs = nullptr;
    CorvelJournal::Journal* m_journal = nullptr;
    QPointer<QWidget> m_history;
    // The rules refer to the notifier: they go first.
    std::unique_ptr<CorvelNotify::Notifier> m_notifier;
    std::unique_ptr<CorvelNotify::JobNotifications> m_notifications;
    bool m_taskbarFailureLogged = false;
};

} // namespace Corvel
