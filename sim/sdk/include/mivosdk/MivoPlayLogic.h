#pragma once
// Thread contract: plain values (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoRoles.h"

/// The player-visible state of a play logic.
struct MivoPlayLogicState
{
    enum Enum
    {
        Stopped = 0,
        Busy = 1, ///< a playback is being started or stopped
        Playing = 2,
        Paused = 3,
    };
};

/// Which transport controls the player offers for the current item.
class MivoPlayLogicControls : public MivoHash
{
    MIVO_HASH_VALUE(MivoPlayLogicControls)
    MIVO_FIELD(bool, pause, Pause)
    MIVO_FIELD(bool, next, Next)
    MIVO_FIELD(bool, previous, Previous)
};

/// Progress information of the current item.
class MivoPlayLogicStatus : public MivoHash
{
    MIVO_HASH_VALUE(MivoPlayLogicStatus)
    /// Length of the current segment in milliseconds; 0 when unknown (live).
    MIVO_FIELD(qint64, duration, Duration)
};

/// What a play logic publishes about its playback (PlayLogicBase::setData).
class MivoPlayLogicData : public MivoHash
{
    MIVO_HASH_VALUE(MivoPlayLogicData)
    MIVO_FIELD(QString, playId, PlayId)
    MIVO_FIELD(int, state, State)
    MIVO_FIELD(MivoRoles, mediaRoles, MediaRoles)
    MIVO_FIELD(QVariantList, matchingMediaRoles, MatchingMediaRoles)
    MIVO_FIELD(MivoRoles, trackRoles, TrackRoles)
    MIVO_FIELD(QString, error, Error)
    MIVO_FIELD(MivoPlayLogicControls, controls, Controls)
    MIVO_FIELD(MivoPlayLogicStatus, status, Status)
};

/// The value of a play request that the player sends to a play logic.
class MivoPlayLogicPlayArgs : public MivoHash
{
    MIVO_HASH_VALUE(MivoPlayLogicPlayArgs)
    MIVO_FIELD(QString, id, Id)
    MIVO_FIELD(MivoRoles, mediaRoles, MediaRoles)
    MIVO_FIELD(MivoRoles, trackRoles, TrackRoles)
};

Q_DECLARE_METATYPE(MivoPlayLogicControls)
Q_DECLARE_METATYPE(MivoPlayLogicStatus)
Q_DECLARE_METATYPE(MivoPlayLogicData)
Q_DECLARE_METATYPE(MivoPlayLogicPlayArgs)
