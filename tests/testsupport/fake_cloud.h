#pragma once

#include "cloud/cloud_api.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>

#include <optional>

namespace CorvelTest {

// Cloud that answers from fixed records through the event loop, so asynchronous paths really run.
// Per operation it can fail its next calls or answer late.
class FakeCloud : public QObject, public VuskAPI::CloudApi {
public:
    QList<VuskAPI::TmxClient> clients;
    QHash<quint64, QList<VuskAPI::ClientDataSource>> dataSources; // by client id
    QHash<quint64, QList<VuskAPI::ProtectedDevice>> devices;      // by data source id
    QHash<qint64, QString> passphrases;                           // by device id

    // Operation names: "clients", "datasources", "devices", "token", "passphrase".
    void failNext(const QString& operation, VuskAPI::RequestError error, int times = 1);
    void setDelay(const QString& operation, int milliseconds) { m_delays[operation] = milliseconds; }
    // Every call, e.g. "devices 11 server 101".
    QStringList calls;

    void getClients(VuskAPI::Callback<QList<VuskAPI::TmxClient>> callback) override;
    void getDataSources(quint64 clientId, VuskAPI::Callback<QList<VuskAPI::ClientDataSource>> callback) override;
    void getDevices(quint64 dataSourceId, const QString& dataSourceType, quint64 clientId,
                    VuskAPI::Callback<QList<VuskAPI::ProtectedDevice>> callback) override;
    void getDeviceToken(quint64 dataSourceId, qint64 deviceId,
                        VuskAPI::Callback<VuskAPI::DeviceToken> callback) override;
    void getEncryptionPassphrase(qint64 deviceId, VuskAPI::Callback<QString> callback) override;

private:
    template <typename T>
    void answer(const QString& operation, const QString& call, T value, VuskAPI::Callback<T> callback);

    QHash<QString, QList<VuskAPI::RequestError>> m_failures;
    QHash<QString, int> m_delays;
};

} // namespace CorvelTest
