#include "mivosdk/MivoMedia.h"

QString MimeTypes::Audio::aac()
{
    return QStringLiteral("audio/aac");
}
