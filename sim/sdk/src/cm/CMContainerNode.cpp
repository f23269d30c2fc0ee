#include "mivosdk/CMContainerNode.h"

#include "mivosdk/CMNodes.h"
#include "mivosdk/MivoRowsRoles.h"

CMContainerNode::CMContainerNode(const CMPath& path, QObject* parent)
    : CMUINode(path, parent)
{}

QVariant CMContainerNode::getRoleData(const QString& role, const QMap<QString, QString>& params)
{
    Q_UNUSED(params)
    if (role == MivoRoles::Title())
        return m_title.toString();
    if (role == MivoRoles::Icon())
        return m_icon;
    if (role == MivoRoles::Description())
        return m_description.toString();
    if (role == MivoRoles::Type())
        return m_rowType;
    if (role == MivoRoles::ContainerType())
        return m_containerType;
    if (role == MivoRoles::Context()) {
        if (contextPath().isEmpty())
            return QVariant();
        return MivoRoles().setPath(contextPath()).__variant();
    }
    if (role == MivoRoles::SearchPath())
        return m_searchPath.isEmpty() ? QVariant() : QVariant(m_searchPath.toEncoded());
    return QVariant();
}

MivoRoles CMContainerNode::linkRoles(const CMPath& link)
{
    const QMap<QString, QString> params = link.params();
    MivoRoles roles;
    roles.setPath(link);
    for (const QString& role :
         {MivoRoles::Title(), MivoRoles::Icon(), MivoRoles::Description(), MivoRoles::Type(),
          MivoRoles::ContainerType(), MivoRoles::Context(), MivoRoles::SearchPath()}) {
        const QVariant value = getRoleData(role, params);
        if (value.isValid() && !(value.type() == QVariant::String && value.toString().isEmpty()))
            roles.setEntry(role, value);
    }
    return roles;
}

bool CMContainerNode::getDataRequest(const CMGetDataRequest& request)
{
    const QVariant value = getRoleData(request.role(), request.path().params());
    if (!value.isValid()) {
        request.reply().setError(CMError(TrString("CMContainerNode", "No data for %1 at %2")
                                             .arg(request.role())
                                             .arg(path().toEncoded())));
        return false;
    }
    request.reply().setResult(value);
    return true;
}

void CMContainerNode::respondGetRowsRequest(const CMGetRowsRequest& request,
                                            const QList<MivoRoles>& rows, int total)
{
    const int offset = qMin(request.offset(), rows.size());
    const int count = request.count() < 0 ? rows.size() - offset : request.count();
    MivoList<MivoRoles> page;
    for (const MivoRoles& row : rows.mid(offset, count)) {
        if (row.nodeLink() && nodes())
            page.append(nodes()->resolveLink(row));
        else
            page.append(row);
    }
    MivoRowsRoles answer;
    answer.setRows(page).setOffset(offset).setTotal(total);
    request.reply().setResult(answer.__variant());
}
