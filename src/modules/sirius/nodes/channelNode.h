#pragma once
// Thread contract: worker thread only.

#include <mivosdk/CMListRowsNode.h>

#include <QStringList>
#include <QVector>

class ContentManager;
class NodesFactory;

/// One list of live channels: all by number, all by name, one genre, or one Xtra genre. The rows
/// are built once per opening; with `pdt` their titles follow what each channel plays now for as
/// long as somebody has the list open.
class ChannelNode : public CMListRowsNode
{
    Q_OBJECT
public:
    static ChannelNode* create(ContentManager* contentManager, NodesFactory* factory,
                               CMNodes* nodes, const CMPath& path, bool fullFeatured,
                               const QString& sort, const QString& filter, bool xtra, bool pdt);

    ChannelNode(ContentManager* contentManager, NodesFactory* factory, const CMPath& path,
                bool fullFeatured, const QString& sort, const QString& filter, bool xtra, bool pdt);

    bool getRowsRequest(const CMGetRowsRequest& request) override;
    /// Title and icon come from the linking row's path parameters when it has them.
    QVariant getRoleData(const QString& role, const QMap<QString, QString>& params) override;

    bool hasObservers() const { return !rowsPaths().isEmpty(); }
    void registerPdt();

    QVector<int> channelIds() const { return m_channelIds; }
    QStringList pdtChannelIds() const { return m_pdtChannelIds; }

public slots:
    void on_nodes_rowsPathAdded(CMPath path);
    void on_nodes_rowsPathRemoved(CMPath path);
    void on_contentManager_cutChanged();

private:
    QVariantHash query() const;
    void buildRows();

    ContentManager* const m_contentManager;
    NodesFactory* const m_factory;
    QVector<int> m_channelIds;
    QStringList m_pdtChannelIds;
    const QString m_filter;
    const QString m_sort;
    bool m_loaded = false;
    const bool m_fullFeatured;
    const bool m_xtra;
    const bool m_pdt;
};
