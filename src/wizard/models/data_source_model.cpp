#include "wizard/models/data_source_model.h"

#include "cloud/cloud_api.h"
#include "wizard/recovery_wizard_values.h"

#include <QDebug>

namespace Corvel {

using namespace VuskAPI;

namespace {

const QString CallName = QStringLiteral("Clients request");
constexpr int UsernameRole = Qt::UserRole + 6;

} // namespace

DataSourceModel::DataSourceModel(RecoveryWizardValues& values, const PageContext& context, QObject* parent)
    : QObject(parent)
    , m_values(values)
    , m_cloud(context.cloud)
    , m_retry(context.makeRetry())
    , m_clientsCall(this, &m_retry, [this](const QString& text) { emit loading(text); })
    , m_dataSourcesCall(this, &m_retry, [this](const QString& text) { emit loading(text); })
    , m_devicesCall(this, &m_retry, [this](const QString& text) { emit loading(text); })
    , m_user(context.session.userData())
{
    m_filtered.setSourceModel(&m_clients);
    m_filtered.setFilterRole(UsernameRole);
    m_filtered.setFilterCaseSensitivity(Qt::CaseInsensitive);
}

void DataSourceModel::start()
{
    if (m_user.role == TmxAuth::UserRole::Client) {
        qInfo().noquote() << "Retrieving client ID";
        m_values.clientId = m_user.clientId;
        qInfo().noquote() << "Retrieving client name";
        m_values.clientName = m_user.username;
        requestDataSources();
        return;
    }
    if (m_user.role != TmxAuth::UserRole::Partner)
        return;
    m_clientsCall.run<QList<TmxClient>>(
        CallName, "Loading clients", [this](Callback<QList<TmxClient>> done) { m_cloud.getClients(std::move(done)); },
        [this](const QList<TmxClient>& clients) {
            QList<QStandardItem*> items;
            items.reserve(clients.size());
            for (const TmxClient& client : clients) {
                auto* item = new QStandardItem(client.username + " (" + client.name + ")");
                item->setEditable(false);
                item->setData(client.id, ClientIdRole);
                item->setData(client.username, UsernameRole);
                items.append(item);
            }
            m_clients.clear();
            // One column at once: a row per insertion would cost a layout each.
            m_clients.appendColumn(items);
            emit clientsArrived();
        });
}

void DataSourceModel::setSearch(const QString& text)
{
    m_filtered.setFilterFixedString(text);
}

int DataSourceModel::chosenClientRow() const
{
    if (m_values.clientId == 0)
        return -1;
    for (int row = 0; row < m_filtered.rowCount(); ++row)
        if (m_filtered.index(row, 0).data(ClientIdRole).toULongLong() == m_values.clientId)
            return row;
    return -1;
}

void DataSourceModel::chooseClient(const QModelIndex& index)
{
    const quint64 id = index.isValid() ? index.data(ClientIdRole).toULongLong() : 0;
    if (id == 0) {
        clearFromDataSources();
        return;
    }
    if (id == m_values.clientId)
        return;
    clearFromDataSources();
    m_values.clientId = id;
    m_values.clientName = index.data().toString();
    requestDataSources();
}

void DataSourceModel::requestDataSources()
{
    const quint64 clientId = m_values.clientId;
    m_dataSourcesCall.run<QList<ClientDataSource>>(
        CallName, "Loading datasources",
        [this, clientId](Callback<QList<ClientDataSource>> done) { m_cloud.getDataSources(clientId, std::move(done)); },
        [this](const QList<ClientDataSource>& dataSources) {
            m_dataSources = dataSources;
            emit dataSourcesChanged(true);
        });
}

void DataSourceModel::chooseDataSource(int index)
{
    clearFromDevices();
    if (index < 0 || index >= m_dataSources.size())
        return;
    m_values.dataSourceId = m_dataSources[index].id;
    m_values.dataSourceType = m_dataSources[index].type;
    requestDevices();
}

void DataSourceModel::requestDevices()
{
    const quint64 dataSourceId = m_values.dataSourceId;
    const QString dataSourceType = m_values.dataSourceType;
    const quint64 clientId = m_values.clientId;
    m_devicesCall.run<QList<ProtectedDevice>>(
        CallName, "Loading devices",
        [=](Callback<QList<ProtectedDevice>> done) {
            m_cloud.getDevices(dataSourceId, dataSourceType, clientId, std::move(done));
        },
        [this](const QList<ProtectedDevice>& devices) {
            m_devices = devices;
            emit devicesChanged(true);
        });
}

void DataSourceModel::chooseDevice(int index)
{
    clearDevice();
    if (index >= 0 && index < m_devices.size()) {
        m_values.deviceId = static_cast<quint64>(m_devices[index].id);
        m_values.deviceName = m_devices[index].name;
    }
    emit completeChanged(complete());
}

bool DataSourceModel::complete() const
{
    return m_values.clientId != 0 && m_values.dataSourceId != 0 && m_values.deviceId != 0;
}

void DataSourceModel::clearFromDataSources()
{
    m_retry.reset();
    m_values.clientId = 0;
    m_values.clientName.clear();
    m_dataSources.clear();
    m_dataSourcesCall.invalidate();
    emit dataSourcesChanged(false);
    clearFromDevices();
}

void DataSourceModel::clearFromDevices()
{
    m_retry.reset();
    m_values.dataSourceId = 0;
    m_values.dataSourceType.clear();
    m_devices.clear();
    m_devicesCall.invalidate();
    emit devicesChanged(false);
    clearDevice();
    emit completeChanged(complete());
}

void DataSourceModel::clearDevice()
{
    m_retry.reset();
    m_values.deviceId = 0;
    m_values.deviceName.clear();
}

} // namespace Corvel
