// Segment times for next and previous: the service's targets, its hourly budget and its
// refusals, written into the caller's buffer with the result codes of sxmlib.h.

#include "LibraryFixture.h"

#include <sxmlib.h>

#include <QDateTime>

#include <cstring>

using namespace sxmlib::test;

namespace {

// "yyyy-MM-ddTHH:mm:ss.zzz", the service's UTC times without a zone.
bool isUtcTime(const std::string& text)
{
    const QString format = QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz");
    return int(text.size()) == format.size() &&
           QDateTime::fromString(QString::fromStdString(text), format).isValid();
}

class Skips : public SignedInFixture
{
protected:
    void adjust(sxm::service::Options& options) override { options.skipsPerHour = 3; }

    void SetUp() override
    {
        SignedInFixture::SetUp();
        // Taking nothing keeps the listener where the stream started.
        m_recorder.setIntake(Intake::Nothing);
    }

    struct Answer
    {
        int result = 0;
        std::string text;
        std::string error;
    };

    Answer ask(bool next)
    {
        char buffer[256];
        std::memset(buffer, 'x', sizeof buffer);
        Answer answer;
        answer.result = next ? sxm_getNextSegmentTime(buffer, sizeof buffer)
                             : sxm_getPrevSegmentTime(buffer, sizeof buffer);
        answer.text = buffer;
        answer.error = sxm_get_error();
        return answer;
    }
};

} // namespace

TEST_F(Skips, PreviousUsesTheBudgetUntilTheServiceSaysWhenMoreComes)
{
    ASSERT_EQ(play(SXM_MODE_LIVE, liveChannel(), "", "", "", true), 1) << sxm_get_error();
    for (int left = 2; left >= 0; --left) {
        const Answer answer = ask(false);
        ASSERT_EQ(answer.result, left) << answer.error;
        const auto comma = answer.text.find(',');
        ASSERT_NE(comma, std::string::npos) << answer.text;
        EXPECT_TRUE(isUtcTime(answer.text.substr(0, comma))) << answer.text;
        EXPECT_EQ(answer.text.substr(comma + 1), catalog().findChannel(liveChannel())->assetGuid);
        EXPECT_EQ(answer.error, "");
    }
    const Answer refused = ask(false);
    EXPECT_EQ(refused.result, SXM_RESULT_SKIP_LIMIT_REACHED);
    const std::string prefix = "error/Skip limit reached, more skips available until: ";
    ASSERT_EQ(refused.text.rfind(prefix, 0), 0u) << refused.text;
    EXPECT_TRUE(isUtcTime(refused.text.substr(prefix.size()))) << refused.text;
    EXPECT_EQ("error/" + refused.error, refused.text);
}

TEST_F(Skips, NextFromTheSongOnAirGoesLiveWithoutASkip)
{
    // A channel whose song on air began at least a segment ago, played from that song's start.
    const sxm::service::Channel* chosen = nullptr;
    std::int64_t songStart = 0;
    for (const auto& candidate : catalog().channels()) {
        const auto song =
            catalog().liveTrack(candidate, catalog().liveTrackIndexAt(candidate, now()));
        if (song.startMs <= now() - kSegmentMs && candidate.records.front().geoRestrictions == 0) {
            chosen = &candidate;
            songStart = song.startMs;
            break;
        }
    }
    ASSERT_NE(chosen, nullptr);
    ASSERT_EQ(play(SXM_MODE_LIVE, chosen->id, "", "", std::to_string(songStart), false), 1)
        << sxm_get_error();
    const Answer next = ask(true);
    EXPECT_EQ(next.result, 3) << next.error;
    EXPECT_EQ(next.text, SXM_SEGMENT_GO_LIVE);
}

TEST_F(Skips, EpisodesSkipByPartAndStopAtTheirStart)
{
    const auto& episode = catalog().episodes().front();
    ASSERT_GE(episode.parts.size(), 2u);
    ASSERT_EQ(play(SXM_MODE_ON_DEMAND, "", "", episode.record.assetGuid, "", false), 1)
        << sxm_get_error();
    const Answer previous = ask(false);
    EXPECT_EQ(previous.result, SXM_RESULT_NO_SKIP_IN_DIRECTION);
    EXPECT_EQ(previous.text.rfind("error/", 0), 0u) << previous.text;
    const Answer next = ask(true);
    EXPECT_EQ(next.result, 2) << next.error;
    EXPECT_EQ(next.text, std::to_string(episode.parts[1].startMs) + "," + episode.record.assetGuid);
}

TEST_F(Skips, RefusalsWithoutAPlaybackOrWithoutRights)
{
    EXPECT_EQ(ask(true).result, SXM_RESULT_INVALID_STATE);
    EXPECT_EQ(ask(false).text, "");

    m_server->faults().merge({{"skipsNotAllowed", true}});
    ASSERT_EQ(play(SXM_MODE_LIVE, liveChannel(), "", "", "", true), 1) << sxm_get_error();
    const Answer refused = ask(false);
    EXPECT_EQ(refused.result, SXM_RESULT_SKIPS_NOT_ALLOWED);
    EXPECT_EQ(refused.text, "error/Skips are not allowed on this channel");

    // A buffer too small for the text is filled and still terminated.
    char tiny[8];
    std::memset(tiny, 'x', sizeof tiny);
    EXPECT_EQ(sxm_getPrevSegmentTime(tiny, sizeof tiny), SXM_RESULT_SKIPS_NOT_ALLOWED);
    EXPECT_STREQ(tiny, "error/S");
    EXPECT_EQ(sxm_getPrevSegmentTime(nullptr, 0), SXM_RESULT_ERROR);
}
