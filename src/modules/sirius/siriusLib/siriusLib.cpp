#include "siriusLib/siriusLib.h"

#include "siriusLib/newQThread.h"
#include "siriusLib/siriusLibHelper.h"
#include "siriusLogging.h"

#include <mivosdk/MivoPaths.h>

#include <QThread>
#include <memory>
#include <vector>

namespace {

constexpr int kLibraryTickMs = 500;
/// A tick this late means the library thread was blocked; the library still gets the whole delay.
constexpr qint64 kLongDelayMs = 5000;
constexpr int kSegmentTextSize = 256;

const log4cplus::Logger& logger()
{
    return sirius::siriusLibraryLogger();
}

CMError fixedError(const char* text)
{
    return CMError(TrString("SiriusLib", text));
}

} // namespace

SiriusLib* SiriusLib::create(bool fullFeatured)
{
    auto* thread = new NewQThread<SiriusLib, bool&>(QStringLiteral("SiriusLib"), fullFeatured);
    return thread->startAndWait();
}

SiriusLib::SiriusLib(bool fullFeatured)
    : m_fullFeatured(fullFeatured)
{
    qRegisterMetaType<SiriusLibFunction>("SiriusLibFunction");
    qRegisterMetaType<Settings>("SiriusLib::Settings");
    qRegisterMetaType<QList<MivoSiriusContent>>("QList<MivoSiriusContent>");
    qRegisterMetaType<QList<MivoSiriusPdtCut>>("QList<MivoSiriusPdtCut>");
    qRegisterMetaType<QList<MivoSiriusFavorite>>("QList<MivoSiriusFavorite>");
    qRegisterMetaType<QList<MivoSiriusModuleType::Enum>>("QList<MivoSiriusModuleType::Enum>");

    connect(this, &SiriusLib::doAsync, this, &SiriusLib::on_async);

    m_libraryTimer.setSingleShot(false);
    m_libraryTimer.setInterval(kLibraryTickMs);
    connect(&m_libraryTimer, &QTimer::timeout, this, &SiriusLib::on_libraryTimer_timeout);
    m_libraryTimer.start();
    m_clock.start();
}

void SiriusLib::version(int* major, int* minor, int* patch)
{
    sxm_getVersion(major, minor, patch);
}

int SiriusLib::getStatus()
{
    return sxm_get_status();
}

void SiriusLib::async(std::function<void()> fn)
{
    if (!fn) {
        // Calling it would throw on the library thread, out of an event handler: that ends the
        // process. Refuse it here, where the caller's stack shows who sent it.
        LOG4CPLUS_ERROR(logger(), "An empty function was queued to the library thread; ignored");
        return;
    }
    // From another thread the call is queued; on the library thread it runs at once, so no lock
    // may be held around it: the library call inside may wait for the library's own threads,
    // whose callbacks emit. The function is made before the emission so that it also ends after
    // it, outside the part that ThreadSanitizer does not record.
    const SiriusLibFunction call(std::move(fn));
    m_callsHandOver.post([&] { emit doAsync(call); });
}

void SiriusLib::on_async(const SiriusLibFunction& fn)
{
    m_callsHandOver.deliver(fn);
}

void SiriusLib::on_libraryTimer_timeout()
{
    const qint64 elapsed = m_clock.restart();
    if (elapsed > kLongDelayMs)
        LOG4CPLUS_WARN(logger(), "Very long delay in on_libraryTimer_timeout: " << elapsed << "ms");
    sxm_externalTimerTick(static_cast<uint32_t>(elapsed));
}

void SiriusLib::on_sendAudioDataFinished()
{
    if (sxm_sendAudioData() != 1)
        LOG4CPLUS_WARN(logger(), "Error sending more audio data!");
}

SiriusLib* SiriusLib::self(void* context)
{
    return static_cast<SiriusLib*>(context);
}

CMError SiriusLib::libraryError()
{
    const char* text = sxm_get_error();
    return CMError(TrString("SiriusLib", text ? text : ""));
}

sxm_callbacks SiriusLib::callbackRecord()
{
    const auto browse = [this](auto callback) {
        return m_fullFeatured ? callback : nullptr;
    };
    sxm_callbacks record;
    record.context = this;
    record.eventContext = this;
    record.onError = &on_siriusError_callback;
    record.onTrackMetadata = &on_siriusMetaData_callback;
    record.onChannelBitrateChanged = &on_channelBitrateChanged_callback;
    record.onChannelBusy = &on_channelBusy_callback;
    record.onChannel = &on_channel_callback;
    record.onShows = browse(&on_getShows_callback);
    record.onFlush = browse(&on_flush_callback);
    record.onPdtCuts = &on_updateChannelsCuts_callback;
    record.onTimebar = browse(&on_timebar_callback);
    record.onEpisodes = browse(&on_demandEpisodes_callback);
    record.onRecents = browse(&on_recents_callback);
    record.onFavorites = browse(&on_favorites_callback);
    record.onGlobalSettings = browse(&on_globalSettings_callback);
    record.onForYou = browse(&on_foryou_callback);
    record.onSearch = browse(&on_search_callback);
    record.onRefresh = browse(&on_refresh_callback);
    return record;
}

CMReply<bool> SiriusLib::initialize(MivoSiriusAudioBitrate::Enum bitrate)
{
    CMReply<bool> reply;
    async([this, reply, bitrate] {
        if (sxm_init() == 0) {
            const CMError error = fixedError("Unable to initialize sxm library");
            LOG4CPLUS_ERROR(logger(), error.message().toString().toStdString());
            reply.setError(error);
            return;
        }
        if (sxm_registerCallbacks(callbackRecord()) != 1) {
            const CMError error = fixedError("Unable to register callback");
            LOG4CPLUS_ERROR(logger(), error.message().toString().toStdString());
            reply.setError(error);
            return;
        }
        sxm_selectStreamIndex(static_cast<int>(bitrate));
        reply.setResult(true);
    });
    return reply;
}

namespace {

/// Completes a reply with true on result 1 and with the library's error text otherwise.
template <class Call>
void trueOrLibraryError(const CMReply<bool>& reply, Call call, CMError (*libraryError)())
{
    if (call() == 1)
        reply.setResult(true);
    else
        reply.setError(libraryError());
}

} // namespace

CMReply<bool> SiriusLib::login(const QString& user, const QString& password)
{
    CMReply<bool> reply;
    async([reply, user, password] {
        const QByteArray name = user.toUtf8();
        const QByteArray secret = password.toUtf8();
        trueOrLibraryError(
            reply, [&] { return sxm_verify_account(name.constData(), secret.constData()); },
            &SiriusLib::libraryError);
    });
    return reply;
}

CMReply<bool> SiriusLib::login()
{
    CMReply<bool> reply;
    async([reply] { trueOrLibraryError(reply, &sxm_configure_sirius, &SiriusLib::libraryError); });
    return reply;
}

CMReply<bool> SiriusLib::listChannels()
{
    CMReply<bool> reply;
    async([this, reply] {
        if (sxm_channel_list() != 1) {
            reply.setError(libraryError());
            return;
        }
        emitHandedOver(&SiriusLib::onChannel, MivoSiriusContent()); // the end-of-list mark
        reply.setResult(true);
    });
    return reply;
}

CMReply<QList<MivoSiriusContent>> SiriusLib::collect(std::function<int()> call,
                                                     std::function<CMError(int)> failure)
{
    CMReply<QList<MivoSiriusContent>> reply;
    async([this, reply, call, failure] {
        m_collection.clear();
        const int result = call();
        if (result == 1)
            reply.setResult(m_collection);
        else
            reply.setError(failure(result));
        m_collection.clear();
    });
    return reply;
}

CMReply<QList<MivoSiriusContent>> SiriusLib::getShows(const QString& genre,
                                                      const QString& channelId)
{
    return collect(
        [genre = genre.toUtf8(), channelId = channelId.toUtf8()] {
            return sxm_getShows(genre.constData(), channelId.constData());
        },
        [](int result) {
            return CMError(TrString("SiriusLib", "sxm_getShows failed with error: %1").arg(result));
        });
}

CMReply<QList<MivoSiriusContent>> SiriusLib::getEpisodes(const QString& showId)
{
    return collect(
        [show = showId.toUtf8()] { return sxm_getEpisodes(show.constData()); },
        [](int result) {
            return CMError(
                TrString("SiriusLib", "sxm_getEpisodes failed with error: %1").arg(result));
        });
}

CMReply<QList<MivoSiriusContent>> SiriusLib::getForYou()
{
    return collect(&sxm_get_forYouCarousel, [](int) { return libraryError(); });
}

CMReply<QList<MivoSiriusContent>> SiriusLib::getFavorites()
{
    return collect(&sxm_get_favorites, [](int) { return libraryError(); });
}

CMReply<QList<MivoSiriusContent>> SiriusLib::getRecent()
{
    return collect(&sxm_get_recents, [](int) { return libraryError(); });
}

CMReply<bool> SiriusLib::clearRecent()
{
    CMReply<bool> reply;
    async([reply] {
        if (sxm_clearRecents() == 1)
            reply.setResult(true);
        else
            reply.setError(fixedError("clear recents error"));
    });
    return reply;
}

CMReply<QList<MivoSiriusContent>> SiriusLib::search(const QString& text)
{
    return collect([text = text.toUtf8()] { return sxm_search(text.constData()); },
                   [](int) { return fixedError("sxm_search failed"); });
}

CMReply<bool> SiriusLib::updateFavorites(const QList<MivoSiriusFavorite>& favorites)
{
    CMReply<bool> reply;
    async([reply, favorites] {
        QList<QByteArray> keep;
        sxm_favoriteList* head = nullptr;
        sxm_favoriteList** tail = &head;
        for (const MivoSiriusFavorite& favorite : favorites) {
            auto* node = static_cast<sxm_favoriteList*>(sxm_malloc(sizeof(sxm_favoriteList)));
            if (!node) {
                LOG4CPLUS_ERROR(logger(), "Out of memory building the favorite list");
                break;
            }
            node->favorite = SiriusLibHelper::mivoFavoriteToSxm(favorite, &keep);
            node->next = nullptr;
            *tail = node;
            tail = &node->next;
        }
        const int result = sxm_update_server_favorites(head);
        sxm_freeFavoriteList(head);
        if (result == 1)
            reply.setResult(true);
        else
            reply.setError(libraryError());
    });
    return reply;
}

CMReply<bool> SiriusLib::updateGlobalSettings(const QHash<QString, QString>& settings)
{
    CMReply<bool> reply;
    async([reply, settings] {
        QList<QByteArray> keep;
        std::vector<sxm_globalSetting> records;
        records.reserve(static_cast<size_t>(settings.size()));
        for (auto it = settings.cbegin(); it != settings.cend(); ++it) {
            keep.append(it.key().toUtf8());
            const char* name = keep.last().constData();
            keep.append(it.value().toUtf8());
            records.push_back({name, keep.last().constData()});
        }
        const int count = static_cast<int>(records.size());
        if (sxm_update_global_settings(records.data(), count) == 1)
            reply.setResult(true);
        else
            reply.setError(libraryError());
    });
    return reply;
}

CMVoidReply SiriusLib::startPdtNotification(const QSet<QString>& genres,
                                            const QSet<QString>& channelIds)
{
    CMVoidReply reply;
    async([reply, genres, channelIds] {
        if (genres.isEmpty() && !channelIds.isEmpty()) {
            QList<QByteArray> keep;
            std::vector<sxm_channelIdList> nodes(static_cast<size_t>(channelIds.size()));
            size_t i = 0;
            for (const QString& id : channelIds) {
                keep.append(id.toUtf8());
                nodes[i].channelId = keep.last().constData();
                nodes[i].next = i + 1 < nodes.size() ? &nodes[i + 1] : nullptr;
                ++i;
            }
            sxm_startPtdNotificationForChannelIds(nodes.data());
        } else if (genres.size() == 1 && channelIds.isEmpty()) {
            const QByteArray genre = genres.begin()->toUtf8();
            sxm_startPtdNotificationForGenre(genre.constData());
        } else {
            sxm_startPtdNotification();
        }
        reply.setResult();
    });
    return reply;
}

CMReply<bool> SiriusLib::stopPdtNotification()
{
    CMReply<bool> reply;
    async([reply] {
        sxm_stop_pdt_notification();
        reply.setResult(true);
    });
    return reply;
}

CMReply<bool> SiriusLib::checkGeoRestricted(const QString& channelId)
{
    CMReply<bool> reply;
    async([reply, id = channelId.toUtf8()] {
        const int result = sxm_checkGeoRestricted(id.constData());
        if (result == 0 || result == 1)
            reply.setResult(result == 1);
        else
            reply.setError(fixedError("sxm_checkGeoRestricted failed"));
    });
    return reply;
}

CMReply<MivoHash> SiriusLib::bypassStatus()
{
    CMReply<MivoHash> reply;
    async([this, reply] {
        m_bypassStatus = MivoHash();
        sxm_get_bypassStatus();
        reply.setResult(m_bypassStatus);
    });
    return reply;
}

CMReply<bool> SiriusLib::play(const MivoSiriusPlayable& playable)
{
    CMReply<bool> reply;
    async([this, reply, playable] {
        QList<QByteArray> keep; // the request's texts; freed only after the call returns
        sxm_playRequest request =
            SiriusLibHelper::mivoPlayableToSxm(playable, &on_playbackData_callback, nullptr, &keep);
        request.context = this;
        if (sxm_playChannel(&request) == 1)
            reply.setResult(true);
        else
            reply.setError(fixedError("sxm_playChannel failed"));
    });
    return reply;
}

CMReply<bool> SiriusLib::stop()
{
    CMReply<bool> reply;
    async([reply] {
        if (sxm_stopChannel() == 1)
            reply.setResult(true);
        else
            reply.setError(fixedError("sxm_stopChannel failed"));
    });
    return reply;
}

CMReply<bool> SiriusLib::userPause(bool pause)
{
    CMReply<bool> reply;
    async([reply, pause] {
        const int result = sxm_userPause(pause ? 1 : 0);
        if (result == SXM_RESULT_ERROR)
            reply.setError(fixedError("sxm_userPause failed"));
        else
            reply.setResult(result != SXM_RESULT_PAUSE_POINT_LOST);
    });
    return reply;
}

CMReply<bool> SiriusLib::outputLatency(int ms)
{
    CMReply<bool> reply;
    async([reply, ms] {
        if (sxm_outputLatency(ms) == SXM_RESULT_ERROR)
            reply.setError(fixedError("sxm_outputLatency failed"));
        else
            reply.setResult(true);
    });
    return reply;
}

CMReply<int> SiriusLib::getStreamBitrate()
{
    CMReply<int> reply;
    async([reply] { reply.setResult(sxm_getStreamBitrate()); });
    return reply;
}

CMReply<MivoSiriusSegmentTime> SiriusLib::getNextPreviousSegmentTime(Direction direction)
{
    CMReply<MivoSiriusSegmentTime> reply;
    async([reply, direction] {
        char buffer[kSegmentTextSize] = {};
        const int result = direction == Next ? sxm_getNextSegmentTime(buffer, kSegmentTextSize)
                                             : sxm_getPrevSegmentTime(buffer, kSegmentTextSize);
        buffer[kSegmentTextSize - 1] = '\0'; // whatever the library wrote, the text ends here
        completeSegmentTime(reply, result, QString::fromLatin1(buffer));
    });
    return reply;
}

void SiriusLib::completeSegmentTime(const CMReply<MivoSiriusSegmentTime>& reply, int result,
                                    const QString& text)
{
    if (result == SXM_RESULT_INVALID_STATE) {
        reply.setError(fixedError("Invalid state"));
        return;
    }
    const QString unknown = QStringLiteral("Unknown error");
    MivoSiriusSegmentTime segment;
    if (result < 0) {
        QString message = unknown;
        const QStringList parts = text.split(QLatin1Char('/'));
        if (text.startsWith(QLatin1String("error/")) && parts.size() > 1)
            message = parts.at(1);
        MivoSiriusSegmentTimeError::Enum kind = MivoSiriusSegmentTimeError::Unknown;
        switch (result) {
        case SXM_RESULT_SKIP_LIMIT_REACHED:
            kind = MivoSiriusSegmentTimeError::SkipLimitReached;
            break;
        case SXM_RESULT_NO_SKIP_IN_DIRECTION:
            kind = MivoSiriusSegmentTimeError::NoSkipsAvailable;
            break;
        case SXM_RESULT_SKIPS_NOT_ALLOWED:
            kind = MivoSiriusSegmentTimeError::SkipsNotAllowed;
            break;
        case SXM_RESULT_ALREADY_LIVE:
            kind = MivoSiriusSegmentTimeError::AlreadyLive;
            break;
        default:
            break;
        }
        segment.setError(kind).setErrorMsg(message);
        reply.setResult(segment);
        return;
    }
    segment.setSkipsLeft(result);
    if (text == QLatin1String("goLive")) {
        segment.setGoLive(true);
    } else if (text.startsWith(MivoSiriusXtra())) {
        const QStringList parts = text.split(QLatin1Char(';'));
        if (parts.size() < 2) {
            // The library promises "<xtra>;<asset guid>"; anything else is its error, not ours to
            // crash on.
            LOG4CPLUS_ERROR(logger(), "Xtra segment text without an asset: " << text.toStdString());
            reply.setError(CMError(TrString("SiriusLib", "Unknown error")));
            return;
        }
        segment.setIsXtra(true).setAssetGuid(parts.at(1));
    } else {
        const QStringList parts = text.split(QLatin1Char(','));
        if (parts.size() == 2)
            segment.setStartTime(parts.at(0)).setAssetGuid(parts.at(1));
        else if (parts.size() == 1)
            segment.setStartTime(parts.at(0));
        else {
            reply.setError(CMError(TrString("SiriusLib", "Unknown error")));
            return;
        }
    }
    reply.setResult(segment);
}

void SiriusLib::notifyGoLive()
{
    async([] { sxm_triggerGoLive(); });
}

void SiriusLib::notifyPlayTimeChanged(int playTime)
{
    async([playTime] { sxm_on_playTimeChanged(playTime); });
}

void SiriusLib::setDataWriteCallback(DataWriteCallback callback)
{
    std::lock_guard<std::mutex> lock(m_dataWriteMutex);
    m_dataWrite = std::move(callback);
}

// ---- callbacks --------------------------------------------------------------------------------

int SiriusLib::on_siriusError_callback(void* context, sxm_errorNotification* notification)
{
    self(context)->emitHandedOver(&SiriusLib::onError,
                                  SiriusLibHelper::sxmErrorNotificationToMivo(notification));
    return 0;
}

int SiriusLib::on_siriusMetaData_callback(void* context, sxm_trackMetadata* metadata)
{
    self(context)->emitHandedOver(&SiriusLib::onTrackMetadata,
                                  SiriusLibHelper::sxmTrackMetadataToMivo(metadata));
    return 0;
}

int SiriusLib::on_timebar_callback(void* context, sxm_timebarData* timebar)
{
    self(context)->emitHandedOver(&SiriusLib::onTimebar,
                                  SiriusLibHelper::sxmTimebarDataToMivo(timebar));
    return 0;
}

int SiriusLib::on_channel_callback(void* context, sxm_content* channel)
{
    self(context)->emitHandedOver(&SiriusLib::onChannel,
                                  SiriusLibHelper::sxmContentToMivo(channel));
    return 0;
}

int SiriusLib::on_channelBusy_callback(void* context, int busy)
{
    self(context)->emitHandedOver(&SiriusLib::onChannelBusy, busy != 0);
    return 0;
}

int SiriusLib::on_channelBitrateChanged_callback(void* context, int bitrate)
{
    self(context)->emitHandedOver(&SiriusLib::onChannelBitrateChanged, bitrate);
    return 0;
}

int SiriusLib::on_flush_callback(void* context)
{
    self(context)->emitHandedOver(&SiriusLib::onFlush);
    return 0;
}

int SiriusLib::on_refresh_callback(void* context, int module)
{
    self(context)->emitHandedOver(&SiriusLib::onRefresh,
                                  static_cast<MivoSiriusModuleType::Enum>(module));
    return 0;
}

int SiriusLib::on_updateChannelsCuts_callback(void* context, sxm_pdt_cuts* cuts, int count)
{
    if (!cuts && count > 0) {
        LOG4CPLUS_ERROR(logger(), "The library announced " << count << " cuts without data");
        return 0;
    }
    QList<MivoSiriusPdtCut> converted;
    converted.reserve(qMax(0, count));
    for (int i = 0; i < count; ++i)
        converted.append(SiriusLibHelper::sxmPdtCutToMivo(&cuts[i]));
    self(context)->emitHandedOver(&SiriusLib::onPdtCuts, converted);
    return 0;
}

int SiriusLib::on_getShows_callback(void* context, sxm_content* show, int status, int)
{
    SiriusLib* lib = self(context);
    lib->m_showsStatus = status;
    if (status != 1)
        return 0;
    if (!show) {
        LOG4CPLUS_ERROR(logger(), "The library announced a show without data");
        return 0;
    }
    const MivoSiriusContent item = SiriusLibHelper::sxmContentToMivo(show);
    lib->m_collection.append(item);
    lib->emitHandedOver(&SiriusLib::onGetShows,
                        show->genre ? QString::fromLatin1(show->genre) : QString(), item);
    return 0;
}

int SiriusLib::on_demandEpisodes_callback(void* context, const char* showId, sxm_content* episodes,
                                          int count)
{
    SiriusLib* lib = self(context);
    if (!episodes && count > 0) {
        LOG4CPLUS_ERROR(logger(), "The library announced " << count << " episodes without data");
        return 0;
    }
    QList<MivoSiriusContent> converted;
    for (int i = 0; i < count; ++i)
        converted.append(SiriusLibHelper::sxmContentToMivo(&episodes[i]));
    // getEpisodes answers with the collection, like every other list operation.
    lib->m_collection.append(converted);
    lib->emitHandedOver(&SiriusLib::onDemandEpisodes,
                        showId ? QString::fromLatin1(showId) : QString(), converted);
    return 0;
}

void SiriusLib::collectItem(sxm_content* item, void (SiriusLib::*signal)(const MivoSiriusContent&))
{
    if (!item) {
        LOG4CPLUS_TRACE(logger(), "EMPTY RESPONSE - on_recents_callback");
        return;
    }
    m_collection.append(SiriusLibHelper::sxmContentToMivo(item));
    emitHandedOver(signal, m_collection.last());
}

int SiriusLib::on_foryou_callback(void* context, sxm_content* item, sxm_bool)
{
    self(context)->collectItem(item, &SiriusLib::onForYou);
    return 0;
}

int SiriusLib::on_favorites_callback(void* context, sxm_content* item, int)
{
    if (!item) {
        LOG4CPLUS_TRACE(logger(), "EMPTY RESPONSE - on_favorites_callback");
        return 0;
    }
    self(context)->collectItem(item, &SiriusLib::onFavorites);
    return 0;
}

int SiriusLib::on_recents_callback(void* context, sxm_content* item, int)
{
    self(context)->collectItem(item, &SiriusLib::onRecents);
    return 0;
}

int SiriusLib::on_search_callback(void* context, sxm_content* item, int)
{
    self(context)->collectItem(item, &SiriusLib::onSearch);
    return 0;
}

int SiriusLib::on_globalSettings_callback(void* context, sxm_globalSetting* settings, int count)
{
    Settings converted;
    if (!settings && count > 0) {
        LOG4CPLUS_ERROR(logger(), "The library announced " << count << " settings without data");
        count = 0;
    }
    for (int i = 0; i < count; ++i) {
        const sxm_globalSetting& setting = settings[i];
        converted.insert(QString::fromLatin1(setting.name ? setting.name : ""),
                         QString::fromUtf8(setting.value ? setting.value : ""));
    }
    self(context)->emitHandedOver(&SiriusLib::onGlobalSettings, converted);
    return 0;
}

int SiriusLib::on_playbackData_callback(void* context, unsigned char* data, int length,
                                        unsigned int bitrate, unsigned int* outputDelay)
{
    SiriusLib* lib = self(context);
    DataWriteCallback write;
    {
        std::lock_guard<std::mutex> lock(lib->m_dataWriteMutex);
        write = lib->m_dataWrite;
    }
    if (!write)
        return 0;
    const QByteArray block =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), qMax(0, data ? length : 0));
    return write(block, bitrate, outputDelay);
}
