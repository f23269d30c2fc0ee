#pragma once
// Thread contract: stateless; safe from any thread (the library's callbacks call it on the
// library's threads).

#include <mivosdk/MivoSirius.h>
#include <sxmlib.h>

#include <QByteArray>
#include <QList>

/// Conversions between the client library's plain records and the host's SiriusXM value types.
///
/// Library to host: a null text leaves its field unset (it reads as empty); human-readable texts
/// of content records (category, genre, title, description) are UTF-8, every other text is taken
/// byte for byte as Latin-1; integers are copied and flags are true when non-zero. A null record
/// gives an empty value (and, for anything but content, where the library promises a record, an
/// error line in the log).
///
/// Host to library: the records point into UTF-8 copies appended to `keep`; the caller keeps that
/// list alive until the library call that uses the record has returned.
class SiriusLibHelper
{
public:
    using PlaybackDataCallback = int (*)(void*, unsigned char*, int, unsigned int, unsigned int*);
    using MetadataStateCallback = int (*)(void*, sxm_metadataState_t*);

    SiriusLibHelper() = delete;

    static MivoSiriusContent sxmContentToMivo(sxm_content* content);
    static MivoSiriusTrackMetadata sxmTrackMetadataToMivo(sxm_trackMetadata* metadata);
    static MivoSiriusPdtCut sxmPdtCutToMivo(sxm_pdt_cuts* cut);
    static MivoSiriusFavorite sxmFavoriteToMivo(sxm_favorite* favorite);
    static MivoSiriusErrorNotification
    sxmErrorNotificationToMivo(sxm_errorNotification* notification);
    static MivoSiriusTimebar sxmTimebarDataToMivo(sxm_timebarData* timebar);

    static sxm_favorite mivoFavoriteToSxm(const MivoSiriusFavorite& favorite,
                                          QList<QByteArray>* keep);
    /// The play request without its context (the caller sets it to the bridge object).
    static sxm_playRequest mivoPlayableToSxm(const MivoSiriusPlayable& playable,
                                             PlaybackDataCallback playbackData,
                                             MetadataStateCallback metadataState,
                                             QList<QByteArray>* keep);
};
