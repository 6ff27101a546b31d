#pragma once

#include <optional>
#include <string>

namespace Mirel {

// The three keys of restic's scheme: AES-256-CTR for the data, Poly1305-AES (k, r) for the MAC.
struct Keys {
    std::string encrypt; // 32 bytes
    std::string macK;    // 16 bytes
    std::string macR;    // 16 bytes
};

// Files and key files larger than this are not what the repository format writes.
constexpr size_t MaxSmallFileBytes = 64 * 1024;

// IV || ciphertext || MAC: the plaintext once the MAC has been checked; empty (with the reason)
// when the blob is too short or the MAC does not match.
std::optional<std::string> decrypt(const std::string& blob, const Keys& keys, std::string& error);

// A key file (JSON) opened with a password: the repository's master keys. Refuses scrypt
// parameters outside what the format's writers use.
std::optional<Keys> openKeyFile(const std::string& contents, const std::string& password, std::string& error);

// The decrypted config: its format version (1 or 2), or empty with the reason.
std::optional<int> configVersion(const std::string& plaintext, std::string& error);

} // namespace Mirel
