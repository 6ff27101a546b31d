#pragma once

#include <QDate>
#include <QTextCharFormat>
#include <QWidget>

class QCalendarWidget;

namespace CorvelWidgets {

class IconFont;

// The month calendar that pops up under the date field.
class CvPopupCalendar : public QWidget {
    Q_OBJECT
public:
    explicit CvPopupCalendar(const IconFont& iconFont, QWidget* parent = nullptr);

    QCalendarWidget* calendar() const { return m_calendar; }
    // Selects `date` (when valid) on its month without reporting it as picked.
    void turnTo(const QDate& date);
    const QTextCharFormat& availableFormat() const { return m_availableFormat; }

signals:
    void setDate(QDate& date);

public slots:
    void handleSelectionChanged();

private:
    QCalendarWidget* m_calendar;
    QTextCharFormat m_availableFormat;
};

} // namespace CorvelWidgets
