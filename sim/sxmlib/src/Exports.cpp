// The library's C entry points (sxmlib.h, section 4). Each one is a thin shell: it finds the
// library, clears the last error, runs the operation, and turns anything thrown into a failure
// with a text, since nothing may cross the C boundary.

#include "LastError.h"
#include "Library.h"
#include "Log.h"
#include "SimControls.h"

#include <sxmlib.h>

#include <atomic>
#include <new>
#include <string>

using sxmlib::Library;
using sxmlib::Status;

namespace {

// Made by the first successful sxm_init and kept until the process ends: the integrator's
// threads may call in at any time, and there is no shut-down call.
std::atomic<Library*> theLibrary{nullptr};

std::string textOf(const char* text)
{
    return text ? std::string(text) : std::string();
}

template <class Body>
int operation(const char* name, int fallback, Body&& body)
{
    sxmlib::lastError().clear();
    Library* library = theLibrary.load();
    if (!library) {
        sxmlib::lastError().set("The SiriusXM library is not initialized (call sxm_init first).");
        return fallback;
    }
    try {
        std::string error;
        const int result = body(*library, error);
        if (!error.empty())
            sxmlib::lastError().set(error);
        return result;
    } catch (const std::bad_alloc&) {
        sxmlib::lastError().set(std::string(name) + " failed: out of memory.");
    } catch (const std::exception& error) {
        sxmlib::lastError().set(std::string(name) + " failed: " + error.what());
    }
    return fallback;
}

} // namespace

extern "C" {

void sxm_getVersion(int* major, int* minor, int* patch)
{
    const sxmlib::Version version = sxmlib::simulatedVersion();
    if (major)
        *major = version.major;
    if (minor)
        *minor = version.minor;
    if (patch)
        *patch = version.patch;
}

int sxm_get_status(void)
{
    Library* library = theLibrary.load();
    if (!library)
        return SXM_STATUS_UNINITIALIZED;
    try {
        return static_cast<int>(library->status().status());
    } catch (const std::exception&) {
        return SXM_STATUS_UNINITIALIZED;
    }
}

const char* sxm_get_error(void)
{
    return sxmlib::lastError().text();
}

int sxm_init(void)
{
    sxmlib::lastError().clear();
    if (sxmlib::initShouldFail()) {
        sxmlib::lastError().set("sxm_init failed on purpose (SXMLIB_SIM_FAIL=init).");
        return SXM_RESULT_FAILED;
    }
    if (theLibrary.load())
        return SXM_RESULT_OK;
    try {
        sxm_init_platform_logger();
        if (sxm_cr_init() != 1) {
            sxmlib::lastError().set("The platform's cryptography library is too old.");
            return SXM_RESULT_FAILED;
        }
        if (sxm_cipher_get_algo_keylen() != 16) {
            sxmlib::lastError().set("The platform's cipher does not take 16-byte keys.");
            return SXM_RESULT_FAILED;
        }
        theLibrary.store(new Library);
        SXMLIB_INFO("libsxmlib " << SXM_VERSION_MAJOR << "." << SXM_VERSION_MINOR << "."
                                 << SXM_VERSION_PATCH << " (simulator) initialized");
        return SXM_RESULT_OK;
    } catch (const std::exception& error) {
        sxmlib::lastError().set(std::string("sxm_init failed: ") + error.what());
        return SXM_RESULT_FAILED;
    }
}

int sxm_registerCallbacks(sxm_callbacks callbacks)
{
    return operation("sxm_registerCallbacks", SXM_RESULT_FAILED,
                     [&](Library& library, std::string& error) -> int {
                         if (sxmlib::registerShouldFail()) {
                             error = "sxm_registerCallbacks failed on purpose "
                                     "(SXMLIB_SIM_FAIL=register).";
                             return SXM_RESULT_FAILED;
                         }
                         return library.registerCallbacks(callbacks, error);
                     });
}

void sxm_externalTimerTick(uint32_t ms)
{
    Library* library = theLibrary.load();
    if (!library)
        return;
    try {
        library->tick(ms);
    } catch (const std::exception& error) {
        SXMLIB_ERROR("timer tick failed: " << error.what());
    }
}

int sxm_selectStreamIndex(int index)
{
    return operation("sxm_selectStreamIndex", SXM_RESULT_FAILED,
                     [&](Library& library, std::string& error) -> int {
                         const int result = library.playback().selectStreamIndex(index);
                         if (result != SXM_RESULT_OK)
                             error = "Stream index " + std::to_string(index) + " is not 0..3.";
                         return result;
                     });
}

int sxm_verify_account(const char* username, const char* password)
{
    return operation("sxm_verify_account", SXM_RESULT_FAILED,
                     [&](Library& library, std::string& error) -> int {
                         return library.verifyAccount(textOf(username), textOf(password), error);
                     });
}

int sxm_configure_sirius(void)
{
    return operation(
        "sxm_configure_sirius", SXM_RESULT_FAILED,
        [](Library& library, std::string& error) -> int { return library.configure(error); });
}

int sxm_channel_list(void)
{
    return operation("sxm_channel_list", SXM_RESULT_FAILED,
                     [](Library& library, std::string& error) -> int {
                         return library.catalog().channelList(error);
                     });
}

int sxm_getShows(const char* genreKey, const char* channelId)
{
    return operation("sxm_getShows", -1, [&](Library& library, std::string& error) -> int {
        return library.catalog().shows(textOf(genreKey), textOf(channelId), error);
    });
}

int sxm_getEpisodes(const char* showGuid)
{
    return operation("sxm_getEpisodes", -1, [&](Library& library, std::string& error) -> int {
        return library.catalog().episodes(textOf(showGuid), error);
    });
}

int sxm_get_forYouCarousel(void)
{
    return operation("sxm_get_forYouCarousel", SXM_RESULT_FAILED,
                     [](Library& library, std::string& error) -> int {
                         return library.catalog().forYou(error);
                     });
}

int sxm_get_favorites(void)
{
    return operation("sxm_get_favorites", SXM_RESULT_FAILED,
                     [](Library& library, std::string& error) -> int {
                         return library.personal().favorites(error);
                     });
}

int sxm_get_recents(void)
{
    return operation("sxm_get_recents", SXM_RESULT_FAILED,
                     [](Library& library, std::string& error) -> int {
                         return library.personal().recents(error);
                     });
}

int sxm_clearRecents(void)
{
    return operation("sxm_clearRecents", SXM_RESULT_FAILED,
                     [](Library& library, std::string& error) -> int {
                         return library.personal().clearRecents(error);
                     });
}

int sxm_search(const char* text)
{
    return operation("sxm_search", SXM_RESULT_FAILED,
                     [&](Library& library, std::string& error) -> int {
                         return library.catalog().search(textOf(text), error);
                     });
}

int sxm_update_server_favorites(sxm_favoriteList* list)
{
    return operation("sxm_update_server_favorites", SXM_RESULT_FAILED,
                     [&](Library& library, std::string& error) -> int {
                         return library.personal().updateFavorites(list, error);
                     });
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
    return operation("sxm_update_global_settings", SXM_RESULT_FAILED,
                     [&](Library& library, std::string& error) -> int {
                         return library.personal().updateGlobalSettings(settings, count, error);
                     });
}

int sxm_startPtdNotificationForChannelIds(const sxm_channelIdList* channelIds)
{
    return operation("sxm_startPtdNotificationForChannelIds", SXM_RESULT_FAILED,
                     [&](Library& library, std::string& error) -> int {
                         return library.programData().forChannels(channelIds, error);
                     });
}

int sxm_startPtdNotificationForGenre(const char* genreKey)
{
    return operation("sxm_startPtdNotificationForGenre", SXM_RESULT_FAILED,
                     [&](Library& library, std::string& error) -> int {
                         return library.programData().forGenre(textOf(genreKey), error);
                     });
}

int sxm_startPtdNotification(void)
{
    return operation("sxm_startPtdNotification", SXM_RESULT_FAILED,
                     [](Library& library, std::string& error) -> int {
                         return library.programData().forAll(error);
                     });
}

int sxm_stop_pdt_notification(void)
{
    return operation(
        "sxm_stop_pdt_notification", SXM_RESULT_FAILED,
        [](Library& library, std::string&) -> int { return library.programData().stop(); });
}

int sxm_checkGeoRestricted(const char* channelId)
{
    return operation("sxm_checkGeoRestricted", 2, [&](Library& library, std::string& error) -> int {
        return library.catalog().geoRestricted(textOf(channelId), error);
    });
}

int sxm_get_bypassStatus(void)
{
    return operation(
        "sxm_get_bypassStatus", SXM_RESULT_FAILED,
        [](Library& library, std::string& error) -> int { return library.bypassStatus(error); });
}

int sxm_playChannel(const sxm_playRequest* request)
{
    return operation("sxm_playChannel", SXM_RESULT_FAILED,
                     [&](Library& library, std::string& error) -> int {
                         return library.playback().play(request, error);
                     });
}

int sxm_stopChannel(void)
{
    return operation(
        "sxm_stopChannel", SXM_RESULT_FAILED,
        [](Library& library, std::string& error) -> int { return library.playback().stop(error); });
}

int sxm_userPause(int pause)
{
    return operation("sxm_userPause", SXM_RESULT_ERROR,
                     [&](Library& library, std::string& error) -> int {
                         return library.playback().pause(pause != 0, error);
                     });
}

int sxm_outputLatency(int ms)
{
    return operation("sxm_outputLatency", SXM_RESULT_ERROR,
                     [&](Library& library, std::string& error) -> int {
                         return library.playback().outputLatency(ms, error);
                     });
}

int sxm_getStreamBitrate(void)
{
    return operation("sxm_getStreamBitrate", 0, [](Library& library, std::string&) -> int {
        return library.playback().streamBitrate();
    });
}

int sxm_getPrevSegmentTime(char* buffer, int size)
{
    return operation("sxm_getPrevSegmentTime", SXM_RESULT_ERROR,
                     [&](Library& library, std::string& error) -> int {
                         return library.playback().segmentTime(false, buffer, size, error);
                     });
}

int sxm_getNextSegmentTime(char* buffer, int size)
{
    return operation("sxm_getNextSegmentTime", SXM_RESULT_ERROR,
                     [&](Library& library, std::string& error) -> int {
                         return library.playback().segmentTime(true, buffer, size, error);
                     });
}

void sxm_triggerGoLive(void)
{
    operation("sxm_triggerGoLive", 0, [](Library& library, std::string& error) -> int {
        library.playback().goLive(error);
        return 0;
    });
}

void sxm_on_playTimeChanged(int playTime)
{
    operation("sxm_on_playTimeChanged", 0, [&](Library& library, std::string&) -> int {
        library.playback().playTimeChanged(playTime);
        return 0;
    });
}

int sxm_sendAudioData(void)
{
    // Not an operation of the library thread alone, and it must not disturb the error text of
    // the operation that the integrator may be reading on another thread.
    Library* library = theLibrary.load();
    if (!library)
        return SXM_RESULT_FAILED;
    std::string error;
    return library->playback().sendAudioData(error);
}

} // extern "C"
