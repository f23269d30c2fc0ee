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

// An episode shows its air date (preferred when it aired within two days, or is still to air)
// or "Special" without one, and warns when it expires today or tomorrow (then it is risky).
TEST_F(ContentManagerTest, EpisodeDescriptionsDateAndWarn)
{
    const auto dated = [](double hours) {
        return QLocale().toString(QDateTime::fromString(hoursAgo(hours), Qt::ISODate),
                                  "MMM dd, yyyy");
    };
    const QString today = "Special " + kBullet + " Expires: Today";
    const QString tomorrow = "Special " + kBullet + " Expires: Tomorrow";
    const struct
    {
        QString aired, expires, description;
        bool preferred, risky;
    } cases[] = {{hoursAgo(47), "", dated(47), true, false},
                 {hoursAgo(49), "", dated(49), false, false},
                 {hoursAgo(-5), "", dated(-5), true, false}, // still to air
                 {"not a date", "", "Special", false, false},
                 {"", inMinutes(2880), tomorrow, false, true},
                 {"", inMinutes(1440), tomorrow, false, true},
                 {"", inMinutes(1439), today, false, true},
                 {"", inMinutes(1), today, false, true},
                 {"", inMinutes(2881), "Special", false, false},
                 {"", inMinutes(0, 20), "Special", false, false}, // less than a minute
                 {"", inMinutes(-10), "Special", false, false}};  // expired
    for (const auto& c : cases) {
        bool preferred = false;
        bool risky = false;
        EXPECT_EQ(ContentManager::episodeDescription(episode(c.aired, c.expires), preferred, risky),
                  c.description);
        EXPECT_EQ(preferred, c.preferred) << c.description.toStdString();
        EXPECT_EQ(risky, c.risky) << c.description.toStdString();
    }

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
