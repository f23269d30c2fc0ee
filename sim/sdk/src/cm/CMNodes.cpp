#include "mivosdk/CMNodes.h"

#include "mivosdk/CMContainerNode.h"
#include "mivosdk/CMNode.h"

#include <QDebug>

CMNodes::CMNodes(QObject* parent)
    : QObject(parent)
    , m_subscribe(this)
{}

void CMNodes::add(CMNode* node)
{
    const CMPath key = node->path();
    CMNode* previous = m_nodes.value(key);
    if (previous && previous != node)
        qWarning() << "CMNodes: a second node registered at" << key.toEncoded()
                   << "replaces the first";
    m_nodes.insert(key, node);
}

void CMNodes::remove(CMNode* node)
{
    const auto it = m_nodes.find(node->path());
    // Only the registered node may remove its path: a replaced node going away later must not
    // take its successor with it.
    if (it != m_nodes.end() && it.value() == node)
        m_nodes.erase(it);
}

CMNode* CMNodes::node(const CMPath& path) const
{
    return m_nodes.value(path.withoutParams());
}

MivoRoles CMNodes::resolveLink(const MivoRoles& link) const
{
    const CMPath path = link.path();
    if (auto* container = qobject_cast<CMContainerNode*>(node(path)))
        return container->linkRoles(path);
    MivoRoles roles;
    roles.setPath(path);
    roles.setTitle(path.param(MivoRoles::Title()));
    roles.setIcon(path.param(MivoRoles::Icon()));
    roles.setType(MivoRolesType::Container);
    return roles;
}
