#include "mivosdk/CMActivateNode.h"

#include "mivosdk/CMNodes.h"

CMActivateNode::CMActivateNode(const CMPath& path, QObject* parent)
    : CMNode(path, parent)
{}

CMActivateNode* CMActivateNode::makeRegistered(CMNodes* nodes, const CMPath& path)
{
    auto* node = new CMActivateNode(path, nodes);
    node->setNodes(nodes);
    return node;
}

CMActivateNode* CMActivateNode::create(CMNodes* nodes, const CMPath& path, QObject* receiver,
                                       const char* slot, Qt::ConnectionType type)
{
    CMActivateNode* node = makeRegistered(nodes, path);
    QObject::connect(node, SIGNAL(activated(CMSetDataRequest)), receiver, slot, type);
    return node;
}

bool CMActivateNode::setDataRequest(const CMSetDataRequest& request)
{
    if (request.role() != MivoRoles::Activate())
        return CMNode::setDataRequest(request);
    emit activated(request);
    return true;
}
