#include "browseUi/browseUi.h"

#include "contentManager/contentManager.h"
#include "nodes/forYouNode.h"
#include "nodes/registeredNode.h"
#include "nodes/searchNode.h"
#include "siriusLogging.h"

#include <mivosdk/CMListRowsNode.h>
#include <mivosdk/CMNodes.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoSiriusContent.h>

namespace {

/// The translation context of the root's and the search entry's titles.
const char* const kConstructorContext =
    "BrowseUi::BrowseUi(CMNodes*, const CMPath&, ContentManager*, bool)";
const char* const kContext = "BrowseUi";

/// Clears a first-level list and lets it go.
template <class Node>
void dropList(QPointer<Node>& node)
{
    if (node)
        node->rowsClear();
    releaseNode(node);
}

} // namespace

BrowseUi::BrowseUi(CMNodes* nodes, const CMPath& path, ContentManager* contentManager,
                   bool fullFeatured)
    : m_nodes(nodes)
    , m_path(path)
    , m_contentManager(contentManager)
    , m_fullFeatured(fullFeatured)
    , m_factory(nodes, path, contentManager, fullFeatured)
{
    m_root = registeredNode(new CMListRowsNode(path), nodes);
    m_root->setTitle(TrString(kConstructorContext, "Sirius"));
    if (fullFeatured) {
        m_search = SearchNode::create(contentManager, &m_factory, nodes,
                                      path.subpath(QStringLiteral("search")));
        m_search->setTitle(
            TrString(kConstructorContext, "Search Categories, Channels, Shows and Episodes"));
        m_searchContainer = makeList(QStringLiteral("searchContainer"), "Search", QString());
        m_searchContainer->setContainerType(MivoRolesContainerType::Search);
        m_searchContainer->rowsAppend(m_search->path());
        m_root->setSearchPath(m_searchContainer->path());
    }
    connect(contentManager, &ContentManager::loaded, this, &BrowseUi::on_channels_loaded);
}

BrowseUi::~BrowseUi() = default;

CMListRowsNode* BrowseUi::makeList(const QString& segment, const char* title, const QString& icon)
{
    auto* node = registeredNode(new CMListRowsNode(m_path.subpath(segment)), m_nodes);
    node->setTitle(TrString(kContext, title));
    node->setIcon(icon);
    return node;
}

void BrowseUi::on_channels_loaded()
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    reset();
    if (!m_root) {
        LOG4CPLUS_ERROR(sirius::cbSiriusLogger(), "The browse root is gone; nothing to fill");
        return;
    }
    m_root->rowsAppend(m_factory.makeRecentNode(TrString(kContext, "Recent").toString(),
                                                MivoService_SiriusRecent_Icon()));
    m_root->rowsAppend(m_factory.makeChannelNode(
        TrString(kContext, "All Channels").toString(), QString(),
        MivoSiriusContent::SiriusChannelNumber(), QString(), 0, false, true));
    // The A-Z list deliberately shows no now-playing text.
    m_root->rowsAppend(
        m_factory.makeChannelNode(TrString(kContext, "All Channels (A-Z)").toString(), QString(),
                                  MivoSiriusContent::Title(), QString(), 0, false, false));

    const QList<ContentManager::GenreInfo> genres = m_contentManager->genres(1, false);
    if (m_fullFeatured) {
        m_onDemands =
            makeList(QStringLiteral("onDemands"), "On demand", MivoService_SiriusOnDemand_Icon());
        for (const ContentManager::GenreInfo& genre : genres) {
            m_onDemands->rowsAppend(m_factory.makeOnDemandNode(genre.genre, genre.genreIcon,
                                                               genre.genreKey, QString()));
        }
        m_xtra = makeList(QStringLiteral("xtra"), "Xtra Channels", MivoService_SiriusXtra_Icon());
        for (const ContentManager::GenreInfo& genre : m_contentManager->genres(1, true)) {
            m_xtra->rowsAppend(m_factory.makeChannelNode(genre.genre, genre.genreIcon,
                                                         MivoSiriusContent::SortOrder(),
                                                         genre.genreKey, genre.count, true, false));
        }
        m_forYou = ForYouNode::create(m_contentManager, &m_factory, m_nodes,
                                      m_path.subpath(QStringLiteral("forYou")));
        m_forYou->setTitle(TrString(kContext, "ForYou"));
        m_forYou->setIcon(MivoService_SiriusForYou_Icon());
        m_root->rowsAppend(m_onDemands->path());
        m_root->rowsAppend(m_xtra->path());
        m_root->rowsAppend(m_forYou->path());
        m_root->rowsAppend(m_factory.makeFavoriteNode(TrString(kContext, "Favorites").toString(),
                                                      MivoService_SiriusFavorites_Icon()));
    }
    m_root->rowsAppend(MivoRoles()
                           .setTitle(TrString(kContext, "Channels").toString())
                           .setType(MivoRolesType::SectionHeader));
    for (const ContentManager::GenreInfo& genre : genres) {
        m_root->rowsAppend(m_factory.makeChannelNode(genre.genre, genre.genreIcon,
                                                     MivoSiriusContent::SortOrder(), genre.genreKey,
                                                     genre.count, false, true));
    }
}

void BrowseUi::reset()
{
    if (m_root)
        m_root->rowsClear();
    dropList(m_onDemands);
    dropList(m_xtra);
    dropList(m_forYou);
    m_factory.clear();
}
