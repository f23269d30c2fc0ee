#pragma once
// Thread contract: worker thread only.

#include <mivosdk/CMNode.h>
#include <mivosdk/CMNodes.h>

#include <QPointer>

/// Hands `node` to the registry: registered under its path and owned by the registry, so that it
/// goes with the worker's node tree unless its owner lets it go earlier.
template <class Node>
Node* registeredNode(Node* node, CMNodes* nodes)
{
    node->setParent(nodes);
    node->setNodes(nodes);
    return node;
}

/// Lets a node go (deleteLater: it may be in the middle of answering) and forgets it.
template <class Node>
void releaseNode(QPointer<Node>& node)
{
    if (node)
        node->deleteLater();
    node = nullptr;
}
