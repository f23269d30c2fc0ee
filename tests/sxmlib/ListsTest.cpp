// Every list operation against the service: what arrives through the callbacks during the call,
// how an empty answer is announced, and the texts of failures.

#include "LibraryFixture.h"

#include <sxmlib.h>

#include <cstring>

using namespace sxmlib::test;

using Lists = SignedInFixture;

TEST_F(Lists, TheLineUpArrivesRecordByRecordInTheServiceOrder)
{
    ASSERT_EQ(sxm_channel_list(), 1) << sxm_get_error();
    const auto expected = catalog().lineup();
    const Recorded r = recorded();
    ASSERT_EQ(r.channels.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(r.channels[i].channelId, expected[i]->channelId) << i;
        EXPECT_EQ(r.channels[i].genreKey, expected[i]->genreKey) << i;
    }
    const Content& first = r.channels.front();
    EXPECT_EQ(first.assetType, SXM_ASSET_LIVE_CHANNEL);
    EXPECT_EQ(first.title, expected[0]->title);
    EXPECT_EQ(first.siriusChannelNumber, expected[0]->siriusChannelNumber);
    EXPECT_EQ(first.logoCount, 4);
    // A logo the service sends without an image keeps a null url.
    bool someLogoWithoutUrl = false;
    for (const Content& channel : r.channels)
        for (const std::string& url : channel.logoUrls)
            someLogoWithoutUrl |= url.empty();
    EXPECT_TRUE(someLogoWithoutUrl);
    // Xtra channels come last, the "allxtra" record among them.
    EXPECT_TRUE(r.channels.back().isXtra);
    EXPECT_EQ(r.channels.back().genreKey, "allxtra");
}

TEST_F(Lists, ShowsComeOneByOneAndEndWithAFinalCall)
{
    const auto& show = catalog().shows().front();
    ASSERT_EQ(sxm_getShows("", show.record.channelId.c_str()), 1) << sxm_get_error();
    Recorded r = recorded();
    ASSERT_GE(r.shows.size(), 2u);
    for (std::size_t i = 0; i + 1 < r.shows.size(); ++i) {
        EXPECT_EQ(r.showStatuses[i], 1);
        EXPECT_EQ(r.shows[i].index, static_cast<int>(i));
        ASSERT_TRUE(r.shows[i].item.has_value());
        EXPECT_EQ(r.shows[i].item->assetType, SXM_ASSET_SHOW);
        EXPECT_EQ(r.shows[i].item->channelId, show.record.channelId);
    }
    EXPECT_EQ(r.showStatuses.back(), 0);
    EXPECT_FALSE(r.shows.back().item.has_value());
    m_recorder.reset();
    EXPECT_EQ(sxm_getShows(show.record.genreKey.c_str(), ""), 1) << sxm_get_error();

    // Exactly one of genre and channel; an unknown one is the service's 404.
    EXPECT_EQ(sxm_getShows("", ""), -400);
    EXPECT_EQ(sxm_getShows("nosuchgenre", nullptr), -404);
    EXPECT_FALSE(std::string(sxm_get_error()).empty());
    r = recorded();
    EXPECT_LT(r.showStatuses.back(), 0) << "a failed listing ends with a negative status";
    EXPECT_EQ(sxm_getEpisodes("no-such-show"), -404);
    EXPECT_NE(sxm_getEpisodes(""), 1);
}

TEST_F(Lists, FavoritesChangeOnTheServiceAndComeBackIndexed)
{
    ASSERT_EQ(sxm_get_favorites(), 1) << sxm_get_error();
    Recorded r = recorded();
    const std::size_t before = r.favorites.size();
    ASSERT_EQ(before, 4u);
    for (std::size_t i = 0; i < before; ++i) {
        EXPECT_EQ(r.favorites[i].index, static_cast<int>(i));
        EXPECT_TRUE(r.favorites[i].item->isFavorite);
    }
    // The list's nodes are the caller's, made with sxm_malloc and freed by the library.
    const std::string channelId = catalog().channels()[2].id;
    auto* node = static_cast<sxm_favoriteList*>(sxm_malloc(sizeof(sxm_favoriteList)));
    std::memset(node, 0, sizeof *node);
    node->favorite.assetType = SXM_ASSET_LIVE_CHANNEL;
    node->favorite.channelId = channelId.c_str();
    node->favorite.changeType = SXM_FAVORITE_ADDED;
    EXPECT_EQ(sxm_update_server_favorites(node), 1) << sxm_get_error();
    sxm_freeFavoriteList(node);

    m_recorder.reset();
    ASSERT_EQ(sxm_get_favorites(), 1) << sxm_get_error();
    r = recorded();
    ASSERT_EQ(r.favorites.size(), before + 1);
    EXPECT_EQ(r.favorites.back().item->channelId, channelId);
    // A change with an unknown item is refused as a whole: the removal beside it is not made.
    sxm_favoriteList unknown{};
    unknown.favorite.assetType = SXM_ASSET_SHOW;
    unknown.favorite.assetGuid = "no-such-show";
    sxm_favoriteList removal{};
    removal.favorite.assetType = SXM_ASSET_LIVE_CHANNEL;
    removal.favorite.channelId = channelId.c_str();
    removal.favorite.changeType = SXM_FAVORITE_REMOVED;
    removal.next = &unknown;
    EXPECT_EQ(sxm_update_server_favorites(&removal), 0);
    EXPECT_FALSE(std::string(sxm_get_error()).empty());
    m_recorder.reset();
    ASSERT_EQ(sxm_get_favorites(), 1) << sxm_get_error();
    EXPECT_EQ(recorded().favorites.size(), before + 1);
    EXPECT_EQ(sxm_update_server_favorites(nullptr), 0);
}

// An empty recent list reads the same way (see the sign-in tests).
TEST_F(Lists, ASearchWithoutResultsIsOneCallWithoutAnItemAndABlankOneIsRefused)
{
    ASSERT_EQ(sxm_search("zzzz-nothing-like-this"), 1) << sxm_get_error();
    EXPECT_EQ(sxm_search(""), 0) << "a blank search is the service's 400";
    EXPECT_FALSE(std::string(sxm_get_error()).empty());
    const Recorded r = recorded();
    ASSERT_EQ(r.searchResults.size(), 1u);
    EXPECT_FALSE(r.searchResults[0].item.has_value());
    EXPECT_EQ(r.searchResults[0].index, -1);
}

TEST_F(Lists, GlobalSettingsAreStoredAndReportedWhole)
{
    const sxm_globalSetting off[] = {{"TuneStart", "off"}};
    ASSERT_EQ(sxm_update_global_settings(off, 1), 1) << sxm_get_error();
    const Recorded r = recorded();
    ASSERT_EQ(r.globalSettings.size(), 1u);
    EXPECT_EQ(r.globalSettings[0].at("TuneStart"), "off");
    EXPECT_EQ(r.globalSettings[0].at("Notifications"), "on") << "the whole set, not the change";
    const sxm_globalSetting bad[] = {{"TuneStart", "maybe"}};
    EXPECT_EQ(sxm_update_global_settings(bad, 1), 0);
    EXPECT_STREQ(sxm_get_error(), "TuneStart must be \"on\" or \"off\", not \"maybe\"");
    EXPECT_EQ(sxm_update_global_settings(nullptr, 0), 0);
}

TEST_F(Lists, GeoRestrictionIsAnAnswerOrTwoWhenItCannotBeTold)
{
    EXPECT_EQ(sxm_checkGeoRestricted(geoRestrictedChannel().c_str()), 1);
    EXPECT_EQ(sxm_checkGeoRestricted(liveChannel().c_str()), 0);
    EXPECT_EQ(sxm_checkGeoRestricted("no-such-channel"), 2);
    EXPECT_EQ(sxm_checkGeoRestricted(nullptr), 2);
}
