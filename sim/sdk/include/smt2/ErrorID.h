// Result codes of smt2 operations.
// Thread contract: plain values; safe from any thread.
#pragma once

#include <cstdint>
#include <string>

namespace smt2 {

enum class ErrorID : std::int32_t
{
    NoError = 0,
    NotConnected,       // the sender is not connected (never was, or the connection ended)
    AlreadyConnected,   // connect() while connecting or connected
    ConnectFailed,      // the socket could not be reached (missing, refused, no address set)
    HandshakeFailed,    // the receiver did not accept the handshake in time or answered nonsense
    VersionMismatch,    // the receiver speaks another protocol version
    Disconnected,       // the peer went away
    IOError,            // the socket failed in another way
    Cancelled,          // ended by disconnect(), close() or destruction on this side
    InvalidArgument,    // a send too large, an address too long, ...
    ProtocolError,      // the peer sent something the protocol does not allow
    NoTransportChannel, // the sender has no transport channel
};

// A short English text for logs, e.g. "peer disconnected".
std::string toString(ErrorID error);

} // namespace smt2
