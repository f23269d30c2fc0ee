// The mutex hooks: recursive and default mutexes, trylock's answers, refusal of a null mutex.

#include <sxmlib.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

int trylockOnAnotherThread(pthread_mutex_t* mutex)
{
    int result = 0;
    std::thread other([&] {
        result = sxm_mtx_trylock(mutex);
        if (result == 1)
            sxm_mtx_unlock(mutex);
    });
    other.join();
    return result;
}

} // namespace

// Only bit one makes a mutex recursive: every other flag leaves a default mutex, which its owner
// cannot take twice.
TEST(MutexHooks, OnlyARecursiveMutexIsTakenAgainByItsOwner)
{
    for (const unsigned flags : {unsigned(SXM_MTX_RECURSIVE), ~unsigned(SXM_MTX_RECURSIVE)}) {
        const bool recursive = flags == SXM_MTX_RECURSIVE;
        SCOPED_TRACE(recursive ? "recursive" : "default");
        pthread_mutex_t mutex;
        ASSERT_EQ(sxm_mtx_init(&mutex, flags), 1);
        ASSERT_EQ(sxm_mtx_lock(&mutex), 1);
        EXPECT_EQ(sxm_mtx_trylock(&mutex), recursive ? 1 : SXM_MTX_BUSY);
        EXPECT_EQ(trylockOnAnotherThread(&mutex), SXM_MTX_BUSY);
        EXPECT_EQ(sxm_mtx_unlock(&mutex), 1);
        if (recursive) {
            EXPECT_EQ(trylockOnAnotherThread(&mutex), SXM_MTX_BUSY) << "still held once";
            EXPECT_EQ(sxm_mtx_unlock(&mutex), 1);
        }
        EXPECT_EQ(trylockOnAnotherThread(&mutex), 1) << "as often unlocked as locked: free";
        EXPECT_EQ(sxm_mtx_destroy(&mutex), 0);
    }
}

TEST(MutexHooks, NullMutexIsRefused)
{
    EXPECT_EQ(sxm_mtx_init(nullptr, 0), 0);
    EXPECT_EQ(sxm_mtx_lock(nullptr), 0);
    EXPECT_EQ(sxm_mtx_trylock(nullptr), SXM_MTX_BUSY);
    EXPECT_EQ(sxm_mtx_unlock(nullptr), 0);
    EXPECT_NE(sxm_mtx_destroy(nullptr), 0);
}
