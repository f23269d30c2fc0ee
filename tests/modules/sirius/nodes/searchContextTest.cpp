#include "nodesFixtures.h"

#include "nodes/contextNode.h"
#include "nodes/pdtSubNode.h"
#include "nodes/searchNode.h"

#include <mivosdk/CMUnusedNodeTimer.h>
#include <mivosdk/MivoPaths.h>

using fake::calls;
using fake::record;
using fake::result;
using fixtures::browseRoot;
using fixtures::channel;
using fixtures::dueCut;
using fixtures::NodesTest;
using fixtures::titles;

namespace {

class SearchContextTest : public NodesTest
{
protected:
    void SetUp() override
    {
        NodesTest::SetUp();
        registerCallbacks();
        load({channel("live", "Jazz", 1), channel("quiet", "Jazz", 2)});
    }
    /// Runs one search and answers the result list's path (empty after an error).
    CMPath search(const QVariant& value)
    {
        const CMSetDataRequest request(searchNode->path(), MivoRoles::Value(), value);
        searchNode->setDataRequest(request);
        EXPECT_TRUE(testsupport::waitUntil([&] { return request.reply().isFinished(); }));
        lastError = request.reply().error();
        return CMPath::fromEncoded(request.reply().result().toString());
    }
    QList<MivoRoles> menu(const CMPath& path) { return getRows(path).rows(); }

    SearchNode* searchNode =
        SearchNode::create(&manager, &factory, &nodes, browseRoot().subpath("search"));
};

} // namespace

// The lists' numbered paths are checked end to end.
TEST_F(SearchContextTest, EachSearchGetsAFreshResultListInSections)
{
    // One of each kind, in an order that is not the sections' order.
    fake::deliver("sxm_search", {record("live", SXM_ASSET_EPISODE, "An episode"),
                                 record("live", SXM_ASSET_SHOW, "A show"),
                                 record("live", SXM_ASSET_LIVE_CHANNEL, "Live"),
                                 record("", SXM_ASSET_CATEGORY, "Jazz category")});
    manager.on_siriusLib_pdtCuts({dueCut("live", "Song")});
    const CMPath first = search("jazz");
    ASSERT_FALSE(lastError.isError()) << lastError.toString().toStdString();
    EXPECT_EQ(calls("sxm_search(jazz)"), 1);

    const QList<MivoRoles> rows = getRows(first).rows();
    EXPECT_EQ(titles(rows), (QStringList{"Categories", "Pop", "Channels", "Artist - Song", "Shows",
                                         "A show", "Episodes", "An episode"}));
    EXPECT_EQ(rows[0].type(), int(MivoRolesType::SectionHeader));
    EXPECT_EQ(rows[5].path().segments().last(), "onDemandEpisode")
        << "a show found opens its episodes";

    auto* results = qobject_cast<PdtSubNode*>(nodes.node(first));
    ASSERT_NE(results, nullptr);
    EXPECT_EQ(results->pdtChannelIds(), QStringList{"live"});
    EXPECT_EQ(results->parent(), &nodes) << "owned by the registry";
    // The unused-node timer removes the list ten seconds after its last use; that time is the
    // SDK's to keep, what matters here is that every result list has one.
    EXPECT_EQ(results->findChildren<CMUnusedNodeTimer*>().size(), 1);

    const CMPath second = search(MivoValue().setString("jazz").__variant());
    EXPECT_EQ(calls("sxm_search(jazz)"), 2) << "a text sent as a host value is read the same";
    EXPECT_EQ(nodes.node(first), results) << "an earlier list lives on until its timer ends it";
    EXPECT_NE(nodes.node(second), results);
}

// Only live channels lead to their shows; the recent list's menu only clears, whatever else its
// path carries. The menus of favourite and other channels are checked end to end.
TEST_F(SearchContextTest, ShowsEpisodesXtraChannelsAndUnknownTypesOfferOnlyTheFavoriteAction)
{
    fake::deliver("sxm_get_favorites", {record("live", SXM_ASSET_LIVE_CHANNEL, "Live")});
    for (auto type : {MivoSiriusAssetType::Show, MivoSiriusAssetType::Episode,
                      MivoSiriusAssetType::XtraChannel}) {
        const QString typeText = MivoSiriusAssetType::toString(type);
        EXPECT_EQ(titles(menu(factory.makeContextNode("Item", "quiet", "guid", typeText))),
                  QStringList{"Add to favorites"})
            << typeText.toStdString();
    }
    EXPECT_EQ(titles(menu(factory.makeContextNode("Item", "live", "guid", "Nonsense"))),
              QStringList{"Remove from favorites"});

    CMPath recent = factory.makeRecentContextNode();
    recent.addParam(MivoSiriusContent::ChannelId(), "live")
        .addParam(MivoSiriusContent::AssetType(),
                  MivoSiriusAssetType::toString(MivoSiriusAssetType::LiveChannel));
    EXPECT_EQ(titles(menu(recent)), QStringList{"Clear recently played content"});
}

TEST_F(SearchContextTest, FailedQueriesAreAnsweredWithTheirErrorAndMakeNoList)
{
    result("sxm_search", 0);
    const QList<CMPath> before = nodes.paths();
    EXPECT_TRUE(search("jazz").isEmpty());
    EXPECT_EQ(lastError.message().toString(), "sxm_search failed");
    EXPECT_EQ(nodes.paths().size(), before.size());

    result("sxm_get_favorites", 0);
    fake::library().error = "Service unavailable";
    menu(factory.makeContextNode("Live", "live", "guid-live",
                                 MivoSiriusAssetType::toString(MivoSiriusAssetType::LiveChannel)));
    EXPECT_EQ(lastError.message().toString(), "Service unavailable");
}
