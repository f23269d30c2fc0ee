#include "mivosdk/CMValueItem.h"

#include "mivosdk/CMRoot.h"

CMValueItem::CMValueItem(const CMPath& path, QObject* parent)
    : QObject(parent)
    , m_path(path)
{
    m_watchId =
        CMRoot()->watchValue(path, this, [this](const QVariant& value, const QVariant& old) {
            const MivoValue now(value.toHash());
            emit changed(now);
            emit changed(now, MivoValue(old.toHash()));
        });
}

CMValueItem::~CMValueItem()
{
    CMRoot()->unwatchValue(m_watchId);
}

MivoValue CMValueItem::value() const
{
    return MivoValue(CMRoot()->getValue(m_path).toHash());
}
