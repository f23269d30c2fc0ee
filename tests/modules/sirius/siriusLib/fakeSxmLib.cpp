#include "fakeSxmLib.h"

#include <cstring>

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

int Library::result(const std::string& name)
{
    std::lock_guard<std::mutex> lock(mutex);
    const auto it = results.find(name);
    return it == results.end() ? 1 : it->second;
}

void Library::record(const std::string& call)
{
    std::lock_guard<std::mutex> lock(mutex);
    calls.push_back(call);
}

std::vector<std::string> Library::callsSnapshot()
{
    std::lock_guard<std::mutex> lock(mutex);
    return calls;
}

} // namespace fake

namespace {

/// Records the call, runs its scripted callbacks and answers its scripted result.
int operation(const std::string& name, const std::string& args = std::string())
{
    fake::Library& lib = fake::library();
    lib.record(args.empty() ? name : name + "(" + args + ")");
    std::function<void(const sxm_callbacks&)> during;
    sxm_callbacks callbacks;
    {
        std::lock_guard<std::mutex> lock(lib.mutex);
        const auto it = lib.during.find(name);
        if (it != lib.during.end())
            during = it->second;
        callbacks = lib.callbacks;
    }
    if (during)
        during(callbacks);
    return lib.result(name);
}

std::string text(const char* value)
{
    return value ? value : "<null>";
}

} // namespace

extern "C" {

void sxm_getVersion(int* major, int* minor, int* patch)
{
    fake::Library& lib = fake::library();
    std::lock_guard<std::mutex> lock(lib.mutex);
    *major = lib.version[0];
    *minor = lib.version[1];
    *patch = lib.version[2];
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

int sxm_init(void)
{
    return operation("sxm_init");
}

void sxm_externalTimerTick(uint32_t ms)
{
    fake::Library& lib = fake::library();
    std::lock_guard<std::mutex> lock(lib.mutex);
    lib.ticks.emplace_back(std::this_thread::get_id(), ms);
}

int sxm_selectStreamIndex(int index)
{
    return operation("sxm_selectStreamIndex", std::to_string(index));
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

int sxm_configure_sirius(void)
{
    return operation("sxm_configure_sirius");
}

int sxm_channel_list(void)
{
    return operation("sxm_channel_list");
}

int sxm_getShows(const char* genreKey, const char* channelId)
{
    return operation("sxm_getShows", text(genreKey) + "," + text(channelId));
}

int sxm_getEpisodes(const char* showGuid)
{
    return operation("sxm_getEpisodes", text(showGuid));
}

int sxm_get_forYouCarousel(void)
{
    return operation("sxm_get_forYouCarousel");
}

int sxm_get_favorites(void)
{
    return operation("sxm_get_favorites");
}

int sxm_get_recents(void)
{
    return operation("sxm_get_recents");
}

int sxm_clearRecents(void)
{
    return operation("sxm_clearRecents");
}

int sxm_search(const char* searchText)
{
    return operation("sxm_search", text(searchText));
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

int sxm_startPtdNotificationForGenre(const char* genreKey)
{
    return operation("sxm_startPtdNotificationForGenre", text(genreKey));
}

int sxm_startPtdNotification(void)
{
    return operation("sxm_startPtdNotification");
}

int sxm_stop_pdt_notification(void)
{
    return operation("sxm_stop_pdt_notification");
}

int sxm_checkGeoRestricted(const char* channelId)
{
    return operation("sxm_checkGeoRestricted", text(channelId));
}

int sxm_get_bypassStatus(void)
{
    return operation("sxm_get_bypassStatus");
}

int sxm_playChannel(const sxm_playRequest* request)
{
    return operation("sxm_playChannel", text(request->channelId) + "," + text(request->assetGuid) +
                                            "," + std::to_string(request->mode) + "," +
                                            std::to_string(request->playLive));
}

int sxm_stopChannel(void)
{
    return operation("sxm_stopChannel");
}

int sxm_userPause(int pause)
{
    return operation("sxm_userPause", std::to_string(pause));
}

int sxm_outputLatency(int ms)
{
    return operation("sxm_outputLatency", std::to_string(ms));
}

int sxm_getStreamBitrate(void)
{
    return operation("sxm_getStreamBitrate");
}

static int segmentTime(const char* name, char* buffer, int size)
{
    const int result = operation(name);
    std::lock_guard<std::mutex> lock(fake::library().mutex);
    std::strncpy(buffer, fake::library().segmentText.c_str(), static_cast<size_t>(size) - 1);
    return result;
}

int sxm_getPrevSegmentTime(char* buffer, int size)
{
    return segmentTime("sxm_getPrevSegmentTime", buffer, size);
}

int sxm_getNextSegmentTime(char* buffer, int size)
{
    return segmentTime("sxm_getNextSegmentTime", buffer, size);
}

void sxm_triggerGoLive(void)
{
    operation("sxm_triggerGoLive");
}

void sxm_on_playTimeChanged(int playTime)
{
    operation("sxm_on_playTimeChanged", std::to_string(playTime));
}

int sxm_sendAudioData(void)
{
    return operation("sxm_sendAudioData");
}

} // extern "C"
