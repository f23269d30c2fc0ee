#include <smt2/BufferPool.h>

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

namespace {

TEST(BufferPool, ReleasedBuffersAreReused)
{
    smt2::BufferPool pool;
    for (int i = 0; i < 100; ++i) {
        auto buffer = pool.acquire(65536);
        ASSERT_EQ(buffer.size(), 65536u);
        std::memset(buffer.data(), i, buffer.size());
    }
    EXPECT_EQ(pool.allocations(), 1u);
    EXPECT_EQ(pool.idleBuffers(), 1u);
}

TEST(BufferPool, IdleMemoryStaysWithinItsBound)
{
    smt2::BufferPool pool(2 * 65536);
    {
        std::vector<smt2::PooledBuffer> inUse;
        for (int i = 0; i < 5; ++i)
            inUse.push_back(pool.acquire(65536));
    }
    EXPECT_EQ(pool.idleBuffers(), 2u);
    EXPECT_LE(pool.idleBytes(), 2u * 65536u);
}

TEST(BufferPool, BufferMayOutliveThePool)
{
    smt2::PooledBuffer survivor;
    {
        smt2::BufferPool pool;
        survivor = pool.acquire(4096);
    }
    std::memset(survivor.data(), 0xab, survivor.size());
    survivor = smt2::PooledBuffer(); // released into the orphaned store without harm
    EXPECT_EQ(survivor.size(), 0u);
}

TEST(BufferPool, AcquireAndReleaseFromManyThreads)
{
    smt2::BufferPool pool(8 * 4096);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&pool, t] {
            for (int i = 0; i < 500; ++i) {
                auto buffer = pool.acquire(1000 + static_cast<std::size_t>(t));
                buffer.data()[0] = static_cast<std::uint8_t>(i);
            }
        });
    }
    for (auto& t : threads)
        t.join();
    EXPECT_LE(pool.allocations(), 4u); // at most one buffer per thread was ever needed at once
}

} // namespace
