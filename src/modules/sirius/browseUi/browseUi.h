#pragma once
// Thread contract: worker thread only.

#include "nodes/forYouNode.h"
#include "nodes/nodesFactory.h"
#include "nodes/searchNode.h"

#include <mivosdk/CMListRowsNode.h>
#include <mivosdk/CMPath.h>

#include <QObject>
#include <QPointer>

class CMNodes;
class ContentManager;

/// The top of the module's browse tree: the root list, the search entry, and the first-level
/// rows that lead to every other list. The rows appear once the line-up is loaded and are rebuilt
/// from scratch, with every node below them, each time it loads again.
class BrowseUi : public QObject
{
    Q_OBJECT
public:
    BrowseUi(CMNodes* nodes, const CMPath& path, ContentManager* contentManager, bool fullFeatured);
    ~BrowseUi() override;

    /// Empties the tree below the root; the search entry stays.
    void reset();

    CMListRowsNode* root() const { return m_root; }

public slots:
    void on_channels_loaded();

private:
    CMListRowsNode* makeList(const QString& segment, const char* title, const QString& icon);

    CMNodes* const m_nodes;
    const CMPath m_path;
    ContentManager* const m_contentManager;
    const bool m_fullFeatured;
    NodesFactory m_factory;
    QPointer<CMListRowsNode> m_root;
    QPointer<CMListRowsNode> m_onDemands;
    QPointer<CMListRowsNode> m_xtra;
    QPointer<ForYouNode> m_forYou;
    QPointer<SearchNode> m_search;
    QPointer<CMListRowsNode> m_searchContainer;
};
