#include "nodesFixtures.h"

#include "nodes/uiHelper.h"

#include <mivosdk/CMContainerNode.h>
#include <mivosdk/CMUINode.h>
#include <mivosdk/MivoPaths.h>

using fixtures::channel;
using fixtures::dueCut;
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
