#include "AudioLibrary.h"

#include "Adts.h"
#include "EmbeddedClips.h"

#include <stdexcept>

namespace sxm::service {

AudioLibrary::AudioLibrary()
    : m_clips(kToneCount * kBitrateCount)
{
    std::vector<bool> seen(m_clips.size(), false);
    for (const audio::EmbeddedClip& embedded : audio::embeddedClips()) {
        const std::size_t index =
            static_cast<std::size_t>(embedded.tone * kBitrateCount + embedded.bitrateIndex);
        const std::string name = "tone " + std::to_string(embedded.tone) + " at bitrate index " +
                                 std::to_string(embedded.bitrateIndex);
        if (index >= m_clips.size()) {
            throw std::runtime_error("unexpected embedded audio clip: " + name);
        }
        std::string raw(reinterpret_cast<const char*>(embedded.begin),
                        static_cast<std::size_t>(embedded.end - embedded.begin));
        try {
            // Block-aligned so that a segment encrypts without padding and decrypts whole.
            m_clips[index] = padLastFrameToBlock(std::move(raw), 16);
        } catch (const std::invalid_argument& error) {
            throw std::runtime_error("embedded audio clip " + name + " is broken: " + error.what());
        }
        m_channels[static_cast<std::size_t>(embedded.tone)] = embedded.channels;
        seen[index] = true;
    }
    for (std::size_t i = 0; i < seen.size(); ++i) {
        if (!seen[i]) {
            throw std::runtime_error("embedded audio clip missing: tone " +
                                     std::to_string(i / kBitrateCount) + " at bitrate index " +
                                     std::to_string(i % kBitrateCount));
        }
    }
}

const std::string& AudioLibrary::clip(int tone, int bitrateIndex) const
{
    if (tone < 0 || tone >= kToneCount || bitrateIndex < 0 || bitrateIndex >= kBitrateCount) {
        throw std::out_of_range("no audio clip for tone " + std::to_string(tone) +
                                " at bitrate index " + std::to_string(bitrateIndex));
    }
    return m_clips[static_cast<std::size_t>(tone * kBitrateCount + bitrateIndex)];
}

int AudioLibrary::channelsOfTone(int tone) const
{
    return m_channels.at(static_cast<std::size_t>(tone));
}

} // namespace sxm::service
