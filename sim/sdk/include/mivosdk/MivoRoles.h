#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"
#include "mivosdk/MivoMedia.h"
#include "mivosdk/MivoValue.h"

/// What kind of row a row is (MivoRoles::type()).
struct MivoRolesType
{
    enum Enum
    {
        Unknown = 0,
        Container = 1, ///< opens another list
        Item = 2,      ///< shows something, does nothing
        Audio = 3,     ///< playable
        Query = 4,     ///< takes a text (search)
        Setting = 5,
        Placeholder = 6, ///< stands in for an empty list ("No shows available")
        Action = 102,    ///< the host activates its path
        SectionHeader = 103,
    };
};

/// How a container presents its rows (MivoRoles::containerType()).
struct MivoRolesContainerType
{
    enum Enum
    {
        List = 0,
        Grid = 1,
        Search = 101, ///< a search container: holds the query node
    };
};

/// What kind of audio a playable row is (MivoRoles::audioType()).
struct MivoRolesAudioType
{
    enum Enum
    {
        None = 0,
        Track = 1,  ///< a finite item
        Stream = 2, ///< an endless stream (radio)
    };
};

/// The property bag of one browse row or one playing item.
class MivoRoles : public MivoHash
{
    MIVO_HASH_VALUE(MivoRoles)

    /// The role of a set-data request that activates an action row's path.
    static QString Activate() { return QStringLiteral("activate"); }

    MIVO_FIELD(QString, id, Id)
    MIVO_FIELD(QString, title, Title)
    MIVO_FIELD(QString, icon, Icon)
    MIVO_FIELD(QString, description, Description)
    /// Where the row leads (or, for a playable row, what plays), with its parameters.
    MIVO_FIELD(CMPath, path, Path)
    MIVO_FIELD(int, type, Type)
    MIVO_FIELD(int, containerType, ContainerType)
    MIVO_FIELD(int, audioType, AudioType)
    MIVO_FIELD(QString, sortKey, SortKey)
    MIVO_FIELD(MivoMediaData, mediaData, MediaData)
    MIVO_FIELD(bool, preferred, Preferred)
    MIVO_FIELD(bool, risky, Risky)
    MIVO_FIELD(bool, doNotTrack, DoNotTrack)
    /// The row's own data (for content rows: the whole content record).
    MIVO_FIELD(MivoValue, value, Value)
    /// The row's context menu: roles whose path() is the menu's node.
    MIVO_FIELD(MivoRoles, context, Context)
    /// A list's search entry (the container's searchPath).
    MIVO_FIELD(CMPath, searchPath, SearchPath)
    /// Set on rows that a list holds as a link to another node: the host resolves their roles
    /// from that node when it reads the rows.
    MIVO_FIELD(bool, nodeLink, NodeLink)
};

Q_DECLARE_METATYPE(MivoRoles)
Q_DECLARE_METATYPE(QList<MivoRoles>)
