#pragma once

#include <QString>
#include <QtGlobal>

namespace TmxAuth {

enum class UserRole { None = 0, VelmoraAdmin = 1, Client = 2, Partner = 3 };

// What the console knows about the signed-in operator, derived from the token payload.
struct UserData {
    quint64 clientId = 0;
    QString resellerId;
    UserRole role = UserRole::None;
    QString username;
    QString userDisplayName;
};

} // namespace TmxAuth
