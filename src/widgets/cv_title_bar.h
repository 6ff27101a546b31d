#pragma once

#include <QWidget>

class QHBoxLayout;
class QLabel;
class QPushButton;

namespace CorvelWidgets {

class UserMenuButton;

// The title bar of the console's own window frame: title, optional user menu, minimise,
// maximise/restore and close. Pressing and moving on it drags the window.
class CvTitleBar : public QWidget {
    Q_OBJECT
public:
    explicit CvTitleBar(QWidget* parent = nullptr);

    // Placed between the title and the window buttons; the title bar takes ownership.
    void setUserMenuButton(UserMenuButton* button);
    UserMenuButton* userMenuButton() const { return m_userMenu; }

    // Switches the maximise button between its "maximise" and "restore down" pictures.
    void setMaximizedLook(bool maximized);

    QPushButton* closeButton() const { return m_closeButton; }
    QPushButton* minimizeButton() const { return m_minimizeButton; }
    QPushButton* maximizeButton() const { return m_maximizeButton; }

signals:
    void closeRequested();
    void minimizeRequested();
    void maximizeToggled();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    QPushButton* m_closeButton;
    QPushButton* m_minimizeButton;
    QPushButton* m_maximizeButton;
    QLabel* m_title;
    UserMenuButton* m_userMenu = nullptr;
    QHBoxLayout* m_layout = nullptr;
    int m_pressX = 0;
    int m_pressY = 0;
    bool m_dragging = false;
};

} // namespace CorvelWidgets
