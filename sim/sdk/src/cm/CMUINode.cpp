#include "mivosdk/CMUINode.h"

CMUINode::CMUINode(const CMPath& path, QObject* parent)
    : CMNode(path, parent)
{}
