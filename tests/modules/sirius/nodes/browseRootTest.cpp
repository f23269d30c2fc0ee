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
        load({channel("1", "Rock", 1), channel("2", "Pop", 2), channel("3", "Pop", 3),
              channel("4", "Comedy", 4, MivoSiriusAssetType::XtraChannel)});
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
    const CMPath recent = browseRoot().subpath("recent");
    QPointer<CMNode> recentNode = nodes.node(recent);
    ASSERT_TRUE(recentNode);
    browse.reset();
    testsupport::pump();
    EXPECT_TRUE(rootTitles().isEmpty());
    EXPECT_FALSE(recentNode) << "the factory's nodes go with the reset";
    EXPECT_EQ(nodes.node(browseRoot().subpath("search")) != nullptr, GetParam());
}

INSTANTIATE_TEST_SUITE_P(FullFeaturedOrNot, BrowseRootTest, ::testing::Bool());
