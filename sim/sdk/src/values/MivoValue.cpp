#include "mivosdk/MivoValue.h"

#include <QJsonDocument>

MivoValue MivoValue::fromVariant(const QVariant& value)
{
    MivoValue result;
    if (value.isValid())
        result.set(MivoValueType::Variant, value);
    return result;
}

MivoValue& MivoValue::set(MivoValueType::Enum type, const QVariant& value)
{
    setEntry(Type(), static_cast<int>(type));
    setEntry(Value(), value);
    return *this;
}

MivoValue& MivoValue::setBool(bool value)
{
    return set(MivoValueType::Bool, value);
}

MivoValue& MivoValue::setInt(int value)
{
    return set(MivoValueType::Int, value);
}

MivoValue& MivoValue::setLongLong(qint64 value)
{
    return set(MivoValueType::LongLong, value);
}

MivoValue& MivoValue::setDouble(double value)
{
    return set(MivoValueType::Double, value);
}

MivoValue& MivoValue::setString(const QString& value)
{
    return set(MivoValueType::String, value);
}

MivoValue& MivoValue::setHash(const QVariantHash& value)
{
    return set(MivoValueType::Hash, value);
}

MivoValue& MivoValue::setList(const QVariantList& value)
{
    return set(MivoValueType::List, value);
}

MivoValue& MivoValue::setVariant(const QVariant& value)
{
    return set(MivoValueType::Variant, value);
}

MivoValue& MivoValue::setSiriusAccount(const MivoSiriusAccount& account)
{
    return set(MivoValueType::SiriusAccount, account.__variant());
}

MivoValue& MivoValue::setSiriusAudioBitrate(MivoSiriusAudioBitrate::Enum bitrate)
{
    return set(MivoValueType::SiriusAudioBitrate, static_cast<int>(bitrate));
}

MivoValue& MivoValue::setNotificationDisplayItem(const MivoNotificationDisplayItem& item)
{
    return set(MivoValueType::NotificationDisplayItem, item.__variant());
}

QString MivoValue::toString() const
{
    const QVariant value = variant();
    if (value.canConvert<QString>() && value.type() != QVariant::Hash &&
        value.type() != QVariant::List)
        return value.toString();
    // Structured values print as compact JSON so that logs show them whole.
    return QString::fromUtf8(QJsonDocument::fromVariant(value).toJson(QJsonDocument::Compact));
}

MivoSiriusAccount MivoValue::siriusAccount() const
{
    if (type() != MivoValueType::SiriusAccount && type() != MivoValueType::Hash)
        return MivoSiriusAccount();
    return MivoSiriusAccount(toHash());
}

MivoSiriusAudioBitrate::Enum MivoValue::siriusAudioBitrate() const
{
    bool ok = false;
    const int number = variant().toInt(&ok);
    if (!ok || MivoSiriusAudioBitrate::fromString(QString::number(number)) ==
                   MivoSiriusAudioBitrate::Invalid)
        return MivoSiriusAudioBitrate::Default;
    return static_cast<MivoSiriusAudioBitrate::Enum>(number);
}

MivoNotificationDisplayItem MivoValue::notificationDisplayItem() const
{
    return MivoNotificationDisplayItem(toHash());
}
