#pragma once
// Thread contract: one owner (the streamer, on the host's main thread).

#include <QByteArray>
#include <optional>

/// Cuts the queued audio into units and says how long each lasts, so that the streamer can play
/// it out at the stream's own rate.
///
/// AAC arrives as ADTS frames: each frame's header gives its length and sample rate, and each raw
/// data block in it is 1024 samples. Any other audio (and bytes between ADTS frames that do not
/// parse) is timed by a byte rate.
class PlayoutPacer
{
public:
    enum class Timing
    {
        Adts,     ///< from ADTS frame headers, byte rate for bytes that are not ADTS
        ByteRate, ///< from the byte rate alone
    };

    struct Unit
    {
        int bytes = 0;
        qint64 durationUs = 0;
    };

    /// The ADTS header is 7 bytes (9 with a CRC, which is part of the frame length anyway).
    static constexpr int kAdtsHeaderSize = 7;
    /// How many bytes the streamer should offer to next(): an ADTS frame is at most 8191 bytes.
    static constexpr int kLookAhead = 8192;
    /// 128 kbit/s, used when the stream does not say its rate.
    static constexpr int kDefaultBytesPerSecond = 16000;

    void reset(Timing timing, int bytesPerSecond = kDefaultBytesPerSecond);
    Timing timing() const { return m_timing; }
    int bytesPerSecond() const { return m_bytesPerSecond; }

    /// The next unit at the front of the queue, given up to kLookAhead bytes of it (`front`) and
    /// the number of bytes queued in all. Nothing when more bytes are needed to complete the unit
    /// and `endOfStream` is false; at the end of the stream the remaining bytes form a last unit.
    std::optional<Unit> next(const QByteArray& front, qint64 queued, bool endOfStream) const;

    /// The length and duration of the ADTS frame whose header starts `bytes`; nothing when the
    /// bytes do not start with a valid ADTS header.
    static std::optional<Unit> adtsFrame(const QByteArray& bytes);

private:
    Unit byteRateUnit(int bytes) const;
    int bytesUntilSync(const QByteArray& front) const;

    Timing m_timing = Timing::ByteRate;
    int m_bytesPerSecond = kDefaultBytesPerSecond;
};
