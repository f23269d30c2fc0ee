#include "mivosdk/MivoSiriusEnums.h"

#include <initializer_list>
#include <utility>

namespace {

template <class Enum>
using Names = std::initializer_list<std::pair<Enum, const char*>>;

template <class Enum>
QString nameOf(Enum value, Names<Enum> names)
{
    for (const auto& entry : names) {
        if (entry.first == value)
            return QString::fromLatin1(entry.second);
    }
    return QStringLiteral("Invalid");
}

template <class Enum>
Enum valueOf(const QString& text, Names<Enum> names, bool* ok)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    for (const auto& entry : names) {
        if ((isNumber && number == static_cast<int>(entry.first)) ||
            (!isNumber && text == QLatin1String(entry.second))) {
            if (ok)
                *ok = true;
            return entry.first;
        }
    }
    if (ok)
        *ok = false;
    return static_cast<Enum>(-1);
}

} // namespace

// The tables sit inside the member functions so that the enumerators are in scope unqualified.
#define MIVO_ENUM_TEXT(Type, ...)                                                                  \
    QString Type::toString(Enum value)                                                             \
    {                                                                                              \
        return nameOf<Enum>(value, {__VA_ARGS__});                                                 \
    }                                                                                              \
    Type::Enum Type::fromString(const QString& text, bool* ok)                                     \
    {                                                                                              \
        return valueOf<Enum>(text, {__VA_ARGS__}, ok);                                             \
    }

MIVO_ENUM_TEXT(MivoSiriusAssetType, {LiveChannel, "LiveChannel"}, {Show, "Show"},
               {Episode, "Episode"}, {XtraChannel, "XtraChannel"}, {Category, "Category"})
MIVO_ENUM_TEXT(MivoSiriusContentMode, {Live, "Live"}, {OnDemand, "OnDemand"}, {Xtra, "Xtra"})
MIVO_ENUM_TEXT(MivoSiriusModuleType, {None, "None"}, {Favorites, "Favorites"}, {Recents, "Recents"},
               {ForYou, "ForYou"})
MIVO_ENUM_TEXT(MivoSiriusAudioBitrate, {Kbps32, "Kbps32"}, {Kbps64, "Kbps64"}, {Kbps96, "Kbps96"},
               {Kbps256, "Kbps256"})
MIVO_ENUM_TEXT(MivoSiriusFavoriteChangeType, {Added, "Added"}, {Removed, "Removed"})
MIVO_ENUM_TEXT(MivoSiriusIrNavClass, {Unrestricted, "Unrestricted"}, {Restricted, "Restricted"},
               {Disallowed, "Disallowed"})
MIVO_ENUM_TEXT(MivoSiriusSegmentTimeError, {None, "None"}, {Unknown, "Unknown"},
               {SkipLimitReached, "SkipLimitReached"}, {NoSkipsAvailable, "NoSkipsAvailable"},
               {SkipsNotAllowed, "SkipsNotAllowed"}, {AlreadyLive, "AlreadyLive"},
               {NoSkipsLeft, "NoSkipsLeft"})
