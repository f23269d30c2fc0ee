#include "contentFixtures.h"

#include <mivosdk/MivoPaths.h>

using fixtures::channel;
using fixtures::ContentManagerTest;

namespace {

const QString kBullet = QStringLiteral("\u2022");

QString inMinutes(qint64 minutes, int extraSeconds = 30)
{
    return QDateTime::currentDateTimeUtc()
        .addSecs(minutes * 60 + extraSeconds)
        .toString(Qt::ISODate);
}

QString hoursAgo(double hours)
{
    return QDateTime::currentDateTimeUtc().addSecs(qint64(-hours * 3600)).toString(Qt::ISODate);
}

MivoSiriusContent episode(const QString& aired, const QString& expires)
{
    MivoSiriusContent content = channel("e", "Talk", 1, MivoSiriusAssetType::Episode);
    content.setOriginalAiredDate(aired).setExpireDate(expires).setPercentConsumed(40);
    return content;
}

QString describe(const MivoSiriusContent& content, bool* preferred = nullptr, bool* risky = nullptr)
{
    bool p = false;
    bool r = false;
    const QString text = ContentManager::episodeDescription(content, p, r);
    if (preferred)
        *preferred = p;
    if (risky)
        *risky = r;
    return text;
}

} // namespace

// Descriptions with the channel number, and live paths without full features, are met end to end.
TEST_F(ContentManagerTest, LiveChannelRowsCarryTheirRecordAndAPlayablePath)
{
    const MivoSiriusContent content = channel("ch2", "News", 2);
    const MivoRoles row = manager.contentToRoles(content, false);
    EXPECT_EQ(row.description(), "About ch2");
    EXPECT_EQ(row.type(), int(MivoRolesType::Audio));
    EXPECT_EQ(MivoSiriusContent(row.value().toHash()), content) << "the row carries its record";
    const CMPath path = row.path();
    EXPECT_EQ(path.withoutParams(), MivoSiriusPrefixPath());
    EXPECT_EQ(path.param(MivoSiriusContent::AssetGuid()), "guid-ch2");
    EXPECT_FALSE(path.hasParam(MivoSiriusGoLive())) << "full-featured";
}

TEST_F(ContentManagerTest, NotFullFeaturedEpisodePathsGoLiveAndXtraRowsNeedNoAssetGuid)
{
    ContentManager playbackOnly(&lib, false);
    const MivoRoles ep = playbackOnly.contentToRoles(episode(hoursAgo(1), inMinutes(5000)), true);
    EXPECT_TRUE(ep.path().hasParam(MivoSiriusGoLive()));
    EXPECT_TRUE(ep.path().hasParam(MivoSiriusEpisode()));
    EXPECT_EQ(ep.path().param(MivoSiriusContent::PercentConsumed()), "40");

    MivoSiriusContent xtra = channel("x", "Pop", 700, MivoSiriusAssetType::XtraChannel);
    xtra.setAssetGuid(QString());
    const MivoRoles xtraRow = manager.contentToRoles(xtra, true);
    EXPECT_TRUE(xtraRow.path().hasParam(MivoSiriusXtra()));
    EXPECT_FALSE(xtraRow.path().hasParam(MivoSiriusContent::AssetGuid()))
        << "no asset guid: no parameter";
}

TEST_F(ContentManagerTest, EpisodeExpiryBoundsAreKeptAsTheyAre)
{
    bool risky = false;
    EXPECT_TRUE(describe(episode(QString(), inMinutes(1440)), nullptr, &risky)
                    .endsWith(kBullet + " Expires: Tomorrow"));
    EXPECT_TRUE(risky);
    EXPECT_TRUE(describe(episode(QString(), inMinutes(2880))).endsWith("Expires: Tomorrow"));
    EXPECT_TRUE(describe(episode(QString(), inMinutes(1439))).endsWith("Expires: Today"));
    EXPECT_TRUE(describe(episode(QString(), inMinutes(1))).endsWith("Expires: Today"));
    EXPECT_EQ(describe(episode(QString(), inMinutes(2881)), nullptr, &risky), "Special");
    EXPECT_FALSE(risky);
    EXPECT_EQ(describe(episode(QString(), inMinutes(0, 20))), "Special") << "less than a minute";
    EXPECT_EQ(describe(episode(QString(), inMinutes(-10))), "Special") << "already expired";
}

TEST_F(ContentManagerTest, EpisodesAiredWithinTwoDaysArePreferredAndUndatedOnesAreSpecial)
{
    bool preferred = false;
    const QString recent = describe(episode(hoursAgo(47), QString()), &preferred);
    EXPECT_TRUE(preferred);
    EXPECT_EQ(recent,
              QLocale().toString(QDateTime::fromString(hoursAgo(47), Qt::ISODate), "MMM dd, yyyy"));
    describe(episode(hoursAgo(49), QString()), &preferred);
    EXPECT_FALSE(preferred);
    describe(episode(hoursAgo(-5), QString()), &preferred);
    EXPECT_TRUE(preferred) << "a future air date counts as recent";
    EXPECT_EQ(describe(episode("not a date", QString()), &preferred), "Special");
    EXPECT_FALSE(preferred);

    const MivoRoles row = manager.contentToRoles(episode(hoursAgo(1), inMinutes(60)), false);
    EXPECT_TRUE(row.preferred());
    EXPECT_TRUE(row.risky());
    EXPECT_TRUE(row.sortKey().startsWith(hoursAgo(1).left(13))) << "sort key is the air date text";
}

TEST_F(ContentManagerTest, TheSmallestLogoWithAUrlIsTheIcon)
{
    MivoSiriusContent content = channel("c", "Pop", 1);
    content.setLogos({MivoSiriusLogo().setUrl("big").setWidth(300).setHeight(300),
                      MivoSiriusLogo().setUrl("medium").setWidth(100).setHeight(100),
                      MivoSiriusLogo().setWidth(50).setHeight(50)});
    EXPECT_EQ(manager.contentToRoles(content, true).icon(), "medium");
    content.setLogos({MivoSiriusLogo().setWidth(50).setHeight(50)});
    EXPECT_FALSE(manager.contentToRoles(content, true).hasEntry(MivoRoles::Icon()));
}

TEST_F(ContentManagerTest, ShowAndCategoryRows)
{
    load({channel("ch", "Talk", 30)});
    MivoSiriusContent show = channel("ch", "Talk", 0, MivoSiriusAssetType::Show);
    show.setTitle("The Show").setEpisodeCount(12).setNewEpisodeCount(3);
    MivoRoles row = manager.contentToRoles(show, false);
    EXPECT_EQ(row.description(), "3 NEW " + kBullet + " Title ch " + kBullet + " 12 episodes");
    EXPECT_TRUE(row.preferred());
    EXPECT_EQ(row.sortKey(), "70") << "the sort order of the show's channel";
    EXPECT_EQ(row.id(), "guid-ch");
    EXPECT_EQ(row.type(), int(MivoRolesType::Container));

    show.setNewEpisodeCount(0);
    row = manager.contentToRoles(show, false);
    EXPECT_EQ(row.description(), "Title ch " + kBullet + " 12 episodes");
    EXPECT_FALSE(row.preferred());
    show.setEpisodeCount(0);
    EXPECT_EQ(manager.contentToRoles(show, false).description(), "About ch");
    show.setChannelId("not in the line-up");
    EXPECT_EQ(manager.contentToRoles(show, false).sortKey(), "0") << "no crash, no order";

    MivoSiriusContent category = channel(QString(), "Comedy", 0, MivoSiriusAssetType::Category);
    const MivoRoles categoryRow = manager.contentToRoles(category, true);
    EXPECT_EQ(categoryRow.title(), "Comedy");
    EXPECT_EQ(categoryRow.type(), int(MivoRolesType::Container));
    EXPECT_FALSE(categoryRow.hasEntry(MivoRoles::Description()));
}
