#pragma once
// Thread contract: construct, start(), flushAndDisconnect(), disconnect() and setListener() on
// one owning thread (the worker); write() on the library's stream thread; the listener runs on
// the "siriusPL_io" thread; state() is safe from any thread.

#include <miscUtils/IOEventLoopThread.h>
#include <smt2/AudioSender.h>
#include <smt2/BufferPool.h>
#include <smt2/UnixClientSocketChannel.h>

#include <QByteArray>
#include <QString>
#include <atomic>
#include <chrono>
#include <functional>
#include <optional>

namespace sirius {

/// The audio path from the library to the host's streamer: an smt2 sender on a Unix socket, run
/// by its own I/O thread. It paces the library: write() takes at most one block at a time and
/// only while no earlier send is in flight, and the listener's `sent` tells when the library may
/// offer more. Blocks are copied straight into the sender's pooled buffers, never queued here, so
/// the memory of the path is bounded by one send, the socket buffer and the streamer's queue.
class SmtAudioSender
{
public:
    /// The largest block one send takes; the library offers the rest again.
    static constexpr int kMaxSendBytes = 65536;
    /// The socket's send buffer: with the streamer's queue it bounds the audio in flight.
    static constexpr int kSendBufferBytes = 131072;
    /// The sender state that accepts sends.
    static constexpr int kConnected = 3;

    /// What the sender tells its owner, on the I/O thread.
    struct Listener
    {
        std::function<void()> connected; ///< a connect() completed: the library may start
        std::function<void()> sent;      ///< a send completed while connected: ask for more
    };

    /// `socketAddress` is the streamer's smt2 address ("smt2://" + socket path); `bufferedBytes`
    /// reads the bytes the streamer holds but has not played (for the output delay; any thread).
    SmtAudioSender(const QString& socketAddress, std::function<qint64()> bufferedBytes);
    ~SmtAudioSender();
    SmtAudioSender(const SmtAudioSender&) = delete;
    SmtAudioSender& operator=(const SmtAudioSender&) = delete;

    /// Replaces the listener; returns once the I/O thread uses the new one, so that after
    /// setListener({}) nothing reaches the old owner.
    void setListener(Listener listener);

    /// Connects the sender unless it is already connecting or connected (then only a warning).
    void start();

    /// Offers one block of audio. Answers how many bytes were taken (0 when not connected or
    /// while a send is in flight, else at most kMaxSendBytes) and, when `outputDelay` is given and
    /// the bit rate known, stores the milliseconds of audio queued ahead of the listener.
    int write(const QByteArray& data, unsigned bitrate, unsigned* outputDelay);

    /// Sends a flush and waits for the streamer to acknowledge it, at most `limit`: a paused
    /// streamer, or one that holds the sender back, may never read it. Then disconnects. Answers
    /// whether the flush was acknowledged.
    bool flushAndDisconnect(std::chrono::milliseconds limit);
    /// Closes the connection; returns once the sender reports itself disconnected, so that the
    /// next start() connects again.
    void disconnect();

    /// The sender state last reported (smt2::SenderState as int; 0 before the first report).
    int state() const { return m_state.load(std::memory_order_acquire); }

private:
    /// Runs `task` on the I/O thread: at once when already there, else queued.
    void onLoop(std::function<void()> task);
    void notify(std::function<void()> Listener::*which);

    // Declared first so that they outlive the sender, whose destructor still completes futures
    // whose continuations read them.
    const std::function<qint64()> m_bufferedBytes;
    Listener m_listener; ///< I/O thread only
    std::atomic<int> m_state{0};

    miscUtils::IOEventLoopThread m_loop;
    smt2::BufferPool m_pool;
    smt2::UnixClientSocketChannel m_channel;
    smt2::AudioSender m_sender;
    /// The last send; stream thread only (one stream thread at a time: the library joins the
    /// previous one before it starts the next).
    std::optional<smt2::Future<smt2::ErrorID>> m_sendFuture;
};

} // namespace sirius
