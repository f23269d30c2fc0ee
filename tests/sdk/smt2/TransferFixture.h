// A receiver and a sender on their own event-loop threads, joined by a socket in a fresh
// temporary directory, with everything the receiver reports collected for the test thread.
#pragma once

#include <miscUtils/IOEventLoopThread.h>
#include <smt2/AudioReceiver.h>
#include <smt2/AudioSender.h>
#include <smt2/BufferPool.h>
#include <smt2/UnixClientSocketChannel.h>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace smt2test {

using namespace std::chrono_literals;

// Generous: it only turns a hang into a failure, it measures nothing.
constexpr auto kPatience = 60s;

// Everything the receiver's callbacks report, guarded for reading from the test thread.
class ReceiverLog
{
public:
    void attach(smt2::AudioReceiver& receiver, bool holdFlushes = false)
    {
        receiver.onSenderConnected([this] { update([this] { ++m_connected; }); });
        receiver.onSequenceInfo([this](const std::string& type, const miscUtils::VariantHash& p) {
            update([&] { m_sequenceInfo.emplace_back(type, p); });
        });
        receiver.onAudioFrame(
            [this](const smt2::AudioFrame& frame) { update([&] { m_frames.push_back(frame); }); });
        if (holdFlushes) {
            receiver.onFlushRequested([this](smt2::AudioReceiver::FlushToken t) {
                update([&] { m_flushes.push_back(t); });
            });
        }
        receiver.onSenderDisconnected(
            [this](smt2::ErrorID reason) { update([&] { m_disconnects.push_back(reason); }); });
    }

    template <class Predicate>
    bool waitUntil(Predicate ready)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, kPatience, [&] { return ready(*this); });
    }

    template <class Reader>
    auto read(Reader reader)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return reader(*this);
    }

    // Read only under waitUntil/read.
    int m_connected = 0;
    std::vector<std::pair<std::string, miscUtils::VariantHash>> m_sequenceInfo;
    std::vector<smt2::AudioFrame> m_frames;
    std::vector<smt2::AudioReceiver::FlushToken> m_flushes;
    std::vector<smt2::ErrorID> m_disconnects;

private:
    template <class Change>
    void update(Change change)
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            change();
        }
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
};

// The sender's reported states and handshake failures.
class SenderLog
{
public:
    void attach(smt2::AudioSender& sender)
    {
        sender.onStateChange([this](int state) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_states.push_back(state);
        });
        sender.onHandshakeFailed([this] {
            std::lock_guard<std::mutex> lock(m_mutex);
            ++m_handshakeFailures;
        });
    }
    std::vector<int> states()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_states;
    }
    int handshakeFailures()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_handshakeFailures;
    }

private:
    std::mutex m_mutex;
    std::vector<int> m_states;
    int m_handshakeFailures = 0;
};

// Waits for a result without ever hanging the test run; a never-ready future fails the test.
inline smt2::ErrorID await(const smt2::Future<smt2::ErrorID>& future)
{
    if (future.wait_for(kPatience) != std::future_status::ready) {
        ADD_FAILURE() << "future not ready after " << kPatience.count() << " s";
        return smt2::ErrorID::IOError;
    }
    return future.get();
}

// Polls until ready() holds; false only if it never does within kPatience.
template <class Predicate>
bool eventually(Predicate ready)
{
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!ready()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

class TransferTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/smt2test.XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_dir = pattern;
        m_socketPath = m_dir + "/stream.sock";
        m_channel.setSocketAddress(m_socketPath);
        m_channel.setSendBufferSize(131072);
        m_sender.setTransportChannel(m_channel);
        m_senderLog.attach(m_sender);
    }

    void TearDown() override
    {
        m_receiver.close();
        ::unlink(m_socketPath.c_str());
        ::rmdir(m_dir.c_str());
    }

    // A listening receiver that reports into m_receiverLog.
    void startReceiver(bool holdFlushes = false)
    {
        m_receiverLog.attach(m_receiver, holdFlushes);
        ASSERT_EQ(m_receiver.listen(m_socketPath), smt2::ErrorID::NoError)
            << m_receiver.errorString();
    }

    void connectSender()
    {
        ASSERT_EQ(await(m_sender.connect()), smt2::ErrorID::NoError);
        ASSERT_TRUE(m_receiverLog.waitUntil([](ReceiverLog& log) { return log.m_connected > 0; }));
    }

    const std::string& socketPath() const { return m_socketPath; }

    std::string m_dir;
    std::string m_socketPath;
    // Declared in dependency order: loops first, so that they outlive what runs on them.
    miscUtils::IOEventLoopThread m_receiverLoop{2, "smt2_rx"};
    miscUtils::IOEventLoopThread m_senderLoop{1000, "smt2_tx"};
    // The logs outlive the objects whose callbacks write into them.
    ReceiverLog m_receiverLog;
    SenderLog m_senderLog;
    smt2::BufferPool m_pool;
    smt2::UnixClientSocketChannel m_channel{m_senderLoop};
    smt2::AudioSender m_sender{m_pool};
    smt2::AudioReceiver m_receiver{m_receiverLoop};
};

} // namespace smt2test
