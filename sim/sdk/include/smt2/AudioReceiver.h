// The receiving end of smt2 audio streams: listens on a Unix socket and serves one sender at a
// time (later senders wait in the backlog until the current one has gone).
// Thread contract: every public function is safe from any thread; the callbacks run on the
// event-loop thread given to the constructor, and may call any function here except the
// destructor.
#pragma once

#include <miscUtils/IOEventLoopThread.h>
#include <miscUtils/VariantHash.h>
#include <smt2/AudioFrame.h>
#include <smt2/ErrorID.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace smt2 {

namespace detail {
class ReceiverCore;
}

class AudioReceiver
{
public:
    // Identifies one flush request of one connection; pass it back to acknowledgeFlush().
    using FlushToken = std::uint64_t;

    // The loop runs all of this receiver's socket I/O and callbacks; it must outlive it.
    explicit AudioReceiver(miscUtils::IOEventLoopThread& loop);
    // Closes like close(). Waits for the loop unless called on the loop thread.
    ~AudioReceiver();
    AudioReceiver(const AudioReceiver&) = delete;
    AudioReceiver& operator=(const AudioReceiver&) = delete;

    // Binds and listens on a socket path (or an smt2:// address, whose path is used). A stale
    // socket file at the path is replaced; any other file there is refused. Returns once
    // listening, or the error, with errorString() saying why.
    ErrorID listen(const std::string& address);
    // Stops listening, removes the socket file and ends the current connection (reported as
    // Cancelled). Waits for the loop unless called on the loop thread.
    void close();
    std::string errorString() const;
    std::string socketPath() const;
    bool hasSender() const;

    // A sender has completed the handshake.
    void onSenderConnected(std::function<void()> callback);
    // The format of the frames that follow.
    void onSequenceInfo(
        std::function<void(const std::string& audioType, const miscUtils::VariantHash& params)>
            callback);
    void onAudioFrame(std::function<void(const AudioFrame& frame)> callback);
    // The sender wants the stream emptied: drop what is queued, then acknowledgeFlush(token);
    // the sender's flush completes only then. Without this callback flushes are acknowledged at
    // once. Normally a flush comes after every frame sent before it; while reading is paused,
    // a flush found in the read-ahead comes at once, and the unread frames before it are
    // dropped (they would be dropped with the queue anyway).
    void onFlushRequested(std::function<void(FlushToken token)> callback);
    // The connection has ended: NoError after the sender's goodbye, Disconnected if it just
    // went away, ProtocolError/IOError on a broken stream, Cancelled by close(). Only reported
    // for senders that completed the handshake.
    void onSenderDisconnected(std::function<void(ErrorID reason)> callback);

    // Flow control. While paused no frame is delivered; the socket is read only until 512 KiB is
    // buffered, after which the sender's sends wait. A handshake is still answered, and a flush
    // in the read-ahead still reported. Takes effect before the next frame when called from a
    // callback.
    void pauseReading();
    void resumeReading();
    bool isReadingPaused() const;
    // Bytes read from the socket but not delivered yet (the read-ahead, at most 512 KiB plus
    // one message): audio that is buffered ahead of the listener besides the host's own queue.
    std::size_t readAheadBytes() const;
    // Bytes the sender has written that still wait in the socket, unread (the kernel's count, now).
    // With readAheadBytes() and the host's own queue it is all the audio ahead of the listener.
    std::size_t unreadSocketBytes() const;

    // Tells the sender that everything before the flush has been handled. A token of an ended
    // connection is ignored.
    void acknowledgeFlush(FlushToken token);

    // Defaults: wire::kProtocolVersion, and 5 s for a new sender to say hello.
    void setProtocolVersion(std::uint32_t version);
    void setHandshakeTimeout(std::chrono::milliseconds timeout);

private:
    std::shared_ptr<detail::ReceiverCore> m_core;
};

} // namespace smt2
