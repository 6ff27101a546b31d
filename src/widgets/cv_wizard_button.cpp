#include "widgets/cv_wizard_button.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QTextDocument>
#include <QVBoxLayout>

namespace CorvelWidgets {

namespace {

QString plainText(const QString& richText)
{
    QTextDocument document;
    document.setHtml(QString(richText).replace("<br/>", " "));
    return document.toPlainText().simplified();
}

} // namespace

CvWizardButton::CvWizardButton(const QString& caption, const QString& description, const QIcon& icon, QWidget* parent)
    : QFrame(parent)
    , m_icon(icon)
    , m_iconLabel(new QLabel)
    , m_caption(new QLabel(caption))
    , m_description(new QLabel(description))
{
    setObjectName("wizard_button");
    m_iconLabel->setObjectName("wizard_button_icon_label");
    m_caption->setObjectName("wizard_button_caption");
    m_description->setObjectName("wizard_button_description");
    m_description->setTextFormat(Qt::RichText);
    // The tile is the button: a press on its texts or icon must reach it (a rich-text label would
    // otherwise take the press for itself).
    for (QLabel* label : {m_iconLabel, m_caption, m_description})
        label->setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setAccessibleName(caption);
    setAccessibleDescription(plainText(description));

    auto* text = new QVBoxLayout;
    text->setContentsMargins(0, 0, 0, 0);
    text->setSpacing(0);
    text->addWidget(m_caption, 65, Qt::AlignLeft | Qt::AlignBottom);
    text->addWidget(m_description, 33, Qt::AlignLeft | Qt::AlignTop);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(0);
    layout->addWidget(m_iconLabel, 0, Qt::AlignLeft | Qt::AlignVCenter);
    layout->addLayout(text, 1);
    updateIcon();
}

void CvWizardButton::setIconSize(const QSize& size)
{
    m_iconSize = size;
    updateIcon();
}

void CvWizardButton::setDescription(const QString& description)
{
    m_description->setText(description);
    setAccessibleDescription(plainText(description));
}

void CvWizardButton::updateIcon()
{
    m_iconLabel->setPixmap(m_icon.pixmap(m_iconSize, isEnabled() ? QIcon::Normal : QIcon::Disabled));
}

void CvWizardButton::mousePressEvent(QMouseEvent* event)
{
    m_pressed = event->button() == Qt::LeftButton;
    QFrame::mousePressEvent(event);
}

void CvWizardButton::mouseReleaseEvent(QMouseEvent* event)
{
    const bool wasPressed = m_pressed;
    m_pressed = false;
    QFrame::mouseReleaseEvent(event);
    if (isEnabled() && event->button() == Qt::LeftButton && rect().contains(event->pos()) && wasPressed)
        emit clicked();
}

void CvWizardButton::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (isEnabled() && !event->isAutoRepeat()) {
            emit clicked();
            return;
        }
        break;
    default:
        break;
    }
    QFrame::keyPressEvent(event);
}

void CvWizardButton::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::EnabledChange) {
        setFocusPolicy(isEnabled() ? Qt::StrongFocus : Qt::NoFocus);
        updateIcon();
    }
    QFrame::changeEvent(event);
}

} // namespace CorvelWidgets
