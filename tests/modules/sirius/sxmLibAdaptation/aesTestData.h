#pragma once
// Thread contract: stateless helpers; safe from any thread once libgcrypt is initialised.
//
// AES-128-CBC test data made with libgcrypt directly, the way the service encrypts segments.

#include <gcrypt.h>

#include <array>
#include <cstdint>
#include <vector>

namespace sirius::test {

using Bytes = std::vector<uint8_t>;
using Block = std::array<uint8_t, 16>;

inline Bytes patternBytes(std::size_t count, uint8_t seed)
{
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(seed + i * 7);
    return bytes;
}

/// Encrypts `plain` (a multiple of 16 bytes) with AES-128-CBC; empty on failure.
inline Bytes encryptAes128Cbc(const Block& key, const Block& iv, const Bytes& plain)
{
    gcry_cipher_hd_t handle = nullptr;
    if (gcry_cipher_open(&handle, GCRY_CIPHER_AES, GCRY_CIPHER_MODE_CBC, 0))
        return {};
    Bytes cipher(plain.size());
    const bool ok =
        !gcry_cipher_setkey(handle, key.data(), key.size()) &&
        !gcry_cipher_setiv(handle, iv.data(), iv.size()) &&
        !gcry_cipher_encrypt(handle, cipher.data(), cipher.size(), plain.data(), plain.size());
    gcry_cipher_close(handle);
    return ok ? cipher : Bytes{};
}

constexpr Block kTestKey{0x2b, 0x7e, 0x15, 0x16, 0x28, 0xae, 0xd2, 0xa6,
                         0xab, 0xf7, 0x15, 0x88, 0x09, 0xcf, 0x4f, 0x3c};
constexpr Block kZeroIv{};

} // namespace sirius::test
