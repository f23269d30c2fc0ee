#include "StreamCipher.h"

#include "DeviceHooks.h"
#include "Log.h"

#include <sxmlib.h>

namespace sxmlib {

SegmentDecryptor::SegmentDecryptor(const Key& key, std::int32_t initializationValue)
{
    sxm_decryptStart start{};
    start.key = key.data();
    start.keyLength = static_cast<uint32_t>(key.size());
    start.ivHigh = 0;
    start.iv = initializationValue;
    m_started = sxm_decrypt_start(&start) == 1;
    if (!m_started)
        SXMLIB_ERROR("sxm_decrypt_start refused the segment's key");
}

SegmentDecryptor::~SegmentDecryptor()
{
    sxm_decrypt_done();
}

bool SegmentDecryptor::feed(std::string_view chunk, std::string& plaintext)
{
    if (!m_started)
        return false;
    m_pending.append(chunk.data(), chunk.size());
    if (m_pending.size() < 16)
        return true;
    const std::size_t before = plaintext.size();
    plaintext.resize(before + m_pending.size());
    sxm_decryptProcess process{};
    process.input = reinterpret_cast<uint8_t*>(m_pending.data());
    process.length = static_cast<uint32_t>(m_pending.size());
    process.output = reinterpret_cast<uint8_t*>(plaintext.data() + before);
    const int delivered = sxm_decrypt_process(&process);
    if (delivered <= 0 || static_cast<std::size_t>(delivered) > m_pending.size()) {
        plaintext.resize(before);
        SXMLIB_ERROR("sxm_decrypt_process delivered " << delivered << " of " << m_pending.size()
                                                      << " bytes");
        return false;
    }
    plaintext.resize(before + static_cast<std::size_t>(delivered));
    m_pending.erase(0, static_cast<std::size_t>(delivered));
    return true;
}

std::optional<Key> unwrapKey(const Key& fixedKey, const std::string& wrappedHex)
{
    const auto wrapped = parseKeyHex(wrappedHex);
    if (!wrapped)
        return std::nullopt;
    std::string plaintext;
    {
        SegmentDecryptor block(fixedKey, 0);
        const std::string_view bytes(reinterpret_cast<const char*>(wrapped->data()),
                                     wrapped->size());
        if (!block.feed(bytes, plaintext) || plaintext.size() != 16)
            return std::nullopt;
    }
    Key key{};
    std::copy(plaintext.begin(), plaintext.end(), key.begin());
    return key;
}

} // namespace sxmlib
