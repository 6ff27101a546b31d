#include "notify/tray_notifier.h"

#include "notify/notify_texts.h"

namespace CorvelNotify {

TrayNotifier::TrayNotifier(const QIcon& icon, QObject* parent)
    : Notifier(parent)
    , m_tray(icon)
{
    m_menu.setObjectName("tray_menu");
    connect(m_menu.addAction(Texts::ShowWindow), &QAction::triggered, this, &TrayNotifier::showWindowRequested);
    connect(m_menu.addAction(Texts::JobHistory), &QAction::triggered, this, &TrayNotifier::historyRequested);
    m_menu.addSeparator();
    connect(m_menu.addAction(Texts::Quit), &QAction::triggered, this, &TrayNotifier::quitRequested);
    m_tray.setContextMenu(&m_menu);
    m_tray.setToolTip(QStringLiteral("Corvel"));
    connect(&m_tray, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            emit showWindowRequested();
    });
    connect(&m_tray, &QSystemTrayIcon::messageClicked, this, [this] { emit activated(m_lastJobId); });
    m_tray.show();
}

TrayNotifier::~TrayNotifier()
{
    m_tray.hide();
}

void TrayNotifier::show(const Notification& notification)
{
    m_lastJobId = notification.jobId;
    m_tray.showMessage(notification.title, notification.text,
                       notification.isAlert() ? QSystemTrayIcon::Warning : QSystemTrayIcon::Information);
}

} // namespace CorvelNotify
