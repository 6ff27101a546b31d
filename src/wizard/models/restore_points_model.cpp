#include "wizard/models/restore_points_model.h"

#include "cloud/cloud_api.h"
#include "wizard/models/service_query.h"
#include "wizard/recovery_wizard_values.h"
#include "wizard/wizard_texts.h"

#include <QDebug>

namespace Corvel {

using namespace VuskAPI;

RestorePointsModel::RestorePointsModel(RecoveryWizardValues& values, const PageContext& context, QObject* parent)
    : QObject(parent)
    , m_values(values)
    , m_cloud(context.cloud)
    , m_connection(context.connection)
    , m_retries(context.settings.connectionRetriesNumber())
    , m_limitMs(context.serviceCallLimitMs)
    , m_retry(context.makeRetry())
    , m_tokenCall(this, &m_retry, [this](const QString& text) {
        // The token's answer only hands over to the service: the loader stays.
        if (!text.isEmpty())
            emit loading(text);
    })
{
}

bool RestorePointsModel::cached() const
{
    return m_values.restorePointsCache.contains(m_values.deviceId);
}

void RestorePointsModel::load()
{
    m_retry.reset();
    const quint64 dataSourceId = m_values.dataSourceId;
    const quint64 deviceId = m_values.deviceId;
    m_tokenCall.run<DeviceToken>(
        QStringLiteral("Clients request"), "Loading snapshots",
        [this, dataSourceId, deviceId](Callback<DeviceToken> done) {
            m_cloud.getDeviceToken(dataSourceId, static_cast<qint64>(deviceId), std::move(done));
        },
        [this, deviceId](const DeviceToken& token) {
            m_values.deviceHost = token.url;
            m_values.deviceToken = token.token;
            qInfo().noquote() << "Device host: " + token.url;
            retrieve(deviceId, token.url, token.token);
        },
        [this](const RequestError&) { emit loading(QString()); });
}

void RestorePointsModel::retrieve(quint64 deviceId, const QString& url, const QString& token)
{
    auto names = std::make_shared<std::vector<std::string>>();
    askService(
        m_connection, this,
        [names, url = url.toStdString(), token = token.toStdString()](CorvelService::CorvelServiceIf& service) {
            names->clear();
            service.retrieveRestorePoints(*names, url, token);
        },
        m_retries, QtWarningMsg, m_limitMs,
        [this, names, deviceId](CorvelService::CallOutcome outcome) {
            m_retry.reset();
            emit loading(QString());
            if (outcome == CorvelService::CallOutcome::Unreachable)
                qWarning().noquote() << WizardTexts::NoClientLog;
            if (outcome != CorvelService::CallOutcome::Ok) {
                emit failed();
                return;
            }
            if (names->empty()) {
                emit empty();
                return;
            }
            QStringList list;
            list.reserve(static_cast<int>(names->size()));
            for (const std::string& name : *names)
                list.append(QString::fromStdString(name));
            m_values.restorePointsCache.insert(deviceId, list);
            emit arrived(deviceId);
        });
}

} // namespace Corvel
