#pragma once

#include "notify/notifier.h"

#include <QPointer>

class QFrame;
class QLabel;
class QPushButton;

namespace CorvelNotify {

// Where there is no system tray: the newest notification in a banner at the top of the main window,
// until it is dismissed or followed.
class BannerNotifier : public Notifier {
    Q_OBJECT
public:
    explicit BannerNotifier(QObject* parent = nullptr);
    ~BannerNotifier() override;

    // Hidden until the first notification; the window that places it owns it.
    QWidget* widget() const;

    void show(const Notification& notification) override;

private:
    QPointer<QFrame> m_banner;
    QLabel* m_title;
    QLabel* m_text;
    QPushButton* m_showJob;
    QString m_jobId;
};

} // namespace CorvelNotify
