#include "testsupport/fake_cloud.h"

#include <QTimer>

namespace CorvelTest {

using namespace VuskAPI;

void FakeCloud::failNext(const QString& operation, RequestError error, int times)
{
    for (int i = 0; i < times; ++i)
        m_failures[operation].append(error);
}

template <typename T>
void FakeCloud::answer(const QString& operation, const QString& call, T value, Callback<T> callback)
{
    calls << call;
    Result<T> result = value;
    if (!m_failures.value(operation).isEmpty())
        result = m_failures[operation].takeFirst();
    QPointer<FakeCloud> self(this);
    QTimer::singleShot(m_delays.value(operation, 0), this, [self, result, callback] {
        if (self)
            callback(result);
    });
}

void FakeCloud::getClients(Callback<QList<TmxClient>> callback)
{
    answer<QList<TmxClient>>("clients", "clients", clients, std::move(callback));
}

void FakeCloud::getDataSources(quint64 clientId, Callback<QList<ClientDataSource>> callback)
{
    answer<QList<ClientDataSource>>("datasources", "datasources " + QString::number(clientId),
                                    dataSources.value(clientId), std::move(callback));
}

void FakeCloud::getDevices(quint64 dataSourceId, const QString& dataSourceType, quint64 clientId,
                           Callback<QList<ProtectedDevice>> callback)
{
    answer<QList<ProtectedDevice>>("devices",
                                   QString("devices %1 %2 %3").arg(dataSourceId).arg(dataSourceType).arg(clientId),
                                   devices.value(dataSourceId), std::move(callback));
}

void FakeCloud::getDeviceToken(quint64 dataSourceId, qint64 deviceId, Callback<DeviceToken> callback)
{
    DeviceToken token;
    token.url = QString("https://device-%1.invalid").arg(deviceId);
    token.token = QString("device-token-%1-%2").arg(deviceId).arg(dataSourceId);
    answer<DeviceToken>("token", QString("token %1 %2").arg(dataSourceId).arg(deviceId), token, std::move(callback));
}

void FakeCloud::getEncryptionPassphrase(qint64 deviceId, Callback<QString> callback)
{
    answer<QString>("passphrase", "passphrase " + QString::number(deviceId), passphrases.value(deviceId),
                    std::move(callback));
}

} // namespace CorvelTest
