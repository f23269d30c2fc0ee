#include "mivosdk/CMWorker.h"

CMWorker::CMWorker(const QVariantHash& settings, const QString& name, QObject* parent)
    : CMAbstractWorker(parent)
    , m_settings(settings)
    , m_name(name)
{
    setObjectName(name);
}
