#pragma once
// Thread contract: test thread only.
//
// What the end-to-end tests expect to see, from the sources the module itself reads: the catalog
// of the service that mivo-host embeds (generated from its default options, so these tests know
// every channel, genre, show and track without asking the module), and the browse paths in the
// format the nodes factory hands out (the module's addressing scheme).

#include <sxmservice/Catalog.h>

#include <QString>
#include <QStringList>

namespace e2e {

/// The catalog mivo-host's embedded service serves: seed 1, 60 live channels. Built once.
const sxm::service::Catalog& catalog();

/// The catalog's text as a QString.
QString qs(const std::string& text);

/// The line-up records as the library delivers them, without the "allxtra" listings.
std::vector<const sxm::service::Content*> lineUpRecords();
/// Every live channel, in channel-number order.
std::vector<const sxm::service::Channel*> liveChannels();
const sxm::service::Channel* channelById(const QString& id);

/// How a row shows a program-data cut: "artist - title", or the title alone without an artist.
QString cutText(const sxm::service::Track& track);
/// The cut texts of the tracks a live channel has on air at any instant in [fromMs, toMs].
QStringList cutTextsBetween(const sxm::service::Channel& channel, qint64 fromMs, qint64 toMs);
/// The track after the one on air at `ms`.
sxm::service::Track nextTrack(const sxm::service::Channel& channel, qint64 ms);

namespace paths {

/// A channel list: the four key segments, then the title and icon parameters.
QString channelList(const QString& title, const QString& sortKey, const QString& filter, bool xtra,
                    bool pdt);
QString allChannels();
QString allChannelsByName();
/// The channel list of a genre under "Channels" (by sort order, with now-playing text).
QString genre(const QString& title, const QString& key);
/// The Xtra channels of a genre under "Xtra Channels".
QString xtraGenre(const QString& title, const QString& key);
/// The shows of a genre (empty channel id) or of a channel (empty genre).
QString onDemand(const QString& title, const QString& genre, const QString& channelId);
/// The episodes of a show, through the shared episode node.
QString episodes(const QString& showId);
/// The context menu of an item.
QString context(const QString& title, const QString& channelId, const QString& assetGuid,
                const QString& assetType);
/// The context menu of the recent list.
QString recentContext();
QString favoriteAction();
QString clearRecentsAction();
QString tuneStartSetting();

} // namespace paths

} // namespace e2e
