#pragma once
// Thread contract: test thread only.
//
// What the end-to-end tests expect: the catalog of the service mivo-host embeds (its default
// options), and browse paths in the format the nodes factory hands out.

#include <sxmservice/Catalog.h>

#include <QString>
#include <QStringList>

namespace e2e {

/// The catalog mivo-host's embedded service serves: seed 1, 60 live channels. Built once.
const sxm::service::Catalog& catalog();

QString qs(const std::string& text);

/// The line-up records as the library delivers them, without the "allxtra" listings.
std::vector<const sxm::service::Content*> lineUpRecords();
const sxm::service::Channel* channelById(const QString& id);

/// How a row shows a program-data cut: "artist - title", or the title alone without an artist.
QString cutText(const sxm::service::Track& track);

namespace paths {

/// A list right below the browse root ("recent", "favorite", "forYou", "xtra", ...).
QString browse(const QString& segment);
QString allChannels();
QString allChannelsByName();
/// The channel list of a genre under "Channels" (by sort order, with now-playing text).
QString genre(const QString& title, const QString& key);
/// The Xtra channels of a genre under "Xtra Channels".
QString xtraGenre(const QString& title, const QString& key);
QString onDemand(const QString& title, const QString& genre, const QString& channelId);
/// The episodes of a show, through the shared episode node.
QString episodes(const QString& showId);
/// The context menu of an item.
QString context(const QString& title, const QString& channelId, const QString& assetGuid,
                const QString& assetType);
QString channelContext(const sxm::service::Channel& channel);
/// The context menu of the recent list.
QString recentContext();

} // namespace paths

} // namespace e2e
