#include "widgets/cv_popup_calendar.h"

#include "core/palette.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"

#include <QCalendarWidget>
#include <QToolButton>
#include <QVBoxLayout>

namespace CorvelWidgets {

CvPopupCalendar::CvPopupCalendar(const IconFont& iconFont, QWidget* parent)
    : QWidget(parent, Qt::Popup)
    , m_calendar(new QCalendarWidget)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_calendar);

    m_calendar->setGridVisible(true);
    m_calendar->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    m_calendar->setHorizontalHeaderFormat(QCalendarWidget::ShortDayNames);
    const QTextCharFormat weekday = m_calendar->weekdayTextFormat(Qt::Monday);
    m_calendar->setWeekdayTextFormat(Qt::Saturday, weekday);
    m_calendar->setWeekdayTextFormat(Qt::Sunday, weekday);
    QTextCharFormat header;
    header.setBackground(Qt::white);
    header.setForeground(Qt::black);
    header.setFontWeight(QFont::Normal);
    m_calendar->setHeaderTextFormat(header);
    const QVariantMap arrow = IconFont::accent();
    if (auto* previous = m_calendar->findChild<QToolButton*>("qt_calendar_prevmonth")) {
        previous->setIcon(iconFont.icon(Glyph::Left, arrow));
        previous->setAccessibleName("Previous month");
    }
    if (auto* next = m_calendar->findChild<QToolButton*>("qt_calendar_nextmonth")) {
        next->setIcon(iconFont.icon(Glyph::Right, arrow));
        next->setAccessibleName("Next month");
    }
    m_availableFormat.setBackground(QColor(Corvel::Palette::AvailableDay));
    m_availableFormat.setForeground(QColor(Corvel::Palette::DarkenPrimary));
    m_availableFormat.setFontWeight(QFont::Bold);

    connect(m_calendar, &QCalendarWidget::selectionChanged, this, &CvPopupCalendar::handleSelectionChanged);
    // A day clicked or confirmed with Return is the pick; moving through days with the keys is not.
    connect(m_calendar, &QCalendarWidget::clicked, this, &QWidget::hide);
    connect(m_calendar, &QCalendarWidget::activated, this, &QWidget::hide);
    m_calendar->setCurrentPage(QDate::currentDate().year(), QDate::currentDate().month());
    hide();
}

void CvPopupCalendar::turnTo(const QDate& date)
{
    if (!date.isValid())
        return;
    const QSignalBlocker quiet(m_calendar);
    m_calendar->setSelectedDate(date);
    m_calendar->setCurrentPage(date.year(), date.month());
}

void CvPopupCalendar::handleSelectionChanged()
{
    QDate date = m_calendar->selectedDate();
    emit setDate(date);
}

} // namespace CorvelWidgets
