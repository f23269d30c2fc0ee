// What the service keeps per account: favorites, recently played, global settings, and the
// events that tell a device about changes made elsewhere.
#include "ErrorCodes.h"
#include "Routes.h"

namespace sxm::service {
namespace {

constexpr int kModuleFavorites = 1;
constexpr int kModuleRecents = 2;

AssetType assetTypeOfRecent(StreamKind kind)
{
    switch (kind) {
    case StreamKind::Episode:
        return AssetType::Episode;
    case StreamKind::Xtra:
        return AssetType::XtraChannel;
    case StreamKind::Live:
        break;
    }
    return AssetType::LiveChannel;
}

void listFavorites(Call& call)
{
    if (refuseDuringGupBypass(call)) {
        return;
    }
    std::vector<const Content*> records;
    for (const FavoriteRef& favorite : call.ctx.m_accounts.favorites(call.user())) {
        if (const Content* record = recordOf(call.ctx.m_catalog, favorite.type, favorite.key)) {
            records.push_back(record);
        }
    }
    call.reply(itemsJson(call, records));
}

std::optional<FavoriteChange> readChange(const Json& item, std::string& error)
{
    if (!item.is_object()) {
        error = "every favorite must be an object";
        return std::nullopt;
    }
    FavoriteChange change;
    const auto integer = [&](const char* name, int& target) {
        const auto found = item.find(name);
        if (found == item.end()) {
            return true;
        }
        if (!found->is_number_integer()) {
            error = std::string("favorite field \"") + name + "\" must be a whole number";
            return false;
        }
        target = found->get<int>();
        return true;
    };
    const auto text = [&](const char* name, std::string& target) {
        const auto found = item.find(name);
        if (found == item.end() || found->is_null()) {
            return true;
        }
        if (!found->is_string()) {
            error = std::string("favorite field \"") + name + "\" must be a text";
            return false;
        }
        target = found->get<std::string>();
        return true;
    };
    if (!integer("assetType", change.assetType) || !integer("changeType", change.changeType) ||
        !text("assetGuid", change.assetGuid) || !text("channelId", change.channelId)) {
        return std::nullopt;
    }
    return change;
}

void updateFavorites(Call& call)
{
    if (refuseDuringGupBypass(call)) {
        return;
    }
    const auto body = call.jsonBody();
    if (!body) {
        return;
    }
    const auto list = body->find("favorites");
    if (list == body->end() || !list->is_array() || list->empty()) {
        call.fail(400, errors::kBadRequest, "BAD_REQUEST",
                  "The body needs a non-empty \"favorites\" array");
        return;
    }
    std::vector<FavoriteChange> changes;
    for (const Json& item : *list) {
        std::string error;
        const auto change = readChange(item, error);
        if (!change) {
            call.fail(400, errors::kBadRequest, "BAD_REQUEST", error);
            return;
        }
        changes.push_back(*change);
    }
    if (const auto error = call.ctx.m_accounts.changeFavorites(call.user(), changes)) {
        const bool unknown = error->rfind("Unknown", 0) == 0;
        call.fail(unknown ? 404 : 400, unknown ? errors::kNotFound : errors::kBadRequest,
                  unknown ? "NOT_FOUND" : "BAD_REQUEST", *error);
        return;
    }
    notifyOtherSessions(call, kModuleFavorites);
    call.reply({{"updated", static_cast<int>(changes.size())}});
}

void listRecents(Call& call)
{
    if (refuseDuringGupBypass(call)) {
        return;
    }
    std::vector<const Content*> records;
    for (const RecentRef& recent : call.ctx.m_accounts.recents(call.user())) {
        if (const Content* record =
                recordOf(call.ctx.m_catalog, assetTypeOfRecent(recent.kind), recent.id)) {
            records.push_back(record);
        }
    }
    call.reply(itemsJson(call, records));
}

void clearRecents(Call& call)
{
    if (refuseDuringGupBypass(call)) {
        return;
    }
    call.ctx.m_accounts.clearRecents(call.user());
    notifyOtherSessions(call, kModuleRecents);
    call.reply({{"cleared", true}});
}

Json settingsJson(const std::map<std::string, std::string>& settings)
{
    Json list = Json::array();
    for (const auto& [name, value] : settings) {
        list.push_back({{"name", name}, {"value", value}});
    }
    return {{"settings", list}};
}

void getSettings(Call& call)
{
    call.reply(settingsJson(call.ctx.m_accounts.settings(call.user())));
}

void updateSettings(Call& call)
{
    if (refuseDuringGupBypass(call)) {
        return;
    }
    const auto body = call.jsonBody();
    if (!body) {
        return;
    }
    const auto list = body->find("settings");
    if (list == body->end() || !list->is_array()) {
        call.fail(400, errors::kBadRequest, "BAD_REQUEST", "The body needs a \"settings\" array");
        return;
    }
    std::map<std::string, std::string> changes;
    for (const Json& item : *list) {
        if (!item.is_object() || !item.contains("name") || !item["name"].is_string() ||
            !item.contains("value") || !item["value"].is_string()) {
            call.fail(400, errors::kBadRequest, "BAD_REQUEST",
                      "Every setting needs a \"name\" and a \"value\" text");
            return;
        }
        changes[item["name"].get<std::string>()] = item["value"].get<std::string>();
    }
    if (const auto error = call.ctx.m_accounts.updateSettings(call.user(), changes)) {
        call.fail(400, errors::kBadRequest, "BAD_REQUEST", *error);
        return;
    }
    call.reply(settingsJson(call.ctx.m_accounts.settings(call.user())));
}

void events(Call& call)
{
    Json list = Json::array();
    for (const SessionEvent& event : call.session->takeEvents()) {
        if (event.type == SessionEvent::Type::Refresh) {
            list.push_back({{"type", "refresh"}, {"module", event.module}});
        } else {
            list.push_back(
                {{"type", "playbackEnded"}, {"code", event.code}, {"message", event.message}});
        }
    }
    call.reply({{"events", list}});
}

} // namespace

void notifyOtherSessions(const Call& call, int module)
{
    for (const auto& session : call.ctx.m_sessions.sessions(call.user())) {
        if (session != call.session) {
            session->queueEvent({SessionEvent::Type::Refresh, module, 0, {}});
        }
    }
}

void registerPersonalRoutes(httplib::Server& server, ServiceContext& ctx)
{
    addRoute(server, ctx, Method::Get, "/api/v1/favorites", "favorites", Access::SignedIn,
             listFavorites);
    addRoute(server, ctx, Method::Post, "/api/v1/favorites", "favorites.update", Access::SignedIn,
             updateFavorites);
    addRoute(server, ctx, Method::Get, "/api/v1/recents", "recents", Access::SignedIn, listRecents);
    addRoute(server, ctx, Method::Post, "/api/v1/recents/clear", "recents.clear", Access::SignedIn,
             clearRecents);
    addRoute(server, ctx, Method::Get, "/api/v1/settings", "settings", Access::SignedIn,
             getSettings);
    addRoute(server, ctx, Method::Post, "/api/v1/settings", "settings.update", Access::SignedIn,
             updateSettings);
    addRoute(server, ctx, Method::Get, "/api/v1/events", "events", Access::SignedIn, events);
}

} // namespace sxm::service
