#include "wizard/models/hyperv_model.h"

#include "platform/platform.h"
#include "wizard/models/service_query.h"
#include "wizard/wizard_texts.h"

#include <QDebug>

namespace Corvel {

using namespace CorvelService;

HyperVModel::HyperVModel(const PageContext& context, QObject* parent)
    : QObject(parent)
    , m_connection(context.connection)
    , m_limitMs(context.serviceCallLimitMs)
{
}

void HyperVModel::load()
{
    if (m_asked)
        return;
    m_asked = true;
    auto used = std::make_shared<qint64>(0);
    askService(
        m_connection, this, [used](CorvelServiceIf& service) { *used = service.retrieveHyperVRamBytesUsed(); }, -1,
        QtCriticalMsg, m_limitMs,
        [this, used](CallOutcome outcome) {
            if (outcome != CallOutcome::Ok) {
                qCritical().noquote() << (outcome == CallOutcome::Unreachable ? WizardTexts::NoClientLog
                                                                              : WizardTexts::RamUsedFailedLog);
                *used = 0;
            }
            const quint64 total = CorvelPlatform::totalPhysicalMemory();
            const quint64 taken = static_cast<quint64>(qMax<qint64>(0, *used));
            emit memoryKnown(total > taken ? total - taken : 0);
        });
    auto networks = std::make_shared<std::vector<VirtualNetwork>>();
    askService(
        m_connection, this, [networks](CorvelServiceIf& service) { service.retrieveHyperVNetworks(*networks); }, -1,
        QtWarningMsg, m_limitMs,
        [this, networks](CallOutcome outcome) {
            QStringList names;
            if (outcome != CallOutcome::Ok)
                qCritical().noquote() << WizardTexts::NetworksFailedLog;
            else
                for (const VirtualNetwork& network : *networks)
                    names.append(QString::fromStdString(network.name));
            emit networksKnown(names);
        });
}

} // namespace Corvel
