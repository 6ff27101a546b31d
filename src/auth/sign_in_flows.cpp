#include "auth/sign_in_flows.h"

#include "auth/auth_texts.h"
#include "auth/login_window.h"
#include "core/settings.h"
#include "widgets/message_box.h"

#include <QDebug>

namespace TmxAuth {

namespace {

constexpr int MaxSignInWindows = 3;

std::optional<QString> fetchToken(const TokenSource& source, const QString& authUrl, const QString& logoutUrl,
                                  QWidget* parent)
{
    if (source)
        return source(authUrl, logoutUrl, parent);
    return LoginWindow::getToken(authUrl, logoutUrl, parent);
}

void showAuthenticationFailed(QWidget* parent)
{
    qWarning().noquote() << AuthTexts::SessionTimedOutLog;
    CorvelWidgets::MessageBox::critical(parent, QString(AuthTexts::AuthenticationError),
                                        QString(AuthTexts::AuthenticationFailed));
}

} // namespace

StartSignIn signInAtStart(AuthSession& session, const QString& authUrl, const TokenSource& source)
{
    for (int attempt = 0; attempt < MaxSignInWindows && !session.isValid(); ++attempt) {
        const std::optional<QString> token = fetchToken(source, authUrl, QString(), nullptr);
        if (!token) {
            qCritical().noquote() << AuthTexts::NoTokenLog;
            return StartSignIn::NoToken;
        }
        if (!token->isEmpty())
            session.setToken(*token);
    }
    if (!session.isValid()) {
        qCritical().noquote() << AuthTexts::InvalidTokenLog;
        CorvelWidgets::MessageBox::critical(nullptr, QString(AuthTexts::CorvelError), QString(AuthTexts::InvalidToken));
        return StartSignIn::InvalidToken;
    }
    return StartSignIn::SignedIn;
}

int reSignInAfterTimeout(AuthSession& session, const QString& authUrl, QWidget* parent, const TokenSource& source)
{
    qWarning().noquote() << AuthTexts::TimedOutLog;
    CorvelWidgets::MessageBox::critical(parent, QString(AuthTexts::AuthenticationError), QString(AuthTexts::TimedOut));
    session.resetUserData();
    for (int failures = 0;;) {
        const std::optional<QString> token = fetchToken(source, authUrl, QString(), parent);
        if (!token) {
            session.setToken(QString());
            qWarning().noquote() << AuthTexts::SignInCanceled;
            return 1;
        }
        if (session.acceptToken(token))
            return 0;
        if (++failures >= MaxSignInWindows) {
            showAuthenticationFailed(parent);
            return 1;
        }
    }
}

bool logOutAndSignIn(AuthSession& session, const QString& url, QWidget* parent, const TokenSource& source)
{
    qInfo().noquote() << AuthTexts::LogoutCalled;
    session.resetUserData();
    const std::optional<QString> token = fetchToken(source, url, AuthSession::logoutUrl(url), parent);
    if (!token) {
        session.setToken(QString());
        return false;
    }
    if (session.acceptToken(token))
        return true;
    showAuthenticationFailed(parent);
    return false;
}

void showRequestError(QWidget* parent, const VuskAPI::RequestError& error)
{
    switch (error.kind) {
    case VuskAPI::RequestError::ServerError:
        // The connection hint fits only when nothing answered; an answering server is not an outage here.
        CorvelWidgets::MessageBox::critical(
            parent, QString(AuthTexts::ServerError),
            AuthTexts::ErrorCode + QString::number(error.code) +
                (error.httpStatus ? error.serverAnswer("\n") + AuthTexts::TryLater : AuthTexts::CheckConnection));
        break;
    case VuskAPI::RequestError::InternalError:
        CorvelWidgets::MessageBox::critical(parent, QString(AuthTexts::InternalError),
                                            AuthTexts::InternalErrorText + error.description);
        break;
    case VuskAPI::RequestError::AuthenticationError:
        break;
    }
}

} // namespace TmxAuth
