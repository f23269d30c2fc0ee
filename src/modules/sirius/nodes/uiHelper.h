#pragma once
// Thread contract: worker thread only (it reads the content manager).

#include <mivosdk/MivoRoles.h>

#include <QList>

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
};
