#pragma once
// Thread contract: one thread at a time (the owner's lock or the library thread).
//
// A repeating deadline on the library's clock, which advances only by sxm_externalTimerTick:
// the integrator's real elapsed times, so a late tick counts in full.

#include <cstdint>

namespace sxmlib {

class Interval
{
public:
    explicit Interval(std::int64_t periodMs)
        : periodMs_(periodMs)
    {}

    void setPeriod(std::int64_t periodMs) { periodMs_ = periodMs > 0 ? periodMs : 1; }
    /// A whole period from now.
    void restart() { elapsedMs_ = 0; }
    /// The next advance() is due whatever time it brings.
    void dueNow() { elapsedMs_ = periodMs_; }
    /// Adds `ms`; true when a period has passed (one firing however many periods passed).
    bool advance(std::int64_t ms)
    {
        elapsedMs_ += ms;
        if (elapsedMs_ < periodMs_)
            return false;
        elapsedMs_ = 0;
        return true;
    }

private:
    std::int64_t periodMs_;
    std::int64_t elapsedMs_ = 0;
};

} // namespace sxmlib
