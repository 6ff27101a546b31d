#include "localcache/local_cache_check.h"

#include "localcache/local_cache_texts.h"
#include "mirel.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <vector>

namespace Corvel {

namespace {

constexpr size_t ErrorBufferBytes = 32768;

// True on success; otherwise prints the error (and keeps it in `reason`), frees it and reports failure.
bool succeeded(mirel_error* error, std::string* reason = nullptr)
{
    if (!error)
        return true;
    std::vector<char> buffer(ErrorBufferBytes);
    mirel_error_print(error, buffer.data(), buffer.size());
    mirel_error_free(error);
    std::printf(LocalCacheTexts::MirelErrorLine, buffer.data());
    if (reason)
        *reason = buffer.data();
    std::fflush(stdout);
    return false;
}

mirel_keyring* keyringFrom(const std::string& passphrase, std::string* reason)
{
    mirel_keyring* keyring = mirel_keyring_create();
    if (!keyring)
        return nullptr;
    const std::string slot = "ckms=" + passphrase;
    if (!succeeded(mirel_keyring_add_slot(keyring, slot.c_str()), reason)) {
        mirel_keyring_free(keyring);
        return nullptr;
    }
    return keyring;
}

} // namespace

bool canWriteIn(const std::string& path)
{
    namespace fs = std::filesystem;
    std::error_code code;
    if (!fs::is_directory(fs::path(path), code))
        return false;
    std::random_device random;
    const fs::path file = fs::path(path) / ("corvel-write-test-" + std::to_string(random()) + ".tmp");
    {
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        if (!out)
            return false;
        out << "test";
        out.flush();
        const bool written = bool(out);
        out.close();
        if (!written || out.fail()) {
            fs::remove(file, code);
            return false;
        }
    }
    return fs::remove(file, code) && !code;
}

std::int32_t checkLocalCache(const std::string& path, const std::string& login, const std::string& password,
                             const std::string& passphrase)
{
    return checkLocalCache(path, login, password, passphrase, &canWriteIn);
}

std::int32_t checkLocalCache(const std::string& path, const std::string& login, const std::string& password,
                             const std::string& passphrase, std::string& reason)
{
    return checkLocalCache(path, login, password, passphrase, &canWriteIn, &reason);
}

std::int32_t checkLocalCache(const std::string& path, const std::string& login, const std::string& password,
                             const std::string& passphrase, const WriteTest& writeTest, std::string* reason)
{
    if (reason)
        reason->clear();
    if (!succeeded(mirel_setup_remote_connection(path.c_str(), login.c_str(), password.c_str()), reason))
        return LocalCacheUnreachable;

    mirel_builder* builder = mirel_builder_read_only(mirel_builder_path(mirel_builder_new(), path.c_str()), 1);
    mirel_keyring* keyring = keyringFrom(passphrase, reason);
    std::int32_t result = LocalCacheNotARepository;
    if (!keyring) {
        result = LocalCacheNoKeyring;
    } else if (!succeeded(mirel_builder_keyring(builder, keyring, 0), reason)) {
        result = LocalCacheKeyRefused;
    } else {
        mirel_repository* repository = nullptr;
        succeeded(mirel_builder_open(builder, &repository), reason);
        builder = nullptr; // consumed, whatever happened
        if (repository) {
            result = writeTest && writeTest(path) ? LocalCacheOpened : LocalCacheNotWritable;
            mirel_close(repository);
        }
    }
    if (keyring)
        mirel_keyring_free(keyring);
    if (builder)
        mirel_builder_close(builder);
    return result;
}

const char* describeLocalCacheCheck(std::int32_t result)
{
    switch (result) {
    case LocalCacheOpened:
        return LocalCacheTexts::Opened;
    case LocalCacheNotWritable:
        return LocalCacheTexts::NotWritable;
    case LocalCacheUnreachable:
        return LocalCacheTexts::Unreachable;
    case LocalCacheNoKeyring:
        return LocalCacheTexts::NoKeyring;
    case LocalCacheKeyRefused:
        return LocalCacheTexts::KeyRefused;
    case LocalCacheNotARepository:
        return LocalCacheTexts::NotARepository;
    default:
        return LocalCacheTexts::Unknown;
    }
}

} // namespace Corvel
