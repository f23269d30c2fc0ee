#include "mivosdk/MivoPaths.h"

#include "mivosdk/MivoStreamer.h"

#define MIVO_PATH(Name, text)                                                                      \
    CMPath Name()                                                                                  \
    {                                                                                              \
        return CMPath(text);                                                                       \
    }
#define MIVO_TEXT(Name, text)                                                                      \
    QString Name()                                                                                 \
    {                                                                                              \
        return QStringLiteral(text);                                                               \
    }

MIVO_PATH(MivoSiriusPrefixPath, "/sirius")
MIVO_PATH(MivoSiriusBrowsePath, "/sirius/browse")
MIVO_PATH(MivoSiriusAccountPath, "/sirius/account")
MIVO_PATH(MivoSiriusPlayLogicPath, "/sirius/playlogic")
MIVO_PATH(MivoSiriusGoLivePath, "/sirius/golive")
MIVO_PATH(MivoSiriusFavoritePath, "/sirius/favorite")
MIVO_PATH(MivoSiriusClearRecentsPath, "/sirius/clearrecents")

MIVO_TEXT(MivoSiriusGoLive, "goLive")
MIVO_TEXT(MivoSiriusEpisode, "episode")
MIVO_TEXT(MivoSiriusXtra, "xtra")
MIVO_TEXT(MivoSiriusStartNow, "startNow")

MIVO_PATH(MivoSiriusSettingsFullFeaturedPath, "/settings/sirius/fullFeatured")
MIVO_PATH(MivoSiriusSettingsAudioBitrateConfig, "/settings/sirius/audioBitrate")
MIVO_PATH(MivoSiriusSettingsTuneStart, "/settings/sirius/tuneStart")
MIVO_PATH(MivoSiriusSettingsAccountPath, "/settings/sirius/account")
MIVO_PATH(MivoSiriusSettingsStreamerBufferingConfig, "/settings/sirius/streamerBuffering")
MIVO_PATH(MivoSiriusSettingsConfigUrlPath, "/settings/sirius/configUrl")
MIVO_PATH(MivoSiriusSettingsDeviceMakePath, "/settings/device/make")
MIVO_PATH(MivoSiriusSettingsDeviceModelPath, "/settings/device/model")
MIVO_PATH(MivoSiriusSettingsKeyPath, "/settings/sirius/key")
MIVO_PATH(MivoPlayerStreamBufferingConfigPath, "/settings/player/streamBuffering")

MIVO_PATH(MivoSystemIdleTimePath, "/system/idleTime")
MIVO_PATH(MivoNetworkStateCurrentMAC, "/network/state/currentMac")

MIVO_PATH(MivoStreamerDefaultPrefixPath, "/streamer")
MIVO_PATH(MivoStreamerDataPath, "data")
MIVO_PATH(MivoStreamerPlayPath, "play")
MIVO_PATH(MivoStreamerStopPath, "stop")
MIVO_PATH(MivoStreamerPausePath, "pause")
MIVO_PATH(MivoStreamerResumePath, "resume")
MIVO_PATH(MivoStreamerSetAttributesPath, "setAttributes")

MIVO_PATH(MivoPlayLogicDataPath, "data")
MIVO_PATH(MivoPlayLogicPositionPath, "position")
MIVO_PATH(MivoPlayLogicPlayTimePath, "playTime")
MIVO_PATH(MivoPlayLogicBufferBytesPath, "bufferBytes")

MIVO_PATH(MivoNotificationDisplayOpenPath, "/notification/open")

MIVO_TEXT(MivoService_Sirius_Id, "sirius")
MIVO_TEXT(MivoService_SiriusRecent_Icon, "icon:sirius/recent")
MIVO_TEXT(MivoService_SiriusOnDemand_Icon, "icon:sirius/ondemand")
MIVO_TEXT(MivoService_SiriusXtra_Icon, "icon:sirius/xtra")
MIVO_TEXT(MivoService_SiriusForYou_Icon, "icon:sirius/foryou")
MIVO_TEXT(MivoService_SiriusFavorites_Icon, "icon:sirius/favorites")

MIVO_TEXT(MivoStreamerAttributesBufferingConfig, "bufferingConfig")
