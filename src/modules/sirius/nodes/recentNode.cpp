#include "nodes/recentNode.h"

#include "contentManager/contentManager.h"
#include "nodes/nodesFactory.h"
#include "nodes/registeredNode.h"
#include "nodes/uiHelper.h"
#include "siriusLogging.h"

#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoSiriusContent.h>

namespace {

/// What an empty recents list shows instead: one row with only a title.
QList<MivoRoles> nothingPlayedYet()
{
    return {MivoRoles().setTitle(TrString("RecentNode", "No recently played channels").toString())};
}

/// Why the list could not be fetched, in the user's words.
CMError fetchError(const MivoSiriusBypassStatus& bypass)
{
    return UiHelper::fetchError(
        bypass, TrString("RecentNode", "Bypass mode. Recents disabled."),
        TrString("RecentNode", "Error getting recents. Please check your internet connection"));
}

} // namespace

RecentNode* RecentNode::create(ContentManager* contentManager, NodesFactory* factory,
                               CMNodes* nodes, const CMPath& path)
{
    return registeredNode(new RecentNode(contentManager, factory, path), nodes);
}

RecentNode::RecentNode(ContentManager* contentManager, NodesFactory* factory, const CMPath& path)
    : CMListRowsNode(path)
    , m_contentManager(contentManager)
    , m_factory(factory)
{
    connect(this, &CMNode::rowsPathAdded, this, &RecentNode::on_nodes_rowsPathAdded);
    connect(this, &CMNode::rowsPathRemoved, this, &RecentNode::on_nodes_rowsPathRemoved);
    connect(m_contentManager, &ContentManager::recentChanged, this,
            &RecentNode::on_contentManager_recentChanged);
    connect(m_contentManager, &ContentManager::cutChanged, this,
            &RecentNode::on_contentManager_cutChanged);
    connect(m_contentManager, &ContentManager::onRefresh, this,
            &RecentNode::on_contentManager_refresh);
}

bool RecentNode::getRowsRequest(const CMGetRowsRequest& request)
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    if (!m_needsFetch)
        return CMListRowsNode::getRowsRequest(request);
    m_contentManager->recent()
        .onSuccess(this,
                   [this, request](const QList<MivoRoles>& roles) {
                       m_needsFetch = false;
                       recentItems(roles.isEmpty() ? nothingPlayedYet() : roles);
                       CMListRowsNode::getRowsRequest(request);
                   })
        .onError(this, [this, request](const CMError&) {
            request.reply().setError(fetchError(m_contentManager->bypassStatus()));
        });
    return true;
}

void RecentNode::recentItems(const QList<MivoRoles>& rows)
{
    m_pdtChannelIds = UiHelper::storeRowsWithCuts(this, rows, m_contentManager);
    m_contentManager->registerPdt(path(), m_pdtChannelIds);
}

void RecentNode::on_contentManager_refresh(MivoSiriusModuleType::Enum moduleType)
{
    LOG4CPLUS_TRACE(sirius::cbSiriusLogger(),
                    "Module: " << MivoSiriusModuleType::toString(moduleType).toStdString());
    if (moduleType != MivoSiriusModuleType::Recents)
        return;
    LOG4CPLUS_DEBUG(sirius::cbSiriusLogger(), "Refresh recent");
    m_needsFetch = true;
    rowsChanged(CMSubscribe::RowsChangeReset());
}

void RecentNode::on_contentManager_recentChanged()
{
    m_needsFetch = true;
    rowsChanged(CMSubscribe::RowsChangeReset());
}

void RecentNode::on_contentManager_cutChanged()
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    // Titles of a list nobody holds are refreshed when it is fetched again.
    if (!hasObservers())
        return;
    UiHelper::refreshPdtCuts(this, m_contentManager);
}

void RecentNode::on_nodes_rowsPathAdded(CMPath)
{
    m_contentManager->registerPdt(path(), m_pdtChannelIds);
}

void RecentNode::on_nodes_rowsPathRemoved(CMPath)
{
    if (hasObservers())
        return;
    LOG4CPLUS_DEBUG(sirius::cbSiriusLogger(), "Recent node was closed");
    m_contentManager->unregisterPdt(path());
    // A closed recent list is fetched afresh when it is opened again.
    m_needsFetch = true;
}
