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
    : catalog_(catalog)
{
    for (const Account& account : accounts) {
        accounts_[account.user] = defaults(account.password);
    }
}

AccountStore::Data AccountStore::defaults(const std::string& password) const
{
    Data data;
    data.password = password;
    const auto& channels = catalog_.channels();
    for (std::size_t i : {std::size_t{0}, std::size_t{3}}) {
        if (i < channels.size()) {
            data.favorites.push_back({AssetType::LiveChannel, channels[i].id});
        }
    }
    if (!catalog_.xtraChannels().empty()) {
        data.favorites.push_back({AssetType::XtraChannel, catalog_.xtraChannels().front().id});
    }
    if (!catalog_.shows().empty()) {
        data.favorites.push_back({AssetType::Show, catalog_.shows().front().record.assetGuid});
    }
    if (channels.size() > 1) {
        data.recents.push_back({StreamKind::Live, channels[1].id});
    }
    if (!catalog_.episodes().empty()) {
        data.recents.push_back({StreamKind::Episode, catalog_.episodes().front().record.assetGuid});
    }
    data.settings = {{"TuneStart", "on"}, {"Notifications", "on"}};
    return data;
}

bool AccountStore::exists(const std::string& user) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return accounts_.count(user) != 0;
}

bool AccountStore::passwordMatches(const std::string& user, const std::string& password) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = accounts_.find(user);
    return found != accounts_.end() && found->second.password == password;
}

std::vector<FavoriteRef> AccountStore::favorites(const std::string& user) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = accounts_.find(user);
    return found == accounts_.end() ? std::vector<FavoriteRef>{} : found->second.favorites;
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
        const Channel* channel = catalog_.findChannel(change.channelId);
        if (!channel) {
            channel = catalog_.findChannel(change.assetGuid);
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
        if (!catalog_.findShow(change.assetGuid)) {
            error = "Unknown show \"" + change.assetGuid + "\"";
            return std::nullopt;
        }
        return FavoriteRef{AssetType::Show, change.assetGuid};
    case static_cast<int>(AssetType::Episode):
        if (!catalog_.findEpisode(change.assetGuid)) {
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
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = accounts_.find(user);
    if (found == accounts_.end()) {
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
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = accounts_.find(user);
    if (found == accounts_.end() || catalog_.channels().empty()) {
        return;
    }
    Data& data = found->second;
    const auto& channels = catalog_.channels();
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
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = accounts_.find(user);
    return found == accounts_.end() ? std::vector<RecentRef>{} : found->second.recents;
}

void AccountStore::addRecent(const std::string& user, const RecentRef& recent)
{
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = accounts_.find(user);
    if (found == accounts_.end()) {
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
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = accounts_.find(user);
    if (found != accounts_.end()) {
        found->second.recents.clear();
    }
}

void AccountStore::addRecentElsewhere(const std::string& user)
{
    std::size_t index = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        const auto found = accounts_.find(user);
        if (found == accounts_.end() || catalog_.channels().empty()) {
            return;
        }
        index = static_cast<std::size_t>(found->second.elsewhereCounter++ * 11 + 2) %
                catalog_.channels().size();
    }
    addRecent(user, {StreamKind::Live, catalog_.channels()[index].id});
}

std::map<std::string, std::string> AccountStore::settings(const std::string& user) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = accounts_.find(user);
    return found == accounts_.end() ? std::map<std::string, std::string>{} : found->second.settings;
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
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = accounts_.find(user);
    if (found == accounts_.end()) {
        return "Unknown account \"" + user + "\"";
    }
    for (const auto& [name, value] : changes) {
        found->second.settings[name] = value;
    }
    return std::nullopt;
}

void AccountStore::reset()
{
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto& [user, data] : accounts_) {
        data = defaults(data.password);
    }
}

} // namespace sxm::service
