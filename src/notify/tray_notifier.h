#pragma once

#include "notify/notifier.h"

#include <QMenu>
#include <QSystemTrayIcon>

namespace CorvelNotify {

// Notifications as the system tray's messages, and the console's tray icon with its menu.
class TrayNotifier : public Notifier {
    Q_OBJECT
public:
    explicit TrayNotifier(const QIcon& icon, QObject* parent = nullptr);
    ~TrayNotifier() override;

    void show(const Notification& notification) override;

signals:
    void showWindowRequested();
    void historyRequested();
    void quitRequested();

private:
    QMenu m_menu;
    QSystemTrayIcon m_tray;
    // The tray tells which message was clicked only by its being the last one.
    QString m_lastJobId;
};

} // namespace CorvelNotify
