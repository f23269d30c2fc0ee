#pragma once
// Thread contract: worker thread only (the thread of the registry it belongs to).

#include "mivosdk/CMNodes.h"
#include "mivosdk/CMRequest.h"
#include "mivosdk/CMSubscribe.h"

#include <QObject>
#include <QPointer>

/// A node of the content tree at one path (without parameters). The worker routes the host's
/// requests for that path, whatever their parameters, to it.
///
/// Request handlers answer through the request's reply, now or later, and return true when they
/// took the request (including when they answered it with an error after looking at it) and false
/// when they refused it outright; a refused request has an error on its reply either way.
///
/// A list the host has open is a "rows path" held on the node: rowsPaths() lists them (one entry
/// per open, the same path may be held twice), rowsPathAdded/rowsPathRemoved tell of changes.
class CMNode : public QObject
{
    Q_OBJECT
public:
    explicit CMNode(const CMPath& path, QObject* parent = nullptr);
    ~CMNode() override;

    CMPath path() const { return m_path; }

    /// Registers the node in `nodes` under its path; a node belongs to one registry at a time.
    void setNodes(CMNodes* nodes);
    CMNodes* nodes() const { return m_nodes; }

    /// MAY override. Default: answers the error "No rows at <path>" and returns false.
    virtual bool getRowsRequest(const CMGetRowsRequest& request);
    /// MAY override. Default: answers the error "No data at <path>" and returns false.
    virtual bool getDataRequest(const CMGetDataRequest& request);
    /// MAY override. Default: answers the error "<role> is not writable at <path>" and returns
    /// false.
    virtual bool setDataRequest(const CMSetDataRequest& request);

    QList<CMPath> rowsPaths() const { return m_rowsPaths; }
    /// The host opened (added) or closed (removed) a list at `path`. Called by the worker.
    void addRowsPath(const CMPath& path);
    void removeRowsPath(const CMPath& path);

    /// The registry's change channel; a node without a registry gets a private one that nobody
    /// listens to.
    CMSubscribe& subscribe();
    /// Announces a change of this node's rows to the host.
    void rowsChanged(const QString& change, int count = -1);

    /// Called by the worker before it hands the node a request (CMUnusedNodeTimer listens).
    void noteUse() { emit used(); }

signals:
    void rowsPathAdded(CMPath path);
    void rowsPathRemoved(CMPath path);
    void used();

private:
    const CMPath m_path;
    QPointer<CMNodes> m_nodes;
    QList<CMPath> m_rowsPaths;
    CMSubscribe* m_ownSubscribe = nullptr;
};
