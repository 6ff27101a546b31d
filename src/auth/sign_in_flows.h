#pragma once

#include "cloud/request_error.h"
#include "cloud/token_source.h"
#include "session/auth_session.h"

#include <QString>

namespace TmxAuth {

enum class StartSignIn {
    SignedIn,
    // The window was closed: "Failed to retrieve token. Corvel will be closed." is logged; no dialog.
    NoToken,
    // Three windows gave no valid token: logged and the "Corvel error" dialog already shown.
    InvalidToken,
};
// First sign-in, at most three windows. The caller ends the process (status 0) on anything but
// SignedIn.
StartSignIn signInAtStart(AuthSession& session, const QString& authUrl, const TokenSource& source = {});

// 0 when signed in again, 1 when not.
int reSignInAfterTimeout(AuthSession& session, const QString& authUrl, QWidget* parent, const TokenSource& source = {});

// True when a new valid session exists.
bool logOutAndSignIn(AuthSession& session, const QString& authUrl, QWidget* parent, const TokenSource& source = {});

// The operator's view of a failed call ("Server Error" / "Internal Error"; nothing for an
// authentication error).
void showRequestError(QWidget* parent, const VuskAPI::RequestError& error);

} // namespace TmxAuth
