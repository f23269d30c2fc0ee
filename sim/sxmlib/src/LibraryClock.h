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
        : m_periodMs(periodMs)
    {}

    void setPeriod(std::int64_t periodMs) { m_periodMs = periodMs > 0 ? periodMs : 1; }
    /// A whole period from now.
    void restart() { m_elapsedMs = 0; }
    /// The next advance() is due whatever time it brings.
    void dueNow() { m_elapsedMs = m_periodMs; }
    /// Adds `ms`; true when a period has passed (one firing however many periods passed).
    bool advance(std::int64_t ms)
    {
        m_elapsedMs += ms;
        if (m_elapsedMs < m_periodMs)
            return false;
        m_elapsedMs = 0;
        return true;
    }

private:
    std::int64_t m_periodMs;
    std::int64_t m_elapsedMs = 0;
};

} // namespace sxmlib
