#include "AudioFlow.h"

namespace sxmlib {

void AudioFlow::requestStop()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
    }
    m_changed.notify_all();
}

bool AudioFlow::stopping() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_stop;
}

void AudioFlow::setPaused(bool paused)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_paused = paused;
    }
    m_changed.notify_all();
}

bool AudioFlow::paused() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_paused;
}

void AudioFlow::moreRequested()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_more = true;
    }
    m_changed.notify_all();
}

void AudioFlow::expectMore()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_more = false;
}

bool AudioFlow::waitForMore()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_stop || m_more; });
    m_more = false;
    return !m_stop;
}

bool AudioFlow::waitWhilePaused()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_stop || !m_paused; });
    return !m_stop;
}

bool AudioFlow::sleepFor(std::chrono::milliseconds duration)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return !m_changed.wait_for(lock, duration, [this] { return m_stop; });
}

} // namespace sxmlib
