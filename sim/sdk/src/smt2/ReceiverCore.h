// The listening socket, the one live connection and the protocol behind an AudioReceiver.
// Thread contract: configuration, callbacks and the pause flag are safe from any thread (under
// m_mutex or atomic); the sockets and the connection state are loop thread only.
#pragma once

#include "smt2/AudioFrame.h"
#include "smt2/ErrorID.h"
#include "smt2/WireFormat.h"

#include <miscUtils/IOEventLoopThread.h>
#include <miscUtils/UniqueFd.h>
#include <miscUtils/VariantHash.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace smt2::detail {

class ReceiverCore : public std::enable_shared_from_this<ReceiverCore>
{
public:
    struct Callbacks
    {
        std::function<void()> connected;
        std::function<void(const std::string&, const miscUtils::VariantHash&)> sequenceInfo;
        std::function<void(const AudioFrame&)> audioFrame;
        std::function<void(std::uint64_t)> flushRequested;
        std::function<void(ErrorID)> disconnected;
    };

    explicit ReceiverCore(miscUtils::IOEventLoopThread& loop);

    // --- safe from any thread ---
    miscUtils::IOEventLoopThread& loop() const { return m_loop; }
    void updateCallbacks(const std::function<void(Callbacks&)>& change);
    void setPaused(bool paused) { m_paused.store(paused, std::memory_order_release); }
    bool paused() const { return m_paused.load(std::memory_order_acquire); }
    bool hasSender() const { return m_hasSender.load(std::memory_order_acquire); }
    std::size_t readAheadBytes() const { return m_readAhead.load(std::memory_order_relaxed); }
    /// The kernel's count of bytes waiting in the connection's socket; safe from any thread.
    std::size_t unreadSocketBytes() const;
    void setProtocolVersion(std::uint32_t version);
    void setHandshakeTimeout(std::chrono::milliseconds timeout);
    std::string errorString() const;
    std::string socketPath() const;

    // --- loop thread only ---
    ErrorID listen(const std::string& path);
    void close();
    void applyPause(); // after setPaused: stop or restart reading
    void acknowledgeFlush(std::uint64_t token);

private:
    void setError(std::string text);
    std::shared_ptr<const Callbacks> callbacks() const;
    bool deliveringAllowed() const { return !m_handshakeDone || !paused(); }
    bool wantsToRead() const;

    void onListenSocketReadable();
    void acceptNext();
    void onConnectionEvents(miscUtils::IOEvents events);
    void readConnection();
    void processBuffered();
    void takeFlushesFromLookahead();
    void resetScan() { m_scannedBytes = m_scannedMessages = 0; }
    void finishStream(ErrorID reason);
    void handleMessage(const wire::Message& message);
    void onHello(const wire::Message& message);
    void onFlush(const wire::Message& message);
    void queueReply(const std::vector<std::uint8_t>& bytes);
    void writeReplies();
    void updateConnectionInterest();
    void endConnection(ErrorID reason);

    miscUtils::IOEventLoopThread& m_loop;
    std::atomic<bool> m_paused{false};
    std::atomic<bool> m_hasSender{false};
    std::atomic<std::size_t> m_readAhead{0}; // bytes read from the socket, not yet delivered
    mutable std::mutex m_countedFdMutex;     // guards m_countedFd
    int m_countedFd = -1; // the connection's descriptor while it is open, for unreadSocketBytes()

    mutable std::mutex
        m_mutex; // guards m_callbacks, m_version, m_handshakeTimeout, m_error, m_path
    std::shared_ptr<const Callbacks> m_callbacks; // replaced whole, so a reader needs no lock
    std::uint32_t m_version = wire::kProtocolVersion;
    std::chrono::milliseconds m_handshakeTimeout{5000};
    std::string m_error;
    std::string m_path;

    // Loop thread only.
    miscUtils::UniqueFd m_listenSocket;
    miscUtils::IOEventLoopThread::WatchId m_listenWatch = 0;
    miscUtils::UniqueFd m_connection;
    miscUtils::IOEventLoopThread::WatchId m_connectionWatch = 0;
    miscUtils::IOEvents m_connectionInterest;
    miscUtils::IOEventLoopThread::TimerId m_handshakeTimer = 0;
    bool m_handshakeDone = false;
    // The sender's end of stream (or a broken socket) has been read; the connection ends once
    // the messages read before it have been delivered.
    bool m_endOfStream = false;
    ErrorID m_endReason = ErrorID::Disconnected;
    // The read-ahead already searched for a flush, counted from the next undelivered message.
    std::size_t m_scannedBytes = 0;
    std::size_t m_scannedMessages = 0;
    std::uint32_t m_connectionNumber = 0;
    wire::FrameReader m_incoming;
    std::vector<std::uint8_t> m_replies; // unsent bytes of HelloReply and FlushAck messages
};

} // namespace smt2::detail
