#include "siriusLib/siriusLibHelper.h"

#include "siriusLogging.h"

#include <cstring>

namespace {

/// The library's error code that ends the current playback; only this one code does.
constexpr int kPlaybackEndedCode = 37;

/// Sets `set` with the text when the pointer is not null.
template <class Setter>
void latin1(const char* text, Setter set)
{
    if (text)
        set(QString::fromLatin1(text));
}

template <class Setter>
void utf8(const char* text, Setter set)
{
    if (text)
        set(QString::fromUtf8(text));
}

bool missing(const void* record, const char* what)
{
    if (record)
        return false;
    LOG4CPLUS_ERROR(sirius::siriusLibraryLogger(), "The library passed no " << what << " record");
    return true;
}

/// Points `field` at a UTF-8 copy of `text` held by `keep`.
void keepText(const QString& text, const char** field, QList<QByteArray>* keep)
{
    keep->append(text.toUtf8());
    *field = keep->last().constData();
}

MivoList<MivoSiriusLogo> logosOf(const sxm_content& content)
{
    MivoList<MivoSiriusLogo> logos;
    if (!content.logos || content.logoCount <= 0)
        return logos;
    for (int i = 0; i < content.logoCount; ++i) {
        const sxm_logo& logo = content.logos[i];
        MivoSiriusLogo converted;
        latin1(logo.resourceType, [&](const QString& v) { converted.setResourceType(v); });
        latin1(logo.url, [&](const QString& v) { converted.setUrl(v); });
        converted.setWidth(logo.width).setHeight(logo.height);
        logos.append(converted);
    }
    return logos;
}

} // namespace

MivoSiriusContent SiriusLibHelper::sxmContentToMivo(sxm_content* content)
{
    MivoSiriusContent mivo;
    if (!content)
        return mivo;
    mivo.setAssetType(static_cast<MivoSiriusAssetType::Enum>(content->assetType));
    latin1(content->assetGuid, [&](const QString& v) { mivo.setAssetGuid(v); });
    utf8(content->category, [&](const QString& v) { mivo.setCategory(v); });
    latin1(content->categoryKey, [&](const QString& v) { mivo.setCategoryKey(v); });
    mivo.setCategorySortOrder(content->categorySortOrder);
    utf8(content->genre, [&](const QString& v) { mivo.setGenre(v); });
    latin1(content->genreKey, [&](const QString& v) { mivo.setGenreKey(v); });
    latin1(content->genreIcon, [&](const QString& v) { mivo.setGenreIcon(v); });
    mivo.setGenreSortOrder(content->genreSortOrder);
    utf8(content->title, [&](const QString& v) { mivo.setTitle(v); });
    utf8(content->description, [&](const QString& v) { mivo.setDescription(v); });
    mivo.setLogos(logosOf(*content));
    latin1(content->channelGuid, [&](const QString& v) { mivo.setChannelGuid(v); });
    latin1(content->channelId, [&](const QString& v) { mivo.setChannelId(v); });
    latin1(content->streamingName, [&](const QString& v) { mivo.setStreamingName(v); });
    mivo.setSiriusChannelNumber(content->siriusChannelNumber)
        .setXmChannelNumber(content->xmChannelNumber)
        .setGeoRestrictions(content->geoRestrictions)
        .setSortOrder(content->sortOrder)
        .setInactivityTimeout(content->inactivityTimeout)
        .setIsAvailable(content->isAvailable != 0)
        .setIsFavorite(content->isFavorite != 0)
        .setIsXtra(content->isXtra != 0);
    latin1(content->showGuid, [&](const QString& v) { mivo.setShowGuid(v); });
    mivo.setEpisodeCount(content->episodeCount);
    latin1(content->episodeGuid, [&](const QString& v) { mivo.setEpisodeGuid(v); });
    latin1(content->expireDate, [&](const QString& v) { mivo.setExpireDate(v); });
    latin1(content->originalAiredDate, [&](const QString& v) { mivo.setOriginalAiredDate(v); });
    mivo.setDuration(content->duration).setPercentConsumed(content->percentConsumed);
    return mivo;
}

MivoSiriusTrackMetadata SiriusLibHelper::sxmTrackMetadataToMivo(sxm_trackMetadata* metadata)
{
    MivoSiriusTrackMetadata mivo;
    if (missing(metadata, "track metadata"))
        return mivo;
    latin1(metadata->album, [&](const QString& v) { mivo.setAlbum(v); });
    latin1(metadata->artist, [&](const QString& v) { mivo.setArtist(v); });
    latin1(metadata->track, [&](const QString& v) { mivo.setTrack(v); });
    latin1(metadata->trackDescription, [&](const QString& v) { mivo.setTrackDescription(v); });
    latin1(metadata->trackId, [&](const QString& v) { mivo.setTrackId(v); });
    MivoSiriusLogo art;
    art.setHeight(metadata->albumArtHeight).setWidth(metadata->albumArtWidth);
    latin1(metadata->albumArtUrl, [&](const QString& v) { art.setUrl(v); });
    latin1(metadata->albumArtResourceType, [&](const QString& v) { art.setResourceType(v); });
    mivo.setAlbumArt(art);
    return mivo;
}

MivoSiriusPdtCut SiriusLibHelper::sxmPdtCutToMivo(sxm_pdt_cuts* cut)
{
    MivoSiriusPdtCut mivo;
    if (missing(cut, "program-data cut"))
        return mivo;
    mivo.setTime(cut->time).setDuration(cut->duration);
    latin1(cut->channelId, [&](const QString& v) { mivo.setChannelId(v); });
    latin1(cut->title, [&](const QString& v) { mivo.setTitle(v); });
    latin1(cut->artist, [&](const QString& v) { mivo.setArtist(v); });
    latin1(cut->album, [&](const QString& v) { mivo.setAlbum(v); });
    return mivo;
}

MivoSiriusFavorite SiriusLibHelper::sxmFavoriteToMivo(sxm_favorite* favorite)
{
    MivoSiriusFavorite mivo;
    if (missing(favorite, "favorite"))
        return mivo;
    latin1(favorite->assetGuid, [&](const QString& v) { mivo.setAssetGuid(v); });
    mivo.setAssetType(static_cast<MivoSiriusAssetType::Enum>(favorite->assetType));
    latin1(favorite->assetName, [&](const QString& v) { mivo.setAssetName(v); });
    latin1(favorite->channelId, [&](const QString& v) { mivo.setChannelId(v); });
    latin1(favorite->contentType, [&](const QString& v) { mivo.setContentType(v); });
    mivo.setChangeType(static_cast<MivoSiriusFavoriteChangeType::Enum>(favorite->changeType));
    return mivo;
}

MivoSiriusErrorNotification
SiriusLibHelper::sxmErrorNotificationToMivo(sxm_errorNotification* notification)
{
    MivoSiriusErrorNotification mivo;
    if (missing(notification, "error notification"))
        return mivo;
    MivoSiriusBypassStatus bypass;
    bypass.setIsGupIdUnavailable(notification->isGupIdUnavailable != 0)
        .setIsGupUnavailable(notification->isGupUnavailable != 0)
        .setIsSearchUnavailable(notification->isSearchUnavailable != 0)
        .setIsPausePoinUnavailable(notification->isPausePoinUnavailable != 0)
        .setIsGupIdUnavailableCheck(notification->isGupIdUnavailableCheck != 0)
        .setIsGupUnavailableCheck(notification->isGupUnavailableCheck != 0)
        .setIsSearchUnavailableCheck(notification->isSearchUnavailableCheck != 0)
        .setIsPausePoinUnavailableCheck(notification->isPausePoinUnavailableCheck != 0)
        .setLoggedDuringBypass(notification->loggedDuringBypass != 0);
    mivo.setLibraryErrorCode(notification->libraryErrorCode)
        .setResponseCode(notification->responseCode)
        .setErrorStop(notification->errorStop != 0)
        .setPlaybackStop(notification->libraryErrorCode == kPlaybackEndedCode)
        .setBypassStatus(bypass);
    latin1(notification->errorString, [&](const QString& v) { mivo.setLibraryErrorString(v); });
    return mivo;
}

MivoSiriusTimebar SiriusLibHelper::sxmTimebarDataToMivo(sxm_timebarData* timebar)
{
    MivoSiriusTimebar mivo;
    if (missing(timebar, "timebar"))
        return mivo;
    MivoList<long long> segments;
    if (timebar->segmentCount > 0 && !timebar->segments) {
        LOG4CPLUS_ERROR(sirius::siriusLibraryLogger(),
                        "Timebar announces " << timebar->segmentCount << " segments without data");
    } else {
        for (int i = 0; i < timebar->segmentCount; ++i)
            segments.append(timebar->segments[i]);
    }
    mivo.setStartTimestamp(timebar->startTimestamp)
        .setCurrentTimestamp(timebar->currentTimestamp)
        .setBufferTimestamp(timebar->bufferTimestamp)
        .setDuration(timebar->duration)
        .setIrNavClass(static_cast<MivoSiriusIrNavClass::Enum>(timebar->irNavClass))
        .setSegments(segments)
        .setIsLive(timebar->isLive != 0);
    return mivo;
}

sxm_favorite SiriusLibHelper::mivoFavoriteToSxm(const MivoSiriusFavorite& favorite,
                                                QList<QByteArray>* keep)
{
    sxm_favorite record;
    std::memset(&record, 0, sizeof record);
    record.assetType = static_cast<int32_t>(favorite.assetType());
    record.changeType = static_cast<int32_t>(favorite.changeType());
    if (!keep) {
        LOG4CPLUS_ERROR(sirius::siriusLibraryLogger(),
                        "mivoFavoriteToSxm without a list to keep the texts in; texts left out");
        return record;
    }
    keepText(favorite.assetGuid(), &record.assetGuid, keep);
    keepText(favorite.assetName(), &record.assetName, keep);
    keepText(favorite.channelId(), &record.channelId, keep);
    keepText(favorite.contentType(), &record.contentType, keep);
    return record;
}

sxm_playRequest SiriusLibHelper::mivoPlayableToSxm(const MivoSiriusPlayable& playable,
                                                   PlaybackDataCallback playbackData,
                                                   MetadataStateCallback metadataState,
                                                   QList<QByteArray>* keep)
{
    sxm_playRequest request;
    std::memset(&request, 0, sizeof request);
    if (!keep) {
        LOG4CPLUS_ERROR(sirius::siriusLibraryLogger(),
                        "mivoPlayableToSxm without a list to keep the texts in; texts left out");
    } else {
        keepText(playable.channelId(), &request.channelId, keep);
        keepText(playable.accessControlId(), &request.accessControlId, keep);
        keepText(playable.timestamp(), &request.timestamp, keep);
        keepText(playable.assetGuid(), &request.assetGuid, keep);
        keepText(playable.baseUrl(), &request.baseUrl, keep);
        keepText(playable.defaultIcon(), &request.defaultIcon, keep);
    }
    request.mode = static_cast<int32_t>(playable.mode());
    request.playLive = playable.playLive() ? 1 : 0;
    request.playbackData = playbackData;
    request.metadataState = metadataState;
    return request;
}
