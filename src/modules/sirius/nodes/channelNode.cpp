#include "nodes/channelNode.h"

#include "contentManager/contentManager.h"
#include "nodes/nodesFactory.h"
#include "nodes/registeredNode.h"
#include "nodes/uiHelper.h"
#include "siriusLogging.h"

#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoSiriusContent.h>

ChannelNode* ChannelNode::create(ContentManager* contentManager, NodesFactory* factory,
                                 CMNodes* nodes, const CMPath& path, bool fullFeatured,
                                 const QString& sort, const QString& filter, bool xtra, bool pdt)
{
    return registeredNode(
        new ChannelNode(contentManager, factory, path, fullFeatured, sort, filter, xtra, pdt),
        nodes);
}

ChannelNode::ChannelNode(ContentManager* contentManager, NodesFactory* factory, const CMPath& path,
                         bool fullFeatured, const QString& sort, const QString& filter, bool xtra,
                         bool pdt)
    : CMListRowsNode(path)
    , m_contentManager(contentManager)
    , m_factory(factory)
    , m_filter(filter)
    , m_sort(sort)
    , m_fullFeatured(fullFeatured)
    , m_xtra(xtra)
    , m_pdt(pdt)
{
    // Without program data the rows never change once built, so nothing needs to be watched.
    if (!m_pdt)
        return;
    connect(this, &CMNode::rowsPathAdded, this, &ChannelNode::on_nodes_rowsPathAdded);
    connect(this, &CMNode::rowsPathRemoved, this, &ChannelNode::on_nodes_rowsPathRemoved);
    connect(m_contentManager, &ContentManager::cutChanged, this,
            &ChannelNode::on_contentManager_cutChanged);
}

bool ChannelNode::getRowsRequest(const CMGetRowsRequest& request)
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    LOG4CPLUS_TRACE(sirius::cbSiriusLogger(), "path: " << path().toEncoded().toStdString());
    // The line-up may have changed since the rows were built; the ids follow it on every request
    // while the rows stay as built until the list is closed.
    m_channelIds = m_contentManager->channelIds(query(), m_sort);
    if (!m_loaded) {
        buildRows();
        m_loaded = true;
        registerPdt();
    }
    return CMListRowsNode::getRowsRequest(request);
}

QVariant ChannelNode::getRoleData(const QString& role, const QMap<QString, QString>& params)
{
    if (role == MivoRoles::Title() && params.contains(role))
        return params.value(role);
    if (role == MivoRoles::Icon() && params.contains(role))
        return params.value(role);
    return CMContainerNode::getRoleData(role, params);
}

QVariantHash ChannelNode::query() const
{
    QVariantHash query;
    if (!m_filter.isEmpty())
        query.insert(MivoSiriusContent::GenreKey(), m_filter);
    if (m_xtra)
        query.insert(MivoSiriusContent::IsXtra(), true);
    return query;
}

void ChannelNode::buildRows()
{
    // The ids are collected afresh with the rows, so that a rebuilt list registers each channel
    // once.
    m_pdtChannelIds.clear();
    for (const int id : qAsConst(m_channelIds)) {
        MivoRoles row = m_contentManager->channelRolesById(id, m_pdt);
        const MivoSiriusContent content = UiHelper::contentOf(row);
        // A stored row does not carry the whole content record.
        row.removeEntry(MivoRoles::Value());
        if (m_fullFeatured) {
            row.setContext(UiHelper::contextOf(m_factory, content, content.title()));
        }
        if (UiHelper::assetTypeOf(content) == MivoSiriusAssetType::LiveChannel)
            m_pdtChannelIds.append(row.id());
        rowsAppend(row);
    }
}

void ChannelNode::registerPdt()
{
    // A list without program data shows no cuts, so asking the library for them would only cost
    // traffic.
    if (!m_pdt)
        return;
    if (!m_filter.isEmpty()) {
        // A genre is registered by its key: the library then follows the genre itself, whatever
        // rows this list happens to hold.
        m_contentManager->registerPdt(path(), m_filter);
        return;
    }
    if (!m_pdtChannelIds.isEmpty())
        m_contentManager->registerPdt(path(), m_pdtChannelIds);
}

void ChannelNode::on_nodes_rowsPathAdded(CMPath)
{
    registerPdt();
}

void ChannelNode::on_nodes_rowsPathRemoved(CMPath)
{
    if (hasObservers())
        return;
    m_contentManager->unregisterPdt(path());
    m_loaded = false;
    rowsClear();
}

void ChannelNode::on_contentManager_cutChanged()
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    // Titles of a list nobody holds are refreshed when it is opened and rebuilt.
    if (!hasObservers())
        return;
    UiHelper::refreshPdtCuts(this, m_contentManager);
}
