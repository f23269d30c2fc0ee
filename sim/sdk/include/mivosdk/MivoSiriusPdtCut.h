#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"

/// One program-data cut: a track on a channel, stamped with its time (ms since the epoch).
class MivoSiriusPdtCut : public MivoHash
{
    MIVO_HASH_VALUE(MivoSiriusPdtCut)
    MIVO_FIELD(qint64, time, Time)
    MIVO_FIELD(int, duration, Duration)
    MIVO_FIELD(QString, channelId, ChannelId)
    MIVO_FIELD(QString, title, Title)
    MIVO_FIELD(QString, artist, Artist)
    MIVO_FIELD(QString, album, Album)
};

Q_DECLARE_METATYPE(MivoSiriusPdtCut)
