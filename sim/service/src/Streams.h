// Streams: what a live channel, an episode or an Xtra channel plays, on one time axis per stream,
// and where next/previous lead from a position. Pure functions over the immutable catalog: safe
// from any thread.
#pragma once

#include "sxmservice/Catalog.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace sxm::service {

/// Live streams use epoch milliseconds as their axis; episodes and Xtra channels count from 0.
enum class StreamKind
{
    Live,
    Episode,
    Xtra,
};

std::optional<StreamKind> streamKindFromText(std::string_view text);
const char* toText(StreamKind kind);

struct Stream
{
    StreamKind kind = StreamKind::Live;
    std::string id;                   ///< channel id, or the episode's asset GUID
    const Channel* channel = nullptr; ///< live and Xtra; the episode's channel for episodes
    const Episode* episode = nullptr;
    std::string assetGuid; ///< the channel's, or the episode's
    std::string keyId;     ///< content keys are per channel: episodes use their channel's
};

/// The stream with that kind and id; nothing if the catalog has none.
std::optional<Stream> findStream(const Catalog& catalog, StreamKind kind, std::string_view id);

/// Segments that may be fetched now, both ends included. Live: the rewind window up to the live
/// segment floor(now / segment length). Finite streams: 0 to their last segment.
struct SegmentRange
{
    std::int64_t first = 0;
    std::int64_t last = 0;
    bool live = false;
};
SegmentRange segmentRange(const Stream& stream, std::int64_t nowMs, std::int64_t rewindMs);

/// The track (or spoken part) at a position, and its index within the stream.
struct PlacedTrack
{
    Track track;
    std::int64_t index = 0;
};
PlacedTrack trackAt(const Catalog& catalog, const Stream& stream, std::int64_t positionMs);

/// Length of a finite stream in ms; 0 for live streams.
std::int64_t streamLengthMs(const Stream& stream);

/// The 32-bit initialisation value of a segment, derived from the seed.
std::int32_t segmentIvValue(std::uint64_t seed, const Stream& stream, std::int64_t segment);

/// Where next or previous leads. A successful target costs one skip unless it is go-live.
enum class SkipDirection
{
    Next,
    Previous,
};

struct SkipTarget
{
    enum class Kind
    {
        GoLive,   ///< the next track would start after the live point
        Position, ///< a live instant or an episode offset
        XtraTrack,
    };
    Kind kind = Kind::Position;
    std::int64_t positionMs = 0;
    std::string assetGuid;
};

struct SkipRefusal
{
    int code = 0; ///< the client library's result code, e.g. -17 already at live
    std::string message;
};

/// Previous goes to the start of the current track when the position is at least this far into
/// it, and to the track before otherwise, as players do.
inline constexpr std::int64_t kRestartThresholdMs = 5000;

std::variant<SkipTarget, SkipRefusal> findSkipTarget(const Catalog& catalog, const Stream& stream,
                                                     std::int64_t positionMs,
                                                     SkipDirection direction, std::int64_t nowMs,
                                                     std::int64_t rewindMs);

/// The success text for a target: "goLive", "<startTime>,<assetGuid>" or "xtra;<assetGuid>".
std::string skipTargetText(const Stream& stream, const SkipTarget& target);

} // namespace sxm::service
