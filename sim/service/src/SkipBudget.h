// The hourly skip allowance of one session: a sliding hour, as the service counts it. Not
// synchronised: its owner (a Session) guards it with its own mutex.
#pragma once

#include <cstdint>
#include <deque>

namespace sxm::service {

class SkipBudget
{
public:
    static constexpr std::int64_t kWindowMs = 3600LL * 1000;

    explicit SkipBudget(int perHour)
        : m_perHour(perHour)
    {}

    /// Skips left in the hour ending at `nowMs`.
    int remaining(std::int64_t nowMs);
    /// Uses one skip if one is left.
    bool tryConsume(std::int64_t nowMs);
    /// When the oldest skip of the hour leaves it, i.e. when a skip becomes available again.
    std::int64_t nextAvailableAtMs(std::int64_t nowMs);
    /// Uses up the whole allowance at `nowMs`.
    void exhaust(std::int64_t nowMs);
    void refill() { m_used.clear(); }

private:
    void forgetOld(std::int64_t nowMs);

    int m_perHour;
    std::deque<std::int64_t> m_used; // times of the skips within the last hour, oldest first
};

} // namespace sxm::service
