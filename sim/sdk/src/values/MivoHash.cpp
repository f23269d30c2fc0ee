#include "mivosdk/MivoHash.h"

QDebug operator<<(QDebug debug, const MivoHash& hash)
{
    QDebugStateSaver saver(debug);
    debug.nospace() << hash.__hash();
    return debug;
}
