#include "UnixSocketTransport.h"

#include "UnixAddress.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>

namespace smt2::detail {

UnixSocketTransport::UnixSocketTransport(miscUtils::IOEventLoopThread& loop)
    : m_loop(loop)
{}

void UnixSocketTransport::setSocketPath(std::string path)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_path = std::move(path);
}

std::string UnixSocketTransport::socketPath() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_path;
}

void UnixSocketTransport::setSendBufferSize(int bytes)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_sendBufferSize = bytes;
}

int UnixSocketTransport::sendBufferSize() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_sendBufferSize;
}

ErrorID UnixSocketTransport::open(std::string* detail)
{
    m_socket.reset();
    const std::string path = socketPath();
    const int sendBuffer = sendBufferSize();

    sockaddr_un address;
    socklen_t length = 0;
    if (!makeUnixAddress(path, &address, &length, detail))
        return path.empty() ? ErrorID::ConnectFailed : ErrorID::InvalidArgument;

    miscUtils::UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket) {
        *detail = std::string("socket: ") + std::strerror(errno);
        return ErrorID::IOError;
    }
    if (sendBuffer > 0 &&
        setsockopt(socket.get(), SOL_SOCKET, SO_SNDBUF, &sendBuffer, sizeof sendBuffer) != 0) {
        *detail = std::string("SO_SNDBUF: ") + std::strerror(errno);
        return ErrorID::IOError;
    }
    // A local stream connect completes at once or fails at once; EAGAIN means the receiver's
    // backlog is full, which is as good as refused for a sender that wants to play now.
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), length) != 0) {
        *detail = path + ": " + std::strerror(errno);
        return ErrorID::ConnectFailed;
    }
    m_socket = std::move(socket);
    return ErrorID::NoError;
}

ssize_t UnixSocketTransport::send(const iovec* parts, int count)
{
    msghdr message{};
    message.msg_iov = const_cast<iovec*>(parts);
    message.msg_iovlen = static_cast<std::size_t>(count);
    ssize_t written;
    do {
        written = ::sendmsg(m_socket.get(), &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (written < 0 && errno == EINTR);
    return written;
}

ssize_t UnixSocketTransport::receive(void* buffer, std::size_t size)
{
    ssize_t got;
    do {
        got = ::recv(m_socket.get(), buffer, size, MSG_DONTWAIT);
    } while (got < 0 && errno == EINTR);
    return got;
}

} // namespace smt2::detail
