#pragma once
// Thread contract: worker thread only.

#include <mivosdk/CMPath.h>

#include <QHash>
#include <QPointer>
#include <QString>

class CMNodes;
class ChannelNode;
class ContentManager;
class ContextNode;
class FavoriteNode;
class OnDemandEpisodeNode;
class OnDemandNode;
class RecentNode;

/// The browse tree's addressing scheme below the root: turns a wish (the channels of this genre
/// sorted this way, the shows of that channel, the context menu of an item) into a path, making the
/// node that serves the path the first time and handing back the same node afterwards. Nodes live
/// until clear(); every path handed out before a clear() is stale after it.
class NodesFactory
{
public:
    NodesFactory(CMNodes* nodes, const CMPath& path, ContentManager* contentManager,
                 bool fullFeatured);
    ~NodesFactory();
    NodesFactory(const NodesFactory&) = delete;
    NodesFactory& operator=(const NodesFactory&) = delete;

    /// A list of live channels. `sort` is a MivoSiriusContent role key, `filter` a genre key or
    /// empty, `count` the number of channels to announce (0: none), `pdt` whether the rows show
    /// what each channel plays now.
    CMPath makeChannelNode(const QString& title, const QString& icon, const QString& sort,
                           const QString& filter, int count, bool xtra, bool pdt);
    /// The on-demand shows of a genre and/or a channel; empty means all.
    CMPath makeOnDemandNode(const QString& title, const QString& icon, const QString& genre,
                            const QString& channelId);
    CMPath makeOnDemandEpisodeNode(const QString& id, const QString& icon);
    CMPath makeFavoriteNode(const QString& title, const QString& icon);
    CMPath makeRecentNode(const QString& title, const QString& icon);
    CMPath makeContextNode(const QString& title, const QString& channelId, const QString& assetGuid,
                           const QString& assetType);
    CMPath makeRecentContextNode();

    /// Destroys (deleteLater) every node the factory made.
    void clear();

private:
    void ensureContextNode();

    CMNodes* const m_nodes;
    const CMPath m_path;
    ContentManager* const m_contentManager;
    const bool m_fullFeatured;
    // Guarded pointers: the registry's owner may tear nodes down before the factory learns of it.
    QPointer<RecentNode> m_recentNode;
    QPointer<FavoriteNode> m_favoriteNode;
    QPointer<ContextNode> m_contextNode;
    QPointer<OnDemandEpisodeNode> m_onDemandEpisodeNode;
    QHash<CMPath, QPointer<ChannelNode>> m_channelNodes;
    QHash<CMPath, QPointer<OnDemandNode>> m_onDemandNodes;
};
