#pragma once
// Thread contract: worker thread only.

#include <mivosdk/CMContainerNode.h>

#include <QVector>

class ContentManager;
class NodesFactory;

/// The one node behind every context menu; the requested path's parameters name the item. The
/// menu offers adding or removing the item as a favorite and a link to its on-demand shows, or,
/// for the recent list, clearing it. The actions are carried out where their paths lead.
class ContextNode : public CMContainerNode
{
    Q_OBJECT
public:
    static ContextNode* create(ContentManager* contentManager, NodesFactory* factory,
                               CMNodes* nodes, const CMPath& path);

    ContextNode(ContentManager* contentManager, NodesFactory* factory, const CMPath& path);

    /// The menu of one item.
    static CMPath buildPath(const CMPath& path, const QString& title, const QString& channelId,
                            const QString& assetGuid, const QString& assetType);
    /// The menu of the recent list.
    static CMPath buildPath(const CMPath& path);

    bool getRowsRequest(const CMGetRowsRequest& request) override;
    void clearRecent(const CMGetRowsRequest& request);
    void addOnDemand(QVector<MivoRoles>& rows, const QString& assetType, const CMPath& path);

private:
    ContentManager* const m_contentManager;
    NodesFactory* const m_factory;
};
