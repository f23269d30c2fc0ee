// What every list with live channels does about now-playing text, whichever node makes it: the
// channel lists, the favorites, the recent list and the For You categories. Each has code of its
// own for it, so each is put through the same steps.

#include "nodesFixtures.h"

#include "nodes/forYouNode.h"

#include <mivosdk/MivoPaths.h>

#include <QRegularExpression>

using fake::record;
using fixtures::browseRoot;
using fixtures::channel;
using fixtures::dueCut;
using fixtures::lastPdtCall;
using fixtures::NodesTest;
using fixtures::titles;

namespace {

enum class Kind
{
    Channels,
    Favorites,
    Recent,
    ForYouCategory
};

class NowPlayingListsTest : public NodesTest, public ::testing::WithParamInterface<Kind>
{
protected:
    void SetUp() override
    {
        NodesTest::SetUp();
        registerCallbacks();
        load({channel("a", "Pop", 1),
              channel("x", "Pop", 2, MivoSiriusAssetType::XtraChannel).setIsXtra(true)});
        // Live channel "a", an episode of it and Xtra channel "x", as a personal list has them.
        const std::vector<sxm_content> rows{record("a", SXM_ASSET_LIVE_CHANNEL, "Live a"),
                                            record("a", SXM_ASSET_EPISODE, "Episode of a"),
                                            record("x", SXM_ASSET_XTRA_CHANNEL, "Xtra x")};
        for (const char* list : {"sxm_get_favorites", "sxm_get_recents", "sxm_get_forYouCarousel"})
            fake::deliver(list, rows);
        QObject::connect(&nodes.subscribe(), &CMSubscribe::changed,
                         [this](const CMPath&, const QString& change, int) { notices << change; });
    }
    /// The list of the kind under test, its rows fetched.
    CMListRowsNode* list()
    {
        CMPath path;
        switch (GetParam()) {
        case Kind::Channels:
            path = factory.makeChannelNode("All", "", MivoSiriusContent::SiriusChannelNumber(), "",
                                           0, false, true);
            break;
        case Kind::Favorites:
            path = factory.makeFavoriteNode("Favorites", "");
            break;
        case Kind::Recent:
            path = factory.makeRecentNode("Recent", "");
            break;
        case Kind::ForYouCategory:
            path = ForYouNode::create(&manager, &factory, &nodes, browseRoot().subpath("forYou"))
                       ->path();
            getRows(path);
            path = path.subpath("Music");
            break;
        }
        getRows(path);
        return qobject_cast<CMListRowsNode*>(nodes.node(path));
    }

    QStringList notices;
};

} // namespace

TEST_P(NowPlayingListsTest, LiveChannelsAreRegisteredWhileHeldOpenAndTheirTitlesFollowTheCuts)
{
    CMListRowsNode* node = list();
    ASSERT_NE(node, nullptr);
    for (const MivoRoles& row : node->rows())
        EXPECT_FALSE(row.hasEntry(MivoRoles::Value())) << "a kept row does not carry its record";
    const CMPath path = node->path();
    const CMPath again = CMPath(path).addParam("view", "1");
    node->addRowsPath(path);
    node->addRowsPath(again);
    EXPECT_EQ(lastPdtCall(), "sxm_startPtdNotificationForChannelIds(a;)")
        << "the live channel, not its episode or the Xtra channel";

    // Episodes and Xtra channels have titles of their own, which no cut replaces.
    // Before its first cut a live row shows the channel's title, or no title where the list
    // decorates its rows with their cuts.
    const QRegularExpression liveRow("^((Title|Live) a)?$");
    QStringList expected = titles(node->rows());
    ASSERT_EQ(expected.filter(liveRow).size(), 1) << expected.join(", ").toStdString();
    expected.replaceInStrings(liveRow, "Artist - Song");
    notices.clear();
    manager.on_siriusLib_pdtCuts({dueCut("a", "Song")});
    EXPECT_EQ(titles(node->rows()), expected);
    EXPECT_EQ(notices, QStringList{CMSubscribe::RowsChangeUpdate()}) << "the changed row, in place";
    notices.clear();
    manager.on_siriusLib_pdtCuts({dueCut("a", "Song")});
    EXPECT_EQ(notices, QStringList()) << "a row whose cut stayed the same is not announced";

    const std::size_t callsBefore = fake::library().callsSnapshot().size();
    node->removeRowsPath(again);
    EXPECT_EQ(fake::library().callsSnapshot().size(), callsBefore) << "one holder is left";
    node->removeRowsPath(path);
    EXPECT_EQ(lastPdtCall(), "sxm_stop_pdt_notification");
    node->addRowsPath(path);
    EXPECT_EQ(lastPdtCall(), "sxm_startPtdNotificationForChannelIds(a;)") << "opened again";
}

INSTANTIATE_TEST_SUITE_P(EveryList, NowPlayingListsTest,
                         ::testing::Values(Kind::Channels, Kind::Favorites, Kind::Recent,
                                           Kind::ForYouCategory));
