#include "mivosdk/CMListRowsNode.h"

#include <QDebug>

CMListRowsNode::CMListRowsNode(const CMPath& path, QObject* parent)
    : CMContainerNode(path, parent)
{}

void CMListRowsNode::rowsAppend(const MivoRoles& row)
{
    m_rows.append(row);
    announce(CMSubscribe::RowsChangeInsert(), 1);
}

void CMListRowsNode::rowsAppend(const QList<MivoRoles>& rows)
{
    if (rows.isEmpty())
        return;
    m_rows.append(rows);
    announce(CMSubscribe::RowsChangeInsert(), rows.size());
}

void CMListRowsNode::rowsAppend(const CMPath& path)
{
    MivoRoles link;
    link.setPath(path);
    link.setNodeLink(true);
    rowsAppend(link);
}

void CMListRowsNode::rowsSet(int index, const MivoRoles& row)
{
    if (index < 0 || index >= m_rows.size()) {
        qWarning() << "CMListRowsNode::rowsSet: index" << index << "out of range at"
                   << path().toEncoded() << "with" << m_rows.size() << "rows";
        return;
    }
    m_rows[index] = row;
    announce(CMSubscribe::RowsChangeUpdate(), 1);
}

void CMListRowsNode::rowsClear()
{
    m_rows.clear();
    announce(CMSubscribe::RowsChangeReset(), -1);
}

bool CMListRowsNode::getRowsRequest(const CMGetRowsRequest& request)
{
    respondGetRowsRequest(request, m_rows, m_rows.size());
    return true;
}

void CMListRowsNode::announce(const QString& change, int count)
{
    // Nobody reads notices of a list that no one holds; the next read sees the rows anyway.
    if (!rowsPaths().isEmpty())
        rowsChanged(change, count);
}
