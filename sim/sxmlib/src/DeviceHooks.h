#pragma once
// Thread contract: safe from any thread (the integrator's hooks must be).
//
// What the integrator tells the library about the device and the user: identity, the service's
// configuration URL, the fixed key, and the stored account, read through the sxm_* hooks.

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace sxmlib {

struct DeviceIdentity
{
    std::string make;
    std::string model;
    std::string mac;
};

DeviceIdentity readDeviceIdentity();
std::string readConfigUrl();

/// The 16 key bytes of the fixed key's 32 hexadecimal digits; nothing when the text is not that.
std::optional<std::array<std::uint8_t, 16>> readFixedKey();
/// Parses 32 hexadecimal digits into 16 bytes.
std::optional<std::array<std::uint8_t, 16>> parseKeyHex(const std::string& hex);

struct StoredAccount
{
    std::string username;
    std::string password;
};

/// The account the integrator keeps (sxm_getAccount, released with sxm_freeAccount).
StoredAccount readStoredAccount();

/// What sign-in learned about the account, stored back through sxm_setAccount.
struct AccountDetails
{
    std::string username;
    std::string password;
    std::string consumerType;
    std::string email;
    std::string zip;
};
void storeAccount(const AccountDetails& details);

} // namespace sxmlib
