#include "SkipBudget.h"

namespace sxm::service {

void SkipBudget::forgetOld(std::int64_t nowMs)
{
    while (!m_used.empty() && m_used.front() + kWindowMs <= nowMs) {
        m_used.pop_front();
    }
}

int SkipBudget::remaining(std::int64_t nowMs)
{
    forgetOld(nowMs);
    const int left = m_perHour - static_cast<int>(m_used.size());
    return left > 0 ? left : 0;
}

bool SkipBudget::tryConsume(std::int64_t nowMs)
{
    if (remaining(nowMs) == 0) {
        return false;
    }
    m_used.push_back(nowMs);
    return true;
}

std::int64_t SkipBudget::nextAvailableAtMs(std::int64_t nowMs)
{
    forgetOld(nowMs);
    if (remaining(nowMs) > 0 || m_used.empty()) {
        return nowMs;
    }
    // The skip that frees a place is the one m_perHour positions from the end.
    return m_used[m_used.size() - static_cast<std::size_t>(m_perHour)] + kWindowMs;
}

void SkipBudget::exhaust(std::int64_t nowMs)
{
    forgetOld(nowMs);
    while (static_cast<int>(m_used.size()) < m_perHour) {
        m_used.push_back(nowMs);
    }
}

} // namespace sxm::service
