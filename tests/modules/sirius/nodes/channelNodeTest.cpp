#include "nodesFixtures.h"

#include "nodes/channelNode.h"

#include <mivosdk/MivoPaths.h>

using fixtures::channel;
using fixtures::lastPdtCall;
using fixtures::NodesTest;

namespace {

QStringList idsOf(const QList<MivoRoles>& rows)
{
    QStringList ids;
    for (const MivoRoles& row : rows)
        ids << row.id();
    return ids;
}

class ChannelNodeTest : public NodesTest
{
protected:
    void SetUp() override
    {
        NodesTest::SetUp();
        load({channel("a", "Pop", 3), channel("b", "Rock", 1), channel("c", "Pop", 2),
              channel("x", "Pop", 4, MivoSiriusAssetType::XtraChannel).setIsXtra(true)});
    }
    ChannelNode* nodeAt(const CMPath& path) { return qobject_cast<ChannelNode*>(nodes.node(path)); }
    CMPath list(const QString& filter, bool xtra, bool pdt, const QString& title = "List",
                const QString& icon = "list.png", int count = 0)
    {
        return factory.makeChannelNode(title, icon, MivoSiriusContent::SiriusChannelNumber(),
                                       filter, count, xtra, pdt);
    }
};

} // namespace

// A genre list's path and category menu are checked end to end, from the root.
TEST_F(ChannelNodeTest, OneNodePerListShowingTheTitleAndIconOfTheLinkThatLedThere)
{
    const CMPath first = list("pop", false, true, "Pop", "pop.png", 12);
    const CMPath again = list("pop", false, true, "Pop hits", "hits.png", 3);
    EXPECT_EQ(first.withoutParams(), again.withoutParams());
    ChannelNode* node = nodeAt(again);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->linkRoles(again).title(), "Pop hits");
    EXPECT_EQ(node->linkRoles(again).icon(), "hits.png");
    EXPECT_EQ(node->linkRoles(first).title(), "Pop");
    EXPECT_EQ(node->description().toString(), "12 channels")
        << "a node found again keeps what it got when it was made";
    node->setTitle(TrString("Own title"));
    EXPECT_EQ(node->linkRoles(first.withoutParams()).title(), "Own title")
        << "a link without parameters shows the node's own title";

    ChannelNode* xtra = nodeAt(list("talk", true, false));
    ASSERT_NE(xtra, nullptr);
    EXPECT_TRUE(xtra->contextPath().isEmpty()) << "an Xtra list offers no menu";
    EXPECT_TRUE(xtra->description().toString().isEmpty()) << "count 0 announces nothing";
}

TEST_F(ChannelNodeTest, ASecondRequestRequeriesTheIdsButKeepsTheRowsAsBuiltUntilClosed)
{
    const CMPath path = list("pop", false, true);
    ChannelNode* node = nodeAt(path);
    ASSERT_NE(node, nullptr);
    node->addRowsPath(path);
    EXPECT_EQ(getRows(path).rows().size(), 3);

    manager.on_siriusLib_channel(channel("d", "Pop", 0));
    const MivoRowsRoles second = getRows(path);
    EXPECT_EQ(second.rows().size(), 3) << "no duplicates and no rebuild while the list is open";
    EXPECT_EQ(second.total(), 3);
    EXPECT_EQ(node->channelIds().size(), 4) << "the ids follow the line-up on every request";
    EXPECT_EQ(node->pdtChannelIds().size(), 2) << "a and c; the Xtra channel shows no cut";

    node->removeRowsPath(path);
    EXPECT_EQ(node->rowsCount(), 0) << "a closed list lets its rows go";
    EXPECT_EQ(idsOf(getRows(path).rows()), (QStringList{"d", "c", "a", "x"}))
        << "reopened, the list is built from the current line-up";
    EXPECT_EQ(node->pdtChannelIds().size(), 3) << "rebuilt ids do not pile up";
}

// Lists of ids register as every other list does (nowPlayingListsTest.cpp).
TEST_F(ChannelNodeTest, AListWithoutLiveChannelsRegistersNothingAGenreItsKeyEvenWithoutRows)
{
    const CMPath xtraOnly = list("", true, true);
    EXPECT_EQ(idsOf(getRows(xtraOnly).rows()), QStringList{"x"});
    nodeAt(xtraOnly)->addRowsPath(xtraOnly);
    EXPECT_EQ(lastPdtCall(), "") << "no live channel, nothing to register";

    const CMPath genre = list("jazz", false, true);
    EXPECT_TRUE(getRows(genre).rows().isEmpty());
    EXPECT_EQ(lastPdtCall(), "sxm_startPtdNotificationForGenre(jazz)");
}
