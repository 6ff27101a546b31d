#include "updater/installer.h"

#include "updater/version_info.h"

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
    QString part;
    if (const auto parsed = parseVersion(version)) {
        part = toString(*parsed);
    } else {
        static const QRegularExpression unsafe(QStringLiteral("[^A-Za-z0-9._-]"));
        part = QString(version).replace(unsafe, QStringLiteral("_"));
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
