#pragma once
// Thread contract: worker thread only.

#include <mivosdk/CMListRowsNode.h>
#include <mivosdk/MivoSiriusEnums.h>

class ContentManager;
class NodesFactory;

/// The user's For You recommendations: one row per category, in alphabetical order, each leading
/// to a list of that category's items. Fetched from the service on the first request and again
/// after any refresh the library announces.
class ForYouNode : public CMListRowsNode
{
    Q_OBJECT
public:
    static ForYouNode* create(ContentManager* contentManager, NodesFactory* factory, CMNodes* nodes,
                              const CMPath& path);

    ForYouNode(ContentManager* contentManager, NodesFactory* factory, const CMPath& path);
    ~ForYouNode() override;

    bool getRowsRequest(const CMGetRowsRequest& request) override;
    void handleForYouResponse(const CMGetRowsRequest& request, const QList<MivoRoles>& roles);
    /// Clears the rows and lets the category lists go.
    void rowsClear();

public slots:
    void on_contentManager_refresh(MivoSiriusModuleType::Enum moduleType);

private:
    void dropSubNodes();

    ContentManager* const m_contentManager;
    NodesFactory* const m_factory;
    bool m_needsFetch = true;
    QList<QPointer<CMListRowsNode>> m_subNodes;
};
