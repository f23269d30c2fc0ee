#pragma once
// Thread contract: worker thread only.

#include <mivosdk/CMListRowsNode.h>

#include <QStringList>

class ContentManager;

/// A list of fixed rows (a For You category, a search result) whose live channels show what they
/// play now while the list is open.
class PdtSubNode : public CMListRowsNode
{
    Q_OBJECT
public:
    static PdtSubNode* create(ContentManager* contentManager, CMNodes* nodes, const CMPath& path,
                              const QList<MivoRoles>& rows);

    PdtSubNode(ContentManager* contentManager, const CMPath& path, const QList<MivoRoles>& rows);
    ~PdtSubNode() override;

    QStringList pdtChannelIds() const { return m_pdtChannelIds; }

public slots:
    void on_nodes_rowsPathAdded(CMPath path);
    void on_nodes_rowsPathRemoved(CMPath path);
    void on_contentManager_cutChanged();

private:
    QPointer<ContentManager> m_contentManager;
    QStringList m_pdtChannelIds;
};
