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

/// On demand and Xtra are entries of the full-featured root only.
class FullFeaturedRootTest : public BrowseRootTest
{
};

} // namespace

TEST_P(BrowseRootTest, ListsItsEntriesInOrderOnlyOnceTheLineUpIsLoaded)
{
    const bool fullFeatured = GetParam();
    ASSERT_NE(browse.root(), nullptr);
    EXPECT_EQ(browse.root()->title().toString(), QStringLiteral("Sirius"));
    EXPECT_TRUE(rootTitles().isEmpty()) << "no rows before the line-up";
    EXPECT_EQ(browse.root()->searchPath().isEmpty(), !fullFeatured);

    loadLineUp();
    // Genres by their sort order (the fixture's is the name's length); Comedy is an Xtra genre.
    QStringList expected{"Recent", "All Channels", "All Channels (A-Z)"};
    if (fullFeatured)
        expected << "On demand"
                 << "Xtra Channels"
                 << "ForYou"
                 << "Favorites";
    expected << "Channels"
             << "Pop"
             << "Rock"
             << "Comedy";
    EXPECT_EQ(rootTitles(), expected);

    const QList<MivoRoles> rows = getRows(browseRoot()).rows();
    const MivoRoles header = rows[expected.indexOf("Channels")];
    EXPECT_EQ(header.type(), int(MivoRolesType::SectionHeader));
    EXPECT_EQ(rows[expected.indexOf("Pop")].description(), QStringLiteral("2 channels"));
    EXPECT_EQ(
        rows[1].path().segments().mid(2),
        (QStringList{"channels", "filter:", "sort:siriusChannelNumber", "xtra:false", "pdt:true"}));
    EXPECT_EQ(rows[2].path().segments().last(), QStringLiteral("pdt:false"))
        << "the A-Z list shows no now-playing text";

    loadLineUp(); // a second loaded() rebuilds, it does not add
    EXPECT_EQ(rootTitles(), expected);
}

TEST_P(FullFeaturedRootTest, OnDemandAndChannelsListTheSameGenresAndXtraOnlyXtraGenres)
{
    loadLineUp();
    const CMPath onDemands = browseRoot().subpath(QStringLiteral("onDemands"));
    EXPECT_EQ(titles(getRows(onDemands).rows()), (QStringList{"Pop", "Rock", "Comedy"}));
    const QList<MivoRoles> xtra = getRows(browseRoot().subpath(QStringLiteral("xtra"))).rows();
    ASSERT_EQ(titles(xtra), QStringList{"Comedy"});
    EXPECT_EQ(
        xtra[0].path().segments().mid(2),
        (QStringList{"channels", "filter:comedy", "sort:sortOrder", "xtra:true", "pdt:false"}));
    EXPECT_EQ(xtra[0].description(), QStringLiteral("1 channels"));
}

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
INSTANTIATE_TEST_SUITE_P(FullFeatured, FullFeaturedRootTest, ::testing::Values(true));
