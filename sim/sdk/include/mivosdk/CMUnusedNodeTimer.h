#pragma once
// Thread contract: the node's thread only.

#include <QObject>
#include <QTimer>

class CMNode;

/// Deletes a node (deleteLater) that nobody used for `intervalMs`: every request to the node
/// restarts the time, and while the host holds any rows path on the node it never fires; the
/// time starts again when the last one is released. A child of the node.
class CMUnusedNodeTimer : public QObject
{
    Q_OBJECT
public:
    CMUnusedNodeTimer(CMNode* node, int intervalMs);

private:
    void onUsed();
    void onRowsPathsChanged();
    void onTimeout();

    CMNode* m_node;
    QTimer m_timer;
};
