#include "mivosdk/CMUnusedNodeTimer.h"

#include "mivosdk/CMNode.h"

CMUnusedNodeTimer::CMUnusedNodeTimer(CMNode* node, int intervalMs)
    : QObject(node)
    , m_node(node)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(intervalMs);
    connect(&m_timer, &QTimer::timeout, this, &CMUnusedNodeTimer::onTimeout);
    connect(node, &CMNode::used, this, &CMUnusedNodeTimer::onUsed);
    connect(node, &CMNode::rowsPathAdded, this, &CMUnusedNodeTimer::onRowsPathsChanged);
    connect(node, &CMNode::rowsPathRemoved, this, &CMUnusedNodeTimer::onRowsPathsChanged);
    onRowsPathsChanged();
}

void CMUnusedNodeTimer::onUsed()
{
    if (m_node->rowsPaths().isEmpty())
        m_timer.start();
}

void CMUnusedNodeTimer::onRowsPathsChanged()
{
    if (m_node->rowsPaths().isEmpty())
        m_timer.start();
    else
        m_timer.stop();
}

void CMUnusedNodeTimer::onTimeout()
{
    if (m_node->rowsPaths().isEmpty())
        m_node->deleteLater();
}
