// Start-up options of the simulated service. A plain value: copy it to share it.
#pragma once

#include "sxmservice/Faults.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace sxm::service {

/// The device's fixed key when none is configured: "SXM-DEMO-FIXED-K" in ASCII, as 32 hex digits.
inline constexpr const char* kDefaultFixedKeyHex = "53584d2d44454d4f2d46495845442d4b";

struct Account
{
    std::string user;
    std::string password;
};

/// Milliseconds since the epoch. Tests inject their own to move time without waiting.
using Clock = std::function<std::int64_t()>;

struct Options
{
    std::uint64_t seed = 1;
    int channels = 60; ///< live channels, 1..5000
    std::chrono::milliseconds sessionLifetime = std::chrono::minutes(20);
    std::string fixedKeyHex = kDefaultFixedKeyHex;
    std::vector<Account> accounts = {{"demo", "demo"}};
    int skipsPerHour = 6;
    std::chrono::seconds rewindWindow = std::chrono::hours(5);
    FaultSettings faults;
    Clock clock; ///< empty: the system clock
};

/// The first problem with the options, or nothing when they are usable.
std::optional<std::string> validateOptions(const Options& options);

/// The system clock in milliseconds since the epoch.
std::int64_t systemClockMs();

} // namespace sxm::service
