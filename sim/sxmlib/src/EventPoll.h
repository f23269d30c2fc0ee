#pragma once
// Thread contract: library thread only (polled from sxm_externalTimerTick).
//
// The service's events for this session: lists changed elsewhere (refresh callback) and
// playback ended by the service (handed to the playback, which reports code 37).

#include "LibraryClock.h"
#include "ServiceSession.h"

#include <functional>
#include <string>

namespace sxmlib {

class EventPoll
{
public:
    using PlaybackEnded = std::function<void(const std::string& message)>;

    EventPoll(ServiceSession& session, Notifier& notifier, LibraryStatus& status,
              PlaybackEnded playbackEnded);

    /// Polls when the service's poll interval has passed on the library clock.
    void tick(std::uint32_t elapsedMs);
    /// A new session: its first poll is a whole interval away.
    void restart() { m_interval.restart(); }

private:
    void dispatch(const Json& event);

    ServiceSession& m_session;
    Notifier& m_notifier;
    LibraryStatus& m_status;
    PlaybackEnded m_playbackEnded;
    Interval m_interval{5000};
};

} // namespace sxmlib
