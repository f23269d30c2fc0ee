#include "nodes/onDemandEpisodeNode.h"

#include "contentManager/contentManager.h"
#include "nodes/nodesFactory.h"
#include "nodes/registeredNode.h"
#include "nodes/uiHelper.h"
#include "siriusLogging.h"

#include <mivosdk/CMListRowsNode.h>
#include <mivosdk/CMNodes.h>
#include <mivosdk/CMUnusedNodeTimer.h>
#include <mivosdk/MivoRowsRoles.h>
#include <mivosdk/MivoSiriusContent.h>

#include <QDateTime>

namespace {

const QString kIdParam = QStringLiteral("id");
const QString kIconParam = QStringLiteral("icon");
// Long enough for the host to follow the redirect and page through the episodes; the host holds
// the list open while it shows it, which stops the timer.
constexpr int kUnusedEpisodeListMs = 10000;

} // namespace

OnDemandEpisodeNode* OnDemandEpisodeNode::create(ContentManager* contentManager,
                                                 NodesFactory* factory, CMNodes* nodes,
                                                 const CMPath& path)
{
    return registeredNode(new OnDemandEpisodeNode(contentManager, factory, path), nodes);
}

OnDemandEpisodeNode::OnDemandEpisodeNode(ContentManager* contentManager, NodesFactory* factory,
                                         const CMPath& path)
    : CMContainerNode(path)
    , m_contentManager(contentManager)
    , m_factory(factory)
{}

CMPath OnDemandEpisodeNode::buildPath(const CMPath& path, const QString& id, const QString& icon)
{
    CMPath result = path;
    result.addParam(kIdParam, id).addParam(kIconParam, icon);
    return result;
}

bool OnDemandEpisodeNode::getRowsRequest(const CMGetRowsRequest& request)
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    const CMPath requested = request.path();
    const QString showId = requested.param(kIdParam);
    const QString showIcon = requested.param(kIconParam);
    if (showId.isEmpty()) {
        LOG4CPLUS_WARN(sirius::cbSiriusLogger(),
                       "No show id in " << requested.toEncoded().toStdString());
        request.reply().setError(CMError(
            QStringLiteral("SiriusXM"),
            TrString("OnDemandEpisodeNode", "No show named in %1").arg(requested.toEncoded())));
        return true;
    }
    m_contentManager->episodes(showId)
        .onSuccess(this,
                   [this, request, showId, showIcon](const QList<MivoRoles>& roles) {
                       const CMListRowsNode* list = createEpisodeList(showId, showIcon, roles);
                       MivoRowsRoles answer;
                       answer.setRowsRedirect(list->path());
                       request.reply().setResult(answer.__variant());
                   })
        .onError(this, [request](const CMError& error) { request.reply().setError(error); });
    return true;
}

CMListRowsNode* OnDemandEpisodeNode::createEpisodeList(const QString& showId,
                                                       const QString& showIcon,
                                                       const QList<MivoRoles>& roles)
{
    // The timer below ends it sooner than the registry would.
    auto* list = registeredNode(new CMListRowsNode(uniqueListPath(showId)), nodes());
    for (MivoRoles row : roles) {
        const MivoSiriusContent content = UiHelper::contentOf(row);
        row.removeEntry(MivoRoles::Value());
        if (row.icon().isEmpty())
            row.setIcon(showIcon);
        row.setContext(UiHelper::contextOf(m_factory, content, content.title()));
        list->rowsAppend(row);
    }
    new CMUnusedNodeTimer(list, kUnusedEpisodeListMs);
    return list;
}

CMPath OnDemandEpisodeNode::uniqueListPath(const QString& showId) const
{
    // The time makes every answer a list of its own, so that a list the host still reads is never
    // rebuilt under it. Two answers within the same millisecond would share a path and the second
    // would push the first out of the registry, so the stamp moves on until the path is free.
    qint64 stamp = QDateTime::currentMSecsSinceEpoch();
    CMPath candidate = path().subpath(showId).subpath(QString::number(stamp));
    while (nodes() && nodes()->node(candidate))
        candidate = path().subpath(showId).subpath(QString::number(++stamp));
    return candidate;
}
