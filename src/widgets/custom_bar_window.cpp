#include "widgets/custom_bar_window.h"

#include "widgets/dialog_style.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"
#include "widgets/initial_focus.h"
#include "widgets/widgets_texts.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QVBoxLayout>

namespace Corvel {

CustomBarWindow::CustomBarWindow(const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : QDialog(parent)
    , m_layout(new QVBoxLayout(this))
    , m_frame(new QFrame(this))
    , m_title(new QLabel(m_frame))
    , m_closeButton(new QPushButton(m_frame))
    , m_contentLayout(new QVBoxLayout)
    , m_titleStripe(new QWidget(m_frame))
{
    // Rounded corners need a compositor; without one they would show black.
    CorvelWidgets::DialogStyle::useTranslucentEdges(*this);
    setWindowFlags(windowFlags() | Qt::FramelessWindowHint);

    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
    m_layout->addWidget(m_frame);
    m_frame->setObjectName("recovery_wizard_frame");

    m_titleStripe->setObjectName("recovery_wizard_title_stripe");
    m_titleStripe->setAttribute(Qt::WA_StyledBackground);
    m_title->setObjectName("recovery_wizard_title");
    m_title->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_closeButton->setObjectName("wizard_close_button");
    m_closeButton->setIcon(iconFont.icon(CorvelWidgets::Glyph::Close));
    m_closeButton->setCursor(Qt::PointingHandCursor);
    m_closeButton->setFocusPolicy(Qt::TabFocus);
    // A dialog's push buttons answer Return when focused; Close never may.
    m_closeButton->setAutoDefault(false);
    m_closeButton->setAccessibleName(QString(CorvelWidgets::WidgetsTexts::Close));
    m_closeButton->setToolTip(QString(CorvelWidgets::WidgetsTexts::Close));
    connect(m_closeButton, &QPushButton::clicked, this, &QWidget::close);

    auto* stripeLayout = new QHBoxLayout(m_titleStripe);
    stripeLayout->setContentsMargins(0, 0, 0, 0);
    stripeLayout->addWidget(m_title);
    stripeLayout->addStretch();
    stripeLayout->addWidget(m_closeButton, 0, Qt::AlignRight | Qt::AlignVCenter);

    auto* frameLayout = new QVBoxLayout(m_frame);
    frameLayout->setContentsMargins(0, 0, 0, 0);
    frameLayout->setSpacing(0);
    frameLayout->addWidget(m_titleStripe);
    frameLayout->addLayout(m_contentLayout, 1);

    // Without a system frame the stripe is the only handle to move the dialog by.
    m_titleStripe->installEventFilter(this);
}

void CustomBarWindow::addBody(const QList<QWidget*>& widgets, const QList<QPushButton*>& buttons, int spacing)
{
    auto* body = new QVBoxLayout;
    body->setContentsMargins(30, 20, 30, 24);
    body->setSpacing(spacing);
    for (QWidget* widget : widgets)
        body->addWidget(widget);
    body->addSpacing(6);
    auto* row = new QHBoxLayout;
    row->setSpacing(12);
    row->addStretch();
    for (QPushButton* button : buttons)
        row->addWidget(button);
    body->addLayout(row);
    m_contentLayout->addLayout(body);
}

void CustomBarWindow::setTitle(const QString& title)
{
    m_title->setText(title);
    setWindowTitle(title);
}

QString CustomBarWindow::title() const
{
    return m_title->text();
}

void CustomBarWindow::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    CorvelWidgets::focusFirstControl(this, m_titleStripe);
}

bool CustomBarWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_titleStripe) {
        switch (event->type()) {
        case QEvent::MouseButtonPress: {
            auto* mouse = static_cast<QMouseEvent*>(event);
            if (mouse->button() == Qt::LeftButton) {
                m_dragging = true;
                m_dragOffset = mouse->globalPos() - pos();
            }
            break;
        }
        case QEvent::MouseMove:
            if (m_dragging)
                move(static_cast<QMouseEvent*>(event)->globalPos() - m_dragOffset);
            break;
        case QEvent::MouseButtonRelease:
            m_dragging = false;
            break;
        default:
            break;
        }
    }
    return QDialog::eventFilter(watched, event);
}

} // namespace Corvel
