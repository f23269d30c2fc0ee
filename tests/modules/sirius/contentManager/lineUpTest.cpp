#include "contentFixtures.h"

#include "logCapture.h"
#include "siriusLogging.h"

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
    sirius::test::LogCapture log(sirius::cbSiriusLogger());
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
    manager.on_siriusLib_channel(channel("b", "Pop", 5));
    EXPECT_EQ(loaded, 0);
    manager.on_siriusLib_channel(MivoSiriusContent());
    EXPECT_EQ(loaded, 1) << "the empty record is the end mark";

    EXPECT_EQ(manager.channelCount(), 2);
    EXPECT_TRUE(manager.channelByChannelId("x").isEmpty());
    EXPECT_TRUE(manager.channelByChannelId("n").isEmpty());
    EXPECT_EQ(log.linesContaining("Missing basic info for channel").size(), 1u);
    EXPECT_EQ(manager.channelByChannelId("a").genre(), "Pop")
        << "the first record of a channel answers for it";
    EXPECT_EQ(manager.channelRolesById(1, false).id(), "b");

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
TEST_F(ContentManagerTest, ChannelIdsFilterOnAnyRecordAndSortNumbersAsNumbers)
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

    // Sort values given as texts: "10" and "9" order as numbers, "b" and "a" as texts.
    const auto named = [](const char* id, const char* genre, const char* name) {
        return channel(id, genre, 1).setStreamingName(name);
    };
    manager.reset();
    load({named("t10", "Talk", "10"), named("t9", "Talk", "9"), named("tb", "Talk2", "b"),
          named("ta", "Talk2", "a")});
    EXPECT_EQ(idsOf(manager, manager.channelIds({{MivoSiriusContent::GenreKey(), "talk"}},
                                                MivoSiriusContent::StreamingName())),
              (QStringList{"t9", "t10"}));
    EXPECT_EQ(idsOf(manager, manager.channelIds({{MivoSiriusContent::GenreKey(), "talk2"}},
                                                MivoSiriusContent::StreamingName())),
              (QStringList{"ta", "tb"}));
    // Mixed keys are not a consistent order; the sort still answers every channel once.
    EXPECT_EQ(manager.channelIds({}, MivoSiriusContent::StreamingName()).size(), 4);
}

TEST_F(ContentManagerTest, LookupsAnswerFromTheFirstRecordAndEmptyForUnknownChannels)
{
    MivoSiriusContent restricted = channel("r", "Pop", 1);
    restricted.setGeoRestrictions(2).setInactivityTimeout(3600);
    load({restricted});
    EXPECT_TRUE(manager.geoRestricted("r"));
    EXPECT_EQ(manager.inactivityTimeout("r"), 3600);
    EXPECT_FALSE(manager.geoRestricted("unknown"));
    EXPECT_EQ(manager.inactivityTimeout("unknown"), 0);
    EXPECT_TRUE(manager.channelRolesByChannelId("unknown", true).isEmpty());
}
