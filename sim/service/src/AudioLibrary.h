// The service's playable audio: the embedded AAC clips, checked and padded once at start-up.
// Immutable after construction: safe from any thread.
#pragma once

#include <array>
#include <string>
#include <vector>

namespace sxm::service {

class AudioLibrary
{
public:
    static constexpr int kBitrateCount = 4;
    /// Bits per second of bitrate index 0..3.
    static constexpr std::array<int, kBitrateCount> kBitrates = {32000, 64000, 96000, 256000};
    static constexpr int kToneCount = 4;

    /// Loads every clip; throws std::runtime_error naming the clip if one is missing or broken.
    AudioLibrary();

    /// The plaintext of a segment: a clean ADTS stream whose size is a multiple of 16 bytes.
    const std::string& clip(int tone, int bitrateIndex) const;
    /// 1 for the mono tones (0, 1), 2 for the stereo ones (2, 3).
    int channelsOfTone(int tone) const;

private:
    std::vector<std::string> m_clips; // tone * kBitrateCount + bitrate index
    std::array<int, kToneCount> m_channels{};
};

} // namespace sxm::service
