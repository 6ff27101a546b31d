#pragma once

#include <QString>
#include <QtGlobal>

#include <optional>

namespace CVUpdater {

struct VersionInfo {
    quint32 major = 0;
    quint32 minor = 0;
    quint32 build = 0;
    quint32 revision = 0;
};

// The first "a.b.c.d" anywhere in the text; nothing when there is none or a number overflows.
std::optional<VersionInfo> parseVersion(const QString& text);

bool operator<(const VersionInfo& left, const VersionInfo& right);

QString toString(const VersionInfo& version);

} // namespace CVUpdater
