#include "contentFixtures.h"

using fake::calls;
using fake::record;
using fake::result;
using fixtures::channel;
using fixtures::ContentManagerTest;
using fixtures::titles;

namespace {

template <class T>
T valueOf(const CMReply<T>& reply)
{
    EXPECT_TRUE(reply.isFinished()) << "the fake library answers during the call";
    EXPECT_FALSE(reply.isError()) << reply.error().toString().toStdString();
    return reply.result();
}

MivoRoles show(const QString& sortKey, bool preferred, const QString& title)
{
    return MivoRoles().setSortKey(sortKey).setPreferred(preferred).setTitle(title);
}

} // namespace

TEST_F(ContentManagerTest, ListsShowXtraChannelsThroughTheirChannelRow)
{
    registerCallbacks();
    load({channel("x7", "Pop", 7, MivoSiriusAssetType::XtraChannel)});
    const sxm_content unknownXtra = record("x9", SXM_ASSET_XTRA_CHANNEL, "Not in the line-up");
    fake::deliver("sxm_get_recents",
                  {record("x7", SXM_ASSET_XTRA_CHANNEL, "Xtra as listed in recents"),
                   record("e1", SXM_ASSET_EPISODE, "An episode"), unknownXtra});
    const QList<MivoRoles> recent = valueOf(manager.recent());
    ASSERT_EQ(recent.size(), 3) << "form A keeps the empty row of an unknown Xtra channel";
    EXPECT_EQ(recent[0].title(), "Title x7");
    EXPECT_EQ(recent[1].title(), "An episode");
    EXPECT_TRUE(recent[2].isEmpty());

    fake::deliver("sxm_search", {unknownXtra, record("l1", SXM_ASSET_LIVE_CHANNEL, "Live")});
    EXPECT_EQ(titles(valueOf(manager.search("x"))), QStringList{"Live"})
        << "form C drops empty rows";
    EXPECT_EQ(calls("sxm_search(x)"), 1);
}

TEST_F(ContentManagerTest, ShowsSortByChannelOrderThenPreferredThenTitle)
{
    EXPECT_TRUE(ContentManager::sortShows(show("9", false, "b"), show("10", false, "a")))
        << "sort keys compare as numbers";
    EXPECT_TRUE(ContentManager::sortShows(show("5", true, "z"), show("5", false, "a")));
    EXPECT_FALSE(ContentManager::sortShows(show("5", false, "a"), show("5", true, "z")));
    EXPECT_TRUE(ContentManager::sortShows(show("5", false, "a"), show("5", false, "b")));
    EXPECT_FALSE(ContentManager::sortShows(show("x", false, "a"), show("0", false, "b")))
        << "a non-number counts as 0";

    registerCallbacks();
    MivoSiriusContent near = channel("near", "Pop", 95); // sort order 5
    MivoSiriusContent far = channel("far", "Pop", 10);   // sort order 90
    load({near, far});
    fake::deliver("sxm_getShows", {record("far", SXM_ASSET_SHOW, "Far show"),
                                   record("near", SXM_ASSET_SHOW, "Near B"),
                                   record("near", SXM_ASSET_SHOW, "Near A")});
    EXPECT_EQ(titles(valueOf(manager.onDemandShows("pop", "near"))),
              (QStringList{"Near A", "Near B", "Far show"}));
    EXPECT_EQ(calls("sxm_getShows(pop,near)"), 1) << "both are still passed on";
}

TEST_F(ContentManagerTest, FavoritesAreFetchedOnceUntilAnUpdateSucceeds)
{
    registerCallbacks();
    fake::deliver("sxm_get_favorites", {record("fav", SXM_ASSET_LIVE_CHANNEL, "Fav")});
    int changed = 0;
    QObject::connect(&manager, &ContentManager::favoritesChanged, [&] { ++changed; });
    EXPECT_EQ(titles(valueOf(manager.favorites())), QStringList{"Fav"});
    EXPECT_TRUE(valueOf(manager.inFavoritesByChannelId("fav")));
    EXPECT_FALSE(valueOf(manager.inFavoritesByChannelId("other")));
    EXPECT_EQ(calls("sxm_get_favorites"), 1) << "answered from the cache after the first fetch";

    MivoSiriusFavorite remove;
    remove.setChannelId("fav").setChangeType(MivoSiriusFavoriteChangeType::Removed);
    EXPECT_TRUE(valueOf(manager.updateFavorites(remove)));
    EXPECT_EQ(changed, 1);
    valueOf(manager.favorites());
    EXPECT_EQ(calls("sxm_get_favorites"), 2) << "fetched again after the update";
    manager.on_siriusLib_refresh(MivoSiriusModuleType::Recents);
    valueOf(manager.favorites());
    EXPECT_EQ(calls("sxm_get_favorites"), 2) << "a recents refresh leaves the favorites alone";
    manager.on_siriusLib_refresh(MivoSiriusModuleType::Favorites);
    valueOf(manager.favorites());
    EXPECT_EQ(calls("sxm_get_favorites"), 3) << "a favorites refresh from the service fetches anew";

    result("sxm_update_server_favorites", 0);
    fake::library().error = "Bypass mode";
    EXPECT_TRUE(manager.updateFavorites(remove).isError());
    EXPECT_EQ(changed, 1);
}

TEST_F(ContentManagerTest, ClearRecentAnnouncesTheChangeAndErrorsPassThrough)
{
    int recentChanged = 0;
    QObject::connect(&manager, &ContentManager::recentChanged, [&] { ++recentChanged; });
    EXPECT_TRUE(valueOf(manager.clearRecent()).isEmpty());
    EXPECT_EQ(recentChanged, 1);
    result("sxm_clearRecents", 0);
    const auto failed = manager.clearRecent();
    EXPECT_EQ(failed.error().message().toString(), "clear recents error");
    EXPECT_EQ(recentChanged, 1);
    result("sxm_get_forYouCarousel", 0);
    fake::library().error = "Service unavailable";
    EXPECT_EQ(manager.forYou().error().message().toString(), "Service unavailable");
}
