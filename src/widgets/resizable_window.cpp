#include "widgets/resizable_window.h"
#include "widgets/screen_scale.h"

#include "build_config.h"
#include "core/style_sheet.h"
#include "widgets/cv_title_bar.h"
#include "widgets/initial_focus.h"
#include "widgets/picture_tag.h"
#include "widgets/widgets_texts.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QScreen>
#include <QSizeGrip>
#include <QVBoxLayout>
#include <QWindowStateChangeEvent>

namespace Corvel {

ResizableWindow::ResizableWindow(QWidget* parent)
    : QDialog(parent)
    , m_layout(new QVBoxLayout(this))
    , m_titleBar(new CorvelWidgets::CvTitleBar(this))
    , m_contentLayout(new QVBoxLayout)
{
    setWindowFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowMinMaxButtonsHint);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
    m_layout->addWidget(m_titleBar);

    m_contentLayout->setContentsMargins(0, 0, 0, 0);
    m_contentLayout->setSpacing(0);
    m_layout->addLayout(m_contentLayout, 1);

    constexpr int LogoHeight = 24;
    auto* logo = new QLabel(
        CorvelWidgets::pictureTag(QStringLiteral(":/res/velmora-logo.png"), LogoHeight, CorvelWidgets::screenScale()), this);
    logo->setAccessibleName(QStringLiteral("Velmora"));
    logo->setObjectName("footer_widget");
    logo->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    auto* version = new QLabel(QString(CorvelWidgets::WidgetsTexts::Version) + QStringLiteral(CORVEL_VERSION), this);
    version->setObjectName("bottom_label");
    version->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    version->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);

    auto* grip = new QSizeGrip(this);
    grip->setObjectName("size_grip_widget");
    grip->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);

    auto* bottomRow = new QHBoxLayout;
    bottomRow->setContentsMargins(0, 0, 0, 0);
    bottomRow->setSpacing(0);
    bottomRow->addWidget(version);
    bottomRow->addWidget(grip, 0, Qt::AlignRight | Qt::AlignBottom);

    auto* footer = new QHBoxLayout;
    footer->setContentsMargins(0, 0, 0, 0);
    footer->setSpacing(0);
    footer->addWidget(logo);
    footer->addLayout(bottomRow);
    m_layout->addLayout(footer);

    connect(m_titleBar, &CorvelWidgets::CvTitleBar::closeRequested, this, &QWidget::close);
    connect(m_titleBar, &CorvelWidgets::CvTitleBar::minimizeRequested, this, &QWidget::showMinimized);
    connect(m_titleBar, &CorvelWidgets::CvTitleBar::maximizeToggled, this, &ResizableWindow::toggleMaximized);
}

void ResizableWindow::toggleMaximized()
{
    const bool wasMaximized = isMaximized();
    if (wasMaximized)
        showNormal();
    else
        maximizeToWorkArea(true);
    m_titleBar->setMaximizedLook(!wasMaximized);
}

void ResizableWindow::maximizeToWorkArea(bool rememberNormalGeometry)
{
    if (rememberNormalGeometry)
        m_normalGeometry = geometry();
    m_adjusting = true;
    showMaximized();
    // A frameless window maximised by the system would cover the task bar; keep to the work area.
    // Setting a geometry drops the maximised state (and the normal geometry), hence the re-set.
    if (QScreen* s = screen()) {
        setGeometry(s->availableGeometry());
        setWindowState(windowState() | Qt::WindowMaximized);
    }
    m_adjusting = false;
}

void ResizableWindow::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    CorvelWidgets::focusFirstControl(this, m_titleBar);
}

void ResizableWindow::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::WindowStateChange && !m_adjusting) {
        const Qt::WindowStates oldState = static_cast<QWindowStateChangeEvent*>(event)->oldState();
        const Qt::WindowStates state = windowState();
        if (state & Qt::WindowMinimized) {
            // A frameless window comes back from the task bar in its normal size; remember to
            // maximise it again.
            m_remaximize = oldState & Qt::WindowMaximized;
        } else if ((oldState & Qt::WindowMinimized) && m_remaximize) {
            m_remaximize = false;
            maximizeToWorkArea(false);
        } else if ((oldState & Qt::WindowMaximized) && !(state & Qt::WindowMaximized) && m_normalGeometry.isValid()) {
            m_adjusting = true;
            setGeometry(m_normalGeometry);
            m_adjusting = false;
        }
        m_titleBar->setMaximizedLook(isMaximized());
    }
    QDialog::changeEvent(event);
}

} // namespace Corvel
