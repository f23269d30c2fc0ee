#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"
#include "mivosdk/MivoSiriusLogo.h"

/// What is on air now in the playing stream.
class MivoSiriusTrackMetadata : public MivoHash
{
    MIVO_HASH_VALUE(MivoSiriusTrackMetadata)
    MIVO_FIELD(QString, album, Album)
    MIVO_FIELD(QString, artist, Artist)
    MIVO_FIELD(QString, track, Track)
    MIVO_FIELD(QString, trackDescription, TrackDescription)
    MIVO_FIELD(QString, trackId, TrackId)
    MIVO_FIELD(MivoSiriusLogo, albumArt, AlbumArt)
};

Q_DECLARE_METATYPE(MivoSiriusTrackMetadata)
