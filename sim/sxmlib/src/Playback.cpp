#include "Playback.h"

#include "DeviceHooks.h"
#include "Log.h"

#include <algorithm>
#include <cstring>

namespace sxmlib {
namespace {

constexpr Caller kCaller = Caller::Operation;
const char* const kNothingPlaying = "Nothing is playing.";

std::string textOf(const char* text)
{
    return text ? std::string(text) : std::string();
}

void writeSegmentText(const std::string& text, char* buffer, int size)
{
    const std::size_t room = static_cast<std::size_t>(size) - 1;
    const std::size_t length = std::min(text.size(), room);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
}

} // namespace

Playback::Playback(ServiceSession& session, Notifier& notifier, LibraryStatus& status)
    : m_session(session)
    , m_notifier(notifier)
    , m_status(status)
{}

Playback::~Playback()
{
    stopStream();
}

std::shared_ptr<Stream> Playback::current() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_stream;
}

std::shared_ptr<Stream> Playback::stopStream()
{
    std::shared_ptr<Stream> stream;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        stream.swap(m_stream);
    }
    // Joined outside the lock: sxm_sendAudioData from the integrator must not wait for it.
    if (stream)
        stream->stop();
    return stream;
}

int Playback::selectStreamIndex(int index)
{
    if (index < SXM_STREAM_32_KBPS || index > SXM_STREAM_256_KBPS)
        return SXM_RESULT_FAILED;
    m_streamIndex.store(index);
    return SXM_RESULT_OK;
}

int Playback::play(const sxm_playRequest* request, std::string& error)
{
    if (!request || !request->playbackData) {
        error = "The play request needs a playback-data callback.";
        return SXM_RESULT_FAILED;
    }
    if (request->mode < SXM_MODE_LIVE || request->mode > SXM_MODE_XTRA) {
        error = "The play request's mode " + std::to_string(request->mode) + " is unknown.";
        return SXM_RESULT_FAILED;
    }
    Request copy;
    copy.context = request->context;
    copy.channelId = textOf(request->channelId);
    copy.accessControlId = textOf(request->accessControlId);
    copy.timestamp = textOf(request->timestamp);
    copy.assetGuid = textOf(request->assetGuid);
    copy.mode = request->mode;
    copy.playLive = request->playLive != 0;
    copy.playbackData = request->playbackData;
    copy.metadataState = request->metadataState;
    return start(copy, error);
}

int Playback::start(const Request& request, std::string& error)
{
    if (!m_status.signedIn()) {
        error = m_status.notSignedInText();
        return SXM_RESULT_FAILED;
    }
    // A stream already playing stops first: one stream decrypts at a time.
    stopStream();
    const auto fixedKey = readFixedKey();
    if (!fixedKey) {
        error = "The device's key is missing or malformed (it must be 32 hexadecimal digits).";
        return SXM_RESULT_FAILED;
    }
    const Json body = {{"mode", request.mode},
                       {"channelId", request.channelId},
                       {"assetGuid", request.assetGuid},
                       {"accessControlId", request.accessControlId},
                       {"timestamp", request.playLive ? std::string() : request.timestamp},
                       {"playLive", request.playLive}};
    const ServiceReply reply = m_session.post(kCaller, "/playback/tune", body);
    if (!reply.ok()) {
        error = reply.message;
        return SXM_RESULT_FAILED;
    }
    const auto tune = TuneInfo::fromJson(jsonObject(reply.json, "playback"));
    if (!tune) {
        error = "The SiriusXM service sent an answer that could not be read.";
        return SXM_RESULT_FAILED;
    }
    const auto key = unwrapKey(*fixedKey, tune->wrappedKey);
    if (!key) {
        error = "The stream's key could not be unwrapped.";
        return SXM_RESULT_FAILED;
    }
    const ServiceConfig config = m_session.config();
    StreamSetup setup;
    setup.tune = *tune;
    setup.key = *key;
    setup.bitrateIndex = m_streamIndex.load();
    setup.bitrateBps = config.bitrates.at(static_cast<std::size_t>(setup.bitrateIndex));
    setup.mode = request.mode;
    setup.irNavClass = config.skipsPerHour > 0 ? SXM_IRNAV_RESTRICTED : SXM_IRNAV_DISALLOWED;
    setup.outputLatencyMs = m_outputLatencyMs.load();
    setup.requestContext = request.context;
    setup.playbackData = request.playbackData;
    setup.metadataState = request.metadataState;
    auto stream = std::make_shared<Stream>(m_session, m_notifier, std::move(setup));
    std::lock_guard<std::mutex> lock(m_mutex);
    m_stream = std::move(stream);
    m_request = request;
    return SXM_RESULT_OK;
}

int Playback::stop(std::string& error)
{
    if (!stopStream()) {
        error = kNothingPlaying;
        return SXM_RESULT_FAILED;
    }
    const ServiceReply reply = m_session.post(kCaller, "/playback/stop", Json::object());
    if (!reply.ok())
        SXMLIB_WARN("the service was not told of the stop: " << reply.message);
    return SXM_RESULT_OK;
}

bool Playback::pausePointLost(const Stream& stream)
{
    if (stream.tune().finite())
        return false;
    // The service's rewind window moves on with its own clock: ask where it starts now.
    const ServiceReply reply = m_session.get(kCaller, stream.tune().streamPath());
    if (!reply.ok()) {
        SXMLIB_WARN("rewind window not checked: " << reply.message);
        return false;
    }
    const Json& description = jsonObject(reply.json, "stream");
    const std::int64_t windowStart =
        jsonInt(description, "firstSegment") * stream.tune().segmentDurationMs;
    return stream.listenerPositionMs() < windowStart;
}

int Playback::pause(bool pause, std::string& error)
{
    const std::shared_ptr<Stream> stream = current();
    if (!stream) {
        error = kNothingPlaying;
        return SXM_RESULT_ERROR;
    }
    if (!pause && stream->paused() && pausePointLost(*stream)) {
        error = "The pause point has left the rewind window.";
        return SXM_RESULT_PAUSE_POINT_LOST;
    }
    stream->setPaused(pause);
    SXMLIB_INFO((pause ? "paused" : "resumed"));
    return SXM_RESULT_OK;
}

int Playback::outputLatency(int ms, std::string& error)
{
    if (ms < 0) {
        error = "A latency cannot be negative.";
        return SXM_RESULT_ERROR;
    }
    m_outputLatencyMs.store(ms);
    const std::shared_ptr<Stream> stream = current();
    if (!stream) {
        error = kNothingPlaying;
        return SXM_RESULT_ERROR;
    }
    stream->setOutputLatency(ms);
    return SXM_RESULT_OK;
}

int Playback::streamBitrate() const
{
    const std::shared_ptr<Stream> stream = current();
    return stream ? stream->bitrate() : 0;
}

int Playback::segmentTime(bool next, char* buffer, int size, std::string& error)
{
    if (!buffer || size < 1) {
        error = "The segment time needs a buffer.";
        return SXM_RESULT_ERROR;
    }
    buffer[0] = '\0';
    const std::shared_ptr<Stream> stream = current();
    if (!stream) {
        error = kNothingPlaying;
        return SXM_RESULT_INVALID_STATE;
    }
    const Json body = {{"direction", next ? "next" : "previous"},
                       {"position", stream->listenerPositionMs()}};
    const ServiceReply reply = m_session.post(kCaller, "/playback/segment-time", body);
    if (!reply.ok()) {
        error = reply.message;
        return SXM_RESULT_ERROR;
    }
    const int result = static_cast<int>(jsonInt(reply.json, "result", SXM_RESULT_ERROR));
    writeSegmentText(jsonText(reply.json, "text"), buffer, size);
    if (result < 0)
        error = jsonText(reply.json, "message");
    SXMLIB_DEBUG((next ? "next" : "previous") << " segment: " << result << " " << buffer);
    return result;
}

void Playback::goLive(std::string& error)
{
    Request request;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_stream || m_stream->tune().kind != StreamKind::Live) {
            error = "Going live needs a live channel playing.";
            SXMLIB_WARN(error);
            return;
        }
        request = m_request;
    }
    stopStream();
    const sxm_callbacks callbacks = m_notifier.callbacks();
    if (callbacks.onFlush)
        callbacks.onFlush(callbacks.context);
    request.playLive = true;
    request.timestamp.clear();
    if (start(request, error) != SXM_RESULT_OK)
        m_notifier.error(kCaller, {errorCode::kServiceRefused, 0, true, error});
}

void Playback::playTimeChanged(int playTime)
{
    // Logged only: the position the library works with is what it handed over less the delay
    // the integrator reports with each block, which needs no agreement on this value's unit.
    SXMLIB_TRACE("play time " << playTime);
}

int Playback::sendAudioData(std::string& error)
{
    const std::shared_ptr<Stream> stream = current();
    if (!stream) {
        error = kNothingPlaying;
        return SXM_RESULT_FAILED;
    }
    stream->moreRequested();
    return SXM_RESULT_OK;
}

void Playback::endedByService(const std::string& message)
{
    const std::shared_ptr<Stream> stream = current();
    if (!stream || !stream->claimEndReport())
        return;
    SXMLIB_INFO("the service ended the playback: " << message);
    m_notifier.error(Caller::Event, {SXM_ERROR_PLAYBACK_ENDED, 0, true, message});
}

} // namespace sxmlib
