#pragma once
// Thread contract: lives on the host's main thread. Its commands may be invoked on any thread
// (they check their arguments there and hand over to the main thread); the smt2 receiver's
// callbacks run on the streamer's own I/O thread and touch only the intake queue and the receiver.

#include "IntakeQueue.h"
#include "PlayoutPacer.h"
#include "StreamAddress.h"

#include <miscUtils/IOEventLoopThread.h>
#include <mivosdk/CMReply.h>
#include <mivosdk/MivoStreamer.h>
#include <smt2/AudioReceiver.h>

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QTemporaryDir>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>

class HostRoot;
class QIODevice;

/// The host's default streamer: serves the MivoStreamer*Path commands under
/// MivoStreamerDefaultPrefixPath(), receives the audio of a play over smt2, queues at most the
/// play address's queueSizeInBytes, plays the queue out in real time (or `speed` times faster)
/// and publishes its data, the play time and the buffered bytes.
///
/// The streamer listens on a socket in a private temporary directory from listen() on; its
/// address is what the host gives modules as "streamUrl_prefix".
class Streamer : public QObject
{
    Q_OBJECT
public:
    enum class State
    {
        Stopped,   ///< nothing plays (published as 0)
        Buffering, ///< a play was accepted, no audio has played yet (1)
        Playing,   ///< audio plays out, or waits for more after an underrun (2)
        Paused,    ///< play-out stopped; the queue fills and then holds the sender back (3)
    };

    /// What the current (or last) playback did, for the play command's summary and `stats`.
    struct Statistics
    {
        qint64 bytesPlayed = 0;
        qint64 playTimeMs = 0;
        double firstFrameMs = -1; ///< from the play command to the first audio received
        double firstByteMs = -1;  ///< from the play command to the first byte played out
        /// When the first byte was played out (steady clock); for latencies measured elsewhere.
        std::chrono::steady_clock::time_point firstByteAt;
        // Back-pressure, counted from the play command on.
        qint64 queuedBytes = 0;    ///< received and not played now (held-aside frames included)
        qint64 maxQueuedBytes = 0; ///< the most that was queued at once
        qint64 heldBackCount = 0;  ///< how often the receiver stopped reading for a full queue
        qint64 heldBackMs = 0;     ///< how long it kept the sender waiting in all
        qint64 droppedBytes = 0;   ///< dropped by the drain before an expected flush
    };

    /// Registers the commands on `root`.
    explicit Streamer(HostRoot& root, QObject* parent = nullptr);
    ~Streamer() override;

    /// Creates the socket and listens; false with `error` set when that fails.
    bool listen(QString* error);
    QString socketPath() const { return m_socketPath; }
    /// "smt2://" + socketPath().
    QString streamUrlPrefix() const;

    /// How much faster than real time to play out (1: real time).
    void setSpeed(double speed) { m_speed = speed > 0 ? speed : 1.0; }
    /// The bytes that the next playback plays go to `output`, exactly as played, and `output`
    /// is closed (destroyed) when that playback stops; null cancels one not yet begun. The next
    /// playback is the first that a play command begins after this call, so a playback still
    /// under way (the one a new play replaces) writes nothing there.
    void writeNextPlaybackTo(std::unique_ptr<QIODevice> output);
    /// How long a play waits for its sender before it fails.
    void setSenderTimeout(int ms) { m_senderTimeoutMs = ms; }

    /// The host is about to ask the play logic to stop or skip, which flushes the sender: until
    /// that flush arrives (or `ms` passed), audio that does not fit the queue is dropped instead
    /// of holding the sender back. Otherwise the flush would wait in the socket behind a full
    /// queue's worth of audio, which at real time takes many seconds to play out, while the
    /// sender's thread blocks on it.
    void expectFlush(int ms);

    State state() const { return m_state; }
    Statistics statistics() const;
    /// How many playbacks began so far: tells a playback that began after a moment from the one
    /// under way then.
    quint64 playbackCount() const { return m_playbackCount; }
    /// The attributes last set for `playbackId` (-1: every playback).
    QVariantHash attributes(int playbackId) const;

    /// The error name published when a sender goes away in the middle of a stream.
    static QString StreamBrokenError() { return QStringLiteral("StreamBroken"); }
    /// The error name published when no sender connects in time.
    static QString NoSenderError() { return QStringLiteral("NoSender"); }

signals:
    /// The streamer's state changed (main thread).
    void stateChanged(Streamer::State state);

private:
    struct Playback
    {
        bool active = false;
        CMPath playLogicPath;
        quint64 connection = 0;
        bool endOfStream = false;
        PlayoutPacer pacer;
        qint64 clockUs = 0;  ///< media time the clock has reached
        qint64 playedUs = 0; ///< media time of the bytes played
        qint64 lastTickNs = 0;
        qint64 publishedPlayTimeMs = -1;
        qint64 publishedBufferBytes = -1;
    };

    // Commands: any thread.
    void registerCommands(HostRoot& root);
    void commandPlay(const QVariant& args, const CMVoidReply& reply);
    void commandStop(const CMVoidReply& reply);
    void commandPauseOrResume(bool pause, const CMVoidReply& reply);
    void commandSetAttributes(const QVariant& args, const CMVoidReply& reply);
    /// Runs `fn` on the main thread.
    void onMainThread(std::function<void()> fn);

    // The receiver's callbacks: I/O thread.
    void installReceiverCallbacks();
    void receiveFrame(const smt2::AudioFrame& frame);

    // The receiver stops reading (the I/O thread, for a full queue) and reads again (either
    // thread) only through these, so that the figures of holding back match what it did.
    void holdSenderBack();
    void releaseSender();

    // Main thread.
    void startPlayback(const CMPath& playLogicPath, PlayoutPacer::Timing timing,
                       quint64 connection);
    void stopPlayback();
    void pauseOrResume(bool pause, const CMVoidReply& reply);
    void senderConnected(quint64 connection);
    void sequenceInfo(quint64 connection, const QString& audioType, const QVariantHash& params);
    void senderGone(quint64 connection, smt2::ErrorID reason, bool unflushed);
    void senderTimedOut();
    void fail(const CMError& error);
    void tick();
    bool playDueUnits();
    void playUnit(const PlayoutPacer::Unit& unit);
    void finishIfDrained();
    void setState(State state, const CMError& error = CMError());
    void publishData(const CMError& error = CMError());
    void publishProgress(bool force);
    qint64 playTimeMs() const { return m_playback.playedUs / 1000; }

    HostRoot& m_root;
    QTemporaryDir m_socketDir;
    QString m_socketPath;
    double m_speed = 1.0;
    int m_senderTimeoutMs = 10000;
    std::unique_ptr<QIODevice> m_output;     ///< the current playback's, until it stops
    std::unique_ptr<QIODevice> m_nextOutput; ///< for the next playback
    bool m_outputFailed = false;
    quint64 m_playbackCount = 0;

    State m_state = State::Stopped;
    Playback m_playback;
    Statistics m_stats;
    QElapsedTimer m_clock;      ///< monotonic time base of the main thread
    qint64 m_playStartedNs = 0; ///< when the current play command arrived
    QTimer m_tick;
    QTimer m_senderTimer;
    QTimer m_drainTimer;

    IntakeQueue m_queue;
    /// When the current play command was accepted and when its first frame arrived (ns since
    /// m_clock's start); written on the commanding and the I/O threads.
    std::atomic<qint64> m_playAcceptedNs{0};
    std::atomic<qint64> m_firstFrameNs{0};

    /// Where the I/O thread publishes the buffered bytes as frames arrive: the play logic of the
    /// current playback, empty when none.
    mutable std::mutex m_bufferPathMutex; ///< guards m_bufferBytesPath
    CMPath m_bufferBytesPath;
    /// Bytes received and not played: the queue, the receiver's read-ahead and the socket.
    qint64 bufferedBytes() const;
    void publishBufferedFromIo();

    /// Guards m_hold, and orders the receiver's pauses and resumptions with its figures.
    mutable std::mutex m_holdMutex;
    struct Hold
    {
        qint64 count = 0;
        qint64 totalNs = 0;
        qint64 sinceNs = -1; ///< when the current hold began; -1 when reading
    } m_hold;

    mutable std::mutex m_attributesMutex; ///< guards m_attributes
    QHash<int, QVariantHash> m_attributes;

    // Last: the receiver must go before the loop that runs its callbacks.
    std::unique_ptr<miscUtils::IOEventLoopThread> m_loop;
    std::unique_ptr<smt2::AudioReceiver> m_receiver;
    quint64 m_ioConnection = 0; ///< I/O thread only: the connection being read
};
