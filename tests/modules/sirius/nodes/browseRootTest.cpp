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
    BrowseUi browse{&nodes, browseRoot(), &manager, GetParam()};
};

} // namespace

// The root's entries with and without full features are checked end to end.
TEST_P(BrowseRootTest, ResetEmptiesTheTreeButKeepsTheSearchEntry)
{
    load({channel("1", "Rock", 1), channel("2", "Pop", 2),
          channel("4", "Comedy", 4, MivoSiriusAssetType::XtraChannel)});
    QPointer<CMNode> recentNode = nodes.node(browseRoot().subpath("recent"));
    ASSERT_TRUE(recentNode);
    browse.reset();
    EXPECT_TRUE(testsupport::waitUntil([&] { return !recentNode; }))
        << "the factory's nodes go with the reset";
    EXPECT_TRUE(getRows(browseRoot()).rows().isEmpty());
    EXPECT_EQ(nodes.node(browseRoot().subpath("search")) != nullptr, GetParam());
}

INSTANTIATE_TEST_SUITE_P(FullFeaturedOrNot, BrowseRootTest, ::testing::Bool());
