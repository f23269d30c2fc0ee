// The states an AudioSender reports through onStateChange, as small integers.
// Thread contract: plain values; safe from any thread.
#pragma once

namespace smt2 {

enum class SenderState : int
{
    Disconnected = 0,  // no connection; connect() may be called
    Connecting = 1,    // the socket is being connected
    Handshaking = 2,   // connected, waiting for the receiver to accept the protocol version
    Connected = 3,     // sends and flushes are accepted
    Disconnecting = 4, // disconnect() is closing the connection; Disconnected follows
};

} // namespace smt2
