#pragma once
// Thread contract: plain values (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"

class MivoRoles;

namespace MimeTypes {
namespace Audio {
/// AAC audio (ADTS framing when streamed).
QString aac();
} // namespace Audio
} // namespace MimeTypes

/// Describes a playable item for the host's player: who plays it and what it is.
class MivoMetaData : public MivoHash
{
    MIVO_HASH_VALUE(MivoMetaData)
    MIVO_FIELD(QString, serviceId, ServiceId)
    MIVO_FIELD(QString, genre, Genre)
    MIVO_FIELD(bool, live, Live)
    /// The play-logic node that plays the item.
    MIVO_FIELD(CMPath, playLogicPath, PlayLogicPath)
    MIVO_FIELD(QString, artist, Artist)
    MIVO_FIELD(QString, album, Album)
    /// Roles of rows the host should show as "the same item" (stored hashes of MivoRoles).
    MIVO_FIELD(QVariantList, matchingMediaRoles, MatchingMediaRoles)
};

/// One way to fetch the item's media.
class MivoResource : public MivoHash
{
    MIVO_HASH_VALUE(MivoResource)
    MIVO_FIELD(QString, mimeType, MimeType)
    /// Milliseconds; 0 for an endless stream.
    MIVO_FIELD(int, duration, Duration)
    MIVO_FIELD(QString, uri, Uri)
};

/// A row's media data: its metadata and the resources it can be played from.
class MivoMediaData : public MivoHash
{
    MIVO_HASH_VALUE(MivoMediaData)
    MIVO_FIELD(MivoMetaData, metaData, MetaData)
    MIVO_FIELD(MivoList<MivoResource>, resources, Resources)
};

Q_DECLARE_METATYPE(MivoMetaData)
Q_DECLARE_METATYPE(MivoResource)
Q_DECLARE_METATYPE(MivoMediaData)
