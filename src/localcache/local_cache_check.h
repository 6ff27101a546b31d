#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace Corvel {

// Results of checkLocalCache.
enum LocalCacheCheck : std::int32_t {
    LocalCacheOpened = 0,
    LocalCacheNotWritable = 1,
    LocalCacheUnreachable = 2,
    LocalCacheNoKeyring = 3,
    LocalCacheKeyRefused = 4,
    LocalCacheNotARepository = 5,
};

// Whether `path` can be reached with the share credentials, holds a local cache, and opens with
// the device's passphrase (all UTF-8). The library's errors go to standard output as
// "Mirel error: ..." lines.
std::int32_t checkLocalCache(const std::string& path, const std::string& login, const std::string& password,
                             const std::string& passphrase);

// Same, with the library's words for the last failure in `reason` (empty when there was none).
std::int32_t checkLocalCache(const std::string& path, const std::string& login, const std::string& password,
                             const std::string& passphrase, std::string& reason);

// Same, with the test that a file can be written in the path replaced (tests).
using WriteTest = std::function<bool(const std::string& path)>;
std::int32_t checkLocalCache(const std::string& path, const std::string& login, const std::string& password,
                             const std::string& passphrase, const WriteTest& writeTest, std::string* reason = nullptr);

// Creates a file in `path`, writes "test" into it, flushes, closes and removes it.
bool canWriteIn(const std::string& path);

// The result in words, for people.
const char* describeLocalCacheCheck(std::int32_t result);

} // namespace Corvel
