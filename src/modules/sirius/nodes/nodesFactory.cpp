#include "nodes/nodesFactory.h"

#include "nodes/channelNode.h"
#include "nodes/contextNode.h"
#include "nodes/favoriteNode.h"
#include "nodes/onDemandEpisodeNode.h"
#include "nodes/onDemandNode.h"
#include "nodes/recentNode.h"
#include "nodes/registeredNode.h"

#include <mivosdk/MivoRoles.h>
#include <mivosdk/MivoSiriusEnums.h>
#include <mivosdk/TrString.h>

namespace {

QString boolText(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

/// The title and icon of a link travel on its path, so that one node serves links of any title.
CMPath withTitleAndIcon(CMPath path, const QString& title, const QString& icon)
{
    path.addParam(MivoRoles::Title(), title);
    path.addParam(MivoRoles::Icon(), icon);
    return path;
}

/// Deletes every node of `nodes` after emptying it, so that no lookup made while they go can find
/// one of them.
template <class Node>
void deleteAll(QHash<CMPath, QPointer<Node>>& nodes)
{
    const QList<QPointer<Node>> taken = nodes.values();
    nodes = QHash<CMPath, QPointer<Node>>();
    for (const QPointer<Node>& node : taken) {
        if (node)
            node->deleteLater();
    }
}

} // namespace

NodesFactory::NodesFactory(CMNodes* nodes, const CMPath& path, ContentManager* contentManager,
                           bool fullFeatured)
    : m_nodes(nodes)
    , m_path(path)
    , m_contentManager(contentManager)
    , m_fullFeatured(fullFeatured)
{}

NodesFactory::~NodesFactory() = default;

CMPath NodesFactory::makeChannelNode(const QString& title, const QString& icon, const QString& sort,
                                     const QString& filter, int count, bool xtra, bool pdt)
{
    CMPath path = m_path;
    path.appendSubpath(QStringLiteral("channels"))
        .appendSubpath(QStringLiteral("filter:") + filter)
        .appendSubpath(QStringLiteral("sort:") + sort)
        .appendSubpath(QStringLiteral("xtra:") + boolText(xtra))
        .appendSubpath(QStringLiteral("pdt:") + boolText(pdt));
    if (!m_channelNodes.value(path)) {
        ChannelNode* node = ChannelNode::create(m_contentManager, this, m_nodes, path,
                                                m_fullFeatured, sort, filter, xtra, pdt);
        // A genre list offers the menu of its category; an Xtra list offers none.
        if (!filter.isEmpty() && !xtra) {
            node->setContextPath(
                makeContextNode(filter, QString(), QString(),
                                MivoSiriusAssetType::toString(MivoSiriusAssetType::Category)));
        }
        if (count != 0)
            node->setDescription(TrString("NodesFactory", "%1 channels").arg(count));
        m_channelNodes.insert(path, node);
    }
    return withTitleAndIcon(path, title, icon);
}

CMPath NodesFactory::makeOnDemandNode(const QString& title, const QString& icon,
                                      const QString& genre, const QString& channelId)
{
    const QString all = QStringLiteral("all");
    CMPath path = m_path;
    path.appendSubpath(QStringLiteral("onDemand"))
        .appendSubpath(QStringLiteral("genre:") + (genre.isEmpty() ? all : genre))
        .appendSubpath(QStringLiteral("channelId:") + (channelId.isEmpty() ? all : channelId));
    if (!m_onDemandNodes.value(path)) {
        m_onDemandNodes.insert(
            path, OnDemandNode::create(m_contentManager, this, m_nodes, path, genre, channelId));
    }
    return withTitleAndIcon(path, title, icon);
}

CMPath NodesFactory::makeOnDemandEpisodeNode(const QString& id, const QString& icon)
{
    const CMPath path = m_path.subpath(QStringLiteral("onDemandEpisode"));
    if (!m_onDemandEpisodeNode)
        m_onDemandEpisodeNode = OnDemandEpisodeNode::create(m_contentManager, this, m_nodes, path);
    return OnDemandEpisodeNode::buildPath(path, id, icon);
}

CMPath NodesFactory::makeFavoriteNode(const QString& title, const QString& icon)
{
    if (!m_favoriteNode) {
        m_favoriteNode = FavoriteNode::create(m_contentManager, this, m_nodes,
                                              m_path.subpath(QStringLiteral("favorite")));
        m_favoriteNode->setTitle(TrString(title));
        m_favoriteNode->setIcon(icon);
    }
    return m_favoriteNode->path();
}

CMPath NodesFactory::makeRecentNode(const QString& title, const QString& icon)
{
    if (!m_recentNode) {
        m_recentNode = RecentNode::create(m_contentManager, this, m_nodes,
                                          m_path.subpath(QStringLiteral("recent")));
        m_recentNode->setTitle(TrString(title));
        m_recentNode->setIcon(icon);
        m_recentNode->setContextPath(makeRecentContextNode());
    }
    return m_recentNode->path();
}

void NodesFactory::ensureContextNode()
{
    if (!m_contextNode) {
        m_contextNode = ContextNode::create(m_contentManager, this, m_nodes,
                                            m_path.subpath(QStringLiteral("contextNode")));
    }
}

CMPath NodesFactory::makeContextNode(const QString& title, const QString& channelId,
                                     const QString& assetGuid, const QString& assetType)
{
    ensureContextNode();
    return ContextNode::buildPath(m_contextNode->path(), title, channelId, assetGuid, assetType);
}

CMPath NodesFactory::makeRecentContextNode()
{
    ensureContextNode();
    return ContextNode::buildPath(m_contextNode->path());
}

void NodesFactory::clear()
{
    releaseNode(m_recentNode);
    releaseNode(m_favoriteNode);
    releaseNode(m_contextNode);
    releaseNode(m_onDemandEpisodeNode);
    deleteAll(m_channelNodes);
    deleteAll(m_onDemandNodes);
}
