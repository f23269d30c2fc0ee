#include "mivosdk/CMNodesWorker.h"

#include "mivosdk/CMNode.h"

CMNodesWorker::CMNodesWorker(const QVariantHash& settings, const QString& name, QObject* parent)
    : CMWorker(settings, name, parent)
    , m_nodes(new CMNodes(this))
{}

CMNode* CMNodesWorker::route(const CMRequest& request)
{
    CMNode* node = m_nodes->node(request.path());
    if (!node) {
        request.reply().setError(
            CMError(TrString("CMNodesWorker", "Unknown path: %1").arg(request.path().toEncoded())));
        return nullptr;
    }
    node->noteUse();
    return node;
}

bool CMNodesWorker::getRowsRequest(const CMGetRowsRequest& request)
{
    CMNode* node = route(request);
    return node && node->getRowsRequest(request);
}

bool CMNodesWorker::getDataRequest(const CMGetDataRequest& request)
{
    CMNode* node = route(request);
    return node && node->getDataRequest(request);
}

bool CMNodesWorker::setDataRequest(const CMSetDataRequest& request)
{
    CMNode* node = route(request);
    return node && node->setDataRequest(request);
}

void CMNodesWorker::connectRowsChanged(const CMPath& path)
{
    if (CMNode* node = m_nodes->node(path))
        node->addRowsPath(path);
}

void CMNodesWorker::disconnectRowsChanged(const CMPath& path)
{
    if (CMNode* node = m_nodes->node(path))
        node->removeRowsPath(path);
}
