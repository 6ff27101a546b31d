#pragma once

#include "session/user_data.h"

#include <QString>

#include <optional>

namespace TmxAuth {

// The signed-in operator: the raw bearer token and what its payload says about the operator.
class AuthSession {
public:
    explicit AuthSession(const QString& token = QString());

    void setToken(const QString& token);
    // The checked form used after a sign-in window; an empty optional is a programming error.
    bool acceptToken(const std::optional<QString>& token);

    QString token() const { return m_token; }
    UserData userData() const { return m_userData; }
    bool isValid() const;
    void resetUserData();

    static QString logoutUrl(const QString& authUrl);
    // Reads the payload segment of a token; every defect gives the default record.
    static UserData decode(const QString& token);

private:
    QString m_token;
    UserData m_userData;
};

} // namespace TmxAuth
