// The time hook.

#include <sxmlib.h>

#include <gtest/gtest.h>

#include <chrono>

namespace {

int64_t systemClockMs()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

} // namespace

TEST(PlatformHooks, TimeIsMillisecondsSinceTheUnixEpoch)
{
    const int64_t before = systemClockMs();
    const int64_t now = sxm_platform_ms_since_epoch();
    const int64_t after = systemClockMs();
    EXPECT_LE(before, now);
    EXPECT_LE(now, after);
}
