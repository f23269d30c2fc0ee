#include <miscUtils/IOEventLoopThread.h>
#include <miscUtils/UniqueFd.h>

#include <gtest/gtest.h>

#include <atomic>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using miscUtils::IOEvent;
using miscUtils::IOEventLoopThread;
using miscUtils::IOEvents;
using miscUtils::UniqueFd;
using namespace std::chrono_literals;

struct Pipe
{
    Pipe()
    {
        int fds[2];
        if (pipe2(fds, O_NONBLOCK | O_CLOEXEC) == 0) {
            readEnd.reset(fds[0]);
            writeEnd.reset(fds[1]);
        }
    }
    UniqueFd readEnd;
    UniqueFd writeEnd;
};

TEST(IOEventLoopThread, PostedTasksRunInOrderOnTheLoopThread)
{
    IOEventLoopThread loop(1, "order");
    EXPECT_FALSE(loop.isLoopThread());
    std::vector<int> order; // touched only on the loop thread until the last invoke() returns
    bool allOnLoop = true;
    for (int i = 0; i < 100; ++i)
        loop.post([&, i] {
            order.push_back(i);
            allOnLoop = allOnLoop && loop.isLoopThread();
        });
    loop.invoke([] {}).wait();
    ASSERT_EQ(order.size(), 100u);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(order[i], i);
    EXPECT_TRUE(allOnLoop);
}

TEST(IOEventLoopThread, InvokeReturnsResultsAndExceptions)
{
    IOEventLoopThread loop(2, "invoke");
    EXPECT_EQ(loop.invoke([] { return 6 * 7; }).get(), 42);
    auto failing = loop.invoke([]() -> int { throw std::runtime_error("on the loop"); });
    EXPECT_THROW(failing.get(), std::runtime_error);

    // From the loop thread, invoke queues instead of deadlocking.
    auto nested = loop.invoke([&loop] { return loop.invoke([] { return 1; }); }).get();
    EXPECT_EQ(nested.get(), 1);
}

TEST(IOEventLoopThread, WatchReportsReadabilityStopsAfterUnwatchAndIsOnePerDescriptor)
{
    IOEventLoopThread loop(3, "watch");
    Pipe p;
    ASSERT_TRUE(p.readEnd.valid());
    std::atomic<int> calls{0};
    cf::promise<std::string> received;
    auto receivedFuture = received.get_future();
    IOEventLoopThread::WatchId id = 0;
    loop.invoke([&] {
            id = loop.watch(p.readEnd.get(), IOEvent::Readable, [&](IOEvents events) {
                ++calls;
                EXPECT_TRUE(events & IOEvent::Readable);
                char buf[16] = {};
                const auto n = ::read(p.readEnd.get(), buf, sizeof buf);
                // Unwatching from inside the handler: this handler must not run again even
                // though the pipe stays readable with its second byte.
                loop.unwatch(id);
                received.set_value(std::string(buf, n > 0 ? 1 : 0));
            });
            EXPECT_EQ(loop.watch(p.readEnd.get(), IOEvent::Readable, [](IOEvents) {}), 0u);
        })
        .wait();
    ASSERT_NE(id, 0u);
    ASSERT_EQ(::write(p.writeEnd.get(), "xy", 1), 1);
    EXPECT_EQ(receivedFuture.get(), "x");
    ASSERT_EQ(::write(p.writeEnd.get(), "y", 1), 1);
    loop.invoke([] {}).wait(); // a full loop turn with the pipe readable
    EXPECT_EQ(calls.load(), 1);
}

TEST(IOEventLoopThread, TimersFireInDueOrderAndCancelledOnesNever)
{
    IOEventLoopThread loop(7, "timers");
    std::vector<std::string> fired; // loop thread only until done is ready
    cf::promise<void> done;
    auto doneFuture = done.get_future();
    loop.invoke([&] {
            loop.startTimer(20ms, [&] {
                fired.push_back("late");
                done.set_value();
            });
            loop.startTimer(0ms, [&] { fired.push_back("early"); });
            const auto cancelled = loop.startTimer(5ms, [&] { fired.push_back("cancelled"); });
            loop.startTimer(1ms, [&] { fired.push_back("middle"); });
            loop.cancelTimer(cancelled);
            loop.cancelTimer(cancelled); // twice is harmless
        })
        .wait();
    doneFuture.wait();
    EXPECT_EQ(fired, (std::vector<std::string>{"early", "middle", "late"}));
}

TEST(IOEventLoopThread, StoppingDropsQueuedTasksAndRefusesNewOnes)
{
    auto loop = std::make_unique<IOEventLoopThread>(8, "stopping");
    cf::promise<void> release;
    auto released = release.get_future();
    cf::promise<void> blocking;
    auto loopBlocked = blocking.get_future();
    loop->post([&] {
        blocking.set_value();
        released.wait();
    });
    loopBlocked.wait();
    auto neverRun = loop->invoke([] { return 1; });

    IOEventLoopThread* raw = loop.get();
    std::thread destroyer([&] { loop.reset(); });
    // The destructor waits in join() for the blocked task, with the loop's members alive; once
    // post() refuses, the loop has been told to stop.
    while (raw->post([] {}))
        std::this_thread::yield();
    release.set_value();
    destroyer.join();

    ASSERT_TRUE(neverRun.is_ready());
    try {
        neverRun.get();
        ADD_FAILURE() << "a task queued behind the stop ran";
    } catch (const cf::future_error& e) {
        EXPECT_EQ(e.code(), cf::future_errc::broken_promise);
    }
}

} // namespace
