#include "siriusLib/siriusLibHelper.h"

#include <gtest/gtest.h>

namespace {

sxm_content channelRecord()
{
    static sxm_logo logos[] = {{"png", "http://x/100.png", 100, 100}, {"png", nullptr, 50, 50}};
    sxm_content content{};
    content.assetType = SXM_ASSET_LIVE_CHANNEL;
    content.assetGuid = "guid-\xe9"; // an identifier: its bytes are taken as they are (Latin-1)
    content.category = "Rock";
    content.genre = "Caf\xc3\xa9 Hits"; // UTF-8 "Café Hits"
    content.genreKey = "cafe";
    content.title = "M\xc3\xbcller \xe2\x80\xa2 Live"; // UTF-8 "Müller • Live"
    content.description = nullptr;
    content.logos = logos;
    content.logoCount = 2;
    content.channelId = "ch2";
    content.siriusChannelNumber = 2;
    content.isXtra = 7; // any non-zero value is true
    content.inactivityTimeout = 3600;
    return content;
}

} // namespace

TEST(SiriusLibHelper, ContentTextsDecodeAsUtf8OrLatin1AndNullsStayEmpty)
{
    sxm_content record = channelRecord();
    const MivoSiriusContent content = SiriusLibHelper::sxmContentToMivo(&record);
    EXPECT_EQ(content.title(), QStringLiteral("Müller • Live"));
    EXPECT_EQ(content.genre(), QStringLiteral("Café Hits"));
    EXPECT_EQ(content.assetGuid(), QStringLiteral("guid-é")) << "byte 0xE9 read as Latin-1";
    EXPECT_TRUE(content.description().isEmpty());
    EXPECT_FALSE(content.hasEntry(MivoSiriusContent::Description())) << "a null text sets nothing";
    EXPECT_TRUE(content.isXtra());
    EXPECT_FALSE(content.isFavorite());
    EXPECT_EQ(content.inactivityTimeout(), 3600);
    ASSERT_EQ(content.logos().size(), 2);
    EXPECT_EQ(content.logos()[0].url(), QStringLiteral("http://x/100.png"));
    EXPECT_TRUE(content.logos()[1].url().isEmpty());
    EXPECT_EQ(content.logos()[1].width(), 50);

    EXPECT_TRUE(SiriusLibHelper::sxmContentToMivo(nullptr).isEmpty());
    record.logos = nullptr; // a count without an array is not followed
    EXPECT_TRUE(SiriusLibHelper::sxmContentToMivo(&record).logos().isEmpty());
}

TEST(SiriusLibHelper, OnlyCode37StopsPlaybackAndBypassFlagsAreKept)
{
    for (int code : {36, 37}) {
        sxm_errorNotification notification{};
        notification.libraryErrorCode = code;
        notification.isGupUnavailable = 1;
        notification.isPausePoinUnavailableCheck = 2;
        notification.loggedDuringBypass = 1;
        notification.errorString = "Stream \xe9nded";
        const MivoSiriusErrorNotification mivo =
            SiriusLibHelper::sxmErrorNotificationToMivo(&notification);
        EXPECT_EQ(mivo.playbackStop(), code == 37) << code;
        EXPECT_EQ(mivo.libraryErrorCode(), code);
        EXPECT_TRUE(mivo.bypassStatus().isGupUnavailable());
        EXPECT_FALSE(mivo.bypassStatus().isGupIdUnavailable());
        EXPECT_TRUE(mivo.bypassStatus().isPausePoinUnavailableCheck());
        EXPECT_TRUE(mivo.bypassStatus().loggedDuringBypass());
        EXPECT_EQ(mivo.libraryErrorString(), QStringLiteral("Stream énded"));
    }
}

// A record the library did not pass, or a count without its array, is an empty value, not a crash.
TEST(SiriusLibHelper, TimebarSegmentsCopyInOrderAndMissingRecordsGiveEmptyValues)
{
    int64_t segments[] = {10, 5000000000LL, 30};
    sxm_timebarData timebar{};
    timebar.irNavClass = SXM_IRNAV_RESTRICTED;
    timebar.segments = segments;
    timebar.segmentCount = 3;
    MivoSiriusTimebar mivo = SiriusLibHelper::sxmTimebarDataToMivo(&timebar);
    EXPECT_EQ(mivo.segments(), (MivoList<long long>{10, 5000000000LL, 30}));
    EXPECT_EQ(mivo.irNavClass(), MivoSiriusIrNavClass::Restricted);
    timebar.segmentCount = 0;
    EXPECT_TRUE(SiriusLibHelper::sxmTimebarDataToMivo(&timebar).segments().isEmpty());
    EXPECT_TRUE(
        SiriusLibHelper::sxmTimebarDataToMivo(&timebar).hasEntry(MivoSiriusTimebar::Segments()));
    timebar.segments = nullptr;
    timebar.segmentCount = 4;
    EXPECT_TRUE(SiriusLibHelper::sxmTimebarDataToMivo(&timebar).segments().isEmpty());

    EXPECT_TRUE(SiriusLibHelper::sxmTrackMetadataToMivo(nullptr).isEmpty());
    EXPECT_TRUE(SiriusLibHelper::sxmPdtCutToMivo(nullptr).isEmpty());
    EXPECT_TRUE(SiriusLibHelper::sxmFavoriteToMivo(nullptr).isEmpty());
    EXPECT_TRUE(SiriusLibHelper::sxmErrorNotificationToMivo(nullptr).isEmpty());
    EXPECT_TRUE(SiriusLibHelper::sxmTimebarDataToMivo(nullptr).isEmpty());
}

TEST(SiriusLibHelper, HostRecordsPointIntoTheKeptUtf8Copies)
{
    QList<QByteArray> keep;
    MivoSiriusPlayable playable;
    playable.setChannelId(QStringLiteral("c"))
        .setAccessControlId(QStringLiteral("a"))
        .setTimestamp(QStringLiteral("2026-11-22T10:00:00.000Z"))
        .setAssetGuid(QStringLiteral("g"))
        .setMode(MivoSiriusContentMode::OnDemand)
        .setPlayLive(true);
    auto data = [](void*, unsigned char*, int, unsigned int, unsigned int*) {
        return 0;
    };
    const sxm_playRequest request =
        SiriusLibHelper::mivoPlayableToSxm(playable, data, nullptr, &keep);
    EXPECT_STREQ(request.timestamp, "2026-11-22T10:00:00.000Z");
    EXPECT_STREQ(request.baseUrl, "") << "an empty text, not a null pointer";
    EXPECT_EQ(request.mode, 1);
    EXPECT_EQ(request.playLive, 1);
    EXPECT_EQ(request.playbackData, +data);

    MivoSiriusFavorite favorite;
    favorite.setAssetGuid(QStringLiteral("g1")).setAssetType(MivoSiriusAssetType::Category);
    const sxm_favorite noKeep = SiriusLibHelper::mivoFavoriteToSxm(favorite, nullptr);
    EXPECT_EQ(noKeep.assetGuid, nullptr);
    EXPECT_EQ(noKeep.assetType, 4);
}
