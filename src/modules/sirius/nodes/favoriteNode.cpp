#include "nodes/favoriteNode.h"

#include "contentManager/contentManager.h"
#include "nodes/nodesFactory.h"
#include "nodes/registeredNode.h"
#include "nodes/uiHelper.h"
#include "siriusLogging.h"

#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoSiriusContent.h>

namespace {

/// Why the list could not be fetched, in the user's words.
CMError fetchError(const MivoSiriusBypassStatus& bypass)
{
    return UiHelper::fetchError(
        bypass, TrString("FavoriteNode", "Favorite shows currently not available"),
        TrString("FavoriteNode", "Error getting favorites. Please check your internet connection"));
}

} // namespace

FavoriteNode* FavoriteNode::create(ContentManager* contentManager, NodesFactory* factory,
                                   CMNodes* nodes, const CMPath& path)
{
    return registeredNode(new FavoriteNode(contentManager, factory, path), nodes);
}

FavoriteNode::FavoriteNode(ContentManager* contentManager, NodesFactory* factory,
                           const CMPath& path)
    : CMListRowsNode(path)
    , m_contentManager(contentManager)
    , m_factory(factory)
{
    connect(this, &CMNode::rowsPathAdded, this, &FavoriteNode::on_nodes_rowsPathAdded);
    connect(this, &CMNode::rowsPathRemoved, this, &FavoriteNode::on_nodes_rowsPathRemoved);
    connect(m_contentManager, &ContentManager::favoritesChanged, this,
            &FavoriteNode::on_contentManager_favoritesChanged);
    connect(m_contentManager, &ContentManager::cutChanged, this,
            &FavoriteNode::on_contentManager_cutChanged);
    connect(m_contentManager, &ContentManager::onRefresh, this,
            &FavoriteNode::on_contentManager_refresh);
}

bool FavoriteNode::getRowsRequest(const CMGetRowsRequest& request)
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    if (m_loaded)
        return CMListRowsNode::getRowsRequest(request);
    m_contentManager->favorites()
        .onSuccess(this,
                   [this, request](const QList<MivoRoles>& roles) {
                       favoriteItems(UiHelper::splitToSections(
                           UiHelper::decorateRoles(roles, m_factory, m_contentManager)));
                       m_loaded = true;
                       getRowsRequest(request);
                   })
        .onError(this, [this, request](const CMError&) {
            request.reply().setError(fetchError(m_contentManager->bypassStatus()));
        });
    return true;
}

void FavoriteNode::favoriteItems(const QList<MivoRoles>& rows)
{
    m_pdtChannelIds = UiHelper::storeRowsWithCuts(this, rows, m_contentManager);
    m_contentManager->registerPdt(path(), m_pdtChannelIds);
}

void FavoriteNode::on_contentManager_refresh(MivoSiriusModuleType::Enum moduleType)
{
    LOG4CPLUS_TRACE(sirius::cbSiriusLogger(),
                    "Module: " << MivoSiriusModuleType::toString(moduleType).toStdString());
    if (moduleType != MivoSiriusModuleType::Favorites)
        return;
    LOG4CPLUS_DEBUG(sirius::cbSiriusLogger(), "Refresh favorites");
    on_contentManager_favoritesChanged();
}

void FavoriteNode::on_contentManager_favoritesChanged()
{
    m_loaded = false;
    rowsChanged(CMSubscribe::RowsChangeReset());
}

void FavoriteNode::on_contentManager_cutChanged()
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    // Titles of a list nobody holds are refreshed when it is fetched again.
    if (!hasObservers())
        return;
    UiHelper::refreshPdtCuts(this, m_contentManager);
}

void FavoriteNode::on_nodes_rowsPathAdded(CMPath)
{
    m_contentManager->registerPdt(path(), m_pdtChannelIds);
}

void FavoriteNode::on_nodes_rowsPathRemoved(CMPath)
{
    if (hasObservers())
        return;
    m_contentManager->unregisterPdt(path());
    m_loaded = false;
}
