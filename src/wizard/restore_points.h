#pragma once

#include <QDate>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

// Restore point names as the service gives them: "yyyy_MM_dd_hh_mm_ss".
namespace Corvel::RestorePoints {

// Invalid when the name does not have that form.
QDateTime parse(const QString& name);

// The dates that carry restore points, newest first, one entry per valid name.
QList<QDate> availableDates(const QStringList& names);

struct TimeEntry {
    QString text; // "h:mm ap", e.g. "9:05 am"
    QString name;
};
// The restore points of one day, in the order of the list.
QList<TimeEntry> timesOn(const QStringList& names, const QDate& date);

} // namespace Corvel::RestorePoints
