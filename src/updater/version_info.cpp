#include "updater/version_info.h"

#include <QRegularExpression>

#include <tuple>

namespace CVUpdater {

std::optional<VersionInfo> parseVersion(const QString& text)
{
    static const QRegularExpression pattern(QStringLiteral("(\\d+)\\.(\\d+)\\.(\\d+)\\.(\\d+)"));
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return std::nullopt;

    quint32 parts[4] = {};
    for (int i = 0; i < 4; ++i) {
        bool ok = false;
        parts[i] = match.capturedRef(i + 1).toUInt(&ok);
        if (!ok)
            return std::nullopt;
    }
    return VersionInfo{parts[0], parts[1], parts[2], parts[3]};
}

bool operator<(const VersionInfo& left, const VersionInfo& right)
{
    return std::tie(left.major, left.minor, left.build, left.revision) <
           std::tie(right.major, right.minor, right.build, right.revision);
}

QString toString(const VersionInfo& version)
{
    return QStringLiteral("%1.%2.%3.%4").arg(version.major).arg(version.minor).arg(version.build).arg(version.revision);
}

} // namespace CVUpdater
