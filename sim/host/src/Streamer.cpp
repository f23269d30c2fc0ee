#include "Streamer.h"

#include "HostRoot.h"

#include <mivosdk/CMDelivery.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoValue.h>

#include <QDir>
#include <QIODevice>
#include <QStandardPaths>
#include <QThread>
#include <algorithm>

namespace {

/// How often the play-out clock advances; audio is played in units of ~20 ms, so 10 ms keeps
/// the output within a unit of real time.
constexpr int kTickMs = 10;
/// The play time is published this often (in media time), not on every unit.
constexpr qint64 kPlayTimeStepMs = 250;
constexpr char kLoopName[] = "streamer_io";
/// The host's identifier of the streamer's I/O thread in thread diagnostics.
constexpr int kLoopNumber = 2000;

CMError streamerError(const QString& name, const TrString& message)
{
    return CMError(name, message, TrString("Streamer", "Streamer"));
}

/// Command arguments arrive as the value's hash, or wrapped in a MivoValue.
QVariantHash argsHash(const QVariant& args)
{
    QVariantHash hash = args.toHash();
    if (hash.size() == 2 && hash.contains(MivoValue::Type()) && hash.contains(MivoValue::Value()) &&
        hash.value(MivoValue::Value()).canConvert<QVariantHash>())
        return hash.value(MivoValue::Value()).toHash();
    return hash;
}

int streamerStateValue(Streamer::State state)
{
    switch (state) {
    case Streamer::State::Stopped:
        return MivoStreamerData::Stopped;
    case Streamer::State::Buffering:
        return MivoStreamerData::Buffering;
    case Streamer::State::Playing:
        return MivoStreamerData::Playing;
    case Streamer::State::Paused:
        return MivoStreamerData::Paused;
    }
    return MivoStreamerData::Stopped;
}

bool isAac(const QString& mimeType)
{
    return mimeType.compare(MimeTypes::Audio::aac(), Qt::CaseInsensitive) == 0;
}

} // namespace

Streamer::Streamer(HostRoot& root, QObject* parent)
    : QObject(parent)
    , m_root(root)
    , m_socketDir(QDir::tempPath() + QStringLiteral("/mivo-host-XXXXXX"))
{
    m_clock.start();
    m_tick.setTimerType(Qt::PreciseTimer);
    m_tick.setInterval(kTickMs);
    connect(&m_tick, &QTimer::timeout, this, &Streamer::tick);
    m_senderTimer.setSingleShot(true);
    connect(&m_senderTimer, &QTimer::timeout, this, &Streamer::senderTimedOut);
    m_drainTimer.setSingleShot(true);
    connect(&m_drainTimer, &QTimer::timeout, this, [this] { m_queue.endDrain(); });
    registerCommands(root);
    publishData();
}

Streamer::~Streamer()
{
    const CMPath prefix = MivoStreamerDefaultPrefixPath();
    for (const CMPath& command :
         {MivoStreamerPlayPath(), MivoStreamerStopPath(), MivoStreamerPausePath(),
          MivoStreamerResumePath(), MivoStreamerSetAttributesPath()})
        m_root.unregisterCommand(prefix + command);
    if (m_receiver)
        m_receiver->close();
    m_receiver.reset();
    m_loop.reset();
}

bool Streamer::listen(QString* error)
{
    if (!m_socketDir.isValid()) {
        *error = QStringLiteral("Cannot create the streamer's socket directory: %1")
                     .arg(m_socketDir.errorString());
        return false;
    }
    m_socketPath = m_socketDir.filePath(QStringLiteral("streamer.sock"));
    try {
        m_loop = std::make_unique<miscUtils::IOEventLoopThread>(kLoopNumber, kLoopName);
    } catch (const std::exception& e) {
        *error = QStringLiteral("Cannot start the streamer's I/O thread: %1").arg(e.what());
        return false;
    }
    m_receiver = std::make_unique<smt2::AudioReceiver>(*m_loop);
    installReceiverCallbacks();
    const smt2::ErrorID result = m_receiver->listen(m_socketPath.toStdString());
    if (result != smt2::ErrorID::NoError) {
        *error = QStringLiteral("The streamer cannot listen on %1: %2")
                     .arg(m_socketPath, QString::fromStdString(m_receiver->errorString()));
        return false;
    }
    return true;
}

QString Streamer::streamUrlPrefix() const
{
    return QStringLiteral("smt2://") + m_socketPath;
}

void Streamer::writeNextPlaybackTo(std::unique_ptr<QIODevice> output)
{
    m_nextOutput = std::move(output);
}

Streamer::Statistics Streamer::statistics() const
{
    Statistics stats = m_stats;
    const IntakeQueue::Figures figures = m_queue.figures();
    stats.queuedBytes = m_playback.active ? m_queue.size() : 0;
    stats.maxQueuedBytes = figures.maxSize;
    stats.droppedBytes = figures.drainedBytes;
    std::lock_guard<std::mutex> lock(m_holdMutex);
    const qint64 ongoingNs = m_hold.sinceNs < 0 ? 0 : m_clock.nsecsElapsed() - m_hold.sinceNs;
    stats.heldBackCount = m_hold.count;
    stats.heldBackMs = (m_hold.totalNs + ongoingNs) / 1000000;
    return stats;
}

void Streamer::expectFlush(int ms)
{
    m_queue.beginDrain();
    if (m_receiver)
        releaseSender();
    m_drainTimer.start(ms);
}

QVariantHash Streamer::attributes(int playbackId) const
{
    std::lock_guard<std::mutex> lock(m_attributesMutex);
    return m_attributes.value(playbackId);
}

// --- commands (any thread)

void Streamer::registerCommands(HostRoot& root)
{
    const CMPath prefix = MivoStreamerDefaultPrefixPath();
    root.registerCommand(
        prefix + MivoStreamerPlayPath(),
        [this](const QVariant& args, CMVoidReply reply) { commandPlay(args, reply); });
    root.registerCommand(prefix + MivoStreamerStopPath(),
                         [this](const QVariant&, CMVoidReply reply) { commandStop(reply); });
    root.registerCommand(
        prefix + MivoStreamerPausePath(),
        [this](const QVariant&, CMVoidReply reply) { commandPauseOrResume(true, reply); });
    root.registerCommand(
        prefix + MivoStreamerResumePath(),
        [this](const QVariant&, CMVoidReply reply) { commandPauseOrResume(false, reply); });
    root.registerCommand(
        prefix + MivoStreamerSetAttributesPath(),
        [this](const QVariant& args, CMVoidReply reply) { commandSetAttributes(args, reply); });
}

void Streamer::onMainThread(std::function<void()> fn)
{
    if (thread() == QThread::currentThread())
        fn();
    else
        cmPost(this, std::move(fn));
}

void Streamer::commandPlay(const QVariant& args, const CMVoidReply& reply)
{
    const MivoStreamerPlayArgs play(argsHash(args));
    const QList<MivoResource> resources = play.roles().mediaData().resources();
    if (resources.isEmpty()) {
        reply.setError(streamerError(QStringLiteral("InvalidPlayArgs"),
                                     TrString("Streamer", "The item to play has no resource")));
        return;
    }
    const MivoResource resource = resources.first();
    StreamAddress address;
    QString error;
    if (!StreamAddress::parse(resource.uri(), &address, &error)) {
        reply.setError(streamerError(QStringLiteral("InvalidStreamAddress"), TrString(error)));
        return;
    }
    if (QDir::cleanPath(address.socketPath) != QDir::cleanPath(m_socketPath)) {
        reply.setError(
            streamerError(QStringLiteral("UnknownStreamAddress"),
                          TrString("Streamer", "The streamer receives audio on %1, not on %2")
                              .arg(m_socketPath)
                              .arg(address.socketPath)));
        return;
    }
    // Done here, on the commanding thread, so that a sender that connects as soon as the command
    // returns already finds the queue as this play wants it.
    m_queue.setCapacity(address.queueSizeInBytes);
    const quint64 connection = m_queue.currentConnection();
    if (connection == 0)
        m_queue.clear();
    m_queue.resetFigures();
    {
        std::lock_guard<std::mutex> lock(m_holdMutex);
        const bool holding = m_hold.sinceNs >= 0;
        m_hold = Hold();
        if (holding) {
            m_hold.count = 1;
            m_hold.sinceNs = m_clock.nsecsElapsed();
        }
    }
    m_firstFrameNs.store(0, std::memory_order_relaxed);
    m_playAcceptedNs.store(m_clock.nsecsElapsed(), std::memory_order_release);
    const PlayoutPacer::Timing timing =
        isAac(resource.mimeType()) ? PlayoutPacer::Timing::Adts : PlayoutPacer::Timing::ByteRate;
    const CMPath playLogicPath = play.playLogicPath();
    onMainThread([this, playLogicPath, timing, connection] {
        startPlayback(playLogicPath, timing, connection);
    });
    reply.setResult();
}

void Streamer::commandStop(const CMVoidReply& reply)
{
    // The queue is cleared here, before the command returns, so that only audio of the stopped
    // stream is dropped: a sender that connects right after the stop keeps its frames.
    m_queue.retireCurrentConnection();
    onMainThread([this] { stopPlayback(); });
    reply.setResult();
}

void Streamer::commandPauseOrResume(bool pause, const CMVoidReply& reply)
{
    onMainThread([this, pause, reply] { pauseOrResume(pause, reply); });
}

void Streamer::commandSetAttributes(const QVariant& args, const CMVoidReply& reply)
{
    const MivoStreamerSetAttributesArgs set(argsHash(args));
    const int playbackId =
        set.hasEntry(MivoStreamerSetAttributesArgs::PlaybackId()) ? set.playbackId() : -1;
    QVariantHash all;
    {
        std::lock_guard<std::mutex> lock(m_attributesMutex);
        QVariantHash& stored = m_attributes[playbackId];
        const QVariantHash attributes = set.attributes();
        for (auto it = attributes.cbegin(); it != attributes.cend(); ++it)
            stored.insert(it.key(), it.value());
        for (auto it = m_attributes.cbegin(); it != m_attributes.cend(); ++it)
            all.insert(QString::number(it.key()), it.value());
    }
    m_root.setValue(MivoStreamerDefaultPrefixPath().subpath(QStringLiteral("attributes")),
                    MivoValue().setHash(all).__variant());
    reply.setResult();
}

// --- receiver callbacks (I/O thread)

void Streamer::installReceiverCallbacks()
{
    m_receiver->onSenderConnected([this] {
        m_ioConnection = m_queue.beginConnection();
        const quint64 connection = m_ioConnection;
        onMainThread([this, connection] { senderConnected(connection); });
    });
    m_receiver->onSequenceInfo([this](const std::string& audioType,
                                      const miscUtils::VariantHash& params) {
        const quint64 connection = m_ioConnection;
        const QString type = QString::fromStdString(audioType);
        onMainThread([this, connection, type, params] { sequenceInfo(connection, type, params); });
    });
    m_receiver->onAudioFrame([this](const smt2::AudioFrame& frame) { receiveFrame(frame); });
    m_receiver->onFlushRequested([this](smt2::AudioReceiver::FlushToken token) {
        // A flush drops what is queued rather than playing it out first: the sender that flushes
        // is stopping or seeking, and waits (blocking its thread) for the acknowledgement.
        m_queue.flush(m_ioConnection);
        m_receiver->acknowledgeFlush(token);
        releaseSender();
    });
    m_receiver->onSenderDisconnected([this](smt2::ErrorID reason) {
        const quint64 connection = m_ioConnection;
        const bool unflushed = m_queue.endConnection(connection);
        m_ioConnection = 0;
        releaseSender();
        onMainThread(
            [this, connection, reason, unflushed] { senderGone(connection, reason, unflushed); });
    });
}

void Streamer::receiveFrame(const smt2::AudioFrame& frame)
{
    const IntakeQueue::Admission admission = m_queue.push(m_ioConnection, frame.data);
    if (admission == IntakeQueue::Admission::Full && !m_queue.isDraining())
        holdSenderBack();
    if (admission == IntakeQueue::Admission::Dropped)
        return;
    publishBufferedFromIo();
    qint64 none = 0;
    if (m_firstFrameNs.compare_exchange_strong(none, m_clock.nsecsElapsed(),
                                               std::memory_order_acq_rel)) {
        // Play the first audio at once instead of at the next tick.
        onMainThread([this] { tick(); });
    }
}

qint64 Streamer::bufferedBytes() const
{
    // The module turns this into the output delay that places the track metadata: leaving out
    // the read-ahead and the socket would show each title a minute or more before its audio.
    const qint64 receiver =
        m_receiver ? qint64(m_receiver->readAheadBytes() + m_receiver->unreadSocketBytes()) : 0;
    return m_queue.size() + receiver;
}

void Streamer::publishBufferedFromIo()
{
    // While the queue fills, the sender asks for the delay block after block, much faster than
    // the play-out clock publishes: publish as each frame arrives so it never reads a stale 0.
    // Both threads compute and write under one lock, so an older count never overwrites a newer.
    std::lock_guard<std::mutex> lock(m_bufferPathMutex);
    if (!m_bufferBytesPath.isEmpty())
        m_root.setValue(m_bufferBytesPath, MivoValue().setLongLong(bufferedBytes()).__variant());
}

void Streamer::holdSenderBack()
{
    std::lock_guard<std::mutex> lock(m_holdMutex);
    if (!m_receiver->isReadingPaused()) {
        ++m_hold.count;
        m_hold.sinceNs = m_clock.nsecsElapsed();
    }
    m_receiver->pauseReading();
}

void Streamer::releaseSender()
{
    std::lock_guard<std::mutex> lock(m_holdMutex);
    if (!m_receiver->isReadingPaused())
        return;
    m_receiver->resumeReading();
    if (m_hold.sinceNs >= 0) {
        m_hold.totalNs += m_clock.nsecsElapsed() - m_hold.sinceNs;
        m_hold.sinceNs = -1;
    }
}

// --- main thread

void Streamer::startPlayback(const CMPath& playLogicPath, PlayoutPacer::Timing timing,
                             quint64 connection)
{
    m_playback = Playback();
    m_playback.active = true;
    m_playback.playLogicPath = playLogicPath;
    {
        std::lock_guard<std::mutex> lock(m_bufferPathMutex);
        m_bufferBytesPath =
            playLogicPath.isEmpty() ? CMPath() : playLogicPath + MivoPlayLogicBufferBytesPath();
    }
    m_playback.connection = connection;
    m_playback.pacer.reset(timing);
    m_playback.lastTickNs = m_clock.nsecsElapsed();
    m_playStartedNs = m_playAcceptedNs.load(std::memory_order_acquire);
    m_stats = Statistics();
    ++m_playbackCount;
    m_output = std::move(m_nextOutput);
    m_outputFailed = false;
    if (connection == 0)
        m_senderTimer.start(m_senderTimeoutMs);
    else
        m_senderTimer.stop();
    m_tick.start();
    setState(State::Buffering);
    publishProgress(true);
}

void Streamer::stopPlayback()
{
    m_senderTimer.stop();
    m_tick.stop();
    // Already stopped (the stream ended or broke): the data stays as it is, error included, until
    // the next play.
    if (!m_playback.active && m_state == State::Stopped)
        return;
    if (m_playback.active) {
        {
            std::lock_guard<std::mutex> lock(m_bufferPathMutex);
            m_bufferBytesPath = CMPath();
        }
        m_playback.active = false;
        publishProgress(true);
    }
    setState(State::Stopped);
}

void Streamer::pauseOrResume(bool pause, const CMVoidReply& reply)
{
    if (!m_playback.active) {
        reply.setError(streamerError(QStringLiteral("NotPlaying"),
                                     TrString("Streamer", "Nothing is playing")));
        return;
    }
    if (pause) {
        if (m_state != State::Paused)
            setState(State::Paused);
    } else if (m_state == State::Paused) {
        // The clock restarts from now: the pause is not made up for by a burst.
        m_playback.lastTickNs = m_clock.nsecsElapsed();
        setState(m_stats.bytesPlayed > 0 ? State::Playing : State::Buffering);
        tick();
    }
    reply.setResult();
}

void Streamer::senderConnected(quint64 connection)
{
    if (!m_playback.active || m_playback.connection != 0)
        return;
    m_playback.connection = connection;
    m_senderTimer.stop();
}

void Streamer::sequenceInfo(quint64 connection, const QString& audioType,
                            const QVariantHash& params)
{
    if (!m_playback.active || m_playback.connection != connection)
        return;
    PlayoutPacer::Timing timing = m_playback.pacer.timing();
    if (isAac(audioType))
        timing = PlayoutPacer::Timing::Adts;
    const int bitrate = params.value(QStringLiteral("bitrate")).toInt();
    m_playback.pacer.reset(timing,
                           bitrate > 0 ? bitrate / 8 : PlayoutPacer::kDefaultBytesPerSecond);
}

void Streamer::senderGone(quint64 connection, smt2::ErrorID reason, bool unflushed)
{
    if (!m_playback.active || m_playback.connection != connection)
        return;
    // A goodbye ends the stream: what is queued still plays. So does a sender that went away
    // with nothing unflushed. A sender that vanishes with audio in flight broke the stream.
    if (reason == smt2::ErrorID::NoError || !unflushed) {
        m_playback.endOfStream = true;
        finishIfDrained();
        return;
    }
    m_queue.clear();
    fail(streamerError(StreamBrokenError(),
                       TrString("Streamer", "The audio stream broke: %1")
                           .arg(QString::fromStdString(smt2::toString(reason)))));
}

void Streamer::senderTimedOut()
{
    if (!m_playback.active || m_playback.connection != 0)
        return;
    fail(streamerError(NoSenderError(),
                       TrString("Streamer", "No audio sender connected to %1 within %2 ms")
                           .arg(m_socketPath)
                           .arg(m_senderTimeoutMs)));
}

void Streamer::fail(const CMError& error)
{
    m_senderTimer.stop();
    m_tick.stop();
    m_playback.active = false;
    publishProgress(true);
    setState(State::Stopped, error);
}

void Streamer::tick()
{
    if (!m_playback.active)
        return;
    const qint64 now = m_clock.nsecsElapsed();
    const qint64 deltaNs = now - m_playback.lastTickNs;
    m_playback.lastTickNs = now;
    if (m_state == State::Buffering || m_state == State::Playing) {
        m_playback.clockUs += qint64(double(deltaNs) / 1000.0 * m_speed);
        const bool drained = playDueUnits();
        // After an underrun the clock waits for the audio instead of running ahead and then
        // playing the next arrivals in a burst.
        if (drained)
            m_playback.clockUs = std::min(m_playback.clockUs, m_playback.playedUs);
    }
    if (m_queue.hasRoom() || m_queue.isDraining())
        releaseSender();
    publishProgress(false);
    finishIfDrained();
}

bool Streamer::playDueUnits()
{
    while (m_playback.playedUs <= m_playback.clockUs) {
        const QByteArray front = m_queue.peek(PlayoutPacer::kLookAhead);
        if (front.isEmpty())
            return true;
        const std::optional<PlayoutPacer::Unit> unit =
            m_playback.pacer.next(front, front.size(), m_playback.endOfStream);
        if (!unit)
            return true;
        playUnit(*unit);
    }
    return false;
}

void Streamer::playUnit(const PlayoutPacer::Unit& unit)
{
    const QByteArray bytes = m_queue.take(unit.bytes);
    if (m_output && !m_outputFailed && m_output->write(bytes) != bytes.size()) {
        m_outputFailed = true;
        qWarning().noquote() << "mivo-host: cannot write the played audio:"
                             << m_output->errorString();
    }
    if (m_stats.firstByteMs < 0) {
        m_stats.firstByteAt = std::chrono::steady_clock::now();
        m_stats.firstByteMs = double(m_clock.nsecsElapsed() - m_playStartedNs) / 1e6;
        const qint64 frame = m_firstFrameNs.load(std::memory_order_acquire);
        if (frame > 0)
            m_stats.firstFrameMs = double(frame - m_playStartedNs) / 1e6;
    }
    m_stats.bytesPlayed += bytes.size();
    m_playback.playedUs += unit.durationUs;
    m_stats.playTimeMs = playTimeMs();
    if (m_state == State::Buffering)
        setState(State::Playing);
}

void Streamer::finishIfDrained()
{
    if (!m_playback.active || !m_playback.endOfStream || m_queue.size() > 0)
        return;
    m_tick.stop();
    m_playback.active = false;
    publishProgress(true);
    setState(State::Stopped);
}

void Streamer::setState(State state, const CMError& error)
{
    const bool changed = state != m_state || error.isError();
    m_state = state;
    // The playback's output ends with it: its file holds exactly what this playback played.
    if (state == State::Stopped)
        m_output.reset();
    publishData(error);
    if (changed)
        emit stateChanged(state);
}

void Streamer::publishData(const CMError& error)
{
    MivoStreamerData data;
    data.setState(streamerStateValue(m_state)).setPlayTime(playTimeMs());
    if (error.isError())
        data.setError(error);
    m_root.setValue(MivoStreamerDefaultPrefixPath() + MivoStreamerDataPath(), data.__variant());
}

void Streamer::publishProgress(bool force)
{
    if (m_playback.playLogicPath.isEmpty())
        return;
    const qint64 ms = playTimeMs();
    if (force || m_playback.publishedPlayTimeMs < 0 ||
        ms - m_playback.publishedPlayTimeMs >= kPlayTimeStepMs) {
        m_playback.publishedPlayTimeMs = ms;
        m_root.setValue(m_playback.playLogicPath + MivoPlayLogicPlayTimePath(),
                        MivoValue().setLongLong(ms).__variant());
    }
    std::lock_guard<std::mutex> lock(m_bufferPathMutex);
    const qint64 buffered = m_playback.active ? bufferedBytes() : 0;
    if (force || buffered != m_playback.publishedBufferBytes) {
        m_playback.publishedBufferBytes = buffered;
        m_root.setValue(m_playback.playLogicPath + MivoPlayLogicBufferBytesPath(),
                        MivoValue().setLongLong(buffered).__variant());
    }
}
