#include "nodesFixtures.h"

#include "nodes/onDemandNode.h"

#include <mivosdk/CMListRowsNode.h>
#include <mivosdk/CMUnusedNodeTimer.h>
#include <mivosdk/MivoPaths.h>

using fake::calls;
using fake::record;
using fake::result;
using fake::script;
using fixtures::channel;
using fixtures::NodesTest;
using fixtures::titles;

namespace {

/// Two episodes of one show: the first with a logo of its own, the second without.
void scriptEpisodes(const sxm_callbacks& cb)
{
    sxm_logo logo{"image", "episode.png", 100, 100};
    sxm_content episodes[] = {record("a", SXM_ASSET_EPISODE, "Part 1"),
                              record("a", SXM_ASSET_EPISODE, "Part 2")};
    episodes[0].logos = &logo;
    episodes[0].logoCount = 1;
    cb.onEpisodes(cb.context, "show-1", episodes, 2);
}

class OnDemandNodesTest : public NodesTest
{
protected:
    void SetUp() override
    {
        NodesTest::SetUp();
        registerCallbacks();
        load({channel("a", "Pop", 1).setSortOrder(5), channel("b", "Pop", 2).setSortOrder(5)});
    }
    CMPath episodesOf(const QString& showId, const QString& icon)
    {
        return factory.makeOnDemandEpisodeNode(showId, icon);
    }
};

} // namespace

TEST_F(OnDemandNodesTest, AFailedListingIsAnsweredWithItsErrorAndAskedAgainNextTime)
{
    result("sxm_getShows", 0);
    const CMPath path = factory.makeOnDemandNode("Shows of a", "", "", "a");
    getRows(path);
    EXPECT_TRUE(lastError.isError());
    EXPECT_EQ(calls("sxm_getShows(,a)"), 1);

    result("sxm_getShows", 1);
    // All of one sort order, so titles decide the order and the channels alternate A, A, B, A.
    fake::deliver("sxm_getShows",
                  {record("a", SXM_ASSET_SHOW, "1 Morning"), record("a", SXM_ASSET_SHOW, "2 Noon"),
                   record("b", SXM_ASSET_SHOW, "3 Evening"),
                   record("a", SXM_ASSET_SHOW, "4 Night")});
    EXPECT_EQ(getRows(path).rows().size(), 7) << "an error is not kept as an empty list";
    EXPECT_FALSE(lastError.isError());
    EXPECT_EQ(calls("sxm_getShows(,a)"), 2);
}

TEST_F(OnDemandNodesTest, AnAnswerForANodeLoadedMeanwhileAddsNothing)
{
    const CMPath path = factory.makeOnDemandNode("Pop", "", "pop", "");
    auto* node = qobject_cast<OnDemandNode*>(nodes.node(path));
    ASSERT_NE(node, nullptr);
    const MivoRoles earlier = manager.contentToRoles(
        channel("a", "Pop", 1, MivoSiriusAssetType::Show).setTitle("Earlier answer"), false);
    script("sxm_getShows", [&](const sxm_callbacks& cb) {
        // Another request's answer lands while the library lists the shows for this one.
        node->storeRoles({earlier});
        sxm_content show = record("a", SXM_ASSET_SHOW, "Not added");
        cb.onShows(cb.context, &show, 1, 0);
        cb.onShows(cb.context, nullptr, 0, 1);
    });
    EXPECT_EQ(titles(getRows(path).rows()), (QStringList{"Title a", "Earlier answer"}));
    EXPECT_EQ(titles(getRows(path).rows()), (QStringList{"Title a", "Earlier answer"}));
    EXPECT_EQ(calls("sxm_getShows(pop,)"), 1) << "a loaded node does not ask again";
}

// The redirect's path below the show is checked end to end.
TEST_F(OnDemandNodesTest, EpisodesRedirectToAFreshListWithTheShowsIconAndAMenuPerEpisode)
{
    script("sxm_getEpisodes", scriptEpisodes);
    const CMPath path = episodesOf("show-1", "show.png");
    const MivoRowsRoles first = getRows(path);
    const MivoRowsRoles second = getRows(path);
    ASSERT_TRUE(first.isRedirect()) << lastError.toString().toStdString();
    ASSERT_TRUE(second.isRedirect());
    EXPECT_NE(first.rowsRedirect(), second.rowsRedirect())
        << "every answer has a list of its own, even within one millisecond";
    EXPECT_EQ(calls("sxm_getEpisodes(show-1)"), 2);

    auto* node = qobject_cast<CMListRowsNode*>(nodes.node(first.rowsRedirect()));
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->parent(), &nodes) << "owned by the registry";
    // The unused-node timer deletes the list ten seconds after its last use (while nobody holds
    // it open); that time is the SDK's to keep, what matters here is that every list has one.
    EXPECT_EQ(node->findChildren<CMUnusedNodeTimer*>().size(), 1);
    EXPECT_NE(nodes.node(second.rowsRedirect()), node);

    const QList<MivoRoles> rows = node->rows();
    ASSERT_EQ(titles(rows), (QStringList{"Part 1", "Part 2"}));
    EXPECT_EQ(rows[0].icon(), "episode.png");
    EXPECT_EQ(rows[1].icon(), "show.png") << "an episode without a logo shows the show's";
    EXPECT_FALSE(rows[0].hasEntry(MivoRoles::Value()));
    const CMPath menu = rows[1].context().path();
    EXPECT_EQ(menu.param(MivoSiriusContent::AssetGuid()), "Part 2");
    EXPECT_EQ(menu.param(MivoSiriusContent::ChannelId()), "a");
    EXPECT_EQ(menu.param(MivoSiriusContent::Title()), "Part 2");
    EXPECT_EQ(menu.param(MivoSiriusContent::AssetType()),
              MivoSiriusAssetType::toString(MivoSiriusAssetType::Episode));
    EXPECT_TRUE(rows[0].path().hasParam(MivoSiriusEpisode())) << "still playable as an episode";
}

TEST_F(OnDemandNodesTest, EpisodeErrorsAndRequestsWithoutAShowAreAnsweredWithAnError)
{
    result("sxm_getEpisodes", 0);
    const MivoRowsRoles failed = getRows(episodesOf("show-1", ""));
    EXPECT_TRUE(lastError.isError());
    EXPECT_FALSE(failed.isRedirect());

    const QList<CMPath> before = nodes.paths();
    getRows(episodesOf("", "show.png"));
    EXPECT_EQ(lastError.name(), "SiriusXM");
    EXPECT_TRUE(lastError.message().toString().startsWith("No show named in"));
    EXPECT_EQ(calls("sxm_getEpisodes()"), 0) << "nothing is asked without a show";
    EXPECT_EQ(nodes.paths().size(), before.size()) << "no list is made for an error";
}
