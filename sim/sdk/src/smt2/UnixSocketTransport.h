// The socket behind a UnixClientSocketChannel: configuration plus one non-blocking connection.
// Thread contract: configuration is safe from any thread (under the mutex); open, send, receive
// and close are loop thread only, since the descriptor is watched by that loop.
#pragma once

#include "smt2/ErrorID.h"

#include <miscUtils/IOEventLoopThread.h>
#include <miscUtils/UniqueFd.h>

#include <mutex>
#include <string>
#include <sys/types.h>
#include <sys/uio.h>

namespace smt2::detail {

class UnixSocketTransport
{
public:
    explicit UnixSocketTransport(miscUtils::IOEventLoopThread& loop);

    miscUtils::IOEventLoopThread& loop() const { return m_loop; }

    void setSocketPath(std::string path);
    std::string socketPath() const;
    void setSendBufferSize(int bytes);
    int sendBufferSize() const;

    // Opens and connects a new socket; on failure *detail says why, for the log.
    ErrorID open(std::string* detail);
    bool isOpen() const { return m_socket.valid(); }
    int fd() const { return m_socket.get(); }
    // Never blocks and never raises SIGPIPE; -1 with errno like sendmsg/recv.
    ssize_t send(const iovec* parts, int count);
    ssize_t receive(void* buffer, std::size_t size);
    void close() { m_socket.reset(); }

private:
    miscUtils::IOEventLoopThread& m_loop;
    mutable std::mutex m_mutex; // guards m_path and m_sendBufferSize
    std::string m_path;
    int m_sendBufferSize = 0;
    miscUtils::UniqueFd m_socket; // loop thread only
};

} // namespace smt2::detail
