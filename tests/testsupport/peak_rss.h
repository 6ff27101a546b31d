#pragma once

#include <QFile>
#include <QtGlobal>

namespace CorvelTest {

// Peak resident memory of this process from the moment of construction, through the kernel's
// high-water mark (reset on construction). Linux only: available() is false elsewhere, and under
// AddressSanitizer, whose allocator pads every block and keeps freed memory in quarantine, so
// that the peak says more about the sanitizer than about the code.
class PeakRss {
public:
    PeakRss()
    {
        QFile clear(QStringLiteral("/proc/self/clear_refs"));
        m_available = clear.open(QIODevice::WriteOnly) && clear.write("5") == 1;
        clear.close();
        m_start = field("VmRSS:");
    }

    bool available() const
    {
#ifdef CORVEL_SANITIZED
        return false;
#else
        return m_available && m_start >= 0;
#endif
    }
    // Bytes by which the peak exceeded the resident size at construction.
    qint64 growth() const { return field("VmHWM:") - m_start; }

private:
    static qint64 field(const QByteArray& name)
    {
        QFile status(QStringLiteral("/proc/self/status"));
        if (!status.open(QIODevice::ReadOnly))
            return -1;
        for (const QByteArray& line : status.readAll().split('\n'))
            if (line.startsWith(name))
                return line.mid(name.size()).trimmed().split(' ').value(0).toLongLong() * 1024;
        return -1;
    }

    bool m_available = false;
    qint64 m_start = -1;
};

} // namespace CorvelTest
