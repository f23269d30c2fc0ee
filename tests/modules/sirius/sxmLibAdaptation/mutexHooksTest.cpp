// The mutex hooks: recursive and default mutexes, trylock's answers, refusal of a null mutex.

#include <sxmlib.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

class MutexHooks : public ::testing::Test
{
protected:
    void TearDown() override
    {
        if (initialized_) {
            EXPECT_EQ(sxm_mtx_destroy(&mutex_), 0);
        }
    }

    void init(unsigned flags)
    {
        ASSERT_EQ(sxm_mtx_init(&mutex_, flags), 1);
        initialized_ = true;
    }

    static int trylockOnAnotherThread(pthread_mutex_t* mutex)
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

    pthread_mutex_t mutex_;
    bool initialized_ = false;
};

} // namespace

TEST_F(MutexHooks, RecursiveMutexCanBeTakenAgainByItsOwner)
{
    init(SXM_MTX_RECURSIVE);
    ASSERT_EQ(sxm_mtx_lock(&mutex_), 1);
    EXPECT_EQ(sxm_mtx_lock(&mutex_), 1);
    EXPECT_EQ(sxm_mtx_trylock(&mutex_), 1);
    EXPECT_EQ(trylockOnAnotherThread(&mutex_), SXM_MTX_BUSY);
    EXPECT_EQ(sxm_mtx_unlock(&mutex_), 1);
    EXPECT_EQ(sxm_mtx_unlock(&mutex_), 1);
    EXPECT_EQ(sxm_mtx_unlock(&mutex_), 1);
    EXPECT_EQ(trylockOnAnotherThread(&mutex_), 1) << "three locks, three unlocks: free again";
}

// Only bit one makes a mutex recursive: every other flag leaves a default mutex.
TEST_F(MutexHooks, DefaultMutexIsNotTakenTwiceByItsOwner)
{
    init(~SXM_MTX_RECURSIVE);
    ASSERT_EQ(sxm_mtx_lock(&mutex_), 1);
    EXPECT_EQ(sxm_mtx_trylock(&mutex_), SXM_MTX_BUSY);
    EXPECT_EQ(trylockOnAnotherThread(&mutex_), SXM_MTX_BUSY);
    EXPECT_EQ(sxm_mtx_unlock(&mutex_), 1);
    EXPECT_EQ(sxm_mtx_trylock(&mutex_), 1);
    EXPECT_EQ(sxm_mtx_unlock(&mutex_), 1);
}

TEST_F(MutexHooks, NullMutexIsRefused)
{
    EXPECT_EQ(sxm_mtx_init(nullptr, 0), 0);
    EXPECT_EQ(sxm_mtx_lock(nullptr), 0);
    EXPECT_EQ(sxm_mtx_trylock(nullptr), SXM_MTX_BUSY);
    EXPECT_EQ(sxm_mtx_unlock(nullptr), 0);
    EXPECT_NE(sxm_mtx_destroy(nullptr), 0);
}
