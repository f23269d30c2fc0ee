// The play logic's state machine against a recorded streamer and the scripted library: what it
// publishes, what it asks the streamer and the library, and how one playback follows another.
#include "siriusPlaylogic/siriusPlaylogic.h"

#include "contentManager/contentManager.h"
#include "siriusLib/siriusLib.h"

#include "QtTestSupport.h"
#include "fakeStreamer.h"
#include "fakeSxmLib.h"

#include <mivosdk/MivoPaths.h>

#include <QDateTime>
#include <gtest/gtest.h>

namespace {

using testsupport::pump;
using State = SiriusPlaylogic::StreamerState;

/// A playable row as the content manager makes one: a live channel unless `params` say otherwise.
MivoRoles row(const QString& id, const QList<CMPath::Param>& params = {})
{
    CMPath path = MivoSiriusPrefixPath();
    path.appendSubpath(id).addParam(MivoSiriusContent::AssetGuid(), QStringLiteral("guid-") + id);
    for (const CMPath::Param& param : params)
        path.addParam(param.first, param.second);
    MivoResource resource;
    resource.setUri(QStringLiteral("sirius://") + id);
    MivoMediaData media;
    media.setResources(MivoList<MivoResource>{resource});
    MivoRoles roles;
    roles.setId(id).setTitle(QStringLiteral("Title ") + id).setPath(path).setMediaData(media);
    return roles;
}

CMSetDataRequest playRequest(const MivoRoles& roles)
{
    MivoPlayLogicPlayArgs args;
    args.setId(roles.id()).setMediaRoles(roles);
    return CMSetDataRequest(MivoSiriusPlayLogicPath(), PlayLogicBase::Play(), args.__variant());
}

int libraryPlays()
{
    int plays = 0;
    for (const std::string& call : fake::library().callsSnapshot())
        plays += call.rfind("sxm_playChannel", 0) == 0 ? 1 : 0;
    return plays;
}

CMSetDataRequest command(const QString& role)
{
    return CMSetDataRequest(MivoSiriusPlayLogicPath(), role, QVariant());
}

class SiriusPlaylogicTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        fake::reset();
        CMSetRoot(&root);
        playlogic =
            std::make_unique<SiriusPlaylogic>(MivoSiriusPlayLogicPath(), &lib, &manager,
                                              QStringLiteral("smt2:///nowhere/s.sock"), true);
        root.watchValue(MivoSiriusPlayLogicPath() + MivoPlayLogicDataPath(), nullptr,
                        [this](const QVariant& value, const QVariant&) {
                            states << MivoPlayLogicData(value.toHash()).state();
                        });
    }
    void TearDown() override
    {
        playlogic.reset();
        CMSetRoot(nullptr);
    }

    /// Starts `roles` and brings the streamer to playing.
    void startPlaying(const MivoRoles& roles)
    {
        const CMSetDataRequest request = playRequest(roles);
        playlogic->play(request);
        ASSERT_TRUE(request.reply().isSucceeded())
            << request.reply().error().toString().toStdString();
        streamer.publish(MivoStreamerData::Playing);
        pump();
        ASSERT_EQ(data().state(), MivoPlayLogicState::Playing);
        streamer.takeCommands();
        states.clear();
    }
    MivoPlayLogicData data() const { return playlogic->data(); }
    qint64 publishedPlayTime()
    {
        return MivoValue(
                   root.getValue(MivoSiriusPlayLogicPath() + MivoPlayLogicPositionPath()).toHash())
            .toLongLong();
    }

    CMMemoryRoot root;
    sirius::test::FakeStreamer streamer{root};
    SiriusLib lib{true};
    ContentManager manager{&lib, true};
    QList<int> states;
    std::unique_ptr<SiriusPlaylogic> playlogic;
};

TEST_F(SiriusPlaylogicTest, PlaysPausesResumesAndStopsThroughTheStreamer)
{
    const MivoRoles roles = row("hits");
    const CMSetDataRequest request = playRequest(roles);
    playlogic->play(request);
    EXPECT_TRUE(request.reply().isSucceeded());
    EXPECT_EQ(data().state(), MivoPlayLogicState::Busy);
    EXPECT_EQ(data().mediaRoles(), roles);
    EXPECT_TRUE(data().controls().pause() && data().controls().next());
    EXPECT_EQ(streamer.takeCommands(), QStringList{"play"});
    const MivoStreamerPlayArgs play = streamer.lastPlay();
    EXPECT_EQ(play.playLogicPath(), MivoSiriusPlayLogicPath());
    EXPECT_EQ(play.roles().mediaData().resources().value(0).uri(),
              "smt2:///nowhere/s.sock?queueSizeInBytes=1048576");
    EXPECT_EQ(playlogic->streamerState(), State::Starting);

    streamer.publish(MivoStreamerData::Playing);
    pump();
    EXPECT_EQ(data().state(), MivoPlayLogicState::Playing);

    const CMSetDataRequest pause = command(PlayLogicBase::Pause());
    playlogic->pause(pause);
    EXPECT_TRUE(pause.reply().isSucceeded());
    EXPECT_EQ(fake::calls("sxm_userPause(1)"), 1);
    streamer.publish(MivoStreamerData::Paused);
    pump();
    EXPECT_EQ(data().state(), MivoPlayLogicState::Paused);
    const CMSetDataRequest resume = command(PlayLogicBase::Pause());
    playlogic->pause(resume);
    pump();
    EXPECT_TRUE(resume.reply().isSucceeded());
    EXPECT_EQ(fake::calls("sxm_userPause(0)"), 1);
    EXPECT_EQ(streamer.takeCommands(), (QStringList{"pause", "resume"}));

    const CMSetDataRequest stop = command(PlayLogicBase::Stop());
    playlogic->stop(stop);
    EXPECT_FALSE(stop.reply().isFinished()) << "done when the streamer reports it";
    EXPECT_TRUE(playlogic->isStopping());
    EXPECT_EQ(fake::calls("sxm_stopChannel"), 1);
    EXPECT_EQ(streamer.takeCommands(), QStringList{"stop"});
    streamer.publish(MivoStreamerData::Stopped);
    pump();
    EXPECT_TRUE(stop.reply().isSucceeded());
    EXPECT_EQ(data().state(), MivoPlayLogicState::Stopped);

    // Nothing to stop: answered at once, nothing sent.
    const CMSetDataRequest again = command(PlayLogicBase::Stop());
    playlogic->stop(again);
    EXPECT_TRUE(again.reply().isSucceeded());
    EXPECT_TRUE(streamer.takeCommands().isEmpty());
}

TEST_F(SiriusPlaylogicTest, RequestsWhileStoppingAreRefusedAndAStopOutranksAPendingSwitch)
{
    startPlaying(row("hits"));
    const CMVoidReply switchReply;
    playlogic->playRoles(row("rock"), switchReply);
    const CMSetDataRequest stop = command(PlayLogicBase::Stop());
    playlogic->stop(stop);
    EXPECT_TRUE(switchReply.isCancelled()) << "the stop replaces the pending switch";
    const CMVoidReply late;
    playlogic->playRoles(row("jazz"), late);
    EXPECT_TRUE(late.isCancelled()) << "a switch arriving during a stop is dropped";
    const CMSetDataRequest pause = command(PlayLogicBase::Pause());
    playlogic->pause(pause);
    EXPECT_EQ(pause.reply().error().message().toString(), "Stopping playlogic");
    streamer.publish(MivoStreamerData::Paused);
    pump();
    EXPECT_EQ(playlogic->streamerState(), State::Stopping) << "only state 0 ends a stop";

    streamer.publish(MivoStreamerData::Stopped);
    pump();
    EXPECT_TRUE(stop.reply().isSucceeded());
    EXPECT_EQ(streamer.takeCommands(), QStringList{"stop"}) << "nothing new was started";
}

TEST_F(SiriusPlaylogicTest, PlayWhilePlayingStopsFirstThenStartsTheNewItem)
{
    startPlaying(row("hits"));
    const MivoRoles next = row("rock");
    const CMSetDataRequest request = playRequest(next);
    playlogic->play(request);
    EXPECT_FALSE(request.reply().isFinished());
    EXPECT_EQ(streamer.takeCommands(), QStringList{"stop"});
    streamer.publish(MivoStreamerData::Stopped);
    pump();
    EXPECT_TRUE(request.reply().isSucceeded());
    EXPECT_EQ(streamer.takeCommands(), QStringList{"play"});
    EXPECT_EQ(streamer.lastPlay().roles().id(), "rock");
    EXPECT_EQ(states.count(MivoPlayLogicState::Stopped), 1);
    EXPECT_EQ(states.first(), MivoPlayLogicState::Busy);
    streamer.publish(MivoStreamerData::Playing);
    pump();
    EXPECT_EQ(data().state(), MivoPlayLogicState::Playing);
    EXPECT_EQ(data().mediaRoles().id(), "rock");
}

TEST_F(SiriusPlaylogicTest, ExpiredEpisodesAndRolesWithoutAnIdAreRefused)
{
    const QString past = QDateTime::currentDateTime().addDays(-1).toString(Qt::ISODateWithMs);
    const CMSetDataRequest expired = playRequest(
        row("ep", {{MivoSiriusEpisode(), ""}, {MivoSiriusContent::ExpireDate(), past}}));
    playlogic->play(expired);
    pump();
    EXPECT_EQ(expired.reply().error().name(), "SiriusXM");
    EXPECT_EQ(expired.reply().error().message().toString(), "Recently played episode has expired.");
    EXPECT_EQ(data().state(), MivoPlayLogicState::Stopped) << "the refused start does not linger";

    const CMSetDataRequest noId = playRequest(MivoRoles());
    playlogic->play(noId);
    EXPECT_EQ(noId.reply().error().message().toString(), "Invalid media roles");
    EXPECT_TRUE(streamer.takeCommands().isEmpty());

    const QString future = QDateTime::currentDateTime().addDays(1).toString(Qt::ISODateWithMs);
    const CMSetDataRequest valid = playRequest(
        row("ep", {{MivoSiriusEpisode(), ""}, {MivoSiriusContent::ExpireDate(), future}}));
    playlogic->play(valid);
    EXPECT_TRUE(valid.reply().isSucceeded());
}

TEST_F(SiriusPlaylogicTest, AnErrorStopShowsThePausedItemAndPlayStartsItAgain)
{
    const MivoRoles roles = row("hits");
    startPlaying(roles);
    playlogic->reportError("Something failed");
    EXPECT_EQ(streamer.takeCommands(), QStringList{"stop"});
    streamer.publish(MivoStreamerData::Stopped);
    pump();
    EXPECT_EQ(data().state(), MivoPlayLogicState::Paused);
    EXPECT_EQ(data().error(), "Something failed");
    EXPECT_TRUE(data().controls().pause());
    EXPECT_FALSE(data().controls().next());

    // Only the message while stopped.
    playlogic->reportError("Again");
    EXPECT_EQ(data().error(), "Again");

    const CMSetDataRequest pause = command(PlayLogicBase::Pause());
    playlogic->pause(pause);
    EXPECT_TRUE(pause.reply().isSucceeded());
    EXPECT_EQ(streamer.takeCommands(), QStringList{"play"});
    EXPECT_EQ(streamer.lastPlay().roles().id(), "hits");
    EXPECT_TRUE(data().error().isEmpty());
}

TEST_F(SiriusPlaylogicTest, ABrokenStreamStartsTheSameItemAgain)
{
    startPlaying(row("hits"));
    const int stopsBefore = fake::calls("sxm_stopChannel");
    streamer.publish(MivoStreamerData::Stopped, "StreamBroken");
    pump();
    EXPECT_EQ(fake::calls("sxm_stopChannel"), stopsBefore + 1);
    EXPECT_EQ(streamer.takeCommands(), QStringList{"play"});
    EXPECT_EQ(streamer.lastPlay().roles().id(), "hits");
    EXPECT_EQ(playlogic->streamerState(), State::Starting);
}

TEST_F(SiriusPlaylogicTest, ASenderConnectingAfterItsPlaybackStoppedDoesNotStartTheLibrary)
{
    startPlaying(row("hits"));
    emit playlogic->startSiriusPlayback();
    EXPECT_EQ(libraryPlays(), 1);
    playlogic->stop(command(PlayLogicBase::Stop()));
    emit playlogic->startSiriusPlayback();
    EXPECT_EQ(libraryPlays(), 1);
}

TEST_F(SiriusPlaylogicTest, TrackRolesCarryTheLibraryMetadataOnly)
{
    MivoSiriusTrackMetadata metadata;
    metadata.setArtist("Artist").setAlbum("Album").setTrack("Song").setAlbumArt(
        MivoSiriusLogo().setUrl("http://art"));
    playlogic->on_siriusLib_metadata(metadata);
    startPlaying(row("hits"));
    EXPECT_TRUE(data().trackRoles().title().isEmpty()) << "metadata of no playback is not kept";

    playlogic->on_siriusLib_metadata(metadata);
    MivoRoles own;
    own.setTitle("Streamer's idea");
    streamer.publish(MivoStreamerData::Playing, QString(), own);
    pump();
    const MivoRoles track = data().trackRoles();
    EXPECT_EQ(track.title(), "Song");
    EXPECT_EQ(track.icon(), "http://art");
    EXPECT_EQ(track.mediaData().metaData().artist(), "Artist");
    EXPECT_EQ(track.mediaData().metaData().album(), "Album");
}

TEST_F(SiriusPlaylogicTest, AnEpisodesPlayTimeCountsFromItsSegmentStart)
{
    startPlaying(row("ep", {{MivoSiriusEpisode(), ""}}));
    MivoSiriusTimebar timebar;
    timebar.setStartTimestamp(1000).setCurrentTimestamp(1090).setDuration(300000);
    playlogic->on_siriusLib_timebar(timebar);
    EXPECT_EQ(data().status().duration(), 300000);
    playlogic->on_streamerPlayTimeChanged(MivoValue().setLongLong(5000));
    EXPECT_EQ(publishedPlayTime(), 95000) << "started 90 s into the segment";
    EXPECT_EQ(fake::calls("sxm_on_playTimeChanged(5000)"), 1);

    // The same segment again changes nothing, even with moved timestamps.
    timebar.setCurrentTimestamp(1200);
    playlogic->on_siriusLib_timebar(timebar);
    playlogic->on_streamerPlayTimeChanged(MivoValue().setLongLong(6000));
    EXPECT_EQ(publishedPlayTime(), 96000);

    // The next segment: the one that ended no longer counts.
    playlogic->on_siriusLib_timebar(
        MivoSiriusTimebar().setStartTimestamp(1300).setCurrentTimestamp(0).setDuration(200000));
    playlogic->on_streamerPlayTimeChanged(MivoValue().setLongLong(215000));
    EXPECT_EQ(publishedPlayTime(), 215000 + 90000 - 300000);

    playlogic->on_streamerPlayTimeChanged(MivoValue().setLongLong(-50));
    EXPECT_EQ(publishedPlayTime(), 90000 - 300000);
    EXPECT_EQ(fake::calls("sxm_on_playTimeChanged(0)"), 1);
}

TEST_F(SiriusPlaylogicTest, LiveChannelsIgnoreTheTimebar)
{
    startPlaying(row("hits"));
    playlogic->on_siriusLib_timebar(
        MivoSiriusTimebar().setStartTimestamp(1).setCurrentTimestamp(91).setDuration(1000));
    EXPECT_EQ(data().status().duration(), 0);
    playlogic->on_streamerPlayTimeChanged(MivoValue().setLongLong(7000));
    EXPECT_EQ(publishedPlayTime(), 7000);
}

} // namespace
