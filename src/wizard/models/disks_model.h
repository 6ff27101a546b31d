#pragma once

#include "CorvelService.h"
#include "wizard/pages/page_context.h"

#include <QObject>
#include <QStringList>

#include <map>
#include <string>

namespace Corvel {

// The restore point's disks from the service's metadata, kept for the point they came from.
class DisksModel : public QObject {
    Q_OBJECT
public:
    using Disks = std::map<std::string, CorvelService::DiskInfo>;

    DisksModel(const PageContext& context, QObject* parent = nullptr);

    // The point is (device host, device token, snapshot). True when its disks are here already;
    // otherwise they are asked for, unless that is under way.
    bool load(const QStringList& point);
    const Disks& disks() const { return m_disks; }

signals:
    void loading(const QString& text);
    void arrived();
    void failed();

private:
    CorvelService::ServiceConnection& m_connection;
    int m_retries;
    int m_limitMs;
    QStringList m_loadedPoint;
    QStringList m_pendingPoint;
    Disks m_disks;
};

} // namespace Corvel
