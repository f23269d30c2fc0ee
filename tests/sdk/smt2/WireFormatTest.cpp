#include <smt2/WireFormat.h>

#include <miscUtils/NoTimeValue.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

namespace wire = smt2::wire;

std::vector<std::uint8_t> audioMessage(std::int64_t pts, std::int64_t dts,
                                       const std::vector<std::uint8_t>& data)
{
    std::vector<std::uint8_t> payload(wire::kTimestampsSize);
    wire::putI64(payload.data(), pts);
    wire::putI64(payload.data() + 8, dts);
    payload.insert(payload.end(), data.begin(), data.end());
    return wire::encodeMessage(wire::MessageType::AudioFrame, payload);
}

void feed(wire::FrameReader& reader, const std::uint8_t* data, std::size_t size)
{
    std::memcpy(reader.prepare(size), data, size);
    reader.commit(size);
}

TEST(WireFormat, IntegersAreBigEndian)
{
    std::uint8_t bytes[8];
    wire::putU32(bytes, 0x01020304u);
    EXPECT_EQ(bytes[0], 0x01);
    EXPECT_EQ(bytes[3], 0x04);
    wire::putI64(bytes, -2);
    EXPECT_EQ(bytes[0], 0xff);
    EXPECT_EQ(bytes[7], 0xfe);
    EXPECT_EQ(wire::getI64(bytes), -2);
    wire::putI64(bytes, miscUtils::NoTimeValue);
    EXPECT_EQ(bytes[0], 0x80);
    EXPECT_EQ(wire::getI64(bytes), miscUtils::NoTimeValue);
}

TEST(WireFormat, HeaderLayout)
{
    const auto flush = wire::encodeFlush(7);
    ASSERT_EQ(flush.size(), wire::kHeaderSize + 4);
    const std::vector<std::uint8_t> expected{0, 5, 0, 0, 0, 0, 0, 4, 0, 0, 0, 7};
    EXPECT_EQ(flush, expected);
}

TEST(WireFormat, ControlMessagesRoundTrip)
{
    const auto hello = wire::encodeHello(wire::kProtocolVersion);
    EXPECT_EQ(std::memcmp(hello.data() + wire::kHeaderSize, "SMT2", 4), 0);
    EXPECT_EQ(wire::decodeHello(smt2::ByteSpan(hello.data() + wire::kHeaderSize, 8)),
              wire::kProtocolVersion);

    const auto reply = wire::encodeHelloReply(wire::HelloStatus::VersionNotSupported, 9);
    const auto decoded =
        wire::decodeHelloReply(smt2::ByteSpan(reply.data() + wire::kHeaderSize, 8));
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->status, wire::HelloStatus::VersionNotSupported);
    EXPECT_EQ(decoded->version, 9u);

    const auto ack = wire::encodeFlushAck(0xfffffffeu);
    EXPECT_EQ(wire::decodeFlushId(smt2::ByteSpan(ack.data() + wire::kHeaderSize, 4)), 0xfffffffeu);
}

TEST(WireFormat, MalformedPayloadsAreRejected)
{
    const std::uint8_t wrongMagic[8] = {'S', 'M', 'T', '3', 0, 0, 0, 1};
    EXPECT_FALSE(wire::decodeHello(smt2::ByteSpan(wrongMagic, 8)));
    EXPECT_FALSE(wire::decodeHello(smt2::ByteSpan(wrongMagic, 7)));
    const std::uint8_t badStatus[8] = {0, 0, 0, 2, 0, 0, 0, 1};
    EXPECT_FALSE(wire::decodeHelloReply(smt2::ByteSpan(badStatus, 8)));
    EXPECT_FALSE(wire::decodeFlushId(smt2::ByteSpan(badStatus, 3)));
    EXPECT_FALSE(wire::decodeAudioFrame(smt2::ByteSpan(badStatus, 8))); // no room for timestamps

    std::string type;
    miscUtils::VariantHash params;
    const std::string notJson = "{audioType:";
    EXPECT_FALSE(
        wire::decodeSequenceInfo(smt2::ByteSpan(notJson.data(), notJson.size()), &type, &params));
    const std::string noType = R"({"params":{}})";
    EXPECT_FALSE(
        wire::decodeSequenceInfo(smt2::ByteSpan(noType.data(), noType.size()), &type, &params));
}

TEST(FrameReader, ReassemblesMessagesSplitAtEveryByte)
{
    std::vector<std::uint8_t> stream;
    const std::vector<std::uint8_t> data{1, 2, 3, 4, 5};
    for (const auto& part : {audioMessage(10, 20, data), wire::encodeFlush(1),
                             wire::encodeMessage(wire::MessageType::Goodbye),
                             audioMessage(-1, miscUtils::NoTimeValue, {})}) {
        stream.insert(stream.end(), part.begin(), part.end());
    }
    wire::FrameReader reader;
    std::vector<wire::MessageType> types;
    std::vector<std::vector<std::uint8_t>> audio;
    wire::Message message;
    for (std::uint8_t byte : stream) {
        feed(reader, &byte, 1);
        while (reader.next(&message) == wire::FrameReader::Status::Message) {
            types.push_back(message.type);
            if (message.type == wire::MessageType::AudioFrame) {
                const auto frame = wire::decodeAudioFrame(message.payload);
                ASSERT_TRUE(frame);
                audio.emplace_back(frame->data.data(), frame->data.data() + frame->data.size());
                if (audio.size() == 1) {
                    EXPECT_EQ(frame->pts, 10);
                    EXPECT_EQ(frame->dts, 20);
                } else {
                    EXPECT_EQ(frame->pts, -1);
                    EXPECT_EQ(frame->dts, miscUtils::NoTimeValue);
                }
            }
        }
    }
    EXPECT_EQ(types, (std::vector<wire::MessageType>{
                         wire::MessageType::AudioFrame, wire::MessageType::Flush,
                         wire::MessageType::Goodbye, wire::MessageType::AudioFrame}));
    ASSERT_EQ(audio.size(), 2u);
    EXPECT_EQ(audio[0], data);
    EXPECT_TRUE(audio[1].empty());
    EXPECT_EQ(reader.bufferedBytes(), 0u);
}

TEST(FrameReader, OversizedAnnouncementIsAProtocolError)
{
    std::uint8_t header[wire::kHeaderSize];
    wire::writeHeader(header, wire::MessageType::AudioFrame, wire::kMaxPayloadSize + 1);
    wire::FrameReader reader;
    feed(reader, header, sizeof header);
    wire::Message out;
    EXPECT_EQ(reader.next(&out), wire::FrameReader::Status::TooLarge);
}

} // namespace
