#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>
#include <string>

namespace Corvel {

// Which events the console tells the operator about: none, the problems, or also the successes.
enum class NotificationLevel { Off, Problems, All };

// The configuration from config.json with a typed getter per key; each getter names its key and
// built-in default once. A missing or mistyped key gives the default and one log line.
class Settings {
public:
    Settings() = default;
    explicit Settings(QJsonObject config)
        : m_config(std::move(config))
    {
    }

    bool useSoftwareOpengl() const;
    bool disableServicesAutostart() const;
    QString authUrl() const;
    QString updateUrl() const;
    QString vuskUrl() const;
    int connectionRetriesNumber() const;
    QString bmrUrl() const;
    // "off", "problems" (default) or "all"; any other text counts as mistyped.
    NotificationLevel notifications() const;
    // Deployment overrides, read only when present (a missing one is not worth a log line): the
    // update descriptor's location (default: the build's) and the local service's port.
    QString updateDescriptorUrl() const;
    int servicePort() const;

    const QJsonObject& json() const { return m_config; }

private:
    QJsonObject m_config;
};

inline constexpr int DefaultServicePort = 9000;
inline constexpr const char* RegistryKey = "SOFTWARE\\Tolvex\\Corvel";

// Registry text value with every NUL removed; empty (and one critical line) on failure.
QString readRegistryString(const QString& subKey, const QString& valueName);
// Removes every NUL character, wherever it stands.
QString stripNuls(const std::wstring& raw);

QString installDir();
QString workingDir();

std::optional<QJsonObject> loadConfig(const QString& path);
std::optional<Settings> loadSettings(const QString& path);

bool getBool(const QJsonObject& config, const QString& key, bool defaultValue);
QString getString(const QJsonObject& config, const QString& key, const QString& defaultValue);
int getInt(const QJsonObject& config, const QString& key, int defaultValue);

} // namespace Corvel
