// Streams end to end: tune, fetch, decrypt through the module's hooks, and hand the audio over
// at the integrator's pace. The audio taken must be the service's plaintext byte for byte.

#include "LibraryFixture.h"

#include <mivosdk/MivoPaths.h>

#include <sxmlib.h>

using namespace sxmlib::test;

namespace {

class Playback : public SignedInFixture
{
protected:
    std::int64_t liveSegment() const { return now() / kSegmentMs; }
    std::string audio() { return recorded().audio; }
};

} // namespace

TEST_F(Playback, LiveAtTheLivePointIsThePlaintextAndFollowsTheLiveEdge)
{
    const std::string first = plaintext("live", liveChannel(), kBitrate, liveSegment());
    ASSERT_EQ(play(SXM_MODE_LIVE, liveChannel(), "", "", "", true), 1) << sxm_get_error();
    ASSERT_TRUE(waitForAudio(first.size()));
    EXPECT_TRUE(audio() == first);

    // The next segment exists only once the service's clock reaches it.
    advance(kSegmentMs);
    const std::string second = plaintext("live", liveChannel(), kBitrate, liveSegment());
    ASSERT_TRUE(waitForAudio(first.size() + second.size()));
    EXPECT_TRUE(audio() == first + second);

    EXPECT_EQ(sxm_getStreamBitrate(), 64000);
    ASSERT_EQ(sxm_stopChannel(), 1);
    EXPECT_EQ(sxm_getStreamBitrate(), 0);
    EXPECT_EQ(sxm_stopChannel(), 0) << "nothing plays any more";

    const Recorded r = recorded();
    EXPECT_EQ(r.bitrates, std::vector<int>{64000});
    EXPECT_EQ(r.lastBitrate, 64000u);
    EXPECT_EQ(r.busy, (std::vector<int>{1, 0}));
    const auto& live = catalog().channels()[0];
    const auto onAir = catalog().liveTrack(live, catalog().liveTrackIndexAt(live, kStartMs));
    ASSERT_FALSE(r.tracks.empty());
    EXPECT_EQ(r.tracks[0].trackId, onAir.trackId);
    EXPECT_EQ(r.tracks[0].artist, latin1(onAir.artist));
    EXPECT_EQ(r.tracks[0].track, latin1(onAir.title));
    EXPECT_TRUE(r.timebars.empty()) << "a live channel has no timebar";
    ASSERT_GE(r.metadataStates.size(), 2u);
    EXPECT_EQ(r.metadataStates.front(), 1);
    EXPECT_EQ(r.metadataStates.back(), 2);
}

TEST_F(Playback, AnEpisodeFromItsStartIsThePlaintextWithItsTimebar)
{
    const auto& episode = catalog().episodes().front();
    const std::string& guid = episode.record.assetGuid;
    const std::string expected =
        plaintext("episode", guid, kBitrate, 0) + plaintext("episode", guid, kBitrate, 1);
    ASSERT_EQ(play(SXM_MODE_ON_DEMAND, "", "", guid, "", false), 1) << sxm_get_error();
    ASSERT_TRUE(waitForAudio(expected.size()));
    EXPECT_TRUE(audio().substr(0, expected.size()) == expected);
    ASSERT_EQ(sxm_stopChannel(), 1);

    const Recorded r = recorded();
    ASSERT_FALSE(r.timebars.empty());
    const Timebar& bar = r.timebars.front();
    EXPECT_EQ(bar.startTimestamp, 0);
    EXPECT_EQ(bar.duration, episode.parts[0].durationMs) << "milliseconds";
    EXPECT_EQ(bar.segmentCount, static_cast<int>(episode.parts.size()));
    EXPECT_EQ(bar.irNavClass, SXM_IRNAV_RESTRICTED);
}

TEST_F(Playback, TheEndOfAnEpisodeIsReportedAsCodeThirtySevenAfterItsLastAudio)
{
    const auto& episode = catalog().episodes().front();
    const std::string& guid = episode.record.assetGuid;
    const std::int64_t length = episode.parts.back().startMs + episode.parts.back().durationMs;
    const std::int64_t last = (length + kSegmentMs - 1) / kSegmentMs - 1;
    const std::string expected = plaintext("episode", guid, kBitrate, last);
    ASSERT_EQ(play(SXM_MODE_ON_DEMAND, "", "", guid, std::to_string(last * kSegmentMs), false), 1)
        << sxm_get_error();
    ASSERT_TRUE(waitForError(SXM_ERROR_PLAYBACK_ENDED));
    EXPECT_TRUE(audio() == expected);
    const Recorded r = recorded();
    EXPECT_TRUE(r.errors.back().errorStop);
    EXPECT_NE(r.errors.back().message.find("episode has ended"), std::string::npos);
}

TEST_F(Playback, APartialTakerGetsTheRestOnlyAfterAskingForMore)
{
    m_recorder.setIntake(Intake::Part);
    startIntegratorThread();
    const std::string expected = plaintext("live", liveChannel(), kBitrate, liveSegment());
    ASSERT_EQ(play(SXM_MODE_LIVE, liveChannel(), "", "", "", true), 1) << sxm_get_error();
    ASSERT_TRUE(waitForAudio(expected.size()));
    EXPECT_TRUE(audio() == expected) << "every byte once, in order";
    const Recorded r = recorded();
    EXPECT_EQ(r.offersTooEarly, 0);
    EXPECT_GT(r.sendAudioDataCalls, 0);
}

TEST_F(Playback, PauseHoldsTheAudioUntilResume)
{
    m_recorder.setIntake(Intake::Part); // the stream then waits for sxm_sendAudioData
    ASSERT_EQ(play(SXM_MODE_LIVE, liveChannel(), "", "", "", true), 1) << sxm_get_error();
    ASSERT_TRUE(m_recorder.waitFor([](CallbackRecorder& r) { return r.moreWanted; }));
    EXPECT_EQ(sxm_userPause(1), 1);

    m_recorder.noteSendAudioData();
    EXPECT_EQ(sxm_sendAudioData(), 1);
    // Paused: the integrator's request for more must not bring more audio. Nothing announces
    // that the stream is parked, so a right library is given a while to offer again; the time
    // can only let a wrong library through, never fail a right one.
    EXPECT_FALSE(m_recorder.waitFor([](CallbackRecorder& r) { return r.offers >= 2; }, 300));
    EXPECT_EQ(sxm_userPause(0), 1);
    EXPECT_TRUE(m_recorder.waitFor([](CallbackRecorder& r) { return r.offers >= 2; }));
}

TEST_F(Playback, StopNeverWaitsForAnIntegratorThatTakesNothing)
{
    m_recorder.setIntake(Intake::Nothing);
    ASSERT_EQ(play(SXM_MODE_LIVE, liveChannel(), "", "", "", true), 1) << sxm_get_error();
    ASSERT_TRUE(m_recorder.waitFor([](CallbackRecorder& r) { return r.offers >= 1; }));
    EXPECT_EQ(sxm_stopChannel(), 1);
    EXPECT_TRUE(audio().empty());
}

TEST_F(Playback, GoLiveFlushesAndStartsAgainAtTheLivePoint)
{
    const std::string live = plaintext("live", liveChannel(), kBitrate, liveSegment());
    ASSERT_EQ(play(SXM_MODE_LIVE, liveChannel(), "", "",
                   std::to_string((liveSegment() - 3) * kSegmentMs), false),
              1)
        << sxm_get_error();
    ASSERT_TRUE(waitForAudio(1));
    sxm_triggerGoLive();
    EXPECT_STREQ(sxm_get_error(), "");
    ASSERT_TRUE(m_recorder.waitFor([&](CallbackRecorder& r) {
        return r.flushes == 1 && r.audio.size() >= r.audioAtFlush + live.size();
    }));
    const Recorded r = recorded();
    EXPECT_TRUE(r.audio.substr(r.audioAtFlush, live.size()) == live);
}

TEST_F(Playback, ATuneTheServiceRefusesFailsWithItsText)
{
    EXPECT_EQ(play(SXM_MODE_LIVE, geoRestrictedChannel(), "", "", "", true), 0);
    EXPECT_STREQ(sxm_get_error(), "This channel is not available in your location.");
    EXPECT_EQ(sxm_playChannel(nullptr), 0);
    sxm_triggerGoLive();
    EXPECT_FALSE(std::string(sxm_get_error()).empty()) << "nothing live to go to";

    storeText(MivoSiriusSettingsKeyPath(), "not-a-key");
    EXPECT_EQ(play(SXM_MODE_LIVE, liveChannel(), "", "", "", true), 0);
    EXPECT_NE(std::string(sxm_get_error()).find("key"), std::string::npos);
}

namespace {

class ShortRewind : public Playback
{
protected:
    void adjust(sxm::service::Options& options) override
    {
        options.rewindWindow = std::chrono::seconds(60);
    }
};

} // namespace

TEST_F(ShortRewind, ResumingAfterThePausePointLeftTheWindowIsRefused)
{
    ASSERT_EQ(play(SXM_MODE_LIVE, liveChannel(), "", "", "", true), 1) << sxm_get_error();
    ASSERT_TRUE(waitForAudio(1));
    ASSERT_EQ(sxm_userPause(1), 1);
    advance(30 * 1000);
    EXPECT_EQ(sxm_userPause(0), 1) << "still inside the window";
    ASSERT_EQ(sxm_userPause(1), 1);
    advance(5 * 60 * 1000);
    EXPECT_EQ(sxm_userPause(0), SXM_RESULT_PAUSE_POINT_LOST);
    EXPECT_FALSE(std::string(sxm_get_error()).empty());
    EXPECT_EQ(sxm_stopChannel(), 1);
}
