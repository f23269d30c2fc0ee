#include "Streams.h"

#include "Determinism.h"
#include "TimeText.h"

#include <algorithm>

namespace sxm::service {
namespace {

constexpr std::int64_t kSegmentMs = Catalog::kSegmentMs;

std::int64_t floorDiv(std::int64_t value, std::int64_t divisor)
{
    std::int64_t quotient = value / divisor;
    if (value % divisor != 0 && (value < 0) != (divisor < 0)) {
        --quotient;
    }
    return quotient;
}

const std::vector<Track>& finiteTracks(const Stream& stream)
{
    return stream.kind == StreamKind::Episode ? stream.episode->parts : stream.channel->xtraTracks;
}

std::int64_t finiteIndexAt(const std::vector<Track>& tracks, std::int64_t positionMs)
{
    const auto after = std::upper_bound(
        tracks.begin(), tracks.end(), positionMs,
        [](std::int64_t position, const Track& track) { return position < track.startMs; });
    const std::int64_t index = (after - tracks.begin()) - 1;
    return std::clamp<std::int64_t>(index, 0, static_cast<std::int64_t>(tracks.size()) - 1);
}

std::variant<SkipTarget, SkipRefusal> liveTarget(const Catalog& catalog, const Stream& stream,
                                                 std::int64_t positionMs, SkipDirection direction,
                                                 std::int64_t nowMs, std::int64_t rewindMs)
{
    const SegmentRange range = segmentRange(stream, nowMs, rewindMs);
    const std::int64_t liveStart = range.last * kSegmentMs;
    const std::int64_t windowStart = range.first * kSegmentMs;
    const Channel& channel = *stream.channel;
    const std::int64_t current = catalog.liveTrackIndexAt(channel, std::min(positionMs, liveStart));
    if (direction == SkipDirection::Next) {
        if (positionMs >= liveStart) {
            return SkipRefusal{-17, "Already at live"};
        }
        const Track next = catalog.liveTrack(channel, current + 1);
        if (next.startMs >= liveStart) {
            return SkipTarget{SkipTarget::Kind::GoLive, liveStart, {}};
        }
        return SkipTarget{SkipTarget::Kind::Position, std::max(next.startMs, windowStart),
                          stream.assetGuid};
    }
    const Track now = catalog.liveTrack(channel, current);
    const Track target = positionMs - now.startMs >= kRestartThresholdMs
                             ? now
                             : catalog.liveTrack(channel, current - 1);
    if (target.startMs < windowStart) {
        return SkipRefusal{-119, "No earlier track in the rewind window"};
    }
    return SkipTarget{SkipTarget::Kind::Position, target.startMs, stream.assetGuid};
}

std::variant<SkipTarget, SkipRefusal> finiteTarget(const Stream& stream, std::int64_t positionMs,
                                                   SkipDirection direction)
{
    const std::vector<Track>& tracks = finiteTracks(stream);
    if (tracks.empty()) {
        return SkipRefusal{-119, "Nothing to skip to"};
    }
    const std::int64_t current = finiteIndexAt(tracks, positionMs);
    std::int64_t target = current;
    if (direction == SkipDirection::Next) {
        target = current + 1;
        if (target >= static_cast<std::int64_t>(tracks.size())) {
            return SkipRefusal{-119, stream.kind == StreamKind::Xtra
                                         ? "No more tracks on this channel"
                                         : "No next segment in this episode"};
        }
    } else if (positionMs - tracks[static_cast<std::size_t>(current)].startMs <
               kRestartThresholdMs) {
        target = current - 1;
        if (target < 0) {
            return SkipRefusal{-119, stream.kind == StreamKind::Xtra
                                         ? "No earlier track on this channel"
                                         : "No previous segment in this episode"};
        }
    }
    const Track& track = tracks[static_cast<std::size_t>(target)];
    if (stream.kind == StreamKind::Xtra) {
        return SkipTarget{SkipTarget::Kind::XtraTrack, track.startMs, track.trackId};
    }
    return SkipTarget{SkipTarget::Kind::Position, track.startMs, stream.assetGuid};
}

} // namespace

std::optional<StreamKind> streamKindFromText(std::string_view text)
{
    if (text == "live") {
        return StreamKind::Live;
    }
    if (text == "episode") {
        return StreamKind::Episode;
    }
    if (text == "xtra") {
        return StreamKind::Xtra;
    }
    return std::nullopt;
}

const char* toText(StreamKind kind)
{
    switch (kind) {
    case StreamKind::Live:
        return "live";
    case StreamKind::Episode:
        return "episode";
    case StreamKind::Xtra:
        return "xtra";
    }
    return "live";
}

std::optional<Stream> findStream(const Catalog& catalog, StreamKind kind, std::string_view id)
{
    Stream stream;
    stream.kind = kind;
    if (kind == StreamKind::Episode) {
        const Episode* episode = catalog.findEpisode(id);
        if (!episode) {
            return std::nullopt;
        }
        stream.episode = episode;
        stream.channel = &catalog.channels()[static_cast<std::size_t>(
            catalog.shows()[static_cast<std::size_t>(episode->show)].channel)];
        stream.id = episode->record.assetGuid;
        stream.assetGuid = episode->record.assetGuid;
    } else {
        const Channel* channel = catalog.findChannel(id);
        if (!channel || channel->xtra != (kind == StreamKind::Xtra)) {
            return std::nullopt;
        }
        stream.channel = channel;
        stream.id = channel->id;
        stream.assetGuid = channel->assetGuid;
    }
    stream.keyId = "key-" + stream.channel->id;
    return stream;
}

SegmentRange segmentRange(const Stream& stream, std::int64_t nowMs, std::int64_t rewindMs)
{
    SegmentRange range;
    if (stream.kind == StreamKind::Live) {
        range.live = true;
        range.last = floorDiv(nowMs, kSegmentMs);
        range.first = range.last - rewindMs / kSegmentMs + 1;
        return range;
    }
    const std::int64_t length = streamLengthMs(stream);
    range.first = 0;
    range.last = std::max<std::int64_t>(0, (length + kSegmentMs - 1) / kSegmentMs - 1);
    return range;
}

std::int64_t streamLengthMs(const Stream& stream)
{
    if (stream.kind == StreamKind::Live) {
        return 0;
    }
    const std::vector<Track>& tracks = finiteTracks(stream);
    return tracks.empty() ? 0 : tracks.back().startMs + tracks.back().durationMs;
}

PlacedTrack trackAt(const Catalog& catalog, const Stream& stream, std::int64_t positionMs)
{
    PlacedTrack placed;
    if (stream.kind == StreamKind::Live) {
        placed.index = catalog.liveTrackIndexAt(*stream.channel, positionMs);
        placed.track = catalog.liveTrack(*stream.channel, placed.index);
        return placed;
    }
    const std::vector<Track>& tracks = finiteTracks(stream);
    if (!tracks.empty()) {
        placed.index = finiteIndexAt(tracks, positionMs);
        placed.track = tracks[static_cast<std::size_t>(placed.index)];
    }
    return placed;
}

std::int32_t segmentIvValue(std::uint64_t seed, const Stream& stream, std::int64_t segment)
{
    const std::uint64_t hash =
        hashCombine(hashText(std::string(toText(stream.kind)) + "/" + stream.id, seed),
                    static_cast<std::uint64_t>(segment));
    // The low 32 bits, read as a signed number: about half the values are negative.
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(hash & 0xFFFFFFFFULL));
}

std::variant<SkipTarget, SkipRefusal> findSkipTarget(const Catalog& catalog, const Stream& stream,
                                                     std::int64_t positionMs,
                                                     SkipDirection direction, std::int64_t nowMs,
                                                     std::int64_t rewindMs)
{
    if (stream.kind == StreamKind::Live) {
        return liveTarget(catalog, stream, positionMs, direction, nowMs, rewindMs);
    }
    return finiteTarget(stream, positionMs, direction);
}

std::string skipTargetText(const Stream& stream, const SkipTarget& target)
{
    switch (target.kind) {
    case SkipTarget::Kind::GoLive:
        return "goLive";
    case SkipTarget::Kind::XtraTrack:
        return "xtra;" + target.assetGuid;
    case SkipTarget::Kind::Position:
        break;
    }
    const std::string start = stream.kind == StreamKind::Live ? formatUtcMs(target.positionMs)
                                                              : std::to_string(target.positionMs);
    return start + "," + target.assetGuid;
}

} // namespace sxm::service
