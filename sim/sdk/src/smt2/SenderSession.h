// The state machine and socket I/O behind an AudioSender.
// Thread contract: the configuration functions (marked) are safe from any thread under m_mutex;
// everything else is loop thread only, which is why the connection state needs no lock. User
// callbacks and continuations run inside these functions but cannot re-enter them: every public
// AudioSender function posts to the loop instead of calling in directly.
#pragma once

#include "BufferStore.h"
#include "Completion.h"
#include "UnixSocketTransport.h"

#include "smt2/SenderState.h"
#include "smt2/WireFormat.h"

#include <miscUtils/IOEventLoopThread.h>
#include <miscUtils/VariantHash.h>

#include <array>
#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace smt2::detail {

class SenderSession : public std::enable_shared_from_this<SenderSession>
{
public:
    explicit SenderSession(std::shared_ptr<BufferStore> buffers);

    // --- safe from any thread ---
    bool useTransport(std::shared_ptr<UnixSocketTransport> transport);
    miscUtils::IOEventLoopThread* loop() const;
    void setHandshakeFailedCallback(std::function<void()> callback);
    void setStateCallback(std::function<void(int)> callback);
    void dropCallbacks();
    void setProtocolVersion(std::uint32_t version);
    void setHandshakeTimeout(std::chrono::milliseconds timeout);
    SenderState state() const { return m_state.load(std::memory_order_acquire); }
    void setSequenceInfo(const std::string& audioType, const miscUtils::VariantHash& params);
    BufferStore& buffers() const { return *m_buffers; }

    // --- loop thread only ---
    void connect(Completion done);
    void sendAudio(std::int64_t pts, std::int64_t dts, PooledBuffer data, Completion done);
    void sendFlush(Completion done);
    void disconnect();
    // Queues the stored sequence info if connected.
    void announceSequenceInfo();

private:
    // One message on its way into the socket: the header (with an audio frame's timestamps)
    // inline, the rest in a pooled buffer.
    struct OutgoingMessage
    {
        std::array<std::uint8_t, wire::kHeaderSize + wire::kTimestampsSize> head{};
        std::size_t headSize = 0;
        PooledBuffer body;
        std::size_t written = 0;
        Completion done; // completed when the last byte is in the socket; may be empty
        std::size_t size() const { return headSize + body.size(); }
    };
    using Completions = std::vector<Completion>;

    void queueSequenceInfo();
    void queueMessage(wire::MessageType type, const std::uint8_t* payload, std::size_t size);
    void onSocketEvents(miscUtils::IOEvents events);
    void readIncoming();
    bool handleMessage(const wire::Message& message); // false once the connection has ended
    void onHelloReply(const wire::Message& message);
    void onFlushAck(const wire::Message& message);
    void writeOutgoing();
    void setWriteInterest(bool wanted);
    void onHandshakeTimeout();
    // Closes the connection and completes everything pending with reason.
    void fail(ErrorID reason, bool handshakeFailed);
    void closeConnection(Completions* pending);
    void setState(SenderState state);
    std::function<void(int)> stateCallback() const;

    const std::shared_ptr<BufferStore> m_buffers;
    std::atomic<SenderState> m_state{SenderState::Disconnected};

    mutable std::mutex m_mutex; // guards the members up to the loop-thread section
    std::shared_ptr<UnixSocketTransport> m_configuredTransport;
    miscUtils::IOEventLoopThread* m_loop = nullptr; // fixed by the first transport
    std::function<void()> m_handshakeFailed;
    std::function<void(int)> m_stateChanged;
    std::uint32_t m_protocolVersion = wire::kProtocolVersion;
    std::chrono::milliseconds m_handshakeTimeout{5000};
    std::optional<std::pair<std::string, miscUtils::VariantHash>> m_sequenceInfo;

    // Loop thread only.
    std::shared_ptr<UnixSocketTransport> m_transport; // the open connection, if any
    miscUtils::IOEventLoopThread::WatchId m_watch = 0;
    miscUtils::IOEventLoopThread::TimerId m_handshakeTimer = 0;
    bool m_writeInterest = false;
    Completion m_connectDone;
    std::deque<OutgoingMessage> m_outgoing;
    std::map<std::uint32_t, Completion> m_flushesAwaitingAck;
    std::uint32_t m_lastFlushId = 0;
    wire::FrameReader m_incoming;
};

} // namespace smt2::detail
