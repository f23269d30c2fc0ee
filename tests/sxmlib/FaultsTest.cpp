// A service that fails, breaks off or goes away: clear errors through sxm_get_error and the
// error callback, retries where a retry can help, and never a crash or a hang.

#include "LibraryFixture.h"

#include <sxmlib.h>

using namespace sxmlib::test;

namespace {

class Faults : public SignedInFixture
{
protected:
    void fault(const std::string& endpoint, const nlohmann::json& what)
    {
        ASSERT_FALSE(m_server->faults().merge({{"endpoints", {{endpoint, what}}}}).has_value());
    }

    ErrorNote errorWithCode(int code)
    {
        for (const ErrorNote& note : recorded().errors)
            if (note.code == code)
                return note;
        return {};
    }
};

} // namespace

TEST_F(Faults, ABrokenOffAnswerIsAConnectionFailure)
{
    fault("favorites", {{"drop", true}});
    EXPECT_EQ(sxm_get_favorites(), 0);
    EXPECT_STREQ(sxm_get_error(), "Unable to connect to SiriusXM. Check your Internet connection");
    EXPECT_EQ(sxm_get_status(), SXM_STATUS_READY) << "a failed list does not end the session";
    EXPECT_TRUE(recorded().favorites.empty()) << "nothing half-read is delivered";
}

TEST_F(Faults, ASegmentThatBreaksOffIsFetchedAgainAndTheAudioStaysExact)
{
    fault("audio", {{"drop", true}, {"times", 1}});
    const std::string expected = plaintext("live", liveChannel(), kBitrate, now() / kSegmentMs);
    ASSERT_EQ(play(SXM_MODE_LIVE, liveChannel(), "", "", "", true), 1) << sxm_get_error();
    ASSERT_TRUE(waitForAudio(expected.size()));
    const Recorded r = recorded();
    EXPECT_TRUE(r.audio == expected);
    EXPECT_TRUE(r.errors.empty());
}

TEST_F(Faults, AStreamWhoseSegmentsKeepFailingGivesUpWithAnError)
{
    fault("audio", {{"status", 500}});
    ASSERT_EQ(play(SXM_MODE_LIVE, liveChannel(), "", "", "", true), 1) << sxm_get_error();
    ASSERT_TRUE(waitForError(1));
    const ErrorNote note = errorWithCode(1);
    EXPECT_TRUE(note.errorStop);
    EXPECT_EQ(note.responseCode, 500);
    EXPECT_EQ(note.message, "The service failed on purpose: status 500 on endpoint audio");
    EXPECT_EQ(recorded().busy.front(), 1) << "busy while it retried";
    EXPECT_EQ(sxm_stopChannel(), 1);
}

TEST_F(Faults, AnExpiredSessionEndsTheStreamWithTheServiceText)
{
    ASSERT_EQ(play(SXM_MODE_LIVE, liveChannel(), "", "", "", true), 1) << sxm_get_error();
    ASSERT_TRUE(waitForAudio(1));
    m_server->expireSessions();
    advance(kSegmentMs); // the next segment is due and meets the 401
    ASSERT_TRUE(waitForError(2));
    const ErrorNote note = errorWithCode(2);
    EXPECT_EQ(note.message, "Your session has expired. Please sign in again.");
    EXPECT_EQ(note.responseCode, 401);
    EXPECT_EQ(sxm_get_status(), SXM_STATUS_SIGNED_OUT);
    EXPECT_EQ(sxm_stopChannel(), 1);
}

TEST_F(Faults, TheServiceGoingAwayMidStreamNeverHangsAStop)
{
    ASSERT_EQ(play(SXM_MODE_LIVE, liveChannel(), "", "", "", true), 1) << sxm_get_error();
    ASSERT_TRUE(waitForAudio(1));
    m_server->stop();
    EXPECT_EQ(sxm_get_recents(), 0);
    char buffer[64] = {};
    EXPECT_EQ(sxm_getNextSegmentTime(buffer, sizeof buffer), SXM_RESULT_ERROR);
    EXPECT_EQ(sxm_userPause(1), 1);
    EXPECT_EQ(sxm_userPause(0), 1) << "the window cannot be checked; the stream goes on trying";
    sxm_externalTimerTick(5000);
    EXPECT_EQ(sxm_stopChannel(), 1);
}
