#include "mivosdk/CMAbstractWorker.h"

namespace {

CMError unsupported(const char* what, const QString& worker)
{
    return CMError(TrString("CMAbstractWorker", what).arg(worker));
}

} // namespace

CMAbstractWorker::CMAbstractWorker(QObject* parent)
    : QObject(parent)
{}

bool CMAbstractWorker::getRowsRequest(const CMGetRowsRequest& request)
{
    request.reply().setError(unsupported("Rows are not supported by %1", workerName()));
    return false;
}

bool CMAbstractWorker::getDataRequest(const CMGetDataRequest& request)
{
    request.reply().setError(unsupported("Data is not supported by %1", workerName()));
    return false;
}

bool CMAbstractWorker::setDataRequest(const CMSetDataRequest& request)
{
    request.reply().setError(unsupported("Writing is not supported by %1", workerName()));
    return false;
}

bool CMAbstractWorker::request(const CMRequest& request)
{
    switch (request.kind()) {
    case CMRequest::Kind::GetRows:
        return getRowsRequest(CMGetRowsRequest(request));
    case CMRequest::Kind::GetData:
        return getDataRequest(CMGetDataRequest(request));
    case CMRequest::Kind::SetData:
        return setDataRequest(CMSetDataRequest(request));
    case CMRequest::Kind::Invalid:
        break;
    }
    request.reply().setError(CMError(TrString("CMAbstractWorker", "Invalid request")));
    return false;
}

void CMAbstractWorker::connectRowsChanged(const CMPath&) {}

void CMAbstractWorker::disconnectRowsChanged(const CMPath&) {}

QVariant CMAbstractWorker::getValue(const CMPath&)
{
    return QVariant();
}

void CMAbstractWorker::setValue(const CMPath&, const QVariant&, CMVoidReply reply)
{
    reply.setError(unsupported("Values are not supported by %1", workerName()));
}

void CMAbstractWorker::invoke(const CMPath& path, const QVariant&, CMVoidReply reply)
{
    reply.setError(CMError(TrString("CMAbstractWorker", "No command at %1").arg(path.toEncoded())));
}

int CMAbstractWorker::watchValue(const CMPath&, QObject*, ValueWatcher)
{
    return 0;
}

void CMAbstractWorker::unwatchValue(int) {}

QString CMAbstractWorker::workerName() const
{
    return objectName().isEmpty() ? QString::fromLatin1(metaObject()->className()) : objectName();
}
