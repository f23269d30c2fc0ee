#pragma once
// Thread contract: worker thread only.

#include <mivosdk/CMContainerNode.h>

#include <QVector>

class ContentManager;
class NodesFactory;

/// The on-demand shows of one genre, one channel or everything, grouped under their channels'
/// names in the service's order. Fetched once for the life of the node.
class OnDemandNode : public CMContainerNode
{
    Q_OBJECT
public:
    static OnDemandNode* create(ContentManager* contentManager, NodesFactory* factory,
                                CMNodes* nodes, const CMPath& path, const QString& genre,
                                const QString& channelId);

    OnDemandNode(ContentManager* contentManager, NodesFactory* factory, const CMPath& path,
                 const QString& genre, const QString& channelId);

    bool getRowsRequest(const CMGetRowsRequest& request) override;
    void storeRoles(const QList<MivoRoles>& roles);
    /// Title and icon come from the linking row's path parameters when it has them.
    QVariant getRoleData(const QString& role, const QMap<QString, QString>& params) override;

private:
    void respond(const CMGetRowsRequest& request);

    ContentManager* const m_contentManager;
    NodesFactory* const m_factory;
    QVector<MivoRoles> m_rows;
    const QString m_genre;
    const QString m_channelId;
    bool m_loaded = false;
};
