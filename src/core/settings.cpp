#include "core/settings.h"

#include "build_config.h"
#include "core/core_texts.h"
#include "core/limits.h"
#include "platform/platform.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonParseError>

namespace Corvel {

bool Settings::useSoftwareOpengl() const
{
    return getBool(m_config, QStringLiteral("use_software_opengl"), false);
}

bool Settings::disableServicesAutostart() const
{
    return getBool(m_config, QStringLiteral("disable_services_autostart"), false);
}

QString Settings::authUrl() const
{
    return getString(m_config, QStringLiteral("auth_url"), QStringLiteral(CORVEL_DEFAULT_AUTH_URL));
}

QString Settings::updateUrl() const
{
    return getString(m_config, QStringLiteral("update_url"), QString());
}

QString Settings::vuskUrl() const
{
    return getString(m_config, QStringLiteral("vusk_url"), QStringLiteral(CORVEL_DEFAULT_VUSK_URL));
}

int Settings::connectionRetriesNumber() const
{
    return getInt(m_config, QStringLiteral("connection_retries_number"), 5);
}

QString Settings::bmrUrl() const
{
    return getString(m_config, QStringLiteral("bmr_url"), QStringLiteral(CORVEL_DEFAULT_BMR_URL));
}

NotificationLevel Settings::notifications() const
{
    const QString key = QStringLiteral("notifications");
    const QString fallback = QStringLiteral("problems");
    const QString value = getString(m_config, key, fallback);
    if (value == QLatin1String("off"))
        return NotificationLevel::Off;
    if (value == QLatin1String("all"))
        return NotificationLevel::All;
    if (value != fallback)
        qWarning() << "Failed to get value at key " << key << ". Default value " << fallback << " returned.";
    return NotificationLevel::Problems;
}

QString Settings::updateDescriptorUrl() const
{
    const QString key = QStringLiteral("update_descriptor_url");
    const QString builtIn = QStringLiteral(CORVEL_UPDATE_DESCRIPTOR_URL);
    return m_config.contains(key) ? getString(m_config, key, builtIn) : builtIn;
}

int Settings::servicePort() const
{
    const QString key = QStringLiteral("service_port");
    const int port = m_config.contains(key) ? getInt(m_config, key, DefaultServicePort) : DefaultServicePort;
    if (port >= 1 && port <= 65535)
        return port;
    qCritical() << CoreTexts::NoValueAtKey << key << CoreTexts::DefaultValue << DefaultServicePort
                << CoreTexts::Returned;
    return DefaultServicePort;
}

QString stripNuls(const std::wstring& raw)
{
    std::wstring clean;
    clean.reserve(raw.size());
    for (wchar_t c : raw)
        if (c != L'\0')
            clean.push_back(c);
    return QString::fromStdWString(clean);
}

QString readRegistryString(const QString& subKey, const QString& valueName)
{
    const auto result = CorvelPlatform::readRegistryValue(subKey.toStdWString(), valueName.toStdWString());
    switch (result.status) {
    case CorvelPlatform::RegistryResult::Status::OpenFailed:
        qCritical().noquote() << CoreTexts::RegistryKeyFailed + subKey;
        return QString();
    case CorvelPlatform::RegistryResult::Status::QueryFailed:
        qCritical().noquote() << CoreTexts::RegistryValueFailed + subKey + "\\" + valueName;
        return QString();
    case CorvelPlatform::RegistryResult::Status::Ok:
        break;
    }
    return stripNuls(result.value);
}

static QString registryFolder(const QString& valueName)
{
    const QString value = readRegistryString(QString::fromLatin1(RegistryKey), valueName);
    return value.isEmpty() ? QDir::currentPath() : value;
}

QString installDir()
{
    return registryFolder(QStringLiteral("InstallDir"));
}

QString workingDir()
{
    return registryFolder(QStringLiteral("WorkingDir"));
}

std::optional<QJsonObject> loadConfig(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        qCritical().noquote() << CoreTexts::ConfigOpenFailed + path;
        return std::nullopt;
    }
    const QByteArray data = file.readAll();
    file.close();
    // The parser recurses per level; the same words as its own for a document nested too deeply.
    if (!Limits::jsonDepthWithin(data)) {
        qCritical().noquote() << CoreTexts::JsonParseFailed + path + ". Error: too deeply nested document";
        return std::nullopt;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (document.isNull()) {
        qCritical().noquote() << CoreTexts::JsonParseFailed + path + CoreTexts::JsonError + error.errorString();
        return std::nullopt;
    }
    return document.object();
}

std::optional<Settings> loadSettings(const QString& path)
{
    std::optional<QJsonObject> config = loadConfig(path);
    if (!config)
        return std::nullopt;
    return Settings(std::move(*config));
}

bool getBool(const QJsonObject& config, const QString& key, bool defaultValue)
{
    const QJsonValue value = config.value(key);
    if (value.isBool())
        return value.toBool();
    qWarning() << CoreTexts::NoValueAtKey << key << CoreTexts::DefaultValue << defaultValue << CoreTexts::Returned;
    return defaultValue;
}

QString getString(const QJsonObject& config, const QString& key, const QString& defaultValue)
{
    const QJsonValue value = config.value(key);
    if (value.isUndefined() || !value.isString()) {
        qWarning() << CoreTexts::NoValueAtKey << key << CoreTexts::DefaultValue << defaultValue << CoreTexts::Returned;
        return defaultValue;
    }
    return value.toString();
}

int getInt(const QJsonObject& config, const QString& key, int defaultValue)
{
    const QJsonValue value = config.value(key);
    if (value.isUndefined() || !value.isDouble()) {
        qCritical() << CoreTexts::NoValueAtKey << key << CoreTexts::DefaultValue << defaultValue << CoreTexts::Returned;
        return defaultValue;
    }
    const double number = value.toDouble();
    if (number >= 2147483647.0)
        return 2147483647;
    if (number <= -2147483648.0)
        return -2147483647 - 1;
    return static_cast<int>(number);
}

} // namespace Corvel
