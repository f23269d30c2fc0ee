// Time, memory and sleep hooks.

#include <sxmlib.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>

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

TEST(PlatformHooks, ReallocKeepsTheContents)
{
    auto* bytes = static_cast<char*>(sxm_malloc(6));
    ASSERT_NE(bytes, nullptr);
    std::memcpy(bytes, "sirius", 6);
    bytes = static_cast<char*>(sxm_realloc(bytes, 4096));
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(std::memcmp(bytes, "sirius", 6), 0);
    sxm_free(bytes);
    sxm_free(nullptr);
}

TEST(PlatformHooks, SleepingNoTimeLeavesNothingUnslept)
{
    EXPECT_EQ(sxm_sleep(0), 0u);
}
