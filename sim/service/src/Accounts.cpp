#include "Accounts.h"

#include <algorithm>

namespace sxm::service {
namespace {

bool sameFavorite(const FavoriteRef& a, const FavoriteRef& b)
{
    return a.type == b.type && a.key == b.key;
}

bool sameRecent(const RecentRef& a, const RecentRef& b)
{
    return a.kind == b.kind && a.id == b.id;
}

} // namespace

AccountStore::AccountStore(const Catalog& catalog, const std::vector<Account>& accounts)
    : m_catalog(catalog)
{
    for (const Account& account : accounts) {
        m_accounts[account.user] = defaults(account.password);
    }
}

AccountStore::Data AccountStore::defaults(const std::string& password) const
{
    Data data;
    data.password = password;
    const auto& channels = m_catalog.channels();
    for (std::size_t i : {std::size_t{0}, std::size_t{3}}) {
        if (i < channels.size()) {
            data.favorites.push_back({AssetType::LiveChannel, channels[i].id});
        }
    }
    if (!m_catalog.xtraChannels().empty()) {
        data.favorites.push_back({AssetType::XtraChannel, m_catalog.xtraChannels().front().id});
    }
    if (!m_catalog.shows().empty()) {
        data.favorites.push_back({AssetType::Show, m_catalog.shows().front().record.assetGuid});
    }
    if (channels.size() > 1) {
        data.recents.push_back({StreamKind::Live, channels[1].id});
    }
    if (!m_catalog.episodes().empty()) {
        data.recents.push_back(
            {StreamKind::Episode, m_catalog.episodes().front().record.assetGuid});
    }
    data.settings = {{"TuneStart", "on"}, {"Notifications", "on"}};
    return data;
}

bool AccountStore::exists(const std::string& user) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_accounts.count(user) != 0;
}

bool AccountStore::passwordMatches(const std::string& user, const std::string& password) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_accounts.find(user);
    return found != m_accounts.end() && found->second.password == password;
}

std::vector<FavoriteRef> AccountStore::favorites(const std::string& user) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_accounts.find(user);
    return found == m_accounts.end() ? std::vector<FavoriteRef>{} : found->second.favorites;
}

std::set<std::string> AccountStore::favoriteKeys(const std::string& user) const
{
    std::set<std::string> keys;
    for (const FavoriteRef& favorite : favorites(user)) {
        keys.insert(favorite.key);
    }
    return keys;
}

std::optional<FavoriteRef> AccountStore::resolve(const FavoriteChange& change,
                                                 std::string& error) const
{
    switch (change.assetType) {
    case static_cast<int>(AssetType::LiveChannel):
    case static_cast<int>(AssetType::XtraChannel): {
        const Channel* channel = m_catalog.findChannel(change.channelId);
        if (!channel) {
            channel = m_catalog.findChannel(change.assetGuid);
        }
        const bool xtra = change.assetType == static_cast<int>(AssetType::XtraChannel);
        if (!channel || channel->xtra != xtra) {
            error = "Unknown " + std::string(xtra ? "Xtra " : "") + "channel \"" +
                    (change.channelId.empty() ? change.assetGuid : change.channelId) + "\"";
            return std::nullopt;
        }
        return FavoriteRef{xtra ? AssetType::XtraChannel : AssetType::LiveChannel, channel->id};
    }
    case static_cast<int>(AssetType::Show):
        if (!m_catalog.findShow(change.assetGuid)) {
            error = "Unknown show \"" + change.assetGuid + "\"";
            return std::nullopt;
        }
        return FavoriteRef{AssetType::Show, change.assetGuid};
    case static_cast<int>(AssetType::Episode):
        if (!m_catalog.findEpisode(change.assetGuid)) {
            error = "Unknown episode \"" + change.assetGuid + "\"";
            return std::nullopt;
        }
        return FavoriteRef{AssetType::Episode, change.assetGuid};
    default:
        error = "Asset type " + std::to_string(change.assetType) + " cannot be a favorite";
        return std::nullopt;
    }
}

std::optional<std::string> AccountStore::changeFavorites(const std::string& user,
                                                         const std::vector<FavoriteChange>& changes)
{
    std::vector<std::pair<FavoriteRef, bool>> resolved; // favorite, add
    for (const FavoriteChange& change : changes) {
        if (change.changeType != 0 && change.changeType != 1) {
            return "changeType must be 0 (add) or 1 (remove), not " +
                   std::to_string(change.changeType);
        }
        std::string error;
        const auto favorite = resolve(change, error);
        if (!favorite) {
            return error;
        }
        resolved.emplace_back(*favorite, change.changeType == 0);
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_accounts.find(user);
    if (found == m_accounts.end()) {
        return "Unknown account \"" + user + "\"";
    }
    auto& list = found->second.favorites;
    for (const auto& [favorite, add] : resolved) {
        const auto same = [&favorite = favorite](const FavoriteRef& f) {
            return sameFavorite(f, favorite);
        };
        list.erase(std::remove_if(list.begin(), list.end(), same), list.end());
        if (add) {
            list.push_back(favorite);
        }
    }
    return std::nullopt;
}

void AccountStore::toggleFavoriteElsewhere(const std::string& user)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_accounts.find(user);
    if (found == m_accounts.end() || m_catalog.channels().empty()) {
        return;
    }
    Data& data = found->second;
    const auto& channels = m_catalog.channels();
    const FavoriteRef favorite{
        AssetType::LiveChannel,
        channels[static_cast<std::size_t>(data.elsewhereCounter++ * 7 + 5) % channels.size()].id};
    auto& list = data.favorites;
    const auto same = [&favorite](const FavoriteRef& f) {
        return sameFavorite(f, favorite);
    };
    const auto it = std::find_if(list.begin(), list.end(), same);
    if (it != list.end()) {
        list.erase(it);
    } else {
        list.push_back(favorite);
    }
}

std::vector<RecentRef> AccountStore::recents(const std::string& user) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_accounts.find(user);
    return found == m_accounts.end() ? std::vector<RecentRef>{} : found->second.recents;
}

void AccountStore::addRecent(const std::string& user, const RecentRef& recent)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_accounts.find(user);
    if (found == m_accounts.end()) {
        return;
    }
    auto& list = found->second.recents;
    list.erase(std::remove_if(list.begin(), list.end(),
                              [&recent](const RecentRef& r) { return sameRecent(r, recent); }),
               list.end());
    list.insert(list.begin(), recent);
    if (list.size() > kMaxRecents) {
        list.resize(kMaxRecents);
    }
}

void AccountStore::clearRecents(const std::string& user)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_accounts.find(user);
    if (found != m_accounts.end()) {
        found->second.recents.clear();
    }
}

void AccountStore::addRecentElsewhere(const std::string& user)
{
    std::size_t index = 0;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_accounts.find(user);
        if (found == m_accounts.end() || m_catalog.channels().empty()) {
            return;
        }
        index = static_cast<std::size_t>(found->second.elsewhereCounter++ * 11 + 2) %
                m_catalog.channels().size();
    }
    addRecent(user, {StreamKind::Live, m_catalog.channels()[index].id});
}

std::map<std::string, std::string> AccountStore::settings(const std::string& user) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_accounts.find(user);
    return found == m_accounts.end() ? std::map<std::string, std::string>{}
                                     : found->second.settings;
}

std::optional<std::string>
AccountStore::updateSettings(const std::string& user,
                             const std::map<std::string, std::string>& changes)
{
    for (const auto& [name, value] : changes) {
        if (name.empty()) {
            return std::string("A setting needs a name");
        }
        if (name == "TuneStart" && value != "on" && value != "off") {
            return "TuneStart must be \"on\" or \"off\", not \"" + value + "\"";
        }
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_accounts.find(user);
    if (found == m_accounts.end()) {
        return "Unknown account \"" + user + "\"";
    }
    for (const auto& [name, value] : changes) {
        found->second.settings[name] = value;
    }
    return std::nullopt;
}

void AccountStore::reset()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (auto& [user, data] : m_accounts) {
        data = defaults(data.password);
    }
}

} // namespace sxm::service
