#include "widgets/cv_title_bar.h"

#include "widgets/user_menu_button.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>

namespace CorvelWidgets {

namespace {

const char* const MaximizeIcon = ":/res/maximize.svg";
const char* const RestoreIcon = ":/res/restore_down.svg";

QPushButton* windowButton(QWidget* parent)
{
    auto* button = new QPushButton(parent);
    button->setObjectName("main_close_button");
    button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    button->setFocusPolicy(Qt::NoFocus);
    return button;
}

} // namespace

CvTitleBar::CvTitleBar(QWidget* parent)
    : QWidget(parent), m_closeButton(windowButton(this)), m_minimizeButton(windowButton(this)),
      m_maximizeButton(windowButton(this)), m_title(new QLabel(this))
{
    auto* outer = new QHBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->setSpacing(0);
    auto* frame = new QFrame(this);
    frame->setObjectName("title_bar_window");
    outer->addWidget(frame);

    m_layout = new QHBoxLayout(frame);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);

    m_title->setObjectName("main_window_top_bar");
    m_title->setText("<img src=:/res/orbex-recover.png> Corvel");
    m_title->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    // Presses must reach the title bar itself, which does the dragging.
    m_title->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_layout->addWidget(m_title);

    m_minimizeButton->setIcon(QIcon(":/res/minimize.svg"));
    m_minimizeButton->setIconSize(QSize(30, 30));
    m_maximizeButton->setIconSize(QSize(30, 30));
    setMaximizedLook(false);
    m_closeButton->setIcon(QIcon(":/res/close.svg"));
    m_closeButton->setIconSize(QSize(30, 30));
    for (QPushButton* button : {m_minimizeButton, m_maximizeButton, m_closeButton})
        m_layout->addWidget(button, 0, Qt::AlignRight);

    connect(m_closeButton, &QPushButton::clicked, this, &CvTitleBar::closeRequested);
    connect(m_minimizeButton, &QPushButton::clicked, this, &CvTitleBar::minimizeRequested);
    connect(m_maximizeButton, &QPushButton::clicked, this, &CvTitleBar::maximizeToggled);
}

void CvTitleBar::setUserMenuButton(UserMenuButton* button)
{
    if (m_userMenu) {
        m_layout->removeWidget(m_userMenu);
        delete m_userMenu;
    }
    m_userMenu = button;
    if (button)
        m_layout->insertWidget(1, button, 0, Qt::AlignRight | Qt::AlignVCenter);
}

void CvTitleBar::setMaximizedLook(bool maximized)
{
    const QString resource = QString::fromLatin1(maximized ? RestoreIcon : MaximizeIcon);
    m_maximizeButton->setIcon(QIcon(resource));
    m_maximizeButton->setProperty("iconResource", resource);
}

void CvTitleBar::mousePressEvent(QMouseEvent* event)
{
    m_pressX = event->pos().x();
    m_pressY = event->pos().y();
    m_dragging = true;
    QWidget::mousePressEvent(event);
}

void CvTitleBar::mouseReleaseEvent(QMouseEvent* event)
{
    m_dragging = false;
    QWidget::mouseReleaseEvent(event);
}

void CvTitleBar::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_dragging)
        return QWidget::mouseMoveEvent(event);
    QWidget* top = window();
    if (top->isMaximized()) {
        // Restoring already changes the geometry; moving as well in this event would throw the
        // window away from the cursor.
        top->showNormal();
        m_pressX = 0;
        m_pressY = 0;
        return;
    }
    top->move(event->pos() - QPoint(m_pressX, m_pressY) + top->pos());
}

void CvTitleBar::mouseDoubleClickEvent(QMouseEvent* event)
{
    emit maximizeToggled();
    QWidget::mouseDoubleClickEvent(event);
}

} // namespace CorvelWidgets
