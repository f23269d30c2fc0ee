#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"
#include "mivosdk/MivoSiriusBypassStatus.h"

/// An error or state notice of the client library.
class MivoSiriusErrorNotification : public MivoHash
{
    MIVO_HASH_VALUE(MivoSiriusErrorNotification)
    MIVO_FIELD(int, libraryErrorCode, LibraryErrorCode)
    MIVO_FIELD(QString, libraryErrorString, LibraryErrorString)
    MIVO_FIELD(int, responseCode, ResponseCode)
    MIVO_FIELD(bool, errorStop, ErrorStop)
    MIVO_FIELD(bool, playbackStop, PlaybackStop)
    MIVO_FIELD(MivoSiriusBypassStatus, bypassStatus, BypassStatus)
};

Q_DECLARE_METATYPE(MivoSiriusErrorNotification)
