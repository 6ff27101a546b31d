#include "cloud/vusk_request.h"

#include "cloud/cloud_texts.h"
#include "core/bounded_body.h"
#include "core/limits.h"

#include <QDebug>
#include <QMetaEnum>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

#include <memory>
#include <utility>

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

// Takes a reply's body as it arrives, decoding it piece by piece, so that a body past the limit
// (counted decoded) is never held whole: the reply is aborted as soon as it exceeds the limit.
class BodyCollector : public QObject {
    Q_OBJECT

public:
    explicit BodyCollector(QNetworkReply* reply)
        : QObject(reply)
        , m_reply(reply)
    {
        reply->setReadBufferSize(Corvel::Limits::ReplyReadBuffer);
        connect(reply, &QNetworkReply::readyRead, this, &BodyCollector::take);
    }

    // The status once the reply has finished; the body is taken out with it.
    Corvel::BoundedBody::Status finish(QByteArray& body)
    {
        take();
        if (decoder().finish() != Corvel::BoundedBody::Status::Ok)
            m_body.clear();
        body = std::exchange(m_body, QByteArray());
        return decoder().status();
    }

    QByteArray contentEncoding() const { return m_reply->rawHeader("Content-Encoding"); }

private:
    Corvel::BoundedBody& decoder()
    {
        if (!m_decoder)
            m_decoder = std::make_unique<Corvel::BoundedBody>(contentEncoding(), Corvel::Limits::CloudReplyBytes);
        return *m_decoder;
    }

    void take()
    {
        // Closed once aborted.
        const QByteArray received = m_reply->isOpen() ? m_reply->readAll() : QByteArray();
        if (decoder().status() != Corvel::BoundedBody::Status::Ok)
            return;
        const auto status = decoder().feed(received, [this](const char* data, qint64 size) {
            m_body.append(data, int(size));
            return true;
        });
        if (status != Corvel::BoundedBody::Status::Ok) {
            m_body = QByteArray();
            if (m_reply->isRunning())
                m_reply->abort();
        }
    }

    QNetworkReply* m_reply;
    std::unique_ptr<Corvel::BoundedBody> m_decoder;
    QByteArray m_body;
};

RequestError replyError(QNetworkReply::NetworkError code, int httpStatus = 0, const QString& reason = {})
{
    qWarning().noquote() << CloudTexts::ReplyError + networkErrorName(code);
    RequestError error;
    error.kind = code == QNetworkReply::AuthenticationRequiredError ? RequestError::AuthenticationError
                                                                    : RequestError::ServerError;
    error.code = code;
    error.httpStatus = httpStatus;
    // The server's words go into a message box: one line, and not a page of them.
    constexpr int ReasonChars = 200;
    error.reason = reason.simplified().left(ReasonChars);
    return error;
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
    // The header the network layer would send anyway; set here, the decoding is ours and bounded.
    request.setRawHeader("Accept-Encoding", Corvel::BoundedBody::AcceptEncoding);
    QNetworkReply* reply = m_network->get(request);
    new BodyCollector(reply);
    return reply;
}

std::variant<QString, RequestError> VuskRequest::replyResult(QNetworkReply* reply)
{
    const QNetworkReply::NetworkError code = reply->error();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    QByteArray bytes;
    QByteArray encoding;
    Corvel::BoundedBody::Status decoding = Corvel::BoundedBody::Status::Ok;
    if (auto* collector = reply->findChild<BodyCollector*>(QString(), Qt::FindDirectChildrenOnly)) {
        decoding = collector->finish(bytes);
        encoding = collector->contentEncoding();
    } else {
        bytes = reply->readAll();
    }
    reply->deleteLater();

    if (decoding == Corvel::BoundedBody::Status::TooLarge) {
        qWarning().noquote()
            << QStringLiteral("Reply is too large: more than %1 bytes").arg(Corvel::Limits::CloudReplyBytes);
        return replyError(QNetworkReply::UnknownContentError);
    }
    if (code != QNetworkReply::NoError)
        return replyError(code, status, reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString());
    if (decoding == Corvel::BoundedBody::Status::Unreadable) {
        qWarning().noquote() << "Reply body cannot be decoded, content encoding: " + QString::fromLatin1(encoding);
        return replyError(QNetworkReply::UnknownContentError);
    }
    // No redirection is followed, and the body of one is not what was asked for.
    if (status >= 300 && status < 400) {
        qWarning().noquote() << QStringLiteral("Reply is a redirection (HTTP %1), which is not followed").arg(status);
        return replyError(QNetworkReply::ProtocolFailure);
    }
    return QString::fromUtf8(bytes);
}

void VuskRequest::logRequestError(const QString& name, const RequestError& error, int attemptsLeft)
{
    qWarning().noquote() << name + CloudTexts::ReturnedError + kindName(error.kind) + CloudTexts::Code +
                                QString::number(error.code) + CloudTexts::ErrorDescription +
                                networkErrorName(error.code);
    if (attemptsLeft > 0)
        qWarning().noquote() << CloudTexts::AttemptsLeft + QString::number(attemptsLeft);
    else
        qCritical().noquote() << CloudTexts::AttemptsExhausted;
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
    qInfo().noquote() << CloudTexts::RetrievingClients;
    const QString address = m_baseUrl + "/clients?partner_id=" + m_session->userData().resellerId;
    qDebug().noquote() << CloudTexts::ClientsRequest + address;
    fetch<QList<TmxClient>>(address, {CloudTexts::GotClient, true, CloudTexts::ClientFailed}, parseClients,
                            std::move(callback));
}

void VuskRequest::getDataSources(quint64 clientId, Callback<QList<ClientDataSource>> callback)
{
    qInfo().noquote() << CloudTexts::RetrievingDataSources;
    const QString address = m_baseUrl + "/datasources?client_id=" + QString::number(clientId);
    qDebug().noquote() << CloudTexts::DataSourcesRequest + address;
    fetch<QList<ClientDataSource>>(address, {CloudTexts::GotDataSource, true, CloudTexts::DataSourceFailed},
                                   parseDataSources, std::move(callback));
}

void VuskRequest::getDevices(quint64 dataSourceId, const QString& dataSourceType, quint64 clientId,
                             Callback<QList<ProtectedDevice>> callback)
{
    qInfo().noquote() << CloudTexts::RetrievingDevices;
    const QString address = m_baseUrl + "/devices?datasource_id=" + QString::number(dataSourceId) +
                            "&datasource_type=" + dataSourceType + "&client_id=" + QString::number(clientId);
    qDebug().noquote() << CloudTexts::DevicesRequest + address;
    fetch<QList<ProtectedDevice>>(address, {CloudTexts::GotDevice, true, CloudTexts::DeviceFailed}, parseDevices,
                                  std::move(callback));
}

void VuskRequest::getDeviceToken(quint64 dataSourceId, qint64 deviceId, Callback<DeviceToken> callback)
{
    qInfo().noquote() << CloudTexts::RetrievingToken + QString::number(dataSourceId) + CloudTexts::AndDevice +
                             QString::number(deviceId);
    const QString address = m_baseUrl + "/devices/" + QString::number(deviceId) + "/get_token" +
                            "?datasource_id=" + QString::number(dataSourceId);
    qDebug().noquote() << CloudTexts::TokenRequest + address;
    fetch<DeviceToken>(address, {CloudTexts::GotToken, false, CloudTexts::TokenFailed}, parseDeviceToken,
                       std::move(callback));
}

void VuskRequest::getEncryptionPassphrase(qint64 deviceId, Callback<QString> callback)
{
    qInfo().noquote() << CloudTexts::RetrievingPassphrase + QString::number(deviceId);
    const QString address = m_baseUrl + "/devices/" + QString::number(deviceId) + "/encryption_passphrase";
    qDebug().noquote() << CloudTexts::PassphraseRequest + address;
    fetch<QString>(address, {CloudTexts::GotPassphrase, false, CloudTexts::TokenFailed}, parsePassphrase,
                   std::move(callback));
}

} // namespace VuskAPI

#include "vusk_request.moc"
