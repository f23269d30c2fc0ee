#include "SegmentAudio.h"

namespace sxm::service {

const std::string& segmentPlaintext(const ServiceContext& ctx, const Stream& stream,
                                    int bitrateIndex, std::int64_t segment)
{
    const PlacedTrack placed = trackAt(ctx.m_catalog, stream, segment * Catalog::kSegmentMs);
    return ctx.m_audio.clip(placed.track.tone, bitrateIndex);
}

SegmentAudio lookupSegment(const ServiceContext& ctx, const Stream& stream, int bitrateIndex,
                           std::int64_t segment, std::int64_t nowMs)
{
    SegmentAudio audio;
    if (bitrateIndex < 0 || bitrateIndex >= AudioLibrary::kBitrateCount) {
        audio.problem = SegmentProblem::BadBitrate;
        return audio;
    }
    const SegmentRange range = segmentRange(stream, nowMs, ctx.rewindMs());
    if (segment > range.last) {
        audio.problem = range.live ? SegmentProblem::NotYetAvailable : SegmentProblem::PastEnd;
        return audio;
    }
    if (segment < range.first) {
        audio.problem = SegmentProblem::OutsideWindow;
        return audio;
    }
    const PlacedTrack placed = trackAt(ctx.m_catalog, stream, segment * Catalog::kSegmentMs);
    audio.plaintext = &segmentPlaintext(ctx, stream, bitrateIndex, segment);
    audio.ivValue = segmentIvValue(ctx.options().seed, stream, segment);
    audio.trackId = placed.track.trackId;
    return audio;
}

std::string encryptSegment(const ServiceContext& ctx, const Stream& stream,
                           const SegmentAudio& audio)
{
    return encryptCbc(ctx.contentKey(stream.keyId), ivFromValue(audio.ivValue), *audio.plaintext);
}

std::string describe(SegmentProblem problem, std::int64_t segment)
{
    const std::string n = std::to_string(segment);
    switch (problem) {
    case SegmentProblem::BadBitrate:
        return "The bitrate index must be 0..3 (32, 64, 96 or 256 kbit/s)";
    case SegmentProblem::NotYetAvailable:
        return "Segment " + n + " is not live yet";
    case SegmentProblem::OutsideWindow:
        return "Segment " + n + " is outside the rewind window";
    case SegmentProblem::PastEnd:
        return "Segment " + n + " is after the end of the stream";
    case SegmentProblem::None:
        break;
    }
    return "Segment " + n + " is available";
}

} // namespace sxm::service
