#include <cf/future.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

template <class F>
cf::future_errc errorCodeOf(F&& f)
{
    try {
        f();
    } catch (const cf::future_error& e) {
        return e.code();
    }
    ADD_FAILURE() << "no cf::future_error thrown";
    return cf::future_errc{};
}

TEST(Future, ErrorTextsAreTheCodeNames)
{
    for (const auto& [code, name] :
         {std::pair{cf::future_errc::no_state, "no_state"},
          std::pair{cf::future_errc::promise_already_satisfied, "promise_already_satisfied"},
          std::pair{cf::future_errc::future_already_retrieved, "future_already_retrieved"},
          std::pair{cf::future_errc::broken_promise, "broken_promise"}}) {
        const std::logic_error& asLogicError = cf::future_error(code);
        EXPECT_STREQ(asLogicError.what(), name);
    }
}

TEST(Future, DefaultConstructedAndMovedFromHandlesHaveNoState)
{
    cf::future<int> none;
    EXPECT_FALSE(none.valid());
    EXPECT_EQ(errorCodeOf([&] { none.get(); }), cf::future_errc::no_state);
    EXPECT_EQ(errorCodeOf([&] { none.is_ready(); }), cf::future_errc::no_state);
    EXPECT_EQ(errorCodeOf([&] { none.wait(); }), cf::future_errc::no_state);
    EXPECT_EQ(errorCodeOf([&] { none.wait_for(1ms); }), cf::future_errc::no_state);
    EXPECT_EQ(errorCodeOf([&] { none.then([](cf::future<int>) {}); }), cf::future_errc::no_state);

    cf::promise<int> p;
    cf::future<int> f = p.get_future();
    cf::future<int> g = std::move(f);
    EXPECT_FALSE(f.valid());
    EXPECT_TRUE(g.valid());

    cf::promise<int> q = std::move(p);
    EXPECT_EQ(errorCodeOf([&] { p.set_value(1); }), cf::future_errc::no_state);
    EXPECT_EQ(errorCodeOf([&] { p.get_future(); }), cf::future_errc::no_state);
    EXPECT_EQ(errorCodeOf([&] { p.set_exception(nullptr); }), cf::future_errc::no_state);
    q.set_value(7);
    EXPECT_EQ(g.get(), 7);
}

TEST(Future, SettingTwiceIsRefusedAndKeepsTheFirstResult)
{
    cf::promise<int> p;
    auto f = p.get_future();
    p.set_value(1);
    EXPECT_EQ(errorCodeOf([&] { p.set_value(2); }), cf::future_errc::promise_already_satisfied);
    EXPECT_EQ(
        errorCodeOf([&] { p.set_exception(std::make_exception_ptr(std::runtime_error("x"))); }),
        cf::future_errc::promise_already_satisfied);
    EXPECT_EQ(f.get(), 1);

    cf::promise<void> v;
    v.set_exception(std::make_exception_ptr(std::runtime_error("first")));
    EXPECT_EQ(errorCodeOf([&] { v.set_value(); }), cf::future_errc::promise_already_satisfied);
}

TEST(Future, GetFutureTwiceIsRefused)
{
    cf::promise<std::string> p;
    auto f = p.get_future();
    EXPECT_EQ(errorCodeOf([&] { p.get_future(); }), cf::future_errc::future_already_retrieved);
    p.set_value("still usable");
    EXPECT_EQ(f.get(), "still usable");
}

TEST(Future, DestroyedPromiseBreaksTheFutureUnlessItWasSatisfied)
{
    cf::future<int> f;
    cf::future<int> satisfied;
    {
        cf::promise<int> p;
        f = p.get_future();
        cf::promise<int> q;
        satisfied = q.get_future();
        q.set_value(3);
    }
    ASSERT_TRUE(f.is_ready());
    EXPECT_EQ(errorCodeOf([&] { f.get(); }), cf::future_errc::broken_promise);
    EXPECT_EQ(satisfied.get(), 3);

    // Move-assigning over a promise abandons the old state as well.
    cf::promise<int> target;
    auto abandoned = target.get_future();
    target = cf::promise<int>();
    EXPECT_EQ(errorCodeOf([&] { abandoned.get(); }), cf::future_errc::broken_promise);
}

TEST(Future, CopiesShareOneStateAndItsException)
{
    cf::promise<std::vector<int>> p;
    auto f = p.get_future();
    auto g = f;
    EXPECT_FALSE(g.is_ready());
    p.set_value(std::vector<int>{1, 2, 3});
    EXPECT_TRUE(f.is_ready());
    EXPECT_EQ(&f.get(), &g.get()); // one value, not one per copy

    cf::promise<int> failing;
    auto e = failing.get_future();
    auto copy = e;
    failing.set_exception(std::make_exception_ptr(std::runtime_error("boom")));
    EXPECT_THROW(e.get(), std::runtime_error);
    EXPECT_THROW(copy.get(), std::runtime_error);
}

TEST(Future, ContinuationAttachedBeforeReadinessRunsOnTheSettingThread)
{
    cf::promise<int> p;
    auto f = p.get_future();
    std::thread::id ranOn;
    int seen = 0;
    auto chained = f.then([&](cf::future<int> ready) {
        ranOn = std::this_thread::get_id();
        seen = ready.get();
        return seen * 2;
    });
    EXPECT_FALSE(chained.is_ready());

    std::thread setter([&] { p.set_value(21); });
    const auto setterId = setter.get_id();
    setter.join();

    EXPECT_EQ(ranOn, setterId);
    EXPECT_EQ(seen, 21);
    EXPECT_EQ(chained.get(), 42);
}

TEST(Future, ContinuationAttachedAfterReadinessRunsAtOnceOnTheCaller)
{
    auto f = cf::make_ready_future(5);
    std::thread::id ranOn;
    bool ran = false;
    auto chained = f.then([&](const cf::future<int>& ready) {
        ranOn = std::this_thread::get_id();
        ran = true;
        return ready.get() + 1;
    });
    EXPECT_TRUE(ran); // before then() returned
    EXPECT_EQ(ranOn, std::this_thread::get_id());
    EXPECT_TRUE(chained.is_ready());
    EXPECT_EQ(chained.get(), 6);
}

TEST(Future, EveryContinuationRunsOnce)
{
    cf::promise<int> p;
    auto f = p.get_future();
    std::vector<int> calls(4, 0);
    for (std::size_t i = 0; i < calls.size(); ++i)
        f.then([&calls, i](cf::future<int> r) { calls[i] += r.get(); });
    p.set_value(1);
    f.then([&calls](cf::future<int> r) { calls[0] += 10 * r.get(); });
    EXPECT_EQ(calls, (std::vector<int>{11, 1, 1, 1}));
}

TEST(Future, BrokenPromiseReachesContinuationsOnTheDestroyingThread)
{
    auto p = std::make_unique<cf::promise<int>>();
    auto f = p->get_future();
    std::thread::id ranOn;
    cf::future_errc code{};
    f.then([&](cf::future<int> r) {
        ranOn = std::this_thread::get_id();
        code = errorCodeOf([&] { r.get(); });
    });
    std::thread destroyer([&] { p.reset(); });
    const auto destroyerId = destroyer.get_id();
    destroyer.join();
    EXPECT_EQ(ranOn, destroyerId);
    EXPECT_EQ(code, cf::future_errc::broken_promise);
}

TEST(Future, WaitForReportsTimeoutWhileUnsetAndWaitFromAnotherThreadWakesWhenSet)
{
    cf::promise<std::string> p;
    auto f = p.get_future();
    EXPECT_EQ(f.wait_for(0ms), std::future_status::timeout);
    std::string got;
    std::thread waiter([f, &got] {
        f.wait();
        got = f.get();
    });
    p.set_value("hello");
    waiter.join();
    EXPECT_EQ(got, "hello");
    EXPECT_EQ(f.wait_for(0ms), std::future_status::ready);
    EXPECT_EQ(f.wait_until(std::chrono::steady_clock::now()), std::future_status::ready);
}

TEST(Future, VoidFuturesCarryCompletionAndErrors)
{
    cf::promise<void> p;
    auto f = p.get_future();
    bool continued = false;
    cf::future<void> chained = f.then([&](cf::future<void> r) {
        r.get();
        continued = true;
    });
    p.set_value();
    EXPECT_TRUE(continued);
    EXPECT_NO_THROW(chained.get());
    EXPECT_NO_THROW(cf::make_ready_future().get());

    auto failed =
        cf::make_exceptional_future<void>(std::make_exception_ptr(std::runtime_error("e")));
    EXPECT_THROW(failed.get(), std::runtime_error);
}

TEST(Future, ChainsPassValuesAndExceptionsAlong)
{
    cf::promise<int> p;
    auto last = p.get_future()
                    .then([](cf::future<int> r) { return std::to_string(r.get()); })
                    .then([](cf::future<std::string> r) { return r.get() + "!"; })
                    .then([](cf::future<std::string> r) { return r.get().size(); });
    p.set_value(123);
    EXPECT_EQ(last.get(), 4u);

    cf::promise<int> q;
    bool skippedStepRan = false;
    auto recovered = q.get_future()
                         .then([](cf::future<int>) -> int { throw std::runtime_error("step 1"); })
                         .then([&](cf::future<int> r) {
                             skippedStepRan = true;
                             return r.get(); // rethrows step 1's exception
                         })
                         .then([](cf::future<int> r) {
                             try {
                                 r.get();
                             } catch (const std::runtime_error& e) {
                                 return std::string(e.what());
                             }
                             return std::string("no error");
                         });
    q.set_value(0);
    EXPECT_TRUE(skippedStepRan);
    EXPECT_EQ(recovered.get(), "step 1");
}

TEST(Future, ContinuationMayAttachToItsOwnFuture)
{
    cf::promise<int> p;
    auto f = p.get_future();
    int inner = 0;
    f.then([&inner](cf::future<int> r) {
        r.then([&inner](cf::future<int> again) { inner = again.get(); });
    });
    p.set_value(9);
    EXPECT_EQ(inner, 9);
}

TEST(Future, MoveOnlyContinuationsAreAccepted)
{
    cf::promise<int> p;
    auto owned = std::make_unique<int>(4);
    auto f = p.get_future().then(
        [owned = std::move(owned)](cf::future<int> r) { return *owned + r.get(); });
    p.set_value(1);
    EXPECT_EQ(f.get(), 5);
}

TEST(Future, ContinuationsAttachedWhileSettingEachRunExactlyOnce)
{
    constexpr int attachers = 4;
    constexpr int perThread = 200;
    cf::promise<int> p;
    auto f = p.get_future();
    std::atomic<int> runs{0};
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < attachers; ++t) {
        threads.emplace_back([&] {
            while (!go.load())
                std::this_thread::yield();
            for (int i = 0; i < perThread; ++i)
                f.then([&runs](cf::future<int> r) { runs += r.get(); });
        });
    }
    go = true;
    p.set_value(1);
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(runs.load(), attachers * perThread);
}

} // namespace
