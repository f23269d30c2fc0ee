#include "miscUtils/IOEventLoopThread.h"

#include "mivosdk/MivoThreadName.h"

#include <QLoggingCategory>

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <system_error>

namespace miscUtils {

namespace {

// Debug lines (loop start and stop) are off unless enabled through QT_LOGGING_RULES.
Q_LOGGING_CATEGORY(lcIoLoop, "mivo.ioloop", QtInfoMsg)

// The wake-up eventfd is registered under this id; watch ids start at 1.
constexpr IOEventLoopThread::WatchId kWakeupId = 0;
constexpr int kMaxEventsPerWait = 64;

UniqueFd createOrThrow(int fd, const char* what)
{
    if (fd < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return UniqueFd(fd);
}

std::uint32_t toEpollMask(IOEvents events)
{
    std::uint32_t mask = 0;
    if (events & IOEvent::Readable)
        mask |= EPOLLIN;
    if (events & IOEvent::Writable)
        mask |= EPOLLOUT;
    return mask;
}

IOEvents fromEpollMask(std::uint32_t mask)
{
    IOEvents events;
    if (mask & (EPOLLIN | EPOLLPRI))
        events |= IOEvent::Readable;
    if (mask & EPOLLOUT)
        events |= IOEvent::Writable;
    if (mask & EPOLLHUP)
        events |= IOEvent::HangUp;
    if (mask & EPOLLERR)
        events |= IOEvent::Error;
    return events;
}

} // namespace

IOEventLoopThread::IOEventLoopThread(int number, const QString& name)
    : IOEventLoopThread(number, name.toStdString())
{}

IOEventLoopThread::IOEventLoopThread(int number, const char* name)
    : IOEventLoopThread(number, std::string(name ? name : ""))
{}

IOEventLoopThread::IOEventLoopThread(int number, const std::string& name)
    : m_number(number)
    , m_name(name)
    , m_epollFd(createOrThrow(epoll_create1(EPOLL_CLOEXEC), "epoll_create1"))
    , m_wakeFd(createOrThrow(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC), "eventfd"))
{
    epoll_event wake{};
    wake.events = EPOLLIN;
    wake.data.u64 = kWakeupId;
    if (epoll_ctl(m_epollFd.get(), EPOLL_CTL_ADD, m_wakeFd.get(), &wake) != 0)
        throw std::system_error(errno, std::generic_category(), "epoll_ctl(eventfd)");

    cf::promise<void> started;
    auto running = started.get_future();
    // The promise moves into the thread, so the constructor never waits on an object that the
    // loop thread may still be using.
    m_thread = std::thread([this, started = std::move(started)]() mutable { run(started); });
    // The thread id and kernel tid are published through this future, so that readers on any
    // thread see them once the constructor has returned.
    running.get();
}

IOEventLoopThread::~IOEventLoopThread()
{
    if (isLoopThread()) {
        // Joining oneself cannot work, and running on would use a destroyed object.
        qFatal("IOEventLoopThread %d \"%s\" destroyed from its own loop thread", m_number,
               m_name.c_str());
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    wakeLoop();
    m_thread.join();
}

bool IOEventLoopThread::isLoopThread() const
{
    return std::this_thread::get_id() == m_loopThreadId;
}

bool IOEventLoopThread::post(Task task)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopping)
            return false;
        m_tasks.push_back(std::move(task));
    }
    wakeLoop();
    return true;
}

IOEventLoopThread::WatchId IOEventLoopThread::watch(int fd, IOEvents events, WatchHandler handler)
{
    const WatchId id = ++m_lastWatchId;
    epoll_event event{};
    event.events = toEpollMask(events);
    event.data.u64 = id;
    if (epoll_ctl(m_epollFd.get(), EPOLL_CTL_ADD, fd, &event) != 0) {
        qCWarning(lcIoLoop, "loop %d: cannot watch fd %d: %s", m_number, fd, std::strerror(errno));
        return 0;
    }
    m_watches.emplace(id, std::make_shared<Watch>(Watch{fd, std::move(handler)}));
    return id;
}

bool IOEventLoopThread::setWatchEvents(WatchId id, IOEvents events)
{
    const auto it = m_watches.find(id);
    if (it == m_watches.end())
        return false;
    epoll_event event{};
    event.events = toEpollMask(events);
    event.data.u64 = id;
    return epoll_ctl(m_epollFd.get(), EPOLL_CTL_MOD, it->second->fd, &event) == 0;
}

void IOEventLoopThread::unwatch(WatchId id)
{
    const auto it = m_watches.find(id);
    if (it == m_watches.end())
        return;
    // Fails harmlessly if the descriptor was closed already: the kernel dropped it then.
    epoll_ctl(m_epollFd.get(), EPOLL_CTL_DEL, it->second->fd, nullptr);
    m_watches.erase(it);
}

IOEventLoopThread::TimerId IOEventLoopThread::startTimer(std::chrono::milliseconds delay, Task task)
{
    const TimerId id = ++m_lastTimerId;
    const auto due = Clock::now() + delay;
    m_timerQueue.emplace(due, id);
    m_timers.emplace(id, std::make_pair(due, std::move(task)));
    return id;
}

void IOEventLoopThread::cancelTimer(TimerId id)
{
    const auto it = m_timers.find(id);
    if (it == m_timers.end())
        return;
    auto [first, last] = m_timerQueue.equal_range(it->second.first);
    for (; first != last; ++first) {
        if (first->second == id) {
            m_timerQueue.erase(first);
            break;
        }
    }
    m_timers.erase(it);
}

void IOEventLoopThread::run(cf::promise<void>& started)
{
    mivoSetThreadName(QString::fromStdString(m_name));
    m_tid = static_cast<pid_t>(syscall(SYS_gettid));
    m_loopThreadId = std::this_thread::get_id();
    qCDebug(lcIoLoop, "loop %d \"%s\" started on tid %d", m_number, m_name.c_str(), int(m_tid));
    started.set_value();

    std::array<epoll_event, kMaxEventsPerWait> events;
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_stopping)
                break;
        }
        const int count = epoll_wait(m_epollFd.get(), events.data(), kMaxEventsPerWait,
                                     millisecondsUntilNextTimer());
        if (count < 0 && errno != EINTR) {
            qCCritical(lcIoLoop, "loop %d: epoll_wait failed: %s", m_number, std::strerror(errno));
            break;
        }
        dispatchEvents(events.data(), count);
        runDueTimers();
    }

    std::deque<Task> unrun;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true; // also when the loop ended on an epoll failure
        unrun.swap(m_tasks);
    }
    unrun.clear();
    m_timers.clear();
    m_timerQueue.clear();
    m_watches.clear();
    qCDebug(lcIoLoop, "loop %d \"%s\" stopped", m_number, m_name.c_str());
}

void IOEventLoopThread::dispatchEvents(const epoll_event* events, int count)
{
    for (int i = 0; i < count; ++i) {
        const WatchId id = events[i].data.u64;
        if (id == kWakeupId) {
            drainWakeup();
            runPostedTasks();
            continue;
        }
        // An earlier handler of this batch may have removed the watch (and a new watch may now
        // use the same descriptor under another id): look the id up afresh every time.
        const auto it = m_watches.find(id);
        if (it == m_watches.end())
            continue;
        const std::shared_ptr<Watch> watch = it->second; // survives an unwatch from the handler
        watch->handler(fromEpollMask(events[i].events));
    }
}

void IOEventLoopThread::runPostedTasks()
{
    std::deque<Task> batch;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        batch.swap(m_tasks);
    }
    for (auto& task : batch)
        task();
}

void IOEventLoopThread::runDueTimers()
{
    const auto now = Clock::now();
    while (!m_timerQueue.empty() && m_timerQueue.begin()->first <= now) {
        const TimerId id = m_timerQueue.begin()->second;
        m_timerQueue.erase(m_timerQueue.begin());
        auto it = m_timers.find(id);
        Task task = std::move(it->second.second);
        m_timers.erase(it);
        task();
    }
}

int IOEventLoopThread::millisecondsUntilNextTimer() const
{
    if (m_timerQueue.empty())
        return -1;
    const auto wait = m_timerQueue.begin()->first - Clock::now();
    if (wait <= Clock::duration::zero())
        return 0;
    // Round up: waking a little early would only spin until the timer is due.
    return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(wait).count());
}

void IOEventLoopThread::wakeLoop()
{
    const std::uint64_t one = 1;
    // EAGAIN means the counter is saturated: the loop is being woken anyway.
    [[maybe_unused]] const auto written = ::write(m_wakeFd.get(), &one, sizeof one);
}

void IOEventLoopThread::drainWakeup()
{
    std::uint64_t count = 0;
    [[maybe_unused]] const auto read = ::read(m_wakeFd.get(), &count, sizeof count);
}

} // namespace miscUtils
