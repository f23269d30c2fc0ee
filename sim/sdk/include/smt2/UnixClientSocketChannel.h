// The client end of a Unix-domain stream socket, used by an AudioSender as its transport.
// Thread contract: the setters and getters are safe from any thread and take effect at the next
// connect; the socket itself is used only on the event loop given to the constructor.
#pragma once

#include <miscUtils/IOEventLoopThread.h>

#include <memory>
#include <string>

namespace smt2 {

namespace detail {
class UnixSocketTransport;
}

class UnixClientSocketChannel
{
public:
    // The loop runs all of this channel's socket I/O; it must outlive the channel and every
    // sender that uses it.
    explicit UnixClientSocketChannel(miscUtils::IOEventLoopThread& loop);
    ~UnixClientSocketChannel();
    UnixClientSocketChannel(const UnixClientSocketChannel&) = delete;
    UnixClientSocketChannel& operator=(const UnixClientSocketChannel&) = delete;

    // A socket path ("/run/streamer.sock"), or an smt2 address ("smt2:///run/streamer.sock?...")
    // from which the path is taken.
    void setSocketAddress(std::string address);
    std::string socketAddress() const;

    // SO_SNDBUF for the next connection (the kernel doubles it for its bookkeeping); 0 or less
    // keeps the system default. Together with the receiver's reading it bounds how much audio
    // can wait in the socket.
    void setSendBufferSize(int bytes);
    int sendBufferSize() const;

    miscUtils::IOEventLoopThread& eventLoop() const;

    // For AudioSender: the shared transport that a connection keeps while it lasts.
    std::shared_ptr<detail::UnixSocketTransport> transport() const { return m_transport; }

private:
    std::shared_ptr<detail::UnixSocketTransport> m_transport;
};

} // namespace smt2
