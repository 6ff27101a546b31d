#include "cloud/vusk_request.h"

#include <QDebug>
#include <QMetaEnum>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

namespace VuskAPI {

namespace {

QString networkErrorName(int code)
{
    return QString::fromLatin1(QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(code));
}

QString kindName(RequestError::Kind kind)
{
    switch (kind) {
    case RequestError::AuthenticationError:
        return QStringLiteral("AuthenticationError");
    case RequestError::ServerError:
        return QStringLiteral("ServerError");
    case RequestError::InternalError:
        return QStringLiteral("InternalError");
    }
    return QString();
}

} // namespace

VuskRequest::VuskRequest(TmxAuth::AuthSession* session, const QString& baseUrl, QObject* parent)
    : QObject(parent)
    , m_session(session)
    , m_network(new QNetworkAccessManager(this))
    , m_baseUrl(baseUrl)
{
}

QNetworkReply* VuskRequest::get(const QString& url)
{
    // Tolerant parsing leaves '&', '=' and the like as they are; only what a request line cannot
    // carry (a space, say) goes out percent-encoded.
    QNetworkRequest request(QUrl(url, QUrl::TolerantMode));
    request.setRawHeader("Authorization", "Bearer " + m_session->token().toUtf8());
    return m_network->get(request);
}

std::variant<QString, RequestError> VuskRequest::replyResult(QNetworkReply* reply)
{
    const QNetworkReply::NetworkError code = reply->error();
    const QString body = QString::fromUtf8(reply->readAll());
    reply->deleteLater();
    if (code == QNetworkReply::NoError)
        return body;
    qWarning().noquote() << "Reply error: " + networkErrorName(code);
    RequestError error;
    error.kind = code == QNetworkReply::AuthenticationRequiredError ? RequestError::AuthenticationError
                                                                    : RequestError::ServerError;
    error.code = code;
    return error;
}

void VuskRequest::logRequestError(const QString& name, const RequestError& error, int attemptsLeft)
{
    qWarning().noquote() << name + " returned error: type - " + kindName(error.kind) + ", code - " +
                                QString::number(error.code) + ", description - " + networkErrorName(error.code);
    if (attemptsLeft > 0)
        qWarning().noquote() << "Retrying attempts left: " + QString::number(attemptsLeft);
    else
        qCritical().noquote() << "Retrying attempts has been exhausted";
}

template <typename T, typename Parse>
QNetworkReply* VuskRequest::fetch(const QString& address, const Lines& lines, Parse parse, Callback<T> callback)
{
    QNetworkReply* reply = get(address);
    connect(reply, &QNetworkReply::finished, this, [reply, lines, parse, callback]() {
        const auto result = replyResult(reply);
        if (const auto* error = std::get_if<RequestError>(&result)) {
            qCritical().noquote() << lines.failure + QString::number(error->code);
            callback(Result<T>(std::in_place_index<1>, *error));
            return;
        }
        const QString& body = std::get<QString>(result);
        qDebug().noquote() << (lines.logBody ? lines.success + body : lines.success);
        callback(Result<T>(std::in_place_index<0>, parse(body.toUtf8())));
    });
    return reply;
}

void VuskRequest::getClients(Callback<QList<TmxClient>> callback)
{
    qInfo().noquote() << "Retrieving clients list";
    const QString address = m_baseUrl + "/clients?partner_id=" + m_session->userData().resellerId;
    qDebug().noquote() << "Clients list request: " + address;
    fetch<QList<TmxClient>>(address, {"Got client: ", true, "Request for client failed. Error: "}, parseClients,
                            std::move(callback));
}

void VuskRequest::getDataSources(quint64 clientId, Callback<QList<ClientDataSource>> callback)
{
    qInfo().noquote() << "Retrieving data sources list";
    const QString address = m_baseUrl + "/datasources?client_id=" + QString::number(clientId);
    qDebug().noquote() << "Data sources list request: " + address;
    fetch<QList<ClientDataSource>>(address, {"Got data source: ", true, "Request for data source failed. Error: "},
                                   parseDataSources, std::move(callback));
}

void VuskRequest::getDevices(quint64 dataSourceId, const QString& dataSourceType, quint64 clientId,
                             Callback<QList<ProtectedDevice>> callback)
{
    qInfo().noquote() << "Retrieving devices list";
    const QString address = m_baseUrl + "/devices?datasource_id=" + QString::number(dataSourceId) +
                            "&datasource_type=" + dataSourceType + "&client_id=" + QString::number(clientId);
    qDebug().noquote() << "Devices list request: " + address;
    fetch<QList<ProtectedDevice>>(address, {"Got device: ", true, "Request for device failed. Error: "}, parseDevices,
                                  std::move(callback));
}

void VuskRequest::getDeviceToken(quint64 dataSourceId, qint64 deviceId, Callback<DeviceToken> callback)
{
    qInfo().noquote() << "Retrieving token for datasource " + QString::number(dataSourceId) + " and device " +
                             QString::number(deviceId);
    const QString address = m_baseUrl + "/devices/" + QString::number(deviceId) + "/get_token" +
                            "?datasource_id=" + QString::number(dataSourceId);
    qDebug().noquote() << "Token for datasource request: " + address;
    fetch<DeviceToken>(address, {"Got token", false, "Request for token failed. Error: "}, parseDeviceToken,
                       std::move(callback));
}

void VuskRequest::getEncryptionPassphrase(qint64 deviceId, Callback<QString> callback)
{
    qInfo().noquote() << "Retrieving encryption passphrase for device " + QString::number(deviceId);
    const QString address = m_baseUrl + "/devices/" + QString::number(deviceId) + "/encryption_passphrase";
    qDebug().noquote() << "Device phrase request: " + address;
    fetch<QString>(address, {"Got device passphrase", false, "Request for token failed. Error: "}, parsePassphrase,
                   std::move(callback));
}

quint64 VuskRequest::clientId() const
{
    qInfo().noquote() << "Retrieving client ID";
    return m_session->userData().clientId;
}

QString VuskRequest::clientName() const
{
    qInfo().noquote() << "Retrieving client name";
    return m_session->userData().username;
}

} // namespace VuskAPI
