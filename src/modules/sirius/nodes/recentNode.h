#pragma once
// Thread contract: worker thread only.

#include <mivosdk/CMListRowsNode.h>
#include <mivosdk/MivoSiriusEnums.h>

#include <QStringList>

class ContentManager;
class NodesFactory;

/// The recently played items, fetched from the service each time the list is opened anew and
/// after a change; live channels show what they play now.
class RecentNode : public CMListRowsNode
{
    Q_OBJECT
public:
    static RecentNode* create(ContentManager* contentManager, NodesFactory* factory, CMNodes* nodes,
                              const CMPath& path);

    RecentNode(ContentManager* contentManager, NodesFactory* factory, const CMPath& path);

    bool getRowsRequest(const CMGetRowsRequest& request) override;
    void recentItems(const QList<MivoRoles>& rows);
    bool hasObservers() const { return !rowsPaths().isEmpty(); }
    QStringList pdtChannelIds() const { return m_pdtChannelIds; }

public slots:
    void on_contentManager_refresh(MivoSiriusModuleType::Enum moduleType);
    void on_contentManager_recentChanged();
    void on_contentManager_cutChanged();
    void on_nodes_rowsPathAdded(CMPath path);
    void on_nodes_rowsPathRemoved(CMPath path);

private:
    ContentManager* const m_contentManager;
    NodesFactory* const m_factory;
    QStringList m_pdtChannelIds;
    bool m_needsFetch = true;
};
