// The "no timestamp" marker for media times.
// Thread contract: a constant; safe from any thread.
#pragma once

#include <cstdint>
#include <limits>

namespace miscUtils {

// A presentation or decoding time that is not known. The smallest int64 lies far outside any
// real stream time, so it cannot be mistaken for one.
constexpr std::int64_t NoTimeValue = std::numeric_limits<std::int64_t>::min();

} // namespace miscUtils
