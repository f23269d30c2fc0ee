#pragma once
// Thread contract: worker thread only.

#include "mivosdk/CMNodes.h"
#include "mivosdk/CMWorker.h"

/// A worker that routes every request to the node registered at the request's path (parameters
/// ignored for the lookup, kept in the request). A path without a node is answered with the error
/// "Unknown path: <path>".
class CMNodesWorker : public CMWorker
{
    Q_OBJECT
public:
    CMNodesWorker(const QVariantHash& settings, const QString& name, QObject* parent = nullptr);

    CMNodes* nodes() const { return m_nodes; }
    CMSubscribe& subscribe() { return m_nodes->subscribe(); }

    /// MAY override (call the base to route).
    bool getRowsRequest(const CMGetRowsRequest& request) override;
    bool getDataRequest(const CMGetDataRequest& request) override;
    bool setDataRequest(const CMSetDataRequest& request) override;

    /// The host opened or closed a list: the node at the path gains or loses a rows path.
    void connectRowsChanged(const CMPath& path) override;
    void disconnectRowsChanged(const CMPath& path) override;

private:
    /// The node for a request, after telling it it is used; null (and the reply answered with an
    /// error) when the path has no node.
    CMNode* route(const CMRequest& request);

    CMNodes* m_nodes;
};
