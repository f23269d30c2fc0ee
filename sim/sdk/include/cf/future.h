// cf::future / cf::promise: futures whose results can be shared and continued.
// Thread contract: safe from any thread; a continuation runs on the thread that makes its
// future ready, or at once on the attaching thread when the future is already ready.
#pragma once

#include <chrono>
#include <condition_variable>
#include <exception>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

namespace cf {

enum class future_errc
{
    no_state = 1,              // the handle is default-constructed or moved from
    promise_already_satisfied, // a value or an exception was set twice
    future_already_retrieved,  // get_future() was called twice on one promise
    broken_promise,            // the promise was destroyed without a value
};

inline const char* to_string(future_errc code) noexcept
{
    switch (code) {
    case future_errc::no_state:
        return "no_state";
    case future_errc::promise_already_satisfied:
        return "promise_already_satisfied";
    case future_errc::future_already_retrieved:
        return "future_already_retrieved";
    case future_errc::broken_promise:
        return "broken_promise";
    }
    return "unknown_future_error";
}

class future_error : public std::logic_error
{
public:
    explicit future_error(future_errc code)
        : std::logic_error(to_string(code))
        , m_code(code)
    {}
    future_errc code() const noexcept { return m_code; }

private:
    future_errc m_code;
};

template <class T>
class future;
template <class T>
class promise;

namespace detail {

// Stands in for the value of a void future so that one shared state serves both kinds.
struct void_value
{
};

template <class T>
using stored_t = std::conditional_t<std::is_void_v<T>, void_value, T>;

// A move-only callable taking one argument. std::function would demand copyable targets, but a
// continuation owns the promise of the future that then() returned, and promises are move-only.
template <class Arg>
class unique_callback
{
public:
    template <class F>
    explicit unique_callback(F&& f)
        : m_impl(std::make_unique<model<std::decay_t<F>>>(std::forward<F>(f)))
    {}
    void operator()(Arg arg) { m_impl->call(std::move(arg)); }

private:
    struct concept_t
    {
        virtual ~concept_t() = default;
        virtual void call(Arg arg) = 0;
    };
    template <class F>
    struct model final : concept_t
    {
        explicit model(F&& f)
            : fn(std::move(f))
        {}
        explicit model(const F& f)
            : fn(f)
        {}
        void call(Arg arg) override { fn(std::move(arg)); }
        F fn;
    };
    std::unique_ptr<concept_t> m_impl;
};

template <class T>
class shared_state : public std::enable_shared_from_this<shared_state<T>>
{
public:
    using value_type = stored_t<T>;
    // The ready state is handed to the continuation when it runs rather than captured by it, so
    // a state never owns a reference to itself.
    using continuation = unique_callback<std::shared_ptr<shared_state>>;

    template <class... Args>
    void set_value(Args&&... args)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        throw_if_ready();
        m_value.emplace(std::forward<Args>(args)...);
        become_ready(lock);
    }

    void set_exception(std::exception_ptr error)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        throw_if_ready();
        m_error = std::move(error);
        become_ready(lock);
    }

    // Called when the promise goes away: an unset state becomes ready with broken_promise so
    // that nobody waits forever on a result that can no longer come.
    void break_if_unset()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (m_ready)
            return;
        m_error = std::make_exception_ptr(future_error(future_errc::broken_promise));
        become_ready(lock);
    }

    void mark_retrieved()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_retrieved)
            throw future_error(future_errc::future_already_retrieved);
        m_retrieved = true;
    }

    bool is_ready() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_ready;
    }

    void wait() const
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_ready_changed.wait(lock, [this] { return m_ready; });
    }

    template <class Clock, class Duration>
    std::future_status wait_until(const std::chrono::time_point<Clock, Duration>& deadline) const
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_ready_changed.wait_until(lock, deadline, [this] { return m_ready; })
                   ? std::future_status::ready
                   : std::future_status::timeout;
    }

    // The value is never written again once ready, so the reference stays valid without the lock.
    const value_type& get() const
    {
        wait();
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_error)
            std::rethrow_exception(m_error);
        return *m_value;
    }

    void add_continuation(continuation next)
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_ready) {
                m_continuations.push_back(std::move(next));
                return;
            }
        }
        next(this->shared_from_this());
    }

private:
    void throw_if_ready() const
    {
        if (m_ready)
            throw future_error(future_errc::promise_already_satisfied);
    }

    // Continuations run outside the lock: they may attach further continuations, wait on other
    // futures or complete other promises.
    void become_ready(std::unique_lock<std::mutex>& lock)
    {
        m_ready = true;
        std::vector<continuation> ready_to_run;
        ready_to_run.swap(m_continuations);
        // Taken before unlocking: a woken waiter may drop the last other reference at once.
        auto self = this->shared_from_this();
        lock.unlock();
        m_ready_changed.notify_all();
        for (auto& next : ready_to_run)
            next(self);
    }

    mutable std::mutex m_mutex; // guards every member below
    mutable std::condition_variable m_ready_changed;
    bool m_ready = false;
    bool m_retrieved = false;
    std::optional<value_type> m_value;
    std::exception_ptr m_error;
    std::vector<continuation> m_continuations;
};

template <class State>
State& checked(const std::shared_ptr<State>& state)
{
    if (!state)
        throw future_error(future_errc::no_state);
    return *state;
}

} // namespace detail

// A copyable handle on a result that becomes available later (like std::shared_future): every
// copy sees the same value, and any number of continuations may be attached.
template <class T>
class future
{
    static_assert(!std::is_reference_v<T>, "cf::future holds values, not references");

public:
    using value_type = T;
    using get_result_t = std::conditional_t<std::is_void_v<T>, void, const detail::stored_t<T>&>;

    future() noexcept = default;

    bool valid() const noexcept { return static_cast<bool>(m_state); }

    // Reads readiness under the state's own lock, so it may be polled from any thread.
    bool is_ready() const { return detail::checked(m_state).is_ready(); }

    void wait() const { detail::checked(m_state).wait(); }

    template <class Rep, class Period>
    std::future_status wait_for(const std::chrono::duration<Rep, Period>& timeout) const
    {
        return wait_until(std::chrono::steady_clock::now() + timeout);
    }

    template <class Clock, class Duration>
    std::future_status wait_until(const std::chrono::time_point<Clock, Duration>& deadline) const
    {
        return detail::checked(m_state).wait_until(deadline);
    }

    // Waits, then returns the value or rethrows the stored exception.
    get_result_t get() const
    {
        const auto& state = detail::checked(m_state);
        if constexpr (std::is_void_v<T>) {
            state.get();
        } else {
            return state.get();
        }
    }

    // Attaches f, called with this (ready) future; returns a future of f's result, which holds
    // f's exception instead if f throws.
    template <class F>
    auto then(F&& f) const -> future<std::invoke_result_t<std::decay_t<F>&, future<T>>>;

private:
    template <class>
    friend class future;
    template <class>
    friend class promise;
    template <class U>
    friend future<std::decay_t<U>> make_ready_future(U&& value);
    friend future<void> make_ready_future();

    explicit future(std::shared_ptr<detail::shared_state<T>> state) noexcept
        : m_state(std::move(state))
    {}

    std::shared_ptr<detail::shared_state<T>> m_state;
};

// The producing side: exactly one value or exception, set once. Move-only.
template <class T>
class promise
{
public:
    promise()
        : m_state(std::make_shared<detail::shared_state<T>>())
    {}
    promise(promise&& other) noexcept = default;
    promise& operator=(promise&& other) noexcept
    {
        if (this != &other) {
            abandon();
            m_state = std::move(other.m_state);
        }
        return *this;
    }
    promise(const promise&) = delete;
    promise& operator=(const promise&) = delete;
    ~promise() { abandon(); }

    future<T> get_future()
    {
        detail::checked(m_state).mark_retrieved();
        return future<T>(m_state);
    }

    // For promise<void>: set_value() without arguments.
    template <class... Args>
    void set_value(Args&&... args)
    {
        detail::checked(m_state).set_value(std::forward<Args>(args)...);
    }

    void set_exception(std::exception_ptr error)
    {
        detail::checked(m_state).set_exception(std::move(error));
    }

private:
    void abandon() noexcept
    {
        if (m_state)
            m_state->break_if_unset();
    }

    std::shared_ptr<detail::shared_state<T>> m_state;
};

namespace detail {

template <class R, class F, class Arg>
void fulfil(promise<R>& target, F& fn, Arg&& arg) noexcept
{
    try {
        if constexpr (std::is_void_v<R>) {
            fn(std::forward<Arg>(arg));
            target.set_value();
        } else {
            target.set_value(fn(std::forward<Arg>(arg)));
        }
    } catch (...) {
        target.set_exception(std::current_exception());
    }
}

} // namespace detail

template <class T>
template <class F>
auto future<T>::then(F&& f) const -> future<std::invoke_result_t<std::decay_t<F>&, future<T>>>
{
    using R = std::invoke_result_t<std::decay_t<F>&, future<T>>;
    auto& state = detail::checked(m_state);
    promise<R> next;
    future<R> result = next.get_future();
    state.add_continuation(typename detail::shared_state<T>::continuation(
        [fn = std::decay_t<F>(std::forward<F>(f)),
         next = std::move(next)](std::shared_ptr<detail::shared_state<T>> ready) mutable {
            detail::fulfil(next, fn, future<T>(std::move(ready)));
        }));
    return result;
}

template <class U>
future<std::decay_t<U>> make_ready_future(U&& value)
{
    auto state = std::make_shared<detail::shared_state<std::decay_t<U>>>();
    state->mark_retrieved();
    state->set_value(std::forward<U>(value));
    return future<std::decay_t<U>>(std::move(state));
}

inline future<void> make_ready_future()
{
    auto state = std::make_shared<detail::shared_state<void>>();
    state->mark_retrieved();
    state->set_value();
    return future<void>(std::move(state));
}

template <class T>
future<T> make_exceptional_future(std::exception_ptr error)
{
    promise<T> source;
    future<T> result = source.get_future();
    source.set_exception(std::move(error));
    return result;
}

} // namespace cf
