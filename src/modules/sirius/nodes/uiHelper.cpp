#include "nodes/uiHelper.h"

#include "contentManager/contentManager.h"
#include "nodes/nodesFactory.h"

#include <mivosdk/CMListRowsNode.h>
#include <mivosdk/MivoPaths.h>

namespace {

void appendSection(QList<MivoRoles>& result, const char* title, const QList<MivoRoles>& rows)
{
    if (rows.isEmpty())
        return;
    result.append(UiHelper::sectionHeader(TrString("UiHelper", title).toString()));
    result.append(rows);
}

} // namespace

MivoSiriusContent UiHelper::contentOf(const MivoRoles& row)
{
    return MivoSiriusContent(row.value().toHash());
}

MivoSiriusAssetType::Enum UiHelper::assetTypeOf(const MivoSiriusContent& content)
{
    return content.hasEntry(MivoSiriusContent::AssetType()) ? content.assetType()
                                                            : MivoSiriusAssetType::Invalid;
}

bool UiHelper::isLiveChannel(const MivoRoles& row)
{
    return assetTypeOf(contentOf(row)) == MivoSiriusAssetType::LiveChannel;
}

MivoRoles UiHelper::contextOf(NodesFactory* factory, const MivoSiriusContent& content,
                              const QString& title)
{
    return MivoRoles().setPath(
        factory->makeContextNode(title, content.channelId(), content.assetGuid(),
                                 MivoSiriusAssetType::toString(assetTypeOf(content))));
}

MivoRoles UiHelper::sectionHeader(const QString& title)
{
    return MivoRoles().setTitle(title).setType(MivoRolesType::SectionHeader);
}

bool UiHelper::showsPdtCut(const MivoRoles& row)
{
    const CMPath rowPath = row.path();
    return !rowPath.hasParam(MivoSiriusEpisode()) && !rowPath.hasParam(MivoSiriusXtra());
}

void UiHelper::refreshPdtCuts(CMListRowsNode* node, ContentManager* contentManager)
{
    const QList<MivoRoles> current = node->rows();
    for (int index = 0; index < current.size(); ++index) {
        if (!showsPdtCut(current[index]))
            continue;
        const MivoRoles updated = addPdtCut(current[index], contentManager);
        if (updated != current[index])
            node->rowsSet(index, updated);
    }
}

MivoRoles UiHelper::addPdtCut(MivoRoles roles, ContentManager* contentManager)
{
    const QString cut = contentManager->pdtCutByChannelId(roles.id());
    if (!cut.isEmpty())
        roles.setTitle(cut);
    return roles;
}

QList<MivoRoles> UiHelper::decorateRoles(QList<MivoRoles> roles, NodesFactory* factory,
                                         ContentManager* contentManager)
{
    for (MivoRoles& row : roles) {
        const MivoSiriusContent content = contentOf(row);
        const MivoSiriusAssetType::Enum type = assetTypeOf(content);
        // A category's menu offers its shows, which are found by its genre key.
        row.setContext(contextOf(factory, content,
                                 type == MivoSiriusAssetType::Category ? content.genreKey()
                                                                       : content.title()));
        row.setSortKey(MivoSiriusAssetType::toString(type));
        switch (type) {
        case MivoSiriusAssetType::LiveChannel:
            // Deliberately even when empty: a live row without program data has no title of
            // its own worth showing here.
            row.setTitle(contentManager->pdtCutByChannelId(row.id()));
            break;
        case MivoSiriusAssetType::Show:
            row.setPath(factory->makeOnDemandEpisodeNode(row.id(), row.icon()));
            break;
        case MivoSiriusAssetType::Category:
            row.setPath(factory->makeChannelNode(content.genre(), row.icon(),
                                                 MivoSiriusContent::SortOrder(), content.genreKey(),
                                                 0, false, true));
            break;
        default:
            break;
        }
    }
    return roles;
}

QList<MivoRoles> UiHelper::splitToSections(const QList<MivoRoles>& roles)
{
    QList<MivoRoles> categories;
    QList<MivoRoles> channels;
    QList<MivoRoles> shows;
    QList<MivoRoles> episodes;
    for (const MivoRoles& row : roles) {
        switch (assetTypeOf(contentOf(row))) {
        case MivoSiriusAssetType::LiveChannel:
        case MivoSiriusAssetType::XtraChannel:
            channels.append(row);
            break;
        case MivoSiriusAssetType::Show:
            shows.append(row);
            break;
        case MivoSiriusAssetType::Episode:
            episodes.append(row);
            break;
        case MivoSiriusAssetType::Category:
            categories.append(row);
            break;
        default:
            break;
        }
    }
    QList<MivoRoles> result;
    appendSection(result, "Categories", categories);
    appendSection(result, "Channels", channels);
    appendSection(result, "Shows", shows);
    appendSection(result, "Episodes", episodes);
    return result;
}

QStringList UiHelper::storeRowsWithCuts(CMListRowsNode* node, const QList<MivoRoles>& rows,
                                        ContentManager* contentManager)
{
    QStringList liveIds;
    QList<MivoRoles> items;
    items.reserve(rows.size());
    for (MivoRoles row : rows) {
        if (isLiveChannel(row))
            liveIds.append(row.id());
        row.removeEntry(MivoRoles::Value());
        // An episode is listed under its channel's id, but its title is its own.
        items.append(showsPdtCut(row) ? addPdtCut(row, contentManager) : row);
    }
    node->rowsClear();
    // One insert notice for the whole list rather than one per row.
    node->rowsAppend(items);
    return liveIds;
}

CMError UiHelper::fetchError(const MivoSiriusBypassStatus& bypass, const TrString& inBypass,
                             const TrString& otherwise)
{
    const bool bypassed = bypass.isGupIdUnavailable() || bypass.isGupUnavailable();
    return CMError(QStringLiteral("SiriusXM"), bypassed ? inBypass : otherwise);
}
