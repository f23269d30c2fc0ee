#pragma once
// Thread contract: worker thread only.

#include "mivosdk/CMContainerNode.h"

/// A container that keeps its rows: plain rows, or links to other nodes (rowsAppend(CMPath)),
/// which the host sees with the roles of the linked node as they are when it reads the rows.
/// Every change of the rows is announced to the host (CMSubscribe) while anybody holds the list.
class CMListRowsNode : public CMContainerNode
{
    Q_OBJECT
public:
    explicit CMListRowsNode(const CMPath& path, QObject* parent = nullptr);

    QList<MivoRoles> rows() const { return m_rows; }
    int rowsCount() const { return m_rows.size(); }

    void rowsAppend(const MivoRoles& row);
    void rowsAppend(const QList<MivoRoles>& rows);
    /// Appends a link to the node at `path`; its parameters (title, icon, ...) travel with it.
    void rowsAppend(const CMPath& path);
    /// Replaces the row at `index`; an index out of range is logged and ignored.
    void rowsSet(int index, const MivoRoles& row);
    void rowsClear();

    /// MAY override. Default: answers the requested page of the stored rows with their total.
    bool getRowsRequest(const CMGetRowsRequest& request) override;

private:
    void announce(const QString& change, int count);

    QList<MivoRoles> m_rows;
};
