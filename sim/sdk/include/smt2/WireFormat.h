// The smt2 wire format (docs/smt2.md): message types, limits, and the codec both ends use.
// Thread contract: the functions are pure and safe from any thread; a FrameReader has one owner.
#pragma once

#include <miscUtils/VariantHash.h>
#include <smt2/ByteSpan.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace smt2::wire {

constexpr std::uint32_t kProtocolVersion = 1;
constexpr std::size_t kHeaderSize = 8;
constexpr std::uint32_t kMaxPayloadSize = 16 * 1024 * 1024;
constexpr std::size_t kTimestampsSize = 16; // pts and dts in front of an audio frame's bytes
constexpr std::size_t kMaxAudioBytes = kMaxPayloadSize - kTimestampsSize;
constexpr char kMagic[4] = {'S', 'M', 'T', '2'};

enum class MessageType : std::uint16_t
{
    Hello = 1,
    HelloReply = 2,
    SequenceInfo = 3,
    AudioFrame = 4,
    Flush = 5,
    FlushAck = 6,
    Goodbye = 7,
};

enum class HelloStatus : std::uint32_t
{
    Accepted = 0,
    VersionNotSupported = 1,
};

struct Message
{
    MessageType type; // may hold a value outside the enumerators: an unknown type
    ByteSpan payload;
};

struct HelloReply
{
    HelloStatus status;
    std::uint32_t version;
};

struct AudioFrameView
{
    std::int64_t pts;
    std::int64_t dts;
    ByteSpan data;
};

// Big-endian integer access.
void putU16(std::uint8_t* out, std::uint16_t value);
void putU32(std::uint8_t* out, std::uint32_t value);
void putI64(std::uint8_t* out, std::int64_t value);
std::uint16_t getU16(const std::uint8_t* in);
std::uint32_t getU32(const std::uint8_t* in);
std::int64_t getI64(const std::uint8_t* in);

void writeHeader(std::uint8_t* out, MessageType type, std::uint32_t payloadSize);

// Whole messages (header and payload), for the small control messages.
std::vector<std::uint8_t> encodeMessage(MessageType type, ByteSpan payload = {});
std::vector<std::uint8_t> encodeHello(std::uint32_t version);
std::vector<std::uint8_t> encodeHelloReply(HelloStatus status, std::uint32_t version);
std::vector<std::uint8_t> encodeFlush(std::uint32_t flushId);
std::vector<std::uint8_t> encodeFlushAck(std::uint32_t flushId);

// Payloads. Each decoder returns nothing for a payload of the wrong size or content.
std::vector<std::uint8_t> encodeSequenceInfoPayload(const std::string& audioType,
                                                    const miscUtils::VariantHash& params);
std::optional<std::uint32_t> decodeHello(ByteSpan payload); // the sender's version
std::optional<HelloReply> decodeHelloReply(ByteSpan payload);
std::optional<std::uint32_t> decodeFlushId(ByteSpan payload); // Flush and FlushAck
std::optional<AudioFrameView> decodeAudioFrame(ByteSpan payload);
bool decodeSequenceInfo(ByteSpan payload, std::string* audioType, miscUtils::VariantHash* params);

// Splits a byte stream into messages. Bytes are written straight into its buffer: prepare()
// space, read into it, commit() what was read, then take messages with next().
class FrameReader
{
public:
    enum class Status
    {
        Message,  // *out holds a message; its payload stays valid until the next prepare()
        NeedMore, // no complete message buffered
        TooLarge, // the next header announces more than kMaxPayloadSize: a protocol error
    };

    std::uint8_t* prepare(std::size_t bytes);
    void commit(std::size_t bytes);
    Status next(Message* out);
    // Looks at the message that starts offset bytes after the next unconsumed one, without
    // consuming anything; *size receives its whole size (header included).
    Status peek(std::size_t offset, Message* out, std::size_t* size) const;
    std::size_t bufferedBytes() const { return m_end - m_begin; }

private:
    std::unique_ptr<std::uint8_t[]> m_buffer;
    std::size_t m_capacity = 0;
    std::size_t m_begin = 0; // first unconsumed byte
    std::size_t m_end = 0;   // one past the last committed byte
};

} // namespace smt2::wire
