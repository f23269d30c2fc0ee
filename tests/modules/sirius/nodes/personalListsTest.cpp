#include "nodesFixtures.h"

#include "nodes/favoriteNode.h"
#include "nodes/forYouNode.h"
#include "nodes/recentNode.h"

#include <mivosdk/MivoPaths.h>

using fake::calls;
using fake::result;
using fixtures::browseRoot;
using fixtures::channel;
using fixtures::lastPdtCall;
using fixtures::NodesTest;
using fixtures::titles;

namespace {

class PersonalListsTest : public NodesTest
{
protected:
    void SetUp() override
    {
        NodesTest::SetUp();
        registerCallbacks();
        QObject::connect(&nodes.subscribe(), &CMSubscribe::changed,
                         [this](const CMPath& path, const QString& change, int) {
                             if (change == CMSubscribe::RowsChangeReset())
                                 resets << path;
                         });
    }
    ForYouNode* forYou()
    {
        if (!forYouNode)
            forYouNode =
                ForYouNode::create(&manager, &factory, &nodes, browseRoot().subpath("forYou"));
        return forYouNode;
    }
    FavoriteNode* favorites()
    {
        return qobject_cast<FavoriteNode*>(nodes.node(factory.makeFavoriteNode("Favorites", "")));
    }
    RecentNode* recent()
    {
        return qobject_cast<RecentNode*>(nodes.node(factory.makeRecentNode("Recent", "")));
    }
    /// The message of the error that answered the last request, checking its name and title.
    QString errorText()
    {
        EXPECT_EQ(lastError.name(), "SiriusXM");
        EXPECT_EQ(lastError.title(), CMError::DefaultTitle());
        return lastError.message().toString();
    }

    ForYouNode* forYouNode = nullptr;
    QList<CMPath> resets;
};

} // namespace

// --- For You

// A category that was open keeps its now-playing registration through its successor: the old
// list goes later, and must not take the registration with it.
TEST_F(PersonalListsTest, ForYouIsFetchedOnceAndAgainAfterAnyRefresh)
{
    load({channel("a", "Pop", 1)});
    fake::deliver("sxm_get_forYouCarousel", {fake::record("a", SXM_ASSET_LIVE_CHANNEL, "Live")});
    const CMPath path = forYou()->path();
    const QPointer<CMNode> first = nodes.node(getRows(path).rows().value(0).path());
    ASSERT_TRUE(first);
    first->addRowsPath(first->path());
    EXPECT_EQ(getRows(path).rows().size(), 1);
    EXPECT_EQ(calls("sxm_get_forYouCarousel"), 1);

    // Refreshes of the other module types reset it too (see EachRefreshReloads...).
    resets.clear();
    manager.on_siriusLib_refresh(MivoSiriusModuleType::ForYou);
    EXPECT_EQ(resets, QList<CMPath>{path});
    EXPECT_EQ(getRows(path).rows().size(), 1) << "the categories are listed afresh, not added";
    EXPECT_EQ(calls("sxm_get_forYouCarousel"), 2);
    CMNode* successor = nodes.node(path.subpath("Music"));
    ASSERT_NE(successor, first);
    successor->addRowsPath(successor->path());
    EXPECT_TRUE(testsupport::waitUntil([&] { return !first; })) << "the old category list goes";
    EXPECT_EQ(lastPdtCall(), "sxm_startPtdNotificationForChannelIds(a;)");
    delete successor;
    EXPECT_EQ(lastPdtCall(), "sxm_stop_pdt_notification") << "a list gone for good unregisters";
}

// --- Recent

TEST_F(PersonalListsTest, AClosedRecentListIsFetchedAfreshWhenOpenedAgain)
{
    fake::deliver("sxm_get_recents", {fake::record("e1", SXM_ASSET_EPISODE, "Episode")});
    RecentNode* node = recent();
    const CMPath path = node->path();
    node->addRowsPath(path);
    getRows(path);
    getRows(path);
    EXPECT_EQ(calls("sxm_get_recents"), 1);

    node->removeRowsPath(path);
    node->addRowsPath(path);
    EXPECT_EQ(getRows(path).rows().size(), 1);
    EXPECT_EQ(calls("sxm_get_recents"), 2);

    resets.clear();
    manager.clearRecent();
    EXPECT_TRUE(resets.contains(path));
    EXPECT_EQ(getRows(path).rows().size(), 1);
    EXPECT_EQ(calls("sxm_get_recents"), 3) << "fetched again after recents were cleared";
}

// --- refresh by module type

TEST_F(PersonalListsTest, EachRefreshReloadsOnlyTheListsOfItsModuleType)
{
    const CMPath forYouPath = forYou()->path();
    const CMPath favoritesPath = favorites()->path();
    const CMPath recentPath = recent()->path();
    for (const CMPath& path : {forYouPath, favoritesPath, recentPath})
        getRows(path);

    manager.on_siriusLib_refresh(MivoSiriusModuleType::Recents);
    EXPECT_EQ(resets, (QList<CMPath>{forYouPath, recentPath}));
    getRows(recentPath);
    EXPECT_EQ(calls("sxm_get_recents"), 2);

    resets.clear();
    manager.on_siriusLib_refresh(MivoSiriusModuleType::Favorites);
    EXPECT_EQ(resets.size(), 2);
    EXPECT_TRUE(resets.contains(forYouPath));
    EXPECT_TRUE(resets.contains(favoritesPath));
    getRows(recentPath);
    EXPECT_EQ(calls("sxm_get_recents"), 2) << "recents stay as they were";
}

// --- errors

TEST_F(PersonalListsTest, AFailedFetchIsAnErrorAndTheNextRequestTriesAgain)
{
    // The error texts themselves are shown end to end, in bypass and offline.
    const std::pair<std::string, CMPath> lists[] = {{"sxm_get_forYouCarousel", forYou()->path()},
                                                    {"sxm_get_favorites", favorites()->path()},
                                                    {"sxm_get_recents", recent()->path()}};
    for (const auto& [operation, path] : lists) {
        SCOPED_TRACE(operation);
        result(operation, 0);
        getRows(path);
        EXPECT_FALSE(errorText().isEmpty());
        result(operation, 1);
        getRows(path);
        EXPECT_FALSE(lastError.isError()) << "a failed fetch leaves the list to be fetched";
        EXPECT_EQ(calls(operation), 2);
    }
}
