#pragma once

#include <QString>

#include <optional>

namespace CVUpdater {

struct DescriptorRecord {
    QString downloadUrl;
    QString version;
    QString notice;
};

inline constexpr int DescriptorTimeoutMs = 5000;

// Blocks the calling thread in its own event loop (and its own network access manager) until the
// reply is in or the timeout fires; every failure is logged and gives nothing.
std::optional<DescriptorRecord> fetchDescriptor(const QString& location);

// The XML part of the fetch, logging the same lines.
std::optional<DescriptorRecord> parseDescriptor(const QByteArray& body);

} // namespace CVUpdater
