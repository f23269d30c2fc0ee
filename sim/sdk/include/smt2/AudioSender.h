// The sending end of an smt2 audio stream.
// Thread contract: every public function is safe from any thread. All socket I/O, every
// callback and every completion of a returned future run on the transport channel's I/O
// event-loop thread (except for the futures that connect() returns ready when no channel is
// set: there is no loop then).
#pragma once

#include <miscUtils/VariantHash.h>
#include <smt2/BufferPool.h>
#include <smt2/ByteSpan.h>
#include <smt2/ErrorID.h>
#include <smt2/Future.h>
#include <smt2/SenderState.h>
#include <smt2/UnixClientSocketChannel.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace smt2 {

namespace detail {
class SenderSession;
}

class AudioSender
{
public:
    // Sends copy their bytes into buffers from pool; the pool may be shared between senders.
    explicit AudioSender(BufferPool& pool);
    // Closes the connection (pending futures complete with Cancelled) and waits for the loop to
    // have done so, unless called on the loop thread itself. No callback runs after it returns.
    ~AudioSender();
    AudioSender(const AudioSender&) = delete;
    AudioSender& operator=(const AudioSender&) = delete;

    // The channel to connect through at the next connect(). A sender stays on the event loop of
    // the first channel it is given: a channel on another loop is refused (false).
    bool setTransportChannel(UnixClientSocketChannel& channel);

    // Called on the loop thread when the receiver refuses or never answers the handshake (the
    // connect future then completes with VersionMismatch or HandshakeFailed).
    void onHandshakeFailed(std::function<void()> callback);
    // Called on the loop thread with every new state, a SenderState as int (3 = connected).
    void onStateChange(std::function<void(int)> callback);

    // The last state, as onStateChange reported it.
    SenderState state() const;

    // Connects and shakes hands. NoError once the receiver accepted; see ErrorID for the rest.
    Future<ErrorID> connect();

    // Copies data and sends it as one audio frame; pts/dts may be miscUtils::NoTimeValue.
    // Completes with NoError once every byte is in the socket: a receiver that stops reading
    // holds the future back, and nothing is ever dropped. At most wire::kMaxAudioBytes bytes.
    Future<ErrorID> sendAudioData(std::int64_t pts, std::int64_t dts, ByteSpan data);

    // Completes with NoError once the receiver has acknowledged everything sent before it.
    Future<ErrorID> sendFlush();

    // Says goodbye and closes. Pending sends, flushes and a pending connect complete with
    // Cancelled. Does nothing when already disconnected.
    void disconnect();

    // The format of the frames that follow: sent now when connected, otherwise remembered and
    // sent right after the next handshake. Forgotten at disconnect.
    void setAudioSequenceInfo(const std::string& audioType, const miscUtils::VariantHash& params);

    // For tests of version handling and for hosts that must interoperate; default is
    // wire::kProtocolVersion.
    void setProtocolVersion(std::uint32_t version);
    // How long connect() waits for the receiver's answer; default 5 s.
    void setHandshakeTimeout(std::chrono::milliseconds timeout);

private:
    // Runs task on the session's loop; false when there is no channel (thus no loop) yet.
    bool postToSession(std::function<void(detail::SenderSession&)> task);

    std::shared_ptr<detail::SenderSession> m_session;
};

} // namespace smt2
