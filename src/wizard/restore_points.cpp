#include "wizard/restore_points.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace Corvel::RestorePoints {

namespace {

// Digits at [from, from + count), or -1.
int number(const QString& text, int from, int count)
{
    int value = 0;
    for (int i = from; i < from + count; ++i) {
        const ushort c = text.at(i).unicode();
        if (c < '0' || c > '9')
            return -1;
        value = value * 10 + (c - '0');
    }
    return value;
}

} // namespace

QDateTime parse(const QString& name)
{
    // The service's own form, read directly: the generic parser costs too much on long lists.
    static const int underscores[] = {4, 7, 10, 13, 16};
    bool strict = name.size() == 19;
    for (int i = 0; strict && i < 5; ++i)
        strict = name.at(underscores[i]) == QLatin1Char('_');
    if (strict) {
        const int fields[] = {number(name, 0, 4),  number(name, 5, 2),  number(name, 8, 2),
                              number(name, 11, 2), number(name, 14, 2), number(name, 17, 2)};
        if (std::none_of(std::begin(fields), std::end(fields), [](int f) { return f < 0; })) {
            const QDate date(fields[0], fields[1], fields[2]);
            const QTime time(fields[3], fields[4], fields[5]);
            if (date.isValid() && time.isValid())
                return QDateTime(date, time);
        }
    }
    return QDateTime::fromString(name, QStringLiteral("yyyy_MM_dd_hh_mm_ss"));
}

QList<QDate> availableDates(const QStringList& names)
{
    QList<QDate> dates;
    dates.reserve(names.size());
    for (const QString& name : names) {
        const QDateTime point = parse(name);
        if (point.isValid())
            dates.append(point.date());
    }
    std::sort(dates.begin(), dates.end(), std::greater<QDate>());
    return dates;
}

QList<TimeEntry> timesOn(const QStringList& names, const QDate& date)
{
    QList<TimeEntry> entries;
    for (const QString& name : names) {
        const QDateTime point = parse(name);
        if (point.isValid() && point.date() == date)
            entries.append({point.time().toString(QStringLiteral("h:mm ap")), name});
    }
    return entries;
}

} // namespace Corvel::RestorePoints
