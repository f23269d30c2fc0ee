#pragma once
// Thread contract: worker thread only. The library bridge's signals arrive queued; reply
// continuations run on the worker thread.

#include <mivosdk/CMPath.h>
#include <mivosdk/CMReply.h>
#include <mivosdk/MivoRoles.h>
#include <mivosdk/MivoSirius.h>

#include <QHash>
#include <QObject>
#include <QPair>
#include <QSharedPointer>
#include <QStringList>
#include <QTimer>
#include <QVector>

class SiriusLib;

/// The query layer between the browse nodes and the library bridge: keeps the channel line-up
/// as the library streams it in, answers channel, genre and lookup questions from it, turns the
/// library's content queries into browse rows, and keeps the program-data cuts (what each channel
/// plays now) for the channels that open lists show.
class ContentManager : public QObject
{
    Q_OBJECT
public:
    /// One channel of the line-up.
    struct ChannelData
    {
        int index = 0;                     ///< position in the line-up when it was added
        MivoRoles roles;                   ///< its browse row, made once
        QList<MivoSiriusContent> contents; ///< one record per genre it is listed under
        MivoSiriusPdtCut cut;              ///< its current program-data cut
    };

    /// One genre of the line-up, as genres() reports it.
    struct GenreInfo
    {
        QString genre;
        QString genreKey;
        QString genreIcon;
        int sortOrder = 0;
        int count = 0; ///< channel records counted in this genre
    };

    ContentManager(SiriusLib* lib, bool fullFeatured);

    // --- asynchronous queries (library errors pass through unchanged)
    CMReply<QList<MivoRoles>> recent();
    CMReply<QList<MivoRoles>> clearRecent();
    CMReply<QList<MivoRoles>> onDemandShows(const QString& genre, const QString& channelId);
    CMReply<QList<MivoRoles>> episodes(const QString& showId);
    CMReply<QList<MivoRoles>> forYou();
    CMReply<QList<MivoRoles>> search(const QString& text);
    CMReply<QList<MivoSiriusContent>> cachedFavorites();
    CMReply<QList<MivoRoles>> favorites();
    CMReply<bool> inFavoritesByChannelId(const QString& channelId);
    CMReply<bool> updateFavorites(const MivoSiriusFavorite& favorite);

    // --- synchronous lookups from the line-up; unknown ids answer empty, 0 or false
    MivoSiriusContent channelByChannelId(const QString& channelId) const;
    MivoRoles channelRolesByChannelId(const QString& channelId, bool withPdt) const;
    MivoRoles channelRolesById(int index, bool withPdt) const;
    int inactivityTimeout(const QString& channelId) const;
    bool geoRestricted(const QString& channelId) const;
    MivoSiriusBypassStatus bypassStatus() const { return m_bypass; }
    /// The genres of the line-up: sort 0 by name, any other value by the library's sort order;
    /// channelsOnly counts only the records listed with the Xtra channels (asset type 3).
    QList<GenreInfo> genres(int sort, bool channelsOnly) const;
    /// The line-up indices of the channels that have a record matching every entry of `params`,
    /// ascending by that record's value under `sortRole`.
    QVector<int> channelIds(const QVariantHash& params, const QString& sortRole) const;
    void refetchFavorites();
    /// Forgets the line-up (account change); cuts, registry and the favorites cache stay.
    void reset();
    int channelCount() const { return m_channels.size(); }

    /// Whether show row a comes before show row b.
    static bool sortShows(const MivoRoles& a, const MivoRoles& b);

    // --- content to rows
    MivoRoles contentToRoles(const MivoSiriusContent& content, bool withChannelNumber) const;
    MivoRoles channelOrEpisodeToRoles(const MivoSiriusContent& content,
                                      bool withChannelNumber) const;
    MivoRoles showToRoles(const MivoSiriusContent& content) const;
    MivoRoles categoryToRoles(const MivoSiriusContent& content) const;
    static QList<MivoSiriusLogo> contentToLogos(const MivoSiriusContent& content);
    static QString episodeDescription(const MivoSiriusContent& content, bool& preferred,
                                      bool& risky);

    // --- program-data cuts
    void registerPdt(const CMPath& path, const QStringList& channelIds);
    void registerPdt(const CMPath& path, const QString& channelId);
    void unregisterPdt(const CMPath& path);
    QString pdtCutByChannelId(const QString& channelId) const;

signals:
    void loaded();
    void cutChanged();
    void favoritesChanged();
    void recentChanged();
    void onRefresh(MivoSiriusModuleType::Enum module);

public slots:
    void on_siriusLib_channel(const MivoSiriusContent& content);
    void on_siriusLib_pdtCuts(const QList<MivoSiriusPdtCut>& pdtCuts);
    void on_siriusLib_error(const MivoSiriusErrorNotification& errorNotification);
    void on_siriusLib_refresh(const MivoSiriusModuleType::Enum& module);
    void on_pdtTimer_timeout();

private:
    enum class ListForm
    {
        A, ///< Xtra-listed channels through the cached channel row, the rest mapped
        B, ///< every record mapped, empty rows dropped
        C, ///< as A, empty rows dropped
    };

    QList<MivoRoles> toRows(const QList<MivoSiriusContent>& contents, ListForm form) const;
    /// Answers a fresh reply with the library reply's list in `form` (errors pass through).
    CMReply<QList<MivoRoles>> rowsOf(const CMReply<QList<MivoSiriusContent>>& source,
                                     ListForm form);
    void addNewChannel(const MivoSiriusContent& content);
    void updatePdts();
    QString cutText(const ChannelData& channel) const;
    MivoRoles withCutTitle(const ChannelData& channel, bool withPdt) const;

    SiriusLib* const m_siriusLib;
    const bool m_fullFeatured;
    QVector<QSharedPointer<ChannelData>> m_channels;
    QHash<QString, QSharedPointer<ChannelData>> m_channelsById;
    QHash<QString, MivoSiriusPdtCut> m_cutsByChannelId;
    MivoSiriusBypassStatus m_bypass;
    QList<MivoSiriusContent> m_favoritesCache;
    /// Program-data subscribers by node path: a single id (first) or a list of ids (second).
    QHash<CMPath, QPair<QString, QStringList>> m_pdtRegistry;
    QList<MivoSiriusPdtCut> m_pendingCuts;
    QTimer m_pdtTimer;
};
