// Registers the SDK's types with Qt's meta-type system when the library loads, so that they can
// travel in queued signals between threads without every user registering them first.

#include "mivosdk/CMRequest.h"
#include "mivosdk/MivoPlayLogic.h"
#include "mivosdk/MivoRowsRoles.h"
#include "mivosdk/MivoSirius.h"
#include "mivosdk/MivoStreamer.h"

namespace {

struct MetaTypeRegistrar
{
    MetaTypeRegistrar()
    {
        qRegisterMetaType<CMPath>("CMPath");
        qRegisterMetaType<CMError>("CMError");
        qRegisterMetaType<CMVoidReply>("CMVoidReply");
        qRegisterMetaType<CMRequest>("CMRequest");
        qRegisterMetaType<CMGetRowsRequest>("CMGetRowsRequest");
        qRegisterMetaType<CMGetDataRequest>("CMGetDataRequest");
        qRegisterMetaType<CMSetDataRequest>("CMSetDataRequest");
        qRegisterMetaType<TrString>("TrString");
        qRegisterMetaType<MivoHash>("MivoHash");
        qRegisterMetaType<MivoValue>("MivoValue");
        qRegisterMetaType<MivoRoles>("MivoRoles");
        qRegisterMetaType<QList<MivoRoles>>("QList<MivoRoles>");
        qRegisterMetaType<MivoRowsRoles>("MivoRowsRoles");
        qRegisterMetaType<MivoPlayLogicData>("MivoPlayLogicData");
        qRegisterMetaType<MivoStreamerData>("MivoStreamerData");
        qRegisterMetaType<MivoSiriusContent>("MivoSiriusContent");
        qRegisterMetaType<MivoSiriusLogo>("MivoSiriusLogo");
        qRegisterMetaType<MivoSiriusTrackMetadata>("MivoSiriusTrackMetadata");
        qRegisterMetaType<MivoSiriusPdtCut>("MivoSiriusPdtCut");
        qRegisterMetaType<MivoSiriusFavorite>("MivoSiriusFavorite");
        qRegisterMetaType<MivoSiriusErrorNotification>("MivoSiriusErrorNotification");
        qRegisterMetaType<MivoSiriusBypassStatus>("MivoSiriusBypassStatus");
        qRegisterMetaType<MivoSiriusTimebar>("MivoSiriusTimebar");
        qRegisterMetaType<MivoSiriusSegmentTime>("MivoSiriusSegmentTime");
        qRegisterMetaType<MivoSiriusPlayable>("MivoSiriusPlayable");
        qRegisterMetaType<MivoSiriusAccount>("MivoSiriusAccount");
        qRegisterMetaType<MivoSiriusModuleType::Enum>("MivoSiriusModuleType::Enum");
        qRegisterMetaType<MivoSiriusAssetType::Enum>("MivoSiriusAssetType::Enum");
    }
};

const MetaTypeRegistrar registrar;

} // namespace
