#include "auth/sign_in_flows.h"

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
    qWarning().noquote() << "Invalid token. Authentication Error. Your session has timed out. Please login again.";
    CorvelWidgets::MessageBox::critical(parent, QStringLiteral("Authentication Error"),
                                        QStringLiteral("Authentication failed. Please try login again."));
}

} // namespace

StartSignIn signInAtStart(AuthSession& session, const QString& authUrl, const TokenSource& source)
{
    for (int attempt = 0; attempt < MaxSignInWindows && !session.isValid(); ++attempt) {
        const std::optional<QString> token = fetchToken(source, authUrl, QString(), nullptr);
        if (!token) {
            qCritical().noquote() << "Failed to retrieve token. Corvel will be closed.";
            return StartSignIn::NoToken;
        }
        if (!token->isEmpty())
            session.setToken(*token);
    }
    if (!session.isValid()) {
        qCritical().noquote() << "Failed to parse CV token. Corvel will be closed.";
        CorvelWidgets::MessageBox::critical(nullptr, QStringLiteral("Corvel error"),
                                            QStringLiteral("Invalid security token received, Corvel will be closed"));
        return StartSignIn::InvalidToken;
    }
    return StartSignIn::SignedIn;
}

int reSignInAfterTimeout(AuthSession& session, const QString& authUrl, QWidget* parent, const TokenSource& source)
{
    qWarning().noquote() << "Authentication Error Your session has timed out. Please login again.";
    CorvelWidgets::MessageBox::critical(parent, QStringLiteral("Authentication Error"),
                                        QStringLiteral("Your session has timed out. Please login again."));
    session.resetUserData();
    for (int failures = 0;;) {
        const std::optional<QString> token = fetchToken(source, authUrl, QString(), parent);
        if (!token) {
            session.setToken(QString());
            qWarning().noquote() << "Token retrieving was canceled";
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
    qInfo().noquote() << "Logout procedure is called";
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
        CorvelWidgets::MessageBox::critical(parent, QStringLiteral("Server Error"),
                                            "Error code: " + QString::number(error.code) +
                                                (error.httpStatus ? error.serverAnswer("\n") + "\nPlease try again later"
                                                                  : "\nPlease check your internet connection and try again"));
        break;
    case VuskAPI::RequestError::InternalError:
        CorvelWidgets::MessageBox::critical(parent, QStringLiteral("Internal Error"),
                                            "Internal error: " + error.description);
        break;
    case VuskAPI::RequestError::AuthenticationError:
        break;
    }
}

} // namespace TmxAuth
