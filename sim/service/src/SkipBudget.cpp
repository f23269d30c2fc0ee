#include "SkipBudget.h"

namespace sxm::service {

void SkipBudget::forgetOld(std::int64_t nowMs)
{
    while (!used_.empty() && used_.front() + kWindowMs <= nowMs) {
        used_.pop_front();
    }
}

int SkipBudget::remaining(std::int64_t nowMs)
{
    forgetOld(nowMs);
    const int left = perHour_ - static_cast<int>(used_.size());
    return left > 0 ? left : 0;
}

bool SkipBudget::tryConsume(std::int64_t nowMs)
{
    if (remaining(nowMs) == 0) {
        return false;
    }
    used_.push_back(nowMs);
    return true;
}

std::int64_t SkipBudget::nextAvailableAtMs(std::int64_t nowMs)
{
    forgetOld(nowMs);
    if (remaining(nowMs) > 0 || used_.empty()) {
        return nowMs;
    }
    // The skip that frees a place is the one perHour_ positions from the end.
    return used_[used_.size() - static_cast<std::size_t>(perHour_)] + kWindowMs;
}

void SkipBudget::exhaust(std::int64_t nowMs)
{
    forgetOld(nowMs);
    while (static_cast<int>(used_.size()) < perHour_) {
        used_.push_back(nowMs);
    }
}

} // namespace sxm::service
