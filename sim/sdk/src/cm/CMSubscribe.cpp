#include "mivosdk/CMSubscribe.h"

CMSubscribe::CMSubscribe(QObject* parent)
    : QObject(parent)
{}

QString CMSubscribe::RowsChangeReset()
{
    return QStringLiteral("reset");
}

QString CMSubscribe::RowsChangeClose()
{
    return QStringLiteral("close");
}

QString CMSubscribe::RowsChangeInsert()
{
    return QStringLiteral("insert");
}

QString CMSubscribe::RowsChangeUpdate()
{
    return QStringLiteral("update");
}

void CMSubscribe::rowsChanged(const CMPath& path, const QString& change, int count)
{
    emit changed(path, change, count);
}
