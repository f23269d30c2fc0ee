#pragma once
// Thread contract: operations on the library thread; sendAudioData, bitrate and the events'
// end-of-playback report are safe from any thread.
//
// The playback operations: tune and stream, stop, pause, segment times for skips, go live, and
// the integrator's pacing and latency reports. At most one stream plays at a time.

#include "LibraryStatus.h"
#include "ServiceSession.h"
#include "Stream.h"

#include <sxmlib.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

namespace sxmlib {

class Playback
{
public:
    Playback(ServiceSession& session, Notifier& notifier, LibraryStatus& status);
    ~Playback();

    int selectStreamIndex(int index);
    int play(const sxm_playRequest* request, std::string& error);
    int stop(std::string& error);
    int pause(bool pause, std::string& error);
    int outputLatency(int ms, std::string& error);
    int streamBitrate() const;
    int segmentTime(bool next, char* buffer, int size, std::string& error);
    void goLive(std::string& error);
    void playTimeChanged(int playTime);
    int sendAudioData(std::string& error);
    /// The service ended the playback (an event): reported as code 37 unless the stream
    /// already did.
    void endedByService(const std::string& message);

private:
    /// The request's texts and callbacks, kept for go live.
    struct Request
    {
        void* context = nullptr;
        std::string channelId;
        std::string accessControlId;
        std::string timestamp;
        std::string assetGuid;
        int mode = SXM_MODE_LIVE;
        bool playLive = false;
        sxm_playbackDataCallback playbackData = nullptr;
        sxm_metadataStateCallback metadataState = nullptr;
    };

    int start(const Request& request, std::string& error);
    std::shared_ptr<Stream> current() const;
    /// Takes the stream out and stops it; null when there was none.
    std::shared_ptr<Stream> stopStream();
    bool pausePointLost(const Stream& stream);

    ServiceSession& m_session;
    Notifier& m_notifier;
    LibraryStatus& m_status;
    std::atomic<int> m_streamIndex{SXM_STREAM_256_KBPS};
    std::atomic<int> m_outputLatencyMs{0};
    mutable std::mutex m_mutex; // guards m_stream and m_request
    std::shared_ptr<Stream> m_stream;
    Request m_request;
};

} // namespace sxmlib
