// Connecting, the version handshake, one sender at a time, and what each end does with a peer
// that does not follow the protocol.
#include "TransferFixture.h"

#include <smt2/WireFormat.h>

#include <fcntl.h>
#include <fstream>
#include <sys/socket.h>
#include <sys/un.h>

namespace {

using namespace smt2test;
using smt2::ErrorID;

// A bare socket speaking raw bytes, for playing a misbehaving peer.
class RawSocket
{
public:
    static RawSocket connectTo(const std::string& path)
    {
        RawSocket raw(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address = unixAddress(path);
        if (::connect(raw.fd(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            raw.m_fd.reset();
        return raw;
    }
    static RawSocket listenOn(const std::string& path)
    {
        RawSocket raw(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address = unixAddress(path);
        if (::bind(raw.fd(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(raw.fd(), 4) != 0)
            raw.m_fd.reset();
        return raw;
    }

    int fd() const { return m_fd.get(); }
    bool valid() const { return m_fd.valid(); }
    bool send(const std::vector<std::uint8_t>& bytes)
    {
        return ::send(fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(bytes.size());
    }
    // Everything until the peer closes (blocking).
    std::vector<std::uint8_t> readToEnd()
    {
        std::vector<std::uint8_t> all;
        std::uint8_t buffer[4096];
        ssize_t got;
        while ((got = ::recv(fd(), buffer, sizeof buffer, 0)) > 0)
            all.insert(all.end(), buffer, buffer + got);
        return all;
    }

private:
    explicit RawSocket(int fd)
        : m_fd(fd)
    {}
    static sockaddr_un unixAddress(const std::string& path)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
        return address;
    }
    miscUtils::UniqueFd m_fd;
};

TEST_F(TransferTest, ConnectToAMissingSocketFailsCleanly)
{
    EXPECT_EQ(await(m_sender.connect()), ErrorID::ConnectFailed);
    EXPECT_EQ(m_senderLog.states(), (std::vector<int>{1, 0}));
    EXPECT_EQ(await(m_sender.sendAudioData(0, 0, std::vector<std::uint8_t>(10))),
              ErrorID::NotConnected);

    startReceiver(); // the same sender connects once there is someone to connect to
    connectSender();
}

TEST_F(TransferTest, SenderWithoutChannelOrAddressRefusesClearly)
{
    smt2::AudioSender lonely(m_pool);
    EXPECT_EQ(await(lonely.connect()), ErrorID::NoTransportChannel);
    EXPECT_EQ(await(lonely.sendAudioData(0, 0, {})), ErrorID::NotConnected);
    EXPECT_EQ(await(lonely.sendFlush()), ErrorID::NotConnected);

    smt2::UnixClientSocketChannel unaddressed(m_senderLoop);
    ASSERT_TRUE(lonely.setTransportChannel(unaddressed));
    EXPECT_EQ(await(lonely.connect()), ErrorID::ConnectFailed);

    unaddressed.setSocketAddress(std::string(200, 'x'));
    EXPECT_EQ(await(lonely.connect()), ErrorID::InvalidArgument);

    // A sender stays on the loop of its first channel.
    miscUtils::IOEventLoopThread otherLoop(3, "other");
    smt2::UnixClientSocketChannel elsewhere(otherLoop);
    EXPECT_FALSE(lonely.setTransportChannel(elsewhere));
    smt2::UnixClientSocketChannel sameLoop(m_senderLoop);
    EXPECT_TRUE(lonely.setTransportChannel(sameLoop));
}

TEST_F(TransferTest, Smt2AddressesAreAcceptedByBothEndsAndConnectingTwiceIsRefused)
{
    m_receiverLog.attach(m_receiver);
    ASSERT_EQ(m_receiver.listen("smt2://" + socketPath() + "?queueSizeInBytes=1048576"),
              ErrorID::NoError);
    EXPECT_EQ(m_receiver.socketPath(), socketPath());
    m_channel.setSocketAddress("smt2://" + socketPath() + "?queueSizeInBytes=1048576");
    EXPECT_EQ(m_channel.socketAddress(), socketPath());
    connectSender();
    EXPECT_EQ(await(m_sender.connect()), ErrorID::AlreadyConnected);
    EXPECT_EQ(await(m_sender.sendAudioData(0, 0, std::vector<std::uint8_t>(1))), ErrorID::NoError);
}

TEST_F(TransferTest, VersionMismatchEitherWayFailsTheHandshake)
{
    m_receiver.setProtocolVersion(smt2::wire::kProtocolVersion + 1);
    startReceiver();
    EXPECT_EQ(await(m_sender.connect()), ErrorID::VersionMismatch);
    EXPECT_EQ(m_senderLog.handshakeFailures(), 1);
    EXPECT_EQ(m_senderLog.states(), (std::vector<int>{1, 2, 0}));
    EXPECT_EQ(m_sender.state(), smt2::SenderState::Disconnected);

    // The refused sender was never announced, and the receiver serves the next one.
    m_receiver.setProtocolVersion(smt2::wire::kProtocolVersion);
    connectSender();
    m_receiverLog.read([](ReceiverLog& log) {
        EXPECT_EQ(log.m_connected, 1);
        EXPECT_TRUE(log.m_disconnects.empty());
    });
}

TEST_F(TransferTest, SecondSenderWaitsUntilTheFirstHasGone)
{
    startReceiver();
    connectSender();

    smt2::UnixClientSocketChannel secondChannel(m_senderLoop);
    secondChannel.setSocketAddress(socketPath());
    smt2::AudioSender second(m_pool);
    second.setTransportChannel(secondChannel);
    second.setHandshakeTimeout(kPatience * 2);
    auto secondConnected = second.connect();
    // A full round trip of the first sender: the receiver is busy with it, not with the second.
    EXPECT_EQ(await(m_sender.sendFlush()), ErrorID::NoError);
    m_receiverLoop.invoke([] {}).wait();
    EXPECT_FALSE(secondConnected.is_ready());
    EXPECT_EQ(second.state(), smt2::SenderState::Handshaking);

    m_sender.disconnect();
    EXPECT_EQ(await(secondConnected), ErrorID::NoError);
    EXPECT_EQ(await(second.sendFlush()), ErrorID::NoError);
}

TEST_F(TransferTest, SilentReceiverFailsTheHandshakeAfterItsTimeout)
{
    RawSocket silent = RawSocket::listenOn(socketPath()); // accepts into its backlog, never answers
    ASSERT_TRUE(silent.valid());
    m_sender.setHandshakeTimeout(50ms);
    EXPECT_EQ(await(m_sender.connect()), ErrorID::HandshakeFailed);
    EXPECT_EQ(m_senderLog.handshakeFailures(), 1);
    EXPECT_EQ(m_senderLog.states(), (std::vector<int>{1, 2, 0}));
}

TEST_F(TransferTest, SilentSenderIsDroppedAndTheNextOneServed)
{
    m_receiver.setHandshakeTimeout(50ms);
    startReceiver();
    RawSocket silent = RawSocket::connectTo(socketPath());
    ASSERT_TRUE(silent.valid());
    EXPECT_TRUE(silent.readToEnd().empty()); // closed by the receiver without a word
    connectSender();
}

TEST_F(TransferTest, ReceiverDropsASenderThatBreaksTheProtocol)
{
    startReceiver();
    RawSocket rogue = RawSocket::connectTo(socketPath());
    ASSERT_TRUE(rogue.valid());
    ASSERT_TRUE(rogue.send(smt2::wire::encodeHello(smt2::wire::kProtocolVersion)));
    ASSERT_TRUE(rogue.send(smt2::wire::encodeMessage(static_cast<smt2::wire::MessageType>(99))));
    const auto reply = rogue.readToEnd(); // the HelloReply, then the end of the stream
    ASSERT_EQ(reply, smt2::wire::encodeHelloReply(smt2::wire::HelloStatus::Accepted,
                                                  smt2::wire::kProtocolVersion));
    ASSERT_TRUE(
        m_receiverLog.waitUntil([](ReceiverLog& log) { return log.m_disconnects.size() == 1; }));
    m_receiverLog.read(
        [](ReceiverLog& log) { EXPECT_EQ(log.m_disconnects[0], ErrorID::ProtocolError); });
    connectSender();
}

TEST_F(TransferTest, ListenRefusesBadPathsWithAReason)
{
    EXPECT_EQ(m_receiver.listen(m_dir + "/" + std::string(150, 'a')), ErrorID::InvalidArgument);
    EXPECT_NE(m_receiver.errorString().find("longer"), std::string::npos);

    const std::string regular = m_dir + "/not-a-socket";
    std::ofstream(regular) << "keep me";
    EXPECT_EQ(m_receiver.listen(regular), ErrorID::InvalidArgument);
    EXPECT_NE(m_receiver.errorString().find("not a socket"), std::string::npos);
    std::string kept;
    std::getline(std::ifstream(regular), kept);
    EXPECT_EQ(kept, "keep me");
    ::unlink(regular.c_str());

    ASSERT_EQ(m_receiver.listen(socketPath()), ErrorID::NoError);
    EXPECT_EQ(m_receiver.listen(socketPath()), ErrorID::InvalidArgument);
}

TEST_F(TransferTest, StaleSocketFileIsReplacedAndRemovedOnClose)
{
    {
        RawSocket leftover = RawSocket::listenOn(socketPath()); // closed, file stays behind
        ASSERT_TRUE(leftover.valid());
    }
    startReceiver();
    connectSender();
    m_receiver.close();
    EXPECT_NE(::access(socketPath().c_str(), F_OK), 0);
}

} // namespace
