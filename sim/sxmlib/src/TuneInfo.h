#pragma once
// Thread contract: a plain value, read-only once made.
//
// What the service answered to a tune: the stream, its key, its segments and where to start.

#include "JsonFields.h"

#include <cstdint>
#include <optional>
#include <string>

namespace sxmlib {

enum class StreamKind
{
    Live,    ///< epoch milliseconds as axis, endless
    Episode, ///< offset from the episode's start, finite
    Xtra,    ///< offset from the start of the channel's track list, finite
};

struct TuneInfo
{
    StreamKind kind = StreamKind::Live;
    std::string kindText; ///< "live", "episode", "xtra": part of the stream's paths
    std::string id;
    std::string channelId;
    std::string assetGuid;
    std::string wrappedKey;
    std::int64_t segmentDurationMs = 10000;
    std::int64_t firstSegment = 0;
    std::int64_t lastSegment = 0; ///< finite streams: the last one; live: the live one at tune
    std::string segmentPath;      ///< server path with {bitrate} and {segment}
    std::int64_t startPosition = 0;
    std::int64_t startSegment = 0;
    std::int64_t startOffsetMs = 0;

    bool finite() const { return kind != StreamKind::Live; }
    /// Nothing when the answer lacks what a stream needs.
    static std::optional<TuneInfo> fromJson(const Json& playback);
    /// The server path of one segment's audio.
    std::string segmentUrlPath(int bitrateIndex, std::int64_t segment) const;
    /// The stream's path below the API base: "/streams/<kind>/<id>".
    std::string streamPath() const;
};

} // namespace sxmlib
