// Every list operation against the service: what arrives through the callbacks during the call,
// how an empty answer is announced, and the texts of failures.

#include "LibraryFixture.h"

#include <sxmlib.h>

#include <algorithm>
#include <cstring>

using namespace sxmlib::test;

namespace {

class Lists : public LibraryFixture
{
protected:
    void SetUp() override
    {
        LibraryFixture::SetUp();
        ASSERT_NO_FATAL_FAILURE(signInAndList());
    }
};

} // namespace

TEST_F(Lists, TheLineUpArrivesRecordByRecordInTheServiceOrder)
{
    const auto expected = catalog().lineup();
    std::lock_guard<std::mutex> lock(recorder_.mutex);
    ASSERT_EQ(recorder_.channels.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(recorder_.channels[i].channelId, expected[i]->channelId) << i;
        EXPECT_EQ(recorder_.channels[i].genreKey, expected[i]->genreKey) << i;
    }
    const Content& first = recorder_.channels.front();
    EXPECT_EQ(first.assetType, SXM_ASSET_LIVE_CHANNEL);
    EXPECT_EQ(first.title, expected[0]->title);
    EXPECT_EQ(first.siriusChannelNumber, expected[0]->siriusChannelNumber);
    EXPECT_EQ(first.logoCount, 4);
    // A logo the service sends without an image keeps a null url.
    bool someLogoWithoutUrl = false;
    for (const Content& channel : recorder_.channels)
        for (const std::string& url : channel.logoUrls)
            someLogoWithoutUrl |= url.empty();
    EXPECT_TRUE(someLogoWithoutUrl);
    // Xtra channels come last, the "allxtra" record among them.
    EXPECT_TRUE(recorder_.channels.back().isXtra);
    EXPECT_EQ(recorder_.channels.back().genreKey, "allxtra");
}

TEST_F(Lists, ShowsComeOneByOneAndEndWithAFinalCall)
{
    const auto& show = catalog().shows().front();
    ASSERT_EQ(sxm_getShows("", show.record.channelId.c_str()), 1) << sxm_get_error();
    {
        std::lock_guard<std::mutex> lock(recorder_.mutex);
        ASSERT_GE(recorder_.shows.size(), 2u);
        for (std::size_t i = 0; i + 1 < recorder_.shows.size(); ++i) {
            EXPECT_EQ(recorder_.showStatuses[i], 1);
            EXPECT_EQ(recorder_.shows[i].index, static_cast<int>(i));
            ASSERT_TRUE(recorder_.shows[i].item.has_value());
            EXPECT_EQ(recorder_.shows[i].item->assetType, SXM_ASSET_SHOW);
            EXPECT_EQ(recorder_.shows[i].item->channelId, show.record.channelId);
        }
        EXPECT_EQ(recorder_.showStatuses.back(), 0);
        EXPECT_FALSE(recorder_.shows.back().item.has_value());
    }
    recorder_.reset();
    EXPECT_EQ(sxm_getShows(show.record.genreKey.c_str(), ""), 1) << sxm_get_error();

    // Exactly one of genre and channel; an unknown one is the service's 404.
    EXPECT_EQ(sxm_getShows("", ""), -400);
    EXPECT_EQ(sxm_getShows("nosuchgenre", nullptr), -404);
    EXPECT_FALSE(std::string(sxm_get_error()).empty());
    std::lock_guard<std::mutex> lock(recorder_.mutex);
    EXPECT_LT(recorder_.showStatuses.back(), 0) << "a failed listing ends with a negative status";
}

TEST_F(Lists, EpisodesOfAShowArriveAsOneArray)
{
    const auto& show = catalog().shows().front();
    ASSERT_EQ(sxm_getEpisodes(show.record.assetGuid.c_str()), 1) << sxm_get_error();
    {
        std::lock_guard<std::mutex> lock(recorder_.mutex);
        EXPECT_EQ(recorder_.episodeCalls, 1);
        EXPECT_EQ(recorder_.episodesShowId, show.record.assetGuid);
        ASSERT_EQ(recorder_.episodes.size(), show.episodes.size());
        for (const Content& episode : recorder_.episodes) {
            EXPECT_EQ(episode.assetType, SXM_ASSET_EPISODE);
            EXPECT_EQ(episode.showGuid, show.record.assetGuid);
            EXPECT_GT(episode.duration, 0);
        }
    }
    EXPECT_EQ(sxm_getEpisodes("no-such-show"), -404);
    EXPECT_NE(sxm_getEpisodes(""), 1);
}

TEST_F(Lists, ForYouSaysWhileMoreItemsFollow)
{
    ASSERT_EQ(sxm_get_forYouCarousel(), 1) << sxm_get_error();
    std::lock_guard<std::mutex> lock(recorder_.mutex);
    ASSERT_EQ(recorder_.forYou.size(), catalog().forYou().size());
    for (std::size_t i = 0; i < recorder_.forYou.size(); ++i) {
        ASSERT_TRUE(recorder_.forYou[i].item.has_value());
        EXPECT_EQ(recorder_.forYou[i].item->category, catalog().forYou()[i].category);
        EXPECT_EQ(recorder_.forYou[i].index, i + 1 < recorder_.forYou.size() ? 1 : 0);
    }
}

TEST_F(Lists, FavoritesChangeOnTheServiceAndComeBackIndexed)
{
    ASSERT_EQ(sxm_get_favorites(), 1) << sxm_get_error();
    std::size_t before = 0;
    {
        std::lock_guard<std::mutex> lock(recorder_.mutex);
        before = recorder_.favorites.size();
        ASSERT_EQ(before, 4u);
        for (std::size_t i = 0; i < before; ++i) {
            EXPECT_EQ(recorder_.favorites[i].index, static_cast<int>(i));
            EXPECT_TRUE(recorder_.favorites[i].item->isFavorite);
        }
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

    recorder_.reset();
    ASSERT_EQ(sxm_get_favorites(), 1) << sxm_get_error();
    {
        std::lock_guard<std::mutex> lock(recorder_.mutex);
        ASSERT_EQ(recorder_.favorites.size(), before + 1);
        EXPECT_EQ(recorder_.favorites.back().item->channelId, channelId);
    }
    // An unknown item is refused as a whole, with the service's text.
    sxm_favoriteList bad{};
    bad.favorite.assetType = SXM_ASSET_SHOW;
    bad.favorite.assetGuid = "no-such-show";
    EXPECT_EQ(sxm_update_server_favorites(&bad), 0);
    EXPECT_FALSE(std::string(sxm_get_error()).empty());
    EXPECT_EQ(sxm_update_server_favorites(nullptr), 0);
}

TEST_F(Lists, AnEmptyListIsOneCallWithoutAnItem)
{
    ASSERT_EQ(sxm_get_recents(), 1) << sxm_get_error();
    ASSERT_EQ(sxm_clearRecents(), 1) << sxm_get_error();
    ASSERT_EQ(sxm_get_recents(), 1) << sxm_get_error();
    ASSERT_EQ(sxm_search("zzzz-nothing-like-this"), 1) << sxm_get_error();
    std::lock_guard<std::mutex> lock(recorder_.mutex);
    ASSERT_EQ(recorder_.recents.size(), 3u);
    EXPECT_TRUE(recorder_.recents[0].item.has_value());
    EXPECT_TRUE(recorder_.recents[1].item.has_value());
    EXPECT_FALSE(recorder_.recents[2].item.has_value());
    EXPECT_EQ(recorder_.recents[2].index, -1);
    ASSERT_EQ(recorder_.searchResults.size(), 1u);
    EXPECT_FALSE(recorder_.searchResults[0].item.has_value());
    EXPECT_EQ(recorder_.searchResults[0].index, -1);
}

TEST_F(Lists, SearchFindsTitlesAndSendsTheTextEncoded)
{
    // A title with a space and a non-ASCII letter must survive the query string.
    std::string title = catalog().channels()[0].name;
    for (const auto& channel : catalog().channels()) {
        if (std::any_of(channel.name.begin(), channel.name.end(),
                        [](char c) { return static_cast<unsigned char>(c) >= 0x80; })) {
            title = channel.name;
            break;
        }
    }
    ASSERT_EQ(sxm_search(title.c_str()), 1) << sxm_get_error();
    {
        std::lock_guard<std::mutex> lock(recorder_.mutex);
        EXPECT_TRUE(std::any_of(
            recorder_.searchResults.begin(), recorder_.searchResults.end(),
            [&](const ListItem& result) { return result.item && result.item->title == title; }))
            << title;
    }
    EXPECT_EQ(sxm_search(""), 0) << "a blank search is the service's 400";
    EXPECT_FALSE(std::string(sxm_get_error()).empty());
}

TEST_F(Lists, GlobalSettingsAreStoredAndReportedWhole)
{
    const sxm_globalSetting off[] = {{"TuneStart", "off"}};
    ASSERT_EQ(sxm_update_global_settings(off, 1), 1) << sxm_get_error();
    {
        std::lock_guard<std::mutex> lock(recorder_.mutex);
        ASSERT_EQ(recorder_.globalSettings.size(), 2u) << "sign-in, then the update";
        EXPECT_EQ(recorder_.globalSettings[1].at("TuneStart"), "off");
        EXPECT_EQ(recorder_.globalSettings[1].at("Notifications"), "on");
    }
    const sxm_globalSetting bad[] = {{"TuneStart", "maybe"}};
    EXPECT_EQ(sxm_update_global_settings(bad, 1), 0);
    EXPECT_FALSE(std::string(sxm_get_error()).empty());
    EXPECT_EQ(sxm_update_global_settings(nullptr, 0), 0);
}

TEST_F(Lists, GeoRestrictionIsAnAnswerOrTwoWhenItCannotBeTold)
{
    std::string restricted;
    std::string open;
    for (const auto& channel : catalog().channels()) {
        if (channel.records.front().geoRestrictions != 0)
            restricted = channel.id;
        else
            open = channel.id;
    }
    ASSERT_FALSE(restricted.empty());
    EXPECT_EQ(sxm_checkGeoRestricted(restricted.c_str()), 1);
    EXPECT_EQ(sxm_checkGeoRestricted(open.c_str()), 0);
    EXPECT_EQ(sxm_checkGeoRestricted("no-such-channel"), 2);
    EXPECT_EQ(sxm_checkGeoRestricted(nullptr), 2);
}
