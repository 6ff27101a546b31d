#include "testsupport/log_capture.h"

#include <QMutex>
#include <QMutexLocker>

namespace CorvelTest {

namespace {
// Every live capture receives every message, so captures can nest.
QMutex g_mutex;
QList<QList<LogCapture::Entry>*> g_active;
QtMessageHandler g_previous = nullptr;

void handler(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    QMutexLocker lock(&g_mutex);
    for (auto* entries : g_active)
        entries->append({type, text});
}
} // namespace

LogCapture::LogCapture()
{
    QMutexLocker lock(&g_mutex);
    if (g_active.isEmpty())
        g_previous = qInstallMessageHandler(handler);
    g_active.append(&m_entries);
}

LogCapture::~LogCapture()
{
    QMutexLocker lock(&g_mutex);
    g_active.removeOne(&m_entries);
    if (g_active.isEmpty())
        qInstallMessageHandler(g_previous);
}

QList<LogCapture::Entry> LogCapture::entries() const
{
    QMutexLocker lock(&g_mutex);
    return m_entries;
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
    m_entries.clear();
}

} // namespace CorvelTest
