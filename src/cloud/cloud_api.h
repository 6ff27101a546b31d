#pragma once

#include "cloud/cloud_records.h"
#include "cloud/request_error.h"

#include <QList>
#include <QString>

namespace VuskAPI {

// The five cloud operations the recovery wizard needs. Each delivers its result to the callback
// exactly once, on the GUI thread and never before the call returned, unless the object is
// destroyed first.
class CloudApi {
public:
    virtual ~CloudApi() = default;

    virtual void getClients(Callback<QList<TmxClient>> callback) = 0;
    virtual void getDataSources(quint64 clientId, Callback<QList<ClientDataSource>> callback) = 0;
    virtual void getDevices(quint64 dataSourceId, const QString& dataSourceType, quint64 clientId,
                            Callback<QList<ProtectedDevice>> callback) = 0;
    virtual void getDeviceToken(quint64 dataSourceId, qint64 deviceId, Callback<DeviceToken> callback) = 0;
    virtual void getEncryptionPassphrase(qint64 deviceId, Callback<QString> callback) = 0;
};

} // namespace VuskAPI
