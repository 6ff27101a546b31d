#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QtGlobal>

namespace VuskAPI {

struct TmxClient {
    quint64 id = 0;
    QString username;
    QString name;
};

struct ClientDataSource {
    quint64 id = 0;
    QString name;
    QString url;
    QString sid;
    QString type;
};

struct ProtectedDevice {
    int id = 0;
    QString name;
};

struct DeviceToken {
    QString url;
    QString token;
};

// Body parsers: malformed JSON is not an error, it gives empty values; an empty body also logs
// "JSON data is empty.".
QList<TmxClient> parseClients(const QByteArray& body);
QList<ClientDataSource> parseDataSources(const QByteArray& body);
QList<ProtectedDevice> parseDevices(const QByteArray& body);
DeviceToken parseDeviceToken(const QByteArray& body);
QString parsePassphrase(const QByteArray& body);

} // namespace VuskAPI
