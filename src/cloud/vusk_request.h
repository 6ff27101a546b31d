#pragma once

#include "cloud/cloud_api.h"
#include "session/auth_session.h"

#include <QObject>
#include <QString>

#include <variant>

class QNetworkAccessManager;
class QNetworkReply;

namespace VuskAPI {

// Authenticated GET requests to the cloud recovery API. Every operation calls its callback exactly
// once, unless this object is destroyed first (it owns every pending reply).
class VuskRequest : public QObject, public CloudApi {
    Q_OBJECT

public:
    // The session must outlive this object; its token is read at each request.
    VuskRequest(TmxAuth::AuthSession* session, const QString& baseUrl, QObject* parent = nullptr);

    QNetworkReply* get(const QString& url);
    static std::variant<QString, RequestError> replyResult(QNetworkReply* reply);
    static void logRequestError(const QString& name, const RequestError& error, int attemptsLeft);

    void getClients(Callback<QList<TmxClient>> callback) override;
    void getDataSources(quint64 clientId, Callback<QList<ClientDataSource>> callback) override;
    void getDevices(quint64 dataSourceId, const QString& dataSourceType, quint64 clientId,
                    Callback<QList<ProtectedDevice>> callback) override;
    void getDeviceToken(quint64 dataSourceId, qint64 deviceId, Callback<DeviceToken> callback) override;
    void getEncryptionPassphrase(qint64 deviceId, Callback<QString> callback) override;

    QString baseUrl() const { return m_baseUrl; }

private:
    struct Lines {
        QString success;
        bool logBody;
        QString failure;
    };

    template <typename T, typename Parse>
    QNetworkReply* fetch(const QString& address, const Lines& lines, Parse parse, Callback<T> callback);

    TmxAuth::AuthSession* m_session;
    QNetworkAccessManager* m_network;
    QString m_baseUrl;
};

} // namespace VuskAPI
