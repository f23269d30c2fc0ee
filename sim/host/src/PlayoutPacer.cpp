#include "PlayoutPacer.h"

#include <algorithm>

namespace {

/// ISO/IEC 14496-3 sampling frequency index; 13 to 15 are reserved.
constexpr int kAdtsSampleRates[13] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                      22050, 16000, 12000, 11025, 8000,  7350};
constexpr int kSamplesPerBlock = 1024;
/// Byte-rate units are about 20 ms of audio: small enough for smooth pacing, large enough that a
/// tick does not play thousands of tiny units.
constexpr int kByteRateUnitsPerSecond = 50;

bool startsWithSync(const unsigned char* p)
{
    // 12 sync bits, then the MPEG version bit (either), and layer 00.
    return p[0] == 0xFF && (p[1] & 0xF6) == 0xF0;
}

} // namespace

void PlayoutPacer::reset(Timing timing, int bytesPerSecond)
{
    m_timing = timing;
    m_bytesPerSecond = bytesPerSecond > 0 ? bytesPerSecond : kDefaultBytesPerSecond;
}

std::optional<PlayoutPacer::Unit> PlayoutPacer::adtsFrame(const QByteArray& bytes)
{
    if (bytes.size() < kAdtsHeaderSize)
        return std::nullopt;
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.constData());
    if (!startsWithSync(p))
        return std::nullopt;
    const int rateIndex = (p[2] >> 2) & 0x0F;
    const int length = ((p[3] & 0x03) << 11) | (p[4] << 3) | (p[5] >> 5);
    const int blocks = (p[6] & 0x03) + 1;
    if (rateIndex >= 13 || length < kAdtsHeaderSize)
        return std::nullopt;
    Unit unit;
    unit.bytes = length;
    unit.durationUs = qint64(blocks) * kSamplesPerBlock * 1000000 / kAdtsSampleRates[rateIndex];
    return unit;
}

PlayoutPacer::Unit PlayoutPacer::byteRateUnit(int bytes) const
{
    Unit unit;
    unit.bytes = bytes;
    unit.durationUs = qint64(bytes) * 1000000 / m_bytesPerSecond;
    return unit;
}

int PlayoutPacer::bytesUntilSync(const QByteArray& front) const
{
    const auto* p = reinterpret_cast<const unsigned char*>(front.constData());
    for (int i = 1; i + 1 < front.size(); ++i) {
        if (startsWithSync(p + i))
            return i;
    }
    // A last 0xFF may be the first byte of a sync word whose second byte has not arrived yet.
    if (front.size() > 1 && p[front.size() - 1] == 0xFF)
        return front.size() - 1;
    return front.size();
}

std::optional<PlayoutPacer::Unit> PlayoutPacer::next(const QByteArray& front, qint64 queued,
                                                     bool endOfStream) const
{
    if (queued <= 0 || front.isEmpty())
        return std::nullopt;
    const int chunk = std::max(1, m_bytesPerSecond / kByteRateUnitsPerSecond);
    if (m_timing == Timing::ByteRate)
        return byteRateUnit(int(std::min<qint64>(chunk, queued)));

    if (front.size() < kAdtsHeaderSize && queued < kAdtsHeaderSize) {
        if (!endOfStream)
            return std::nullopt;
        return byteRateUnit(front.size());
    }
    if (const std::optional<Unit> frame = adtsFrame(front)) {
        if (frame->bytes <= queued)
            return frame;
        if (!endOfStream)
            return std::nullopt;
        // A frame cut short by the end of the stream lasts for the part of it that arrived.
        Unit tail = *frame;
        tail.durationUs = frame->durationUs * queued / frame->bytes;
        tail.bytes = int(queued);
        return tail;
    }
    // Not ADTS here: time the bytes up to the next sync word by the byte rate.
    return byteRateUnit(std::min(chunk, bytesUntilSync(front)));
}
