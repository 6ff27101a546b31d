#include "mirel.h"

#include "platform/platform.h"
#include "repository_crypto.h"

#include <openssl/crypto.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <optional>
#include <string>
#include <vector>

struct mirel_error {
    std::string message;
};

struct mirel_keyring {
    std::vector<std::string> passphrases;
    ~mirel_keyring()
    {
        for (std::string& passphrase : passphrases)
            OPENSSL_cleanse(&passphrase[0], passphrase.size());
    }
};

struct mirel_builder {
    std::string path;
    bool readOnly = true;
    std::optional<Mirel::Keys> keys;
};

struct mirel_repository {
    std::string path;
    int version = 0;
    Mirel::Keys keys;
};

namespace {

namespace fs = std::filesystem;

// A repository never holds more key files than this; more is not a repository we open.
constexpr size_t MaxKeyFiles = 64;

mirel_error* error(const std::string& message)
{
    return new (std::nothrow) mirel_error{message};
}

// The whole file, if it exists and is no larger than `limit`.
std::optional<std::string> readSmallFile(const fs::path& file, std::string& problem)
{
    std::error_code code;
    const auto size = fs::file_size(file, code);
    if (code) {
        problem = "cannot read";
        return std::nullopt;
    }
    if (size > Mirel::MaxSmallFileBytes) {
        problem = "too large (" + std::to_string(size) + " bytes)";
        return std::nullopt;
    }
    std::ifstream in(file, std::ios::binary);
    std::string contents(static_cast<size_t>(size), '\0');
    if (!in || !in.read(&contents[0], static_cast<std::streamsize>(size))) {
        problem = "cannot read";
        return std::nullopt;
    }
    return contents;
}

bool holdsRepository(const std::string& path)
{
    std::error_code code;
    return fs::is_regular_file(fs::path(path) / "config", code) || fs::is_directory(fs::path(path) / "keys", code);
}

} // namespace

extern "C" {

mirel_error* mirel_setup_remote_connection(const char* path, const char* login, const char* password)
{
    if (!path || !*path)
        return error("cannot reach the local cache: no path given");
    const unsigned long code = CorvelPlatform::connectNetworkPath(path, login ? login : "", password ? password : "");
    if (code != 0)
        return error("cannot reach the local cache at " + std::string(path) + " (system error " + std::to_string(code) +
                     ")");
    return nullptr;
}

mirel_keyring* mirel_keyring_create(void)
{
    return new (std::nothrow) mirel_keyring;
}

mirel_error* mirel_keyring_add_slot(mirel_keyring* keyring, const char* slot)
{
    if (!keyring || !slot)
        return error("cannot add a keyring slot: no keyring or slot");
    const std::string text(slot);
    const size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
        return error("cannot add a keyring slot: not of the form kind=secret");
    const std::string kind = text.substr(0, equals);
    if (kind != "ckms")
        return error("cannot add a keyring slot: unknown kind \"" + kind + "\"");
    if (equals + 1 == text.size())
        return error("cannot add a keyring slot: the " + kind + " secret is empty");
    keyring->passphrases.push_back(text.substr(equals + 1));
    return nullptr;
}

void mirel_keyring_free(mirel_keyring* keyring)
{
    delete keyring;
}

mirel_builder* mirel_builder_new(void)
{
    return new (std::nothrow) mirel_builder;
}

mirel_builder* mirel_builder_path(mirel_builder* builder, const char* path)
{
    if (builder)
        builder->path = path ? path : "";
    return builder;
}

mirel_builder* mirel_builder_read_only(mirel_builder* builder, int read_only)
{
    if (builder)
        builder->readOnly = read_only != 0;
    return builder;
}

mirel_error* mirel_builder_keyring(mirel_builder* builder, const mirel_keyring* keyring, int flags)
{
    if (!builder || !keyring)
        return error("cannot use the keyring: no builder or keyring");
    if (flags != 0)
        return error("cannot use the keyring: unknown flags " + std::to_string(flags));
    if (!holdsRepository(builder->path))
        return nullptr; // opening will say that there is no repository
    const fs::path keysDir = fs::path(builder->path) / "keys";
    std::error_code code;
    std::vector<fs::path> keyFiles;
    for (fs::directory_iterator it(keysDir, code), end; !code && it != end; it.increment(code)) {
        if (it->is_regular_file(code))
            keyFiles.push_back(it->path());
        if (keyFiles.size() > MaxKeyFiles)
            return error("cannot use the keyring: more than " + std::to_string(MaxKeyFiles) + " key files in " +
                         keysDir.string());
    }
    if (keyFiles.empty())
        return error("cannot use the keyring: no key file in " + keysDir.string());
    std::sort(keyFiles.begin(), keyFiles.end());
    std::string lastProblem;
    for (const fs::path& file : keyFiles) {
        std::string problem;
        const std::optional<std::string> contents = readSmallFile(file, problem);
        if (!contents) {
            lastProblem = file.string() + ": " + problem;
            continue;
        }
        for (const std::string& passphrase : keyring->passphrases) {
            std::optional<Mirel::Keys> keys = Mirel::openKeyFile(*contents, passphrase, problem);
            if (keys) {
                builder->keys = std::move(keys);
                return nullptr;
            }
            lastProblem = file.string() + ": " + problem;
        }
    }
    return error("no key file opens with the keyring (last: " + lastProblem + ")");
}

mirel_error* mirel_builder_open(mirel_builder* builder, mirel_repository** repository)
{
    if (repository)
        *repository = nullptr;
    if (!builder)
        return error("cannot open the repository: no builder");
    const std::unique_ptr<mirel_builder> consumed(builder);
    if (!repository)
        return error("cannot open the repository: nowhere to put it");
    const fs::path config = fs::path(builder->path) / "config";
    if (!holdsRepository(builder->path))
        return error("no repository at " + builder->path + " (no config or keys)");
    if (!builder->keys)
        return error("cannot open the repository at " + builder->path + ": no key opened it");
    std::string problem;
    const std::optional<std::string> sealed = readSmallFile(config, problem);
    if (!sealed)
        return error("cannot open the repository: " + config.string() + " " + problem);
    const std::optional<std::string> plain = Mirel::decrypt(*sealed, *builder->keys, problem);
    if (!plain)
        return error("cannot open the repository: " + config.string() + ": " + problem);
    const std::optional<int> version = Mirel::configVersion(*plain, problem);
    if (!version)
        return error("cannot open the repository: " + config.string() + ": " + problem);
    *repository = new (std::nothrow) mirel_repository{builder->path, *version, *builder->keys};
    return *repository ? nullptr : error("cannot open the repository: out of memory");
}

void mirel_builder_close(mirel_builder* builder)
{
    delete builder;
}

void mirel_close(mirel_repository* repository)
{
    delete repository;
}

size_t mirel_error_print(const mirel_error* err, char* buffer, size_t capacity)
{
    const std::string message = err ? err->message : std::string();
    if (buffer && capacity > 0) {
        const size_t copied = std::min(message.size(), capacity - 1);
        std::memcpy(buffer, message.data(), copied);
        buffer[copied] = '\0';
    }
    return message.size();
}

void mirel_error_free(mirel_error* err)
{
    delete err;
}

} // extern "C"
