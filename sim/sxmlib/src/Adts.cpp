#include "Adts.h"

namespace sxmlib {
namespace {

constexpr std::size_t kHeaderBytes = 7;
constexpr int kSampleRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                22050, 16000, 12000, 11025, 8000,  7350};

struct Frame
{
    std::size_t length = 0;
    double durationMs = 0;
};

bool readFrame(std::string_view audio, std::size_t at, Frame& frame)
{
    if (audio.size() - at < kHeaderBytes)
        return false;
    const auto byte = [&](std::size_t i) {
        return static_cast<std::uint8_t>(audio[at + i]);
    };
    if (byte(0) != 0xFF || (byte(1) & 0xF0) != 0xF0)
        return false;
    const int rateIndex = (byte(2) >> 2) & 0x0F;
    if (rateIndex >= static_cast<int>(sizeof kSampleRates / sizeof kSampleRates[0]))
        return false;
    frame.length = (static_cast<std::size_t>(byte(3) & 0x03) << 11) |
                   (static_cast<std::size_t>(byte(4)) << 3) | (byte(5) >> 5);
    if (frame.length < kHeaderBytes || frame.length > audio.size() - at)
        return false;
    const int blocks = (byte(6) & 0x03) + 1; // raw data blocks of 1024 samples each
    frame.durationMs = blocks * 1024 * 1000.0 / kSampleRates[rateIndex];
    return true;
}

} // namespace

AdtsCut adtsCutAt(std::string_view audio, std::int64_t offsetMs)
{
    AdtsCut cut;
    if (offsetMs <= 0)
        return cut;
    std::size_t at = 0;
    double elapsedMs = 0;
    while (at < audio.size() && elapsedMs < static_cast<double>(offsetMs)) {
        Frame frame;
        if (!readFrame(audio, at, frame))
            return AdtsCut{};
        at += frame.length;
        elapsedMs += frame.durationMs;
    }
    cut.byteOffset = at;
    cut.skippedMs = static_cast<std::int64_t>(elapsedMs);
    return cut;
}

} // namespace sxmlib
