#include <cf/future.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

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

TEST(Future, MisusesAreRefusedAndKeepTheFirstResult)
{
    cf::future<int> none;
    EXPECT_FALSE(none.valid());
    EXPECT_EQ(errorCodeOf([&] { none.get(); }), cf::future_errc::no_state);
    EXPECT_EQ(errorCodeOf([&] { none.then([](cf::future<int>) {}); }), cf::future_errc::no_state);

    cf::promise<int> p;
    auto f = p.get_future();
    EXPECT_EQ(errorCodeOf([&] { p.get_future(); }), cf::future_errc::future_already_retrieved);
    cf::promise<int> q = std::move(p);
    EXPECT_EQ(errorCodeOf([&] { p.set_value(1); }), cf::future_errc::no_state);
    q.set_value(1);
    EXPECT_EQ(errorCodeOf([&] { q.set_value(2); }), cf::future_errc::promise_already_satisfied);
    EXPECT_EQ(
        errorCodeOf([&] { q.set_exception(std::make_exception_ptr(std::runtime_error("x"))); }),
        cf::future_errc::promise_already_satisfied);
    EXPECT_EQ(f.get(), 1);
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
}

TEST(Future, CopiesShareOneState)
{
    cf::promise<std::vector<int>> p;
    auto f = p.get_future();
    auto g = f;
    p.set_value(std::vector<int>{1, 2, 3});
    EXPECT_TRUE(g.is_ready());
    EXPECT_EQ(&f.get(), &g.get()); // one value, not one per copy
}

TEST(Future, ContinuationRunsOnTheSettingThreadOrAtOnceWhenAlreadyReady)
{
    cf::promise<int> p;
    std::thread::id ranOn;
    auto chained = p.get_future().then([&](cf::future<int> ready) {
        ranOn = std::this_thread::get_id();
        return ready.get() * 2;
    });
    EXPECT_FALSE(chained.is_ready());
    std::thread setter([&] { p.set_value(21); });
    const auto setterId = setter.get_id();
    setter.join();
    EXPECT_EQ(ranOn, setterId);
    EXPECT_EQ(chained.get(), 42);

    auto atOnce = cf::make_ready_future(5).then([&](const cf::future<int>& ready) {
        ranOn = std::this_thread::get_id();
        return ready.get() + 1;
    });
    EXPECT_EQ(ranOn, std::this_thread::get_id()); // before then() returned
    EXPECT_EQ(atOnce.get(), 6);
}

TEST(Future, ChainsPassExceptionsAlong)
{
    cf::promise<int> q;
    auto recovered = q.get_future()
                         .then([](cf::future<int>) -> int { throw std::runtime_error("step 1"); })
                         .then([](cf::future<int> r) { return r.get(); })
                         .then([](cf::future<int> r) {
                             try {
                                 r.get();
                             } catch (const std::runtime_error& e) {
                                 return std::string(e.what());
                             }
                             return std::string("no error");
                         });
    q.set_value(0);
    EXPECT_EQ(recovered.get(), "step 1");
}

TEST(Future, AMoveOnlyContinuationMayAttachToItsOwnFuture)
{
    cf::promise<int> p;
    int inner = 0;
    auto owned = std::make_unique<int>(4);
    p.get_future().then([&inner, owned = std::move(owned)](cf::future<int> r) {
        r.then([&inner, &owned](cf::future<int> again) { inner = again.get() + *owned; });
    });
    p.set_value(5);
    EXPECT_EQ(inner, 9);
}

TEST(Future, ContinuationsAttachedWhileSettingEachRunExactlyOnce)
{
    constexpr int kAttachers = 4;
    constexpr int kPerThread = 200;
    cf::promise<int> p;
    auto f = p.get_future();
    std::atomic<int> runs{0};
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < kAttachers; ++t) {
        threads.emplace_back([&] {
            while (!go.load())
                std::this_thread::yield();
            for (int i = 0; i < kPerThread; ++i)
                f.then([&runs](cf::future<int> r) { runs += r.get(); });
        });
    }
    go = true;
    p.set_value(1);
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(runs.load(), kAttachers * kPerThread);
}

} // namespace
