// Reading and padding ADTS-framed AAC. Pure functions: safe from any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sxm::service {

/// One ADTS frame as found in a buffer.
struct AdtsFrame
{
    std::size_t offset = 0;
    std::size_t length = 0; ///< the header's frame_length: header and payload
    int sampleRate = 0;
    int channels = 0;
    int rawDataBlocks = 1; ///< each of 1024 samples
};

/// The frames of a buffer, or the reason it is not a clean ADTS stream.
struct AdtsScan
{
    std::vector<AdtsFrame> frames;
    std::string error; ///< empty when every byte belongs to a well-formed frame
};

/// Walks the buffer frame by frame: each frame must start with the 12-bit sync word, carry a valid
/// sampling index and a frame length of at least its header, and end inside the buffer.
AdtsScan scanAdts(std::string_view data);

/// Where a client that starts `offsetMs` into this audio begins playing: whole frames are dropped
/// while the play time of the frames dropped so far is below `offsetMs`. The times are added up in
/// double-precision milliseconds, frame by frame, as the client library does, so that both land on
/// the same frame. 0 when the offset is not positive or the bytes are not a clean ADTS stream (a
/// client cannot find frames in them either); the whole buffer when its audio is shorter.
std::size_t adtsStartCut(std::string_view data, std::int64_t offsetMs);

/// Makes the stream a whole number of `block` bytes by lengthening its last frame with zero bytes
/// after the frame's payload. Decoders stop reading a frame at its end element and skip zero
/// bytes after it, so the result still plays, and the client's block cipher needs no padding rule.
/// Returns the input unchanged if it is already aligned; throws std::invalid_argument if the
/// input is not a clean ADTS stream or the last frame cannot grow.
std::string padLastFrameToBlock(std::string data, std::size_t block);

} // namespace sxm::service
