#include "widgets/cv_pag_calendar_button.h"

#include "core/palette.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>

namespace CorvelWidgets {

CvPagCalendarButton::CvPagCalendarButton(const QString& text, bool pointsRight, const IconFont& iconFont,
                                         QWidget* parent)
    : QFrame(parent)
    , m_icon(new QLabel)
    , m_text(new QLabel(text))
{
    setObjectName("btn_calendar_day");
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setAccessibleName(text);
    setToolTip(text);
    m_icon->setObjectName("icon_btn_calendar_day");
    m_icon->setEnabled(false);
    m_icon->setPixmap(
        iconFont
            .icon(pointsRight ? Glyph::Right : Glyph::Left,
                  {{"color", Corvel::Palette::Primary},
                   {"color-active", Corvel::Palette::DarkenPrimary},
                   {"color-disabled", Corvel::Palette::Primary},
                   {"scale", 1.25}})
            .pixmap(QSize(14, 14), QIcon::Disabled));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 0, 6, 0);
    layout->setSpacing(4);
    if (pointsRight) {
        layout->addWidget(m_text);
        layout->addWidget(m_icon);
    } else {
        layout->addWidget(m_icon);
        layout->addWidget(m_text);
    }
    QSizePolicy policy = sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    setSizePolicy(policy);
}

void CvPagCalendarButton::mouseReleaseEvent(QMouseEvent* event)
{
    QFrame::mouseReleaseEvent(event);
    if (isEnabled() && event->button() == Qt::LeftButton && rect().contains(event->pos()))
        emit clicked();
}

void CvPagCalendarButton::keyPressEvent(QKeyEvent* event)
{
    if (isEnabled() &&
        (event->key() == Qt::Key_Space || event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)) {
        emit clicked();
        return;
    }
    QFrame::keyPressEvent(event);
}

} // namespace CorvelWidgets
