#include <mivosdk/MivoPlayLogic.h>
#include <mivosdk/MivoRowsRoles.h>
#include <mivosdk/MivoSirius.h>
#include <mivosdk/MivoStreamer.h>

#include <QDataStream>
#include <QJsonDocument>
#include <gtest/gtest.h>

namespace {

/// The way a record travels: as a variant inside another value, through a settings file (JSON),
/// and through a queued signal (QDataStream of the variant).
template <class T>
T throughJson(const T& value)
{
    const QByteArray json = QJsonDocument::fromVariant(value.__variant()).toJson();
    return T(QJsonDocument::fromJson(json).toVariant().toHash());
}

template <class T>
T throughStream(const T& value)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << value.__variant();
    QVariant back;
    QDataStream in(bytes);
    in >> back;
    return T(back.toHash());
}

MivoSiriusContent fullContent()
{
    MivoSiriusContent content;
    content.setAssetType(MivoSiriusAssetType::Episode)
        .setAssetGuid(QStringLiteral("guid-1"))
        .setCategory(QStringLiteral("Rock • Pop"))
        .setCategoryKey(QStringLiteral("rock"))
        .setCategorySortOrder(3)
        .setGenre(QStringLiteral("Rock"))
        .setGenreKey(QStringLiteral("rock"))
        .setGenreIcon(QStringLiteral("http://x/rock.png"))
        .setGenreSortOrder(7)
        .setTitle(QStringLiteral("Café Müller"))
        .setDescription(QStringLiteral("Live at 5"))
        .setLogos(
            {MivoSiriusLogo().setUrl(QStringLiteral("a")).setWidth(100).setHeight(100),
             MivoSiriusLogo().setResourceType(QStringLiteral("png")).setWidth(50).setHeight(50)})
        .setChannelGuid(QStringLiteral("cg"))
        .setChannelId(QStringLiteral("ch45"))
        .setStreamingName(QStringLiteral("stream"))
        .setSiriusChannelNumber(45)
        .setXmChannelNumber(46)
        .setGeoRestrictions(1)
        .setSortOrder(12)
        .setInactivityTimeout(3600)
        .setIsAvailable(true)
        .setIsFavorite(true)
        .setIsXtra(false)
        .setShowGuid(QStringLiteral("show"))
        .setEpisodeCount(12)
        .setNewEpisodeCount(3)
        .setEpisodeGuid(QStringLiteral("ep"))
        .setExpireDate(QStringLiteral("2026-11-23T10:00:00Z"))
        .setOriginalAiredDate(QStringLiteral("2026-11-20T10:00:00Z"))
        .setDuration(3600000)
        .setPercentConsumed(40);
    return content;
}

} // namespace

TEST(SiriusValueTypes, EveryTypeSurvivesJsonAndQueuedSignals)
{
    const MivoSiriusContent content = fullContent();
    EXPECT_EQ(throughJson(content).title(), QStringLiteral("Café Müller"));
    EXPECT_EQ(throughStream(content), content);
    EXPECT_EQ(throughJson(content).logos().at(1).resourceType(), QStringLiteral("png"));
    EXPECT_EQ(throughJson(content).assetType(), MivoSiriusAssetType::Episode);
    EXPECT_EQ(throughJson(content).siriusChannelNumber(), 45);

    MivoSiriusTimebar timebar;
    timebar.setStartTimestamp(1700000000LL)
        .setCurrentTimestamp(1700000090LL)
        .setBufferTimestamp(5000000000LL)
        .setDuration(180000)
        .setIrNavClass(MivoSiriusIrNavClass::Restricted)
        .setSegments({1LL, 5000000000LL, -3LL})
        .setIsLive(true);
    EXPECT_EQ(throughStream(timebar), timebar);
    EXPECT_EQ(throughJson(timebar).bufferTimestamp(), 5000000000LL);
    EXPECT_EQ(throughJson(timebar).segments(), (MivoList<long long>{1LL, 5000000000LL, -3LL}));

    MivoSiriusErrorNotification error;
    error.setLibraryErrorCode(37)
        .setLibraryErrorString(QStringLiteral("ended"))
        .setResponseCode(200)
        .setErrorStop(true)
        .setPlaybackStop(true)
        .setBypassStatus(
            MivoSiriusBypassStatus().setIsPausePoinUnavailable(true).setLoggedDuringBypass(true));
    EXPECT_EQ(throughStream(error), error);
    EXPECT_TRUE(throughJson(error).bypassStatus().isPausePoinUnavailable());
    EXPECT_FALSE(throughJson(error).bypassStatus().isGupUnavailable());

    MivoSiriusPdtCut cut;
    cut.setTime(1763800000123LL)
        .setDuration(240)
        .setChannelId(QStringLiteral("c"))
        .setTitle(QStringLiteral("t"))
        .setArtist(QStringLiteral("a"))
        .setAlbum(QStringLiteral("b"));
    EXPECT_EQ(throughJson(cut).time(), 1763800000123LL);
    EXPECT_EQ(throughStream(cut), cut);

    MivoSiriusTrackMetadata track;
    track.setAlbum(QStringLiteral("al"))
        .setArtist(QStringLiteral("ar"))
        .setTrack(QStringLiteral("tr"))
        .setTrackDescription(QStringLiteral("d"))
        .setTrackId(QStringLiteral("id"))
        .setAlbumArt(MivoSiriusLogo().setUrl(QStringLiteral("u")).setHeight(300));
    EXPECT_EQ(throughJson(track).albumArt().url(), QStringLiteral("u"));

    MivoSiriusFavorite favorite;
    favorite.setAssetGuid(QStringLiteral("g"))
        .setAssetType(MivoSiriusAssetType::Show)
        .setAssetName(QStringLiteral("n"))
        .setChannelId(QStringLiteral("c"))
        .setContentType(QStringLiteral("show"))
        .setChangeType(MivoSiriusFavoriteChangeType::Removed);
    EXPECT_EQ(throughJson(favorite).changeType(), MivoSiriusFavoriteChangeType::Removed);

    MivoSiriusSegmentTime segment;
    segment.setGoLive(true)
        .setIsXtra(true)
        .setSkipsLeft(2)
        .setStartTime(QStringLiteral("s"))
        .setAssetGuid(QStringLiteral("g"))
        .setError(MivoSiriusSegmentTimeError::AlreadyLive)
        .setErrorMsg(QStringLiteral("m"));
    EXPECT_EQ(throughStream(segment), segment);

    MivoSiriusPlayable playable;
    playable.setChannelId(QStringLiteral("c"))
        .setAccessControlId(QStringLiteral("a"))
        .setTimestamp(QStringLiteral("t"))
        .setAssetGuid(QStringLiteral("g"))
        .setBaseUrl(QStringLiteral("b"))
        .setDefaultIcon(QStringLiteral("i"))
        .setMode(MivoSiriusContentMode::Xtra)
        .setPlayLive(true)
        .setRestricted(true);
    EXPECT_EQ(throughJson(playable).mode(), MivoSiriusContentMode::Xtra);
}

TEST(SiriusValueTypes, UnsetFieldsAreAbsentAndReadAsDefaults)
{
    MivoSiriusContent content;
    EXPECT_TRUE(content.isEmpty());
    EXPECT_EQ(content.assetType(), MivoSiriusAssetType::LiveChannel);
    EXPECT_TRUE(content.title().isEmpty());
    content.setTitle(QString());
    EXPECT_FALSE(content.isEmpty()) << "a field set to an empty text is still set";
    EXPECT_EQ(content.__hash().keys(), QStringList{MivoSiriusContent::Title()});
}

TEST(SiriusValueTypes, KeyAccessorsNameTheStoredEntries)
{
    EXPECT_EQ(MivoSiriusContent::AssetGuid(), QStringLiteral("assetGuid"));
    EXPECT_EQ(MivoSiriusBypassStatus::IsPausePoinUnavailableCheck(),
              QStringLiteral("isPausePoinUnavailableCheck"));
    EXPECT_EQ(MivoSiriusPlayable::Timestamp(), QStringLiteral("timestamp"));
    const MivoSiriusContent content = fullContent();
    EXPECT_EQ(content.__hash().value(MivoSiriusContent::GenreKey()).toString(),
              QStringLiteral("rock"));
    EXPECT_EQ(content.__hash().value(MivoSiriusContent::IsXtra()), QVariant(false));
}

TEST(SiriusEnumerations, RoundTripThroughTextAndRejectUnknownText)
{
    for (int i = 0; i <= 4; ++i) {
        const auto value = static_cast<MivoSiriusAssetType::Enum>(i);
        bool ok = false;
        EXPECT_EQ(MivoSiriusAssetType::fromString(MivoSiriusAssetType::toString(value), &ok),
                  value);
        EXPECT_TRUE(ok);
        EXPECT_EQ(MivoSiriusAssetType::fromString(QString::number(i)), value);
    }
    for (int i = 0; i <= 6; ++i) {
        const auto value = static_cast<MivoSiriusSegmentTimeError::Enum>(i);
        EXPECT_EQ(
            MivoSiriusSegmentTimeError::fromString(MivoSiriusSegmentTimeError::toString(value)),
            value);
    }
    for (int i = 0; i <= 3; ++i) {
        const auto value = static_cast<MivoSiriusAudioBitrate::Enum>(i);
        EXPECT_EQ(MivoSiriusAudioBitrate::fromString(MivoSiriusAudioBitrate::toString(value)),
                  value);
    }
    EXPECT_EQ(MivoSiriusModuleType::fromString(
                  MivoSiriusModuleType::toString(MivoSiriusModuleType::Recents)),
              MivoSiriusModuleType::Recents);
    EXPECT_EQ(MivoSiriusContentMode::fromString(QStringLiteral("OnDemand")),
              MivoSiriusContentMode::OnDemand);
    EXPECT_EQ(MivoSiriusFavoriteChangeType::fromString(QStringLiteral("Removed")),
              MivoSiriusFavoriteChangeType::Removed);
    EXPECT_EQ(MivoSiriusIrNavClass::fromString(QStringLiteral("Disallowed")),
              MivoSiriusIrNavClass::Disallowed);

    bool ok = true;
    EXPECT_EQ(MivoSiriusAssetType::fromString(QString(), &ok), MivoSiriusAssetType::Invalid);
    EXPECT_FALSE(ok);
    EXPECT_EQ(MivoSiriusAssetType::fromString(QStringLiteral("5")), MivoSiriusAssetType::Invalid);
    EXPECT_EQ(MivoSiriusAssetType::fromString(QStringLiteral("liveChannel")),
              MivoSiriusAssetType::Invalid)
        << "names are case-sensitive";
}

TEST(HostValueTypes, NestedValuesKeepTheirFields)
{
    MivoMetaData meta;
    meta.setServiceId(QStringLiteral("sirius"))
        .setLive(true)
        .setPlayLogicPath(CMPath("/sirius/playlogic"));
    MivoMediaData media;
    media.setMetaData(meta).setResources(
        {MivoResource()
             .setMimeType(QStringLiteral("audio/aac"))
             .setUri(QStringLiteral("smt2:///tmp/s?queueSizeInBytes=1048576"))});
    MivoRoles roles;
    roles.setId(QStringLiteral("ch1"))
        .setPath(CMPath("/sirius?goLive=&assetGuid=g%20h"))
        .setMediaData(media)
        .setValue(MivoValue().setVariant(fullContent().__variant()))
        .setContext(MivoRoles().setPath(CMPath("/sirius/browse/contextNode?x=1")));

    MivoPlayLogicData data;
    data.setState(MivoPlayLogicState::Playing)
        .setMediaRoles(roles)
        .setControls(MivoPlayLogicControls().setPause(true))
        .setStatus(MivoPlayLogicStatus().setDuration(5));
    const MivoPlayLogicData back = throughJson(data);
    EXPECT_EQ(back.mediaRoles().path().param(QStringLiteral("assetGuid")), QStringLiteral("g h"));
    EXPECT_EQ(back.mediaRoles().mediaData().resources().value(0).uri(),
              QStringLiteral("smt2:///tmp/s?queueSizeInBytes=1048576"));
    EXPECT_EQ(back.mediaRoles().mediaData().metaData().playLogicPath(),
              CMPath("/sirius/playlogic"));
    EXPECT_EQ(MivoSiriusContent(back.mediaRoles().value().toHash()).title(),
              QStringLiteral("Café Müller"));
    EXPECT_EQ(back.mediaRoles().context().path().param(QStringLiteral("x")), QStringLiteral("1"));
    EXPECT_TRUE(back.controls().pause());

    MivoStreamerData streamer;
    EXPECT_FALSE(streamer.hasError());
    streamer.setError(CMError(QStringLiteral("StreamBroken"), TrString("sender went away")));
    EXPECT_TRUE(throughJson(streamer).hasError());

    MivoRowsRoles rows;
    rows.setRows({roles}).setTotal(-1).setRowsRedirect(CMPath("/a/b"));
    EXPECT_TRUE(throughStream(rows).isRedirect());
    EXPECT_EQ(throughStream(rows).rows().value(0).id(), QStringLiteral("ch1"));
}
