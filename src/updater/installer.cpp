#include "updater/installer.h"

#include <QProcess>
#include <QRegularExpression>

namespace CVUpdater {

QStringList installerArguments()
{
    return {QStringLiteral("--accept-licenses"),
            QStringLiteral("--accept-messages"),
            QStringLiteral("--confirm-command"),
            QStringLiteral("force_setup=true"),
            QStringLiteral("-d"),
            QStringLiteral("-d"),
            QStringLiteral("-d")};
}

QString installerFileName(const QString& version)
{
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9._-]{1,64}$"));
    static const QRegularExpression dotted(QStringLiteral("\\d+\\.\\d+\\.\\d+\\.\\d+"));
    static const QRegularExpression unsafe(QStringLiteral("[^A-Za-z0-9._-]"));
    QString part;
    if (plain.match(version).hasMatch()) {
        part = version;
    } else if (const QRegularExpressionMatch match = dotted.match(version); match.hasMatch()) {
        // The version as written in the text around it, digits untouched.
        part = match.captured(0);
    } else {
        part = version.left(64).replace(unsafe, QStringLiteral("_"));
    }
    return QStringLiteral("Corvel_x64_installer_") + part + QStringLiteral(".exe");
}

bool launchDetached(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}

} // namespace CVUpdater
