#pragma once

#include "wizard/pages/page_context.h"

#include <QObject>
#include <QStringList>

namespace Corvel {

// What the host's Hyper-V has left for a new machine: memory and networks, asked of the service
// once, when a page first needs them.
class HyperVModel : public QObject {
    Q_OBJECT
public:
    HyperVModel(const PageContext& context, QObject* parent = nullptr);

    // Asks, the first time only.
    void load();

signals:
    // The host's memory less what Hyper-V uses (all of it when the service cannot say).
    void memoryKnown(quint64 availableBytes);
    void networksKnown(const QStringList& names);

private:
    CorvelService::ServiceConnection& m_connection;
    int m_limitMs;
    bool m_asked = false;
};

} // namespace Corvel
