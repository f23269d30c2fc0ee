#include "nodes/pdtSubNode.h"

#include "contentManager/contentManager.h"
#include "nodes/registeredNode.h"
#include "nodes/uiHelper.h"
#include "siriusLogging.h"

#include <mivosdk/CMNodes.h>

PdtSubNode* PdtSubNode::create(ContentManager* contentManager, CMNodes* nodes, const CMPath& path,
                               const QList<MivoRoles>& rows)
{
    return registeredNode(new PdtSubNode(contentManager, path, rows), nodes);
}

PdtSubNode::PdtSubNode(ContentManager* contentManager, const CMPath& path,
                       const QList<MivoRoles>& rows)
    : CMListRowsNode(path)
    , m_contentManager(contentManager)
{
    for (MivoRoles row : rows) {
        if (UiHelper::isLiveChannel(row))
            m_pdtChannelIds.append(row.id());
        row.removeEntry(MivoRoles::Value());
        rowsAppend(row);
    }
    connect(this, &CMNode::rowsPathAdded, this, &PdtSubNode::on_nodes_rowsPathAdded);
    connect(this, &CMNode::rowsPathRemoved, this, &PdtSubNode::on_nodes_rowsPathRemoved);
    connect(contentManager, &ContentManager::cutChanged, this,
            &PdtSubNode::on_contentManager_cutChanged);
}

PdtSubNode::~PdtSubNode()
{
    // A list that goes away must not keep its channels' program data coming; but a successor
    // registered at the same path (a refreshed category) keeps its registration.
    const CMNode* current = nodes() ? nodes()->node(path()) : nullptr;
    if (m_contentManager && (!current || current == this))
        m_contentManager->unregisterPdt(path());
}

void PdtSubNode::on_nodes_rowsPathAdded(CMPath)
{
    if (m_contentManager)
        m_contentManager->registerPdt(path(), m_pdtChannelIds);
}

void PdtSubNode::on_nodes_rowsPathRemoved(CMPath)
{
    if (m_contentManager && rowsPaths().isEmpty())
        m_contentManager->unregisterPdt(path());
}

void PdtSubNode::on_contentManager_cutChanged()
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    if (!m_contentManager)
        return;
    UiHelper::refreshPdtCuts(this, m_contentManager);
}
