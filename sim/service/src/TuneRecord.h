// The most recent tune of any session and the audio served to it since, so that a test can learn
// exactly which plaintext a client was given from its start position. Safe from any thread: the
// tune and audio handlers write it on httplib's pool while the owner reads it.
#pragma once

#include "Streams.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace sxm::service {

class TuneRecord
{
public:
    struct Tune
    {
        std::string session; ///< the token of the session that tuned
        StreamKind kind = StreamKind::Live;
        std::string id;
        std::int64_t startSegment = 0;
        std::int64_t startOffsetMs = 0;
        /// The highest segment served to this playback on the audio endpoint, and the bitrate
        /// index of the latest such request; nothing while none was served.
        std::optional<std::int64_t> lastServedSegment;
        int bitrate = -1;
    };

    /// A session tuned: this tune replaces the one recorded before, of whichever session.
    void tuned(const std::string& session, const Stream& stream, std::int64_t startSegment,
               std::int64_t startOffsetMs);
    /// Audio was served. It counts for the recorded tune only when it went to the session that
    /// tuned, for the tuned stream, at or after the start segment: anything else is another
    /// playback's audio.
    void served(const std::string& session, const Stream& stream, int bitrate,
                std::int64_t segment);
    std::optional<Tune> last() const;

private:
    mutable std::mutex m_mutex; // guards m_last
    std::optional<Tune> m_last;
};

} // namespace sxm::service
