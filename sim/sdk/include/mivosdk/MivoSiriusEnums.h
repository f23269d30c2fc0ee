#pragma once
// Thread contract: stateless; safe from any thread.
//
// The host's SiriusXM enumerations. Their numbers are the ones the client library uses, so that a
// value crosses between the library and the host with a plain integer cast. toString() gives the
// enumerator's name; fromString() accepts that name or the decimal number and answers Invalid (-1)
// for anything else, so that an unknown text never passes for a real value.

#include <QMetaType>
#include <QString>

#define MIVO_ENUM_TEXT_FUNCTIONS                                                                   \
    static QString toString(Enum value);                                                           \
    static Enum fromString(const QString& text, bool* ok = nullptr);

struct MivoSiriusAssetType
{
    enum Enum
    {
        Invalid = -1,
        LiveChannel = 0,
        Show = 1,
        Episode = 2,
        XtraChannel = 3, ///< a channel listed with the Xtra channels
        Category = 4,
    };
    MIVO_ENUM_TEXT_FUNCTIONS
};

/// How the library is asked to play a playable.
struct MivoSiriusContentMode
{
    enum Enum
    {
        Invalid = -1,
        Live = 0,
        OnDemand = 1, ///< an on-demand episode
        Xtra = 2,
    };
    MIVO_ENUM_TEXT_FUNCTIONS
};

/// Which of the account's service-side lists changed (refresh notices).
struct MivoSiriusModuleType
{
    enum Enum
    {
        Invalid = -1,
        None = 0,
        Favorites = 1,
        Recents = 2,
        ForYou = 3,
    };
    MIVO_ENUM_TEXT_FUNCTIONS
};

/// The library's stream index: which of the service's bitrates is fetched.
struct MivoSiriusAudioBitrate
{
    enum Enum
    {
        Invalid = -1,
        Kbps32 = 0,
        Kbps64 = 1,
        Kbps96 = 2,
        Kbps256 = 3,
        Default = Kbps64, ///< used when the host has no bitrate setting
    };
    MIVO_ENUM_TEXT_FUNCTIONS
};

struct MivoSiriusFavoriteChangeType
{
    enum Enum
    {
        Invalid = -1,
        Added = 0,
        Removed = 1,
    };
    MIVO_ENUM_TEXT_FUNCTIONS
};

/// How far the listener may move within the current stream ("instant replay" navigation).
struct MivoSiriusIrNavClass
{
    enum Enum
    {
        Invalid = -1,
        Unrestricted = 0,
        Restricted = 1, ///< skips limited by the service's budget
        Disallowed = 2, ///< no skipping at all
    };
    MIVO_ENUM_TEXT_FUNCTIONS
};

/// Why a next/previous segment time could not be given.
struct MivoSiriusSegmentTimeError
{
    enum Enum
    {
        Invalid = -1,
        None = 0,
        Unknown = 1,
        SkipLimitReached = 2, ///< skips used up until a time the message names
        NoSkipsAvailable = 3, ///< none in this direction
        SkipsNotAllowed = 4,
        AlreadyLive = 5,
        NoSkipsLeft = 6,
    };
    MIVO_ENUM_TEXT_FUNCTIONS
};

#undef MIVO_ENUM_TEXT_FUNCTIONS

Q_DECLARE_METATYPE(MivoSiriusAssetType::Enum)
Q_DECLARE_METATYPE(MivoSiriusContentMode::Enum)
Q_DECLARE_METATYPE(MivoSiriusModuleType::Enum)
Q_DECLARE_METATYPE(MivoSiriusAudioBitrate::Enum)
Q_DECLARE_METATYPE(MivoSiriusFavoriteChangeType::Enum)
Q_DECLARE_METATYPE(MivoSiriusIrNavClass::Enum)
Q_DECLARE_METATYPE(MivoSiriusSegmentTimeError::Enum)
