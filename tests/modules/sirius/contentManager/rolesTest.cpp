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
    MivoSiriusContent content =
        channel(QStringLiteral("e"), QStringLiteral("Talk"), 1, MivoSiriusAssetType::Episode);
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

TEST_F(ContentManagerTest, LiveChannelRowsCarryTheChannelNumberAndAPlayablePath)
{
    const MivoSiriusContent content = channel(QStringLiteral("ch2"), QStringLiteral("News"), 2);
    const MivoRoles withNumber = manager.contentToRoles(content, true);
    EXPECT_EQ(withNumber.description(),
              QStringLiteral("Ch 2 ") + kBullet + QStringLiteral(" About ch2"));
    EXPECT_EQ(manager.contentToRoles(content, false).description(), QStringLiteral("About ch2"));
    EXPECT_EQ(withNumber.id(), QStringLiteral("ch2"));
    EXPECT_EQ(withNumber.type(), int(MivoRolesType::Audio));
    EXPECT_EQ(withNumber.audioType(), int(MivoRolesAudioType::Stream));
    EXPECT_TRUE(withNumber.doNotTrack());
    EXPECT_FALSE(withNumber.preferred());
    EXPECT_EQ(MivoSiriusContent(withNumber.value().toHash()), content)
        << "the row carries its record";

    const CMPath path = withNumber.path();
    EXPECT_EQ(path.withoutParams(), MivoSiriusPrefixPath());
    EXPECT_EQ(path.param(MivoSiriusContent::AssetGuid()), QStringLiteral("guid-ch2"));
    EXPECT_EQ(path.param(MivoSiriusContent::AssetType()), QStringLiteral("LiveChannel"));
    EXPECT_FALSE(path.hasParam(MivoSiriusGoLive())) << "full-featured";

    const MivoMediaData media = withNumber.mediaData();
    EXPECT_EQ(media.metaData().serviceId(), MivoService_Sirius_Id());
    EXPECT_EQ(media.metaData().playLogicPath(), MivoSiriusPlayLogicPath());
    EXPECT_TRUE(media.metaData().live());
    ASSERT_EQ(media.resources().size(), 1);
    EXPECT_EQ(media.resources()[0].mimeType(), MimeTypes::Audio::aac());
}

TEST_F(ContentManagerTest, NotFullFeaturedPathsGoLiveAndXtraRowsSayXtraChannel)
{
    ContentManager playbackOnly(&lib, false);
    const MivoRoles live =
        playbackOnly.contentToRoles(channel(QStringLiteral("c"), QStringLiteral("Pop"), 3), true);
    EXPECT_TRUE(live.path().hasParam(MivoSiriusGoLive()));
    EXPECT_EQ(live.path().param(MivoSiriusGoLive(), QStringLiteral("absent")), QString());
    const MivoRoles ep = playbackOnly.contentToRoles(episode(hoursAgo(1), inMinutes(5000)), true);
    EXPECT_TRUE(ep.path().hasParam(MivoSiriusGoLive()));
    EXPECT_TRUE(ep.path().hasParam(MivoSiriusEpisode()));
    EXPECT_EQ(ep.path().param(MivoSiriusContent::PercentConsumed()), QStringLiteral("40"));

    MivoSiriusContent xtra =
        channel(QStringLiteral("x"), QStringLiteral("Pop"), 700, MivoSiriusAssetType::XtraChannel);
    xtra.setAssetGuid(QString());
    const MivoRoles xtraRow = manager.contentToRoles(xtra, true);
    EXPECT_EQ(xtraRow.description(),
              QStringLiteral("Xtra Channel ") + kBullet + QStringLiteral(" About x"));
    EXPECT_TRUE(xtraRow.path().hasParam(MivoSiriusXtra()));
    EXPECT_FALSE(xtraRow.path().hasParam(MivoSiriusContent::AssetGuid()))
        << "no asset guid: no parameter";
}

TEST_F(ContentManagerTest, EpisodeExpiryBoundsAreKeptAsTheyAre)
{
    bool risky = false;
    EXPECT_TRUE(describe(episode(QString(), inMinutes(1440)), nullptr, &risky)
                    .endsWith(kBullet + QStringLiteral(" Expires: Tomorrow")));
    EXPECT_TRUE(risky);
    EXPECT_TRUE(describe(episode(QString(), inMinutes(2880)))
                    .endsWith(QStringLiteral("Expires: Tomorrow")));
    EXPECT_TRUE(
        describe(episode(QString(), inMinutes(1439))).endsWith(QStringLiteral("Expires: Today")));
    EXPECT_TRUE(
        describe(episode(QString(), inMinutes(1))).endsWith(QStringLiteral("Expires: Today")));
    EXPECT_EQ(describe(episode(QString(), inMinutes(2881)), nullptr, &risky),
              QStringLiteral("Special"));
    EXPECT_FALSE(risky);
    EXPECT_EQ(describe(episode(QString(), inMinutes(49 * 60))), QStringLiteral("Special"));
    EXPECT_EQ(describe(episode(QString(), inMinutes(0, 20))), QStringLiteral("Special"))
        << "less than a minute";
    EXPECT_EQ(describe(episode(QString(), inMinutes(-10))), QStringLiteral("Special"))
        << "already expired";
}

TEST_F(ContentManagerTest, EpisodesAiredWithinTwoDaysArePreferredAndUndatedOnesAreSpecial)
{
    bool preferred = false;
    const QString recent = describe(episode(hoursAgo(47), QString()), &preferred);
    EXPECT_TRUE(preferred);
    EXPECT_EQ(recent, QLocale().toString(QDateTime::fromString(hoursAgo(47), Qt::ISODate),
                                         QStringLiteral("MMM dd, yyyy")));
    describe(episode(hoursAgo(49), QString()), &preferred);
    EXPECT_FALSE(preferred);
    describe(episode(hoursAgo(-5), QString()), &preferred);
    EXPECT_TRUE(preferred) << "a future air date counts as recent";
    EXPECT_EQ(describe(episode(QStringLiteral("not a date"), QString()), &preferred),
              QStringLiteral("Special"));
    EXPECT_FALSE(preferred);

    const MivoRoles row = manager.contentToRoles(episode(hoursAgo(1), inMinutes(60)), false);
    EXPECT_TRUE(row.preferred());
    EXPECT_TRUE(row.risky());
    EXPECT_TRUE(row.sortKey().startsWith(hoursAgo(1).left(13))) << "sort key is the air date text";
}

TEST_F(ContentManagerTest, TheSmallestLogoWithAUrlIsTheIcon)
{
    MivoSiriusContent content = channel(QStringLiteral("c"), QStringLiteral("Pop"), 1);
    content.setLogos(
        {MivoSiriusLogo().setUrl(QStringLiteral("big")).setWidth(300).setHeight(300),
         MivoSiriusLogo().setUrl(QStringLiteral("medium")).setWidth(100).setHeight(100),
         MivoSiriusLogo().setWidth(50).setHeight(50)});
    EXPECT_EQ(manager.contentToRoles(content, true).icon(), QStringLiteral("medium"));
    content.setLogos({MivoSiriusLogo().setWidth(50).setHeight(50)});
    EXPECT_FALSE(manager.contentToRoles(content, true).hasEntry(MivoRoles::Icon()));
}

TEST_F(ContentManagerTest, ShowAndCategoryRows)
{
    load({channel(QStringLiteral("ch"), QStringLiteral("Talk"), 30)});
    MivoSiriusContent show =
        channel(QStringLiteral("ch"), QStringLiteral("Talk"), 0, MivoSiriusAssetType::Show);
    show.setTitle(QStringLiteral("The Show")).setEpisodeCount(12).setNewEpisodeCount(3);
    MivoRoles row = manager.contentToRoles(show, false);
    EXPECT_EQ(row.description(), QStringLiteral("3 NEW ") + kBullet + QStringLiteral(" Title ch ") +
                                     kBullet + QStringLiteral(" 12 episodes"));
    EXPECT_TRUE(row.preferred());
    EXPECT_EQ(row.sortKey(), QStringLiteral("70")) << "the sort order of the show's channel";
    EXPECT_EQ(row.id(), QStringLiteral("guid-ch"));
    EXPECT_EQ(row.type(), int(MivoRolesType::Container));

    show.setNewEpisodeCount(0);
    row = manager.contentToRoles(show, false);
    EXPECT_EQ(row.description(),
              QStringLiteral("Title ch ") + kBullet + QStringLiteral(" 12 episodes"));
    EXPECT_FALSE(row.preferred());
    show.setEpisodeCount(0);
    EXPECT_EQ(manager.contentToRoles(show, false).description(), QStringLiteral("About ch"));
    show.setChannelId(QStringLiteral("not in the line-up"));
    EXPECT_EQ(manager.contentToRoles(show, false).sortKey(), QStringLiteral("0"))
        << "no crash, no order";

    MivoSiriusContent category =
        channel(QString(), QStringLiteral("Comedy"), 0, MivoSiriusAssetType::Category);
    const MivoRoles categoryRow = manager.contentToRoles(category, true);
    EXPECT_EQ(categoryRow.title(), QStringLiteral("Comedy"));
    EXPECT_EQ(categoryRow.type(), int(MivoRolesType::Container));
    EXPECT_FALSE(categoryRow.hasEntry(MivoRoles::Description()));
}
