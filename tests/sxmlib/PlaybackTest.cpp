// Streams end to end: tune, fetch, decrypt through the module's hooks, and hand the audio over
// at the integrator's pace. The audio taken must be the service's plaintext byte for byte.

#include "LibraryFixture.h"

#include <mivosdk/MivoPaths.h>

#include <sxmlib.h>

#include <chrono>
#include <thread>

using namespace sxmlib::test;

namespace {

constexpr int kBitrate = SXM_STREAM_64_KBPS;
constexpr std::int64_t kSegmentMs = 10000;

class Playback : public LibraryFixture
{
protected:
    void SetUp() override
    {
        LibraryFixture::SetUp();
        ASSERT_NO_FATAL_FAILURE(signInAndList());
        recorder_.reset();
    }

    std::int64_t liveSegment() const { return now() / kSegmentMs; }
    std::string channel() const { return catalog().channels()[0].id; }

    bool waitForAudio(std::size_t bytes)
    {
        return recorder_.waitFor([bytes](CallbackRecorder& r) { return r.audio.size() >= bytes; });
    }
    std::string audio()
    {
        std::lock_guard<std::mutex> lock(recorder_.mutex);
        return recorder_.audio;
    }
};

const sxm::service::Episode& longEpisode(const sxm::service::Catalog& catalog)
{
    return catalog.episodes().front();
}

std::int64_t lengthOf(const sxm::service::Episode& episode)
{
    return episode.parts.back().startMs + episode.parts.back().durationMs;
}

} // namespace

TEST_F(Playback, LiveAtTheLivePointIsThePlaintextAndFollowsTheLiveEdge)
{
    const std::string first = plaintext("live", channel(), kBitrate, liveSegment());
    ASSERT_EQ(play(SXM_MODE_LIVE, channel(), "", "", "", true), 1) << sxm_get_error();
    ASSERT_TRUE(waitForAudio(first.size()));
    EXPECT_TRUE(sameBytes(audio(), first));

    // The next segment exists only once the service's clock reaches it.
    advance(kSegmentMs);
    const std::string second = plaintext("live", channel(), kBitrate, liveSegment());
    ASSERT_TRUE(waitForAudio(first.size() + second.size()));
    EXPECT_TRUE(sameBytes(audio(), first + second));

    EXPECT_EQ(sxm_getStreamBitrate(), 64000);
    ASSERT_EQ(sxm_stopChannel(), 1);
    EXPECT_EQ(sxm_getStreamBitrate(), 0);
    EXPECT_EQ(sxm_stopChannel(), 0) << "nothing plays any more";

    std::lock_guard<std::mutex> lock(recorder_.mutex);
    EXPECT_EQ(recorder_.bitrates, std::vector<int>{64000});
    EXPECT_EQ(recorder_.lastBitrate, 64000u);
    EXPECT_EQ(recorder_.busy, (std::vector<int>{1, 0}));
    const auto& live = catalog().channels()[0];
    const auto onAir = catalog().liveTrack(live, catalog().liveTrackIndexAt(live, kStartMs));
    ASSERT_FALSE(recorder_.tracks.empty());
    EXPECT_EQ(recorder_.tracks[0].trackId, onAir.trackId);
    EXPECT_EQ(recorder_.tracks[0].artist, latin1(onAir.artist));
    EXPECT_EQ(recorder_.tracks[0].track, latin1(onAir.title));
    EXPECT_TRUE(recorder_.timebars.empty()) << "a live channel has no timebar";
    ASSERT_GE(recorder_.metadataStates.size(), 2u);
    EXPECT_EQ(recorder_.metadataStates.front(), 1);
    EXPECT_EQ(recorder_.metadataStates.back(), 2);
}

TEST_F(Playback, AnEpisodeFromItsStartIsThePlaintextWithItsTimebar)
{
    const auto& episode = longEpisode(catalog());
    const std::string& guid = episode.record.assetGuid;
    const std::string expected =
        plaintext("episode", guid, kBitrate, 0) + plaintext("episode", guid, kBitrate, 1);
    ASSERT_EQ(play(SXM_MODE_ON_DEMAND, "", "", guid, "", false), 1) << sxm_get_error();
    ASSERT_TRUE(waitForAudio(expected.size()));
    EXPECT_TRUE(sameBytes(audio().substr(0, expected.size()), expected));
    ASSERT_EQ(sxm_stopChannel(), 1);

    std::lock_guard<std::mutex> lock(recorder_.mutex);
    ASSERT_FALSE(recorder_.timebars.empty());
    const Timebar& bar = recorder_.timebars.front();
    EXPECT_EQ(bar.startTimestamp, 0);
    EXPECT_EQ(bar.duration, episode.parts[0].durationMs) << "milliseconds";
    EXPECT_EQ(bar.segmentCount, static_cast<int>(episode.parts.size()));
    EXPECT_EQ(bar.irNavClass, SXM_IRNAV_RESTRICTED);
}

TEST_F(Playback, TheEndOfAnEpisodeIsReportedAsCodeThirtySevenAfterItsLastAudio)
{
    const auto& episode = longEpisode(catalog());
    const std::string& guid = episode.record.assetGuid;
    const std::int64_t last = (lengthOf(episode) + kSegmentMs - 1) / kSegmentMs - 1;
    const std::string expected = plaintext("episode", guid, kBitrate, last);
    ASSERT_EQ(play(SXM_MODE_ON_DEMAND, "", "", guid, std::to_string(last * kSegmentMs), false), 1)
        << sxm_get_error();
    ASSERT_TRUE(recorder_.waitFor([](CallbackRecorder& r) {
        return !r.errors.empty() && r.errors.back().code == SXM_ERROR_PLAYBACK_ENDED;
    }));
    EXPECT_TRUE(sameBytes(audio(), expected));
    std::lock_guard<std::mutex> lock(recorder_.mutex);
    EXPECT_TRUE(recorder_.errors.back().errorStop);
    EXPECT_NE(recorder_.errors.back().message.find("episode has ended"), std::string::npos);
}

TEST_F(Playback, AnXtraChannelPlaysItsTrackListFromTheStart)
{
    const auto& xtra = catalog().xtraChannels().front();
    const std::string expected = plaintext("xtra", xtra.id, kBitrate, 0);
    ASSERT_EQ(play(SXM_MODE_XTRA, "", xtra.assetGuid, "", "", false), 1) << sxm_get_error();
    ASSERT_TRUE(waitForAudio(expected.size()));
    EXPECT_TRUE(sameBytes(audio().substr(0, expected.size()), expected));
    std::lock_guard<std::mutex> lock(recorder_.mutex);
    ASSERT_FALSE(recorder_.tracks.empty());
    EXPECT_EQ(recorder_.tracks[0].trackId, xtra.xtraTracks[0].trackId);
    EXPECT_FALSE(recorder_.timebars.empty());
}

TEST_F(Playback, APartialTakerGetsTheRestOnlyAfterAskingForMore)
{
    recorder_.setIntake(Intake::Part);
    startIntegratorThread();
    const std::string expected = plaintext("live", channel(), kBitrate, liveSegment());
    ASSERT_EQ(play(SXM_MODE_LIVE, channel(), "", "", "", true), 1) << sxm_get_error();
    ASSERT_TRUE(waitForAudio(expected.size()));
    EXPECT_TRUE(sameBytes(audio(), expected)) << "every byte once, in order";
    std::lock_guard<std::mutex> lock(recorder_.mutex);
    EXPECT_EQ(recorder_.offersTooEarly, 0);
    EXPECT_GT(recorder_.sendAudioDataCalls, 0);
}

TEST_F(Playback, AStartInsideASegmentBeginsAtAnAudioFrame)
{
    // 4 s into the segment before the live one: its audio from the first frame at or after
    // that point, then the live segment whole.
    const std::int64_t previous = liveSegment() - 1;
    const std::string before = plaintext("live", channel(), kBitrate, previous);
    const std::string live = plaintext("live", channel(), kBitrate, liveSegment());
    ASSERT_EQ(
        play(SXM_MODE_LIVE, channel(), "", "", std::to_string(previous * kSegmentMs + 4000), false),
        1)
        << sxm_get_error();
    ASSERT_TRUE(recorder_.waitFor([&](CallbackRecorder& r) {
        return r.audio.size() > live.size() &&
               r.audio.compare(r.audio.size() - live.size(), live.size(), live) == 0;
    }));
    const std::string taken = audio();
    const std::size_t suffix = taken.size() - live.size();
    ASSERT_LT(suffix, before.size());
    const std::size_t skipped = before.size() - suffix;
    EXPECT_GT(skipped, before.size() / 4) << "about 4 of 10 seconds were skipped";
    EXPECT_TRUE(sameBytes(taken.substr(0, suffix), before.substr(skipped)));
    EXPECT_EQ(static_cast<unsigned char>(taken[0]), 0xFF) << "an ADTS sync word";
}

TEST_F(Playback, PauseHoldsTheAudioUntilResume)
{
    recorder_.setIntake(Intake::Part); // the stream then waits for sxm_sendAudioData
    ASSERT_EQ(play(SXM_MODE_LIVE, channel(), "", "", "", true), 1) << sxm_get_error();
    ASSERT_TRUE(recorder_.waitFor([](CallbackRecorder& r) { return r.moreWanted; }));
    EXPECT_EQ(sxm_userPause(1), 1);

    recorder_.noteSendAudioData();
    EXPECT_EQ(sxm_sendAudioData(), 1);
    // Paused: the integrator's request for more must not bring more audio. (Waiting here can
    // only let a wrong library through, never fail a right one.)
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    {
        std::lock_guard<std::mutex> lock(recorder_.mutex);
        EXPECT_EQ(recorder_.offers, 1);
    }
    EXPECT_EQ(sxm_userPause(0), 1);
    EXPECT_TRUE(recorder_.waitFor([](CallbackRecorder& r) { return r.offers >= 2; }));
}

TEST_F(Playback, StopNeverWaitsForAnIntegratorThatTakesNothing)
{
    recorder_.setIntake(Intake::Nothing);
    ASSERT_EQ(play(SXM_MODE_LIVE, channel(), "", "", "", true), 1) << sxm_get_error();
    ASSERT_TRUE(recorder_.waitFor([](CallbackRecorder& r) { return r.offers >= 1; }));
    EXPECT_EQ(sxm_stopChannel(), 1);
    std::lock_guard<std::mutex> lock(recorder_.mutex);
    EXPECT_TRUE(recorder_.audio.empty());
}

TEST_F(Playback, GoLiveFlushesAndStartsAgainAtTheLivePoint)
{
    const std::string live = plaintext("live", channel(), kBitrate, liveSegment());
    ASSERT_EQ(play(SXM_MODE_LIVE, channel(), "", "",
                   std::to_string((liveSegment() - 3) * kSegmentMs), false),
              1)
        << sxm_get_error();
    ASSERT_TRUE(waitForAudio(1));
    sxm_triggerGoLive();
    EXPECT_STREQ(sxm_get_error(), "");
    ASSERT_TRUE(recorder_.waitFor([&](CallbackRecorder& r) {
        return r.flushes == 1 && r.audio.size() >= r.audioAtFlush + live.size();
    }));
    std::lock_guard<std::mutex> lock(recorder_.mutex);
    EXPECT_TRUE(sameBytes(recorder_.audio.substr(recorder_.audioAtFlush, live.size()), live));
}

TEST_F(Playback, ATuneTheServiceRefusesFailsWithItsText)
{
    std::string restricted;
    for (const auto& c : catalog().channels())
        if (c.records.front().geoRestrictions != 0)
            restricted = c.id;
    EXPECT_EQ(play(SXM_MODE_LIVE, restricted, "", "", "", true), 0);
    EXPECT_STREQ(sxm_get_error(), "This channel is not available in your location.");
    EXPECT_EQ(play(SXM_MODE_LIVE, "no-such-channel", "", "", "", true), 0);
    EXPECT_FALSE(std::string(sxm_get_error()).empty());
    EXPECT_EQ(play(7, channel(), "", "", "", true), 0);
    EXPECT_EQ(sxm_playChannel(nullptr), 0);
    sxm_triggerGoLive();
    EXPECT_FALSE(std::string(sxm_get_error()).empty()) << "nothing live to go to";

    storeText(MivoSiriusSettingsKeyPath(), "not-a-key");
    EXPECT_EQ(play(SXM_MODE_LIVE, channel(), "", "", "", true), 0);
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
    ASSERT_EQ(play(SXM_MODE_LIVE, channel(), "", "", "", true), 1) << sxm_get_error();
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
