#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"
#include "mivosdk/MivoSiriusEnums.h"

/// Where a next/previous skip lands, or why it cannot.
class MivoSiriusSegmentTime : public MivoHash
{
    MIVO_HASH_VALUE(MivoSiriusSegmentTime)
    MIVO_FIELD(bool, goLive, GoLive)
    MIVO_FIELD(bool, isXtra, IsXtra)
    MIVO_FIELD(int, skipsLeft, SkipsLeft)
    MIVO_FIELD(QString, startTime, StartTime)
    MIVO_FIELD(QString, assetGuid, AssetGuid)
    MIVO_FIELD(MivoSiriusSegmentTimeError::Enum, error, Error)
    MIVO_FIELD(QString, errorMsg, ErrorMsg)
};

Q_DECLARE_METATYPE(MivoSiriusSegmentTime)
