#include "nodesFixtures.h"

#include "nodes/channelNode.h"
#include "nodes/pdtSubNode.h"
#include "nodes/uiHelper.h"

#include <mivosdk/MivoPaths.h>

using fixtures::browseRoot;
using fixtures::channel;
using fixtures::dueCut;
using fixtures::lastPdtCall;
using fixtures::NodesTest;
using fixtures::titles;

namespace {

MivoRoles contentRow(const QString& id, MivoSiriusAssetType::Enum type, const QString& title)
{
    const MivoSiriusContent content = channel(id, "Hip Hop", 1, type).setTitle(title);
    return MivoRoles()
        .setId(id)
        .setTitle(title)
        .setIcon("icon-" + id)
        .setValue(MivoValue().setVariant(content.__variant()));
}

} // namespace

// A genre list's path and category menu are checked end to end, from the root.
TEST_F(NodesTest, ChannelPathsKeyTheNodeBySegmentsAndCarryTitleAndIconAsParameters)
{
    const CMPath first = factory.makeChannelNode("Pop", "pop.png", MivoSiriusContent::SortOrder(),
                                                 "pop", 12, false, true);
    const CMPath second = factory.makeChannelNode(
        "Pop again", "other.png", MivoSiriusContent::SortOrder(), "pop", 3, false, true);
    EXPECT_EQ(first.withoutParams(), second.withoutParams());
    EXPECT_EQ(second.param(MivoRoles::Title()), "Pop again");
    EXPECT_EQ(second.param(MivoRoles::Icon()), "other.png");
    auto* node = qobject_cast<ChannelNode*>(nodes.node(second));
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->description().toString(), "12 channels")
        << "a node found again keeps what it got when it was made";

    auto* xtra = qobject_cast<ChannelNode*>(
        nodes.node(factory.makeChannelNode("X", "", "SortOrder", "talk", 0, true, false)));
    ASSERT_NE(xtra, nullptr);
    EXPECT_TRUE(xtra->contextPath().isEmpty()) << "an Xtra list offers no menu";
    EXPECT_TRUE(xtra->description().toString().isEmpty()) << "count 0 announces nothing";
}

TEST_F(NodesTest, ClearLetsEveryNodeGoAndTheNextRecentNodeIsMadeAfresh)
{
    const CMPath recent = factory.makeRecentNode("Recent", "recent.png");
    QPointer<CMNode> first = nodes.node(recent);
    QPointer<CMNode> list =
        nodes.node(factory.makeChannelNode("A", "", "Title", "", 0, false, false));
    factory.clear();
    EXPECT_TRUE(testsupport::waitUntil([&] { return !first && !list; }));
    factory.makeRecentNode("Recent again", "again.png");
    auto* again = qobject_cast<CMContainerNode*>(nodes.node(recent));
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again->title().toString(), "Recent again");
    EXPECT_TRUE(static_cast<CMUINode*>(again)->contextPath().hasParam("clearRecent"));
}

TEST_F(NodesTest, SectionsComeInFixedOrderAndEmptyOnesAreLeftOut)
{
    const QList<MivoRoles> split =
        UiHelper::splitToSections({contentRow("e", MivoSiriusAssetType::Episode, "An episode"),
                                   contentRow("c", MivoSiriusAssetType::Category, "A category"),
                                   MivoRoles().setTitle("No content at all")});
    EXPECT_EQ(titles(split), (QStringList{"Categories", "A category", "Episodes", "An episode"}));
    EXPECT_EQ(split[0].type(), int(MivoRolesType::SectionHeader));

    const QList<MivoRoles> channels =
        UiHelper::splitToSections({contentRow("x", MivoSiriusAssetType::XtraChannel, "Xtra"),
                                   contentRow("l", MivoSiriusAssetType::LiveChannel, "Live")});
    EXPECT_EQ(titles(channels), (QStringList{"Channels", "Xtra", "Live"}));
}

TEST_F(NodesTest, DecorationsGiveMenusLinksAndCutTitles)
{
    load({channel("live", "Pop", 1), channel("quiet", "Pop", 2)});
    manager.on_siriusLib_pdtCuts({dueCut("live", "Song")});
    const QList<MivoRoles> rows =
        UiHelper::decorateRoles({contentRow("live", MivoSiriusAssetType::LiveChannel, "Live"),
                                 contentRow("quiet", MivoSiriusAssetType::LiveChannel, "Quiet"),
                                 contentRow("show", MivoSiriusAssetType::Show, "Show"),
                                 contentRow("cat", MivoSiriusAssetType::Category, "Category")},
                                &factory, &manager);
    EXPECT_EQ(titles(rows), (QStringList{"Artist - Song", "", "Show", "Category"}))
        << "a live row takes its cut even when it is empty";
    EXPECT_EQ(UiHelper::addPdtCut(contentRow("quiet", MivoSiriusAssetType::LiveChannel, "Quiet"),
                                  &manager)
                  .title(),
              "Quiet")
        << "addPdtCut keeps the title when there is no cut";
    EXPECT_EQ(rows[0].sortKey(), MivoSiriusAssetType::toString(MivoSiriusAssetType::LiveChannel));
    EXPECT_EQ(rows[2].path().segments().last(), "onDemandEpisode");
    EXPECT_EQ(rows[2].path().param("id"), "show");
    EXPECT_EQ(rows[3].path().segments().mid(2, 2), (QStringList{"channels", "filter:hip hop"}));
    EXPECT_EQ(rows[3].context().path().param(MivoSiriusContent::Title()), "hip hop")
        << "a category's menu is titled with its genre key";
}

TEST_F(NodesTest, SubNodeRegistersItsLiveChannelsWhileOpenAndUnregistersWhenItGoes)
{
    auto* node =
        PdtSubNode::create(&manager, &nodes, browseRoot().subpath("forYou").subpath("Music"),
                           {contentRow("live", MivoSiriusAssetType::LiveChannel, "Live"),
                            contentRow("xtra", MivoSiriusAssetType::XtraChannel, "Xtra"),
                            MivoRoles().setId("plain").setTitle("No content")});
    EXPECT_EQ(node->pdtChannelIds(), QStringList{"live"});
    EXPECT_FALSE(node->rows()[0].hasEntry(MivoRoles::Value())) << "rows do not carry the record";

    node->addRowsPath(node->path());
    EXPECT_EQ(lastPdtCall(), "sxm_startPtdNotificationForChannelIds(live;)");
    node->addRowsPath(node->path());
    node->removeRowsPath(node->path());
    EXPECT_EQ(lastPdtCall(), "sxm_startPtdNotificationForChannelIds(live;)") << "one still open";
    delete node;
    EXPECT_EQ(lastPdtCall(), "sxm_stop_pdt_notification") << "a destroyed list stays unregistered";
}
