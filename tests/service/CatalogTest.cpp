// The generated catalog and its schedules, without HTTP.
#include "sxmservice/Catalog.h"
#include "Streams.h"

#include <gtest/gtest.h>

#include <set>

namespace sxm::service {
namespace {

constexpr std::int64_t kAnchor = 1795348800000LL;

TEST(Catalog, ScalesFromOneToThousandsOfUniqueChannels)
{
    for (int count : {1, 60, 2000}) {
        const Catalog catalog(7, count, kAnchor);
        EXPECT_EQ(catalog.channels().size(), static_cast<std::size_t>(count));
        EXPECT_EQ(catalog.genres().size(), static_cast<std::size_t>(std::min(count, 10)));
        std::set<std::string> ids;
        std::set<int> numbers;
        for (const Channel& channel : catalog.channels()) {
            EXPECT_TRUE(ids.insert(channel.id).second) << channel.id;
            EXPECT_TRUE(numbers.insert(channel.number).second);
            EXPECT_EQ(catalog.findChannel(channel.assetGuid), &channel);
        }
        for (const Channel& channel : catalog.xtraChannels()) {
            EXPECT_TRUE(ids.insert(channel.id).second) << channel.id;
            EXPECT_EQ(channel.records.back().genreKey, "allxtra");
        }
    }
}

TEST(Catalog, SameSeedSameCatalogOtherSeedOtherCatalog)
{
    const Catalog one(7, 60, kAnchor), same(7, 60, kAnchor), other(8, 60, kAnchor);
    EXPECT_EQ(same.channels()[4].id, one.channels()[4].id);
    EXPECT_EQ(same.liveTrack(same.channels()[4], 100).title,
              one.liveTrack(one.channels()[4], 100).title);
    EXPECT_NE(other.channels()[4].assetGuid, one.channels()[4].assetGuid);
}

TEST(Catalog, XtraTracksAreWholeSegmentsAndFindable)
{
    const Catalog catalog(1, 60, kAnchor);
    ASSERT_FALSE(catalog.xtraChannels().empty());
    for (const Channel& channel : catalog.xtraChannels()) {
        std::int64_t expectedStart = 0;
        for (int t = 0; t < static_cast<int>(channel.xtraTracks.size()); ++t) {
            const Track& track = channel.xtraTracks[static_cast<std::size_t>(t)];
            EXPECT_EQ(track.startMs, expectedStart);
            EXPECT_EQ(track.durationMs % Catalog::kSegmentMs, 0);
            const auto found = catalog.findXtraTrack(track.trackId);
            ASSERT_TRUE(found);
            EXPECT_EQ(found->channel, &channel);
            EXPECT_EQ(found->track, t);
            expectedStart += track.durationMs;
        }
    }
}

TEST(Catalog, LiveScheduleIsContiguousAcrossCyclesAndBeforeTheEpoch)
{
    const Catalog catalog(3, 20, kAnchor);
    const Channel& channel = catalog.channels()[5];
    const std::int64_t first = catalog.liveTrackIndexAt(channel, kAnchor);
    for (std::int64_t index = first - 60; index < first + 60; ++index) {
        const Track a = catalog.liveTrack(channel, index);
        const Track b = catalog.liveTrack(channel, index + 1);
        EXPECT_EQ(a.startMs + a.durationMs, b.startMs) << index;
        EXPECT_EQ(catalog.liveTrackIndexAt(channel, a.startMs), index);
        EXPECT_EQ(catalog.liveTrackIndexAt(channel, b.startMs - 1), index);
    }
    const std::int64_t early = catalog.liveTrackIndexAt(channel, -5);
    const Track track = catalog.liveTrack(channel, early);
    EXPECT_LE(track.startMs, -5);
    EXPECT_GT(track.startMs + track.durationMs, -5);
    EXPECT_NE(catalog.liveTrack(channel, first).title + catalog.liveTrack(channel, first).artist,
              catalog.liveTrack(channel, first + 24).title +
                  catalog.liveTrack(channel, first + 24).artist)
        << "the next cycle plays other songs";
}

TEST(Catalog, EpisodePartsCoverTheWholeEpisode)
{
    const Catalog catalog(1, 60, kAnchor);
    for (const Episode& episode : catalog.episodes()) {
        const auto stream = findStream(catalog, StreamKind::Episode, episode.record.assetGuid);
        ASSERT_TRUE(stream);
        EXPECT_EQ(streamLengthMs(*stream), episode.record.duration * 1000LL);
        EXPECT_EQ(stream->channel->id, episode.record.channelId);
    }
}

TEST(Streams, FiniteStreamSkipsStayInsideTheirTracks)
{
    const Catalog catalog(1, 60, kAnchor);
    const auto stream = findStream(catalog, StreamKind::Xtra, catalog.xtraChannels()[0].id);
    ASSERT_TRUE(stream);
    const auto& tracks = stream->channel->xtraTracks;
    const auto target = [&](std::int64_t position, SkipDirection direction) {
        return findSkipTarget(catalog, *stream, position, direction, kAnchor, 18000000);
    };
    EXPECT_EQ(
        std::get<SkipTarget>(target(tracks[1].startMs + 6000, SkipDirection::Previous)).assetGuid,
        tracks[1].trackId);
    EXPECT_EQ(
        std::get<SkipTarget>(target(tracks[1].startMs + 4000, SkipDirection::Previous)).assetGuid,
        tracks[0].trackId);
    EXPECT_EQ(std::get<SkipRefusal>(target(100, SkipDirection::Previous)).code, -119);
    EXPECT_EQ(std::get<SkipRefusal>(target(streamLengthMs(*stream) + 5, SkipDirection::Next)).code,
              -119);
    EXPECT_FALSE(findStream(catalog, StreamKind::Live, catalog.xtraChannels()[0].id))
        << "an Xtra channel is no live stream";
}

} // namespace
} // namespace sxm::service
