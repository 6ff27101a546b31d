#pragma once

#include <QDate>
#include <QFrame>
#include <QList>

class QHBoxLayout;
class QPushButton;

namespace CorvelWidgets {

class CvLineEdit;
class CvPagCalendarButton;
class CvPopupCalendar;
class IconFont;

// One date between "Previous Day" and "Next Day", with a pop-up month calendar in which the dates
// that carry restore points stand out. The day buttons disappear at the ends of the range.
class DateLineEditWithButtonsDaysMove : public QFrame {
    Q_OBJECT
public:
    DateLineEditWithButtonsDaysMove(const QString& emptyText, const IconFont& iconFont, QWidget* parent = nullptr);

    // Newest first.
    void setAvailableDates(const QList<QDate>& dates);
    const QList<QDate>& availableDates() const { return m_availableDates; }
    void clear();

    QString text() const;
    QPushButton* popupButton() const { return m_popupButton; }
    CvPopupCalendar* popup() const { return m_popup; }

signals:
    void dateSelected(const QDate& date);

public slots:
    void handleClickButton();
    void handleSetDate(QDate date);
    void handleSetNextDay();
    void handleSetPrevDay();

private:
    void showDate(const QDate& date);

    const QString m_displayFormat = QStringLiteral("M/d/yyyy");
    QString m_emptyText;
    QHBoxLayout* m_layout;
    CvLineEdit* m_lineEdit;
    QPushButton* m_popupButton;
    CvPagCalendarButton* m_previousDay;
    CvPagCalendarButton* m_nextDay;
    CvPopupCalendar* m_popup;
    QList<QDate> m_availableDates;
};

} // namespace CorvelWidgets
