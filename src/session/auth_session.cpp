#include "session/auth_session.h"

#include "core/limits.h"
#include "session/session_texts.h"

#include <QDebug>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace TmxAuth {

namespace {

quint64 toUnsigned64(double value)
{
    // Out-of-range conversion would be undefined; such an id reads as 0.
    if (!(value >= 0.0) || value >= 18446744073709551616.0)
        return 0;
    return static_cast<quint64>(value);
}

QJsonValue member(const QJsonObject& data, const QString& name)
{
    const QJsonValue value = data.value(name);
    if (value.isNull()) {
        qCritical().noquote() << "Failed to get JSON " + name + " field in data";
        return QJsonValue(QString());
    }
    return value;
}

} // namespace

AuthSession::AuthSession(const QString& token)
    : m_token(token)
    // A session made before anyone signed in has nothing to decode, and nothing to report.
    , m_userData(token.isEmpty() ? UserData() : decode(token))
{
}

void AuthSession::setToken(const QString& token)
{
    m_token = token;
    m_userData = decode(token);
}

bool AuthSession::acceptToken(const std::optional<QString>& token)
{
    const QString& text = token.value();
    if (!text.isEmpty()) {
        setToken(text);
        if (isValid())
            return true;
        qWarning().noquote() << SessionTexts::InvalidToken;
        return false;
    }
    qWarning().noquote() << SessionTexts::EmptyToken;
    setToken(QString());
    return false;
}

bool AuthSession::isValid() const
{
    return m_userData.role != UserRole::None && !m_userData.resellerId.isEmpty() && !m_userData.username.isEmpty() &&
           !m_userData.userDisplayName.isEmpty();
}

void AuthSession::resetUserData()
{
    m_userData = UserData();
}

QString AuthSession::logoutUrl(const QString& authUrl)
{
    QString url = authUrl;
    url.remove(QStringLiteral("authorization/vusk"));
    return url + QStringLiteral("auth/logout");
}

UserData AuthSession::decode(const QString& token)
{
    static const QRegularExpression payloadPattern(QStringLiteral("[.](.*)[.]"));
    const QString payload = payloadPattern.match(token).captured(1);

    QByteArray bytes;
    bool undecodable = false;
    if (payload.isEmpty()) {
        qWarning().noquote() << SessionTexts::EmptyPayload;
    } else {
        const auto decoded = QByteArray::fromBase64Encoding(
            payload.toUtf8(), QByteArray::Base64Encoding | QByteArray::AbortOnBase64DecodingErrors);
        undecodable = decoded.decodingStatus != QByteArray::Base64DecodingStatus::Ok;
        bytes = decoded.decoded;
    }
    if (bytes.isEmpty() && !undecodable)
        return UserData();

    QJsonObject data;
    if (Corvel::Limits::jsonDepthWithin(bytes))
        data = QJsonDocument::fromJson(bytes).object().value(QStringLiteral("data")).toObject();
    else
        qWarning().noquote() << QStringLiteral("JSON nested deeper than %1 levels").arg(Corvel::Limits::JsonDepth);
    if (data.isEmpty()) {
        qCritical().noquote() << SessionTexts::NoData;
        return UserData();
    }

    UserData user;
    user.resellerId = QString::number(member(data, QStringLiteral("reseller_id")).toDouble(), 'g', 6);
    user.username = member(data, QStringLiteral("username")).toString();
    user.userDisplayName = member(data, QStringLiteral("user_display_name")).toString();
    user.clientId = toUnsigned64(member(data, QStringLiteral("client_id")).toDouble());

    if (user.userDisplayName.isEmpty()) {
        user.userDisplayName = user.username;
        qWarning().noquote() << SessionTexts::NoDisplayName;
    }

    if (data.contains(QStringLiteral("client_id"))) {
        user.role = UserRole::Client;
        qInfo().noquote() << SessionTexts::ClientRole;
    } else if (data.contains(QStringLiteral("reseller_id"))) {
        user.role = UserRole::Partner;
        qInfo().noquote() << SessionTexts::PartnerRole;
    } else {
        user.role = UserRole::VelmoraAdmin;
        qInfo().noquote() << SessionTexts::AdminRole;
    }
    return user;
}

} // namespace TmxAuth
