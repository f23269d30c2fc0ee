#include "expected.h"

#include <mivosdk/CMPath.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoRoles.h>
#include <mivosdk/MivoSiriusContent.h>

#include <QDateTime>

namespace e2e {

const sxm::service::Catalog& catalog()
{
    // mivo-host's embedded service runs with the service's default options; dates depend on the
    // anchor, which nothing here compares.
    static const sxm::service::Catalog instance(1, 60, QDateTime::currentMSecsSinceEpoch());
    return instance;
}

QString qs(const std::string& text)
{
    return QString::fromStdString(text);
}

std::vector<const sxm::service::Content*> lineUpRecords()
{
    std::vector<const sxm::service::Content*> records;
    for (const sxm::service::Content* record : catalog().lineup()) {
        if (record->genreKey != "allxtra")
            records.push_back(record);
    }
    return records;
}

const sxm::service::Channel* channelById(const QString& id)
{
    return catalog().findChannel(id.toStdString());
}

QString cutText(const sxm::service::Track& track)
{
    if (track.artist.empty())
        return qs(track.title);
    return QStringLiteral("%1 - %2").arg(qs(track.artist), qs(track.title));
}

namespace paths {
namespace {

QString withTitleAndIcon(CMPath path, const QString& title)
{
    // The icon rides as a parameter too; the node answers whatever the link carries, so an
    // empty one reaches the same node.
    return path.addParam(MivoRoles::Title(), title)
        .addParam(MivoRoles::Icon(), QString())
        .toEncoded();
}

QString flag(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString channelList(const QString& title, const QString& sortKey, const QString& filter, bool xtra,
                    bool pdt)
{
    CMPath path = MivoSiriusBrowsePath().subpath(QStringLiteral("channels"));
    path.appendSubpath(QStringLiteral("filter:") + filter)
        .appendSubpath(QStringLiteral("sort:") + sortKey)
        .appendSubpath(QStringLiteral("xtra:") + flag(xtra))
        .appendSubpath(QStringLiteral("pdt:") + flag(pdt));
    return withTitleAndIcon(path, title);
}

} // namespace

QString browse(const QString& segment)
{
    return MivoSiriusBrowsePath().subpath(segment).toEncoded();
}

QString allChannels()
{
    return channelList(QStringLiteral("All Channels"), MivoSiriusContent::SiriusChannelNumber(),
                       QString(), false, true);
}

QString allChannelsByName()
{
    return channelList(QStringLiteral("All Channels (A-Z)"), MivoSiriusContent::Title(), QString(),
                       false, false);
}

QString genre(const QString& title, const QString& key)
{
    return channelList(title, MivoSiriusContent::SortOrder(), key, false, true);
}

QString xtraGenre(const QString& title, const QString& key)
{
    return channelList(title, MivoSiriusContent::SortOrder(), key, true, false);
}

QString onDemand(const QString& title, const QString& genre, const QString& channelId)
{
    CMPath path = MivoSiriusBrowsePath().subpath(QStringLiteral("onDemand"));
    path.appendSubpath(QStringLiteral("genre:") + (genre.isEmpty() ? QStringLiteral("all") : genre))
        .appendSubpath(QStringLiteral("channelId:") +
                       (channelId.isEmpty() ? QStringLiteral("all") : channelId));
    return withTitleAndIcon(path, title);
}

QString episodes(const QString& showId)
{
    return MivoSiriusBrowsePath()
        .subpath(QStringLiteral("onDemandEpisode"))
        .addParam(QStringLiteral("id"), showId)
        .addParam(QStringLiteral("icon"), QString())
        .toEncoded();
}

QString context(const QString& title, const QString& channelId, const QString& assetGuid,
                const QString& assetType)
{
    return MivoSiriusBrowsePath()
        .subpath(QStringLiteral("contextNode"))
        .addParam(MivoSiriusContent::AssetGuid(), assetGuid)
        .addParam(MivoSiriusContent::AssetType(), assetType)
        .addParam(MivoSiriusContent::ChannelId(), channelId)
        .addParam(MivoSiriusContent::Title(), title)
        .toEncoded();
}

QString channelContext(const sxm::service::Channel& channel)
{
    return context(qs(channel.name), qs(channel.id), qs(channel.assetGuid),
                   QStringLiteral("LiveChannel"));
}

QString recentContext()
{
    return MivoSiriusBrowsePath()
        .subpath(QStringLiteral("contextNode"))
        .addParam(QStringLiteral("clearRecent"), QString())
        .toEncoded();
}

} // namespace paths

} // namespace e2e
