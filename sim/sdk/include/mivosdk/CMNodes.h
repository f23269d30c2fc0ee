#pragma once
// Thread contract: worker thread only.

#include "mivosdk/CMPath.h"
#include "mivosdk/CMSubscribe.h"
#include "mivosdk/MivoRoles.h"

#include <QHash>
#include <QObject>

class CMNode;

/// The registry of a worker's nodes, keyed by path without parameters. A node leaves it when it is
/// destroyed (deleteLater included). Registering a second node at a path replaces the first in
/// the registry (the first is not deleted; it just no longer receives requests).
class CMNodes : public QObject
{
    Q_OBJECT
public:
    explicit CMNodes(QObject* parent = nullptr);

    void add(CMNode* node);
    void remove(CMNode* node);
    /// The node serving `path` (its parameters are ignored), or null.
    CMNode* node(const CMPath& path) const;
    QList<CMPath> paths() const { return m_nodes.keys(); }

    CMSubscribe& subscribe() { return m_subscribe; }

    /// The roles the host shows for a row that links to another node: path (with parameters) and,
    /// from the linked node, title, icon, description, type and the rest (see CMContainerNode::
    /// linkRoles). A link to a path without a node shows the title and icon of its parameters.
    MivoRoles resolveLink(const MivoRoles& link) const;

private:
    QHash<CMPath, CMNode*> m_nodes;
    CMSubscribe m_subscribe;
};
