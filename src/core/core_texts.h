#pragma once

// The log lines of settings and the Hyper-V check, exactly as the product fixes them. Odd spacing (the
// leading space of " QueryServiceStatusEx") is the product's own and kept on purpose.
namespace Corvel::CoreTexts {

// Settings
constexpr char NoValueAtKey[] = "Failed to get value at key ";
constexpr char DefaultValue[] = ". Default value ";
constexpr char Returned[] = " returned.";
constexpr char RegistryKeyFailed[] = "Failed to open registry key: ";
constexpr char RegistryValueFailed[] = "Failed to get registry value: ";
constexpr char ConfigOpenFailed[] = "Failed to open config file: ";
constexpr char JsonParseFailed[] = "Failed to parse JSON from file ";
constexpr char JsonError[] = ". Error: ";

// The Hyper-V check
constexpr char OpenManagerFailed[] = "OpenSCManager failed. Error=";
constexpr char VmmsHandleFailed[] = "failed to get handle to Hyper-V Virtual Machine Management service. Error=";
constexpr char QueryStatusFailed[] = " QueryServiceStatusEx failed. Error=";

} // namespace Corvel::CoreTexts
