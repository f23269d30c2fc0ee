#pragma once
// Thread contract: pure functions; safe from any thread.
//
// The byte patterns the test module streams and the tests check, byte for byte.

#include <QByteArray>
#include <cstdint>

namespace testpattern {

/// Byte `index` of the plain pattern: not periodic at any small stride, so a lost, doubled or
/// reordered block shows.
inline char byteAt(std::int64_t index)
{
    return static_cast<char>((index * 31 + index / 257) & 0xFF);
}

/// Bytes [from, from + count) of the plain pattern.
inline QByteArray bytes(std::int64_t from, int count)
{
    QByteArray out(count, Qt::Uninitialized);
    for (int i = 0; i < count; ++i)
        out[i] = byteAt(from + i);
    return out;
}

/// The length of every ADTS frame of the AAC pattern, header included.
constexpr int kAdtsFrameBytes = 256;
/// 44.1 kHz (sampling frequency index 4): one frame of 1024 samples lasts 1024/44100 s.
constexpr int kAdtsSampleRateIndex = 4;
constexpr int kAdtsSampleRate = 44100;

/// `frames` ADTS frames (MPEG-4 AAC LC, no CRC, one raw data block each) whose payloads are
/// the plain pattern; what the streamer paces by its headers.
inline QByteArray adtsFrames(int frames)
{
    QByteArray out;
    out.reserve(frames * kAdtsFrameBytes);
    for (int f = 0; f < frames; ++f) {
        const int length = kAdtsFrameBytes;
        const unsigned char header[7] = {
            0xFF,
            0xF1, // sync, MPEG-4, layer 0, no CRC
            static_cast<unsigned char>((1 << 6) | (kAdtsSampleRateIndex << 2)), // AAC LC
            static_cast<unsigned char>(0x80 | ((length >> 11) & 0x03)),         // 2 channels
            static_cast<unsigned char>((length >> 3) & 0xFF),
            static_cast<unsigned char>(((length & 0x07) << 5) | 0x1F),
            0xFC, // buffer fullness 0x7FF, one raw data block
        };
        out.append(reinterpret_cast<const char*>(header), 7);
        out.append(bytes(std::int64_t(f) * length, length - 7));
    }
    return out;
}

} // namespace testpattern
