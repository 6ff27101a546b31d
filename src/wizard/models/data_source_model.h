#pragma once

#include "cloud/cloud_records.h"
#include "wizard/models/guarded_cloud_call.h"
#include "wizard/pages/page_context.h"

#include <QList>
#include <QObject>
#include <QSortFilterProxyModel>
#include <QStandardItemModel>

namespace Corvel {

struct RecoveryWizardValues;

// The cascade of what to restore from: client (partners only), data source, protected system, each
// level asked of the cloud once the level above is chosen. Writes the choice into the values.
class DataSourceModel : public QObject {
    Q_OBJECT
public:
    static constexpr int ClientIdRole = Qt::UserRole + 5;

    DataSourceModel(RecoveryWizardValues& values, const PageContext& context, QObject* parent = nullptr);

    // Asks for the clients (partner) or the own client's data sources (client).
    void start();

    // The clients whose username contains the search text: "username (name)", the id in ClientIdRole.
    QAbstractItemModel* clients() { return &m_filtered; }
    void setSearch(const QString& text);
    // Row of the chosen client in clients(), or -1.
    int chosenClientRow() const;
    void chooseClient(const QModelIndex& index);

    const QList<VuskAPI::ClientDataSource>& dataSources() const { return m_dataSources; }
    const QList<VuskAPI::ProtectedDevice>& devices() const { return m_devices; }
    // -1 for none.
    void chooseDataSource(int index);
    void chooseDevice(int index);
    bool complete() const;

signals:
    // The text of the request going out; empty when nothing is loading.
    void loading(const QString& text);
    void clientsArrived();
    // The data sources or devices were replaced (emptied when a level above changed).
    void dataSourcesChanged(bool enabled);
    void devicesChanged(bool enabled);
    void completeChanged(bool complete);

private:
    void requestDataSources();
    void requestDevices();
    void clearFromDataSources();
    void clearFromDevices();
    void clearDevice();

    RecoveryWizardValues& m_values;
    VuskAPI::CloudApi& m_cloud;
    VuskAPI::CloudCallRetry m_retry;
    GuardedCloudCall m_clientsCall;
    GuardedCloudCall m_dataSourcesCall;
    GuardedCloudCall m_devicesCall;
    TmxAuth::UserData m_user;
    QStandardItemModel m_clients;
    QSortFilterProxyModel m_filtered;
    QList<VuskAPI::ClientDataSource> m_dataSources;
    QList<VuskAPI::ProtectedDevice> m_devices;
};

} // namespace Corvel
