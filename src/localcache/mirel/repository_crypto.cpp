#include "repository_crypto.h"

#include "json_reader.h"

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/params.h>

#include <memory>

namespace Mirel {

namespace {

constexpr size_t IvBytes = 16;
constexpr size_t MacBytes = 16;
// scrypt: at most 256 MiB of memory (128 * N * r) and a bounded amount of work per key file.
constexpr unsigned long long MaxScryptMemory = 256ull << 20;
constexpr unsigned long long MaxScryptWork = 1ull << 24; // N * r * p

struct CipherContextFree {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
struct MacFree {
    void operator()(EVP_MAC* mac) const { EVP_MAC_free(mac); }
};
struct MacContextFree {
    void operator()(EVP_MAC_CTX* context) const { EVP_MAC_CTX_free(context); }
};

const unsigned char* bytes(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

// AES with `key` over `input` (ECB for one block, CTR with `iv` for data).
std::optional<std::string> aes(const EVP_CIPHER* cipher, const std::string& key, const unsigned char* iv,
                               const unsigned char* input, size_t length)
{
    std::unique_ptr<EVP_CIPHER_CTX, CipherContextFree> context(EVP_CIPHER_CTX_new());
    if (!context || EVP_EncryptInit_ex(context.get(), cipher, nullptr, bytes(key), iv) != 1)
        return std::nullopt;
    EVP_CIPHER_CTX_set_padding(context.get(), 0);
    std::string out(length + 16, '\0');
    int written = 0;
    int tail = 0;
    auto* target = reinterpret_cast<unsigned char*>(&out[0]);
    if (EVP_EncryptUpdate(context.get(), target, &written, input, static_cast<int>(length)) != 1 ||
        EVP_EncryptFinal_ex(context.get(), target + written, &tail) != 1)
        return std::nullopt;
    out.resize(static_cast<size_t>(written + tail));
    return out;
}

std::optional<std::string> poly1305Aes(const Keys& keys, const unsigned char* nonce, const unsigned char* data,
                                       size_t length)
{
    const std::optional<std::string> s = aes(EVP_aes_128_ecb(), keys.macK, nullptr, nonce, IvBytes);
    if (!s || s->size() != 16)
        return std::nullopt;
    const std::string key = keys.macR + *s;
    std::unique_ptr<EVP_MAC, MacFree> mac(EVP_MAC_fetch(nullptr, "POLY1305", nullptr));
    if (!mac)
        return std::nullopt;
    std::unique_ptr<EVP_MAC_CTX, MacContextFree> context(EVP_MAC_CTX_new(mac.get()));
    if (!context || EVP_MAC_init(context.get(), bytes(key), key.size(), nullptr) != 1 ||
        EVP_MAC_update(context.get(), data, length) != 1)
        return std::nullopt;
    std::string tag(MacBytes, '\0');
    size_t tagLength = 0;
    if (EVP_MAC_final(context.get(), reinterpret_cast<unsigned char*>(&tag[0]), &tagLength, tag.size()) != 1 ||
        tagLength != MacBytes)
        return std::nullopt;
    return tag;
}

bool validKeys(const Keys& keys)
{
    return keys.encrypt.size() == 32 && keys.macK.size() == 16 && keys.macR.size() == 16;
}

} // namespace

std::optional<std::string> decrypt(const std::string& blob, const Keys& keys, std::string& error)
{
    if (!validKeys(keys)) {
        error = "unusable keys";
        return std::nullopt;
    }
    if (blob.size() < IvBytes + MacBytes) {
        error = "too short to be encrypted data";
        return std::nullopt;
    }
    const unsigned char* iv = bytes(blob);
    const unsigned char* ciphertext = iv + IvBytes;
    const size_t length = blob.size() - IvBytes - MacBytes;
    const std::optional<std::string> tag = poly1305Aes(keys, iv, ciphertext, length);
    if (!tag) {
        error = "the authenticator could not be computed";
        return std::nullopt;
    }
    if (CRYPTO_memcmp(tag->data(), ciphertext + length, MacBytes) != 0) {
        error = "authentication failed (wrong key or damaged data)";
        return std::nullopt;
    }
    std::optional<std::string> plaintext = aes(EVP_aes_256_ctr(), keys.encrypt, iv, ciphertext, length);
    if (!plaintext)
        error = "decryption failed";
    return plaintext;
}

std::optional<Keys> openKeyFile(const std::string& contents, const std::string& password, std::string& error)
{
    if (contents.size() > MaxSmallFileBytes) {
        error = "key file too large";
        return std::nullopt;
    }
    const std::optional<JsonValue> document = parseJson(contents, error);
    if (!document || document->type != JsonValue::Type::Object) {
        error = "malformed key file: " + (document ? std::string("not an object") : error);
        return std::nullopt;
    }
    const auto kdf = document->string("kdf");
    const auto n = document->integer("N");
    const auto r = document->integer("r");
    const auto p = document->integer("p");
    const auto salt = document->string("salt");
    const auto data = document->string("data");
    if (!kdf || *kdf != "scrypt" || !n || !r || !p || !salt || !data) {
        error = "malformed key file: missing or mistyped scrypt parameters";
        return std::nullopt;
    }
    const bool powerOfTwo = *n > 1 && (*n & (*n - 1)) == 0;
    if (!powerOfTwo || *r < 1 || *p < 1 || *n > (1 << 24) || *r > 64 || *p > 64 ||
        128ull * static_cast<unsigned long long>(*n) * static_cast<unsigned long long>(*r) > MaxScryptMemory ||
        static_cast<unsigned long long>(*n) * static_cast<unsigned long long>(*r) *
                static_cast<unsigned long long>(*p) >
            MaxScryptWork) {
        error = "scrypt parameters out of range (N=" + std::to_string(*n) + ", r=" + std::to_string(*r) +
                ", p=" + std::to_string(*p) + ")";
        return std::nullopt;
    }
    const std::optional<std::string> saltBytes = decodeBase64(*salt);
    const std::optional<std::string> sealed = decodeBase64(*data);
    if (!saltBytes || !sealed) {
        error = "malformed base64 in key file";
        return std::nullopt;
    }
    unsigned char derived[64];
    if (EVP_PBE_scrypt(password.data(), password.size(), bytes(*saltBytes), saltBytes->size(),
                       static_cast<uint64_t>(*n), static_cast<uint64_t>(*r), static_cast<uint64_t>(*p),
                       MaxScryptMemory + (1 << 20), derived, sizeof derived) != 1) {
        error = "key derivation failed";
        return std::nullopt;
    }
    const Keys userKeys{std::string(reinterpret_cast<char*>(derived), 32),
                        std::string(reinterpret_cast<char*>(derived) + 32, 16),
                        std::string(reinterpret_cast<char*>(derived) + 48, 16)};
    OPENSSL_cleanse(derived, sizeof derived);
    const std::optional<std::string> plain = decrypt(*sealed, userKeys, error);
    if (!plain)
        return std::nullopt;
    const std::optional<JsonValue> master = parseJson(*plain, error);
    const JsonValue* mac = master ? master->member("mac") : nullptr;
    const auto encrypt = master ? master->string("encrypt") : std::nullopt;
    const auto k = mac ? mac->string("k") : std::nullopt;
    const auto rKey = mac ? mac->string("r") : std::nullopt;
    if (!encrypt || !k || !rKey) {
        error = "malformed master key";
        return std::nullopt;
    }
    Keys keys;
    const auto encryptBytes = decodeBase64(*encrypt);
    const auto kBytes = decodeBase64(*k);
    const auto rBytes = decodeBase64(*rKey);
    if (encryptBytes)
        keys.encrypt = *encryptBytes;
    if (kBytes)
        keys.macK = *kBytes;
    if (rBytes)
        keys.macR = *rBytes;
    if (!validKeys(keys)) {
        error = "malformed master key";
        return std::nullopt;
    }
    return keys;
}

std::optional<int> configVersion(const std::string& plaintext, std::string& error)
{
    const std::optional<JsonValue> config = parseJson(plaintext, error);
    if (!config || config->type != JsonValue::Type::Object) {
        error = "malformed config" + (config ? std::string() : ": " + error);
        return std::nullopt;
    }
    const auto version = config->integer("version");
    if (!version || (*version != 1 && *version != 2)) {
        error = "unsupported repository version";
        return std::nullopt;
    }
    if (!config->string("id")) {
        error = "malformed config: no repository id";
        return std::nullopt;
    }
    return static_cast<int>(*version);
}

} // namespace Mirel
