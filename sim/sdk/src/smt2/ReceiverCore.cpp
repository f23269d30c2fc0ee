#include "ReceiverCore.h"

#include "UnixAddress.h"

#include <QLoggingCategory>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace smt2::detail {

namespace {

Q_LOGGING_CATEGORY(lcReceiver, "mivo.smt2.receiver", QtInfoMsg)

// Large enough for several 64 KiB frames per read.
constexpr std::size_t kReadChunk = 256 * 1024;
// Bytes read per wake-up before the loop gets a turn, so that pause, resume and acknowledgements
// posted from other threads are not starved by a fast sender.
constexpr std::size_t kMaxBytesPerWakeup = 1024 * 1024;
constexpr int kListenBacklog = 8;
// While paused, reading goes on until this much is buffered: more than a sender's socket holds
// with a 128 KiB SO_SNDBUF (doubled by the kernel) plus a 64 KiB send, so that a flush queued
// behind them is seen without waiting for the host's queue to drain. Beyond it the socket fills
// and the sender waits, as it should.
constexpr std::size_t kPausedLookahead = 512 * 1024;

std::uint64_t makeFlushToken(std::uint32_t connection, std::uint32_t flushId)
{
    return (std::uint64_t(connection) << 32) | flushId;
}

} // namespace

ReceiverCore::ReceiverCore(miscUtils::IOEventLoopThread& loop)
    : m_loop(loop)
    , m_callbacks(std::make_shared<Callbacks>())
{}

void ReceiverCore::updateCallbacks(const std::function<void(Callbacks&)>& change)
{
    std::shared_ptr<const Callbacks> old; // released after the lock: captures may be anything
    std::lock_guard<std::mutex> lock(m_mutex);
    auto updated = std::make_shared<Callbacks>(*m_callbacks);
    change(*updated);
    old = std::exchange(m_callbacks, std::move(updated));
}

std::shared_ptr<const ReceiverCore::Callbacks> ReceiverCore::callbacks() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_callbacks;
}

void ReceiverCore::setProtocolVersion(std::uint32_t version)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_version = version;
}

void ReceiverCore::setHandshakeTimeout(std::chrono::milliseconds timeout)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_handshakeTimeout = timeout;
}

std::string ReceiverCore::errorString() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_error;
}

std::string ReceiverCore::socketPath() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_path;
}

void ReceiverCore::setError(std::string text)
{
    qCWarning(lcReceiver, "%s", text.c_str());
    std::lock_guard<std::mutex> lock(m_mutex);
    m_error = std::move(text);
}

ErrorID ReceiverCore::listen(const std::string& path)
{
    if (m_listenSocket) {
        setError("already listening on " + socketPath());
        return ErrorID::InvalidArgument;
    }
    sockaddr_un address;
    socklen_t length = 0;
    std::string problem;
    if (!makeUnixAddress(path, &address, &length, &problem)) {
        setError(problem);
        return ErrorID::InvalidArgument;
    }
    struct stat existing;
    if (::lstat(path.c_str(), &existing) == 0) {
        if (!S_ISSOCK(existing.st_mode)) {
            setError(path + " exists and is not a socket");
            return ErrorID::InvalidArgument;
        }
        // A socket file outlives the process that bound it; nobody can be listening on a file
        // that we are about to bind again, so it is left over from an earlier run.
        ::unlink(path.c_str());
    }
    miscUtils::UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket) {
        setError(std::string("socket: ") + std::strerror(errno));
        return ErrorID::IOError;
    }
    if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), length) != 0 ||
        ::listen(socket.get(), kListenBacklog) != 0) {
        setError(path + ": " + std::strerror(errno));
        return ErrorID::IOError;
    }
    std::weak_ptr<ReceiverCore> weakSelf = shared_from_this();
    m_listenWatch =
        m_loop.watch(socket.get(), miscUtils::IOEvent::Readable, [weakSelf](miscUtils::IOEvents) {
            if (auto self = weakSelf.lock())
                self->onListenSocketReadable();
        });
    if (m_listenWatch == 0) {
        ::unlink(path.c_str());
        setError("cannot watch the listening socket");
        return ErrorID::IOError;
    }
    m_listenSocket = std::move(socket);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_path = path;
    m_error.clear();
    return ErrorID::NoError;
}

void ReceiverCore::close()
{
    endConnection(ErrorID::Cancelled);
    if (!m_listenSocket)
        return;
    m_loop.unwatch(m_listenWatch);
    m_listenWatch = 0;
    m_listenSocket.reset();
    const std::string path = socketPath();
    ::unlink(path.c_str());
    std::lock_guard<std::mutex> lock(m_mutex);
    m_path.clear();
}

void ReceiverCore::onListenSocketReadable()
{
    if (!m_connection)
        acceptNext();
}

void ReceiverCore::acceptNext()
{
    miscUtils::UniqueFd connection(
        ::accept4(m_listenSocket.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!connection) {
        if (errno != EAGAIN && errno != EWOULDBLOCK && errno != ECONNABORTED)
            qCWarning(lcReceiver, "accept failed: %s", std::strerror(errno));
        return;
    }
    // One sender at a time: the next one waits in the backlog until this one has gone.
    m_loop.setWatchEvents(m_listenWatch, {});
    m_connection = std::move(connection);
    {
        std::lock_guard<std::mutex> lock(m_countedFdMutex);
        m_countedFd = m_connection.get();
    }
    ++m_connectionNumber;
    m_handshakeDone = false;
    m_endOfStream = false;
    resetScan();
    m_incoming = wire::FrameReader();
    m_replies.clear();
    m_connectionInterest = {};
    m_connectionWatch = 0;

    std::chrono::milliseconds timeout;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        timeout = m_handshakeTimeout;
    }
    std::weak_ptr<ReceiverCore> weakSelf = shared_from_this();
    const std::uint32_t connectionNumber = m_connectionNumber;
    m_handshakeTimer = m_loop.startTimer(timeout, [weakSelf, connectionNumber] {
        auto self = weakSelf.lock();
        if (!self || self->m_connectionNumber != connectionNumber || self->m_handshakeDone)
            return;
        self->m_handshakeTimer = 0;
        qCWarning(lcReceiver, "sender did not say hello in time");
        self->endConnection(ErrorID::HandshakeFailed);
    });
    updateConnectionInterest();
}

void ReceiverCore::onConnectionEvents(miscUtils::IOEvents events)
{
    using miscUtils::IOEvent;
    // A hang-up is reported whatever we asked for; trying the write clears replies that can no
    // longer be delivered, so that a paused, closed connection stops being watched.
    if (m_connection && !m_replies.empty() &&
        (events & (IOEvent::Writable | IOEvent::HangUp | IOEvent::Error)))
        writeReplies();
    if (m_connection && (events & (IOEvent::Readable | IOEvent::HangUp | IOEvent::Error)))
        readConnection();
    if (m_connection)
        updateConnectionInterest();
}

bool ReceiverCore::wantsToRead() const
{
    return !m_endOfStream && (deliveringAllowed() || m_incoming.bufferedBytes() < kPausedLookahead);
}

void ReceiverCore::readConnection()
{
    std::size_t budget = kMaxBytesPerWakeup;
    while (m_connection && wantsToRead() && budget > 0) {
        std::uint8_t* space = m_incoming.prepare(kReadChunk);
        ssize_t got;
        do {
            got = ::recv(m_connection.get(), space, kReadChunk, MSG_DONTWAIT);
        } while (got < 0 && errno == EINTR);
        if (got == 0) {
            finishStream(ErrorID::Disconnected);
            return;
        }
        if (got < 0) {
            if (errno == EAGAIN || errno == EWOULDBLOCK)
                return;
            const int error = errno;
            qCWarning(lcReceiver, "receive failed: %s", std::strerror(error));
            finishStream(error == ECONNRESET ? ErrorID::Disconnected : ErrorID::IOError);
            return;
        }
        m_incoming.commit(static_cast<std::size_t>(got));
        budget -= std::min(budget, static_cast<std::size_t>(got));
        processBuffered();
    }
}

void ReceiverCore::finishStream(ErrorID reason)
{
    m_endOfStream = true;
    m_endReason = reason;
    processBuffered();
}

void ReceiverCore::processBuffered()
{
    if (m_handshakeDone && paused())
        takeFlushesFromLookahead();
    wire::Message message;
    while (m_connection && deliveringAllowed()) {
        const auto status = m_incoming.next(&message);
        if (status == wire::FrameReader::Status::NeedMore)
            break;
        if (status == wire::FrameReader::Status::TooLarge) {
            qCWarning(lcReceiver, "sender announced an oversized message");
            endConnection(ErrorID::ProtocolError);
            return;
        }
        resetScan();
        handleMessage(message);
    }
    m_readAhead.store(m_incoming.bufferedBytes(), std::memory_order_relaxed);
    std::size_t size = 0;
    // A partial message left at the end of the stream means the sender broke off mid-message.
    if (m_connection && m_endOfStream &&
        m_incoming.peek(0, &message, &size) != wire::FrameReader::Status::Message)
        endConnection(m_endReason);
}

// A flush empties the stream: the host drops its queue, and the audio that the sender wrote
// before the flush but that is still unread here would be dropped right after. Dropping it here
// instead lets the flush through while the host is not reading, rather than after the host has
// played that audio out in real time.
void ReceiverCore::takeFlushesFromLookahead()
{
    wire::Message message;
    std::size_t size = 0;
    std::size_t messagesThroughLastFlush = 0;
    while (m_incoming.peek(m_scannedBytes, &message, &size) == wire::FrameReader::Status::Message) {
        ++m_scannedMessages;
        m_scannedBytes += size;
        if (message.type == wire::MessageType::Flush)
            messagesThroughLastFlush = m_scannedMessages;
    }
    if (messagesThroughLastFlush == 0)
        return;
    std::size_t droppedBytes = 0;
    for (std::size_t i = 0; i < messagesThroughLastFlush && m_connection; ++i) {
        m_incoming.next(&message);
        if (message.type == wire::MessageType::AudioFrame)
            droppedBytes += message.payload.size();
        else
            handleMessage(message); // sequence info still counts for what follows the flush
    }
    resetScan();
    qCDebug(lcReceiver, "flush read ahead while paused; %zu bytes of unread audio dropped",
            droppedBytes);
}

void ReceiverCore::handleMessage(const wire::Message& message)
{
    if (!m_handshakeDone) {
        if (message.type == wire::MessageType::Hello) {
            onHello(message);
        } else {
            qCWarning(lcReceiver, "sender spoke before saying hello");
            endConnection(ErrorID::ProtocolError);
        }
        return;
    }
    switch (message.type) {
    case wire::MessageType::AudioFrame: {
        const auto frame = wire::decodeAudioFrame(message.payload);
        if (!frame)
            break;
        AudioFrame delivered;
        delivered.pts = frame->pts;
        delivered.dts = frame->dts;
        delivered.data = QByteArray(reinterpret_cast<const char*>(frame->data.data()),
                                    static_cast<int>(frame->data.size()));
        const auto handlers = callbacks(); // held: a setter may replace them meanwhile
        if (handlers->audioFrame)
            handlers->audioFrame(delivered);
        return;
    }
    case wire::MessageType::SequenceInfo: {
        std::string audioType;
        miscUtils::VariantHash params;
        if (!wire::decodeSequenceInfo(message.payload, &audioType, &params))
            break;
        const auto handlers = callbacks();
        if (handlers->sequenceInfo)
            handlers->sequenceInfo(audioType, params);
        return;
    }
    case wire::MessageType::Flush:
        onFlush(message);
        return;
    case wire::MessageType::Goodbye:
        endConnection(ErrorID::NoError);
        return;
    default:
        break;
    }
    qCWarning(lcReceiver, "malformed or unexpected message of type %u", unsigned(message.type));
    endConnection(ErrorID::ProtocolError);
}

void ReceiverCore::onHello(const wire::Message& message)
{
    const auto senderVersion = wire::decodeHello(message.payload);
    if (!senderVersion) {
        qCWarning(lcReceiver, "malformed hello");
        endConnection(ErrorID::ProtocolError);
        return;
    }
    std::uint32_t ownVersion;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        ownVersion = m_version;
    }
    if (*senderVersion != ownVersion) {
        qCWarning(lcReceiver, "sender speaks version %u, this receiver %u", *senderVersion,
                  ownVersion);
        queueReply(wire::encodeHelloReply(wire::HelloStatus::VersionNotSupported, ownVersion));
        endConnection(ErrorID::VersionMismatch);
        return;
    }
    m_loop.cancelTimer(m_handshakeTimer);
    m_handshakeTimer = 0;
    queueReply(wire::encodeHelloReply(wire::HelloStatus::Accepted, ownVersion));
    m_handshakeDone = true;
    m_hasSender.store(true, std::memory_order_release);
    const auto handlers = callbacks();
    if (handlers->connected)
        handlers->connected();
}

void ReceiverCore::onFlush(const wire::Message& message)
{
    const auto id = wire::decodeFlushId(message.payload);
    if (!id) {
        endConnection(ErrorID::ProtocolError);
        return;
    }
    const std::uint64_t token = makeFlushToken(m_connectionNumber, *id);
    const auto handlers = callbacks();
    if (handlers->flushRequested)
        handlers->flushRequested(token);
    else
        acknowledgeFlush(token); // nothing queued elsewhere: everything is handled already
}

void ReceiverCore::acknowledgeFlush(std::uint64_t token)
{
    if (!m_connection || !m_handshakeDone || (token >> 32) != m_connectionNumber)
        return;
    queueReply(wire::encodeFlushAck(static_cast<std::uint32_t>(token & 0xffffffffu)));
    if (m_connection)
        updateConnectionInterest();
}

void ReceiverCore::queueReply(const std::vector<std::uint8_t>& bytes)
{
    m_replies.insert(m_replies.end(), bytes.begin(), bytes.end());
    writeReplies();
}

void ReceiverCore::writeReplies()
{
    while (m_connection && !m_replies.empty()) {
        ssize_t sent;
        do {
            sent = ::send(m_connection.get(), m_replies.data(), m_replies.size(),
                          MSG_NOSIGNAL | MSG_DONTWAIT);
        } while (sent < 0 && errno == EINTR);
        if (sent < 0) {
            if (errno == EAGAIN || errno == EWOULDBLOCK)
                return; // updateConnectionInterest() asks for writability
            // The sender is gone; reading will tell how (end of stream or reset).
            m_replies.clear();
            return;
        }
        m_replies.erase(m_replies.begin(), m_replies.begin() + sent);
    }
}

void ReceiverCore::applyPause()
{
    if (!m_connection)
        return;
    processBuffered(); // frames read before the pause come first
    if (m_connection)
        readConnection();
    if (m_connection)
        updateConnectionInterest();
}

void ReceiverCore::updateConnectionInterest()
{
    miscUtils::IOEvents wanted;
    if (wantsToRead())
        wanted |= miscUtils::IOEvent::Readable;
    if (!m_replies.empty())
        wanted |= miscUtils::IOEvent::Writable;
    if (wanted == m_connectionInterest && (m_connectionWatch != 0 || !wanted))
        return;
    m_connectionInterest = wanted;
    if (!wanted) {
        // Unwatched entirely: a closed peer would otherwise report HangUp on every loop turn
        // while we are deliberately not reading.
        m_loop.unwatch(m_connectionWatch);
        m_connectionWatch = 0;
        return;
    }
    if (m_connectionWatch != 0) {
        m_loop.setWatchEvents(m_connectionWatch, wanted);
        return;
    }
    std::weak_ptr<ReceiverCore> weakSelf = shared_from_this();
    m_connectionWatch = m_loop.watch(m_connection.get(), wanted, [weakSelf](miscUtils::IOEvents e) {
        if (auto self = weakSelf.lock())
            self->onConnectionEvents(e);
    });
    if (m_connectionWatch == 0)
        endConnection(ErrorID::IOError);
}

void ReceiverCore::endConnection(ErrorID reason)
{
    if (!m_connection)
        return;
    m_loop.unwatch(m_connectionWatch);
    m_connectionWatch = 0;
    m_connectionInterest = {};
    if (m_handshakeTimer != 0)
        m_loop.cancelTimer(m_handshakeTimer);
    m_handshakeTimer = 0;
    {
        std::lock_guard<std::mutex> lock(m_countedFdMutex);
        m_countedFd = -1;
    }
    m_connection.reset();
    m_incoming = wire::FrameReader();
    m_replies.clear();
    m_endOfStream = false;
    resetScan();
    m_readAhead.store(0, std::memory_order_relaxed);
    const bool wasServing = m_handshakeDone;
    m_handshakeDone = false;
    m_hasSender.store(false, std::memory_order_release);
    if (m_listenSocket)
        m_loop.setWatchEvents(m_listenWatch, miscUtils::IOEvent::Readable);
    if (wasServing) {
        const auto handlers = callbacks();
        if (handlers->disconnected)
            handlers->disconnected(reason);
    }
}

std::size_t ReceiverCore::unreadSocketBytes() const
{
    // Asked from other threads while the loop may be closing the connection: the descriptor is
    // forgotten under the lock before it is closed, so it is never a reused number here.
    std::lock_guard<std::mutex> lock(m_countedFdMutex);
    int unread = 0;
    if (m_countedFd < 0 || ::ioctl(m_countedFd, FIONREAD, &unread) != 0 || unread < 0)
        return 0;
    return std::size_t(unread);
}

} // namespace smt2::detail
