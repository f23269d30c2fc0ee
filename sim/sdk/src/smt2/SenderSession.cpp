#include "SenderSession.h"

#include <QLoggingCategory>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/uio.h>

namespace smt2::detail {

namespace {

Q_LOGGING_CATEGORY(lcSender, "mivo.smt2.sender", QtInfoMsg)

// Enough for a few frames per sendmsg; two parts (head and body) per message.
constexpr int kMaxMessagesPerWrite = 16;
// Replies from the receiver are tiny; this is just the read granularity.
constexpr std::size_t kReadChunk = 4096;

ErrorID errorForSocketErrno(int error)
{
    return (error == EPIPE || error == ECONNRESET || error == ENOTCONN) ? ErrorID::Disconnected
                                                                        : ErrorID::IOError;
}

void completeAll(std::vector<Completion>& completions, ErrorID result)
{
    for (auto& completion : completions)
        completion.complete(result);
    completions.clear();
}

} // namespace

SenderSession::SenderSession(std::shared_ptr<BufferStore> buffers)
    : m_buffers(std::move(buffers))
{}

bool SenderSession::useTransport(std::shared_ptr<UnixSocketTransport> transport)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_loop && m_loop != &transport->loop())
        return false;
    m_loop = &transport->loop();
    m_configuredTransport = std::move(transport);
    return true;
}

miscUtils::IOEventLoopThread* SenderSession::loop() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_loop;
}

void SenderSession::setHandshakeFailedCallback(std::function<void()> callback)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_handshakeFailed = std::move(callback);
}

void SenderSession::setStateCallback(std::function<void(int)> callback)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_stateChanged = std::move(callback);
}

void SenderSession::dropCallbacks()
{
    std::function<void()> handshakeFailed;
    std::function<void(int)> stateChanged;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        handshakeFailed.swap(m_handshakeFailed);
        stateChanged.swap(m_stateChanged);
    }
    // Destroyed outside the lock: their captures may be arbitrary objects.
}

void SenderSession::setProtocolVersion(std::uint32_t version)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_protocolVersion = version;
}

void SenderSession::setHandshakeTimeout(std::chrono::milliseconds timeout)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_handshakeTimeout = timeout;
}

void SenderSession::connect(Completion done)
{
    if (state() != SenderState::Disconnected) {
        done.complete(ErrorID::AlreadyConnected);
        return;
    }
    std::shared_ptr<UnixSocketTransport> transport;
    std::uint32_t version;
    std::chrono::milliseconds handshakeTimeout;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        transport = m_configuredTransport;
        version = m_protocolVersion;
        handshakeTimeout = m_handshakeTimeout;
    }
    setState(SenderState::Connecting);

    std::string detail;
    const ErrorID opened = transport->open(&detail);
    if (opened != ErrorID::NoError) {
        qCWarning(lcSender, "cannot connect: %s", detail.c_str());
        setState(SenderState::Disconnected);
        done.complete(opened);
        return;
    }
    auto& loop = transport->loop();
    std::weak_ptr<SenderSession> weakSelf = shared_from_this();
    m_watch = loop.watch(transport->fd(), miscUtils::IOEvent::Readable,
                         [weakSelf](miscUtils::IOEvents events) {
                             if (auto self = weakSelf.lock())
                                 self->onSocketEvents(events);
                         });
    if (m_watch == 0) {
        transport->close();
        setState(SenderState::Disconnected);
        done.complete(ErrorID::IOError);
        return;
    }
    m_transport = std::move(transport);
    m_writeInterest = false;
    m_lastFlushId = 0;
    m_incoming = wire::FrameReader();
    m_connectDone = std::move(done);
    m_handshakeTimer = loop.startTimer(handshakeTimeout, [weakSelf] {
        if (auto self = weakSelf.lock())
            self->onHandshakeTimeout();
    });
    setState(SenderState::Handshaking);

    const auto hello = wire::encodeHello(version);
    queueMessage(wire::MessageType::Hello, hello.data() + wire::kHeaderSize,
                 hello.size() - wire::kHeaderSize);
    writeOutgoing();
}

void SenderSession::sendAudio(std::int64_t pts, std::int64_t dts, PooledBuffer data,
                              Completion done)
{
    if (state() != SenderState::Connected) {
        done.complete(ErrorID::NotConnected);
        return;
    }
    OutgoingMessage message;
    message.headSize = wire::kHeaderSize + wire::kTimestampsSize;
    wire::writeHeader(message.head.data(), wire::MessageType::AudioFrame,
                      static_cast<std::uint32_t>(wire::kTimestampsSize + data.size()));
    wire::putI64(message.head.data() + wire::kHeaderSize, pts);
    wire::putI64(message.head.data() + wire::kHeaderSize + 8, dts);
    message.body = std::move(data);
    message.done = std::move(done);
    m_outgoing.push_back(std::move(message));
    writeOutgoing();
}

void SenderSession::sendFlush(Completion done)
{
    if (state() != SenderState::Connected) {
        done.complete(ErrorID::NotConnected);
        return;
    }
    const std::uint32_t id = ++m_lastFlushId;
    std::uint8_t payload[4];
    wire::putU32(payload, id);
    queueMessage(wire::MessageType::Flush, payload, sizeof payload);
    m_flushesAwaitingAck.emplace(id, std::move(done));
    writeOutgoing();
}

void SenderSession::disconnect()
{
    const SenderState current = state();
    if (current == SenderState::Disconnected || current == SenderState::Disconnecting)
        return;
    if (current == SenderState::Connected) {
        setState(SenderState::Disconnecting);
        // Goodbye goes out only at a message boundary: after half a message it would be read
        // as part of that message's bytes. Best effort, since the socket may be full.
        const bool midMessage = !m_outgoing.empty() && m_outgoing.front().written > 0;
        if (m_transport && !midMessage) {
            const auto goodbye = wire::encodeMessage(wire::MessageType::Goodbye);
            iovec part{const_cast<std::uint8_t*>(goodbye.data()), goodbye.size()};
            m_transport->send(&part, 1);
        }
    }
    fail(ErrorID::Cancelled, false);
}

void SenderSession::setSequenceInfo(const std::string& audioType,
                                    const miscUtils::VariantHash& params)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_sequenceInfo.emplace(audioType, params);
}

void SenderSession::announceSequenceInfo()
{
    if (state() == SenderState::Connected)
        queueSequenceInfo();
}

void SenderSession::queueSequenceInfo()
{
    std::vector<std::uint8_t> payload;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_sequenceInfo)
            return;
        payload = wire::encodeSequenceInfoPayload(m_sequenceInfo->first, m_sequenceInfo->second);
    }
    queueMessage(wire::MessageType::SequenceInfo, payload.data(), payload.size());
    writeOutgoing();
}

void SenderSession::queueMessage(wire::MessageType type, const std::uint8_t* payload,
                                 std::size_t size)
{
    OutgoingMessage message;
    message.headSize = wire::kHeaderSize;
    wire::writeHeader(message.head.data(), type, static_cast<std::uint32_t>(size));
    message.body = m_buffers->take(size);
    if (size > 0)
        std::memcpy(message.body.data(), payload, size);
    m_outgoing.push_back(std::move(message));
}

void SenderSession::onSocketEvents(miscUtils::IOEvents events)
{
    using miscUtils::IOEvent;
    // Reading first: it is what notices a receiver that has gone (end of stream or reset).
    if (events & (IOEvent::Readable | IOEvent::HangUp | IOEvent::Error))
        readIncoming();
    if (m_transport && (events & IOEvent::Writable))
        writeOutgoing();
}

void SenderSession::readIncoming()
{
    while (m_transport) {
        std::uint8_t* space = m_incoming.prepare(kReadChunk);
        const ssize_t got = m_transport->receive(space, kReadChunk);
        if (got == 0) {
            fail(state() == SenderState::Handshaking ? ErrorID::HandshakeFailed
                                                     : ErrorID::Disconnected,
                 state() == SenderState::Handshaking);
            return;
        }
        if (got < 0) {
            if (errno == EAGAIN || errno == EWOULDBLOCK)
                return;
            const int error = errno;
            qCWarning(lcSender, "receive failed: %s", std::strerror(error));
            const bool handshaking = state() == SenderState::Handshaking;
            fail(handshaking ? ErrorID::HandshakeFailed : errorForSocketErrno(error), handshaking);
            return;
        }
        m_incoming.commit(static_cast<std::size_t>(got));
        // Handle what arrived before reading on: a reply followed by the end of the stream
        // must be seen as that reply, not as a vanished receiver.
        wire::Message message;
        for (;;) {
            const auto status = m_incoming.next(&message);
            if (status == wire::FrameReader::Status::NeedMore)
                break;
            if (status == wire::FrameReader::Status::TooLarge) {
                qCWarning(lcSender, "receiver announced an oversized message");
                const bool handshaking = state() == SenderState::Handshaking;
                fail(handshaking ? ErrorID::HandshakeFailed : ErrorID::ProtocolError, handshaking);
                return;
            }
            if (!handleMessage(message))
                return;
        }
    }
}

bool SenderSession::handleMessage(const wire::Message& message)
{
    const bool handshaking = state() == SenderState::Handshaking;
    if (handshaking && message.type == wire::MessageType::HelloReply)
        onHelloReply(message);
    else if (!handshaking && message.type == wire::MessageType::FlushAck)
        onFlushAck(message);
    else {
        qCWarning(lcSender, "unexpected message type %u from the receiver", unsigned(message.type));
        fail(handshaking ? ErrorID::HandshakeFailed : ErrorID::ProtocolError, handshaking);
    }
    return static_cast<bool>(m_transport);
}

void SenderSession::onHelloReply(const wire::Message& message)
{
    const auto reply = wire::decodeHelloReply(message.payload);
    if (!reply) {
        qCWarning(lcSender, "malformed handshake reply");
        fail(ErrorID::HandshakeFailed, true);
        return;
    }
    if (reply->status != wire::HelloStatus::Accepted) {
        qCWarning(lcSender, "receiver refused the protocol version; it speaks version %u",
                  reply->version);
        fail(ErrorID::VersionMismatch, true);
        return;
    }
    m_transport->loop().cancelTimer(m_handshakeTimer);
    m_handshakeTimer = 0;
    queueSequenceInfo(); // remembered from before the connection, if any
    setState(SenderState::Connected);
    Completion done = std::move(m_connectDone);
    done.complete(ErrorID::NoError);
}

void SenderSession::onFlushAck(const wire::Message& message)
{
    const auto id = wire::decodeFlushId(message.payload);
    if (!id) {
        fail(ErrorID::ProtocolError, false);
        return;
    }
    auto it = m_flushesAwaitingAck.find(*id);
    if (it == m_flushesAwaitingAck.end()) {
        qCWarning(lcSender, "acknowledgement of unknown flush %u ignored", *id);
        return;
    }
    Completion done = std::move(it->second);
    m_flushesAwaitingAck.erase(it);
    done.complete(ErrorID::NoError);
}

void SenderSession::writeOutgoing()
{
    Completions written;
    while (m_transport && !m_outgoing.empty()) {
        iovec parts[2 * kMaxMessagesPerWrite];
        int count = 0;
        int messages = 0;
        for (auto it = m_outgoing.begin();
             it != m_outgoing.end() && messages < kMaxMessagesPerWrite; ++it, ++messages) {
            std::size_t skip = it->written;
            if (skip < it->headSize)
                parts[count++] = {it->head.data() + skip, it->headSize - skip};
            skip = skip > it->headSize ? skip - it->headSize : 0;
            if (it->body.size() > skip)
                parts[count++] = {it->body.data() + skip, it->body.size() - skip};
        }
        ssize_t sent = m_transport->send(parts, count);
        if (sent < 0) {
            if (errno == EAGAIN || errno == EWOULDBLOCK) {
                setWriteInterest(true);
                break;
            }
            const int error = errno;
            qCWarning(lcSender, "send failed: %s", std::strerror(error));
            completeAll(written, ErrorID::NoError);
            const bool handshaking = state() == SenderState::Handshaking;
            fail(handshaking ? ErrorID::HandshakeFailed : errorForSocketErrno(error), handshaking);
            return;
        }
        while (sent > 0) {
            OutgoingMessage& front = m_outgoing.front();
            const std::size_t take =
                std::min<std::size_t>(static_cast<std::size_t>(sent), front.size() - front.written);
            front.written += take;
            sent -= static_cast<ssize_t>(take);
            if (front.written == front.size()) {
                written.push_back(std::move(front.done));
                m_outgoing.pop_front(); // the pooled buffer goes back to the pool here
            }
        }
    }
    if (m_transport && m_outgoing.empty())
        setWriteInterest(false);
    // Last, as the continuations may do anything, including asking for the next send.
    completeAll(written, ErrorID::NoError);
}

void SenderSession::setWriteInterest(bool wanted)
{
    if (wanted == m_writeInterest || !m_transport)
        return;
    m_writeInterest = wanted;
    miscUtils::IOEvents events = miscUtils::IOEvent::Readable;
    if (wanted)
        events |= miscUtils::IOEvent::Writable;
    m_transport->loop().setWatchEvents(m_watch, events);
}

void SenderSession::onHandshakeTimeout()
{
    m_handshakeTimer = 0;
    if (state() != SenderState::Handshaking)
        return;
    qCWarning(lcSender, "the receiver did not answer the handshake in time");
    fail(ErrorID::HandshakeFailed, true);
}

void SenderSession::fail(ErrorID reason, bool handshakeFailed)
{
    Completions pending;
    closeConnection(&pending);
    setState(SenderState::Disconnected);
    if (handshakeFailed) {
        std::function<void()> callback;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            callback = m_handshakeFailed;
        }
        if (callback)
            callback();
    }
    completeAll(pending, reason);
}

void SenderSession::closeConnection(Completions* pending)
{
    if (m_transport) {
        auto& loop = m_transport->loop();
        loop.unwatch(m_watch);
        if (m_handshakeTimer != 0)
            loop.cancelTimer(m_handshakeTimer);
        m_transport->close();
        m_transport.reset();
    }
    m_watch = 0;
    m_handshakeTimer = 0;
    m_writeInterest = false;
    m_incoming = wire::FrameReader();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_sequenceInfo.reset();
    }
    if (m_connectDone)
        pending->push_back(std::move(m_connectDone));
    for (auto& message : m_outgoing) {
        if (message.done)
            pending->push_back(std::move(message.done));
    }
    m_outgoing.clear();
    for (auto& [id, done] : m_flushesAwaitingAck)
        pending->push_back(std::move(done));
    m_flushesAwaitingAck.clear();
}

void SenderSession::setState(SenderState newState)
{
    if (m_state.exchange(newState, std::memory_order_acq_rel) == newState)
        return;
    if (auto callback = stateCallback())
        callback(static_cast<int>(newState));
}

std::function<void(int)> SenderSession::stateCallback() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_stateChanged;
}

} // namespace smt2::detail
