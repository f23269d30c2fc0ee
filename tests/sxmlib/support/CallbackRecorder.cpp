#include "CallbackRecorder.h"

#include <chrono>

namespace sxmlib::test {
namespace {

std::string text(const char* value)
{
    return value ? std::string(value) : std::string();
}

} // namespace

Content copyContent(const sxm_content& r)
{
    Content c;
    c.assetType = r.assetType;
    c.assetGuid = text(r.assetGuid);
    c.title = text(r.title);
    c.genre = text(r.genre);
    c.genreKey = text(r.genreKey);
    c.channelId = text(r.channelId);
    c.showGuid = text(r.showGuid);
    c.episodeGuid = text(r.episodeGuid);
    c.category = text(r.category);
    c.logoCount = r.logoCount;
    for (int i = 0; i < r.logoCount; ++i)
        c.logoUrls.push_back(text(r.logos[i].url));
    c.siriusChannelNumber = r.siriusChannelNumber;
    c.isFavorite = r.isFavorite != 0;
    c.isXtra = r.isXtra != 0;
    c.duration = r.duration;
    return c;
}

sxm_callbacks CallbackRecorder::callbacks()
{
    sxm_callbacks c{};
    c.context = this;
    c.eventContext = this;
    c.onError = onError;
    c.onTrackMetadata = onTrackMetadata;
    c.onChannelBitrateChanged = onBitrate;
    c.onChannelBusy = onBusy;
    c.onChannel = onChannel;
    c.onShows = onShows;
    c.onFlush = onFlush;
    c.onPdtCuts = onPdtCuts;
    c.onTimebar = onTimebar;
    c.onEpisodes = onEpisodes;
    c.onRecents = onRecents;
    c.onFavorites = onFavorites;
    c.onGlobalSettings = onGlobalSettings;
    c.onForYou = onForYou;
    c.onSearch = onSearch;
    c.onRefresh = onRefresh;
    return c;
}

sxm_playRequest CallbackRecorder::playRequest()
{
    sxm_playRequest request{};
    request.context = this;
    request.playbackData = onPlaybackData;
    request.metadataState = onMetadataState;
    return request;
}

void CallbackRecorder::reset()
{
    std::lock_guard<std::mutex> lock(mutex);
    channels.clear();
    shows.clear();
    forYou.clear();
    favorites.clear();
    recents.clear();
    searchResults.clear();
    showStatuses.clear();
    episodes.clear();
    episodesShowId.clear();
    episodeCalls = 0;
    globalSettings.clear();
    cutLists.clear();
    errors.clear();
    refreshes.clear();
    tracks.clear();
    timebars.clear();
    busy.clear();
    bitrates.clear();
    flushes = 0;
    audioAtFlush = 0;
    metadataStates.clear();
    audio.clear();
    offers = 0;
    lastBitrate = 0;
    offersTooEarly = 0;
    moreWanted = false;
    sendAudioDataCalls = 0;
    sendCallsAtPartialTake_ = -1;
    intake_ = Intake::All;
}

void CallbackRecorder::setIntake(Intake intake)
{
    std::lock_guard<std::mutex> lock(mutex);
    intake_ = intake;
}

bool CallbackRecorder::waitFor(const std::function<bool(CallbackRecorder&)>& condition, int ms)
{
    std::unique_lock<std::mutex> lock(mutex);
    return condition_.wait_for(lock, std::chrono::milliseconds(ms),
                               [&] { return condition(*this); });
}

void CallbackRecorder::noteSendAudioData()
{
    std::lock_guard<std::mutex> lock(mutex);
    ++sendAudioDataCalls;
    moreWanted = false;
}

int CallbackRecorder::onError(void* context, sxm_errorNotification* n)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    ErrorNote note;
    note.code = n->libraryErrorCode;
    note.responseCode = n->responseCode;
    note.errorStop = n->errorStop != 0;
    note.isGupUnavailable = n->isGupUnavailable != 0;
    note.isGupIdUnavailable = n->isGupIdUnavailable != 0;
    note.isSearchUnavailable = n->isSearchUnavailable != 0;
    note.loggedDuringBypass = n->loggedDuringBypass != 0;
    note.message = text(n->errorString);
    r.errors.push_back(note);
    r.changed();
    return 0;
}

int CallbackRecorder::onTrackMetadata(void* context, sxm_trackMetadata* m)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    r.tracks.push_back({text(m->artist), text(m->track), text(m->trackId), text(m->albumArtUrl)});
    r.changed();
    return 0;
}

int CallbackRecorder::onBitrate(void* context, int bitrate)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    r.bitrates.push_back(bitrate);
    r.changed();
    return 0;
}

int CallbackRecorder::onBusy(void* context, int busy)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    r.busy.push_back(busy);
    r.changed();
    return 0;
}

int CallbackRecorder::onChannel(void* context, sxm_content* channel)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    r.channels.push_back(copyContent(*channel));
    return 0;
}

int CallbackRecorder::onShows(void* context, sxm_content* show, int status, int index)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    r.showStatuses.push_back(status);
    r.shows.push_back({show ? std::optional<Content>(copyContent(*show)) : std::nullopt, index});
    return 0;
}

int CallbackRecorder::onFlush(void* context)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    ++r.flushes;
    r.audioAtFlush = r.audio.size();
    r.changed();
    return 0;
}

int CallbackRecorder::onPdtCuts(void* context, sxm_pdt_cuts* cuts, int count)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    std::vector<Cut> list;
    for (int i = 0; i < count; ++i)
        list.push_back({cuts[i].time, cuts[i].duration, text(cuts[i].channelId),
                        text(cuts[i].title), text(cuts[i].artist)});
    r.cutLists.push_back(list);
    r.changed();
    return 0;
}

int CallbackRecorder::onTimebar(void* context, sxm_timebarData* t)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    r.timebars.push_back(
        {t->startTimestamp, t->currentTimestamp, t->duration, t->irNavClass, t->segmentCount});
    r.changed();
    return 0;
}

int CallbackRecorder::onEpisodes(void* context, const char* showId, sxm_content* episodes,
                                 int count)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    ++r.episodeCalls;
    r.episodesShowId = text(showId);
    for (int i = 0; i < count; ++i)
        r.episodes.push_back(copyContent(episodes[i]));
    return 0;
}

namespace {

void addItem(std::vector<ListItem>& list, sxm_content* item, int index)
{
    list.push_back({item ? std::optional<Content>(copyContent(*item)) : std::nullopt, index});
}

} // namespace

int CallbackRecorder::onRecents(void* context, sxm_content* item, int index)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    addItem(r.recents, item, index);
    return 0;
}

int CallbackRecorder::onFavorites(void* context, sxm_content* item, int index)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    addItem(r.favorites, item, index);
    return 0;
}

int CallbackRecorder::onGlobalSettings(void* context, sxm_globalSetting* settings, int count)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    std::map<std::string, std::string> all;
    for (int i = 0; i < count; ++i)
        all[text(settings[i].name)] = text(settings[i].value);
    r.globalSettings.push_back(all);
    return 0;
}

int CallbackRecorder::onForYou(void* context, sxm_content* item, sxm_bool more)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    addItem(r.forYou, item, more);
    return 0;
}

int CallbackRecorder::onSearch(void* context, sxm_content* item, int index)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    addItem(r.searchResults, item, index);
    return 0;
}

int CallbackRecorder::onRefresh(void* context, int module)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    r.refreshes.push_back(module);
    r.changed();
    return 0;
}

int CallbackRecorder::onPlaybackData(void* context, unsigned char* data, int length,
                                     unsigned int bitrate, unsigned int*)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    ++r.offers;
    r.lastBitrate = bitrate;
    // After a partial take the rest may come again only once the integrator asked for more.
    if (r.sendCallsAtPartialTake_ >= 0 && r.sendAudioDataCalls <= r.sendCallsAtPartialTake_)
        ++r.offersTooEarly;
    int taken = length;
    switch (r.intake_) {
    case Intake::All:
        break;
    case Intake::Part:
        taken = length > 1000 ? length / 3 : length;
        break;
    case Intake::Nothing:
        taken = 0;
        break;
    }
    r.audio.append(reinterpret_cast<const char*>(data), static_cast<std::size_t>(taken));
    if (taken < length && r.intake_ == Intake::Part) {
        r.sendCallsAtPartialTake_ = r.sendAudioDataCalls;
        r.moreWanted = true;
    } else {
        r.sendCallsAtPartialTake_ = -1;
    }
    r.changed();
    return taken;
}

int CallbackRecorder::onMetadataState(void* context, sxm_metadataState_t* state)
{
    CallbackRecorder& r = self(context);
    std::lock_guard<std::mutex> lock(r.mutex);
    r.metadataStates.push_back(state->state);
    r.changed();
    return 0;
}

} // namespace sxmlib::test
