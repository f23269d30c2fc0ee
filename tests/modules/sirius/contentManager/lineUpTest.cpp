#include "contentFixtures.h"

using fixtures::channel;
using fixtures::ContentManagerTest;

namespace {

QStringList idsOf(const ContentManager& manager, const QVector<int>& indices)
{
    QStringList ids;
    for (int index : indices)
        ids << manager.channelRolesById(index, false).id();
    return ids;
}

} // namespace

TEST_F(ContentManagerTest, LineUpKeepsOneChannelPerIdSkipsAllXtraAndIncompleteRecords)
{
    int loaded = 0;
    QObject::connect(&manager, &ContentManager::loaded, [&] { ++loaded; });
    MivoSiriusContent allXtra = channel("x", "All", 9);
    allXtra.setGenreKey("allxtra");
    MivoSiriusContent noCategory = channel("n", "Pop", 8);
    noCategory.setCategory(QString());
    manager.on_siriusLib_channel(channel("a", "Pop", 2));
    manager.on_siriusLib_channel(allXtra);
    manager.on_siriusLib_channel(channel("a", "Rock", 2));
    manager.on_siriusLib_channel(channel("a", "Jazz", 2));
    manager.on_siriusLib_channel(noCategory);
    manager.on_siriusLib_channel(
        channel("b", "Pop", 5).setGeoRestrictions(2).setInactivityTimeout(60));
    EXPECT_EQ(loaded, 0);
    manager.on_siriusLib_channel(MivoSiriusContent());
    EXPECT_EQ(loaded, 1) << "the empty record is the end mark";

    EXPECT_EQ(manager.channelCount(), 2);
    EXPECT_TRUE(manager.channelByChannelId("x").isEmpty());
    EXPECT_TRUE(manager.channelByChannelId("n").isEmpty());
    EXPECT_EQ(manager.channelByChannelId("a").genre(), "Pop")
        << "the first record of a channel answers for it";
    EXPECT_EQ(manager.channelRolesById(1, false).id(), "b");
    EXPECT_TRUE(manager.geoRestricted("b"));
    EXPECT_EQ(manager.inactivityTimeout("b"), 60);
    EXPECT_FALSE(manager.geoRestricted("unknown"));
    EXPECT_EQ(manager.inactivityTimeout("unknown"), 0);
    EXPECT_TRUE(manager.channelRolesByChannelId("unknown", true).isEmpty());

    const auto genres = manager.genres(0, false);
    QStringList names;
    for (const auto& genre : genres)
        names << QStringLiteral("%1:%2").arg(genre.genre).arg(genre.count);
    EXPECT_EQ(names, (QStringList{"Jazz:1", "Pop:2", "Rock:1"}))
        << "a channel counts in each of its genres";

    manager.reset();
    EXPECT_EQ(manager.channelCount(), 0);
    EXPECT_TRUE(manager.channelRolesById(0, false).isEmpty())
        << "out of range answers empty, not a crash";
}

// The genres by sort order, with their counts of all and of Xtra channels, are the root and the
// Xtra list, checked end to end.
TEST_F(ContentManagerTest, ChannelIdsFilterOnAnyRecordAndSortByTheMatchingRecord)
{
    MivoSiriusContent rockOf10 = channel("ten", "Rock", 10);
    MivoSiriusContent popOf9 = channel("nine", "Pop", 9);
    MivoSiriusContent secondRecordOf9 = channel("nine", "Rock", 9);
    secondRecordOf9.setSortOrder(1);
    load({rockOf10, popOf9, secondRecordOf9,
          channel("x", "Pop", 3, MivoSiriusAssetType::XtraChannel)});

    const QVariantHash rock{{MivoSiriusContent::GenreKey(), "rock"}};
    EXPECT_EQ(idsOf(manager, manager.channelIds(rock, MivoSiriusContent::SortOrder())),
              (QStringList{"nine", "ten"}))
        << "only nine's second record matches, and its sort order (1) decides";
    const QVariantHash xtra{{MivoSiriusContent::IsXtra(), true}};
    EXPECT_TRUE(manager.channelIds(xtra, MivoSiriusContent::Title()).isEmpty())
        << "no record says isXtra";
}
