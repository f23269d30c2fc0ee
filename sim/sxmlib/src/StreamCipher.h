#pragma once
// Thread contract: the decryption hooks keep one process-wide state, so one thread decrypts at a
// time: the stream thread while a stream runs, the library thread while it starts one (the
// previous stream thread has been joined by then).
//
// Stream decryption through the integrator's sxm_decrypt_* hooks: content keys unwrapped with
// the device's fixed key, and segments decrypted as their bytes arrive.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sxmlib {

using Key = std::array<std::uint8_t, 16>;

/// The content key inside `wrappedHex` (32 hex digits: one AES-128-ECB block under the fixed
/// key). ECB of a single block is CBC with an all-zero vector, which the hooks offer.
std::optional<Key> unwrapKey(const Key& fixedKey, const std::string& wrappedHex);

/// One segment's decryption, from sxm_decrypt_start to sxm_decrypt_done.
class SegmentDecryptor
{
public:
    /// Starts the segment; ok() says whether the integrator accepted key and vector.
    SegmentDecryptor(const Key& key, std::int32_t initializationValue);
    ~SegmentDecryptor();
    SegmentDecryptor(const SegmentDecryptor&) = delete;
    SegmentDecryptor& operator=(const SegmentDecryptor&) = delete;

    bool ok() const { return m_started; }

    /// Decrypts the whole blocks of what arrived so far and appends them to `plaintext`. The
    /// hook hands back only whole 16-byte blocks: a trailing partial block is kept and presented
    /// again, ahead of the next chunk. False when the hook failed.
    bool feed(std::string_view chunk, std::string& plaintext);
    /// Bytes held back, waiting for the rest of their block.
    std::size_t pending() const { return m_pending.size(); }

private:
    bool m_started = false;
    std::string m_pending;
};

} // namespace sxmlib
