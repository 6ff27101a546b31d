#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>
#include <string>

namespace Corvel {

// Every configuration key the console reads, with its built-in default.
namespace ConfigKey {
inline constexpr const char* UseSoftwareOpengl = "use_software_opengl";
inline constexpr const char* DisableServicesAutostart = "disable_services_autostart";
inline constexpr const char* AuthUrl = "auth_url";
inline constexpr const char* UpdateUrl = "update_url";
inline constexpr const char* VuskUrl = "vusk_url";
inline constexpr const char* ConnectionRetriesNumber = "connection_retries_number";
inline constexpr const char* BmrUrl = "bmr_url";
} // namespace ConfigKey

namespace ConfigDefault {
inline constexpr bool UseSoftwareOpengl = false;
inline constexpr bool DisableServicesAutostart = false;
QString authUrl();
QString updateUrl();
QString vuskUrl();
inline constexpr int ConnectionRetriesNumber = 5;
QString bmrUrl();
} // namespace ConfigDefault

inline constexpr const char* RegistryKey = "SOFTWARE\\Tolvex\\Corvel";

// Registry text value with every NUL removed; empty (and one critical line) on failure.
QString readRegistryString(const QString& subKey, const QString& valueName);
// Removes every NUL character, wherever it stands.
QString stripNuls(const std::wstring& raw);

QString installDir();
QString workingDir();

std::optional<QJsonObject> loadConfig(const QString& path);

bool getBool(const QJsonObject& config, const QString& key, bool defaultValue);
QString getString(const QJsonObject& config, const QString& key, const QString& defaultValue);
int getInt(const QJsonObject& config, const QString& key, int defaultValue);

} // namespace Corvel
