#pragma once

#include <QPushButton>

class QAction;
class QMenu;

namespace CorvelWidgets {

class IconFont;

// Title-bar button with the signed-in user's name; its menu offers "Log out".
class UserMenuButton : public QPushButton {
    Q_OBJECT
public:
    explicit UserMenuButton(const IconFont& iconFont, QWidget* parent = nullptr);

    void setUserName(const QString& name);
    QMenu* userMenu() const { return m_menu; }
    QAction* logOutAction() const;

signals:
    void logOutRequested();

private:
    QMenu* m_menu;
};

} // namespace CorvelWidgets
