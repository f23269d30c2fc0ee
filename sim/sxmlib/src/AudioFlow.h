#pragma once
// Thread contract: safe from any thread. The stream thread waits; the integrator's thread
// (sxm_sendAudioData, sxm_userPause) and the stopping thread wake it.
//
// The stream thread's brakes: the integrator's pace (after a partial take, the rest waits for
// sxm_sendAudioData), pause, and stop. Every wait ends at once on stop, so stopping never hangs
// on an integrator that stopped asking for data.

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace sxmlib {

class AudioFlow
{
public:
    void requestStop();
    bool stopping() const;

    void setPaused(bool paused);
    bool paused() const;

    /// The integrator asked for more (sxm_sendAudioData).
    void moreRequested();
    /// Forgets earlier requests for more: called before each offer, so that only a request made
    /// after it releases the rest of a partly taken block.
    void expectMore();
    /// Blocks until the integrator asks for more; false on stop.
    bool waitForMore();
    /// Blocks while paused; false on stop.
    bool waitWhilePaused();
    /// Sleeps for `duration`, or less on stop (false); pause does not shorten it.
    bool sleepFor(std::chrono::milliseconds duration);

private:
    mutable std::mutex m_mutex; // guards the three flags below
    std::condition_variable m_changed;
    bool m_stop = false;
    bool m_paused = false;
    bool m_more = false;
};

} // namespace sxmlib
