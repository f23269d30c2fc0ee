// Playback: tuning a stream, its key, its description, segment audio, metadata and timebar at a
// position, the next/previous segment times with the hourly skip budget, and stopping.
#include "ContentJson.h"
#include "ErrorCodes.h"
#include "Routes.h"
#include "SegmentAudio.h"
#include "TimeText.h"

#include <algorithm>
#include <charconv>

namespace sxm::service {
namespace {

constexpr int kModuleRecents = 2;
constexpr int kMaxSegmentsPerListing = 360;

std::int64_t floorToSegment(std::int64_t ms)
{
    std::int64_t n = ms / Catalog::kSegmentMs;
    if (ms % Catalog::kSegmentMs != 0 && ms < 0) {
        --n;
    }
    return n;
}

std::optional<std::int64_t> parseWhole(std::string_view text)
{
    std::int64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

std::string text(const Json& body, const char* name)
{
    const auto found = body.find(name);
    return (found != body.end() && found->is_string()) ? found->get<std::string>() : std::string();
}

Json streamJson(const Call& call, const Stream& stream)
{
    const SegmentRange range = segmentRange(stream, call.nowMs, call.ctx.rewindMs());
    Json bitrates = Json::array();
    for (int bps : AudioLibrary::kBitrates) {
        bitrates.push_back(bps);
    }
    const std::string prefix =
        std::string("/api/v1/streams/") + toText(stream.kind) + "/" + stream.id + "/segments";
    Json json = {{"kind", toText(stream.kind)},
                 {"id", stream.id},
                 {"channelId", stream.channel->id},
                 {"assetGuid", stream.assetGuid},
                 {"title", stream.episode ? stream.episode->record.title : stream.channel->name},
                 {"keyId", stream.keyId},
                 {"wrappedKey", call.ctx.wrappedKeyHex(stream.keyId)},
                 {"keyWrapping", "AES-128-ECB"},
                 {"segmentDurationMs", Catalog::kSegmentMs},
                 {"bitrates", bitrates},
                 {"firstSegment", range.first},
                 {"lastSegment", range.last},
                 {"live", range.live},
                 {"segmentPath", prefix + "/{bitrate}/{segment}"}};
    if (range.live) {
        json["liveSegment"] = range.last;
        json["liveEdgeMs"] = (range.last + 1) * Catalog::kSegmentMs;
    } else {
        json["lengthMs"] = streamLengthMs(stream);
        Json tracks = Json::array();
        const auto& list =
            stream.kind == StreamKind::Episode ? stream.episode->parts : stream.channel->xtraTracks;
        for (const Track& track : list) {
            tracks.push_back({{"trackId", track.trackId},
                              {"startMs", track.startMs},
                              {"durationMs", track.durationMs},
                              {"artist", track.artist},
                              {"title", track.title}});
        }
        json["tracks"] = std::move(tracks);
    }
    return json;
}

/// The stream named by the {kind}/{id} of a path; answers 404 itself when there is none.
std::optional<Stream> streamOfPath(Call& call)
{
    const auto kind = streamKindFromText(call.req.matches[1].str());
    const std::string id = call.req.matches[2];
    std::optional<Stream> stream =
        kind ? findStream(call.ctx.m_catalog, *kind, id) : std::optional<Stream>();
    if (!stream) {
        call.fail(404, errors::kNotFound, "NOT_FOUND",
                  "Unknown stream " + call.req.matches[1].str() + "/" + id +
                      " (kinds: live, episode, xtra)");
    }
    return stream;
}

struct TuneTarget
{
    Stream stream;
    std::int64_t startMs = 0;
};

std::optional<Stream> resolveXtra(const Catalog& catalog, const std::string& id,
                                  std::int64_t& startMs)
{
    if (const auto track = catalog.findXtraTrack(id)) {
        startMs = track->channel->xtraTracks[static_cast<std::size_t>(track->track)].startMs;
        return findStream(catalog, StreamKind::Xtra, track->channel->id);
    }
    startMs = 0;
    return findStream(catalog, StreamKind::Xtra, id);
}

std::int64_t liveStart(Call& call, const Stream& stream, std::optional<std::int64_t> requested,
                       bool playLive)
{
    const SegmentRange range = segmentRange(stream, call.nowMs, call.ctx.rewindMs());
    const std::int64_t windowStart = range.first * Catalog::kSegmentMs;
    const std::int64_t liveEdge = range.last * Catalog::kSegmentMs;
    if (requested) {
        return std::clamp(*requested, windowStart, liveEdge);
    }
    if (!playLive && call.ctx.m_accounts.settings(call.user())["TuneStart"] == "on") {
        // Tune start: begin the song on air from its start, as long as it is still in the window.
        const Track onAir = trackAt(call.ctx.m_catalog, stream, call.nowMs).track;
        return std::max(onAir.startMs, windowStart);
    }
    return liveEdge;
}

std::optional<TuneTarget> resolveTune(Call& call, const Json& body)
{
    const auto mode = body.find("mode");
    if (mode == body.end() || !mode->is_number_integer() || mode->get<int>() < 0 ||
        mode->get<int>() > 2) {
        call.fail(400, errors::kBadRequest, "BAD_REQUEST",
                  "Tune needs \"mode\": 0 live channel, 1 episode, 2 Xtra channel");
        return std::nullopt;
    }
    const std::string channelId = text(body, "channelId");
    const std::string assetGuid = text(body, "assetGuid");
    const std::string accessControlId = text(body, "accessControlId");
    const auto playLiveIt = body.find("playLive");
    const bool playLive =
        playLiveIt != body.end() && playLiveIt->is_boolean() && playLiveIt->get<bool>();
    std::optional<std::int64_t> timestamp;
    if (const std::string stamp = text(body, "timestamp"); !stamp.empty()) {
        timestamp = parseWhole(stamp);
        if (!timestamp && mode->get<int>() == 0) {
            timestamp = parseUtc(stamp);
        }
        if (!timestamp) {
            call.fail(400, errors::kBadRequest, "BAD_REQUEST",
                      "\"timestamp\" must be a UTC time yyyy-MM-ddTHH:mm:ss.zzz or milliseconds, "
                      "not \"" +
                          stamp + "\"");
            return std::nullopt;
        }
    }
    const Catalog& catalog = call.ctx.m_catalog;
    TuneTarget target;
    std::optional<Stream> stream;
    switch (mode->get<int>()) {
    case 1:
        stream = findStream(catalog, StreamKind::Episode,
                            accessControlId.empty() ? assetGuid : accessControlId);
        if (stream) {
            target.startMs = std::clamp<std::int64_t>(
                timestamp.value_or(0), 0, std::max<std::int64_t>(0, streamLengthMs(*stream) - 1));
        }
        break;
    case 2:
        stream = resolveXtra(catalog, assetGuid.empty() ? channelId : assetGuid, target.startMs);
        break;
    default:
        stream = findStream(catalog, StreamKind::Live, channelId.empty() ? assetGuid : channelId);
        if (stream && stream->channel->records.front().geoRestrictions != 0) {
            call.fail(403, errors::kGeoRestricted, "GEO_RESTRICTED",
                      "This channel is not available in your location.");
            return std::nullopt;
        }
        if (stream) {
            target.startMs = liveStart(call, *stream, timestamp, playLive);
        }
        break;
    }
    if (!stream) {
        call.fail(404, errors::kNotFound, "NOT_FOUND", "Nothing to play for that request");
        return std::nullopt;
    }
    target.stream = *stream;
    return target;
}

void tune(Call& call)
{
    const auto body = call.jsonBody();
    if (!body) {
        return;
    }
    const auto target = resolveTune(call, *body);
    if (!target) {
        return;
    }
    const Stream& stream = target->stream;
    call.session->setPlayback(Playback{stream.kind, stream.id, false});
    call.ctx.m_accounts.addRecent(call.user(), {stream.kind, stream.id});
    notifyOtherSessions(call, kModuleRecents);
    Json playback = streamJson(call, stream);
    const std::int64_t startSegment = floorToSegment(target->startMs);
    const std::int64_t startOffsetMs = target->startMs - startSegment * Catalog::kSegmentMs;
    playback["startPosition"] = target->startMs;
    playback["startSegment"] = startSegment;
    playback["startOffsetMs"] = startOffsetMs;
    call.ctx.m_tunes.tuned(call.session->token(), stream, startSegment, startOffsetMs);
    // The request log shows where each tune started, in the answer's own order of fields.
    const nlohmann::ordered_json start = {{"kind", toText(stream.kind)},
                                          {"id", stream.id},
                                          {"startSegment", startSegment},
                                          {"startOffsetMs", startOffsetMs}};
    call.logNote = " => " + start.dump();
    call.reply({{"playback", std::move(playback)}});
}

void stop(Call& call)
{
    const bool wasPlaying = call.session->playback().has_value();
    call.session->setPlayback(std::nullopt);
    call.reply({{"stopped", wasPlaying}});
}

void answerSegmentTime(Call& call, int result, const std::string& textForClient,
                       const std::string& message)
{
    call.reply({{"result", result}, {"text", textForClient}, {"message", message}});
}

void refuseSkip(Call& call, int code, const std::string& message)
{
    answerSegmentTime(call, code, "error/" + message, message);
}

void segmentTime(Call& call)
{
    const auto body = call.jsonBody();
    if (!body) {
        return;
    }
    const std::string directionText = text(*body, "direction");
    const auto position = body->find("position");
    if ((directionText != "next" && directionText != "previous") || position == body->end() ||
        !position->is_number_integer()) {
        call.fail(400, errors::kBadRequest, "BAD_REQUEST",
                  "Segment time needs \"direction\" (next or previous) and a whole \"position\"");
        return;
    }
    const auto playback = call.session->playback();
    const auto stream = playback && !playback->ended
                            ? findStream(call.ctx.m_catalog, playback->kind, playback->id)
                            : std::nullopt;
    if (!stream) {
        refuseSkip(call, -3, "No active playback");
        return;
    }
    if (call.ctx.m_faults.snapshot().skipsNotAllowed || call.ctx.options().skipsPerHour == 0) {
        refuseSkip(call, -4, "Skips are not allowed on this channel");
        return;
    }
    const SkipDirection direction =
        directionText == "next" ? SkipDirection::Next : SkipDirection::Previous;
    const auto found = findSkipTarget(call.ctx.m_catalog, *stream, position->get<std::int64_t>(),
                                      direction, call.nowMs, call.ctx.rewindMs());
    if (const auto* refusal = std::get_if<SkipRefusal>(&found)) {
        refuseSkip(call, refusal->code, refusal->message);
        return;
    }
    const SkipTarget& target = std::get<SkipTarget>(found);
    const std::int64_t now = call.nowMs;
    std::int64_t until = 0;
    const int left = call.session->withSkips([&](SkipBudget& skips) {
        if (target.kind == SkipTarget::Kind::GoLive) {
            return skips.remaining(now); // going live costs no skip
        }
        if (!skips.tryConsume(now)) {
            until = skips.nextAvailableAtMs(now);
            return -1;
        }
        return skips.remaining(now);
    });
    if (left < 0) {
        refuseSkip(call, -118,
                   "Skip limit reached, more skips available until: " + formatUtcMs(until));
        return;
    }
    answerSegmentTime(call, left, skipTargetText(*stream, target), "");
}

void key(Call& call)
{
    const std::string keyId = call.req.matches[1];
    const std::string prefix = "key-";
    if (keyId.rfind(prefix, 0) != 0 ||
        !call.ctx.m_catalog.findChannel(keyId.substr(prefix.size()))) {
        call.fail(404, errors::kNotFound, "NOT_FOUND", "Unknown key \"" + keyId + "\"");
        return;
    }
    call.reply({{"keyId", keyId},
                {"wrappedKey", call.ctx.wrappedKeyHex(keyId)},
                {"keyWrapping", "AES-128-ECB"}});
}

void describeStream(Call& call)
{
    if (const auto stream = streamOfPath(call)) {
        call.reply({{"stream", streamJson(call, *stream)}});
    }
}

void listSegments(Call& call)
{
    const auto stream = streamOfPath(call);
    if (!stream) {
        return;
    }
    const SegmentRange range = segmentRange(*stream, call.nowMs, call.ctx.rewindMs());
    const auto from = call.req.has_param("from") ? parseWhole(call.req.get_param_value("from"))
                                                 : std::optional<std::int64_t>(range.first);
    const auto count = call.req.has_param("count") ? parseWhole(call.req.get_param_value("count"))
                                                   : std::optional<std::int64_t>(10);
    if (!from || !count || *count < 1 || *count > kMaxSegmentsPerListing) {
        call.fail(400, errors::kBadRequest, "BAD_REQUEST",
                  "from must be a segment number and count 1.." +
                      std::to_string(kMaxSegmentsPerListing));
        return;
    }
    Json segments = Json::array();
    for (std::int64_t n = *from; n < *from + *count; ++n) {
        const SegmentAudio audio = lookupSegment(call.ctx, *stream, 0, n, call.nowMs);
        const Track track = trackAt(call.ctx.m_catalog, *stream, n * Catalog::kSegmentMs).track;
        segments.push_back({{"number", n},
                            {"iv", segmentIvValue(call.ctx.options().seed, *stream, n)},
                            {"startMs", n * Catalog::kSegmentMs},
                            {"durationMs", Catalog::kSegmentMs},
                            {"trackId", track.trackId},
                            {"available", audio.problem == SegmentProblem::None}});
    }
    call.reply({{"segments", std::move(segments)}});
}

void metadata(Call& call)
{
    const auto stream = streamOfPath(call);
    if (!stream) {
        return;
    }
    const auto position = parseWhole(call.req.get_param_value("position"));
    if (!position) {
        call.fail(400, errors::kBadRequest, "BAD_REQUEST",
                  "Metadata needs a position parameter in milliseconds on the stream's axis");
        return;
    }
    const PlacedTrack placed = trackAt(call.ctx.m_catalog, *stream, *position);
    call.reply({{"position", *position},
                {"track", trackToJson(placed.track, call.baseUrl)},
                {"timebar", timebarToJson(call.ctx.m_catalog, *stream, *position, call.nowMs,
                                          call.ctx.rewindMs())}});
}

void audio(Call& call)
{
    const auto stream = streamOfPath(call);
    if (!stream) {
        return;
    }
    const auto playback = call.session->playback();
    if (playback && playback->ended) {
        call.fail(409, errors::kPlaybackEnded, "PLAYBACK_ENDED",
                  "This stream has ended. Please select a channel to continue listening.");
        return;
    }
    const int bitrate = std::stoi(call.req.matches[3].str());
    const auto segment = parseWhole(call.req.matches[4].str());
    if (!segment) {
        call.fail(400, errors::kBadRequest, "BAD_REQUEST", "Bad segment number");
        return;
    }
    const SegmentAudio found = lookupSegment(call.ctx, *stream, bitrate, *segment, call.nowMs);
    switch (found.problem) {
    case SegmentProblem::None:
        break;
    case SegmentProblem::BadBitrate:
        call.fail(400, errors::kBadRequest, "BAD_REQUEST", describe(found.problem, *segment));
        return;
    case SegmentProblem::NotYetAvailable:
    case SegmentProblem::PastEnd:
        call.fail(404, errors::kSegmentNotAvailable, "SEGMENT_NOT_AVAILABLE",
                  describe(found.problem, *segment));
        return;
    case SegmentProblem::OutsideWindow:
        call.fail(410, errors::kSegmentNotAvailable, "SEGMENT_NOT_AVAILABLE",
                  describe(found.problem, *segment));
        return;
    }
    call.ctx.m_tunes.served(call.session->token(), *stream, bitrate, *segment);
    call.res.set_header("X-SXM-IV", std::to_string(found.ivValue));
    call.res.set_header("X-SXM-Key-Id", stream->keyId);
    call.res.set_header("X-SXM-Segment", std::to_string(*segment));
    call.res.set_header("X-SXM-Track-Id", found.trackId);
    call.res.set_content(encryptSegment(call.ctx, *stream, found), "application/octet-stream");
}

} // namespace

void registerPlaybackRoutes(httplib::Server& server, ServiceContext& ctx)
{
    const std::string stream = R"(/api/v1/streams/([a-z]+)/([^/]+))";
    addRoute(server, ctx, Method::Post, "/api/v1/playback/tune", "tune", Access::SignedIn, tune);
    addRoute(server, ctx, Method::Post, "/api/v1/playback/stop", "stop", Access::SignedIn, stop);
    addRoute(server, ctx, Method::Post, "/api/v1/playback/segment-time", "segment-time",
             Access::SignedIn, segmentTime);
    addRoute(server, ctx, Method::Get, R"(/api/v1/keys/([^/]+))", "key", Access::SignedIn, key);
    addRoute(server, ctx, Method::Get, stream, "stream", Access::SignedIn, describeStream);
    addRoute(server, ctx, Method::Get, stream + "/segments", "stream", Access::SignedIn,
             listSegments);
    addRoute(server, ctx, Method::Get, stream + "/metadata", "metadata", Access::SignedIn,
             metadata);
    addRoute(server, ctx, Method::Get, stream + R"(/segments/(\d{1,3})/(-?\d{1,15}))", "audio",
             Access::SignedIn, audio);
}

} // namespace sxm::service
