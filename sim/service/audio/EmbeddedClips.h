// The AAC clips built into the service. Immutable data: safe from any thread.
#pragma once

#include <vector>

namespace sxm::service::audio {

/// One encoded clip: ADTS frames of about ten seconds of one tone at one bitrate.
struct EmbeddedClip
{
    int tone;         ///< 0..3; tones 0 and 1 are mono, 2 and 3 stereo
    int bitrateIndex; ///< 0..3 = 32, 64, 96, 256 kbit/s
    int channels;     ///< 1 or 2
    const unsigned char* begin;
    const unsigned char* end;
};

/// Every clip, in tone-major order.
const std::vector<EmbeddedClip>& embeddedClips();

} // namespace sxm::service::audio
