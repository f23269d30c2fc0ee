#include "smt2/ErrorID.h"

namespace smt2 {

std::string toString(ErrorID error)
{
    switch (error) {
    case ErrorID::NoError:
        return "no error";
    case ErrorID::NotConnected:
        return "not connected";
    case ErrorID::AlreadyConnected:
        return "already connected";
    case ErrorID::ConnectFailed:
        return "connect failed";
    case ErrorID::HandshakeFailed:
        return "handshake failed";
    case ErrorID::VersionMismatch:
        return "protocol version mismatch";
    case ErrorID::Disconnected:
        return "peer disconnected";
    case ErrorID::IOError:
        return "I/O error";
    case ErrorID::Cancelled:
        return "cancelled";
    case ErrorID::InvalidArgument:
        return "invalid argument";
    case ErrorID::ProtocolError:
        return "protocol error";
    case ErrorID::NoTransportChannel:
        return "no transport channel";
    }
    return "unknown error " + std::to_string(static_cast<std::int32_t>(error));
}

} // namespace smt2
