#include "auth/request_interceptor.h"

#include "auth/auth_texts.h"
#include "build_config.h"

#include <QDebug>
#include <QWebEngineUrlRequestInfo>

namespace TmxAuth {

QString tokenSentinel()
{
    static const QString sentinel = QStringLiteral(CORVEL_TOKEN_SENTINEL);
    return sentinel;
}

RequestInterceptor::RequestInterceptor(const QString& authUrl, bool logoutPending, QObject* parent)
    : QWebEngineUrlRequestInterceptor(parent)
    , m_authUrl(authUrl)
    , m_logoutPending(logoutPending)
{
}

void RequestInterceptor::interceptRequest(QWebEngineUrlRequestInfo& info)
{
    inspect(info.requestUrl().toString());
}

void RequestInterceptor::inspect(const QString& url)
{
    const QString sentinel = tokenSentinel();
    if (url.contains(sentinel)) {
        QString token = url;
        token.remove(sentinel);
        emit sendToken(token);
    }
    if (!m_logoutPending)
        return;
    if (url.contains(QStringLiteral("/login")) && m_logoutPending.exchange(false)) {
        qDebug().noquote() << AuthTexts::LogoutRedirect + url + " to " + m_authUrl;
        emit redirect(m_authUrl);
    }
}

} // namespace TmxAuth
