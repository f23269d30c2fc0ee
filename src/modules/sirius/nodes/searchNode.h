#pragma once
// Thread contract: worker thread only.

#include <mivosdk/CMQueryNode.h>

class ContentManager;
class NodesFactory;

/// The free-text search: each text the host sets is answered with the path of a fresh result
/// list (sections of categories, channels, shows and episodes) that goes away ten seconds after
/// its last use.
class SearchNode : public CMQueryNode
{
    Q_OBJECT
public:
    static SearchNode* create(ContentManager* contentManager, NodesFactory* factory, CMNodes* nodes,
                              const CMPath& path);

    SearchNode(ContentManager* contentManager, NodesFactory* factory, const CMPath& path);

    bool queryRequest(const CMSetDataRequest& request) override;
    void handleSearchResponse(const CMSetDataRequest& request, int number,
                              const QList<MivoRoles>& roles);

private:
    ContentManager* const m_contentManager;
    NodesFactory* const m_factory;
    int m_searchCount = 0;
};
