#pragma once
// Thread contract: start() and stop() on the play logic's (worker) thread; the sends run on the
// sender's I/O thread.

#include <miscUtils/IOEventLoopThread.h>
#include <smt2/AudioSender.h>

#include <QByteArray>
#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

/// Streams bytes to the host's streamer over smt2, one send in flight at a time, the way a
/// module's play logic does. Three ways to end: a finite stream says goodbye after its last byte;
/// an endless one repeats the pattern until stopped; a breaking one goes away without goodbye
/// after its bytes (a crashed sender), written on a raw socket since AudioSender always says
/// goodbye.
class PatternSender
{
public:
    enum class Ending
    {
        Goodbye,
        Endless,
        Break,
    };

    PatternSender();
    ~PatternSender();

    /// Connects to `socketPath` and sends `data` in `chunk`-byte sends.
    void start(const QString& socketPath, const QByteArray& data, int chunk, Ending ending);
    /// Flushes (waiting for the acknowledgement) and disconnects, as a play logic stops.
    void stop();
    bool isConnected() const { return m_sender.state() == smt2::SenderState::Connected; }

private:
    void sendNext();
    void sendBreaking(const std::string& socketPath);

    miscUtils::IOEventLoopThread m_loop;
    smt2::BufferPool m_pool;
    smt2::UnixClientSocketChannel m_channel;
    smt2::AudioSender m_sender;

    std::mutex m_mutex; ///< guards m_data, m_chunk, m_offset and m_ending
    QByteArray m_data;
    int m_chunk = 4096;
    qint64 m_offset = 0;
    Ending m_ending = Ending::Goodbye;
    std::atomic<bool> m_stopping{false};
    std::thread m_breaker;
};
