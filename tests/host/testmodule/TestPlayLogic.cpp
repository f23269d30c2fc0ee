#include "TestPlayLogic.h"

#include "TestPattern.h"

#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoStreamer.h>
#include <mivosdk/MivoValue.h>

TestPlayLogic::TestPlayLogic(const CMPath& path, const QString& streamUrlPrefix, QObject* parent)
    : PlayLogicBase(path, parent)
    , m_socketPath(QString(streamUrlPrefix).remove(0, int(qstrlen("smt2://"))))
    , m_streamUrlPrefix(streamUrlPrefix)
    , m_streamerData(
          new CMValueItem(MivoStreamerDefaultPrefixPath() + MivoStreamerDataPath(), this))
    , m_playTime(new CMValueItem(path + MivoPlayLogicPlayTimePath(), this))
{
    connect(m_streamerData, qOverload<MivoValue>(&CMValueItem::changed), this,
            &TestPlayLogic::onStreamerData);
    connect(m_playTime, qOverload<MivoValue>(&CMValueItem::changed), this,
            &TestPlayLogic::onPlayTime);
}

void TestPlayLogic::publishState(int state, const QString& error)
{
    MivoPlayLogicData next = data();
    next.setState(state).setError(error);
    setData(next);
}

void TestPlayLogic::play(const CMSetDataRequest& request)
{
    const MivoPlayLogicPlayArgs args(request.value().toHash());
    MivoRoles roles = args.mediaRoles();
    const CMPath item = roles.path();
    const QString kind = item.segments().value(2);
    const int bytes = item.param(QStringLiteral("bytes"), QStringLiteral("65536")).toInt();
    const int chunk = item.param(QStringLiteral("chunk"), QStringLiteral("4096")).toInt();
    const QString queue = item.param(QStringLiteral("queue"), QStringLiteral("1048576"));

    MivoPlayLogicData fresh;
    MivoPlayLogicControls controls;
    controls.setPause(true).setNext(false).setPrevious(false);
    fresh.setPlayId(args.id())
        .setState(MivoPlayLogicState::Busy)
        .setMediaRoles(roles)
        .setControls(controls);
    setData(fresh);
    setPlayTime(0);

    // The streamer gets the socket the host told us, with the queue size this item asks for.
    MivoMediaData media = roles.mediaData();
    MivoList<MivoResource> resources = media.resources();
    MivoResource resource = resources.value(0);
    resource.setUri(m_streamUrlPrefix + QStringLiteral("?queueSizeInBytes=") + queue);
    media.setResources(MivoList<MivoResource>{resource});
    roles.setMediaData(media);
    MivoStreamerPlayArgs streamerArgs;
    streamerArgs.setRoles(roles).setPlayLogicPath(path());
    CMVoidReply started;
    CMRoot()->invoke(MivoStreamerDefaultPrefixPath() + MivoStreamerPlayPath(),
                     streamerArgs.__variant(), started);
    if (started.isError()) {
        publishState(MivoPlayLogicState::Stopped, started.error().message().toString());
        request.reply().setError(started.error());
        return;
    }
    request.reply().setResult();

    const PatternSender::Ending ending =
        kind == QLatin1String("endless") ? PatternSender::Ending::Endless
        : kind == QLatin1String("break") ? PatternSender::Ending::Break
                                         : PatternSender::Ending::Goodbye;
    m_sender.start(m_socketPath, testpattern::bytes(0, bytes), chunk, ending);
}

void TestPlayLogic::stop(const CMSetDataRequest& request)
{
    m_sender.stop();
    CMRoot()->invoke(MivoStreamerDefaultPrefixPath() + MivoStreamerStopPath(), QVariant(),
                     request.reply());
}

void TestPlayLogic::pause(const CMSetDataRequest& request)
{
    const CMPath command = data().state() == MivoPlayLogicState::Paused ? MivoStreamerResumePath()
                                                                        : MivoStreamerPausePath();
    CMRoot()->invoke(MivoStreamerDefaultPrefixPath() + command, QVariant(), request.reply());
}

void TestPlayLogic::onStreamerData(const MivoValue& value)
{
    const MivoStreamerData streamer(value.__hash());
    if (data().isEmpty())
        return;
    const QString error = streamer.hasError() ? streamer.error().message().toString() : QString();
    MivoPlayLogicData next = data();
    next.setState(streamer.state()).setError(error);
    // Once audio plays, the item names its track, as a radio's play logic does from metadata.
    if (streamer.state() == MivoPlayLogicState::Playing && next.trackRoles().title().isEmpty())
        next.setTrackRoles(
            MivoRoles().setTitle(next.mediaRoles().title() + QStringLiteral(" track")));
    setData(next);
    if (!error.isEmpty()) {
        MivoNotificationDisplayItem popup;
        popup.setTitle(QStringLiteral("Playback failed")).setMessage(error).setPriority(4);
        CMRoot()->invoke(MivoNotificationDisplayOpenPath(),
                         MivoValue().setNotificationDisplayItem(popup).__variant(), CMVoidReply());
    }
}

void TestPlayLogic::onPlayTime(const MivoValue& value)
{
    setPlayTime(value.toLongLong());
}
