#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"
#include "mivosdk/MivoSiriusEnums.h"

/// A favorite to add or remove on the service.
class MivoSiriusFavorite : public MivoHash
{
    MIVO_HASH_VALUE(MivoSiriusFavorite)
    MIVO_FIELD(QString, assetGuid, AssetGuid)
    MIVO_FIELD(MivoSiriusAssetType::Enum, assetType, AssetType)
    MIVO_FIELD(QString, assetName, AssetName)
    MIVO_FIELD(QString, channelId, ChannelId)
    MIVO_FIELD(QString, contentType, ContentType)
    MIVO_FIELD(MivoSiriusFavoriteChangeType::Enum, changeType, ChangeType)
};

Q_DECLARE_METATYPE(MivoSiriusFavorite)
