#include "nodes/contextNode.h"

#include "contentManager/contentManager.h"
#include "nodes/nodesFactory.h"
#include "nodes/registeredNode.h"
#include "siriusLogging.h"

#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoSiriusContent.h>

namespace {

const QString kClearRecentParam = QStringLiteral("clearRecent");

MivoRoles actionRow(const QString& title, const CMPath& path)
{
    return MivoRoles().setTitle(title).setPath(path).setType(MivoRolesType::Action);
}

/// The add or remove action of an item's menu. A removal carries the parameter "favorite", which
/// is how the action tells the two apart when the host activates it.
MivoRoles favoriteAction(CMPath path, bool inFavorites)
{
    if (!inFavorites)
        return actionRow(TrString("ContextNode", "Add to favorites").toString(), path);
    path.addParam(QStringLiteral("favorite"), QString());
    return actionRow(TrString("ContextNode", "Remove from favorites").toString(), path);
}

} // namespace

ContextNode* ContextNode::create(ContentManager* contentManager, NodesFactory* factory,
                                 CMNodes* nodes, const CMPath& path)
{
    return registeredNode(new ContextNode(contentManager, factory, path), nodes);
}

ContextNode::ContextNode(ContentManager* contentManager, NodesFactory* factory, const CMPath& path)
    : CMContainerNode(path)
    , m_contentManager(contentManager)
    , m_factory(factory)
{}

CMPath ContextNode::buildPath(const CMPath& path, const QString& title, const QString& channelId,
                              const QString& assetGuid, const QString& assetType)
{
    CMPath result = path;
    result.addParam(MivoSiriusContent::AssetGuid(), assetGuid)
        .addParam(MivoSiriusContent::AssetType(), assetType)
        .addParam(MivoSiriusContent::ChannelId(), channelId)
        .addParam(MivoSiriusContent::Title(), title);
    return result;
}

CMPath ContextNode::buildPath(const CMPath& path)
{
    CMPath result = path;
    result.addParam(kClearRecentParam, QString());
    return result;
}

bool ContextNode::getRowsRequest(const CMGetRowsRequest& request)
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    const CMPath requested = request.path();
    if (requested.hasParam(kClearRecentParam)) {
        clearRecent(request);
        return true;
    }
    // The favorite action carries the item's parameters, so that the worker knows which item to
    // add or remove when the host activates it.
    CMPath favoritePath = MivoSiriusFavoritePath();
    favoritePath.setParams(requested.params());
    LOG4CPLUS_TRACE(sirius::cbSiriusLogger(),
                    "new path: " << favoritePath.toEncoded().toStdString()
                                 << " origin path: " << requested.toEncoded().toStdString());
    const QString assetType = requested.param(MivoSiriusContent::AssetType());
    const QString channelId = requested.param(MivoSiriusContent::ChannelId());
    if (channelId.isEmpty()) {
        // Nothing to add to the favorites without a channel (a category).
        QVector<MivoRoles> rows;
        addOnDemand(rows, assetType, favoritePath);
        respondGetRowsRequest(request, rows.toList(), -1);
        return true;
    }
    m_contentManager->inFavoritesByChannelId(channelId)
        .onSuccess(this,
                   [this, request, assetType, favoritePath](bool inFavorites) {
                       QVector<MivoRoles> rows;
                       rows.append(favoriteAction(favoritePath, inFavorites));
                       addOnDemand(rows, assetType, favoritePath);
                       respondGetRowsRequest(request, rows.toList(), -1);
                   })
        .onError(this, [request](const CMError& error) { request.reply().setError(error); });
    return true;
}

void ContextNode::clearRecent(const CMGetRowsRequest& request)
{
    respondGetRowsRequest(
        request,
        {actionRow(TrString("ContextNode", "Clear recently played content").toString(),
                   MivoSiriusClearRecentsPath())},
        -1);
}

void ContextNode::addOnDemand(QVector<MivoRoles>& rows, const QString& assetType,
                              const CMPath& path)
{
    bool known = false;
    const MivoSiriusAssetType::Enum type = MivoSiriusAssetType::fromString(assetType, &known);
    if (!known)
        return;
    const QString title = TrString("ContextNode", "OnDemand").toString();
    CMPath shows;
    switch (type) {
    case MivoSiriusAssetType::LiveChannel:
        // The shows of the channel.
        shows = m_factory->makeOnDemandNode(title, MivoService_SiriusOnDemand_Icon(), QString(),
                                            path.param(MivoSiriusContent::ChannelId()));
        break;
    case MivoSiriusAssetType::Category:
        // A category's menu path carries its genre key as the title.
        shows = m_factory->makeOnDemandNode(title, MivoService_SiriusOnDemand_Icon(),
                                            path.param(MivoSiriusContent::Title()), QString());
        break;
    default:
        return;
    }
    rows.append(MivoRoles().setTitle(title).setPath(shows).setType(MivoRolesType::Container));
}
