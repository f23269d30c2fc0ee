#include "mivosdk/CMQueryNode.h"

CMQueryNode::CMQueryNode(const CMPath& path, QObject* parent)
    : CMContainerNode(path, parent)
{
    setRowType(MivoRolesType::Query);
}

bool CMQueryNode::setDataRequest(const CMSetDataRequest& request)
{
    return queryRequest(request);
}
