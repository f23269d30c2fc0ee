// Accounts and what the service keeps per account: favorites, recently played items and global
// settings. Safe from any thread: one mutex guards all accounts' data.
#pragma once

#include "Streams.h"
#include "sxmservice/Catalog.h"
#include "sxmservice/Options.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace sxm::service {

/// A favorite: a channel by channel id (live or Xtra), a show or an episode by asset GUID.
struct FavoriteRef
{
    AssetType type = AssetType::LiveChannel;
    std::string key;
};

/// A change as the client library sends it; changeType 0 adds, 1 removes.
struct FavoriteChange
{
    int assetType = 0;
    std::string assetGuid;
    std::string channelId;
    int changeType = 0;
};

struct RecentRef
{
    StreamKind kind = StreamKind::Live;
    std::string id;
};

class AccountStore
{
public:
    static constexpr std::size_t kMaxRecents = 30;

    AccountStore(const Catalog& catalog, const std::vector<Account>& accounts);

    bool passwordMatches(const std::string& user, const std::string& password) const;
    bool exists(const std::string& user) const;

    std::vector<FavoriteRef> favorites(const std::string& user) const;
    /// Channel ids and asset GUIDs of the favorites, for the isFavorite field of records.
    std::set<std::string> favoriteKeys(const std::string& user) const;
    /// Applies every change or none: the error names the first change that cannot be applied.
    std::optional<std::string> changeFavorites(const std::string& user,
                                               const std::vector<FavoriteChange>& changes);
    /// What another device of the user would do: adds or removes one live channel.
    void toggleFavoriteElsewhere(const std::string& user);

    /// Newest first.
    std::vector<RecentRef> recents(const std::string& user) const;
    void addRecent(const std::string& user, const RecentRef& recent);
    void clearRecents(const std::string& user);
    /// What another device of the user would do: plays one more live channel.
    void addRecentElsewhere(const std::string& user);

    std::map<std::string, std::string> settings(const std::string& user) const;
    /// Names must be non-empty; "TuneStart" takes "on" or "off". All or nothing.
    std::optional<std::string> updateSettings(const std::string& user,
                                              const std::map<std::string, std::string>& changes);

    /// Every account back to its default data.
    void reset();

private:
    struct Data
    {
        std::string password;
        std::vector<FavoriteRef> favorites;
        std::vector<RecentRef> recents;
        std::map<std::string, std::string> settings;
        int elsewhereCounter = 0;
    };

    Data defaults(const std::string& password) const;
    std::optional<FavoriteRef> resolve(const FavoriteChange& change, std::string& error) const;

    const Catalog& m_catalog;
    mutable std::mutex m_mutex; // guards m_accounts
    std::map<std::string, Data> m_accounts;
};

} // namespace sxm::service
