// The audio path against the SDK's real smt2 receiver on a temporary socket: pacing (one send in
// flight, at most 64 KiB), the output delay, and a stop that cannot hang on a streamer that never
// answers its flush.
#include "siriusPlaylogic/smtAudioSender.h"

#include <smt2/AudioReceiver.h>

#include <QTemporaryDir>
#include <atomic>
#include <gtest/gtest.h>
#include <mutex>

namespace {

using sirius::SmtAudioSender;
using namespace std::chrono_literals;

template <class Done>
bool eventually(Done done, std::chrono::milliseconds limit = 5s)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

/// The streamer's end: a receiver that records what arrives and can stop answering flushes.
class Streamer
{
public:
    explicit Streamer(const std::string& socket)
    {
        m_receiver.onAudioFrame([this](const smt2::AudioFrame& frame) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_received.append(frame.data);
            ++m_frames;
        });
        m_receiver.onSequenceInfo([this](const std::string& type, const miscUtils::VariantHash&) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_audioType = type;
        });
        m_receiver.onFlushRequested([this](smt2::AudioReceiver::FlushToken token) {
            if (m_answerFlushes)
                m_receiver.acknowledgeFlush(token);
        });
        EXPECT_EQ(m_receiver.listen(socket), smt2::ErrorID::NoError) << m_receiver.errorString();
    }

    QByteArray received() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_received;
    }
    int frames() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_frames;
    }
    std::string audioType() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_audioType;
    }

    miscUtils::IOEventLoopThread m_loop{1, "test_streamer"};
    smt2::AudioReceiver m_receiver{m_loop};
    std::atomic<bool> m_answerFlushes{true};

private:
    mutable std::mutex m_mutex;
    QByteArray m_received;
    int m_frames = 0;
    std::string m_audioType;
};

class SmtAudioSenderTest : public ::testing::Test
{
protected:
    QString address() const { return QStringLiteral("smt2://") + m_dir.filePath("s.sock"); }

    /// A sender whose listener counts, connected to `streamer`.
    std::unique_ptr<SmtAudioSender> connectedSender()
    {
        auto sender =
            std::make_unique<SmtAudioSender>(address(), [this] { return m_buffered.load(); });
        sender->setListener({[this] { ++m_connected; },
                             [this] {
                                 ++m_sent;
                             }});
        sender->start();
        EXPECT_TRUE(eventually([&] { return m_connected == 1; }));
        EXPECT_EQ(sender->state(), SmtAudioSender::kConnected);
        return sender;
    }

    QTemporaryDir m_dir;
    std::atomic<qint64> m_buffered{0};
    std::atomic<int> m_connected{0};
    std::atomic<int> m_sent{0};
};

TEST_F(SmtAudioSenderTest, RefusesAudioUntilConnectedAndLeavesTheDelayAlone)
{
    SmtAudioSender sender(address(), [] { return qint64(0); });
    unsigned delay = 777;
    EXPECT_EQ(sender.write(QByteArray(100, 'a'), 128000, &delay), 0);
    EXPECT_EQ(delay, 777u);
    // No streamer listens: the connect fails, the library is never started.
    std::atomic<int> connected{0};
    sender.setListener({[&] { ++connected; }, {}});
    sender.start();
    EXPECT_TRUE(eventually([&] { return sender.state() == 0; }));
    EXPECT_EQ(connected, 0);
}

TEST_F(SmtAudioSenderTest, SendsOneBlockAtATimeAndReportsTheQueuedDelay)
{
    Streamer streamer(address().mid(7).toStdString());
    const auto sender = connectedSender();
    EXPECT_TRUE(eventually([&] { return !streamer.audioType().empty(); }))
        << "the opaque format is announced at every connection";

    QByteArray big(100000, '\0');
    for (int i = 0; i < big.size(); ++i)
        big[i] = char(i * 7);
    m_buffered = 10000;
    unsigned delay = 0;
    ASSERT_EQ(sender->write(big, 64000, &delay), SmtAudioSender::kMaxSendBytes);
    EXPECT_EQ(delay, (10000u + 65536u) * 8000u / 64000u);
    ASSERT_TRUE(eventually([&] { return m_sent == 1; }));
    EXPECT_EQ(sender->write(big.mid(65536), 64000, nullptr), 100000 - 65536);
    ASSERT_TRUE(eventually([&] { return streamer.received().size() == big.size(); }));
    EXPECT_EQ(streamer.received(), big);
    EXPECT_EQ(streamer.frames(), 2);

    // A bit rate of 0 leaves the delay untouched; an empty block takes nothing.
    delay = 5;
    EXPECT_EQ(sender->write(QByteArray(), 0, &delay), 0);
    EXPECT_EQ(delay, 5u);
}

TEST_F(SmtAudioSenderTest, AStreamerThatStopsReadingHoldsTheLibraryBack)
{
    Streamer streamer(address().mid(7).toStdString());
    streamer.m_receiver.pauseReading();
    const auto sender = connectedSender();
    const QByteArray block(16384, 'x');
    m_buffered = 4000;
    // Feed as the library does: offer, and offer again after a completed send was reported.
    int taken = 0;
    int refused = 0;
    for (int attempt = 0; attempt < 2000 && refused < 50; ++attempt) {
        const int sentBefore = m_sent;
        unsigned delay = 0;
        const int took = sender->write(block, 128000, &delay);
        taken += took;
        if (took == 0) {
            ++refused;
            EXPECT_GT(delay, 0u) << "a refused block still reports the delay";
            eventually([&] { return m_sent > sentBefore; }, 20ms);
        }
    }
    // Bounded by the receiver's read-ahead (512 KiB), the socket buffers and one send: the rest
    // was refused, never queued here.
    EXPECT_EQ(refused, 50);
    EXPECT_LT(taken, 2 * 1024 * 1024);
    streamer.m_receiver.resumeReading();
    EXPECT_TRUE(eventually([&] { return streamer.received().size() == taken; }));
}

TEST_F(SmtAudioSenderTest, AFlushThatIsNeverAnsweredStillEndsTheConnection)
{
    Streamer streamer(address().mid(7).toStdString());
    streamer.m_answerFlushes = false;
    const auto sender = connectedSender();
    const auto started = std::chrono::steady_clock::now();
    EXPECT_FALSE(sender->flushAndDisconnect(100ms));
    EXPECT_GE(std::chrono::steady_clock::now() - started, 100ms);
    EXPECT_EQ(sender->state(), 0) << "disconnected when it returns, ready for the next start";

    streamer.m_answerFlushes = true;
    m_connected = 0;
    sender->start();
    ASSERT_TRUE(eventually([&] { return m_connected == 1; }));
    EXPECT_TRUE(sender->flushAndDisconnect(5s));
}

} // namespace
