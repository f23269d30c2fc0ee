#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"
#include "mivosdk/MivoSiriusEnums.h"
#include "mivosdk/MivoSiriusLogo.h"

/// One content record of the service: a live channel, an Xtra channel, a show, an episode or a
/// category (assetType says which; the other fields are filled as they apply).
class MivoSiriusContent : public MivoHash
{
    MIVO_HASH_VALUE(MivoSiriusContent)
    MIVO_FIELD(MivoSiriusAssetType::Enum, assetType, AssetType)
    MIVO_FIELD(QString, assetGuid, AssetGuid)
    MIVO_FIELD(QString, category, Category)
    MIVO_FIELD(QString, categoryKey, CategoryKey)
    MIVO_FIELD(int, categorySortOrder, CategorySortOrder)
    MIVO_FIELD(QString, genre, Genre)
    MIVO_FIELD(QString, genreKey, GenreKey)
    MIVO_FIELD(QString, genreIcon, GenreIcon)
    MIVO_FIELD(int, genreSortOrder, GenreSortOrder)
    MIVO_FIELD(QString, title, Title)
    MIVO_FIELD(QString, description, Description)
    MIVO_FIELD(MivoList<MivoSiriusLogo>, logos, Logos)
    MIVO_FIELD(QString, channelGuid, ChannelGuid)
    MIVO_FIELD(QString, channelId, ChannelId)
    MIVO_FIELD(QString, streamingName, StreamingName)
    MIVO_FIELD(int, siriusChannelNumber, SiriusChannelNumber)
    MIVO_FIELD(int, xmChannelNumber, XmChannelNumber)
    MIVO_FIELD(int, geoRestrictions, GeoRestrictions)
    MIVO_FIELD(int, sortOrder, SortOrder)
    MIVO_FIELD(int, inactivityTimeout, InactivityTimeout)
    MIVO_FIELD(bool, isAvailable, IsAvailable)
    MIVO_FIELD(bool, isFavorite, IsFavorite)
    MIVO_FIELD(bool, isXtra, IsXtra)
    MIVO_FIELD(QString, showGuid, ShowGuid)
    MIVO_FIELD(int, episodeCount, EpisodeCount)
    MIVO_FIELD(int, newEpisodeCount, NewEpisodeCount)
    MIVO_FIELD(QString, episodeGuid, EpisodeGuid)
    MIVO_FIELD(QString, expireDate, ExpireDate)
    MIVO_FIELD(QString, originalAiredDate, OriginalAiredDate)
    MIVO_FIELD(int, duration, Duration)
    MIVO_FIELD(int, percentConsumed, PercentConsumed)
};

Q_DECLARE_METATYPE(MivoSiriusContent)
