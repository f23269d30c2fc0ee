#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"
#include "mivosdk/MivoNotificationDisplayItem.h"
#include "mivosdk/MivoSiriusAccount.h"
#include "mivosdk/MivoSiriusEnums.h"

/// The kinds of value a MivoValue holds (its type()).
struct MivoValueType
{
    enum Enum
    {
        Invalid = 0,
        Bool = 1,
        Int = 2,
        LongLong = 3,
        Double = 4,
        String = 5,
        Hash = 6,
        List = 7,
        Variant = 8, ///< any other variant, kept as it is
        SiriusAudioBitrate = 98,
        SiriusAccount = 99,
        NotificationDisplayItem = 100,
    };
};

/// The host's typed value: what settings, state values and request values hold. It is stored as
/// a hash of two entries, the type number under Type() and the value under Value(), so that it
/// survives a settings file or a variant round trip with its type; wrap a stored hash with
/// MivoValue(hash) to read it again.
///
/// Readers convert leniently (an Int read with toBool() is true when non-zero); the typed
/// accessors of the Sirius values (siriusAccount(), siriusAudioBitrate()) answer the empty
/// account or the default bitrate when the value holds something else.
class MivoValue : public MivoHash
{
    MIVO_HASH_VALUE(MivoValue)

    static QString Type() { return QStringLiteral("type"); }
    static QString Value() { return QStringLiteral("value"); }

    /// A value of type Variant (or Invalid for an invalid variant) holding the variant as it is.
    static MivoValue fromVariant(const QVariant& value);

    int type() const { return entry(Type()).toInt(); }
    bool isValid() const { return type() != MivoValueType::Invalid; }
    QVariant variant() const { return entry(Value()); }

    MivoValue& setBool(bool value);
    MivoValue& setInt(int value);
    MivoValue& setLongLong(qint64 value);
    MivoValue& setDouble(double value);
    MivoValue& setString(const QString& value);
    MivoValue& setHash(const QVariantHash& value);
    MivoValue& setList(const QVariantList& value);
    MivoValue& setVariant(const QVariant& value);
    MivoValue& setSiriusAccount(const MivoSiriusAccount& account);
    MivoValue& setSiriusAudioBitrate(MivoSiriusAudioBitrate::Enum bitrate);
    MivoValue& setNotificationDisplayItem(const MivoNotificationDisplayItem& item);

    bool toBool() const { return variant().toBool(); }
    /// The boolean held; a value is "read with bool()".
    explicit operator bool() const { return toBool(); }
    int toInt() const { return variant().toInt(); }
    qint64 toLongLong() const { return variant().toLongLong(); }
    double toDouble() const { return variant().toDouble(); }
    QString toString() const;
    QVariantHash toHash() const { return variant().toHash(); }
    QVariantList toList() const { return variant().toList(); }

    MivoSiriusAccount siriusAccount() const;
    MivoSiriusAudioBitrate::Enum siriusAudioBitrate() const;
    MivoNotificationDisplayItem notificationDisplayItem() const;

private:
    MivoValue& set(MivoValueType::Enum type, const QVariant& value);
};

Q_DECLARE_METATYPE(MivoValue)
