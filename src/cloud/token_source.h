#pragma once

#include <QString>

#include <functional>
#include <optional>

class QWidget;

namespace TmxAuth {

// Where a token comes from: by default the login window (LoginWindow::getToken); tests hand in
// their own. Arguments: sign-in address, sign-out address (empty for none), parent.
using TokenSource = std::function<std::optional<QString>(const QString&, const QString&, QWidget*)>;

} // namespace TmxAuth
