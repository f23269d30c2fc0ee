#include "mivosdk/CMNode.h"

#include "mivosdk/CMNodes.h"

CMNode::CMNode(const CMPath& path, QObject* parent)
    : QObject(parent)
    , m_path(path.withoutParams())
{}

CMNode::~CMNode()
{
    if (m_nodes)
        m_nodes->remove(this);
}

void CMNode::setNodes(CMNodes* nodes)
{
    if (m_nodes == nodes)
        return;
    if (m_nodes)
        m_nodes->remove(this);
    m_nodes = nodes;
    if (nodes)
        nodes->add(this);
}

bool CMNode::getRowsRequest(const CMGetRowsRequest& request)
{
    request.reply().setError(CMError(TrString("CMNode", "No rows at %1").arg(m_path.toEncoded())));
    return false;
}

bool CMNode::getDataRequest(const CMGetDataRequest& request)
{
    request.reply().setError(CMError(TrString("CMNode", "No data at %1").arg(m_path.toEncoded())));
    return false;
}

bool CMNode::setDataRequest(const CMSetDataRequest& request)
{
    request.reply().setError(CMError(TrString("CMNode", "%1 is not writable at %2")
                                         .arg(request.role())
                                         .arg(m_path.toEncoded())));
    return false;
}

void CMNode::addRowsPath(const CMPath& path)
{
    m_rowsPaths.append(path);
    emit rowsPathAdded(path);
}

void CMNode::removeRowsPath(const CMPath& path)
{
    if (!m_rowsPaths.removeOne(path))
        return;
    emit rowsPathRemoved(path);
}

CMSubscribe& CMNode::subscribe()
{
    if (m_nodes)
        return m_nodes->subscribe();
    if (!m_ownSubscribe)
        m_ownSubscribe = new CMSubscribe(this);
    return *m_ownSubscribe;
}

void CMNode::rowsChanged(const QString& change, int count)
{
    subscribe().rowsChanged(m_path, change, count);
}
