#include "Crypto.h"

#include <gcrypt.h>

#include <memory>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace sxm::service {
namespace {

struct CipherCloser
{
    void operator()(gcry_cipher_hd_t handle) const { gcry_cipher_close(handle); }
};
using Cipher = std::unique_ptr<std::remove_pointer_t<gcry_cipher_hd_t>, CipherCloser>;

// libgcrypt must be initialised once before use; secure memory is not needed for simulated keys.
void ensureGcrypt()
{
    static std::once_flag once;
    std::call_once(once, [] {
        if (!gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P)) {
            if (!gcry_check_version("1.8.4")) {
                throw std::runtime_error("libgcrypt 1.8.4 or later is required");
            }
            gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
            gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
        }
    });
}

Cipher openAes(int mode, const Block& key)
{
    ensureGcrypt();
    gcry_cipher_hd_t raw = nullptr;
    if (gcry_cipher_open(&raw, GCRY_CIPHER_AES128, mode, 0) != 0) {
        throw std::runtime_error("libgcrypt could not open an AES-128 cipher");
    }
    Cipher cipher(raw);
    if (gcry_cipher_setkey(cipher.get(), key.data(), key.size()) != 0) {
        throw std::runtime_error("libgcrypt refused the AES-128 key");
    }
    return cipher;
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

} // namespace

std::optional<Block> parseHexKey(std::string_view hex)
{
    if (hex.size() != 32) {
        return std::nullopt;
    }
    Block key{};
    for (std::size_t i = 0; i < key.size(); ++i) {
        const int high = hexValue(hex[2 * i]);
        const int low = hexValue(hex[2 * i + 1]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        key[i] = static_cast<std::uint8_t>(high * 16 + low);
    }
    return key;
}

std::string toHex(const std::uint8_t* data, std::size_t size)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(size * 2);
    for (std::size_t i = 0; i < size; ++i) {
        text.push_back(digits[data[i] >> 4]);
        text.push_back(digits[data[i] & 0x0F]);
    }
    return text;
}

Block ivFromValue(std::int32_t value)
{
    Block iv{};
    std::int64_t rest = value; // widened so that shifting keeps the sign over all 16 bytes
    for (int i = 15; i >= 0; --i) {
        iv[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(rest & 0xFF);
        rest >>= 8;
    }
    return iv;
}

std::string encryptCbc(const Block& key, const Block& iv, std::string_view plaintext)
{
    if (plaintext.size() % 16 != 0) {
        throw std::invalid_argument("AES-CBC plaintext must be a whole number of 16-byte blocks");
    }
    Cipher cipher = openAes(GCRY_CIPHER_MODE_CBC, key);
    if (gcry_cipher_setiv(cipher.get(), iv.data(), iv.size()) != 0) {
        throw std::runtime_error("libgcrypt refused the initialisation vector");
    }
    std::string out(plaintext.size(), '\0');
    if (!plaintext.empty() && gcry_cipher_encrypt(cipher.get(), out.data(), out.size(),
                                                  plaintext.data(), plaintext.size()) != 0) {
        throw std::runtime_error("libgcrypt failed to encrypt a segment");
    }
    return out;
}

Block wrapKey(const Block& keyEncryptionKey, const Block& contentKey)
{
    Cipher cipher = openAes(GCRY_CIPHER_MODE_ECB, keyEncryptionKey);
    Block out{};
    if (gcry_cipher_encrypt(cipher.get(), out.data(), out.size(), contentKey.data(),
                            contentKey.size()) != 0) {
        throw std::runtime_error("libgcrypt failed to wrap a content key");
    }
    return out;
}

Block deriveKey(std::uint64_t seed, std::string_view label)
{
    ensureGcrypt();
    std::string input = std::to_string(seed);
    input.push_back('/');
    input.append(label);
    std::array<std::uint8_t, 32> digest{};
    gcry_md_hash_buffer(GCRY_MD_SHA256, digest.data(), input.data(), input.size());
    Block key{};
    std::copy(digest.begin(), digest.begin() + 16, key.begin());
    return key;
}

std::string randomHex(std::size_t bytes)
{
    ensureGcrypt();
    std::vector<std::uint8_t> buffer(bytes);
    gcry_create_nonce(buffer.data(), buffer.size());
    return toHex(buffer.data(), buffer.size());
}

} // namespace sxm::service
