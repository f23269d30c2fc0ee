// AES-128 for the audio (CBC) and for the delivery of content keys (ECB key wrapping), keys
// derived from the seed, and hex texts. Every function is self-contained: safe from any thread.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sxm::service {

using Block = std::array<std::uint8_t, 16>;

/// Reads 32 hex digits (either case) into a 16-byte key; nothing on any other text.
std::optional<Block> parseHexKey(std::string_view hex);

/// Lower-case hex digits of the bytes.
std::string toHex(const std::uint8_t* data, std::size_t size);

/// The 16-byte initialisation vector for a 32-bit initialisation value: byte 15 holds the value's
/// lowest byte, byte 14 the next, and so on over all 16 bytes with the sign kept, so a negative
/// value is preceded by 0xFF bytes. The client builds the same vector from the same value.
Block ivFromValue(std::int32_t value);

/// AES-128-CBC without padding; the plaintext must be a whole number of 16-byte blocks.
/// Throws std::invalid_argument otherwise, std::runtime_error if libgcrypt fails.
std::string encryptCbc(const Block& key, const Block& iv, std::string_view plaintext);

/// AES-128-ECB encryption of one key with another: how a content key travels to the device,
/// wrapped with the device's fixed key.
Block wrapKey(const Block& keyEncryptionKey, const Block& contentKey);

/// A key derived from the seed and a label (SHA-256, first 16 bytes): per-channel content keys.
Block deriveKey(std::uint64_t seed, std::string_view label);

/// Random bytes from libgcrypt's nonce generator, as hex: session tokens.
std::string randomHex(std::size_t bytes);

} // namespace sxm::service
