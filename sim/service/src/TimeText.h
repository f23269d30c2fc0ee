// UTC date and time texts as the service writes and reads them. Pure functions: safe from any
// thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sxm::service {

/// "yyyy-MM-ddTHH:mm:ss.zzz" in UTC, without a zone suffix: the form of skip-limit texts and of
/// segment start times, which the client reads with exactly that pattern as UTC.
std::string formatUtcMs(std::int64_t msSinceEpoch);

/// ISO 8601 with milliseconds and a "Z" suffix, the form of air and expiry dates in records, so
/// that a client parsing them as ISO dates gets UTC rather than its local zone.
std::string formatIsoUtc(std::int64_t msSinceEpoch);

/// Reads "yyyy-MM-ddTHH:mm:ss[.zzz][Z]" as UTC; nothing on any other input.
std::optional<std::int64_t> parseUtc(std::string_view text);

} // namespace sxm::service
