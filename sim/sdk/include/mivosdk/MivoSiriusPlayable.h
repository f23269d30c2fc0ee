#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"
#include "mivosdk/MivoSiriusEnums.h"

/// What the library is asked to play.
class MivoSiriusPlayable : public MivoHash
{
    MIVO_HASH_VALUE(MivoSiriusPlayable)
    MIVO_FIELD(QString, channelId, ChannelId)
    MIVO_FIELD(QString, accessControlId, AccessControlId)
    MIVO_FIELD(QString, timestamp, Timestamp)
    MIVO_FIELD(QString, assetGuid, AssetGuid)
    MIVO_FIELD(QString, baseUrl, BaseUrl)
    MIVO_FIELD(QString, defaultIcon, DefaultIcon)
    MIVO_FIELD(MivoSiriusContentMode::Enum, mode, Mode)
    MIVO_FIELD(bool, playLive, PlayLive)
    MIVO_FIELD(bool, restricted, Restricted)
};

Q_DECLARE_METATYPE(MivoSiriusPlayable)
