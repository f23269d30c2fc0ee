// Audio, flushes, back-pressure and lost receivers between a real sender and receiver.
#include "TransferFixture.h"

#include <audioUtils/AudioTypes.h>
#include <miscUtils/NoTimeValue.h>
#include <smt2/WireFormat.h>

#include <atomic>

namespace {

using namespace smt2test;
using smt2::ErrorID;

QByteArray patternBytes(int size, char seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(seed + i * 31);
    return bytes;
}

TEST_F(TransferTest, FramesArriveWithTheirTimestampsAndFormat)
{
    startReceiver();
    miscUtils::VariantHash params;
    params.insert("channels", 2);
    m_sender.setAudioSequenceInfo(audioUtils::opaqueAudioType(), params); // before connecting
    connectSender();
    EXPECT_EQ(m_senderLog.states(), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(m_sender.state(), smt2::SenderState::Connected);

    const QByteArray first = patternBytes(1000, 1);
    const QByteArray second = patternBytes(3, 2);
    EXPECT_EQ(await(m_sender.sendAudioData(90000, 89000, first)), ErrorID::NoError);
    EXPECT_EQ(await(m_sender.sendAudioData(miscUtils::NoTimeValue, miscUtils::NoTimeValue, second)),
              ErrorID::NoError);
    ASSERT_TRUE(m_receiverLog.waitUntil([](ReceiverLog& log) { return log.m_frames.size() == 2; }));

    m_receiverLog.read([&](ReceiverLog& log) {
        ASSERT_EQ(log.m_sequenceInfo.size(), 1u);
        EXPECT_EQ(log.m_sequenceInfo[0].first, "audio/x-opaque");
        EXPECT_EQ(log.m_sequenceInfo[0].second.value("channels").toInt(), 2);
        EXPECT_EQ(log.m_frames[0].data, first);
        EXPECT_TRUE(log.m_frames[0].hasPts());
        EXPECT_EQ(log.m_frames[0].pts, 90000);
        EXPECT_EQ(log.m_frames[0].dts, 89000);
        EXPECT_EQ(log.m_frames[1].data, second);
        EXPECT_FALSE(log.m_frames[1].hasPts());
        EXPECT_FALSE(log.m_frames[1].hasDts());
    });
}

TEST_F(TransferTest, StalledReceiverHoldsSendsBackAndLosesNothing)
{
    startReceiver();
    connectSender();
    m_receiver.pauseReading();

    // Far more than the socket buffers can hold: the last sends cannot complete while the
    // receiver does not read, whatever the timing.
    constexpr int kSends = 128;
    constexpr int kSize = 64 * 1024;
    std::vector<smt2::Future<ErrorID>> results;
    for (int i = 0; i < kSends; ++i)
        results.push_back(m_sender.sendAudioData(i, i, patternBytes(kSize, static_cast<char>(i))));
    EXPECT_EQ(await(results.front()), ErrorID::NoError);
    EXPECT_FALSE(results.back().is_ready());
    m_receiverLog.read([](ReceiverLog& log) { EXPECT_TRUE(log.m_frames.empty()); });

    m_receiver.resumeReading();
    for (auto& result : results)
        EXPECT_EQ(await(result), ErrorID::NoError);
    ASSERT_TRUE(
        m_receiverLog.waitUntil([](ReceiverLog& log) { return log.m_frames.size() == kSends; }));
    m_receiverLog.read([](ReceiverLog& log) {
        for (int i = 0; i < kSends; ++i) {
            EXPECT_EQ(log.m_frames[i].pts, i);
            EXPECT_EQ(log.m_frames[i].data, patternBytes(kSize, static_cast<char>(i)))
                << "frame " << i;
        }
    });
}

TEST_F(TransferTest, PausingFromTheFrameCallbackStopsBeforeTheNextFrame)
{
    std::atomic<int> delivered{0};
    m_receiverLog.attach(m_receiver);
    m_receiver.onAudioFrame([&](const smt2::AudioFrame&) {
        ++delivered;
        m_receiver.pauseReading();
    });
    ASSERT_EQ(m_receiver.listen(socketPath()), ErrorID::NoError);
    connectSender();
    std::vector<smt2::Future<ErrorID>> results;
    for (int i = 0; i < 3; ++i)
        results.push_back(m_sender.sendAudioData(i, i, patternBytes(100, static_cast<char>(i))));
    for (auto& result : results)
        EXPECT_EQ(await(result), ErrorID::NoError); // all three are in the socket

    // Each resume lets exactly one frame through, also when the next ones are already read.
    for (int expected = 1; expected <= 3; ++expected) {
        ASSERT_TRUE(eventually([&] { return delivered.load() >= expected; }));
        m_receiverLoop.invoke([] {}).wait(); // a wrongly delivered extra frame would land by now
        EXPECT_EQ(delivered.load(), expected);
        m_receiver.resumeReading();
    }
}

TEST_F(TransferTest, FlushReachesAPausedReceiverAndDropsTheUnreadAudioBeforeIt)
{
    startReceiver(/*holdFlushes=*/true);
    miscUtils::VariantHash params;
    params.insert("rate", 48000);
    connectSender();
    m_receiver.pauseReading();
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(await(m_sender.sendAudioData(i, i, patternBytes(1024, 0))), ErrorID::NoError);
    m_sender.setAudioSequenceInfo("audio/x-opaque", params);
    auto flushed = m_sender.sendFlush();

    // Reported although nobody reads frames, with the frames before it gone.
    ASSERT_TRUE(
        m_receiverLog.waitUntil([](ReceiverLog& log) { return log.m_flushes.size() == 1; }));
    m_receiverLog.read([](ReceiverLog& log) {
        EXPECT_TRUE(log.m_frames.empty());
        ASSERT_EQ(log.m_sequenceInfo.size(), 1u); // a format change is kept
        EXPECT_EQ(log.m_sequenceInfo[0].second.value("rate").toInt(), 48000);
    });
    m_receiver.acknowledgeFlush(
        m_receiverLog.read([](ReceiverLog& log) { return log.m_flushes[0]; }));
    EXPECT_EQ(await(flushed), ErrorID::NoError);

    EXPECT_EQ(await(m_sender.sendAudioData(100, 100, patternBytes(10, 9))), ErrorID::NoError);
    m_receiver.resumeReading();
    ASSERT_TRUE(m_receiverLog.waitUntil([](ReceiverLog& log) { return !log.m_frames.empty(); }));
    m_receiverLoop.invoke([] {}).wait();
    m_receiverLog.read([](ReceiverLog& log) {
        ASSERT_EQ(log.m_frames.size(), 1u);
        EXPECT_EQ(log.m_frames[0].pts, 100);
    });
}

TEST_F(TransferTest, ReceiverGoingAwayFailsPendingAndLaterSends)
{
    startReceiver(/*holdFlushes=*/true);
    connectSender();
    m_receiver.pauseReading();
    std::vector<smt2::Future<ErrorID>> results;
    for (int i = 0; i < 64; ++i)
        results.push_back(m_sender.sendAudioData(i, i, patternBytes(64 * 1024, 0)));
    auto flushed = m_sender.sendFlush();
    EXPECT_EQ(await(results.front()), ErrorID::NoError);
    // Every send has reached the sender's queue (sends still on their way to it when the
    // connection breaks would find it gone: NotConnected).
    m_senderLoop.invoke([] {}).wait();

    m_receiver.close(); // unread data in its socket: the sender sees a reset or an end of stream

    EXPECT_EQ(await(results.back()), ErrorID::Disconnected);
    EXPECT_EQ(await(flushed), ErrorID::Disconnected);
    for (auto& result : results) {
        const ErrorID error = await(result);
        EXPECT_TRUE(error == ErrorID::NoError || error == ErrorID::Disconnected)
            << smt2::toString(error);
    }
    EXPECT_EQ(await(m_sender.sendAudioData(0, 0, patternBytes(10, 0))), ErrorID::NotConnected);
    EXPECT_EQ(await(m_sender.sendFlush()), ErrorID::NotConnected);
    EXPECT_EQ(m_sender.state(), smt2::SenderState::Disconnected);
    EXPECT_EQ(m_senderLog.states().back(), 0);
    EXPECT_EQ(m_senderLog.handshakeFailures(), 0);
}

TEST_F(TransferTest, DisconnectCancelsPendingWorkSaysGoodbyeAndLateAcknowledgementsAreIgnored)
{
    startReceiver(/*holdFlushes=*/true);
    connectSender();
    auto firstFlush = m_sender.sendFlush();
    ASSERT_TRUE(
        m_receiverLog.waitUntil([](ReceiverLog& log) { return log.m_flushes.size() == 1; }));
    m_sender.disconnect();
    EXPECT_EQ(await(firstFlush), ErrorID::Cancelled);
    ASSERT_TRUE(
        m_receiverLog.waitUntil([](ReceiverLog& log) { return log.m_disconnects.size() == 1; }));
    m_receiverLog.read([](ReceiverLog& log) { EXPECT_EQ(log.m_disconnects[0], ErrorID::NoError); });
    EXPECT_EQ(m_senderLog.states(), (std::vector<int>{1, 2, 3, 4, 0}));
    m_sender.disconnect(); // twice is harmless
    EXPECT_EQ(await(m_sender.sendAudioData(0, 0, patternBytes(1, 0))), ErrorID::NotConnected);

    // The acknowledgement of the ended connection's flush must not complete the new one, which
    // has the same flush id, 1.
    connectSender();
    auto secondFlush = m_sender.sendFlush();
    ASSERT_TRUE(
        m_receiverLog.waitUntil([](ReceiverLog& log) { return log.m_flushes.size() == 2; }));
    m_receiver.acknowledgeFlush(
        m_receiverLog.read([](ReceiverLog& log) { return log.m_flushes[0]; }));
    EXPECT_EQ(await(m_sender.sendAudioData(0, 0, patternBytes(1, 0))), ErrorID::NoError);
    ASSERT_TRUE(m_receiverLog.waitUntil([](ReceiverLog& log) { return log.m_frames.size() == 1; }));
    m_receiverLoop.invoke([] {}).wait();
    m_senderLoop.invoke([] {}).wait();
    EXPECT_FALSE(secondFlush.is_ready());
    m_receiver.acknowledgeFlush(
        m_receiverLog.read([](ReceiverLog& log) { return log.m_flushes[1]; }));
    EXPECT_EQ(await(secondFlush), ErrorID::NoError);
}

TEST_F(TransferTest, ContinuationsRunOnTheSendersLoopThread)
{
    startReceiver();
    connectSender();
    m_receiver.pauseReading();
    // Bigger than the socket buffers, so it is certainly still pending when then() attaches.
    auto pending = m_sender.sendAudioData(0, 0, patternBytes(4 * 1024 * 1024, 0));
    auto ranOnLoop =
        pending.then([this](smt2::Future<ErrorID>) { return m_senderLoop.isLoopThread(); });
    EXPECT_FALSE(pending.is_ready());
    m_receiver.resumeReading();
    ASSERT_EQ(ranOnLoop.wait_for(kPatience), std::future_status::ready);
    EXPECT_TRUE(ranOnLoop.get());
}

TEST_F(TransferTest, OversizedSendIsRefused)
{
    startReceiver();
    connectSender();
    std::vector<std::uint8_t> huge(smt2::wire::kMaxAudioBytes + 1);
    EXPECT_EQ(await(m_sender.sendAudioData(0, 0, huge)), ErrorID::InvalidArgument);
    EXPECT_EQ(await(m_sender.sendAudioData(0, 0, patternBytes(1, 0))),
              ErrorID::NoError); // still usable
}

} // namespace
