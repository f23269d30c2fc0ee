#include "contentManager/contentManager.h"

#include "siriusLib/siriusLib.h"
#include "siriusLogging.h"
#include "util/robustSort.h"

namespace {

const log4cplus::Logger& logger()
{
    return sirius::cbSiriusLogger();
}

/// The genre key of the records that repeat every Xtra channel under one pseudo-genre.
const QString kAllXtraGenreKey = QStringLiteral("allxtra");

MivoSiriusContent contentOf(const MivoRoles& row)
{
    return MivoSiriusContent(row.value().toHash());
}

} // namespace

ContentManager::ContentManager(SiriusLib* lib, bool fullFeatured)
    : m_siriusLib(lib)
    , m_fullFeatured(fullFeatured)
{
    lib->subscribe(&SiriusLib::onChannel, this, &ContentManager::on_siriusLib_channel);
    lib->subscribe(&SiriusLib::onPdtCuts, this, &ContentManager::on_siriusLib_pdtCuts);
    lib->subscribe(&SiriusLib::onError, this, &ContentManager::on_siriusLib_error);
    lib->subscribe(&SiriusLib::onRefresh, this, &ContentManager::on_siriusLib_refresh);
    m_pdtTimer.setSingleShot(false);
    m_pdtTimer.setInterval(2500);
    connect(&m_pdtTimer, &QTimer::timeout, this, &ContentManager::on_pdtTimer_timeout);
}

// ---- the line-up -------------------------------------------------------------------------------

void ContentManager::on_siriusLib_channel(const MivoSiriusContent& content)
{
    if (content.isEmpty()) {
        emit loaded();
        return;
    }
    if (content.genreKey() == kAllXtraGenreKey)
        return;
    const auto known = m_channelsById.constFind(content.channelId());
    if (known != m_channelsById.cend()) {
        (*known)->contents.append(content);
        return;
    }
    addNewChannel(content);
}

void ContentManager::addNewChannel(const MivoSiriusContent& content)
{
    if (content.channelId().isEmpty() || content.title().isEmpty() || content.genre().isEmpty() ||
        content.category().isEmpty()) {
        LOG4CPLUS_WARN(logger(), "Missing basic info for channel");
        return;
    }
    auto channel = QSharedPointer<ChannelData>::create();
    channel->index = m_channels.size();
    channel->roles = contentToRoles(content, true);
    channel->contents.append(content);
    auto cut = m_cutsByChannelId.find(content.channelId());
    if (cut == m_cutsByChannelId.end())
        cut = m_cutsByChannelId.insert(content.channelId(), MivoSiriusPdtCut());
    channel->cut = *cut;
    m_channels.append(channel);
    m_channelsById.insert(content.channelId(), channel);
}

void ContentManager::reset()
{
    m_channels.clear();
    m_channelsById.clear();
}

MivoSiriusContent ContentManager::channelByChannelId(const QString& channelId) const
{
    const auto channel = m_channelsById.value(channelId);
    return channel ? channel->contents.first() : MivoSiriusContent();
}

MivoRoles ContentManager::channelRolesByChannelId(const QString& channelId, bool withPdt) const
{
    const auto channel = m_channelsById.value(channelId);
    return channel ? withCutTitle(*channel, withPdt) : MivoRoles();
}

MivoRoles ContentManager::channelRolesById(int index, bool withPdt) const
{
    if (index < 0 || index >= m_channels.size()) {
        LOG4CPLUS_ERROR(logger(), "No channel at index " << index << " of " << m_channels.size());
        return MivoRoles();
    }
    return withCutTitle(*m_channels.at(index), withPdt);
}

MivoRoles ContentManager::withCutTitle(const ChannelData& channel, bool withPdt) const
{
    MivoRoles roles = channel.roles;
    if (withPdt) {
        const QString text = cutText(channel);
        if (!text.isEmpty())
            roles.setTitle(text);
    }
    return roles;
}

int ContentManager::inactivityTimeout(const QString& channelId) const
{
    return channelByChannelId(channelId).inactivityTimeout();
}

bool ContentManager::geoRestricted(const QString& channelId) const
{
    return channelByChannelId(channelId).geoRestrictions() != 0;
}

QList<ContentManager::GenreInfo> ContentManager::genres(int sort, bool channelsOnly) const
{
    QHash<QString, GenreInfo> byName;
    for (const auto& channel : m_channels) {
        for (const MivoSiriusContent& record : channel->contents) {
            if (channelsOnly && record.assetType() != MivoSiriusAssetType::XtraChannel)
                continue;
            auto it = byName.find(record.genre());
            if (it == byName.end()) {
                GenreInfo info;
                info.genre = record.genre();
                info.genreKey = record.genreKey();
                info.genreIcon = record.genreIcon();
                info.sortOrder = record.genreSortOrder();
                info.count = 1;
                byName.insert(record.genre(), info);
            } else {
                ++it->count;
            }
        }
    }
    QList<GenreInfo> genres = byName.values();
    if (sort == 0)
        sirius::robustStableSort(
            genres, [](const GenreInfo& a, const GenreInfo& b) { return a.genre < b.genre; });
    else
        sirius::robustStableSort(genres, [](const GenreInfo& a, const GenreInfo& b) {
            return a.sortOrder < b.sortOrder;
        });
    return genres;
}

QVector<int> ContentManager::channelIds(const QVariantHash& params, const QString& sortRole) const
{
    struct Entry
    {
        int index;
        QVariant sortValue;
    };
    QList<Entry> entries;
    for (const auto& channel : m_channels) {
        for (const MivoSiriusContent& record : channel->contents) {
            const QVariantHash& hash = record.__hash();
            bool matches = true;
            for (auto param = params.cbegin(); param != params.cend() && matches; ++param)
                matches = hash.value(param.key()) == param.value();
            if (matches) {
                entries.append({channel->index, hash.value(sortRole)});
                break;
            }
        }
    }
    // The left value decides: integers when it converts to one, text otherwise.
    sirius::robustStableSort(entries, [](const Entry& a, const Entry& b) {
        bool isNumber = false;
        const qlonglong left = a.sortValue.toLongLong(&isNumber);
        if (isNumber)
            return left < b.sortValue.toLongLong();
        return a.sortValue.toString() < b.sortValue.toString();
    });
    QVector<int> indices;
    indices.reserve(entries.size());
    for (const Entry& entry : entries)
        indices.append(entry.index);
    return indices;
}

bool ContentManager::sortShows(const MivoRoles& a, const MivoRoles& b)
{
    if (a.sortKey() != b.sortKey())
        return a.sortKey().toInt() < b.sortKey().toInt();
    if (a.preferred() != b.preferred())
        return a.preferred();
    return a.title() < b.title();
}

// ---- asynchronous queries ----------------------------------------------------------------------

QList<MivoRoles> ContentManager::toRows(const QList<MivoSiriusContent>& contents,
                                        ListForm form) const
{
    QList<MivoRoles> rows;
    for (const MivoSiriusContent& content : contents) {
        MivoRoles row =
            form != ListForm::B && content.assetType() == MivoSiriusAssetType::XtraChannel
                ? channelRolesByChannelId(content.channelId(), true)
                : contentToRoles(content, false);
        if (form != ListForm::A && row.isEmpty())
            continue;
        rows.append(row);
    }
    return rows;
}

CMReply<QList<MivoRoles>> ContentManager::rowsOf(const CMReply<QList<MivoSiriusContent>>& source,
                                                 ListForm form)
{
    CMReply<QList<MivoRoles>> reply;
    source.onSuccess(this, [this, reply, form](const QList<MivoSiriusContent>& contents) {
        reply.setResult(toRows(contents, form));
    });
    source.onError(this, [reply](const CMError& error) { reply.setError(error); });
    return reply;
}

CMReply<QList<MivoRoles>> ContentManager::recent()
{
    return rowsOf(m_siriusLib->getRecent(), ListForm::A);
}

CMReply<QList<MivoRoles>> ContentManager::clearRecent()
{
    CMReply<QList<MivoRoles>> reply;
    const CMReply<bool> cleared = m_siriusLib->clearRecent();
    cleared.onSuccess(this, [this, reply] {
        emit recentChanged();
        reply.setResult(QList<MivoRoles>());
    });
    cleared.onError(this, [reply](const CMError& error) { reply.setError(error); });
    return reply;
}

CMReply<QList<MivoRoles>> ContentManager::onDemandShows(const QString& genre,
                                                        const QString& channelId)
{
    if (!genre.isEmpty() && !channelId.isEmpty())
        LOG4CPLUS_WARN(logger(), "genre, channelID: only one should be set!");
    CMReply<QList<MivoRoles>> reply;
    const auto shows = m_siriusLib->getShows(genre, channelId);
    shows.onSuccess(this, [this, reply](const QList<MivoSiriusContent>& contents) {
        QList<MivoRoles> rows = toRows(contents, ListForm::B);
        sirius::robustStableSort(rows, &ContentManager::sortShows);
        reply.setResult(rows);
    });
    shows.onError(this, [reply](const CMError& error) { reply.setError(error); });
    return reply;
}

CMReply<QList<MivoRoles>> ContentManager::episodes(const QString& showId)
{
    return rowsOf(m_siriusLib->getEpisodes(showId), ListForm::B);
}

CMReply<QList<MivoRoles>> ContentManager::forYou()
{
    return rowsOf(m_siriusLib->getForYou(), ListForm::A);
}

CMReply<QList<MivoRoles>> ContentManager::search(const QString& text)
{
    return rowsOf(m_siriusLib->search(text), ListForm::C);
}

CMReply<QList<MivoSiriusContent>> ContentManager::cachedFavorites()
{
    CMReply<QList<MivoSiriusContent>> reply;
    if (!m_favoritesCache.isEmpty()) {
        reply.setResult(m_favoritesCache);
        return reply;
    }
    const auto fetched = m_siriusLib->getFavorites();
    fetched.onSuccess(this, [this, reply](const QList<MivoSiriusContent>& favorites) {
        m_favoritesCache = favorites;
        reply.setResult(favorites);
    });
    fetched.onError(this, [reply](const CMError& error) { reply.setError(error); });
    return reply;
}

CMReply<QList<MivoRoles>> ContentManager::favorites()
{
    return rowsOf(cachedFavorites(), ListForm::A);
}

CMReply<bool> ContentManager::inFavoritesByChannelId(const QString& channelId)
{
    CMReply<bool> reply;
    const auto rows = favorites();
    rows.onSuccess(this, [reply, channelId](const QList<MivoRoles>& favorites) {
        const bool found =
            std::any_of(favorites.cbegin(), favorites.cend(), [&](const MivoRoles& row) {
                return contentOf(row).channelId() == channelId;
            });
        reply.setResult(found);
    });
    rows.onError(this, [reply](const CMError& error) { reply.setError(error); });
    return reply;
}

CMReply<bool> ContentManager::updateFavorites(const MivoSiriusFavorite& favorite)
{
    const CMReply<bool> reply = m_siriusLib->updateFavorites({favorite});
    reply.onSuccess(this, [this] {
        LOG4CPLUS_INFO(logger(), "Favorites updated successfully");
        refetchFavorites();
    });
    reply.onError(this, [](const CMError& error) {
        LOG4CPLUS_ERROR(logger(),
                        "Failed to update favorites: " << error.message().toString().toStdString());
    });
    return reply;
}

void ContentManager::refetchFavorites()
{
    m_favoritesCache.clear();
    emit favoritesChanged();
}

void ContentManager::on_siriusLib_error(const MivoSiriusErrorNotification& errorNotification)
{
    m_bypass = errorNotification.bypassStatus();
}

void ContentManager::on_siriusLib_refresh(const MivoSiriusModuleType::Enum& module)
{
    // The service says the favorites changed (on another device, say): the list the favorites
    // node reloads must come from the service, not from the cache of the old one.
    if (module == MivoSiriusModuleType::Favorites)
        m_favoritesCache.clear();
    emit onRefresh(module);
}
