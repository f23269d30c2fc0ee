#pragma once
// Thread contract: stateless; safe from any thread.
//
// The host's well-known paths, settings keys, parameter names, icons and service id. Absolute paths
// start at the root ("/sirius/browse"); the *Path() accessors named as suffixes
// (MivoStreamerPlayPath(), MivoPlayLogicPlayTimePath(), ...) are one relative segment that is
// appended to a prefix with operator+ (MivoStreamerDefaultPrefixPath() + MivoStreamerPlayPath()).

#include "mivosdk/CMPath.h"

// --- the SiriusXM module's nodes
CMPath MivoSiriusPrefixPath();    ///< "/sirius": the base of playable content paths
CMPath MivoSiriusBrowsePath();    ///< the browse root
CMPath MivoSiriusAccountPath();   ///< the account node (set a MivoSiriusAccount value)
CMPath MivoSiriusPlayLogicPath(); ///< the play-logic node
CMPath MivoSiriusGoLivePath();    ///< activate: return to the live point
CMPath MivoSiriusFavoritePath();  ///< activate: add or remove the favorite named by the parameters
CMPath MivoSiriusClearRecentsPath(); ///< activate: clear the recently played list

// --- path parameter names of playable content paths
QString MivoSiriusGoLive();  ///< play at the live point
QString MivoSiriusEpisode(); ///< the path names an on-demand episode
QString MivoSiriusXtra(); ///< the path names an Xtra channel; also the prefix of the library's Xtra
                          ///< segment texts
QString MivoSiriusStartNow(); ///< start at the path's timestamp

// --- settings (persisted by the host)
CMPath MivoSiriusSettingsFullFeaturedPath();        ///< bool: search, on demand, For You, favorites
CMPath MivoSiriusSettingsAudioBitrateConfig();      ///< MivoSiriusAudioBitrate
CMPath MivoSiriusSettingsTuneStart();               ///< bool: start tracks from their beginning
CMPath MivoSiriusSettingsAccountPath();             ///< MivoSiriusAccount (value type 99)
CMPath MivoSiriusSettingsStreamerBufferingConfig(); ///< hash: the module's streamer buffering
CMPath MivoSiriusSettingsConfigUrlPath();           ///< string: the service's configuration URL
CMPath MivoSiriusSettingsDeviceMakePath();          ///< string
CMPath MivoSiriusSettingsDeviceModelPath();         ///< string
CMPath MivoSiriusSettingsKeyPath();           ///< string: the device's fixed key (32 hex digits)
CMPath MivoPlayerStreamBufferingConfigPath(); ///< hash: the player's default streamer buffering

// --- state values
CMPath MivoSystemIdleTimePath();     ///< int: seconds since the user last touched the device
CMPath MivoNetworkStateCurrentMAC(); ///< string: "aa:bb:cc:dd:ee:ff"

// --- the streamer
CMPath MivoStreamerDefaultPrefixPath(); ///< the default streamer
CMPath MivoStreamerDataPath();          ///< value: MivoStreamerData
CMPath MivoStreamerPlayPath();          ///< command: MivoStreamerPlayArgs
CMPath MivoStreamerStopPath();          ///< command
CMPath MivoStreamerPausePath();         ///< command
CMPath MivoStreamerResumePath();        ///< command
CMPath MivoStreamerSetAttributesPath(); ///< command: MivoStreamerSetAttributesArgs

// --- below a play-logic node
CMPath MivoPlayLogicDataPath();        ///< value: MivoPlayLogicData, published by the play logic
CMPath MivoPlayLogicPositionPath();    ///< value: the play time (ms) the play logic publishes
CMPath MivoPlayLogicPlayTimePath();    ///< value: the streamer's play time (ms)
CMPath MivoPlayLogicBufferBytesPath(); ///< value: bytes queued at the streamer, not yet played

// --- the notification display
CMPath
MivoNotificationDisplayOpenPath(); ///< command: MivoValue holding a MivoNotificationDisplayItem

// --- icons and service id
QString MivoService_Sirius_Id();
QString MivoService_SiriusRecent_Icon();
QString MivoService_SiriusOnDemand_Icon();
QString MivoService_SiriusXtra_Icon();
QString MivoService_SiriusForYou_Icon();
QString MivoService_SiriusFavorites_Icon();
