#include "testsupport/log_capture.h"

#include <QMutex>
#include <QMutexLocker>

namespace CorvelTest {

namespace {
QMutex g_mutex;
QList<LogCapture::Entry> g_entries;
QtMessageHandler g_previous = nullptr;

void handler(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    QMutexLocker lock(&g_mutex);
    g_entries.append({type, text});
}
} // namespace

LogCapture::LogCapture()
{
    clear();
    g_previous = qInstallMessageHandler(handler);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(g_previous);
}

QList<LogCapture::Entry> LogCapture::entries() const
{
    QMutexLocker lock(&g_mutex);
    return g_entries;
}

QStringList LogCapture::texts() const
{
    QStringList out;
    for (const auto& entry : entries())
        out << entry.text;
    return out;
}

bool LogCapture::contains(const QString& text) const
{
    return texts().contains(text);
}

bool LogCapture::contains(QtMsgType type, const QString& text) const
{
    for (const auto& entry : entries())
        if (entry.type == type && entry.text == text)
            return true;
    return false;
}

int LogCapture::count(const QString& text) const
{
    return texts().count(text);
}

void LogCapture::clear()
{
    QMutexLocker lock(&g_mutex);
    g_entries.clear();
}

} // namespace CorvelTest
