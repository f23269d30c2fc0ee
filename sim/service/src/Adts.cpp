#include "Adts.h"

#include <stdexcept>

namespace sxm::service {
namespace {

constexpr std::size_t kHeaderWithoutCrc = 7;
constexpr std::size_t kMaxFrameLength = 0x1FFF; // 13-bit field

const int kSampleRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                            22050, 16000, 12000, 11025, 8000,  7350};

std::size_t frameLengthAt(const unsigned char* p)
{
    return (static_cast<std::size_t>(p[3] & 0x03) << 11) | (static_cast<std::size_t>(p[4]) << 3) |
           (static_cast<std::size_t>(p[5]) >> 5);
}

void setFrameLength(unsigned char* p, std::size_t length)
{
    p[3] = static_cast<unsigned char>((p[3] & ~0x03) | ((length >> 11) & 0x03));
    p[4] = static_cast<unsigned char>((length >> 3) & 0xFF);
    p[5] = static_cast<unsigned char>((p[5] & 0x1F) | ((length & 0x07) << 5));
}

} // namespace

AdtsScan scanAdts(std::string_view data)
{
    AdtsScan scan;
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.data());
    std::size_t at = 0;
    while (at < data.size()) {
        if (data.size() - at < kHeaderWithoutCrc) {
            scan.error = "truncated ADTS header at byte " + std::to_string(at);
            return scan;
        }
        const unsigned char* p = bytes + at;
        if (p[0] != 0xFF || (p[1] & 0xF0) != 0xF0) {
            scan.error = "no ADTS sync word at byte " + std::to_string(at);
            return scan;
        }
        const int samplingIndex = (p[2] >> 2) & 0x0F;
        if (samplingIndex >= static_cast<int>(sizeof kSampleRates / sizeof kSampleRates[0])) {
            scan.error = "invalid sampling index at byte " + std::to_string(at);
            return scan;
        }
        const std::size_t length = frameLengthAt(p);
        const std::size_t header = (p[1] & 0x01) ? kHeaderWithoutCrc : kHeaderWithoutCrc + 2;
        if (length < header || length > data.size() - at) {
            scan.error = "bad ADTS frame length " + std::to_string(length) + " at byte " +
                         std::to_string(at);
            return scan;
        }
        AdtsFrame frame;
        frame.offset = at;
        frame.length = length;
        frame.sampleRate = kSampleRates[samplingIndex];
        frame.channels = ((p[2] & 0x01) << 2) | (p[3] >> 6);
        frame.rawDataBlocks = (p[6] & 0x03) + 1;
        scan.frames.push_back(frame);
        at += length;
    }
    return scan;
}

std::size_t adtsStartCut(std::string_view data, std::int64_t offsetMs)
{
    if (offsetMs <= 0) {
        return 0;
    }
    const AdtsScan scan = scanAdts(data);
    if (!scan.error.empty()) {
        return 0;
    }
    double elapsedMs = 0;
    for (const AdtsFrame& frame : scan.frames) {
        if (elapsedMs >= static_cast<double>(offsetMs)) {
            return frame.offset;
        }
        elapsedMs += frame.rawDataBlocks * 1024 * 1000.0 / frame.sampleRate;
    }
    return data.size();
}

std::string padLastFrameToBlock(std::string data, std::size_t block)
{
    const AdtsScan scan = scanAdts(data);
    if (!scan.error.empty() || scan.frames.empty()) {
        throw std::invalid_argument("not a clean ADTS stream: " +
                                    (scan.error.empty() ? std::string("no frames") : scan.error));
    }
    const std::size_t pad = (block - data.size() % block) % block;
    if (pad == 0) {
        return data;
    }
    const AdtsFrame& last = scan.frames.back();
    if (last.length + pad > kMaxFrameLength) {
        throw std::invalid_argument("the last ADTS frame is too long to take padding");
    }
    setFrameLength(reinterpret_cast<unsigned char*>(&data[last.offset]), last.length + pad);
    data.append(pad, '\0');
    return data;
}

} // namespace sxm::service
