#include "Stream.h"

#include "Adts.h"
#include "ContentRecords.h"
#include "Log.h"

#include <pthread.h>

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace sxmlib {
namespace {

constexpr unsigned kNoDelay = UINT_MAX;
constexpr Caller kCaller = Caller::Event;

const char* const kEpisodeEnded = "This episode has ended. Please select another one to listen to.";
const char* const kXtraEnded = "This Xtra channel has ended. Please select another channel.";
const char* const kWindowLeft =
    "The stream can no longer be played from where it was. Please select the channel again.";

std::int32_t parseIv(const std::string& text, bool& ok)
{
    char* end = nullptr;
    const long long value = std::strtoll(text.c_str(), &end, 10);
    ok = !text.empty() && end && *end == '\0' && value >= INT32_MIN && value <= INT32_MAX;
    return ok ? static_cast<std::int32_t>(value) : 0;
}

} // namespace

Stream::Stream(ServiceSession& session, Notifier& notifier, StreamSetup setup)
    : m_session(session)
    , m_notifier(notifier)
    , m_setup(std::move(setup))
    , m_deliveredMs(m_setup.tune.startPosition)
    , m_outputLatencyMs(m_setup.outputLatencyMs)
    , m_thread([this] { run(); })
{}

Stream::~Stream()
{
    stop();
}

void Stream::stop()
{
    m_flow.requestStop();
    if (m_thread.joinable())
        m_thread.join();
}

std::int64_t Stream::listenerPositionMs() const
{
    const std::int64_t reported = m_reportedDelayMs.load();
    const std::int64_t delay = reported >= 0 ? reported : m_outputLatencyMs.load();
    return std::max(m_setup.tune.startPosition, m_deliveredMs.load() - delay);
}

void Stream::run()
{
    pthread_setname_np(pthread_self(), "sxmlib-stream");
    try {
        play();
    } catch (const std::exception& error) {
        // Nothing may escape a thread; the integrator learns that the stream is gone.
        SXMLIB_ERROR("stream thread failed: " << error.what());
        m_notifier.error(kCaller, {errorCode::kConnection, 0, true,
                                   "Playback failed: " + std::string(error.what())});
    }
    SXMLIB_DEBUG("stream thread ends");
}

void Stream::play()
{
    const TuneInfo& tune = m_setup.tune;
    SXMLIB_INFO("stream " << tune.kindText << "/" << tune.id << " from segment "
                          << tune.startSegment << " (+" << tune.startOffsetMs << " ms)");
    reportBusy(true);
    const sxm_callbacks callbacks = m_notifier.callbacks();
    if (callbacks.onChannelBitrateChanged)
        callbacks.onChannelBitrateChanged(callbacks.eventContext, m_setup.bitrateBps);
    reportMetadataState(1, tune.startPosition);
    reportTrackAt(tune.startPosition);

    std::int64_t segment = tune.startSegment;
    std::int64_t offsetMs = tune.startOffsetMs;
    int failures = 0;
    while (m_flow.waitWhilePaused()) {
        if (tune.finite() && segment > tune.lastSegment) {
            waitForListenerToReachEnd();
            reportEnd(tune.kind == StreamKind::Episode ? kEpisodeEnded : kXtraEnded);
            return;
        }
        std::string plaintext;
        ServiceReply error;
        const Fetch fetched = fetchSegment(segment, plaintext, error);
        switch (fetched) {
        case Fetch::Ok:
            break;
        case Fetch::Stopped:
            return;
        case Fetch::NotYetLive:
            if (!m_flow.sleepFor(kLiveWait))
                return;
            continue;
        case Fetch::PastEnd:
            waitForListenerToReachEnd();
            reportEnd(tune.kind == StreamKind::Episode ? kEpisodeEnded : kXtraEnded);
            return;
        case Fetch::Ended:
            reportEnd(error.message);
            return;
        case Fetch::OutsideWindow:
            reportFailure(errorCode::kStreamLost, error);
            return;
        case Fetch::SessionGone:
            reportFailure(errorCode::kSessionEnded, error);
            return;
        case Fetch::Refused:
            reportFailure(errorCode::kServiceRefused, error);
            return;
        case Fetch::Decryption:
            error.message = "The stream could not be decrypted.";
            reportFailure(errorCode::kDecryption, error);
            return;
        case Fetch::Failed:
            if (++failures > kRetries) {
                reportFailure(errorCode::kConnection, error);
                return;
            }
            SXMLIB_WARN("segment " << segment << " failed (" << error.message << "), retry "
                                   << failures);
            reportBusy(true);
            if (!m_flow.sleepFor(kLiveWait * failures))
                return;
            continue;
        }
        failures = 0;
        const std::int64_t segmentStart = segment * tune.segmentDurationMs;
        const AdtsCut cut = adtsCutAt(plaintext, offsetMs);
        offsetMs = 0;
        plaintext.erase(0, cut.byteOffset);
        if (!deliver(plaintext, segmentStart + cut.skippedMs,
                     segmentStart + tune.segmentDurationMs))
            return;
        ++segment;
    }
}

Stream::Fetch Stream::fetchSegment(std::int64_t segment, std::string& plaintext,
                                   ServiceReply& error)
{
    std::optional<SegmentDecryptor> decryptor;
    bool decryptionFailed = false;
    HttpRequest request;
    request.timeoutSeconds = 30;
    request.abortRequested = [this] {
        return m_flow.stopping();
    };
    request.onBody = [&](std::string_view chunk, const HttpResponse& soFar) {
        if (!decryptor) {
            bool ok = false;
            const std::int32_t iv = parseIv(soFar.header("x-sxm-iv"), ok);
            if (!ok) {
                SXMLIB_ERROR("segment " << segment << " came without an initialisation value");
                decryptionFailed = true;
                return false;
            }
            decryptor.emplace(m_setup.key, iv);
        }
        if (!decryptor->feed(chunk, plaintext)) {
            decryptionFailed = true;
            return false;
        }
        return true;
    };
    const HttpResponse response = m_session.download(
        kCaller, m_setup.tune.segmentUrlPath(m_setup.bitrateIndex, segment), request, error);
    if (decryptor && decryptor->pending() != 0)
        SXMLIB_WARN("segment " << segment << " ends inside a cipher block; " << decryptor->pending()
                               << " bytes dropped");
    decryptor.reset();
    if (m_flow.stopping())
        return Fetch::Stopped;
    if (decryptionFailed)
        return Fetch::Decryption;
    switch (error.outcome) {
    case ServiceReply::Outcome::Ok:
        return response.failed ? Fetch::Failed : Fetch::Ok;
    case ServiceReply::Outcome::NoSession:
        return Fetch::SessionGone;
    case ServiceReply::Outcome::Unreachable:
    case ServiceReply::Outcome::Malformed:
        return Fetch::Failed;
    case ServiceReply::Outcome::Refused:
        break;
    }
    if (error.sessionGone())
        return Fetch::SessionGone;
    switch (error.status) {
    case 404:
        return m_setup.tune.finite() ? Fetch::PastEnd : Fetch::NotYetLive;
    case 409:
        return Fetch::Ended;
    case 410:
        if (error.message.empty())
            error.message = kWindowLeft;
        return Fetch::OutsideWindow;
    default:
        return error.status >= 500 ? Fetch::Failed : Fetch::Refused;
    }
}

bool Stream::deliver(std::string& audio, std::int64_t startMs, std::int64_t endMs)
{
    const std::size_t size = audio.size();
    std::size_t offset = 0;
    while (offset < size) {
        if (!m_flow.waitWhilePaused())
            return false;
        const std::size_t block = std::min(kBlockBytes, size - offset);
        m_flow.expectMore();
        unsigned delay = kNoDelay;
        const int result = m_setup.playbackData(
            m_setup.requestContext, reinterpret_cast<unsigned char*>(&audio[offset]),
            static_cast<int>(block), static_cast<unsigned>(m_setup.bitrateBps), &delay);
        const std::size_t taken =
            static_cast<std::size_t>(std::clamp(result, 0, static_cast<int>(block)));
        if (delay != kNoDelay)
            m_reportedDelayMs.store(delay);
        offset += taken;
        m_deliveredMs.store(startMs + (endMs - startMs) * static_cast<std::int64_t>(offset) /
                                          static_cast<std::int64_t>(size));
        if (taken > 0)
            reportBusy(false);
        updateTrack();
        if (taken < block && !m_flow.waitForMore())
            return false;
    }
    return !m_flow.stopping();
}

void Stream::waitForListenerToReachEnd()
{
    // The last audio is still queued ahead of the listener; ending the playback now would cut
    // it off. The integrator's last reported delay says for how long.
    const std::int64_t reported = m_reportedDelayMs.load();
    const std::int64_t delay = reported >= 0 ? reported : m_outputLatencyMs.load();
    if (delay > 0 && m_flow.waitWhilePaused())
        m_flow.sleepFor(std::chrono::milliseconds(delay));
}

void Stream::updateTrack()
{
    const std::int64_t position = listenerPositionMs();
    if (position >= m_nextTrackCheckMs)
        reportTrackAt(position);
}

void Stream::reportTrackAt(std::int64_t positionMs)
{
    const ServiceReply reply = m_session.get(
        kCaller, m_setup.tune.streamPath() + "/metadata?position=" + std::to_string(positionMs));
    if (!reply.ok()) {
        SXMLIB_WARN("track metadata not fetched: " << reply.message);
        m_nextTrackCheckMs = positionMs + 5000;
        return;
    }
    const Json& track = jsonObject(reply.json, "track");
    const Json& timebar = jsonObject(reply.json, "timebar");
    // The timebar's track start is in whole seconds: the end it gives may fall a little before
    // the real one, so a check never comes sooner than a second later.
    const std::int64_t trackEndMs =
        jsonInt(timebar, "startTimestamp") * 1000 + jsonInt(timebar, "duration");
    m_nextTrackCheckMs = std::max(trackEndMs, positionMs + 1000);
    const std::string trackId = jsonText(track, "trackId");
    if (trackId == m_trackId)
        return;
    m_trackId = trackId;
    SXMLIB_DEBUG("track " << jsonText(track, "trackDescription"));
    const sxm_callbacks callbacks = m_notifier.callbacks();
    RecordArena arena;
    if (callbacks.onTrackMetadata) {
        sxm_trackMetadata metadata = toTrackMetadata(track, arena);
        callbacks.onTrackMetadata(callbacks.eventContext, &metadata);
    }
    // Live channels have no timebar of their own: the integrator shows one for on-demand and
    // Xtra content only.
    if (callbacks.onTimebar && m_setup.mode != SXM_MODE_LIVE) {
        sxm_timebarData data = toTimebar(timebar, m_setup.irNavClass, arena);
        callbacks.onTimebar(callbacks.eventContext, &data);
    }
    reportMetadataState(2, positionMs);
}

void Stream::reportEnd(const std::string& message)
{
    if (!claimEndReport())
        return;
    SXMLIB_INFO("playback ended: " << message);
    m_notifier.error(kCaller, {SXM_ERROR_PLAYBACK_ENDED, 0, true, message});
}

void Stream::reportFailure(int code, const ServiceReply& reply)
{
    m_notifier.error(kCaller, {code, reply.status, true, reply.message});
}

void Stream::reportBusy(bool busy)
{
    if (busy == m_busy)
        return;
    m_busy = busy;
    const sxm_callbacks callbacks = m_notifier.callbacks();
    if (callbacks.onChannelBusy)
        callbacks.onChannelBusy(callbacks.eventContext, busy ? 1 : 0);
}

void Stream::reportMetadataState(int state, std::int64_t positionMs)
{
    if (!m_setup.metadataState)
        return;
    sxm_metadataState_t record{};
    record.state = state;
    record.timestamp = positionMs;
    m_setup.metadataState(m_setup.requestContext, &record);
}

} // namespace sxmlib
