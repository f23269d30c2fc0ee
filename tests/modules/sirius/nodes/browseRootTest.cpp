#include "nodesFixtures.h"

#include "browseUi/browseUi.h"

#include <mivosdk/MivoPaths.h>

using fixtures::browseRoot;
using fixtures::channel;
using fixtures::NodesTest;

namespace {

/// The root over the fixture's content manager, full-featured or not.
class BrowseRootTest : public NodesTest, public ::testing::WithParamInterface<bool>
{
protected:
    void loadLineUp()
    {
        load({channel(QStringLiteral("1"), QStringLiteral("Rock"), 1),
              channel(QStringLiteral("2"), QStringLiteral("Pop"), 2),
              channel(QStringLiteral("3"), QStringLiteral("Pop"), 3),
              channel(QStringLiteral("4"), QStringLiteral("Comedy"), 4,
                      MivoSiriusAssetType::XtraChannel)});
    }
    QStringList rootTitles() { return titles(getRows(browseRoot()).rows()); }

    BrowseUi browse{&nodes, browseRoot(), &manager, GetParam()};
};

} // namespace

TEST_P(BrowseRootTest, AnEmptyLineUpStillHasTheFixedEntries)
{
    load({});
    QStringList expected{"Recent", "All Channels", "All Channels (A-Z)"};
    if (GetParam())
        expected << "On demand"
                 << "Xtra Channels"
                 << "ForYou"
                 << "Favorites";
    expected << "Channels";
    EXPECT_EQ(rootTitles(), expected);
}

TEST_P(BrowseRootTest, ResetEmptiesTheTreeButKeepsTheSearchEntry)
{
    loadLineUp();
    const CMPath recent = browseRoot().subpath(QStringLiteral("recent"));
    QPointer<CMNode> recentNode = nodes.node(recent);
    ASSERT_TRUE(recentNode);
    browse.reset();
    testsupport::pump();
    EXPECT_TRUE(rootTitles().isEmpty());
    EXPECT_FALSE(recentNode) << "the factory's nodes go with the reset";
    EXPECT_EQ(nodes.node(browseRoot().subpath(QStringLiteral("search"))) != nullptr, GetParam());
}

INSTANTIATE_TEST_SUITE_P(FullFeaturedOrNot, BrowseRootTest, ::testing::Bool());
