#include "wizard/models/disks_model.h"

#include "wizard/models/service_query.h"
#include "wizard/wizard_texts.h"

#include <QDebug>

namespace Corvel {

using namespace CorvelService;

DisksModel::DisksModel(const PageContext& context, QObject* parent)
    : QObject(parent)
    , m_connection(context.connection)
    , m_retries(context.settings.connectionRetriesNumber())
    , m_limitMs(context.serviceCallLimitMs)
{
}

bool DisksModel::load(const QStringList& point)
{
    if (point == m_loadedPoint)
        return true;
    if (point == m_pendingPoint)
        return false;
    m_disks.clear();
    m_pendingPoint = point;
    emit loading("Loading disks info");
    auto disks = std::make_shared<std::vector<DiskInfo>>();
    askService(
        m_connection, this,
        [disks, host = point.value(0).toStdString(), token = point.value(1).toStdString(),
         snapshot = point.value(2).toStdString()](CorvelServiceIf& service) {
            disks->clear();
            service.retrieveMetadata(*disks, host, token, snapshot);
        },
        m_retries, QtCriticalMsg, m_limitMs,
        [this, disks, point](CallOutcome outcome) {
            if (point != m_pendingPoint)
                return;
            m_pendingPoint.clear();
            emit loading(QString());
            if (outcome != CallOutcome::Ok) {
                qCritical().noquote() << (outcome == CallOutcome::Unreachable ? WizardTexts::NoClientLog
                                                                              : WizardTexts::MetadataExhaustedLog);
                qCritical().noquote() << WizardTexts::MetadataFailedLog;
                emit failed();
                return;
            }
            m_loadedPoint = point;
            for (const DiskInfo& disk : *disks)
                m_disks[disk.name] = disk;
            emit arrived();
        });
    return false;
}

} // namespace Corvel
