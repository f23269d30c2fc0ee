#include "nodes/uiHelper.h"

#include "contentManager/contentManager.h"
#include "nodes/nodesFactory.h"

#include <mivosdk/MivoSiriusContent.h>
#include <mivosdk/MivoSiriusEnums.h>

namespace {

MivoSiriusContent contentOf(const MivoRoles& row)
{
    return MivoSiriusContent(row.value().toHash());
}

/// The asset type of a content record; Invalid when the record does not say (an absent field
/// would otherwise read as 0, a live channel).
MivoSiriusAssetType::Enum assetTypeOf(const MivoSiriusContent& content)
{
    return content.hasEntry(MivoSiriusContent::AssetType()) ? content.assetType()
                                                            : MivoSiriusAssetType::Invalid;
}

MivoRoles sectionHeader(const char* title)
{
    return MivoRoles().setTitle(QString::fromUtf8(title)).setType(MivoRolesType::SectionHeader);
}

void appendSection(QList<MivoRoles>& result, const char* title, const QList<MivoRoles>& rows)
{
    if (rows.isEmpty())
        return;
    result.append(sectionHeader(title));
    result.append(rows);
}

} // namespace

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
        const QString typeText = MivoSiriusAssetType::toString(type);
        // A category's menu offers its shows, which are found by its genre key.
        const QString menuTitle =
            type == MivoSiriusAssetType::Category ? content.genreKey() : content.title();
        row.setContext(MivoRoles().setPath(factory->makeContextNode(
            menuTitle, content.channelId(), content.assetGuid(), typeText)));
        row.setSortKey(typeText);
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
