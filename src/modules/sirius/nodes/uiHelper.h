#pragma once
// Thread contract: worker thread only (it reads the content manager).

#include <mivosdk/CMError.h>
#include <mivosdk/MivoRoles.h>
#include <mivosdk/MivoSiriusBypassStatus.h>
#include <mivosdk/MivoSiriusContent.h>

#include <QList>
#include <QStringList>

class CMListRowsNode;
class ContentManager;
class NodesFactory;

/// Row decorations that several browse lists share: the now-playing text of live channels, the
/// links and context menus of raw content rows, and the split of a mixed result into sections.
class UiHelper
{
public:
    UiHelper() = delete;

    /// The row with its channel's current cut as title when the channel has one; unchanged
    /// otherwise.
    static MivoRoles addPdtCut(MivoRoles roles, ContentManager* contentManager);
    /// Gives every content row its context menu, its asset type as sort key and, by kind, its
    /// now-playing title (live channels), its episodes link (shows) or its channel list
    /// (categories).
    static QList<MivoRoles> decorateRoles(QList<MivoRoles> roles, NodesFactory* factory,
                                          ContentManager* contentManager);
    /// Categories, channels, shows and episodes, each under its header; empty sections are left
    /// out and rows of other kinds dropped.
    static QList<MivoRoles> splitToSections(const QList<MivoRoles>& roles);

    /// The content record a content row carries (empty for other rows).
    static MivoSiriusContent contentOf(const MivoRoles& row);
    /// The record's asset type; Invalid when the record does not say, since an absent field would
    /// otherwise read as 0, a live channel.
    static MivoSiriusAssetType::Enum assetTypeOf(const MivoSiriusContent& content);
    static bool isLiveChannel(const MivoRoles& row);
    /// The context menu of a content row, titled `title`.
    static MivoRoles contextOf(NodesFactory* factory, const MivoSiriusContent& content,
                               const QString& title);
    static MivoRoles sectionHeader(const QString& title);
    /// Whether a row's title follows its channel's cuts: episodes and Xtra content have titles of
    /// their own that no cut replaces.
    static bool showsPdtCut(const MivoRoles& row);
    /// Puts the current cut into the title of every row of `node` that shows one, announcing only
    /// the rows that changed (each replacement is a notice the host acts on).
    static void refreshPdtCuts(CMListRowsNode* node, ContentManager* contentManager);
    /// Replaces the rows of `node` by `rows`, each without its content record and with its
    /// channel's current cut as title where it shows one; answers the ids of the live channels.
    static QStringList storeRowsWithCuts(CMListRowsNode* node, const QList<MivoRoles>& rows,
                                         ContentManager* contentManager);
    /// The error of a list the service could not deliver: while the service's store of the
    /// user's settings is away (bypass) retrying does not help, so `inBypass` says so; otherwise
    /// the connection is the likely cause.
    static CMError fetchError(const MivoSiriusBypassStatus& bypass, const TrString& inBypass,
                              const TrString& otherwise);
};
