#include "widgets/date_line_edit_with_buttons_days_move.h"

#include "widgets/cv_line_edit.h"
#include "widgets/cv_pag_calendar_button.h"
#include "widgets/cv_popup_calendar.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"
#include "widgets/widgets_texts.h"

#include <QCalendarWidget>
#include <QHBoxLayout>
#include <QPushButton>

namespace CorvelWidgets {

DateLineEditWithButtonsDaysMove::DateLineEditWithButtonsDaysMove(const QString& emptyText, const IconFont& iconFont,
                                                                 QWidget* parent)
    : QFrame(parent)
    , m_emptyText(emptyText)
    , m_layout(new QHBoxLayout(this))
    , m_lineEdit(new CvLineEdit)
    , m_popupButton(new QPushButton)
    , m_previousDay(new CvPagCalendarButton(WidgetsTexts::PreviousDay, false, iconFont))
    , m_nextDay(new CvPagCalendarButton(WidgetsTexts::NextDay, true, iconFont))
    , m_popup(new CvPopupCalendar(iconFont, this))
{
    m_layout->setSpacing(0);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_lineEdit->setObjectName("line_edit_calender_date");
    m_lineEdit->setPlaceholderText(emptyText);
    m_lineEdit->setText(emptyText);
    m_lineEdit->setEnabled(false);
    m_lineEdit->setAccessibleName("Snapshot date");
    m_popupButton->setObjectName("btn_popup_calender_widget");
    QVariantMap options = IconFont::accent();
    options.insert("scale", 1.25);
    m_popupButton->setIcon(iconFont.icon(Glyph::Calendar, options));
    m_popupButton->setToolTip("Open calendar");
    m_popupButton->setAccessibleName("Open calendar");

    m_layout->addWidget(m_previousDay);
    m_layout->addWidget(m_lineEdit, 1);
    m_layout->addWidget(m_popupButton);
    m_layout->addWidget(m_nextDay);
    m_previousDay->hide();
    m_nextDay->hide();

    connect(m_popupButton, &QPushButton::released, this, &DateLineEditWithButtonsDaysMove::handleClickButton);
    connect(m_popup, &CvPopupCalendar::setDate, this, [this](QDate& date) { handleSetDate(date); });
    connect(m_nextDay, &CvPagCalendarButton::clicked, this, &DateLineEditWithButtonsDaysMove::handleSetNextDay);
    connect(m_previousDay, &CvPagCalendarButton::clicked, this, &DateLineEditWithButtonsDaysMove::handleSetPrevDay);
}

void DateLineEditWithButtonsDaysMove::setAvailableDates(const QList<QDate>& dates)
{
    QCalendarWidget* calendar = m_popup->calendar();
    // A new range moves the calendar's selection; that is not the operator picking a date.
    const QSignalBlocker quiet(calendar);
    calendar->setDateTextFormat(QDate(), QTextCharFormat());
    if (!dates.isEmpty()) {
        calendar->setDateRange(dates.last(), dates.first());
        // A day with several restore points is listed several times; it needs its format once.
        QDate previous;
        for (const QDate& date : dates) {
            if (date != previous)
                calendar->setDateTextFormat(date, m_popup->availableFormat());
            previous = date;
        }
    }
    m_availableDates = dates;
    if (!dates.isEmpty()) {
        m_nextDay->hide();
        if (dates.first() == dates.last())
            m_previousDay->hide();
    }
}

void DateLineEditWithButtonsDaysMove::clear()
{
    m_previousDay->hide();
    m_nextDay->hide();
    m_lineEdit->setText(m_emptyText);
}

QString DateLineEditWithButtonsDaysMove::text() const
{
    return m_lineEdit->text();
}

void DateLineEditWithButtonsDaysMove::showDate(const QDate& date)
{
    m_lineEdit->setText(date.toString(m_displayFormat));
    if (!m_availableDates.isEmpty()) {
        m_nextDay->setHidden(date == m_availableDates.first());
        m_previousDay->setHidden(date == m_availableDates.last());
    }
    emit dateSelected(date);
}

void DateLineEditWithButtonsDaysMove::handleSetDate(QDate date)
{
    showDate(date);
}

void DateLineEditWithButtonsDaysMove::handleSetNextDay()
{
    const QDate current = QDate::fromString(m_lineEdit->text(), m_displayFormat);
    if (current.isValid())
        showDate(current.addDays(1));
}

void DateLineEditWithButtonsDaysMove::handleSetPrevDay()
{
    const QDate current = QDate::fromString(m_lineEdit->text(), m_displayFormat);
    if (current.isValid())
        showDate(current.addDays(-1));
}

void DateLineEditWithButtonsDaysMove::handleClickButton()
{
    m_popup->move(m_lineEdit->mapToGlobal(QPoint(0, m_lineEdit->height())));
    if (!m_popup->isVisible())
        m_popup->turnTo(QDate::fromString(m_lineEdit->text(), m_displayFormat));
    m_popup->setVisible(!m_popup->isVisible());
}

} // namespace CorvelWidgets
