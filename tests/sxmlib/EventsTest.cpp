// What the service tells the library on its own: bypass flags on every answer, and a playback it
// ended (code 37).

#include "LibraryFixture.h"

#include <sxmlib.h>

using namespace sxmlib::test;

using Events = SignedInFixture;

TEST_F(Events, ABypassChangeIsReportedOnceWithCodeZero)
{
    const auto errors = [] {
        return recorded().errors;
    };
    m_server->faults().merge({{"bypass", {{"isGupUnavailable", true}}}});
    EXPECT_EQ(sxm_get_recents(), 0) << "GUP bypass switches recents off";
    EXPECT_EQ(std::string(sxm_get_error()),
              "Your settings and preferences are temporarily unavailable during a server update.");
    ASSERT_EQ(errors().size(), 1u);
    EXPECT_EQ(errors()[0].code, 0);
    EXPECT_TRUE(errors()[0].isGupUnavailable);
    EXPECT_FALSE(errors()[0].isSearchUnavailable);

    // The same status on later answers is no news.
    EXPECT_EQ(sxm_channel_list(), 1);
    EXPECT_EQ(errors().size(), 1u);

    // Asked for, the status is reported whether it changed or not.
    EXPECT_EQ(sxm_get_bypassStatus(), 1);
    ASSERT_EQ(errors().size(), 2u);
    EXPECT_TRUE(errors()[1].isGupUnavailable);
}

TEST_F(Events, APlaybackTheServiceEndsIsReportedOnceAsCodeThirtySeven)
{
    ASSERT_EQ(play(SXM_MODE_LIVE, liveChannel(), "", "", "", true), 1) << sxm_get_error();
    ASSERT_TRUE(waitForAudio(1));
    m_server->endPlayback();
    sxm_externalTimerTick(5000);
    advance(kSegmentMs); // the next segment is due: the stream meets the 409 as well
    ASSERT_TRUE(waitForError(SXM_ERROR_PLAYBACK_ENDED));
    EXPECT_EQ(sxm_stopChannel(), 1);
    int ended = 0;
    for (const ErrorNote& note : recorded().errors) {
        if (note.code == SXM_ERROR_PLAYBACK_ENDED) {
            ++ended;
            EXPECT_EQ(note.message,
                      "This stream has ended. Please select a channel to continue listening.");
            EXPECT_TRUE(note.errorStop);
        }
    }
    EXPECT_EQ(ended, 1);
}
