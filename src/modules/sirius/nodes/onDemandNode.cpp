#include "nodes/onDemandNode.h"

#include "contentManager/contentManager.h"
#include "nodes/nodesFactory.h"
#include "nodes/registeredNode.h"
#include "nodes/uiHelper.h"
#include "siriusLogging.h"

#include <mivosdk/MivoSiriusContent.h>

OnDemandNode* OnDemandNode::create(ContentManager* contentManager, NodesFactory* factory,
                                   CMNodes* nodes, const CMPath& path, const QString& genre,
                                   const QString& channelId)
{
    return registeredNode(new OnDemandNode(contentManager, factory, path, genre, channelId), nodes);
}

OnDemandNode::OnDemandNode(ContentManager* contentManager, NodesFactory* factory,
                           const CMPath& path, const QString& genre, const QString& channelId)
    : CMContainerNode(path)
    , m_contentManager(contentManager)
    , m_factory(factory)
    , m_genre(genre)
    , m_channelId(channelId)
{}

bool OnDemandNode::getRowsRequest(const CMGetRowsRequest& request)
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    LOG4CPLUS_TRACE(sirius::cbSiriusLogger(), "path: " << path().toEncoded().toStdString());
    if (m_loaded) {
        respond(request);
        return true;
    }
    m_contentManager->onDemandShows(m_genre, m_channelId)
        .onSuccess(this,
                   [this, request](const QList<MivoRoles>& roles) {
                       // Two requests may both have asked before the first answer came; the
                       // list is built once.
                       if (!m_loaded)
                           storeRoles(roles);
                       respond(request);
                   })
        .onError(this, [request](const CMError& error) { request.reply().setError(error); });
    return true;
}

void OnDemandNode::storeRoles(const QList<MivoRoles>& roles)
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    QString previousChannelId;
    bool first = true;
    for (MivoRoles row : roles) {
        const MivoSiriusContent content = UiHelper::contentOf(row);
        // The service returns shows grouped by channel; a header marks where the channel changes,
        // so a channel that comes back later gets a header of its own again.
        if (first || content.channelId() != previousChannelId) {
            m_rows.append(UiHelper::sectionHeader(
                m_contentManager->channelRolesByChannelId(content.channelId(), false).title()));
            previousChannelId = content.channelId();
            first = false;
        }
        row.removeEntry(MivoRoles::Value());
        row.setPath(m_factory->makeOnDemandEpisodeNode(row.id(), row.icon()));
        row.setContext(UiHelper::contextOf(m_factory, content, content.title()));
        m_rows.append(row);
    }
    if (m_rows.isEmpty()) {
        m_rows.append(MivoRoles()
                          .setTitle(TrString("OnDemandNode", "No shows available").toString())
                          .setType(MivoRolesType::Placeholder));
    }
    // Fetched once for the life of the node: the factory's clear() ends it when the line-up
    // changes.
    m_loaded = true;
}

QVariant OnDemandNode::getRoleData(const QString& role, const QMap<QString, QString>& params)
{
    if ((role == MivoRoles::Title() || role == MivoRoles::Icon()) && params.contains(role))
        return params.value(role);
    return CMContainerNode::getRoleData(role, params);
}

void OnDemandNode::respond(const CMGetRowsRequest& request)
{
    respondGetRowsRequest(request, m_rows.toList(), -1);
}
