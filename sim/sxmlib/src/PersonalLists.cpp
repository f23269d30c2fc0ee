#include "PersonalLists.h"

#include "ContentRecords.h"
#include "Log.h"

#include <vector>

namespace sxmlib {
namespace {

constexpr Caller kCaller = Caller::Operation;

std::string textOrEmpty(const char* text)
{
    return text ? std::string(text) : std::string();
}

} // namespace

PersonalLists::PersonalLists(ServiceSession& session, Notifier& notifier)
    : m_session(session)
    , m_notifier(notifier)
{}

void PersonalLists::deliverItems(const Json& reply, int (*callback)(void*, sxm_content*, int),
                                 void* context)
{
    if (!callback)
        return;
    const Json& items = jsonArray(reply, "items");
    if (items.empty()) {
        callback(context, nullptr, -1);
        return;
    }
    int index = 0;
    for (const Json& item : items) {
        RecordArena arena;
        sxm_content content = toContent(item, arena);
        callback(context, &content, index++);
    }
}

int PersonalLists::favorites(std::string& error)
{
    const ServiceReply reply = m_session.get(kCaller, "/favorites");
    if (!reply.ok()) {
        error = reply.message;
        return SXM_RESULT_FAILED;
    }
    const sxm_callbacks callbacks = m_notifier.callbacks();
    deliverItems(reply.json, callbacks.onFavorites, callbacks.context);
    return SXM_RESULT_OK;
}

int PersonalLists::recents(std::string& error)
{
    const ServiceReply reply = m_session.get(kCaller, "/recents");
    if (!reply.ok()) {
        error = reply.message;
        return SXM_RESULT_FAILED;
    }
    const sxm_callbacks callbacks = m_notifier.callbacks();
    deliverItems(reply.json, callbacks.onRecents, callbacks.context);
    return SXM_RESULT_OK;
}

int PersonalLists::clearRecents(std::string& error)
{
    const ServiceReply reply = m_session.post(kCaller, "/recents/clear", Json::object());
    if (!reply.ok()) {
        error = reply.message;
        return SXM_RESULT_FAILED;
    }
    return SXM_RESULT_OK;
}

int PersonalLists::updateFavorites(const sxm_favoriteList* list, std::string& error)
{
    Json favorites = Json::array();
    for (const sxm_favoriteList* node = list; node; node = node->next) {
        const sxm_favorite& f = node->favorite;
        favorites.push_back({{"assetGuid", textOrEmpty(f.assetGuid)},
                             {"assetType", f.assetType},
                             {"assetName", textOrEmpty(f.assetName)},
                             {"channelId", textOrEmpty(f.channelId)},
                             {"contentType", textOrEmpty(f.contentType)},
                             {"changeType", f.changeType}});
    }
    if (favorites.empty()) {
        error = "There are no favorite changes to send.";
        return SXM_RESULT_FAILED;
    }
    const ServiceReply reply = m_session.post(kCaller, "/favorites", {{"favorites", favorites}});
    if (!reply.ok()) {
        error = reply.message;
        return SXM_RESULT_FAILED;
    }
    return SXM_RESULT_OK;
}

void PersonalLists::deliverSettings(const Json& reply)
{
    const sxm_callbacks callbacks = m_notifier.callbacks();
    if (!callbacks.onGlobalSettings)
        return;
    const Json& list = jsonArray(reply, "settings");
    RecordArena arena;
    sxm_globalSetting* settings = arena.array<sxm_globalSetting>(list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        settings[i].name = arena.text(jsonText(list[i], "name"));
        settings[i].value = arena.text(jsonText(list[i], "value"));
    }
    callbacks.onGlobalSettings(callbacks.context, settings, static_cast<int>(list.size()));
}

int PersonalLists::reportGlobalSettings(std::string& error)
{
    const ServiceReply reply = m_session.get(kCaller, "/settings");
    if (!reply.ok()) {
        error = reply.message;
        return SXM_RESULT_FAILED;
    }
    deliverSettings(reply.json);
    return SXM_RESULT_OK;
}

int PersonalLists::updateGlobalSettings(const sxm_globalSetting* settings, int count,
                                        std::string& error)
{
    if (count <= 0 || !settings) {
        error = "There are no settings to store.";
        return SXM_RESULT_FAILED;
    }
    Json list = Json::array();
    for (int i = 0; i < count; ++i) {
        if (!settings[i].name || !*settings[i].name) {
            error = "Every setting needs a name.";
            return SXM_RESULT_FAILED;
        }
        list.push_back({{"name", settings[i].name}, {"value", textOrEmpty(settings[i].value)}});
    }
    const ServiceReply reply = m_session.post(kCaller, "/settings", {{"settings", list}});
    if (!reply.ok()) {
        error = reply.message;
        return SXM_RESULT_FAILED;
    }
    deliverSettings(reply.json);
    return SXM_RESULT_OK;
}

} // namespace sxmlib
