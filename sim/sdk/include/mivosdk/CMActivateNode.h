#pragma once
// Thread contract: worker thread only; the slot runs on the receiver's thread.

#include "mivosdk/CMNode.h"
#include "mivosdk/MivoRoles.h"

class CMNodes;

/// A node that runs an action when the host activates its path: a set-data request with the role
/// MivoRoles::Activate() is passed to the connected slot, which answers it. Other roles are
/// refused with an error.
class CMActivateNode : public CMNode
{
    Q_OBJECT
public:
    explicit CMActivateNode(const CMPath& path, QObject* parent = nullptr);

    /// Makes the node, registers it in `nodes` and connects `activated` to `slot` of `receiver`
    /// with `type`. The receiver owns nothing; the node is a child of the registry.
    template <class Receiver>
    static CMActivateNode* create(CMNodes* nodes, const CMPath& path, Receiver* receiver,
                                  void (Receiver::*slot)(const CMSetDataRequest&),
                                  Qt::ConnectionType type = Qt::AutoConnection)
    {
        CMActivateNode* node = makeRegistered(nodes, path);
        QObject::connect(node, &CMActivateNode::activated, receiver, slot, type);
        return node;
    }
    /// The same with a slot named by SLOT(...).
    static CMActivateNode* create(CMNodes* nodes, const CMPath& path, QObject* receiver,
                                  const char* slot, Qt::ConnectionType type = Qt::AutoConnection);

    bool setDataRequest(const CMSetDataRequest& request) override;

signals:
    void activated(const CMSetDataRequest& request);

private:
    static CMActivateNode* makeRegistered(CMNodes* nodes, const CMPath& path);
};
