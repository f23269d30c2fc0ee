#include "DeviceHooks.h"

#include <sxmlib.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace sxmlib {
namespace {

// The text hooks write no terminating zero: the buffer is zero-filled and one byte longer than
// what the hook may write, and the returned count says how much is text.
std::string readText(int (*hook)(char*, int))
{
    constexpr int kRoom = 2048;
    std::vector<char> buffer(kRoom + 1, '\0');
    const int count = hook(buffer.data(), kRoom);
    if (count <= 0)
        return {};
    return std::string(buffer.data(), static_cast<std::size_t>(std::min(count, kRoom)));
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// Frees what sxm_getAccount allocated when the read is over.
class AccountRecord
{
public:
    AccountRecord() { std::memset(&m_record, 0, sizeof(m_record)); }
    ~AccountRecord() { sxm_freeAccount(&m_record); }
    AccountRecord(const AccountRecord&) = delete;
    AccountRecord& operator=(const AccountRecord&) = delete;
    sxm_account* get() { return &m_record; }

private:
    sxm_account m_record;
};

std::string textOf(const char* text)
{
    return text ? std::string(text) : std::string();
}

} // namespace

DeviceIdentity readDeviceIdentity()
{
    return {readText(sxm_getDeviceMake), readText(sxm_getDeviceModel), readText(sxm_GetMAC)};
}

std::string readConfigUrl()
{
    return readText(sxm_getConfigUrl);
}

std::optional<std::array<std::uint8_t, 16>> parseKeyHex(const std::string& hex)
{
    std::array<std::uint8_t, 16> key{};
    if (hex.size() != key.size() * 2)
        return std::nullopt;
    for (std::size_t i = 0; i < key.size(); ++i) {
        const int high = hexValue(hex[2 * i]);
        const int low = hexValue(hex[2 * i + 1]);
        if (high < 0 || low < 0)
            return std::nullopt;
        key[i] = static_cast<std::uint8_t>(high * 16 + low);
    }
    return key;
}

std::optional<std::array<std::uint8_t, 16>> readFixedKey()
{
    return parseKeyHex(readText(sxm_getFixedKey));
}

StoredAccount readStoredAccount()
{
    AccountRecord record;
    if (sxm_getAccount(record.get()) != 1)
        return {};
    return {textOf(record.get()->username), textOf(record.get()->password)};
}

void storeAccount(const AccountDetails& details)
{
    // The hook copies the texts; these buffers only need to outlive the call.
    std::string username = details.username;
    std::string password = details.password;
    std::string consumerType = details.consumerType;
    std::string email = details.email;
    std::string zip = details.zip;
    std::string none; // new password and registration: nothing the service told
    sxm_account record{username.data(), password.data(), consumerType.data(), none.data(),
                       none.data(),     none.data(),     email.data(),        zip.data()};
    sxm_setAccount(&record);
}

} // namespace sxmlib
