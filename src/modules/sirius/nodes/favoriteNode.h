#pragma once
// Thread contract: worker thread only.

#include <mivosdk/CMListRowsNode.h>
#include <mivosdk/MivoSiriusEnums.h>

#include <QStringList>

class ContentManager;
class NodesFactory;

/// The user's favorites, in sections (categories, channels, shows, episodes), fetched from the
/// service when first opened and again after a change; live channels show what they play now.
class FavoriteNode : public CMListRowsNode
{
    Q_OBJECT
public:
    static FavoriteNode* create(ContentManager* contentManager, NodesFactory* factory,
                                CMNodes* nodes, const CMPath& path);

    FavoriteNode(ContentManager* contentManager, NodesFactory* factory, const CMPath& path);

    bool getRowsRequest(const CMGetRowsRequest& request) override;
    void favoriteItems(const QList<MivoRoles>& rows);
    bool hasObservers() const { return !rowsPaths().isEmpty(); }
    QStringList pdtChannelIds() const { return m_pdtChannelIds; }

public slots:
    void on_contentManager_refresh(MivoSiriusModuleType::Enum moduleType);
    void on_contentManager_favoritesChanged();
    void on_contentManager_cutChanged();
    void on_nodes_rowsPathAdded(CMPath path);
    void on_nodes_rowsPathRemoved(CMPath path);

private:
    ContentManager* const m_contentManager;
    NodesFactory* const m_factory;
    bool m_loaded = false;
    QStringList m_pdtChannelIds;
};
