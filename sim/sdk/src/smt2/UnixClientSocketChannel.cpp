#include "smt2/UnixClientSocketChannel.h"

#include "UnixAddress.h"
#include "UnixSocketTransport.h"

namespace smt2 {

UnixClientSocketChannel::UnixClientSocketChannel(miscUtils::IOEventLoopThread& loop)
    : m_transport(std::make_shared<detail::UnixSocketTransport>(loop))
{}

// A connection in progress keeps the transport alive through its own reference.
UnixClientSocketChannel::~UnixClientSocketChannel() = default;

void UnixClientSocketChannel::setSocketAddress(std::string address)
{
    m_transport->setSocketPath(detail::socketPathFromAddress(address));
}

std::string UnixClientSocketChannel::socketAddress() const
{
    return m_transport->socketPath();
}

void UnixClientSocketChannel::setSendBufferSize(int bytes)
{
    m_transport->setSendBufferSize(bytes);
}

int UnixClientSocketChannel::sendBufferSize() const
{
    return m_transport->sendBufferSize();
}

miscUtils::IOEventLoopThread& UnixClientSocketChannel::eventLoop() const
{
    return m_transport->loop();
}

} // namespace smt2
