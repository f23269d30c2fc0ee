#pragma once
// Thread contract: made, stopped and destroyed on the library thread; position, bitrate and
// the flow controls are safe from any thread. The stream's own thread fetches, decrypts and
// delivers, and calls the integrator's stream callbacks.
//
// One playing stream: a thread that fetches the stream's segments from the service, decrypts
// them through the integrator's hooks, and hands the audio to the play request's playback-data
// callback in blocks, at the integrator's pace, reporting track metadata, timebar, busy and
// bitrate as it goes.

#include "AudioFlow.h"
#include "ServiceSession.h"
#include "StreamCipher.h"
#include "TuneInfo.h"

#include <sxmlib.h>

#include <atomic>
#include <string>
#include <thread>

namespace sxmlib {

struct StreamSetup
{
    TuneInfo tune;
    Key key{};
    int bitrateIndex = 0;
    int bitrateBps = 0;
    int mode = SXM_MODE_LIVE; ///< enum sxm_contentMode of the request
    int irNavClass = SXM_IRNAV_RESTRICTED;
    int outputLatencyMs = 0;
    void* requestContext = nullptr;
    sxm_playbackDataCallback playbackData = nullptr;
    sxm_metadataStateCallback metadataState = nullptr;
};

class Stream
{
public:
    /// The largest block offered at once: small enough that the integrator's socket takes it in
    /// one go, large enough that a 256 kbit/s stream needs only a few offers a second.
    static constexpr std::size_t kBlockBytes = 16384;
    /// How often a live stream asks again for a segment that is not live yet.
    static constexpr std::chrono::milliseconds kLiveWait{1000};
    /// Failed fetches retried before the stream gives up.
    static constexpr int kRetries = 3;

    Stream(ServiceSession& session, Notifier& notifier, StreamSetup setup);
    /// Stops and joins the thread.
    ~Stream();
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    /// Ends the thread: wakes every wait, aborts a download, joins. Never blocks on the
    /// integrator.
    void stop();

    void moreRequested() { m_flow.moreRequested(); }
    void setPaused(bool paused) { m_flow.setPaused(paused); }
    bool paused() const { return m_flow.paused(); }
    void setOutputLatency(int ms) { m_outputLatencyMs.store(ms); }

    const TuneInfo& tune() const { return m_setup.tune; }
    int mode() const { return m_setup.mode; }
    int bitrate() const { return m_setup.bitrateBps; }
    /// Where the listener is on the stream's axis: the audio handed over, less the delay that the
    /// integrator reports queued ahead of the listener.
    std::int64_t listenerPositionMs() const;

    /// True the first time: code 37 is reported once per stream, whoever notices the end first.
    bool claimEndReport() { return !m_endReported.exchange(true); }

private:
    enum class Fetch
    {
        Ok,
        NotYetLive,
        PastEnd,
        Ended,
        OutsideWindow,
        SessionGone,
        Refused,
        Failed,
        Decryption,
        Stopped,
    };

    void run();
    void play();
    Fetch fetchSegment(std::int64_t segment, std::string& plaintext, ServiceReply& error);
    bool deliver(std::string& audio, std::int64_t startMs, std::int64_t endMs);
    void waitForListenerToReachEnd();
    void updateTrack();
    void reportTrackAt(std::int64_t positionMs);
    void reportEnd(const std::string& message);
    void reportFailure(int code, const ServiceReply& reply);
    void reportBusy(bool busy);
    void reportMetadataState(int state, std::int64_t positionMs);

    ServiceSession& m_session;
    Notifier& m_notifier;
    const StreamSetup m_setup;
    AudioFlow m_flow;
    std::atomic<std::int64_t> m_deliveredMs;
    std::atomic<std::int64_t> m_reportedDelayMs{-1}; // -1 until the integrator reports one
    std::atomic<int> m_outputLatencyMs;
    std::atomic<bool> m_endReported{false};
    // Stream thread only:
    bool m_busy = false;
    std::string m_trackId;
    std::int64_t m_nextTrackCheckMs = 0;
    std::thread m_thread; // last: started once everything above exists
};

} // namespace sxmlib
