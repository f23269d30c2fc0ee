#include "CallbackRecorder.h"

#include <chrono>

namespace sxmlib::test {
namespace {

std::string text(const char* value)
{
    return value ? std::string(value) : std::string();
}

Content copyContent(const sxm_content& r)
{
    Content c;
    c.assetType = r.assetType;
    c.title = text(r.title);
    c.genreKey = text(r.genreKey);
    c.channelId = text(r.channelId);
    c.logoCount = r.logoCount;
    for (int i = 0; i < r.logoCount; ++i)
        c.logoUrls.push_back(text(r.logos[i].url));
    c.siriusChannelNumber = r.siriusChannelNumber;
    c.isFavorite = r.isFavorite != 0;
    c.isXtra = r.isXtra != 0;
    return c;
}

ListItem listItem(const sxm_content* item, int index)
{
    return {item ? std::optional<Content>(copyContent(*item)) : std::nullopt, index};
}

} // namespace

sxm_callbacks CallbackRecorder::callbacks()
{
    sxm_callbacks c{};
    c.context = this;
    c.eventContext = this;
    c.onError = [](void* context, sxm_errorNotification* n) {
        return record(context, [n](Recorded& r) {
            r.errors.push_back({n->libraryErrorCode, n->responseCode, n->errorStop != 0,
                                n->isGupUnavailable != 0, n->isSearchUnavailable != 0,
                                text(n->errorString)});
        });
    };
    c.onTrackMetadata = [](void* context, sxm_trackMetadata* m) {
        return record(context, [m](Recorded& r) {
            r.tracks.push_back({text(m->artist), text(m->track), text(m->trackId)});
        });
    };
    c.onChannelBitrateChanged = [](void* context, int bitrate) {
        return record(context, [bitrate](Recorded& r) { r.bitrates.push_back(bitrate); });
    };
    c.onChannelBusy = [](void* context, int busy) {
        return record(context, [busy](Recorded& r) { r.busy.push_back(busy); });
    };
    c.onChannel = [](void* context, sxm_content* channel) {
        return record(context,
                      [channel](Recorded& r) { r.channels.push_back(copyContent(*channel)); });
    };
    c.onShows = [](void* context, sxm_content* show, int status, int index) {
        return record(context, [=](Recorded& r) {
            r.showStatuses.push_back(status);
            r.shows.push_back(listItem(show, index));
        });
    };
    c.onFlush = [](void* context) {
        return record(context, [](Recorded& r) {
            ++r.flushes;
            r.audioAtFlush = r.audio.size();
        });
    };
    c.onPdtCuts = [](void* context, sxm_pdt_cuts* cuts, int count) {
        return record(context, [=](Recorded& r) {
            std::vector<Cut> list;
            for (int i = 0; i < count; ++i)
                list.push_back({cuts[i].time, cuts[i].duration, text(cuts[i].channelId),
                                text(cuts[i].title), text(cuts[i].artist)});
            r.cutLists.push_back(list);
        });
    };
    c.onTimebar = [](void* context, sxm_timebarData* t) {
        return record(context, [t](Recorded& r) {
            r.timebars.push_back({t->startTimestamp, t->duration, t->irNavClass, t->segmentCount});
        });
    };
    // Lists that the end-to-end tests through the host check are registered, not recorded.
    c.onEpisodes = [](void*, const char*, sxm_content*, int) {
        return 0;
    };
    c.onForYou = [](void*, sxm_content*, sxm_bool) {
        return 0;
    };
    c.onRefresh = [](void*, int) {
        return 0;
    };
    c.onRecents = [](void* context, sxm_content* item, int index) {
        return record(context, [=](Recorded& r) { r.recents.push_back(listItem(item, index)); });
    };
    c.onFavorites = [](void* context, sxm_content* item, int index) {
        return record(context, [=](Recorded& r) { r.favorites.push_back(listItem(item, index)); });
    };
    c.onGlobalSettings = [](void* context, sxm_globalSetting* settings, int count) {
        return record(context, [=](Recorded& r) {
            std::map<std::string, std::string> all;
            for (int i = 0; i < count; ++i)
                all[text(settings[i].name)] = text(settings[i].value);
            r.globalSettings.push_back(all);
        });
    };
    c.onSearch = [](void* context, sxm_content* item, int index) {
        return record(context,
                      [=](Recorded& r) { r.searchResults.push_back(listItem(item, index)); });
    };
    return c;
}

sxm_playRequest CallbackRecorder::playRequest()
{
    sxm_playRequest request{};
    request.context = this;
    request.playbackData = [](void* context, unsigned char* data, int length, unsigned int bitrate,
                              unsigned int*) {
        return record(context,
                      [=](CallbackRecorder& r) { return r.takeAudio(data, length, bitrate); });
    };
    request.metadataState = [](void* context, sxm_metadataState_t* state) {
        return record(context, [state](Recorded& r) { r.metadataStates.push_back(state->state); });
    };
    return request;
}

void CallbackRecorder::reset()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    static_cast<Recorded&>(*this) = Recorded();
}

void CallbackRecorder::setIntake(Intake intake)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_intake = intake;
}

bool CallbackRecorder::waitFor(const std::function<bool(CallbackRecorder&)>& condition, int ms)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_condition.wait_for(lock, std::chrono::milliseconds(ms),
                                [&] { return condition(*this); });
}

void CallbackRecorder::noteSendAudioData()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    ++sendAudioDataCalls;
    moreWanted = false;
}

// Called under the lock.
int CallbackRecorder::takeAudio(const unsigned char* data, int length, unsigned int bitrate)
{
    ++offers;
    lastBitrate = bitrate;
    // After a partial take the rest may come again only once the integrator asked for more.
    if (m_sendCallsAtPartialTake >= 0 && sendAudioDataCalls <= m_sendCallsAtPartialTake)
        ++offersTooEarly;
    int taken = length;
    if (m_intake == Intake::Part && length > 1000)
        taken = length / 3;
    else if (m_intake == Intake::Nothing)
        taken = 0;
    audio.append(reinterpret_cast<const char*>(data), static_cast<std::size_t>(taken));
    const bool partial = taken < length && m_intake == Intake::Part;
    m_sendCallsAtPartialTake = partial ? sendAudioDataCalls : -1;
    moreWanted = moreWanted || partial;
    return taken;
}

} // namespace sxmlib::test
