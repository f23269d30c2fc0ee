#include "PatternSender.h"

#include "TestPattern.h"

#include <audioUtils/AudioTypes.h>
#include <miscUtils/NoTimeValue.h>
#include <miscUtils/UniqueFd.h>
#include <smt2/WireFormat.h>

#include <chrono>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

PatternSender::PatternSender()
    : m_loop(3000, "testmod_io")
    , m_channel(m_loop)
    , m_sender(m_pool)
{
    m_sender.setTransportChannel(m_channel);
}

PatternSender::~PatternSender()
{
    m_stopping = true;
    if (m_breaker.joinable())
        m_breaker.join();
    m_sender.disconnect();
}

void PatternSender::start(const QString& socketPath, const QByteArray& data, int chunk,
                          Ending ending)
{
    m_stopping = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_data = data;
        m_chunk = chunk;
        m_offset = 0;
        m_ending = ending;
    }
    if (ending == Ending::Break) {
        if (m_breaker.joinable())
            m_breaker.join();
        m_breaker = std::thread([this, path = socketPath.toStdString()] { sendBreaking(path); });
        return;
    }
    m_channel.setSocketAddress(socketPath.toStdString());
    m_sender.setAudioSequenceInfo(audioUtils::opaqueAudioType(), {});
    m_sender.connect().then([this](smt2::Future<smt2::ErrorID> result) {
        if (result.get() == smt2::ErrorID::NoError)
            sendNext();
    });
}

void PatternSender::sendNext()
{
    QByteArray block;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_ending == Ending::Endless && m_offset >= m_data.size())
            m_offset = 0;
        block = m_data.mid(int(m_offset), m_chunk);
        m_offset += block.size();
    }
    if (m_stopping)
        return;
    if (block.isEmpty()) {
        m_sender.disconnect();
        return;
    }
    m_sender.sendAudioData(miscUtils::NoTimeValue, miscUtils::NoTimeValue, block)
        .then([this](smt2::Future<smt2::ErrorID> result) {
            if (result.get() == smt2::ErrorID::NoError)
                sendNext();
        });
}

void PatternSender::stop()
{
    m_stopping = true;
    if (m_breaker.joinable())
        m_breaker.join();
    if (isConnected()) {
        // Blocks like a device's play logic does; bounded so that a broken host cannot hang
        // the test module forever.
        m_sender.sendFlush().wait_for(std::chrono::seconds(5));
    }
    m_sender.disconnect();
}

namespace {

bool writeAll(int fd, const std::vector<std::uint8_t>& bytes)
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::send(fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (n <= 0)
            return false;
        done += std::size_t(n);
    }
    return true;
}

} // namespace

void PatternSender::sendBreaking(const std::string& socketPath)
{
    const miscUtils::UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket)
        return;
    const int fd = socket.get();
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
    timeval timeout = {5, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    std::uint8_t reply[smt2::wire::kHeaderSize + 8];
    bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
              writeAll(fd, smt2::wire::encodeHello(smt2::wire::kProtocolVersion)) &&
              ::recv(fd, reply, sizeof reply, MSG_WAITALL) == ssize_t(sizeof reply);
    QByteArray data;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        data = m_data;
    }
    for (int offset = 0; ok && offset < data.size() && !m_stopping; offset += m_chunk) {
        const QByteArray block = data.mid(offset, m_chunk);
        std::vector<std::uint8_t> message(smt2::wire::kHeaderSize + smt2::wire::kTimestampsSize);
        smt2::wire::writeHeader(message.data(), smt2::wire::MessageType::AudioFrame,
                                std::uint32_t(smt2::wire::kTimestampsSize + block.size()));
        smt2::wire::putI64(message.data() + smt2::wire::kHeaderSize, miscUtils::NoTimeValue);
        smt2::wire::putI64(message.data() + smt2::wire::kHeaderSize + 8, miscUtils::NoTimeValue);
        message.insert(message.end(), block.begin(), block.end());
        ok = writeAll(fd, message);
    }
    // No goodbye: the sender "crashes" with its audio unflushed (the socket closes here).
}
