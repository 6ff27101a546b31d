#include "sim_log.h"

#include <QDateTime>

#include <cstdio>
#include <mutex>

namespace CorvelSim {

void logLine(const std::string& line)
{
    static std::mutex mutex;
    const QByteArray stamp = QDateTime::currentDateTime().toString(QStringLiteral("hh:mm:ss.zzz")).toLatin1();
    std::lock_guard<std::mutex> lock(mutex);
    std::fprintf(stderr, "%s %s\n", stamp.constData(), line.c_str());
    std::fflush(stderr);
}

} // namespace CorvelSim
