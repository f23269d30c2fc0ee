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
    : session_(session)
    , notifier_(notifier)
    , setup_(std::move(setup))
    , deliveredMs_(setup_.tune.startPosition)
    , outputLatencyMs_(setup_.outputLatencyMs)
    , thread_([this] { run(); })
{}

Stream::~Stream()
{
    stop();
}

void Stream::stop()
{
    flow_.requestStop();
    if (thread_.joinable())
        thread_.join();
}

std::int64_t Stream::listenerPositionMs() const
{
    const std::int64_t reported = reportedDelayMs_.load();
    const std::int64_t delay = reported >= 0 ? reported : outputLatencyMs_.load();
    return std::max(setup_.tune.startPosition, deliveredMs_.load() - delay);
}

void Stream::run()
{
    pthread_setname_np(pthread_self(), "sxmlib-stream");
    try {
        play();
    } catch (const std::exception& error) {
        // Nothing may escape a thread; the integrator learns that the stream is gone.
        SXMLIB_ERROR("stream thread failed: " << error.what());
        notifier_.error(kCaller, {errorCode::kConnection, 0, true,
                                  "Playback failed: " + std::string(error.what())});
    }
    SXMLIB_DEBUG("stream thread ends");
}

void Stream::play()
{
    const TuneInfo& tune = setup_.tune;
    SXMLIB_INFO("stream " << tune.kindText << "/" << tune.id << " from segment "
                          << tune.startSegment << " (+" << tune.startOffsetMs << " ms)");
    reportBusy(true);
    const sxm_callbacks callbacks = notifier_.callbacks();
    if (callbacks.onChannelBitrateChanged)
        callbacks.onChannelBitrateChanged(callbacks.eventContext, setup_.bitrateBps);
    reportMetadataState(1, tune.startPosition);
    reportTrackAt(tune.startPosition);

    std::int64_t segment = tune.startSegment;
    std::int64_t offsetMs = tune.startOffsetMs;
    int failures = 0;
    while (flow_.waitWhilePaused()) {
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
            if (!flow_.sleepFor(kLiveWait))
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
            if (!flow_.sleepFor(kLiveWait * failures))
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
        return flow_.stopping();
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
            decryptor.emplace(setup_.key, iv);
        }
        if (!decryptor->feed(chunk, plaintext)) {
            decryptionFailed = true;
            return false;
        }
        return true;
    };
    const HttpResponse response = session_.download(
        kCaller, setup_.tune.segmentUrlPath(setup_.bitrateIndex, segment), request, error);
    if (decryptor && decryptor->pending() != 0)
        SXMLIB_WARN("segment " << segment << " ends inside a cipher block; " << decryptor->pending()
                               << " bytes dropped");
    decryptor.reset();
    if (flow_.stopping())
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
        return setup_.tune.finite() ? Fetch::PastEnd : Fetch::NotYetLive;
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
        if (!flow_.waitWhilePaused())
            return false;
        const std::size_t block = std::min(kBlockBytes, size - offset);
        flow_.expectMore();
        unsigned delay = kNoDelay;
        const int result = setup_.playbackData(
            setup_.requestContext, reinterpret_cast<unsigned char*>(&audio[offset]),
            static_cast<int>(block), static_cast<unsigned>(setup_.bitrateBps), &delay);
        const std::size_t taken =
            static_cast<std::size_t>(std::clamp(result, 0, static_cast<int>(block)));
        if (delay != kNoDelay)
            reportedDelayMs_.store(delay);
        offset += taken;
        deliveredMs_.store(startMs + (endMs - startMs) * static_cast<std::int64_t>(offset) /
                                         static_cast<std::int64_t>(size));
        if (taken > 0)
            reportBusy(false);
        updateTrack();
        if (taken < block && !flow_.waitForMore())
            return false;
    }
    return !flow_.stopping();
}

void Stream::waitForListenerToReachEnd()
{
    // The last audio is still queued ahead of the listener; ending the playback now would cut
    // it off. The integrator's last reported delay says for how long.
    const std::int64_t reported = reportedDelayMs_.load();
    const std::int64_t delay = reported >= 0 ? reported : outputLatencyMs_.load();
    if (delay > 0 && flow_.waitWhilePaused())
        flow_.sleepFor(std::chrono::milliseconds(delay));
}

void Stream::updateTrack()
{
    const std::int64_t position = listenerPositionMs();
    if (position >= nextTrackCheckMs_)
        reportTrackAt(position);
}

void Stream::reportTrackAt(std::int64_t positionMs)
{
    const ServiceReply reply = session_.get(
        kCaller, setup_.tune.streamPath() + "/metadata?position=" + std::to_string(positionMs));
    if (!reply.ok()) {
        SXMLIB_WARN("track metadata not fetched: " << reply.message);
        nextTrackCheckMs_ = positionMs + 5000;
        return;
    }
    const Json& track = jsonObject(reply.json, "track");
    const Json& timebar = jsonObject(reply.json, "timebar");
    // The timebar's track start is in whole seconds: the end it gives may fall a little before
    // the real one, so a check never comes sooner than a second later.
    const std::int64_t trackEndMs =
        jsonInt(timebar, "startTimestamp") * 1000 + jsonInt(timebar, "duration");
    nextTrackCheckMs_ = std::max(trackEndMs, positionMs + 1000);
    const std::string trackId = jsonText(track, "trackId");
    if (trackId == trackId_)
        return;
    trackId_ = trackId;
    SXMLIB_DEBUG("track " << jsonText(track, "trackDescription"));
    const sxm_callbacks callbacks = notifier_.callbacks();
    RecordArena arena;
    if (callbacks.onTrackMetadata) {
        sxm_trackMetadata metadata = toTrackMetadata(track, arena);
        callbacks.onTrackMetadata(callbacks.eventContext, &metadata);
    }
    // Live channels have no timebar of their own: the integrator shows one for on-demand and
    // Xtra content only.
    if (callbacks.onTimebar && setup_.mode != SXM_MODE_LIVE) {
        sxm_timebarData data = toTimebar(timebar, setup_.irNavClass, arena);
        callbacks.onTimebar(callbacks.eventContext, &data);
    }
    reportMetadataState(2, positionMs);
}

void Stream::reportEnd(const std::string& message)
{
    if (!claimEndReport())
        return;
    SXMLIB_INFO("playback ended: " << message);
    notifier_.error(kCaller, {SXM_ERROR_PLAYBACK_ENDED, 0, true, message});
}

void Stream::reportFailure(int code, const ServiceReply& reply)
{
    notifier_.error(kCaller, {code, reply.status, true, reply.message});
}

void Stream::reportBusy(bool busy)
{
    if (busy == busy_)
        return;
    busy_ = busy;
    const sxm_callbacks callbacks = notifier_.callbacks();
    if (callbacks.onChannelBusy)
        callbacks.onChannelBusy(callbacks.eventContext, busy ? 1 : 0);
}

void Stream::reportMetadataState(int state, std::int64_t positionMs)
{
    if (!setup_.metadataState)
        return;
    sxm_metadataState_t record{};
    record.state = state;
    record.timestamp = positionMs;
    setup_.metadataState(setup_.requestContext, &record);
}

} // namespace sxmlib
