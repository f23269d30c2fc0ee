#include "fakeSxmLib.h"

#include <algorithm>

namespace fake {

Library& library()
{
    // Never destroyed: the bridges' library threads keep ticking while the process exits.
    static Library* instance = new Library;
    return *instance;
}

void reset()
{
    Library& lib = library();
    std::lock_guard<std::mutex> lock(lib.mutex);
    static_cast<State&>(lib) = State();
}

std::vector<std::string> Library::callsSnapshot()
{
    std::lock_guard<std::mutex> lock(mutex);
    return calls;
}

void script(const std::string& operation, std::function<void(const sxm_callbacks&)> during)
{
    std::lock_guard<std::mutex> lock(library().mutex);
    library().during[operation] = std::move(during);
}

void result(const std::string& operation, int value)
{
    std::lock_guard<std::mutex> lock(library().mutex);
    library().results[operation] = value;
}

int calls(const std::string& call)
{
    const std::vector<std::string> all = library().callsSnapshot();
    return int(std::count(all.begin(), all.end(), call));
}

sxm_content record(const char* channelId, int assetType, const char* title, const char* category)
{
    sxm_content content{};
    content.channelId = channelId;
    content.assetType = assetType;
    content.title = title;
    content.assetGuid = title;
    content.category = category;
    content.genre = "Pop";
    content.genreKey = "pop";
    return content;
}

void deliver(const std::string& operation, const std::vector<sxm_content>& records)
{
    script(operation, [operation, records](const sxm_callbacks& cb) {
        const int count = int(records.size());
        for (int index = 0; index < count; ++index) {
            sxm_content item = records[std::size_t(index)];
            if (operation == "sxm_get_recents")
                cb.onRecents(cb.context, &item, index);
            else if (operation == "sxm_get_favorites")
                cb.onFavorites(cb.context, &item, index);
            else if (operation == "sxm_search")
                cb.onSearch(cb.context, &item, index);
            else if (operation == "sxm_get_forYouCarousel")
                cb.onForYou(cb.context, &item, index + 1 < count);
            else if (operation == "sxm_getShows")
                cb.onShows(cb.context, &item, 1, index);
        }
        if (operation == "sxm_getShows")
            cb.onShows(cb.context, nullptr, 0, count);
    });
}

} // namespace fake

namespace {

/// Records the call, runs its scripted callbacks and answers its scripted result.
int operation(const std::string& name, const std::string& args = std::string())
{
    fake::Library& lib = fake::library();
    std::function<void(const sxm_callbacks&)> during;
    sxm_callbacks callbacks;
    {
        std::lock_guard<std::mutex> lock(lib.mutex);
        lib.calls.push_back(args.empty() ? name : name + "(" + args + ")");
        const auto it = lib.during.find(name);
        if (it != lib.during.end())
            during = it->second;
        callbacks = lib.callbacks;
    }
    if (during)
        during(callbacks);
    std::lock_guard<std::mutex> lock(lib.mutex);
    const auto it = lib.results.find(name);
    return it == lib.results.end() ? 1 : it->second;
}

std::string text(const char* value)
{
    return value ? value : "<null>";
}

} // namespace

extern "C" {

// The operations without arguments: recorded by name, scripted, answered.
#define FAKE_OPERATION(name)                                                                       \
    int name(void)                                                                                 \
    {                                                                                              \
        return operation(#name);                                                                   \
    }
FAKE_OPERATION(sxm_init)
FAKE_OPERATION(sxm_configure_sirius)
FAKE_OPERATION(sxm_channel_list)
FAKE_OPERATION(sxm_get_forYouCarousel)
FAKE_OPERATION(sxm_get_favorites)
FAKE_OPERATION(sxm_get_recents)
FAKE_OPERATION(sxm_clearRecents)
FAKE_OPERATION(sxm_startPtdNotification)
FAKE_OPERATION(sxm_stop_pdt_notification)
FAKE_OPERATION(sxm_get_bypassStatus)
FAKE_OPERATION(sxm_stopChannel)
FAKE_OPERATION(sxm_getStreamBitrate)
FAKE_OPERATION(sxm_sendAudioData)
#undef FAKE_OPERATION

// The operations with one argument: recorded as "name(argument)".
#define FAKE_TEXT_OPERATION(name)                                                                  \
    int name(const char* value)                                                                    \
    {                                                                                              \
        return operation(#name, text(value));                                                      \
    }
FAKE_TEXT_OPERATION(sxm_getEpisodes)
FAKE_TEXT_OPERATION(sxm_search)
FAKE_TEXT_OPERATION(sxm_startPtdNotificationForGenre)
FAKE_TEXT_OPERATION(sxm_checkGeoRestricted)
#undef FAKE_TEXT_OPERATION
#define FAKE_NUMBER_OPERATION(name)                                                                \
    int name(int value)                                                                            \
    {                                                                                              \
        return operation(#name, std::to_string(value));                                            \
    }
FAKE_NUMBER_OPERATION(sxm_selectStreamIndex)
FAKE_NUMBER_OPERATION(sxm_userPause)
FAKE_NUMBER_OPERATION(sxm_outputLatency)
#undef FAKE_NUMBER_OPERATION

// No unit test skips; an empty text is what the library writes when it has none.
#define FAKE_SEGMENT_TIME(name)                                                                    \
    int name(char* buffer, int size)                                                               \
    {                                                                                              \
        if (size > 0)                                                                              \
            buffer[0] = '\0';                                                                      \
        return operation(#name);                                                                   \
    }
FAKE_SEGMENT_TIME(sxm_getPrevSegmentTime)
FAKE_SEGMENT_TIME(sxm_getNextSegmentTime)
#undef FAKE_SEGMENT_TIME

void sxm_getVersion(int* major, int* minor, int* patch)
{
    *major = 3;
    *minor = 0;
    *patch = 0;
}

int sxm_get_status(void)
{
    std::lock_guard<std::mutex> lock(fake::library().mutex);
    return fake::library().status;
}

const char* sxm_get_error(void)
{
    // Valid until the next call that changes it; the tests set it before the operation runs.
    return fake::library().error.c_str();
}

void sxm_externalTimerTick(uint32_t ms)
{
    fake::Library& lib = fake::library();
    std::lock_guard<std::mutex> lock(lib.mutex);
    lib.ticks.emplace_back(std::this_thread::get_id(), ms);
    lib.ticked.notify_all();
}

int sxm_registerCallbacks(sxm_callbacks callbacks)
{
    const int result = operation("sxm_registerCallbacks");
    fake::Library& lib = fake::library();
    std::lock_guard<std::mutex> lock(lib.mutex);
    lib.callbacks = callbacks;
    return result;
}

int sxm_verify_account(const char* username, const char* password)
{
    return operation("sxm_verify_account", text(username) + "," + text(password));
}

int sxm_getShows(const char* genreKey, const char* channelId)
{
    return operation("sxm_getShows", text(genreKey) + "," + text(channelId));
}

int sxm_update_server_favorites(sxm_favoriteList* list)
{
    std::string args;
    for (sxm_favoriteList* node = list; node; node = node->next) {
        args += text(node->favorite.assetGuid) + ":" + std::to_string(node->favorite.assetType) +
                ":" + text(node->favorite.channelId) + ":" +
                std::to_string(node->favorite.changeType) + ";";
    }
    return operation("sxm_update_server_favorites", args);
}

void sxm_freeFavoriteList(sxm_favoriteList* list)
{
    while (list) {
        sxm_favoriteList* next = list->next;
        sxm_free(list);
        list = next;
    }
}

int sxm_update_global_settings(const sxm_globalSetting* settings, int count)
{
    std::string args;
    for (int i = 0; i < count; ++i)
        args += text(settings[i].name) + "=" + text(settings[i].value) + ";";
    return operation("sxm_update_global_settings", args);
}

int sxm_startPtdNotificationForChannelIds(const sxm_channelIdList* channelIds)
{
    std::string args;
    for (const sxm_channelIdList* node = channelIds; node; node = node->next)
        args += text(node->channelId) + ";";
    return operation("sxm_startPtdNotificationForChannelIds", args);
}

int sxm_playChannel(const sxm_playRequest* request)
{
    return operation("sxm_playChannel", text(request->channelId) + "," + text(request->assetGuid) +
                                            "," + std::to_string(request->mode) + "," +
                                            std::to_string(request->playLive));
}

void sxm_triggerGoLive(void)
{
    operation("sxm_triggerGoLive");
}

void sxm_on_playTimeChanged(int playTime)
{
    operation("sxm_on_playTimeChanged", std::to_string(playTime));
}

} // extern "C"
