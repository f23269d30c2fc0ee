// A thread that runs an I/O event loop: posted tasks, file-descriptor watches and timers.
// Thread contract: post(), invoke(), isLoopThread() and the getters are safe from any thread;
// watch, unwatch and timer functions are loop thread only (the watch table is the loop's own
// state, touched without a lock); the destructor must not run on the loop thread.
#pragma once

#include <cf/future.h>
#include <miscUtils/UniqueFd.h>

#include <QFlags>
#include <QString>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <thread>
#include <unordered_map>

struct epoll_event;

namespace miscUtils {

enum class IOEvent : unsigned
{
    Readable = 0x1,
    Writable = 0x2,
    HangUp = 0x4, // the peer closed; reported whether asked for or not
    Error = 0x8,  // an error is pending on the descriptor; reported whether asked for or not
};
Q_DECLARE_FLAGS(IOEvents, IOEvent)
Q_DECLARE_OPERATORS_FOR_FLAGS(IOEvents)

class IOEventLoopThread
{
public:
    using Task = std::function<void()>;
    using WatchHandler = std::function<void(IOEvents)>;
    using WatchId = std::uint64_t; // 0 is never a valid watch
    using TimerId = std::uint64_t; // 0 is never a valid timer

    // Starts the thread and returns once its loop runs. The OS thread is named `name` (cut to
    // the kernel's 15 bytes). `number` is the host's identifier for this thread in its thread
    // diagnostics: it is kept, returned by number() and printed with the loop's start and stop
    // messages, and has no influence on scheduling. Throws std::system_error if the kernel
    // refuses the epoll or eventfd descriptor or the thread.
    IOEventLoopThread(int number, const std::string& name);
    IOEventLoopThread(int number, const QString& name);
    IOEventLoopThread(int number, const char* name); // UTF-8; spares literals an ambiguity
    // Stops the loop and joins the thread. Tasks still queued are destroyed unrun on the loop
    // thread, so whatever they own (promises, buffers) is released there.
    ~IOEventLoopThread();

    IOEventLoopThread(const IOEventLoopThread&) = delete;
    IOEventLoopThread& operator=(const IOEventLoopThread&) = delete;

    int number() const { return m_number; }
    const std::string& name() const { return m_name; }
    // The kernel's id of the loop thread (the <tid> of /proc/self/task/<tid>).
    pid_t threadId() const { return m_tid; }
    bool isLoopThread() const;

    // Queues task to run on the loop thread, after every task queued before it. Returns false,
    // and destroys the task on the calling thread, if the loop is already stopping.
    bool post(Task task);

    // Runs f on the loop thread and gives its result; the future breaks (broken_promise) if the
    // loop stops before running it. From the loop thread itself f still runs later, not inline.
    template <class F>
    auto invoke(F&& f) -> cf::future<std::invoke_result_t<std::decay_t<F>&>>;

    // Loop thread only. Watches fd (level-triggered) and calls handler with the events that
    // occurred. Returns 0 if the kernel refuses the descriptor (e.g. a regular file, or one that
    // is already watched). Unwatch before closing the descriptor.
    WatchId watch(int fd, IOEvents events, WatchHandler handler);
    bool setWatchEvents(WatchId id, IOEvents events);
    // Safe to call from inside the watch's own handler; the handler is not called again.
    void unwatch(WatchId id);

    // Loop thread only. Calls task once, no earlier than delay from now.
    TimerId startTimer(std::chrono::milliseconds delay, Task task);
    void cancelTimer(TimerId id);

private:
    struct Watch
    {
        int fd;
        WatchHandler handler;
    };
    using Clock = std::chrono::steady_clock;

    void run(cf::promise<void>& started);
    void runPostedTasks();
    void dispatchEvents(const ::epoll_event* events, int count);
    void runDueTimers();
    int millisecondsUntilNextTimer() const;
    void wakeLoop();
    void drainWakeup();

    const int m_number;
    const std::string m_name;
    UniqueFd m_epollFd;
    UniqueFd m_wakeFd;
    // Written by the loop thread before the constructor returns, read-only afterwards.
    pid_t m_tid = 0;
    std::thread::id m_loopThreadId;

    std::mutex m_mutex; // guards m_tasks, m_stopping
    std::deque<Task> m_tasks;
    bool m_stopping = false;

    // Loop-thread state.
    std::unordered_map<WatchId, std::shared_ptr<Watch>> m_watches;
    WatchId m_lastWatchId = 0;
    std::multimap<Clock::time_point, TimerId> m_timerQueue;
    std::unordered_map<TimerId, std::pair<Clock::time_point, Task>> m_timers;
    TimerId m_lastTimerId = 0;

    std::thread m_thread; // last: starts after every member above exists
};

template <class F>
auto IOEventLoopThread::invoke(F&& f) -> cf::future<std::invoke_result_t<std::decay_t<F>&>>
{
    using R = std::invoke_result_t<std::decay_t<F>&>;
    // Task must be copyable (std::function) while a promise is not, hence the shared_ptr.
    auto done = std::make_shared<cf::promise<R>>();
    auto result = done->get_future();
    post([done, fn = std::decay_t<F>(std::forward<F>(f))]() mutable {
        try {
            if constexpr (std::is_void_v<R>) {
                fn();
                done->set_value();
            } else {
                done->set_value(fn());
            }
        } catch (...) {
            done->set_exception(std::current_exception());
        }
    });
    return result;
}

} // namespace miscUtils
