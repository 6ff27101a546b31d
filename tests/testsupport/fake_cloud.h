#pragma once

#include "cloud/cloud_api.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>

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
    void failNext(const QString& operation, VuskAPI::RequestError error, int times = 1)
    {
        for (int i = 0; i < times; ++i)
            m_failures[operation].append(error);
    }
    void setDelay(const QString& operation, int milliseconds) { m_delays[operation] = milliseconds; }
    // Every call, e.g. "devices 11 server 101".
    QStringList calls;

    void getClients(VuskAPI::Callback<QList<VuskAPI::TmxClient>> callback) override
    {
        answer("clients", "clients", clients, std::move(callback));
    }
    void getDataSources(quint64 clientId, VuskAPI::Callback<QList<VuskAPI::ClientDataSource>> callback) override
    {
        answer("datasources", QString("datasources %1").arg(clientId), dataSources.value(clientId),
               std::move(callback));
    }
    void getDevices(quint64 dataSourceId, const QString& dataSourceType, quint64 clientId,
                    VuskAPI::Callback<QList<VuskAPI::ProtectedDevice>> callback) override
    {
        answer("devices", QString("devices %1 %2 %3").arg(dataSourceId).arg(dataSourceType).arg(clientId),
               devices.value(dataSourceId), std::move(callback));
    }
    void getDeviceToken(quint64 dataSourceId, qint64 deviceId,
                        VuskAPI::Callback<VuskAPI::DeviceToken> callback) override
    {
        const VuskAPI::DeviceToken token{QString("https://device-%1.invalid").arg(deviceId),
                                         QString("device-token-%1-%2").arg(deviceId).arg(dataSourceId)};
        answer("token", QString("token %1 %2").arg(dataSourceId).arg(deviceId), token, std::move(callback));
    }
    void getEncryptionPassphrase(qint64 deviceId, VuskAPI::Callback<QString> callback) override
    {
        answer("passphrase", QString("passphrase %1").arg(deviceId), passphrases.value(deviceId), std::move(callback));
    }

private:
    template <typename T>
    void answer(const QString& operation, const QString& call, const T& value, VuskAPI::Callback<T> callback)
    {
        calls << call;
        VuskAPI::Result<T> result = value;
        if (!m_failures.value(operation).isEmpty())
            result = m_failures[operation].takeFirst();
        QPointer<FakeCloud> self(this);
        QTimer::singleShot(m_delays.value(operation, 0), this, [self, result, callback] {
            if (self)
                callback(result);
        });
    }

    QHash<QString, QList<VuskAPI::RequestError>> m_failures;
    QHash<QString, int> m_delays;
};

} // namespace CorvelTest
