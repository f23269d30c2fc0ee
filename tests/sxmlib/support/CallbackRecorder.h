#pragma once
// Thread contract: safe from any thread. The library calls back on the test's thread (during
// operations and ticks) and on its stream thread; every record is copied under one mutex, and
// tests wait on it with a generous deadline that only guards against a hang.
//
// Plays the integrator: registers every callback of the library, keeps copies of what they
// deliver, and takes the audio the way the test asks (all, part of each block, or nothing).

#include <sxmlib.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace sxmlib::test {

struct Content
{
    int assetType = -1;
    std::string title, genreKey, channelId;
    int logoCount = 0;
    std::vector<std::string> logoUrls; ///< "" for a null url
    int siriusChannelNumber = 0;
    bool isFavorite = false;
    bool isXtra = false;
};

struct ErrorNote
{
    int code = 0;
    int responseCode = 0;
    bool errorStop = false;
    bool isGupUnavailable = false;
    bool isSearchUnavailable = false;
    std::string message;
};

struct Cut
{
    std::int64_t time = 0;
    int duration = 0;
    std::string channelId, title, artist;
};

struct Track
{
    std::string artist, track, trackId;
};

struct Timebar
{
    std::int64_t startTimestamp = 0;
    int duration = 0;
    int irNavClass = 0;
    int segmentCount = 0;
};

struct ListItem
{
    std::optional<Content> item; ///< empty for the "no items" call
    int index = 0;
};

/// How the recorder's playback-data callback takes audio.
enum class Intake
{
    All,     ///< every byte offered
    Part,    ///< a part of each block; the rest waits for sendAudioData (see moreWanted)
    Nothing, ///< never takes anything and never asks for more
};

/// Everything the callbacks delivered; read under CallbackRecorder::m_mutex by waitFor conditions
/// or after the stream stopped.
struct Recorded
{
    std::vector<Content> channels;
    std::vector<ListItem> shows, favorites, recents, searchResults;
    std::vector<int> showStatuses;
    std::vector<std::map<std::string, std::string>> globalSettings;
    std::vector<std::vector<Cut>> cutLists;
    std::vector<ErrorNote> errors;
    std::vector<Track> tracks;
    std::vector<Timebar> timebars;
    std::vector<int> busy;
    std::vector<int> bitrates;
    int flushes = 0;
    std::size_t audioAtFlush = 0; ///< bytes taken before the last flush
    std::vector<int> metadataStates;

    std::string audio;          ///< every byte taken, in order
    int offers = 0;             ///< playback-data calls
    unsigned lastBitrate = 0;   ///< as the playback-data callback received it
    int offersTooEarly = 0;     ///< re-offers that came before sxm_sendAudioData was called
    bool moreWanted = false;    ///< Part: a block was partly taken; the test should send more
    int sendAudioDataCalls = 0; ///< counted by noteSendAudioData

protected:
    Intake m_intake = Intake::All;
    int m_sendCallsAtPartialTake = -1; ///< -1: the last offer was taken whole
};

class CallbackRecorder : public Recorded
{
public:
    /// The callback record with every callback set and this recorder as both contexts.
    sxm_callbacks callbacks();
    /// A zero-filled play request whose callbacks lead here.
    sxm_playRequest playRequest();

    void reset();
    void setIntake(Intake intake);

    /// Waits until `condition` holds (checked under the recorder's lock); false after `ms`.
    bool waitFor(const std::function<bool(CallbackRecorder&)>& condition, int ms = 30000);

    /// Part intake: call just before sxm_sendAudioData().
    void noteSendAudioData();

    std::mutex m_mutex;

private:
    /// Applies `change` to the recorder under its lock and wakes the waiters.
    template <class Change>
    static int record(void* context, Change change)
    {
        auto& r = *static_cast<CallbackRecorder*>(context);
        int result = 0;
        {
            std::lock_guard<std::mutex> lock(r.m_mutex);
            if constexpr (std::is_same_v<decltype(change(r)), void>)
                change(r);
            else
                result = change(r);
        }
        r.m_condition.notify_all();
        return result;
    }

    int takeAudio(const unsigned char* data, int length, unsigned int bitrate);

    std::condition_variable m_condition;
};

} // namespace sxmlib::test
