#pragma once
// Thread contract: worker thread only.

#include "mivosdk/CMUINode.h"
#include "mivosdk/MivoRoles.h"

#include <QMap>

/// A node with a title, an icon and a description that other lists link to; the host reads its
/// rows or its roles.
class CMContainerNode : public CMUINode
{
    Q_OBJECT
public:
    explicit CMContainerNode(const CMPath& path, QObject* parent = nullptr);

    TrString title() const { return m_title; }
    void setTitle(const TrString& title) { m_title = title; }
    QString icon() const { return m_icon; }
    void setIcon(const QString& icon) { m_icon = icon; }
    TrString description() const { return m_description; }
    void setDescription(const TrString& description) { m_description = description; }
    /// Where the host finds this list's search entry (a container holding a query node).
    CMPath searchPath() const { return m_searchPath; }
    void setSearchPath(const CMPath& path) { m_searchPath = path; }
    int containerType() const { return m_containerType; }
    void setContainerType(int type) { m_containerType = type; }
    /// The row type the host shows for a link to this node (MivoRolesType; Container by default).
    int rowType() const { return m_rowType; }
    void setRowType(int type) { m_rowType = type; }

    /// MAY override. The value of `role` for a link to this node carrying `params`. Default: the
    /// node's title, icon, description, type, container type, context path and search path under
    /// the MivoRoles keys; an invalid variant for other roles. Subclasses answer title and icon
    /// from the parameters when links carry them.
    virtual QVariant getRoleData(const QString& role, const QMap<QString, QString>& params);

    /// The roles of a row linking to this node through `link` (a path with parameters).
    MivoRoles linkRoles(const CMPath& link);

    /// Default: answers getRoleData(request.role(), path parameters); an unknown role is the error
    /// "No data for <role> at <path>".
    bool getDataRequest(const CMGetDataRequest& request) override;

    /// Answers a get-rows request with the page of `rows` that it asks for, resolving rows that
    /// link to nodes; `total` is announced as it is (-1: not announced).
    void respondGetRowsRequest(const CMGetRowsRequest& request, const QList<MivoRoles>& rows,
                               int total = -1);

private:
    TrString m_title;
    QString m_icon;
    TrString m_description;
    CMPath m_searchPath;
    int m_containerType = MivoRolesContainerType::List;
    int m_rowType = MivoRolesType::Container;
};
