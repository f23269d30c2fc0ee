#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"
#include "mivosdk/MivoSiriusEnums.h"

/// The extent of the playing segment: timestamps in seconds, duration in milliseconds.
class MivoSiriusTimebar : public MivoHash
{
    MIVO_HASH_VALUE(MivoSiriusTimebar)
    MIVO_FIELD(qint64, startTimestamp, StartTimestamp)
    MIVO_FIELD(qint64, currentTimestamp, CurrentTimestamp)
    MIVO_FIELD(qint64, bufferTimestamp, BufferTimestamp)
    MIVO_FIELD(int, duration, Duration)
    MIVO_FIELD(MivoSiriusIrNavClass::Enum, irNavClass, IrNavClass)
    MIVO_FIELD(MivoList<long long>, segments, Segments)
    MIVO_FIELD(bool, isLive, IsLive)
};

Q_DECLARE_METATYPE(MivoSiriusTimebar)
