#pragma once

#include "corvel_service_types.h"

#include <QDate>

#include <cstdint>
#include <string>
#include <vector>

namespace CorvelSim {

// Deterministic stand-ins for what the real service reads from backups and from Hyper-V.
// The same inputs (and the same day) always give the same answers.
namespace DemoData {

// Device tokens that start with this have no restore points (the cloud simulator's device 1003).
inline constexpr const char* kNoRestorePointsToken = "device-token-1003-";

// Names "yyyy_MM_dd_hh_mm_ss" over the two months before today: several on some days, none on
// others, and one malformed name among them. Ascending.
std::vector<std::string> restorePoints(const std::string& deviceHost, const std::string& deviceToken,
                                       const QDate& today);

// One to four disks, the first holding the system; MBR or GPT; volumes with sizes.
std::vector<CorvelService::DiskInfo> metadata(const std::string& deviceHost, const std::string& deviceToken,
                                              const std::string& timestamp);

int64_t hyperVRamBytesUsed();
std::vector<CorvelService::VirtualNetwork> hyperVNetworks();

// Configuration of the demo job number n (0-based) of the given type.
CorvelService::JobConfiguration demoConfiguration(int n, CorvelService::JobType::type type);

uint64_t hash(const std::string& text);

// The encryption passphrase the cloud simulator gives each demo device; empty for others.
std::string encryptionPassphrase(int64_t deviceId);

} // namespace DemoData
} // namespace CorvelSim
