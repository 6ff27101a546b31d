#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace CVUpdater {

// The unattended-install arguments, in the order the installer expects them.
QStringList installerArguments();

// "Corvel_x64_installer_<version>.exe" with the version as offered ("1.07.0.378" stays as it is).
// Text from the descriptor that is not a plain file-name part gives only its dotted version, so it
// can never reach outside the temporary folder.
QString installerFileName(const QString& version);

// Starts a program detached with its output and error streams on the null device.
using InstallerLauncher = std::function<bool(const QString& program, const QStringList& arguments)>;
bool launchDetached(const QString& program, const QStringList& arguments);

} // namespace CVUpdater
