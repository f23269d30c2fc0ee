#pragma once
// Thread contract: plain values (implicitly shared); safe to copy between threads.

#include "mivosdk/CMError.h"
#include "mivosdk/MivoRoles.h"

/// The streamer's state as it publishes it at MivoStreamerDefaultPrefixPath() +
/// MivoStreamerDataPath().
class MivoStreamerData : public MivoHash
{
    MIVO_HASH_VALUE(MivoStreamerData)

    enum StateValue
    {
        Stopped = 0,
        Buffering = 1,
        Playing = 2,
        Paused = 3,
    };

    MIVO_FIELD(int, state, State)
    /// Set when the stream broke; the name says why.
    MIVO_FIELD(CMError, error, Error)
    /// What the streamer itself knows of the playing track (from the stream, if anything).
    MIVO_FIELD(MivoRoles, trackRoles, TrackRoles)
    /// Play time in milliseconds.
    MIVO_FIELD(qint64, playTime, PlayTime)

    bool hasError() const { return !error().name().isEmpty(); }
};

/// The arguments of the streamer's play command.
class MivoStreamerPlayArgs : public MivoHash
{
    MIVO_HASH_VALUE(MivoStreamerPlayArgs)
    /// The item; its first media resource's URI says where the audio comes from.
    MIVO_FIELD(MivoRoles, roles, Roles)
    /// The play logic whose play time and buffered bytes the streamer publishes.
    MIVO_FIELD(CMPath, playLogicPath, PlayLogicPath)
};

/// The arguments of the streamer's set-attributes command.
class MivoStreamerSetAttributesArgs : public MivoHash
{
    MIVO_HASH_VALUE(MivoStreamerSetAttributesArgs)
    /// Which playback the attributes apply to; -1 for every playback from now on.
    MIVO_FIELD(int, playbackId, PlaybackId)
    MIVO_FIELD(QVariantHash, attributes, Attributes)
};

/// The attribute key of a streamer buffering configuration (a hash: e.g. "prebufferMs").
QString MivoStreamerAttributesBufferingConfig();

Q_DECLARE_METATYPE(MivoStreamerData)
Q_DECLARE_METATYPE(MivoStreamerPlayArgs)
Q_DECLARE_METATYPE(MivoStreamerSetAttributesArgs)
