#include "nodesFixtures.h"

#include "nodes/channelNode.h"

#include <mivosdk/MivoPaths.h>

#include <algorithm>

using fixtures::browseRoot;
using fixtures::channel;
using fixtures::dueCut;
using fixtures::lastPdtCall;
using fixtures::NodesTest;
using fixtures::titles;

namespace {

MivoSiriusContent xtraChannel(const QString& id, const QString& genre, int number)
{
    return channel(id, genre, number, MivoSiriusAssetType::XtraChannel).setIsXtra(true);
}

/// The channel ids of a "start for channel ids" call, sorted (the library gets them as a set).
QStringList idsOf(const std::string& call)
{
    const QString text = QString::fromStdString(call);
    const int open = text.indexOf(QLatin1Char('('));
    QStringList ids =
        text.mid(open + 1, text.size() - open - 2).split(QLatin1Char(';'), Qt::SkipEmptyParts);
    ids.sort();
    return ids;
}

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
              xtraChannel("x", "Pop", 4)});
    }
    ChannelNode* nodeAt(const CMPath& path) { return qobject_cast<ChannelNode*>(nodes.node(path)); }
    CMPath list(const QString& filter, bool xtra, bool pdt,
                const QString& sort = MivoSiriusContent::SiriusChannelNumber())
    {
        return factory.makeChannelNode("List", "list.png", sort, filter, 0, xtra, pdt);
    }
};

} // namespace

// --- link title

TEST_F(ChannelNodeTest, ShowsTheTitleAndIconOfTheLinkThatLedThere)
{
    const CMPath first = list("pop", false, true);
    const CMPath again = factory.makeChannelNode(
        "Pop hits", "hits.png", MivoSiriusContent::SiriusChannelNumber(), "pop", 0, false, true);
    ChannelNode* node = nodeAt(again);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->linkRoles(again).title(), "Pop hits");
    EXPECT_EQ(node->linkRoles(again).icon(), "hits.png");
    EXPECT_EQ(node->linkRoles(first).title(), "List");
    node->setTitle(TrString("Own title"));
    EXPECT_EQ(node->linkRoles(first.withoutParams()).title(), "Own title")
        << "a link without parameters shows the node's own title";
}

// --- rows built once

TEST_F(ChannelNodeTest, ASecondRequestRequeriesTheIdsButKeepsTheRowsAsBuilt)
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
    EXPECT_EQ(idsOf(getRows(path).rows()), (QStringList{"d", "c", "a", "x"}))
        << "reopened, the list is built from the current line-up";
    EXPECT_EQ(node->pdtChannelIds().size(), 3) << "rebuilt ids do not pile up";
}

// --- registration for now-playing data (All Channels: end to end)

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

// --- observers coming and going

TEST_F(ChannelNodeTest, TheLastObserverLeavingUnregistersAndEmptiesTheList)
{
    const CMPath path = list("", false, true);
    ChannelNode* node = nodeAt(path);
    getRows(path);
    const CMPath first = CMPath(path).addParam("view", "1");
    node->addRowsPath(first);
    node->addRowsPath(path);
    const size_t callsBefore = fake::library().callsSnapshot().size();

    node->removeRowsPath(first);
    EXPECT_EQ(node->rowsCount(), 4) << "one observer still holds the list";
    EXPECT_EQ(fake::library().callsSnapshot().size(), callsBefore);

    node->removeRowsPath(path);
    EXPECT_EQ(node->rowsCount(), 0);
    EXPECT_EQ(lastPdtCall(), "sxm_stop_pdt_notification");

    node->addRowsPath(path);
    EXPECT_EQ(idsOf(lastPdtCall()), (QStringList{"a", "b", "c"}))
        << "opening again registers the ids of the last build";
    EXPECT_EQ(getRows(path).rows().size(), 4);
}

// --- cut titles

TEST_F(ChannelNodeTest, CutTitlesAreRewrittenInPlaceOnlyWhileSomebodyWatches)
{
    const CMPath path = list("pop", false, true);
    ChannelNode* node = nodeAt(path);
    getRows(path);
    QStringList notices;
    QObject::connect(&nodes.subscribe(), &CMSubscribe::changed,
                     [&](const CMPath&, const QString& change, int) { notices << change; });

    manager.on_siriusLib_pdtCuts({dueCut("a", "First")});
    EXPECT_EQ(titles(node->rows()), (QStringList{"Title c", "Title a", "Title x"}))
        << "nobody watches";
    EXPECT_TRUE(notices.isEmpty());

    node->addRowsPath(path);
    manager.on_siriusLib_pdtCuts({dueCut("a", "Second"), dueCut("c", "Third")});
    EXPECT_EQ(titles(node->rows()), (QStringList{"Artist - Third", "Artist - Second", "Title x"}));
    EXPECT_FALSE(notices.contains(CMSubscribe::RowsChangeReset())) << "updated in place";
    EXPECT_EQ(notices.count(CMSubscribe::RowsChangeUpdate()), 2) << "one notice per changed row";

    notices.clear();
    manager.on_siriusLib_pdtCuts({dueCut("a", "Second"), dueCut("c", "Fourth")});
    EXPECT_EQ(notices, QStringList{CMSubscribe::RowsChangeUpdate()})
        << "a row whose cut stayed the same is not announced";
}

TEST_F(ChannelNodeTest, EpisodeAndXtraRowsKeepTheirTitles)
{
    const CMPath path = list("pop", false, true);
    ChannelNode* node = nodeAt(path);
    getRows(path);
    node->addRowsPath(path);
    // Rows of one channel under another guise: its episode and its Xtra stream.
    MivoRoles episode = node->rows()[1];
    episode.setTitle("An episode")
        .setPath(CMPath(episode.path()).addParam(MivoSiriusEpisode(), QString()));
    node->rowsSet(0, episode);
    MivoRoles xtra = node->rows()[1];
    xtra.setTitle("An Xtra").setPath(CMPath(xtra.path()).addParam(MivoSiriusXtra(), QString()));
    node->rowsSet(2, xtra);

    manager.on_siriusLib_pdtCuts({dueCut("a", "Song")});
    EXPECT_EQ(titles(node->rows()), (QStringList{"An episode", "Artist - Song", "An Xtra"}));
}
