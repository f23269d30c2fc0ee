#include "smt2/WireFormat.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace smt2::wire {

void putU16(std::uint8_t* out, std::uint16_t value)
{
    qToBigEndian(value, out);
}

void putU32(std::uint8_t* out, std::uint32_t value)
{
    qToBigEndian(value, out);
}

// Through quint64: Qt swaps its own 64-bit types, not every platform spelling of int64_t.
void putI64(std::uint8_t* out, std::int64_t value)
{
    qToBigEndian(static_cast<quint64>(value), out);
}

std::uint16_t getU16(const std::uint8_t* in)
{
    return qFromBigEndian<std::uint16_t>(in);
}

std::uint32_t getU32(const std::uint8_t* in)
{
    return qFromBigEndian<std::uint32_t>(in);
}

std::int64_t getI64(const std::uint8_t* in)
{
    return static_cast<std::int64_t>(qFromBigEndian<quint64>(in));
}

void writeHeader(std::uint8_t* out, MessageType type, std::uint32_t payloadSize)
{
    putU16(out, static_cast<std::uint16_t>(type));
    putU16(out + 2, 0);
    putU32(out + 4, payloadSize);
}

std::vector<std::uint8_t> encodeMessage(MessageType type, ByteSpan payload)
{
    std::vector<std::uint8_t> message(kHeaderSize + payload.size());
    writeHeader(message.data(), type, static_cast<std::uint32_t>(payload.size()));
    if (!payload.empty())
        std::memcpy(message.data() + kHeaderSize, payload.data(), payload.size());
    return message;
}

std::vector<std::uint8_t> encodeHello(std::uint32_t version)
{
    std::uint8_t payload[8];
    std::memcpy(payload, kMagic, sizeof kMagic);
    putU32(payload + 4, version);
    return encodeMessage(MessageType::Hello, ByteSpan(payload, sizeof payload));
}

std::vector<std::uint8_t> encodeHelloReply(HelloStatus status, std::uint32_t version)
{
    std::uint8_t payload[8];
    putU32(payload, static_cast<std::uint32_t>(status));
    putU32(payload + 4, version);
    return encodeMessage(MessageType::HelloReply, ByteSpan(payload, sizeof payload));
}

namespace {

std::vector<std::uint8_t> encodeIdMessage(MessageType type, std::uint32_t id)
{
    std::uint8_t payload[4];
    putU32(payload, id);
    return encodeMessage(type, ByteSpan(payload, sizeof payload));
}

} // namespace

std::vector<std::uint8_t> encodeFlush(std::uint32_t flushId)
{
    return encodeIdMessage(MessageType::Flush, flushId);
}

std::vector<std::uint8_t> encodeFlushAck(std::uint32_t flushId)
{
    return encodeIdMessage(MessageType::FlushAck, flushId);
}

std::vector<std::uint8_t> encodeSequenceInfoPayload(const std::string& audioType,
                                                    const miscUtils::VariantHash& params)
{
    QJsonObject object;
    object.insert(QStringLiteral("audioType"), QString::fromStdString(audioType));
    object.insert(QStringLiteral("params"), QJsonObject::fromVariantHash(params));
    const QByteArray json = QJsonDocument(object).toJson(QJsonDocument::Compact);
    return std::vector<std::uint8_t>(json.begin(), json.end());
}

std::optional<std::uint32_t> decodeHello(ByteSpan payload)
{
    if (payload.size() != 8 || std::memcmp(payload.data(), kMagic, sizeof kMagic) != 0)
        return std::nullopt;
    return getU32(payload.data() + 4);
}

std::optional<HelloReply> decodeHelloReply(ByteSpan payload)
{
    if (payload.size() != 8)
        return std::nullopt;
    const std::uint32_t status = getU32(payload.data());
    if (status > static_cast<std::uint32_t>(HelloStatus::VersionNotSupported))
        return std::nullopt;
    return HelloReply{static_cast<HelloStatus>(status), getU32(payload.data() + 4)};
}

std::optional<std::uint32_t> decodeFlushId(ByteSpan payload)
{
    if (payload.size() != 4)
        return std::nullopt;
    return getU32(payload.data());
}

std::optional<AudioFrameView> decodeAudioFrame(ByteSpan payload)
{
    if (payload.size() < kTimestampsSize)
        return std::nullopt;
    return AudioFrameView{
        getI64(payload.data()), getI64(payload.data() + 8),
        ByteSpan(payload.data() + kTimestampsSize, payload.size() - kTimestampsSize)};
}

bool decodeSequenceInfo(ByteSpan payload, std::string* audioType, miscUtils::VariantHash* params)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(
        QByteArray::fromRawData(reinterpret_cast<const char*>(payload.data()),
                                static_cast<int>(payload.size())),
        &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return false;
    const QJsonObject object = document.object();
    const QJsonValue type = object.value(QStringLiteral("audioType"));
    const QJsonValue parameters = object.value(QStringLiteral("params"));
    if (!type.isString() || !(parameters.isObject() || parameters.isUndefined()))
        return false;
    *audioType = type.toString().toStdString();
    *params = parameters.toObject().toVariantHash();
    return true;
}

std::uint8_t* FrameReader::prepare(std::size_t bytes)
{
    if (m_begin == m_end) {
        m_begin = m_end = 0;
    }
    if (m_capacity - m_end < bytes && m_begin > 0) {
        // Move the unconsumed tail to the front before considering a bigger buffer.
        std::memmove(m_buffer.get(), m_buffer.get() + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_begin = 0;
    }
    if (m_capacity - m_end < bytes) {
        const std::size_t capacity = std::max(m_end + bytes, m_capacity * 2);
        // Not value-initialised: every byte is written by a read before it is parsed.
        std::unique_ptr<std::uint8_t[]> bigger(new std::uint8_t[capacity]);
        if (m_end > 0)
            std::memcpy(bigger.get(), m_buffer.get(), m_end);
        m_buffer = std::move(bigger);
        m_capacity = capacity;
    }
    return m_buffer.get() + m_end;
}

void FrameReader::commit(std::size_t bytes)
{
    m_end = std::min(m_end + bytes, m_capacity);
}

FrameReader::Status FrameReader::peek(std::size_t offset, Message* out, std::size_t* size) const
{
    const std::size_t start = m_begin + offset;
    if (start > m_end || m_end - start < kHeaderSize)
        return Status::NeedMore;
    const std::uint8_t* header = m_buffer.get() + start;
    const std::uint32_t payloadSize = getU32(header + 4);
    if (payloadSize > kMaxPayloadSize)
        return Status::TooLarge;
    if (m_end - start < kHeaderSize + payloadSize)
        return Status::NeedMore;
    out->type = static_cast<MessageType>(getU16(header));
    out->payload = ByteSpan(header + kHeaderSize, payloadSize);
    *size = kHeaderSize + payloadSize;
    return Status::Message;
}

FrameReader::Status FrameReader::next(Message* out)
{
    std::size_t size = 0;
    const Status status = peek(0, out, &size);
    if (status == Status::Message)
        m_begin += size;
    return status;
}

} // namespace smt2::wire
