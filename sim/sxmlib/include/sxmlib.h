/*
 * sxmlib.h: the C interface of libsxmlib 3.0.0, the SiriusXM client library.
 *
 * Thread contract: the operations (section 4) are called from one thread at a time, the
 * integrator's "library thread"; sxm_getVersion and sxm_get_status are safe from any thread;
 * callbacks (section 3) run on the thread that made the operation call or on the library's own
 * threads, as each one says; the integrator's hooks (section 6) must be safe from any thread.
 *
 * The file has six sections:
 *   1. results and status codes          4. operations the integrator calls
 *   2. records exchanged with the library 5. the callback record
 *   3. callback function types            6. hooks the integrator provides (the library calls them)
 *
 * Texts are zero-terminated byte strings. Unless a declaration says otherwise, a text in a record
 * that the library fills belongs to the library and is valid only until the callback that carries
 * it returns; a text in a record that the integrator fills belongs to the integrator and must stay
 * valid until the operation that receives it returns (the library copies what it keeps).
 *
 * Record layouts are fixed for 64-bit targets (LP64): the library is closed and shares these
 * records byte for byte, so the field offsets that matter are checked at compile time below.
 */
#ifndef SXMLIB_H
#define SXMLIB_H

#include <pthread.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The hooks of section 6 are defined by the integrator's module and resolved by the library at
 * load time, so they must stay visible in the module's dynamic symbol table whatever visibility
 * the module is compiled with. */
#if defined(__GNUC__)
#define SXM_HOOK __attribute__((visibility("default")))
#else
#define SXM_HOOK
#endif

#if defined(__cplusplus)
#define SXM_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define SXM_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif

/* ============================================================================================
 * 1. Results and status codes
 * ============================================================================================ */

/* The library's version. sxm_getVersion reports these three numbers. */
#define SXM_VERSION_MAJOR 3
#define SXM_VERSION_MINOR 0
#define SXM_VERSION_PATCH 0

/* Results of the operations. Most operations answer SXM_RESULT_OK (1) on success and
 * SXM_RESULT_FAILED (0) on failure, with the reason readable through sxm_get_error(); the other
 * values are answered only where an operation's comment names them. */
enum sxm_result
{
    SXM_RESULT_OK = 1,
    SXM_RESULT_FAILED = 0,
    /* sxm_userPause, sxm_outputLatency: the call is not possible now (nothing is playing). */
    SXM_RESULT_ERROR = -1,
    /* sxm_getPrevSegmentTime / sxm_getNextSegmentTime: no stream is playing. */
    SXM_RESULT_INVALID_STATE = -3,
    /* Segment times: the content's rights forbid skipping. */
    SXM_RESULT_SKIPS_NOT_ALLOWED = -4,
    /* Segment times: next was asked for at the live point. */
    SXM_RESULT_ALREADY_LIVE = -17,
    /* sxm_userPause(0): the pause point has left the rewind window; the stream cannot resume
     * where it stopped (the integrator stops the playback instead). */
    SXM_RESULT_PAUSE_POINT_LOST = -21,
    /* Segment times: the service's skip budget is used up; the text reads
     * "error/<message>" and the message ends with "until: <UTC time>". */
    SXM_RESULT_SKIP_LIMIT_REACHED = -118,
    /* Segment times: there is no segment in the asked-for direction (start of the rewind window,
     * or the end of an on-demand episode). */
    SXM_RESULT_NO_SKIP_IN_DIRECTION = -119
};

/* sxm_get_status(). The integrator relies on 4 and 5; the others tell where sign-in stands. */
enum sxm_status
{
    SXM_STATUS_UNINITIALIZED = 0,   /* before sxm_init() */
    SXM_STATUS_INITIALIZED = 1,     /* sxm_init() done, no callbacks registered yet */
    SXM_STATUS_SIGNED_OUT = 2,      /* callbacks registered, nobody signed in */
    SXM_STATUS_SIGN_IN_REFUSED = 3, /* the last sign-in was refused; like 2 otherwise */
    SXM_STATUS_SIGNED_IN = 4,       /* signed in, channel line-up not listed yet */
    SXM_STATUS_READY = 5            /* signed in and the line-up listed (sxm_channel_list) */
};

/* Asset types of sxm_content.assetType and sxm_favorite.assetType. */
enum sxm_assetType
{
    SXM_ASSET_LIVE_CHANNEL = 0,
    SXM_ASSET_SHOW = 1,
    SXM_ASSET_EPISODE = 2,
    SXM_ASSET_XTRA_CHANNEL = 3, /* a channel listed with the Xtra channels */
    SXM_ASSET_CATEGORY = 4
};

/* sxm_playRequest.mode. */
enum sxm_contentMode
{
    SXM_MODE_LIVE = 0,
    SXM_MODE_ON_DEMAND = 1,
    SXM_MODE_XTRA = 2
};

/* The module argument of the refresh callback: which service-side list changed elsewhere. */
enum sxm_moduleType
{
    SXM_MODULE_NONE = 0,
    SXM_MODULE_FAVORITES = 1,
    SXM_MODULE_RECENTS = 2,
    SXM_MODULE_FOR_YOU = 3
};

/* sxm_selectStreamIndex(): which of the service's bitrates the stream fetches. */
enum sxm_streamIndex
{
    SXM_STREAM_32_KBPS = 0,
    SXM_STREAM_64_KBPS = 1,
    SXM_STREAM_96_KBPS = 2,
    SXM_STREAM_256_KBPS = 3
};

/* sxm_favorite.changeType. */
enum sxm_favoriteChange
{
    SXM_FAVORITE_ADDED = 0,
    SXM_FAVORITE_REMOVED = 1
};

/* sxm_timebarData.irNavClass: how far the listener may move within the stream. */
enum sxm_irNavClass
{
    SXM_IRNAV_UNRESTRICTED = 0,
    SXM_IRNAV_RESTRICTED = 1, /* skips limited by the service's budget */
    SXM_IRNAV_DISALLOWED = 2
};

/* sxm_errorNotification.libraryErrorCode that ends the current playback (the stream is gone:
 * an episode ended, or the service stopped the channel). Other non-zero codes are errors the
 * user is told about; 0 is a pure bypass-status report. */
#define SXM_ERROR_PLAYBACK_ENDED 37

/* The text that the segment-time calls write for a jump to the live point. */
#define SXM_SEGMENT_GO_LIVE "goLive"
/* An Xtra segment text is this prefix, ";", and the asset GUID of the Xtra track. The host's
 * Xtra prefix constant carries the same text. */
#define SXM_SEGMENT_XTRA_PREFIX "xtra"
/* An error segment text is this prefix followed by the service's message. */
#define SXM_SEGMENT_ERROR_PREFIX "error/"

/* ============================================================================================
 * 2. Records
 * ============================================================================================ */

/* A truth value in records and callbacks: 0 is false, anything else true. */
typedef int32_t sxm_bool;
#define SXM_FALSE 0
#define SXM_TRUE 1

/* One logo of a content record. url may be null (a logo announced without an image). */
typedef struct sxm_logo
{
    const char* resourceType;
    const char* url;
    int32_t width;
    int32_t height;
} sxm_logo;

/* One channel, show, episode or category. Human-readable texts (category, genre, title,
 * description) are UTF-8; every other text is plain bytes (identifiers, keys, dates, URLs). Any
 * text may be null. Dates are ISO 8601 UTC ("2024-05-01T10:00:00Z"). */
typedef struct sxm_content
{
    int32_t assetType; /* enum sxm_assetType */
    const char* assetGuid;
    const char* category;
    const char* categoryKey;
    int32_t categorySortOrder;
    const char* genre;
    const char* genreKey;
    const char* genreIcon;
    int32_t genreSortOrder;
    const char* title;
    const char* description;
    sxm_logo* logos; /* logoCount entries, or null when logoCount is 0 */
    int32_t logoCount;
    const char* channelGuid;
    const char* channelId;
    const char* streamingName;
    int32_t siriusChannelNumber;
    int32_t xmChannelNumber;
    int32_t geoRestrictions; /* non-zero: the channel may be refused outside its region */
    int32_t sortOrder;
    /* seconds without user activity (the host's system idle time) after which playback stops;
     * 0: never */
    int32_t inactivityTimeout;
    sxm_bool isAvailable;
    sxm_bool isFavorite;
    sxm_bool isXtra;
    const char* showGuid;
    int32_t episodeCount;
    const char* episodeGuid;
    const char* expireDate;
    const char* originalAiredDate;
    int32_t duration;        /* seconds */
    int32_t percentConsumed; /* 0..100 */
} sxm_content;

/* Now-playing track of the current stream. Every text is Latin-1 (a character outside it is "?").
 */
typedef struct sxm_trackMetadata
{
    const char* album;
    const char* artist;
    const char* track;
    const char* trackDescription;
    const char* trackId;
    /* album art */
    const char* albumArtUrl;
    const char* albumArtResourceType;
    int32_t albumArtWidth;
    int32_t albumArtHeight;
} sxm_trackMetadata;

/* One program-data cut: what a channel plays from `time` for `duration` seconds. Every text is
 * Latin-1 (a character outside it is "?"). */
typedef struct sxm_pdt_cuts
{
    int64_t time; /* start, milliseconds since 1970-01-01 UTC (program-data time) */
    int32_t duration;
    const char* channelId;
    const char* title;
    const char* artist;
    const char* album;
} sxm_pdt_cuts;

/* One favorite change for sxm_update_server_favorites, or one favorite as the library lists it. */
typedef struct sxm_favorite
{
    const char* assetGuid;
    int32_t assetType; /* enum sxm_assetType */
    const char* assetName;
    const char* channelId;
    const char* contentType;
    int32_t reserved;   /* kept zero by the integrator */
    int32_t changeType; /* enum sxm_favoriteChange */
} sxm_favorite;

/* The favorite list of sxm_update_server_favorites: a singly linked list whose nodes the caller
 * allocates with sxm_malloc; sxm_freeFavoriteList frees the nodes (never the texts, which stay
 * the caller's). */
typedef struct sxm_favoriteList
{
    sxm_favorite favorite;
    struct sxm_favoriteList* next;
} sxm_favoriteList;

/* A library error or bypass-status report. Every flag is true when non-zero. */
typedef struct sxm_errorNotification
{
    int32_t libraryErrorCode; /* 0: status report only; SXM_ERROR_PLAYBACK_ENDED ends playback */
    int32_t responseCode;     /* HTTP status behind the error, or 0 */
    sxm_bool errorStop;       /* the operation in progress was abandoned */
    /* bypass mode: parts of the service that are unavailable while its servers are updated */
    sxm_bool isGupIdUnavailable;
    sxm_bool isGupUnavailable;
    sxm_bool isSearchUnavailable;
    sxm_bool isPausePoinUnavailable;
    /* the same four, as last confirmed by a check request */
    sxm_bool isGupIdUnavailableCheck;
    sxm_bool isGupUnavailableCheck;
    sxm_bool isSearchUnavailableCheck;
    sxm_bool isPausePoinUnavailableCheck;
    sxm_bool loggedDuringBypass; /* the current sign-in happened while in bypass mode */
    const char* errorString;     /* user-readable text, may be null */
} sxm_errorNotification;

/* Progress of the current stream. Timestamps are SECONDS since 1970-01-01 UTC and the duration
 * is in MILLISECONDS: the integrator computes play-time offsets as (current - start) * 1000 and
 * compares durations in milliseconds. */
typedef struct sxm_timebarData
{
    int64_t startTimestamp;   /* start of the current segment (track, or the episode) */
    int64_t currentTimestamp; /* what the listener hears now */
    int64_t bufferTimestamp;  /* the newest audio the library holds */
    int32_t duration;         /* milliseconds: length of the current segment */
    int32_t irNavClass;       /* enum sxm_irNavClass */
    int64_t* segments;        /* start times (seconds) of the segments within the rewind window */
    int32_t segmentCount;
    sxm_bool isLive;
} sxm_timebarData;

/* One account-wide setting: name and value ("TuneStart" = "on" / "off"). The value is UTF-8. */
typedef struct sxm_globalSetting
{
    const char* name;
    const char* value;
} sxm_globalSetting;

/* A channel-id list for sxm_startPtdNotificationForChannelIds, owned by the caller. */
typedef struct sxm_channelIdList
{
    const char* channelId;
    struct sxm_channelIdList* next;
} sxm_channelIdList;

/* What the metadata-state callback of a play request receives: whether the track metadata
 * delivered so far matches the audio the listener hears. */
typedef struct sxm_metadataState
{
    int32_t state;     /* 0 unknown, 1 metadata pending for the coming audio, 2 in step */
    int64_t timestamp; /* stream position the state refers to, milliseconds since the epoch */
} sxm_metadataState_t;

/* ============================================================================================
 * 3. Callback function types
 *
 * `context` is the pointer the integrator put in the callback record (or in the play request,
 * for the two play-request callbacks). Every callback returns 0; the library ignores the result
 * except for the playback-data callback. Records passed by pointer are the library's and valid
 * only during the call.
 * ============================================================================================ */

/* Library thread or the library's stream thread: an error or a bypass-status report. */
typedef int (*sxm_errorCallback)(void* context, sxm_errorNotification* notification);
/* Stream thread: the track now playing changed. */
typedef int (*sxm_metadataCallback)(void* context, sxm_trackMetadata* metadata);
/* Stream thread: the bitrate (bits per second) of the stream changed. */
typedef int (*sxm_bitrateChangedCallback)(void* context, int bitrate);
/* Stream thread: the stream is busy (buffering, non-zero) or flowing again (0). */
typedef int (*sxm_channelBusyCallback)(void* context, int busy);
/* During sxm_channel_list(): one channel of the line-up; a channel listed in several genres
 * comes once per genre. */
typedef int (*sxm_channelCallback)(void* context, sxm_content* channel);
/* During sxm_getShows(): status 1 with one show, then a final call with status 0 and a null
 * show; a negative status (and a null show) when the listing failed. `index` counts the shows
 * delivered before this one. */
typedef int (*sxm_showsCallback)(void* context, sxm_content* show, int status, int index);
/* Stream thread: audio handed over before this call is obsolete (a jump within the stream). */
typedef int (*sxm_flushCallback)(void* context);
/* Library thread, from sxm_externalTimerTick(): current cuts of the channels asked for with an
 * sxm_startPtdNotification* call, an array of `count` cuts. */
typedef int (*sxm_pdtCutsCallback)(void* context, sxm_pdt_cuts* cuts, int count);
/* Stream thread: the progress of the current stream. */
typedef int (*sxm_timebarCallback)(void* context, sxm_timebarData* timebar);
/* During sxm_getEpisodes(): all episodes of the show at once, an array of `count` records. */
typedef int (*sxm_episodesCallback)(void* context, const char* showId, sxm_content* episodes,
                                    int count);
/* During sxm_get_recents(), sxm_get_favorites(), sxm_search(): one item per call, `index`
 * counting from 0; a list without items gives one call with a null item and index -1. */
typedef int (*sxm_recentsCallback)(void* context, sxm_content* item, int index);
typedef int (*sxm_favoritesCallback)(void* context, sxm_content* item, int index);
typedef int (*sxm_searchCallback)(void* context, sxm_content* item, int index);
/* During sxm_configure_sirius(), sxm_verify_account() and after
 * sxm_update_global_settings(): all settings of the account, an array of `count` records. */
typedef int (*sxm_globalSettingsCallback)(void* context, sxm_globalSetting* settings, int count);
/* During sxm_get_forYouCarousel(): one item per call, `more` true while items follow; an empty
 * carousel gives one call with a null item and `more` false. */
typedef int (*sxm_forYouCallback)(void* context, sxm_content* item, sxm_bool more);
/* Library thread, from sxm_externalTimerTick(): a service-side list changed elsewhere (another
 * device); `module` is an enum sxm_moduleType. */
typedef int (*sxm_refreshCallback)(void* context, int module);

/* Stream thread: a block of still-encoded audio (AAC in ADTS frames) and the stream's bitrate in
 * bits per second. Returns how many leading bytes of `data` it took (0 to length); the rest is
 * offered again after the integrator calls sxm_sendAudioData(). The bytes belong to the library:
 * the callee copies what it keeps before returning. *outputDelay, when the pointer is not null,
 * may receive the delay in milliseconds queued ahead of the listener; the library adds it to the
 * position it reports in the timebar. */
typedef int (*sxm_playbackDataCallback)(void* context, unsigned char* data, int length,
                                        unsigned int bitrate, unsigned int* outputDelay);
/* Stream thread: whether metadata is in step with the audio; may be null in a play request. */
typedef int (*sxm_metadataStateCallback)(void* context, sxm_metadataState_t* state);

/* ============================================================================================
 * 4. Operations
 * ============================================================================================ */

/* Any thread. */
void sxm_getVersion(int* major, int* minor, int* patch);
/* Any thread: enum sxm_status. */
int sxm_get_status(void);
/* The text of the last failure on the library thread, never null ("" when none); valid until the
 * next operation call. */
const char* sxm_get_error(void);

/* Prepares the library (platform hooks, cryptography, configuration). 1 on success, 0 on
 * failure. Call once, before anything but sxm_getVersion and sxm_get_status. */
int sxm_init(void);

/* Drives the library's clock: `ms` is the real time elapsed since the previous tick. Program-data
 * polls, refresh notices and time-outs advance only through these ticks. */
void sxm_externalTimerTick(uint32_t ms);

/* Selects the bitrate of later streams (enum sxm_streamIndex). 1, or 0 for an unknown index. */
int sxm_selectStreamIndex(int index);

/* Signs in with these credentials and stores them through sxm_setAccount. 1 on success; 0
 * refused or unreachable (sxm_get_error() says which). */
int sxm_verify_account(const char* username, const char* password);
/* Signs in with the stored account (sxm_getAccount). 1 on success, 0 on failure. */
int sxm_configure_sirius(void);

/* Lists the line-up through the channel callback, during the call. 1 on success, 0 on failure;
 * success moves the status to SXM_STATUS_READY. */
int sxm_channel_list(void);
/* Shows of one genre (by genre key) or of one channel (by channel id): exactly one of the two is
 * non-empty. Shows arrive through the shows callback during the call. 1 on success, else the
 * (non-1) status that the listing ended with. */
int sxm_getShows(const char* genreKey, const char* channelId);
/* Episodes of one show, through the episodes callback during the call. 1 on success, else a
 * non-1 status. */
int sxm_getEpisodes(const char* showGuid);
/* For You carousel, favorites, recently played: items through their callbacks during the call.
 * 1 on success, 0 on failure. */
int sxm_get_forYouCarousel(void);
int sxm_get_favorites(void);
int sxm_get_recents(void);
/* Clears recently played. 1 on success, 0 on failure. */
int sxm_clearRecents(void);
/* Searches the catalog; results through the search callback during the call. 1 or 0. */
int sxm_search(const char* text);

/* Sends favorite changes (added or removed) to the service. The list stays the caller's; free it
 * with sxm_freeFavoriteList. 1 on success, 0 on failure. */
int sxm_update_server_favorites(sxm_favoriteList* list);
/* Frees the nodes of a favorite list with sxm_free (not the texts). A null list is ignored. */
void sxm_freeFavoriteList(sxm_favoriteList* list);

/* Stores account-wide settings on the service; `count` records. The global-settings callback
 * then reports the whole set. 1 on success, 0 on failure. */
int sxm_update_global_settings(const sxm_globalSetting* settings, int count);

/* Program-data notifications: the cuts of the chosen channels are polled on the library's clock
 * and delivered through the cuts callback. Each call replaces the previous choice. 1 on success,
 * 0 on failure (not signed in). */
int sxm_startPtdNotificationForChannelIds(const sxm_channelIdList* channelIds);
int sxm_startPtdNotificationForGenre(const char* genreKey);
int sxm_startPtdNotification(void); /* every channel */
int sxm_stop_pdt_notification(void);

/* 1 when the channel is refused in this region, 0 when it may play, 2 or more when it could not
 * be told (not signed in, unknown channel). */
int sxm_checkGeoRestricted(const char* channelId);
/* Reports the current bypass flags through the error callback (libraryErrorCode 0) during the
 * call. 1 on success, 0 on failure. */
int sxm_get_bypassStatus(void);

/* A play request, zero-filled by the caller before use. */
typedef struct sxm_playRequest
{
    void* context; /* handed to the two callbacks below */
    const char* channelId;
    const char* accessControlId;
    const char* timestamp; /* where to start, ISO 8601 UTC; empty or null: the live point */
    const char* assetGuid;
    const char* baseUrl;
    const char* defaultIcon;
    int32_t mode; /* enum sxm_contentMode */
    sxm_playbackDataCallback playbackData;
    sxm_metadataStateCallback metadataState; /* may be null */
    int32_t playLive;                        /* 1: join at the live point, 0: at `timestamp` */
} sxm_playRequest;

/* Starts a stream; a stream already playing is stopped first. The library copies the request's
 * texts. Audio then flows through the request's playback-data callback on the stream thread. 1 on
 * success, 0 on failure. */
int sxm_playChannel(const sxm_playRequest* request);
/* Stops the stream. 1 on success, 0 when nothing was playing. */
int sxm_stopChannel(void);
/* pause non-zero: pauses the stream (audio stops flowing, the position is kept); 0: resumes it.
 * 1 on success, SXM_RESULT_PAUSE_POINT_LOST when the stream cannot resume where it paused,
 * SXM_RESULT_ERROR when nothing is playing. */
int sxm_userPause(int pause);
/* The delay in milliseconds between audio handed over and audio heard, for the timebar.
 * 1, or SXM_RESULT_ERROR for a negative value. */
int sxm_outputLatency(int ms);
/* Bitrate of the current stream in bits per second, 0 when nothing is playing. */
int sxm_getStreamBitrate(void);

/* Where a skip backward / forward would go, written into `buffer` (`size` bytes, zero-filled by
 * the caller, always left zero-terminated). On success returns the skips left in the service's
 * budget (0 or more) and the text is one of: SXM_SEGMENT_GO_LIVE; SXM_SEGMENT_XTRA_PREFIX ";"
 * assetGuid; startTime "," assetGuid; startTime. On failure returns one of the negative segment
 * results of enum sxm_result, with SXM_SEGMENT_ERROR_PREFIX and a message in the buffer when the
 * service gave one. */
int sxm_getPrevSegmentTime(char* buffer, int size);
int sxm_getNextSegmentTime(char* buffer, int size);
/* Jumps to the live point of the current live stream. */
void sxm_triggerGoLive(void);
/* The streamer's play time: milliseconds of audio the listener has heard since the playback
 * started (the integrator's streamer clock, truncated to 32 bits). */
void sxm_on_playTimeChanged(int playTime);
/* The integrator has sent what it took: offer the next audio through the playback-data callback.
 * 1 on success, 0 when nothing is playing. */
int sxm_sendAudioData(void);

/* ============================================================================================
 * 5. The callback record
 * ============================================================================================ */

/* Eighteen pointer-sized fields, passed by value to sxm_registerCallbacks. A null callback is
 * never called (the library then skips that kind of delivery). */
typedef struct sxm_callbacks
{
    /* handed to callbacks made during an operation call, on the calling thread */
    void* context;
    /* handed to callbacks made on the library's own threads and from sxm_externalTimerTick */
    void* eventContext;
    sxm_errorCallback onError;
    sxm_metadataCallback onTrackMetadata;
    sxm_bitrateChangedCallback onChannelBitrateChanged;
    sxm_channelBusyCallback onChannelBusy;
    sxm_channelCallback onChannel;
    sxm_showsCallback onShows;
    sxm_flushCallback onFlush;
    sxm_pdtCutsCallback onPdtCuts;
    sxm_timebarCallback onTimebar;
    sxm_episodesCallback onEpisodes;
    sxm_recentsCallback onRecents;
    sxm_favoritesCallback onFavorites;
    sxm_globalSettingsCallback onGlobalSettings;
    sxm_forYouCallback onForYou;
    sxm_searchCallback onSearch;
    sxm_refreshCallback onRefresh;
} sxm_callbacks;

/* 1 on success; 0 when called before sxm_init() or when the error, channel or cuts callback is
 * null. */
int sxm_registerCallbacks(sxm_callbacks callbacks);

SXM_STATIC_ASSERT(sizeof(sxm_callbacks) == 18 * sizeof(void*),
                  "the callback record is eighteen pointer-sized fields");

/* ============================================================================================
 * 6. Hooks the integrator provides
 *
 * The library calls these from any of its threads. The integrator's module defines every one of
 * them with C linkage and default visibility.
 * ============================================================================================ */

/* ---- HTTP transport --------------------------------------------------------------------- */

/* A body or header callback, with the signature of libcurl's write callback. */
typedef size_t (*sirius_HT_writeFunction)(char* data, size_t size, size_t count, void* userData);

/* A kept cookie: `line` is a copy of one line of curl's cookie list (Netscape format, fields
 * separated by tabs), followed by two zero bytes. Nodes and lines are allocated with malloc and
 * freed by sirius_HT_clearCtxData. */
typedef struct sirius_HT_cookie
{
    char* line;
    struct sirius_HT_cookie* next;
} sirius_HT_cookie;

/* One HTTP exchange. Owned by the library; the transport fills curl from it and writes the
 * outcome back. One request per context at a time. */
typedef struct sirius_HT_ctx
{
    const char* url;
    const char* body; /* POST body (zero-terminated); null posts an empty body */
    int32_t isPost;
    void* headerData;  /* user data of headerFunction */
    void* writeData;   /* user data of writeFunction */
    char* errorText;   /* null, or a zero-filled buffer of at least SIRIUS_HT_ERROR_TEXT_SIZE
                          bytes; a failure message is copied in without a terminating zero */
    int32_t errorCode; /* -3: no request was made; -2: the request failed on the way */
    void* handle;      /* a curl easy handle (CURL*) reused across requests, or null */
    sirius_HT_writeFunction writeFunction;  /* body bytes; null discards them */
    sirius_HT_writeFunction headerFunction; /* header lines; null discards them */
    int32_t failed;                         /* 1 when curl reported a failure, else 0 */
    int64_t responseCode;                   /* HTTP status of the last response, 0 when none came */
    int32_t timeout;                        /* whole request, seconds; 0 none */
    int32_t connectTimeout;                 /* connect phase, seconds; 0 curl's default */
    sirius_HT_cookie* cookies;              /* cookies the handle holds after the request */
} sirius_HT_ctx;

/* Room for the longest failure message (62 characters). */
#define SIRIUS_HT_ERROR_TEXT_SIZE 128

#if UINTPTR_MAX == 0xFFFFFFFFFFFFFFFFu
SXM_STATIC_ASSERT(offsetof(sirius_HT_ctx, url) == 0, "url at 0");
SXM_STATIC_ASSERT(offsetof(sirius_HT_ctx, body) == 8, "body at 8");
SXM_STATIC_ASSERT(offsetof(sirius_HT_ctx, isPost) == 16, "isPost at 16");
SXM_STATIC_ASSERT(offsetof(sirius_HT_ctx, headerData) == 24, "headerData at 24");
SXM_STATIC_ASSERT(offsetof(sirius_HT_ctx, writeData) == 32, "writeData at 32");
SXM_STATIC_ASSERT(offsetof(sirius_HT_ctx, errorText) == 40, "errorText at 40");
SXM_STATIC_ASSERT(offsetof(sirius_HT_ctx, errorCode) == 48, "errorCode at 48");
SXM_STATIC_ASSERT(offsetof(sirius_HT_ctx, handle) == 56, "handle at 56");
SXM_STATIC_ASSERT(offsetof(sirius_HT_ctx, writeFunction) == 64, "writeFunction at 64");
SXM_STATIC_ASSERT(offsetof(sirius_HT_ctx, headerFunction) == 72, "headerFunction at 72");
SXM_STATIC_ASSERT(offsetof(sirius_HT_ctx, failed) == 80, "failed at 80");
SXM_STATIC_ASSERT(offsetof(sirius_HT_ctx, responseCode) == 88, "responseCode at 88");
SXM_STATIC_ASSERT(offsetof(sirius_HT_ctx, timeout) == 96, "timeout at 96");
SXM_STATIC_ASSERT(offsetof(sirius_HT_ctx, connectTimeout) == 100, "connectTimeout at 100");
SXM_STATIC_ASSERT(offsetof(sirius_HT_ctx, cookies) == 104, "cookies at 104");
SXM_STATIC_ASSERT(sizeof(sirius_HT_ctx) == 112, "the HTTP context is 112 bytes");
SXM_STATIC_ASSERT(sizeof(sirius_HT_cookie) == 16, "a cookie node is two pointers");
#endif

/* A new curl easy handle (CURL*), or null. */
SXM_HOOK void* sirius_HT_init(void);
/* curl_easy_reset on the handle; null is ignored. */
SXM_HOOK void sirius_HT_reset(void* handle);
/* curl_easy_cleanup on the handle; null is ignored. */
SXM_HOOK void sirius_HT_cleanup(void* handle);
/* Frees the kept cookies and zeroes every field. The handle is forgotten, not cleaned up: the
 * caller keeps it and cleans it up with sirius_HT_cleanup. */
SXM_HOOK void sirius_HT_clearCtxData(sirius_HT_ctx* context);
/* Runs one request. Returns curl's result code (0 on success), or 0 when no request could be
 * made (errorCode -3). An HTTP error status is not a failure: read responseCode.
 * Every request sends "Content-Type: application/json" and a fixed "Cookie: application/json"
 * line. Cookies that responses set are kept by the handle (curl's cookie engine) and sent back on
 * later requests through the same handle, in a Cookie line of their own ahead of the fixed one:
 * "Cookie: session=...; other=..." then "Cookie: application/json". After each request, every
 * cookie the handle holds is listed in `cookies`, in curl's order; the list must be empty
 * (cleared with sirius_HT_clearCtxData) before the request: a non-empty list is left as it is
 * and the new cookies are not listed. A context without a handle is served by a handle made for
 * that one request, whose cookies are then lost. */
SXM_HOOK int sirius_HT_Request(sirius_HT_ctx* context);

/* ---- Account and device identity -------------------------------------------------------- */

/* The user's account. Every text is zero-terminated bytes (Latin-1). */
typedef struct sxm_account
{
    char* username;
    char* password;
    char* consumerType;
    char* newPassword;
    char* registrationId;
    char* registrationKey;
    char* email;
    char* zip;
} sxm_account;

SXM_STATIC_ASSERT(sizeof(sxm_account) == 8 * sizeof(char*), "the account record is eight texts");

/* Fills the eight texts from the stored account with fresh allocations (empty texts when no
 * account is stored); release them with sxm_freeAccount. Returns 1. */
SXM_HOOK int sxm_getAccount(sxm_account* account);
/* Stores the record's texts as the account (a null text stores an empty one). */
SXM_HOOK void sxm_setAccount(sxm_account* account);
/* Frees the texts that sxm_getAccount allocated and sets them to null. */
SXM_HOOK void sxm_freeAccount(sxm_account* account);

/* The text hooks copy at most `size` bytes of their text into `buffer` and return the count.
 * No terminating zero is written: pass a zero-filled buffer larger than the longest text, or use
 * the count. */
SXM_HOOK int sxm_GetMAC(char* buffer, int size);       /* "aa:bb:cc:dd:ee:ff" */
SXM_HOOK int sxm_getConfigUrl(char* buffer, int size); /* the service's configuration URL */
SXM_HOOK int sxm_getDeviceMake(char* buffer, int size);
SXM_HOOK int sxm_getDeviceModel(char* buffer, int size);
/* The device's fixed key as text (32 hexadecimal digits: 16 bytes); it unwraps stream keys. */
SXM_HOOK int sxm_getFixedKey(char* buffer, int size);

/* ---- Memory, time, sleep ------------------------------------------------------------------ */

SXM_HOOK void* sxm_malloc(unsigned size);
SXM_HOOK void* sxm_realloc(void* pointer, unsigned size);
SXM_HOOK void sxm_free(void* pointer);
/* Sleeps; returns the seconds left unslept (as sleep(3)). */
SXM_HOOK unsigned sxm_sleep(unsigned seconds);
/* Wall-clock time, milliseconds since 1970-01-01 UTC. */
SXM_HOOK int64_t sxm_platform_ms_since_epoch(void);

/* ---- Mutexes ------------------------------------------------------------------------------ */

/* flags bit 1 (SXM_MTX_RECURSIVE): the owning thread may lock again. */
#define SXM_MTX_RECURSIVE 2u
/* sxm_mtx_trylock: the mutex is held elsewhere. */
#define SXM_MTX_BUSY 3

/* 1 on success, 0 on failure. */
SXM_HOOK int sxm_mtx_init(pthread_mutex_t* mutex, unsigned flags);
/* pthread_mutex_destroy's result (0 on success). */
SXM_HOOK int sxm_mtx_destroy(pthread_mutex_t* mutex);
/* 1 on success, 0 on failure. */
SXM_HOOK int sxm_mtx_lock(pthread_mutex_t* mutex);
/* 1 when taken, SXM_MTX_BUSY when not. */
SXM_HOOK int sxm_mtx_trylock(pthread_mutex_t* mutex);
/* 1 on success, 0 on failure. */
SXM_HOOK int sxm_mtx_unlock(pthread_mutex_t* mutex);

/* ---- Logging ------------------------------------------------------------------------------ */

/* Severities of sxm_platform_print, most severe first. */
enum sxm_logSeverity
{
    SXM_LOG_FATAL = 0,
    SXM_LOG_ERROR = 1,
    SXM_LOG_WARNING = 2,
    SXM_LOG_INFO = 3,
    SXM_LOG_DEBUG = 4,
    SXM_LOG_TRACE = 5,
    SXM_LOG_VERBOSE = 6
};

/* Prepares the platform's logger. Returns 1. */
SXM_HOOK int sxm_init_platform_logger(void);
/* Logs one line (no trailing newline needed). Severities outside 0..6 are dropped. */
SXM_HOOK void sxm_platform_print(int severity, const char* text);
/* The most verbose severity worth printing: lines above it need not be formatted at all. */
SXM_HOOK int sxm_platform_log_level(void);

/* ---- Stream decryption (AES-128-CBC) ------------------------------------------------------ */

/* Starts one segment. */
typedef struct sxm_decryptStart
{
    const uint8_t* key;
    uint32_t keyLength; /* bytes: sxm_cipher_get_algo_keylen() */
    int32_t ivHigh;     /* reserved, zero */
    int32_t iv;         /* initialization value: the vector is this number, sign-extended,
                           big-endian over 16 bytes; 0 keeps the all-zero vector */
} sxm_decryptStart;

/* Decrypts whole 16-byte blocks of `input` in place and copies them to `output` (the areas may
 * overlap). A trailing partial block is neither decrypted nor delivered: present it again at the
 * head of the next call. */
typedef struct sxm_decryptProcess
{
    uint8_t* input;
    uint32_t length;
    uint8_t* output;
} sxm_decryptProcess;

#if UINTPTR_MAX == 0xFFFFFFFFFFFFFFFFu
SXM_STATIC_ASSERT(offsetof(sxm_decryptStart, key) == 0, "key at 0");
SXM_STATIC_ASSERT(offsetof(sxm_decryptStart, keyLength) == 8, "keyLength at 8");
SXM_STATIC_ASSERT(offsetof(sxm_decryptStart, ivHigh) == 12, "ivHigh at 12");
SXM_STATIC_ASSERT(offsetof(sxm_decryptStart, iv) == 16, "iv at 16");
SXM_STATIC_ASSERT(offsetof(sxm_decryptProcess, input) == 0, "input at 0");
SXM_STATIC_ASSERT(offsetof(sxm_decryptProcess, length) == 8, "length at 8");
SXM_STATIC_ASSERT(offsetof(sxm_decryptProcess, output) == 16, "output at 16");
#endif

/* Initializes the cryptography library once per process. 1, or -1 when it is too old. */
SXM_HOOK int sxm_cr_init(void);
/* The key length in bytes: 16. */
SXM_HOOK int sxm_cipher_get_algo_keylen(void);
/* Prepares decryption of one segment. 1 on success, 0 on failure. A start without a key and with
 * iv and ivHigh zero means the stream is not encrypted: from then on, for the rest of the
 * process, sxm_decrypt_process copies data unchanged (this start itself answers 0, having no key
 * to set). One stream is decrypted at a time: the state is process-wide and unlocked. */
SXM_HOOK int sxm_decrypt_start(sxm_decryptStart* context);
/* Returns the number of bytes delivered to `output`: length rounded down to a multiple of 16
 * (0 when no segment was started, or on failure); with decryption off, `length`. */
SXM_HOOK int sxm_decrypt_process(sxm_decryptProcess* context);
/* Ends the segment. Returns 1. */
SXM_HOOK int sxm_decrypt_done(void);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* SXMLIB_H */
