// Audio, flushes, back-pressure and lost receivers between a real sender and receiver.
#include "TransferFixture.h"

#include <audioUtils/AudioTypes.h>
#include <miscUtils/NoTimeValue.h>
#include <smt2/WireFormat.h>

#include <atomic>
#include <cstring>
#include <random>

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
    sender.setAudioSequenceInfo(audioUtils::opaqueAudioType(), params); // before connecting
    connectSender();
    EXPECT_EQ(senderLog.states(), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(sender.state(), smt2::SenderState::Connected);

    const QByteArray first = patternBytes(1000, 1);
    const QByteArray second = patternBytes(3, 2);
    EXPECT_EQ(await(sender.sendAudioData(90000, 89000, first)), ErrorID::NoError);
    EXPECT_EQ(await(sender.sendAudioData(miscUtils::NoTimeValue, miscUtils::NoTimeValue, second)),
              ErrorID::NoError);
    ASSERT_TRUE(receiverLog.waitUntil([](ReceiverLog& log) { return log.m_frames.size() == 2; }));

    receiverLog.read([&](ReceiverLog& log) {
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

TEST_F(TransferTest, SequenceInfoSetWhileConnectedIsSentAtOnceAndForgottenAtDisconnect)
{
    startReceiver();
    connectSender();
    sender.setAudioSequenceInfo("audio/aac", {});
    ASSERT_TRUE(
        receiverLog.waitUntil([](ReceiverLog& log) { return log.m_sequenceInfo.size() == 1; }));

    sender.disconnect();
    ASSERT_TRUE(
        receiverLog.waitUntil([](ReceiverLog& log) { return log.m_disconnects.size() == 1; }));
    connectSender();
    EXPECT_EQ(await(sender.sendAudioData(1, 1, patternBytes(10, 0))), ErrorID::NoError);
    ASSERT_TRUE(receiverLog.waitUntil([](ReceiverLog& log) { return log.m_frames.size() == 1; }));
    receiverLog.read([](ReceiverLog& log) { EXPECT_EQ(log.m_sequenceInfo.size(), 1u); });
}

TEST_F(TransferTest, SendCompletesOnceInTheSocketNotOnceRead)
{
    startReceiver();
    connectSender();
    receiver.pauseReading();
    EXPECT_EQ(await(sender.sendAudioData(0, 0, patternBytes(1024, 3))), ErrorID::NoError);
    receiverLog.read([](ReceiverLog& log) { EXPECT_TRUE(log.m_frames.empty()); });
    // Read ahead, but held back from the host, and counted as such.
    ASSERT_TRUE(eventually([&] { return receiver.readAheadBytes() >= 1024; }));
    receiverLog.read([](ReceiverLog& log) { EXPECT_TRUE(log.m_frames.empty()); });

    receiver.resumeReading();
    ASSERT_TRUE(receiverLog.waitUntil([](ReceiverLog& log) { return log.m_frames.size() == 1; }));
    receiverLoop.invoke([] {}).wait();
    EXPECT_EQ(receiver.readAheadBytes(), 0u);
}

TEST_F(TransferTest, StalledReceiverHoldsSendsBackAndLosesNothing)
{
    startReceiver();
    connectSender();
    receiver.pauseReading();

    // Far more than the socket buffers can hold: the last sends cannot complete while the
    // receiver does not read, whatever the timing.
    constexpr int sends = 128;
    constexpr int size = 64 * 1024;
    std::vector<smt2::Future<ErrorID>> results;
    for (int i = 0; i < sends; ++i)
        results.push_back(sender.sendAudioData(i, i, patternBytes(size, static_cast<char>(i))));
    EXPECT_EQ(await(results.front()), ErrorID::NoError);
    EXPECT_FALSE(results.back().is_ready());
    receiverLog.read([](ReceiverLog& log) { EXPECT_TRUE(log.m_frames.empty()); });

    receiver.resumeReading();
    for (auto& result : results)
        EXPECT_EQ(await(result), ErrorID::NoError);
    ASSERT_TRUE(
        receiverLog.waitUntil([](ReceiverLog& log) { return log.m_frames.size() == sends; }));
    receiverLog.read([](ReceiverLog& log) {
        for (int i = 0; i < sends; ++i) {
            EXPECT_EQ(log.m_frames[i].pts, i);
            EXPECT_EQ(log.m_frames[i].data, patternBytes(size, static_cast<char>(i)))
                << "frame " << i;
        }
    });
}

TEST_F(TransferTest, PausingFromTheFrameCallbackStopsBeforeTheNextFrame)
{
    std::atomic<int> delivered{0};
    receiverLog.attach(receiver);
    receiver.onAudioFrame([&](const smt2::AudioFrame&) {
        ++delivered;
        receiver.pauseReading();
    });
    ASSERT_EQ(receiver.listen(socketPath()), ErrorID::NoError);
    connectSender();
    std::vector<smt2::Future<ErrorID>> results;
    for (int i = 0; i < 3; ++i)
        results.push_back(sender.sendAudioData(i, i, patternBytes(100, static_cast<char>(i))));
    for (auto& result : results)
        EXPECT_EQ(await(result), ErrorID::NoError); // all three are in the socket

    // Each resume lets exactly one frame through, also when the next ones are already read.
    for (int expected = 1; expected <= 3; ++expected) {
        ASSERT_TRUE(eventually([&] { return delivered.load() >= expected; }));
        receiverLoop.invoke([] {}).wait(); // a wrongly delivered extra frame would land by now
        EXPECT_EQ(delivered.load(), expected);
        receiver.resumeReading();
    }
}

TEST_F(TransferTest, FlushCompletesOnlyWhenAcknowledged)
{
    startReceiver(/*holdFlushes=*/true);
    connectSender();
    EXPECT_EQ(await(sender.sendAudioData(0, 0, patternBytes(500, 0))), ErrorID::NoError);
    auto flushed = sender.sendFlush();
    ASSERT_TRUE(receiverLog.waitUntil([](ReceiverLog& log) { return log.m_flushes.size() == 1; }));
    receiverLog.read([](ReceiverLog& log) { EXPECT_EQ(log.m_frames.size(), 1u); }); // sent before
    // A later round trip proves the sender has had every chance to see an acknowledgement.
    EXPECT_EQ(await(sender.sendAudioData(1, 1, patternBytes(5, 1))), ErrorID::NoError);
    ASSERT_TRUE(receiverLog.waitUntil([](ReceiverLog& log) { return log.m_frames.size() == 2; }));
    EXPECT_FALSE(flushed.is_ready());

    receiver.acknowledgeFlush(receiverLog.read([](ReceiverLog& log) { return log.m_flushes[0]; }));
    EXPECT_EQ(await(flushed), ErrorID::NoError);
}

TEST_F(TransferTest, FlushReachesAPausedReceiverAndDropsTheUnreadAudioBeforeIt)
{
    startReceiver(/*holdFlushes=*/true);
    miscUtils::VariantHash params;
    params.insert("rate", 48000);
    connectSender();
    receiver.pauseReading();
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(await(sender.sendAudioData(i, i, patternBytes(1024, 0))), ErrorID::NoError);
    sender.setAudioSequenceInfo("audio/x-opaque", params);
    auto flushed = sender.sendFlush();

    // Reported although nobody reads frames, with the frames before it gone.
    ASSERT_TRUE(receiverLog.waitUntil([](ReceiverLog& log) { return log.m_flushes.size() == 1; }));
    receiverLog.read([](ReceiverLog& log) {
        EXPECT_TRUE(log.m_frames.empty());
        ASSERT_EQ(log.m_sequenceInfo.size(), 1u); // a format change is kept
        EXPECT_EQ(log.m_sequenceInfo[0].second.value("rate").toInt(), 48000);
    });
    receiver.acknowledgeFlush(receiverLog.read([](ReceiverLog& log) { return log.m_flushes[0]; }));
    EXPECT_EQ(await(flushed), ErrorID::NoError);

    EXPECT_EQ(await(sender.sendAudioData(100, 100, patternBytes(10, 9))), ErrorID::NoError);
    receiver.resumeReading();
    ASSERT_TRUE(receiverLog.waitUntil([](ReceiverLog& log) { return !log.m_frames.empty(); }));
    receiverLoop.invoke([] {}).wait();
    receiverLog.read([](ReceiverLog& log) {
        ASSERT_EQ(log.m_frames.size(), 1u);
        EXPECT_EQ(log.m_frames[0].pts, 100);
    });
}

TEST_F(TransferTest, StreamEndingWhilePausedStillDeliversWhatCameBefore)
{
    startReceiver();
    connectSender();
    receiver.pauseReading();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(await(sender.sendAudioData(i, i, patternBytes(2000, 1))), ErrorID::NoError);
    sender.disconnect();
    // Give the receiver the chance to read ahead to the goodbye.
    for (int turn = 0; turn < 3; ++turn) {
        senderLoop.invoke([] {}).wait();
        receiverLoop.invoke([] {}).wait();
    }
    receiverLog.read([](ReceiverLog& log) {
        EXPECT_TRUE(log.m_frames.empty());
        EXPECT_TRUE(log.m_disconnects.empty());
    });
    receiver.resumeReading();
    ASSERT_TRUE(receiverLog.waitUntil([](ReceiverLog& log) { return !log.m_disconnects.empty(); }));
    receiverLog.read([](ReceiverLog& log) {
        EXPECT_EQ(log.m_frames.size(), 3u);
        EXPECT_EQ(log.m_disconnects[0], ErrorID::NoError);
    });
}

TEST_F(TransferTest, FlushWithoutAHandlerIsAcknowledgedAtOnce)
{
    startReceiver(/*holdFlushes=*/false);
    connectSender();
    EXPECT_EQ(await(sender.sendFlush()), ErrorID::NoError);
    EXPECT_EQ(await(sender.sendFlush()), ErrorID::NoError);
}

TEST_F(TransferTest, ReceiverGoingAwayFailsPendingAndLaterSends)
{
    startReceiver(/*holdFlushes=*/true);
    connectSender();
    receiver.pauseReading();
    std::vector<smt2::Future<ErrorID>> results;
    for (int i = 0; i < 64; ++i)
        results.push_back(sender.sendAudioData(i, i, patternBytes(64 * 1024, 0)));
    auto flushed = sender.sendFlush();
    EXPECT_EQ(await(results.front()), ErrorID::NoError);
    // Every send has reached the sender's queue (sends still on their way to it when the
    // connection breaks would find it gone: NotConnected).
    senderLoop.invoke([] {}).wait();

    receiver.close(); // unread data in its socket: the sender sees a reset or an end of stream

    EXPECT_EQ(await(results.back()), ErrorID::Disconnected);
    EXPECT_EQ(await(flushed), ErrorID::Disconnected);
    for (auto& result : results) {
        const ErrorID error = await(result);
        EXPECT_TRUE(error == ErrorID::NoError || error == ErrorID::Disconnected)
            << smt2::toString(error);
    }
    EXPECT_EQ(await(sender.sendAudioData(0, 0, patternBytes(10, 0))), ErrorID::NotConnected);
    EXPECT_EQ(await(sender.sendFlush()), ErrorID::NotConnected);
    EXPECT_EQ(sender.state(), smt2::SenderState::Disconnected);
    EXPECT_EQ(senderLog.states().back(), 0);
    EXPECT_EQ(senderLog.handshakeFailures(), 0);
}

TEST_F(TransferTest, ReceiverGoingAwayWhileIdleIsNoticedWithoutASend)
{
    startReceiver();
    connectSender();
    receiver.close();
    // The sender notices the end of the stream on its own and reports it through its state.
    ASSERT_TRUE(eventually([&] { return sender.state() == smt2::SenderState::Disconnected; }));
    EXPECT_EQ(await(sender.sendAudioData(0, 0, patternBytes(10, 0))), ErrorID::NotConnected);
}

TEST_F(TransferTest, DisconnectCancelsPendingWorkSaysGoodbyeAndLateAcknowledgementsAreIgnored)
{
    startReceiver(/*holdFlushes=*/true);
    connectSender();
    auto firstFlush = sender.sendFlush();
    ASSERT_TRUE(receiverLog.waitUntil([](ReceiverLog& log) { return log.m_flushes.size() == 1; }));
    sender.disconnect();
    EXPECT_EQ(await(firstFlush), ErrorID::Cancelled);
    ASSERT_TRUE(
        receiverLog.waitUntil([](ReceiverLog& log) { return log.m_disconnects.size() == 1; }));
    receiverLog.read([](ReceiverLog& log) { EXPECT_EQ(log.m_disconnects[0], ErrorID::NoError); });
    EXPECT_EQ(senderLog.states(), (std::vector<int>{1, 2, 3, 4, 0}));
    sender.disconnect(); // twice is harmless
    EXPECT_EQ(await(sender.sendAudioData(0, 0, patternBytes(1, 0))), ErrorID::NotConnected);

    // The acknowledgement of the ended connection's flush must not complete the new one, which
    // has the same flush id, 1.
    connectSender();
    auto secondFlush = sender.sendFlush();
    ASSERT_TRUE(receiverLog.waitUntil([](ReceiverLog& log) { return log.m_flushes.size() == 2; }));
    receiver.acknowledgeFlush(receiverLog.read([](ReceiverLog& log) { return log.m_flushes[0]; }));
    EXPECT_EQ(await(sender.sendAudioData(0, 0, patternBytes(1, 0))), ErrorID::NoError);
    ASSERT_TRUE(receiverLog.waitUntil([](ReceiverLog& log) { return log.m_frames.size() == 1; }));
    receiverLoop.invoke([] {}).wait();
    senderLoop.invoke([] {}).wait();
    EXPECT_FALSE(secondFlush.is_ready());
    receiver.acknowledgeFlush(receiverLog.read([](ReceiverLog& log) { return log.m_flushes[1]; }));
    EXPECT_EQ(await(secondFlush), ErrorID::NoError);
}

TEST_F(TransferTest, DisconnectWhileSendsWaitCancelsThem)
{
    startReceiver();
    connectSender();
    receiver.pauseReading();
    std::vector<smt2::Future<ErrorID>> results;
    for (int i = 0; i < 64; ++i)
        results.push_back(sender.sendAudioData(i, i, patternBytes(64 * 1024, 0)));
    EXPECT_EQ(await(results.front()), ErrorID::NoError);
    sender.disconnect();
    EXPECT_EQ(await(results.back()), ErrorID::Cancelled);
    receiver.resumeReading();
    // The receiver sees either the goodbye or a frame broken off: either way the stream ends.
    ASSERT_TRUE(
        receiverLog.waitUntil([](ReceiverLog& log) { return log.m_disconnects.size() == 1; }));
}

TEST_F(TransferTest, ContinuationsRunOnTheSendersLoopThread)
{
    startReceiver();
    connectSender();
    receiver.pauseReading();
    // Bigger than the socket buffers, so it is certainly still pending when then() attaches.
    auto pending = sender.sendAudioData(0, 0, patternBytes(4 * 1024 * 1024, 0));
    auto ranOnLoop =
        pending.then([this](smt2::Future<ErrorID>) { return senderLoop.isLoopThread(); });
    EXPECT_FALSE(pending.is_ready());
    receiver.resumeReading();
    ASSERT_EQ(ranOnLoop.wait_for(kPatience), std::future_status::ready);
    EXPECT_TRUE(ranOnLoop.get());
}

TEST_F(TransferTest, DestroyingTheSenderEndsTheConnection)
{
    startReceiver();
    smt2::UnixClientSocketChannel otherChannel(senderLoop); // one connection per channel
    otherChannel.setSocketAddress(socketPath());
    auto other = std::make_unique<smt2::AudioSender>(pool);
    other->setTransportChannel(otherChannel);
    ASSERT_EQ(await(other->connect()), ErrorID::NoError);
    ASSERT_TRUE(receiverLog.waitUntil([](ReceiverLog& log) { return log.m_connected == 1; }));
    other.reset();
    ASSERT_TRUE(
        receiverLog.waitUntil([](ReceiverLog& log) { return log.m_disconnects.size() == 1; }));
    connectSender(); // the receiver is free for the next sender
}

TEST_F(TransferTest, OversizedSendIsRefused)
{
    startReceiver();
    connectSender();
    std::vector<std::uint8_t> huge(smt2::wire::MaxAudioBytes + 1);
    EXPECT_EQ(await(sender.sendAudioData(0, 0, huge)), ErrorID::InvalidArgument);
    EXPECT_EQ(await(sender.sendAudioData(0, 0, patternBytes(1, 0))),
              ErrorID::NoError); // still usable
}

// Content that depends only on the position in the stream, cheap to produce on both ends.
std::uint8_t streamByte(std::size_t offset)
{
    return static_cast<std::uint8_t>((offset * 0x9E3779B97F4A7C15ull) >> 56);
}

TEST_F(TransferTest, HundredMegabytesOneSendAtATimeArriveByteExact)
{
    // Chunk sizes come from a seeded generator on both ends, so the receiver checks every
    // frame boundary and every byte without keeping 100 MB around.
    constexpr std::size_t total = 100u * 1000 * 1000;
    constexpr std::size_t maxChunk = 128 * 1024;
    constexpr std::uint32_t seed = 20240601;
    std::mutex checkMutex; // guards the four counters and expectedSizes
    std::size_t mismatches = 0;
    std::size_t frames = 0;
    std::size_t received = 0;
    std::mt19937 expectedSizes(seed);
    receiverLog.attach(receiver);
    receiver.onAudioFrame([&](const smt2::AudioFrame& frame) {
        std::lock_guard<std::mutex> lock(checkMutex);
        const std::size_t expectedSize =
            std::min<std::size_t>(1 + expectedSizes() % maxChunk, total - received);
        if (static_cast<std::size_t>(frame.data.size()) != expectedSize)
            ++mismatches;
        const auto* data = reinterpret_cast<const std::uint8_t*>(frame.data.constData());
        for (int i = 0; i < frame.data.size(); ++i) {
            if (data[i] != streamByte(received + static_cast<std::size_t>(i)))
                ++mismatches;
        }
        received += static_cast<std::size_t>(frame.data.size());
        ++frames;
    });
    ASSERT_EQ(receiver.listen(socketPath()), ErrorID::NoError);
    ASSERT_EQ(await(sender.connect()), ErrorID::NoError);

    std::mt19937 sizes(seed);
    std::vector<std::uint8_t> chunk;
    std::size_t sent = 0;
    std::size_t sends = 0;
    while (sent < total) {
        const std::size_t size = std::min<std::size_t>(1 + sizes() % maxChunk, total - sent);
        chunk.resize(size);
        for (std::size_t i = 0; i < size; ++i)
            chunk[i] = streamByte(sent + i);
        ASSERT_EQ(await(sender.sendAudioData(0, 0, chunk)), ErrorID::NoError);
        sent += size;
        ++sends;
    }
    ASSERT_EQ(await(sender.sendFlush()), ErrorID::NoError); // every frame has been read now
    std::lock_guard<std::mutex> lock(checkMutex);
    EXPECT_EQ(received, total);
    EXPECT_EQ(frames, sends);
    EXPECT_EQ(mismatches, 0u);
}

} // namespace
