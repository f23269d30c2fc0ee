#include "AudioFlow.h"

namespace sxmlib {

void AudioFlow::requestStop()
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
    }
    changed_.notify_all();
}

bool AudioFlow::stopping() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return stop_;
}

void AudioFlow::setPaused(bool paused)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        paused_ = paused;
    }
    changed_.notify_all();
}

bool AudioFlow::paused() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return paused_;
}

void AudioFlow::moreRequested()
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        more_ = true;
    }
    changed_.notify_all();
}

void AudioFlow::expectMore()
{
    std::lock_guard<std::mutex> lock(mutex_);
    more_ = false;
}

bool AudioFlow::waitForMore()
{
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return stop_ || more_; });
    more_ = false;
    return !stop_;
}

bool AudioFlow::waitWhilePaused()
{
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return stop_ || !paused_; });
    return !stop_;
}

bool AudioFlow::sleepFor(std::chrono::milliseconds duration)
{
    std::unique_lock<std::mutex> lock(mutex_);
    return !changed_.wait_for(lock, duration, [this] { return stop_; });
}

} // namespace sxmlib
