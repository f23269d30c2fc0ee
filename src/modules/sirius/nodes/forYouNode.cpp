#include "nodes/forYouNode.h"

#include "contentManager/contentManager.h"
#include "nodes/nodesFactory.h"
#include "nodes/pdtSubNode.h"
#include "nodes/registeredNode.h"
#include "nodes/uiHelper.h"
#include "siriusLogging.h"

#include <mivosdk/MivoSiriusContent.h>

#include <QMap>

#include <algorithm>

namespace {

/// The rows of a reply by their content's category; QMap keeps the categories in plain string
/// order, and each category's rows stay in reply order.
QMap<QString, QList<MivoRoles>> byCategory(const QList<MivoRoles>& roles)
{
    QMap<QString, QList<MivoRoles>> groups;
    for (const MivoRoles& row : roles)
        groups[UiHelper::contentOf(row).category()].append(row);
    return groups;
}

/// decorateRoles marks each row with its asset type's text as sort key.
bool holdsLiveChannel(const QList<MivoRoles>& items)
{
    return std::any_of(items.cbegin(), items.cend(), [](const MivoRoles& item) {
        return item.hasEntry(MivoRoles::SortKey()) &&
               MivoSiriusAssetType::fromString(item.sortKey()) == MivoSiriusAssetType::LiveChannel;
    });
}

/// The rows as a list keeps them: without the whole content record each one carries.
QList<MivoRoles> withoutContent(QList<MivoRoles> rows)
{
    for (MivoRoles& row : rows)
        row.removeEntry(MivoRoles::Value());
    return rows;
}

/// A path segment made of a category's name: spaces and apostrophes are left out.
QString segmentOf(QString category)
{
    return category.remove(QLatin1Char(' ')).remove(QLatin1Char('\''));
}

/// Why the list could not be fetched, in the user's words.
CMError fetchError(const MivoSiriusBypassStatus& bypass)
{
    return UiHelper::fetchError(
        bypass, TrString("ForYouNode", "ForYou currently not available"),
        TrString("ForYouNode", "Error getting ForYou. Please check your internet connection"));
}

} // namespace

ForYouNode* ForYouNode::create(ContentManager* contentManager, NodesFactory* factory,
                               CMNodes* nodes, const CMPath& path)
{
    return registeredNode(new ForYouNode(contentManager, factory, path), nodes);
}

ForYouNode::ForYouNode(ContentManager* contentManager, NodesFactory* factory, const CMPath& path)
    : CMListRowsNode(path)
    , m_contentManager(contentManager)
    , m_factory(factory)
{
    connect(m_contentManager, &ContentManager::onRefresh, this,
            &ForYouNode::on_contentManager_refresh);
}

bool ForYouNode::getRowsRequest(const CMGetRowsRequest& request)
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    if (!m_needsFetch)
        return CMListRowsNode::getRowsRequest(request);
    // Cleared before the reply arrives, so that a request meanwhile is answered from the rows as
    // they are instead of fetching the same list a second time.
    m_needsFetch = false;
    m_contentManager->forYou()
        .onSuccess(this,
                   [this, request](const QList<MivoRoles>& roles) {
                       handleForYouResponse(request, roles);
                       CMListRowsNode::getRowsRequest(request);
                   })
        .onError(this, [this, request](const CMError&) {
            // Nothing was listed, so the next request tries again rather than showing an empty
            // list as if the service had nothing to recommend.
            m_needsFetch = true;
            request.reply().setError(fetchError(m_contentManager->bypassStatus()));
        });
    return true;
}

void ForYouNode::handleForYouResponse(const CMGetRowsRequest& request,
                                      const QList<MivoRoles>& roles)
{
    Q_UNUSED(request)
    LOG4CPLUS_DEBUG(sirius::cbSiriusLogger(), "Enter " << SIRIUS_FUNCTION_SIGNATURE);
    rowsClear();
    const QMap<QString, QList<MivoRoles>> groups = byCategory(roles);
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        const QList<MivoRoles> items =
            UiHelper::decorateRoles(group.value(), m_factory, m_contentManager);
        const CMPath childPath = path().subpath(segmentOf(group.key()));
        CMListRowsNode* child = nullptr;
        if (holdsLiveChannel(items)) {
            // Live channels show what they play now while the category is open.
            child = PdtSubNode::create(m_contentManager, nodes(), childPath, items);
        } else {
            child = registeredNode(new CMListRowsNode(childPath), nodes());
            child->rowsAppend(withoutContent(items));
        }
        child->setTitle(TrString(group.key()));
        m_subNodes.append(child);
        CMListRowsNode::rowsAppend(child->path());
    }
}

ForYouNode::~ForYouNode()
{
    dropSubNodes();
}

void ForYouNode::rowsClear()
{
    CMListRowsNode::rowsClear();
    dropSubNodes();
}

void ForYouNode::dropSubNodes()
{
    // The category lists belong to the registry; left there, every refresh would add a set.
    for (const QPointer<CMListRowsNode>& subNode : qAsConst(m_subNodes)) {
        if (subNode)
            subNode->deleteLater();
    }
    m_subNodes.clear();
}

void ForYouNode::on_contentManager_refresh(MivoSiriusModuleType::Enum moduleType)
{
    LOG4CPLUS_TRACE(sirius::cbSiriusLogger(),
                    "Module: " << MivoSiriusModuleType::toString(moduleType).toStdString());
    LOG4CPLUS_DEBUG(sirius::cbSiriusLogger(), "Refresh forYou");
    m_needsFetch = true;
    subscribe().rowsChanged(path(), CMSubscribe::RowsChangeReset(), -1);
}
