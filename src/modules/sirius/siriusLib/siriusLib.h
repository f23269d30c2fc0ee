#pragma once
// Thread contract: lives on the "SiriusLib" thread, the only thread that calls library operations.
// Its public operations are safe from any thread (they queue the work and answer a reply at
// once); version() and getStatus() run on the caller's thread; its signals are emitted on the
// library thread or the library's own threads and reach receivers through subscribe() only.

#include "siriusLib/handOver.h"

#include <mivosdk/CMReply.h>
#include <mivosdk/MivoSirius.h>
#include <sxmlib.h>

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QTimer>
#include <functional>
#include <mutex>
#include <type_traits>

/// A unit of work queued to the library thread.
using SiriusLibFunction = std::function<void()>;
Q_DECLARE_METATYPE(SiriusLibFunction)

/// The one object through which the module talks to the SiriusXM client library. Every operation
/// packages its library call as a function, posts it to the library thread through doAsync and
/// answers a reply that completes when the call has returned (an operation called on the library
/// thread itself runs at once). The library's callbacks convert its records and come back as
/// signals.
class SiriusLib : public QObject
{
    Q_OBJECT
public:
    /// The account's global settings, name to value ("TuneStart" = "on" / "off").
    using Settings = QHash<QString, QString>;
    /// Called with each block of audio the library delivers, its bit rate and where to put the
    /// output delay; answers how many bytes it took. Runs on the library's stream thread.
    using DataWriteCallback = std::function<int(const QByteArray&, unsigned int, unsigned int*)>;

    enum Direction
    {
        Next = 0,
        Previous = 1, ///< any value other than Next counts as previous
    };

    /// Builds the bridge on a new thread named "SiriusLib" and returns once it exists.
    static SiriusLib* create(bool fullFeatured);

    explicit SiriusLib(bool fullFeatured);

    void version(int* major, int* minor, int* patch);
    int getStatus();
    CMReply<bool> initialize(MivoSiriusAudioBitrate::Enum bitrate);
    void async(std::function<void()> fn);

    CMReply<bool> login(const QString& user, const QString& password);
    CMReply<bool> login();
    CMReply<bool> listChannels();
    CMReply<QList<MivoSiriusContent>> getShows(const QString& genre, const QString& channelId);
    CMReply<QList<MivoSiriusContent>> getEpisodes(const QString& showId);
    CMReply<QList<MivoSiriusContent>> getForYou();
    CMReply<QList<MivoSiriusContent>> getFavorites();
    CMReply<QList<MivoSiriusContent>> getRecent();
    CMReply<bool> clearRecent();
    CMReply<QList<MivoSiriusContent>> search(const QString& text);
    CMReply<bool> updateFavorites(const QList<MivoSiriusFavorite>& favorites);
    CMReply<bool> updateGlobalSettings(const QHash<QString, QString>& settings);
    CMVoidReply startPdtNotification(const QSet<QString>& genres, const QSet<QString>& channelIds);
    CMReply<bool> stopPdtNotification();
    CMReply<bool> checkGeoRestricted(const QString& channelId);
    CMReply<MivoHash> bypassStatus();
    CMReply<bool> play(const MivoSiriusPlayable& playable);
    CMReply<bool> stop();
    CMReply<bool> userPause(bool pause);
    CMReply<bool> outputLatency(int ms);
    CMReply<int> getStreamBitrate();
    CMReply<MivoSiriusSegmentTime> getNextPreviousSegmentTime(Direction direction);
    void notifyGoLive();
    void notifyPlayTimeChanged(int playTime);
    /// Replaces the data-write function at once (not queued).
    void setDataWriteCallback(DataWriteCallback callback);

    /// The one way to receive this object's signals (the test suite refuses a direct connect):
    /// runs `slot`, a member function of `receiver` or a functor, on `receiver`'s thread, queued
    /// when the signal comes from another thread, and hands it what the emitting thread wrote
    /// (see sirius::HandOverChannel). Neither side takes a lock, so a receiver may call back into
    /// this object and a library callback never waits for a receiver.
    template <class... Params, class Receiver, class Slot>
    QMetaObject::Connection subscribe(void (SiriusLib::*signal)(Params...), Receiver* receiver,
                                      Slot slot)
    {
        static_assert(std::is_base_of_v<QObject, Receiver>, "the receiver decides the thread");
        return connect(this, signal, receiver, [this, receiver, slot](Params... args) mutable {
            m_signalsHandOver.deliver([&] {
                if constexpr (std::is_member_function_pointer_v<Slot>)
                    (receiver->*slot)(args...);
                else
                    slot(args...);
            });
        });
    }

    /// The callback record handed to the library: the context is this object; the browse
    /// callbacks are left null when the module is not full-featured.
    sxm_callbacks callbackRecord();

    /// Turns a segment-time call's result and text into the reply's value or error (library
    /// thread; public for tests).
    static void completeSegmentTime(const CMReply<MivoSiriusSegmentTime>& reply, int result,
                                    const QString& text);

    // The library's callbacks; `context` is this object.
    static int on_siriusError_callback(void* context, sxm_errorNotification* notification);
    static int on_siriusMetaData_callback(void* context, sxm_trackMetadata* metadata);
    static int on_timebar_callback(void* context, sxm_timebarData* timebar);
    static int on_channel_callback(void* context, sxm_content* channel);
    static int on_channelBusy_callback(void* context, int busy);
    static int on_channelBitrateChanged_callback(void* context, int bitrate);
    static int on_flush_callback(void* context);
    static int on_refresh_callback(void* context, int module);
    static int on_updateChannelsCuts_callback(void* context, sxm_pdt_cuts* cuts, int count);
    static int on_getShows_callback(void* context, sxm_content* show, int status, int index);
    static int on_demandEpisodes_callback(void* context, const char* showId, sxm_content* episodes,
                                          int count);
    static int on_foryou_callback(void* context, sxm_content* item, sxm_bool more);
    static int on_favorites_callback(void* context, sxm_content* item, int index);
    static int on_recents_callback(void* context, sxm_content* item, int index);
    static int on_search_callback(void* context, sxm_content* item, int index);
    static int on_globalSettings_callback(void* context, sxm_globalSetting* settings, int count);
    static int on_playbackData_callback(void* context, unsigned char* data, int length,
                                        unsigned int bitrate, unsigned int* outputDelay);

signals:
    void doAsync(SiriusLibFunction fn);
    void onError(const MivoSiriusErrorNotification& notification);
    void onTrackMetadata(const MivoSiriusTrackMetadata& metadata);
    void onChannelBusy(bool busy);
    void onChannelBitrateChanged(int bitrate);
    void onChannel(const MivoSiriusContent& content);
    void onPdtCuts(const QList<MivoSiriusPdtCut>& cuts);
    void onGetShows(const QString& genre, const MivoSiriusContent& show);
    void onFlush();
    void onDemandEpisodes(const QString& showId, const QList<MivoSiriusContent>& episodes);
    void onTimebar(const MivoSiriusTimebar& timebar);
    void onForYou(const MivoSiriusContent& item);
    void onFavorites(const MivoSiriusContent& item);
    void onRecents(const MivoSiriusContent& item);
    void onSearch(const MivoSiriusContent& item);
    void onGlobalSettings(const QHash<QString, QString>& settings);
    void onRefresh(MivoSiriusModuleType::Enum module);

public slots:
    /// Takes the function by reference so that nothing of it is read before the hand-over.
    void on_async(const SiriusLibFunction& fn);
    void on_libraryTimer_timeout();
    /// The play logic has sent what it took: ask the library for more audio.
    void on_sendAudioDataFinished();

private:
    static SiriusLib* self(void* context);
    /// Emits `signal` to the receivers that subscribe() connected, handing over what this thread
    /// wrote (the converted arguments above all).
    template <class... Params, class... Args>
    void emitHandedOver(void (SiriusLib::*signal)(Params...), Args&&... args)
    {
        m_signalsHandOver.post([&] { emit(this->*signal)(std::forward<Args>(args)...); });
    }
    /// Runs a list operation: clears the collection, calls `call`, answers the collected list on
    /// result 1 or `failure(result)` otherwise.
    CMReply<QList<MivoSiriusContent>> collect(std::function<int()> call,
                                              std::function<CMError(int)> failure);
    /// Appends a list item to the collection; `item` null only logs.
    void collectItem(sxm_content* item, void (SiriusLib::*signal)(const MivoSiriusContent&));
    static CMError libraryError();

    const bool m_fullFeatured;
    QTimer m_libraryTimer;
    QElapsedTimer m_clock;
    QList<MivoSiriusContent> m_collection; ///< library thread only
    MivoHash m_bypassStatus;               ///< library thread only
    int m_showsStatus = 0;                 ///< library thread only
    /// Calls posted to the library thread, and signals posted to receivers: one channel each, so
    /// that the library's stream thread is never taken as ordered before the library thread.
    sirius::HandOverChannel m_callsHandOver;
    sirius::HandOverChannel m_signalsHandOver;
    std::mutex m_dataWriteMutex; ///< guards m_dataWrite
    DataWriteCallback m_dataWrite;
};
