#include "nodes/searchNode.h"

#include "contentManager/contentManager.h"
#include "nodes/pdtSubNode.h"
#include "nodes/registeredNode.h"
#include "nodes/uiHelper.h"
#include "siriusLogging.h"

#include <mivosdk/CMUnusedNodeTimer.h>
#include <mivosdk/MivoValue.h>

namespace {

// A result list that nobody has used for this long is one the user has left; the host holds a
// list open while it shows it, which stops the timer.
constexpr int kUnusedResultListMs = 10000;

/// The searched text as a host value: a MivoValue's stored hash as it is, any other variant (the
/// host usually sends the bare text) wrapped.
MivoValue searchValue(const QVariant& value)
{
    if (value.type() == QVariant::Hash) {
        const MivoValue stored(value.toHash());
        if (stored.hasEntry(MivoValue::Type()))
            return stored;
    }
    return MivoValue::fromVariant(value);
}

} // namespace

SearchNode* SearchNode::create(ContentManager* contentManager, NodesFactory* factory,
                               CMNodes* nodes, const CMPath& path)
{
    return registeredNode(new SearchNode(contentManager, factory, path), nodes);
}

SearchNode::SearchNode(ContentManager* contentManager, NodesFactory* factory, const CMPath& path)
    : CMQueryNode(path)
    , m_contentManager(contentManager)
    , m_factory(factory)
{}

bool SearchNode::queryRequest(const CMSetDataRequest& request)
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    const QString text = searchValue(request.value()).toString();
    LOG4CPLUS_INFO(sirius::cbSiriusLogger(), "Search value: " << text.toStdString());
    // Numbered when asked, not when answered, so that answers arriving out of order still get
    // the list paths of their own searches.
    const int number = m_searchCount++;
    m_contentManager->search(text)
        .onSuccess(this,
                   [this, request, number](const QList<MivoRoles>& roles) {
                       handleSearchResponse(request, number, roles);
                   })
        .onError(this, [request](const CMError& error) { request.reply().setError(error); });
    return true;
}

void SearchNode::handleSearchResponse(const CMSetDataRequest& request, int number,
                                      const QList<MivoRoles>& roles)
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    const QList<MivoRoles> rows =
        UiHelper::splitToSections(UiHelper::decorateRoles(roles, m_factory, m_contentManager));
    PdtSubNode* results = PdtSubNode::create(m_contentManager, nodes(),
                                             path().subpath(QString::number(number)), rows);
    new CMUnusedNodeTimer(results, kUnusedResultListMs);
    request.reply().setResult(results->path().toEncoded());
}
