#include "siriusPlaylogic/siriusPlaylogic.h"

#include "contentManager/contentManager.h"
#include "nodes/registeredNode.h"
#include "siriusLib/siriusLib.h"
#include "siriusLogging.h"

#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoStreamer.h>

#include <QDateTime>

namespace {

const log4cplus::Logger& logger()
{
    return sirius::siriusPlaylogicLogger();
}

std::string text(const MivoHash& value)
{
    QString out;
    QDebug(&out).nospace() << value;
    return out.toStdString();
}

MivoValue hostValue(const CMPath& path)
{
    return MivoValue(CMRoot()->getValue(path).toHash());
}

} // namespace

SiriusPlaylogic* SiriusPlaylogic::create(CMNodes* nodes, const CMPath& path, SiriusLib* lib,
                                         ContentManager* contentManager,
                                         const QString& streamUrlPrefix, bool fullFeatured)
{
    return registeredNode(
        new SiriusPlaylogic(path, lib, contentManager, streamUrlPrefix, fullFeatured), nodes);
}

SiriusPlaylogic::SiriusPlaylogic(const CMPath& path, SiriusLib* lib, ContentManager* contentManager,
                                 const QString& streamUrlPrefix, bool fullFeatured)
    : PlayLogicBase(path)
    , m_lib(lib)
    , m_contentManager(contentManager)
    , m_streamUrlPrefix(streamUrlPrefix)
    , m_fullFeatured(fullFeatured)
{
    const CMPath bufferBytes = path + MivoPlayLogicBufferBytesPath();
    m_audio = std::make_shared<sirius::SmtAudioSender>(
        streamUrlPrefix, [bufferBytes] { return hostValue(bufferBytes).toLongLong(); });
    m_audio->setListener({[this] { emit startSiriusPlayback(); },
                          [this] {
                              emit sendAudioDataFinished();
                          }});
    m_lib->setDataWriteCallback(
        [audio = m_audio](const QByteArray& data, unsigned bitrate, unsigned* outputDelay) {
            return audio->write(data, bitrate, outputDelay);
        });
    m_lib->subscribe(&SiriusLib::onTrackMetadata, this, &SiriusPlaylogic::on_siriusLib_metadata);
    m_lib->subscribe(&SiriusLib::onTimebar, this, &SiriusPlaylogic::on_siriusLib_timebar);
    m_streamerData =
        new CMValueItem(MivoStreamerDefaultPrefixPath() + MivoStreamerDataPath(), this);
    m_playTime = new CMValueItem(path + MivoPlayLogicPlayTimePath(), this);
    m_bufferingConfig = hostValue(MivoSiriusSettingsStreamerBufferingConfig());
    m_defaultBufferingConfig = hostValue(MivoPlayerStreamBufferingConfigPath());
    connect(this, &SiriusPlaylogic::startSiriusPlayback, this,
            &SiriusPlaylogic::on_startSiriusPlayback);
    connect(this, &SiriusPlaylogic::sendAudioDataFinished, m_lib,
            &SiriusLib::on_sendAudioDataFinished, Qt::QueuedConnection);
}

SiriusPlaylogic::~SiriusPlaylogic()
{
    // The stream thread may still hold the data-write function (and with it the sender); what
    // the sender reports from now on must not reach this object.
    m_lib->setDataWriteCallback(SiriusLib::DataWriteCallback());
    m_audio->setListener(sirius::SmtAudioSender::Listener());
}

// ---- requests ---------------------------------------------------------------------------------

void SiriusPlaylogic::play(const CMSetDataRequest& request)
{
    SIRIUS_TRACE_FUNCTION(logger());
    const MivoPlayLogicPlayArgs args(request.value().toHash());
    LOG4CPLUS_DEBUG(logger(), "Args: " << text(args));
    MivoPlayLogicData fresh;
    fresh.setPlayId(args.id())
        .setState(MivoPlayLogicState::Busy)
        .setMediaRoles(args.mediaRoles())
        .setMatchingMediaRoles(args.mediaRoles().mediaData().metaData().matchingMediaRoles())
        .setTrackRoles(args.trackRoles())
        .setError(QString())
        .setControls(controls());
    setData(fresh);
    setPlayTime(0);
    m_stopping = false;
    const CMVoidReply reply = request.reply();
    // A refused start must not leave the player looking at a playback being started.
    reply.onError(this, [this](const CMError&) {
        if (m_streamerState == StreamerState::Stopped)
            publishState(MivoPlayLogicState::Stopped);
    });
    // Play while playing switches content: the running playback stops first.
    playRoles(args.mediaRoles(), reply);
}

void SiriusPlaylogic::stop(const CMSetDataRequest& request)
{
    SIRIUS_TRACE_FUNCTION(logger());
    if (data().state() == MivoPlayLogicState::Stopped) {
        request.reply().setResult();
        return;
    }
    m_stopping = true;
    setOnStopTask({OnStopTask::Type::Stop, request.reply(), MivoRoles(), QString()});
    if (m_streamerState == StreamerState::Stopped)
        playbackStopped();
    else
        stopCurrentPlayback();
}

void SiriusPlaylogic::pause(const CMSetDataRequest& request)
{
    SIRIUS_TRACE_FUNCTION(logger());
    const CMVoidReply reply = request.reply();
    if (m_stopping) {
        refuse(reply, "Stopping playlogic");
        return;
    }
    if (m_streamerState == StreamerState::Stopped) {
        // After an error stop the paused item starts again.
        MivoPlayLogicData next = data();
        next.setControls(controls()).setError(QString());
        setData(next);
        startNewPlayback(m_currentRoles, reply);
        return;
    }
    if (data().state() != MivoPlayLogicState::Paused) {
        m_lib->userPause(true);
        invokeStreamer(MivoStreamerPausePath(), QVariant(), reply);
        return;
    }
    if (hasExpired(m_currentRoles)) {
        LOG4CPLUS_WARN(logger(), "A try to unpause expired on-demand show.");
        refuse(reply, "This show has expired. Not able to unpause.");
        return;
    }
    m_lib->userPause(false).onFinished(this, [this, reply](const CMReply<bool>& resumed) {
        if (resumed.isError()) {
            reply.setError(resumed.error());
        } else if (resumed.result()) {
            invokeStreamer(MivoStreamerResumePath(), QVariant(), reply);
        } else {
            // The pause point has left the service's rewind window: nothing to resume.
            reply.setError(CMError(TrString("SiriusPlaylogic", "Unable to unpause playback, "
                                                               "stopping")));
            stop(CMSetDataRequest());
        }
    });
}

void SiriusPlaylogic::playRoles(const MivoRoles& roles, const CMVoidReply& reply)
{
    if (m_streamerState == StreamerState::Stopped) {
        startNewPlayback(roles, reply);
        return;
    }
    setOnStopTask({OnStopTask::Type::PlayRoles, reply, roles, QString()});
    stopCurrentPlayback();
}

void SiriusPlaylogic::reportError(const QString& message)
{
    LOG4CPLUS_DEBUG(logger(), "Message: " << message.toStdString());
    if (data().state() == MivoPlayLogicState::Stopped || m_stopping) {
        LOG4CPLUS_WARN(logger(), "Playback stopped, failed to report error message");
        return;
    }
    if (m_streamerState != StreamerState::Stopped) {
        setOnStopTask({OnStopTask::Type::ShowError, nullptr, MivoRoles(), message});
        stopCurrentPlayback();
        return;
    }
    MivoPlayLogicData next = data();
    next.setError(message);
    setData(next);
}

// ---- the playback's life ----------------------------------------------------------------------

void SiriusPlaylogic::startNewPlayback(const MivoRoles& roles, const CMVoidReply& reply)
{
    LOG4CPLUS_DEBUG(logger(), "Roles: " << text(roles));
    if (m_streamerState != StreamerState::Stopped) {
        // A caller that did not stop first; starting now would leave two playbacks on one socket.
        LOG4CPLUS_ERROR(logger(), "Precondition failed: m_streamerState == SiriusPlaylogic::stopped"
                                      << " (state " << int(m_streamerState) << ")");
        reply.setError(CMError(TrString("SiriusPlaylogic", "Playback is still running")));
        return;
    }
    if (roles.id().isEmpty()) {
        LOG4CPLUS_WARN(logger(), "Invalid roles: " << text(roles));
        reply.setError(CMError(TrString("SiriusPlaylogic", "Invalid media roles")));
        return;
    }
    if (hasExpired(roles)) {
        LOG4CPLUS_WARN(logger(), "A try to play expired on-demand show.");
        refuse(reply, "Recently played episode has expired.");
        return;
    }
    MivoMediaData media = roles.mediaData();
    if (media.resources().isEmpty()) {
        LOG4CPLUS_WARN(logger(), "Invalid roles, no media resource: " << text(roles));
        reply.setError(CMError(TrString("SiriusPlaylogic", "Invalid media roles")));
        return;
    }
    m_currentRoles = roles;
    m_currentPlayable = rolesToPlayable(roles);
    m_trackMetadata = MivoSiriusTrackMetadata();
    m_playTimeOffset = 0;
    MivoPlayLogicData next = data();
    next.setState(MivoPlayLogicState::Busy).setStatus(MivoPlayLogicStatus().setDuration(0));
    setData(next);

    // The streamer reads the socket; the current roles keep the resources they came with.
    MivoResource resource = media.resources().first();
    resource.setUri(m_streamUrlPrefix + QStringLiteral("?queueSizeInBytes=") +
                    QString::number(kStreamerQueueBytes));
    media.setResources(MivoList<MivoResource>{resource});
    MivoRoles streamerRoles = roles;
    streamerRoles.setMediaData(media);

    m_streamerState = StreamerState::Starting;
    followStreamer(true);
    setBufferingConfig(m_bufferingConfig);
    MivoStreamerPlayArgs args;
    args.setRoles(streamerRoles).setPlayLogicPath(path());
    invokeStreamer(MivoStreamerPlayPath(), args.__variant());
    reply.setResult();
    m_audio->start();
}

void SiriusPlaylogic::on_startSiriusPlayback()
{
    // A connection that completes after its playback was stopped must not start the library.
    if (m_streamerState != StreamerState::Starting && m_streamerState != StreamerState::Playing) {
        LOG4CPLUS_DEBUG(logger(), "Sender connected after the playback stopped; not playing");
        return;
    }
    m_lib->play(m_currentPlayable).onError(this, [](const CMError& error) {
        // The streamer then waits for audio until its sender times out and reports the error.
        LOG4CPLUS_ERROR(logger(),
                        "Library did not start playing: " << error.toString().toStdString());
    });
}

void SiriusPlaylogic::setOnStopTask(const OnStopTask& task)
{
    const OnStopTask replaced = m_onStopTask;
    if (task.type != OnStopTask::Type::Stop && replaced.type == OnStopTask::Type::Stop) {
        // The user's stop wins over a skip or an error that arrives while it is under way.
        task.reply.cancel();
        return;
    }
    m_onStopTask = task;
    if (replaced.type != OnStopTask::Type::None)
        replaced.reply.cancel();
}

void SiriusPlaylogic::stopCurrentPlayback()
{
    if (m_streamerState == StreamerState::Stopping || m_streamerState == StreamerState::Stopped)
        return;
    m_streamerState = StreamerState::Stopping;
    m_audio->flushAndDisconnect(kFlushLimit);
    m_lib->stop();
    // The stop is complete when the streamer reports it (on_streamerDataChanged).
    invokeStreamer(MivoStreamerStopPath(), QVariant());
}

void SiriusPlaylogic::on_streamerDataChanged(const MivoValue& newValue, const MivoValue& oldValue)
{
    const MivoStreamerData now(newValue.__hash());
    const MivoStreamerData before(oldValue.__hash());
    const bool error = now.hasError();
    MivoPlayLogicData next = data();
    if (error || now.state() != before.state()) {
        if (now.state() == MivoStreamerData::Stopped || error) {
            LOG4CPLUS_INFO(logger(), "Streamer stopped"
                                         << (error ? ": " + now.error().toString().toStdString()
                                                   : std::string()));
            m_streamerState = StreamerState::Stopped;
            publishState(MivoPlayLogicState::Busy);
            if (error) {
                // The stream broke: the same content starts again (unless a stop is pending).
                m_audio->disconnect();
                m_lib->stop();
                setOnStopTask({OnStopTask::Type::PlayRoles, nullptr, m_currentRoles, QString()});
            }
            playbackStopped();
            return;
        }
        // A stop under way stays one until the streamer reports state 0.
        if (m_streamerState != StreamerState::Stopping)
            m_streamerState = StreamerState::Playing;
        next.setState(now.state());
    }
    if (now.hasEntry(MivoStreamerData::TrackRoles()))
        next.setTrackRoles(translateTrackRoles(now.trackRoles()));
    setData(next);
}

void SiriusPlaylogic::playbackStopped()
{
    const OnStopTask task = m_onStopTask;
    m_onStopTask = OnStopTask();
    followStreamer(false);
    setBufferingConfig(m_defaultBufferingConfig);
    MivoPlayLogicData next = data();
    next.setState(MivoPlayLogicState::Stopped);
    next.removeEntry(MivoPlayLogicData::Error());
    setData(next);
    setPlayTime(0);
    switch (task.type) {
    case OnStopTask::Type::Stop:
        task.reply.setResult();
        break;
    case OnStopTask::Type::PlayRoles:
        startNewPlayback(task.roles, task.reply);
        break;
    case OnStopTask::Type::ShowError:
        // A paused item with the message: PLAY (the pause toggle) starts the same content again.
        next.setControls(MivoPlayLogicControls().setPause(true).setNext(false).setPrevious(false))
            .setState(MivoPlayLogicState::Paused)
            .setError(task.message);
        setData(next);
        break;
    case OnStopTask::Type::None:
        break;
    }
}

// ---- helpers ----------------------------------------------------------------------------------

MivoSiriusPlayable SiriusPlaylogic::rolesToPlayable(const MivoRoles& roles) const
{
    const CMPath path = roles.path();
    MivoSiriusPlayable playable;
    playable.setPlayLive(path.hasParam(MivoSiriusGoLive()))
        .setRestricted(m_contentManager->geoRestricted(roles.id()));
    const QString assetGuid = path.param(MivoSiriusContent::AssetGuid());
    const QString timestamp = path.param(MivoSiriusPlayable::Timestamp());
    if (path.hasParam(MivoSiriusEpisode())) {
        playable.setChannelId(roles.id())
            .setAccessControlId(assetGuid)
            .setMode(MivoSiriusContentMode::Enum(1));
        if (!timestamp.isEmpty())
            playable.setTimestamp(timestamp);
    } else if (path.hasParam(MivoSiriusXtra())) {
        playable.setAssetGuid(assetGuid).setMode(MivoSiriusContentMode::Enum(2));
    } else {
        playable.setChannelId(roles.id())
            .setAssetGuid(assetGuid)
            .setMode(MivoSiriusContentMode::Enum(0));
        if (!timestamp.isEmpty())
            playable.setTimestamp(timestamp);
    }
    return playable;
}

bool SiriusPlaylogic::hasExpired(const MivoRoles& roles)
{
    const QString expiry = roles.path().param(MivoSiriusContent::ExpireDate());
    if (expiry.isEmpty())
        return false;
    const QDateTime expires = QDateTime::fromString(expiry, Qt::ISODateWithMs);
    if (!expires.isValid()) {
        LOG4CPLUS_WARN(logger(),
                       "Unreadable expiry date " << expiry.toStdString() << "; playing anyway");
        return false;
    }
    return QDateTime::currentDateTime().msecsTo(expires) < 0;
}

void SiriusPlaylogic::refuse(const CMVoidReply& reply, const char* message) const
{
    reply.setError(CMError(QStringLiteral("SiriusXM"), TrString("SiriusPlaylogic", message),
                           CMError::DefaultTitle()));
}

MivoPlayLogicControls SiriusPlaylogic::controls() const
{
    MivoPlayLogicControls controls;
    controls.setPause(m_fullFeatured).setNext(m_fullFeatured).setPrevious(m_fullFeatured);
    return controls;
}

void SiriusPlaylogic::publishState(int state)
{
    MivoPlayLogicData next = data();
    next.setState(state);
    setData(next);
}

void SiriusPlaylogic::invokeStreamer(const CMPath& command, const QVariant& args,
                                     const CMVoidReply& reply) const
{
    CMRoot()->invoke(MivoStreamerDefaultPrefixPath() + command, args, reply);
}

void SiriusPlaylogic::setBufferingConfig(const MivoValue& config) const
{
    if (!config.isValid())
        return;
    MivoStreamerSetAttributesArgs args;
    args.setPlaybackId(-1).setAttributes(
        {{MivoStreamerAttributesBufferingConfig(), config.toHash()}});
    invokeStreamer(MivoStreamerSetAttributesPath(), args.__variant());
}

void SiriusPlaylogic::followStreamer(bool follow)
{
    for (const QMetaObject::Connection& connection : qAsConst(m_streamerConnections))
        disconnect(connection);
    m_streamerConnections.clear();
    if (!follow)
        return;
    m_streamerConnections << connect(m_streamerData,
                                     qOverload<MivoValue, MivoValue>(&CMValueItem::changed), this,
                                     &SiriusPlaylogic::on_streamerDataChanged)
                          << connect(m_playTime, qOverload<MivoValue>(&CMValueItem::changed), this,
                                     &SiriusPlaylogic::on_streamerPlayTimeChanged);
}
