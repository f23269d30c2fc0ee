// SiriusPlaylogic's side of what is on air: the library's track metadata over the track roles,
// the segment's duration from its timebar, and the play time counted from the segment's start.

#include "siriusPlaylogic/siriusPlaylogic.h"

#include "siriusLib/siriusLib.h"
#include "siriusLogging.h"

namespace {

const log4cplus::Logger& logger()
{
    return sirius::siriusPlaylogicLogger();
}

} // namespace

void SiriusPlaylogic::on_siriusLib_metadata(const MivoSiriusTrackMetadata& trackMetadata)
{
    LOG4CPLUS_DEBUG(logger(), "Metadata: " << trackMetadata.track().toStdString() << " / "
                                           << trackMetadata.artist().toStdString());
    // Metadata of a stream that no longer plays would show on the next one.
    if (data().state() == MivoPlayLogicState::Stopped)
        return;
    m_trackMetadata = trackMetadata;
    MivoPlayLogicData next = data();
    next.setTrackRoles(translateTrackRoles(next.trackRoles()));
    setData(next);
}

MivoRoles SiriusPlaylogic::translateTrackRoles(const MivoRoles& roles) const
{
    // Always applied, empty or not: the streamer's own idea of the track never shows.
    MivoRoles translated = roles;
    MivoMediaData media = translated.mediaData();
    MivoMetaData metaData = media.metaData();
    metaData.setArtist(m_trackMetadata.artist()).setAlbum(m_trackMetadata.album());
    media.setMetaData(metaData);
    translated.setMediaData(media)
        .setTitle(m_trackMetadata.track())
        .setIcon(m_trackMetadata.albumArt().url());
    return translated;
}

void SiriusPlaylogic::on_siriusLib_timebar(const MivoSiriusTimebar& timebar)
{
    // Live channels publish no timebar: their play time is the time listened.
    if (data().state() == MivoPlayLogicState::Stopped ||
        m_currentPlayable.mode() == MivoSiriusContentMode::Enum(0))
        return;
    MivoPlayLogicData next = data();
    MivoPlayLogicStatus status = next.status();
    if (status.duration() == timebar.duration())
        return; // the same segment still plays
    // A new segment: the published play time restarts at its start (or where inside it the
    // stream began), and the segment that just ended no longer counts.
    if (timebar.currentTimestamp() != 0)
        m_playTimeOffset -= (timebar.currentTimestamp() - timebar.startTimestamp()) * 1000;
    m_playTimeOffset += status.duration();
    status.setDuration(timebar.duration());
    next.setStatus(status);
    setData(next);
}

void SiriusPlaylogic::on_streamerPlayTimeChanged(const MivoValue& value)
{
    const qint64 played = qMax<qint64>(0, value.toLongLong());
    setPlayTime(played - m_playTimeOffset);
    m_lib->notifyPlayTimeChanged(int(played));
}
