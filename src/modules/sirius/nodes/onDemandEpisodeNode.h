#pragma once
// Thread contract: worker thread only.

#include <mivosdk/CMContainerNode.h>

class CMListRowsNode;
class ContentManager;
class NodesFactory;

/// The one node behind every show's episode list: the requested path names the show ("id") and
/// its icon; each answer redirects the host to a fresh list of that show's episodes, which goes
/// away ten seconds after its last use.
class OnDemandEpisodeNode : public CMContainerNode
{
    Q_OBJECT
public:
    static OnDemandEpisodeNode* create(ContentManager* contentManager, NodesFactory* factory,
                                       CMNodes* nodes, const CMPath& path);

    OnDemandEpisodeNode(ContentManager* contentManager, NodesFactory* factory, const CMPath& path);

    static CMPath buildPath(const CMPath& path, const QString& id, const QString& icon);

    bool getRowsRequest(const CMGetRowsRequest& request) override;

private:
    /// The fresh list of one answer, registered and set to go away when unused.
    CMListRowsNode* createEpisodeList(const QString& showId, const QString& showIcon,
                                      const QList<MivoRoles>& roles);
    CMPath uniqueListPath(const QString& showId) const;

    ContentManager* const m_contentManager;
    NodesFactory* const m_factory;
};
