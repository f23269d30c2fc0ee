// The audio of one segment of a stream: which clip plays, its initialisation value, and the
// encrypted bytes. Pure functions over the context's immutable parts: safe from any thread.
#pragma once

#include "ServiceContext.h"
#include "Streams.h"

#include <cstdint>
#include <string>

namespace sxm::service {

enum class SegmentProblem
{
    None,
    BadBitrate,      ///< not 0..3
    NotYetAvailable, ///< after the live segment
    OutsideWindow,   ///< before the rewind window, or before the start of a finite stream
    PastEnd,         ///< after the last segment of a finite stream
};

struct SegmentAudio
{
    SegmentProblem problem = SegmentProblem::None;
    const std::string* plaintext = nullptr; ///< a clean ADTS stream, a multiple of 16 bytes
    std::int32_t ivValue = 0;
    std::string trackId;
};

/// The plaintext of a segment at a valid bitrate index, wherever the segment lies: what was served
/// once stays what it was after the rewind window has moved on.
const std::string& segmentPlaintext(const ServiceContext& ctx, const Stream& stream,
                                    int bitrateIndex, std::int64_t segment);

SegmentAudio lookupSegment(const ServiceContext& ctx, const Stream& stream, int bitrateIndex,
                           std::int64_t segment, std::int64_t nowMs);

/// The segment's plaintext encrypted with AES-128-CBC under the stream's content key and the
/// vector built from its initialisation value.
std::string encryptSegment(const ServiceContext& ctx, const Stream& stream,
                           const SegmentAudio& audio);

/// A readable reason for a problem, for error replies.
std::string describe(SegmentProblem problem, std::int64_t segment);

} // namespace sxm::service
