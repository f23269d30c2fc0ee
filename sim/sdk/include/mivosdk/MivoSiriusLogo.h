#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"

/// One logo of a channel, show or episode; several sizes exist, some without a URL.
class MivoSiriusLogo : public MivoHash
{
    MIVO_HASH_VALUE(MivoSiriusLogo)
    MIVO_FIELD(QString, resourceType, ResourceType)
    MIVO_FIELD(QString, url, Url)
    MIVO_FIELD(int, width, Width)
    MIVO_FIELD(int, height, Height)
};

Q_DECLARE_METATYPE(MivoSiriusLogo)
