// Program data on the library's clock: cuts of exactly the chosen channels, stamped with the
// service's times, delivered from sxm_externalTimerTick; each choice replaces the one before.

#include "LibraryFixture.h"

#include <sxmlib.h>

#include <set>

using namespace sxmlib::test;

namespace {

class ProgramData : public SignedInFixture
{
protected:
    std::vector<Cut> lastCuts()
    {
        const Recorded r = recorded();
        return r.cutLists.empty() ? std::vector<Cut>() : r.cutLists.back();
    }
    std::size_t cutCalls() { return recorded().cutLists.size(); }
    static std::set<std::string> channelsOf(const std::vector<Cut>& cuts)
    {
        std::set<std::string> ids;
        for (const Cut& cut : cuts)
            ids.insert(cut.channelId);
        return ids;
    }
};

} // namespace

TEST_F(ProgramData, ChosenChannelsGetTheirCutsStampedWithTheServiceTimes)
{
    const auto& a = catalog().channels()[0];
    const auto& b = catalog().channels()[5];
    sxm_channelIdList second{b.id.c_str(), nullptr};
    sxm_channelIdList first{a.id.c_str(), &second};
    ASSERT_EQ(sxm_startPtdNotificationForChannelIds(&first), 1) << sxm_get_error();
    EXPECT_EQ(cutCalls(), 0u) << "cuts come from the clock, not from the call";

    sxm_externalTimerTick(500); // a new choice is fetched at the next tick
    const std::vector<Cut> cuts = lastCuts();
    ASSERT_EQ(cuts.size(), 6u) << "the track before, the one on air and the next, per channel";
    EXPECT_EQ(channelsOf(cuts), (std::set<std::string>{a.id, b.id}));
    const auto onAir = catalog().liveTrackIndexAt(a, now());
    const auto track = catalog().liveTrack(a, onAir);
    EXPECT_EQ(cuts[1].time, track.startMs);
    EXPECT_EQ(cuts[1].duration, (track.durationMs + 500) / 1000);
    EXPECT_EQ(cuts[1].title, latin1(track.title));
    EXPECT_EQ(cuts[1].artist, latin1(track.artist));

    // Then every five seconds of library time, however the ticks fall.
    sxm_externalTimerTick(2000);
    sxm_externalTimerTick(2000);
    EXPECT_EQ(cutCalls(), 1u);
    sxm_externalTimerTick(1000);
    EXPECT_EQ(cutCalls(), 2u);
}

// That a stop ends the polling, the module's end-to-end tests see in the service's requests.
TEST_F(ProgramData, EachChoiceReplacesTheOneBeforeAndAnEmptyGenreIsRefused)
{
    const std::string genre = catalog().genres().front().key;
    ASSERT_EQ(sxm_startPtdNotificationForGenre(genre.c_str()), 1) << sxm_get_error();
    sxm_externalTimerTick(500);
    std::set<std::string> expected;
    for (const auto& channel : catalog().channels())
        for (const auto& record : channel.records)
            if (record.genreKey == genre)
                expected.insert(channel.id);
    EXPECT_EQ(channelsOf(lastCuts()), expected);

    ASSERT_EQ(sxm_startPtdNotification(), 1) << sxm_get_error();
    sxm_externalTimerTick(500);
    EXPECT_EQ(channelsOf(lastCuts()).size(), catalog().channels().size());
    EXPECT_EQ(sxm_startPtdNotificationForGenre(""), 0);
}

TEST_F(ProgramData, ALongChannelListIsFetchedInPartsAndDeliveredWhole)
{
    // Long enough that one query string would exceed what the service accepts.
    std::vector<std::string> ids;
    for (const auto& channel : catalog().channels())
        for (int copy = 0; copy < 8; ++copy)
            ids.push_back(channel.id);
    std::vector<sxm_channelIdList> nodes(ids.size());
    for (std::size_t i = 0; i < ids.size(); ++i)
        nodes[i] = {ids[i].c_str(), i + 1 < ids.size() ? &nodes[i + 1] : nullptr};
    ASSERT_EQ(sxm_startPtdNotificationForChannelIds(nodes.data()), 1) << sxm_get_error();
    sxm_externalTimerTick(500);
    ASSERT_EQ(cutCalls(), 1u);
    EXPECT_EQ(channelsOf(lastCuts()).size(), catalog().channels().size());
}
