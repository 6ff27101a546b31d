#include "widgets/cv_title_bar.h"
#include "widgets/screen_scale.h"

#include "core/style_sheet.h"
#include "widgets/picture_tag.h"
#include "widgets/user_menu_button.h"
#include "widgets/widgets_texts.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>

namespace CorvelWidgets {

namespace {

const char* const MaximizeIcon = ":/res/maximize.svg";
constexpr int ButtonIconSide = 30;
constexpr int PictureHeight = 24;
const char* const RestoreIcon = ":/res/restore_down.svg";

QPushButton* windowButton(QWidget* parent, const QString& name)
{
    auto* button = new QPushButton(parent);
    button->setObjectName("main_close_button");
    button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    // Reachable by Tab, but a click leaves no focus ring behind.
    button->setFocusPolicy(Qt::TabFocus);
    // Inside a dialog a focused push button answers Return; a window button never may.
    button->setAutoDefault(false);
    button->setAccessibleName(name);
    button->setToolTip(name);
    return button;
}

} // namespace

CvTitleBar::CvTitleBar(QWidget* parent)
    : QWidget(parent)
    , m_closeButton(windowButton(this, QString(WidgetsTexts::Close)))
    , m_minimizeButton(windowButton(this, QStringLiteral("Minimize")))
    , m_maximizeButton(windowButton(this, QStringLiteral("Maximize")))
    , m_title(new QLabel(this))
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
    const double scale = CorvelWidgets::screenScale();
    m_title->setText(pictureTag(QStringLiteral(":/res/orbex-recover.png"), PictureHeight, scale) + " Corvel");
    m_title->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    // Presses must reach the title bar itself, which does the dragging.
    m_title->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_layout->addWidget(m_title);

    // Vector pictures: they stay sharp at any size, so they simply follow the screen.
    const int iconSide = qRound(ButtonIconSide * scale);
    m_minimizeButton->setIcon(QIcon(":/res/minimize.svg"));
    m_minimizeButton->setIconSize(QSize(iconSide, iconSide));
    m_maximizeButton->setIconSize(QSize(iconSide, iconSide));
    setMaximizedLook(false);
    m_closeButton->setIcon(QIcon(":/res/close.svg"));
    m_closeButton->setIconSize(QSize(iconSide, iconSide));
    for (QPushButton* button : {m_minimizeButton, m_maximizeButton, m_closeButton})
        m_layout->addWidget(button, 0, Qt::AlignRight);
    m_title->setAccessibleName(QString(WidgetsTexts::Corvel));
    // Left to right, whatever order the buttons were made in.
    setTabOrder(m_minimizeButton, m_maximizeButton);
    setTabOrder(m_maximizeButton, m_closeButton);

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
    if (button) {
        m_layout->insertWidget(1, button, 0, Qt::AlignRight | Qt::AlignVCenter);
        setTabOrder(button, m_minimizeButton);
        setTabOrder(m_minimizeButton, m_maximizeButton);
        setTabOrder(m_maximizeButton, m_closeButton);
    }
}

void CvTitleBar::setMaximizedLook(bool maximized)
{
    const QString resource = QString::fromLatin1(maximized ? RestoreIcon : MaximizeIcon);
    m_maximizeButton->setIcon(QIcon(resource));
    m_maximizeButton->setProperty("iconResource", resource);
    const QString name = maximized ? QStringLiteral("Restore down") : QStringLiteral("Maximize");
    m_maximizeButton->setAccessibleName(name);
    m_maximizeButton->setToolTip(name);
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
