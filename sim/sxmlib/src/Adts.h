#pragma once
// Thread contract: pure functions, safe from any thread.
//
// Just enough of AAC's ADTS framing to start a stream inside a segment: the audio can only be
// cut at a frame boundary, or the decoder would lose sync.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace sxmlib {

struct AdtsCut
{
    std::size_t byteOffset = 0; ///< where the first frame at or after the asked-for time starts
    std::int64_t skippedMs = 0; ///< the audio time of the frames before it
};

/// The first frame boundary at or after `offsetMs` of audio. When the bytes are not a clean
/// ADTS stream, the cut is at 0 (start of the segment) rather than somewhere undecodable.
AdtsCut adtsCutAt(std::string_view audio, std::int64_t offsetMs);

} // namespace sxmlib
