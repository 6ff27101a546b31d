#pragma once

#include <QString>

// The operator texts and log lines of the wizard that the product fixes, word for word.
// Odd spellings ("Retrieveing", the two spaces before "Check") are the product's own: keep them.
namespace Corvel::WizardTexts {

// The wizard.
constexpr char DiscardQuestion[] = "Discard this recovery?";

// Service queries.
constexpr char NoClientLog[] = "Failed to create Corvel Service client";

// Restore points.
constexpr char InternalErrorTitle[] = "Internal Error";
constexpr char NoRestorePointsRead[] = "Internal error: Failed to get restore points";
constexpr char RestorePointsTitle[] = "Retrieveing restore points";
constexpr char NoRestorePoints[] = "No restore points found for selected device";

// Disks and Hyper-V.
constexpr char ServiceErrorTitle[] = "Corvel error";
constexpr char MetadataFailed[] =
    "Failed to load disks metadata, please make sure that the Corvel service is installed and running";
constexpr char MetadataExhaustedLog[] = "Failed to get metadata. All attempts exhausted.";
constexpr char MetadataFailedLog[] = "Failed to load disks metadata.";
constexpr char RamUsedFailedLog[] = "Failed to get RAM used by Hyper-V.";
constexpr char NetworksFailedLog[] = "Failed to get Hyper-V networks.";

// Local cache.
constexpr char CacheErrorTitle[] = "local cache page error";
constexpr char OpeningCacheLog[] = "Opening local cache database .";
constexpr char CacheOpenFailedLog[] = "Failed to open local cache database.";
constexpr char CacheUnreachable[] =
    "Error, cannot access the path specified for the Local Cache repository.  Check permissions.";
constexpr char CacheMissing[] = "Error, the path specified for the Local Cache repository does not exist.";
constexpr char CacheOtherAccount[] = "Error, Local Cache data at specified path cannot be opened, this data may "
                                     "belong to another customer account.";
constexpr char CacheNoRepository[] = "Error, specified path does not contain a Local Cache repository.";
constexpr char CacheUnknown[] = "Unknown error";
// Before the library's own words under a local cache box.
constexpr char ReasonPrefix[] = "Reason: ";

inline QString passphraseFailed(int code, const QString& reason)
{
    return "Failed to get device encryption passphrase.\nError code: " + QString::number(code) + ", reason: " + reason;
}

inline QString cacheRefusedLog(const QString& path, const QString& why)
{
    return "Local cache at " + path + " refused: " + why;
}

} // namespace Corvel::WizardTexts
