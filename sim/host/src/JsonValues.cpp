#include "JsonValues.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>
#include <limits>

namespace jsonvalues {

namespace {

QJsonObject objectOf(const QVariantHash& hash)
{
    QJsonObject object;
    for (auto it = hash.cbegin(); it != hash.cend(); ++it)
        object.insert(it.key(), toJson(it.value()));
    return object;
}

QJsonObject objectOf(const QVariantMap& map)
{
    QJsonObject object;
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        object.insert(it.key(), toJson(it.value()));
    return object;
}

QVariant numberOf(double number)
{
    // JSON has one number type; give integral values back as integers so that counts, types and
    // enumerations compare equal to what was stored.
    double whole = 0;
    if (std::modf(number, &whole) != 0.0 || std::fabs(number) > 9007199254740992.0)
        return number;
    if (whole >= std::numeric_limits<int>::min() && whole <= std::numeric_limits<int>::max())
        return static_cast<int>(whole);
    return static_cast<qlonglong>(whole);
}

} // namespace

QJsonValue toJson(const QVariant& value)
{
    switch (static_cast<int>(value.type())) {
    case QMetaType::UnknownType:
        return QJsonValue();
    case QMetaType::QVariantHash:
        return objectOf(value.toHash());
    case QMetaType::QVariantMap:
        return objectOf(value.toMap());
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        QJsonArray array;
        for (const QVariant& item : value.toList())
            array.append(toJson(item));
        return array;
    }
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Char:
    case QMetaType::UChar:
        return value.toInt();
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Long:
    case QMetaType::ULong:
        return static_cast<double>(value.toLongLong());
    case QMetaType::Double:
    case QMetaType::Float:
        return value.toDouble();
    default:
        break;
    }
    if (value.canConvert<QString>())
        return value.toString();
    return QJsonValue();
}

QVariant fromJson(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        return QVariant();
    case QJsonValue::Bool:
        return value.toBool();
    case QJsonValue::Double:
        return numberOf(value.toDouble());
    case QJsonValue::String:
        return value.toString();
    case QJsonValue::Array: {
        QVariantList list;
        for (const QJsonValue& item : value.toArray())
            list.append(fromJson(item));
        return list;
    }
    case QJsonValue::Object: {
        QVariantHash hash;
        const QJsonObject object = value.toObject();
        for (auto it = object.constBegin(); it != object.constEnd(); ++it)
            hash.insert(it.key(), fromJson(it.value()));
        return hash;
    }
    }
    return QVariant();
}

bool parse(const QString& text, QVariant* value, QString* error)
{
    // Qt 5 parses only documents whose top level is an object or an array: wrap the text in an
    // array so that a bare "text", 42 or true is accepted as well.
    QJsonParseError parseError;
    const QJsonDocument document =
        QJsonDocument::fromJson(QStringLiteral("[%1\n]").arg(text).toUtf8(), &parseError);
    if (parseError.error != QJsonParseError::NoError || document.array().size() != 1) {
        *error = QStringLiteral("Not a JSON value: %1")
                     .arg(parseError.error != QJsonParseError::NoError ? parseError.errorString()
                                                                       : QStringLiteral("empty"));
        return false;
    }
    *value = fromJson(document.array().first());
    return true;
}

QString compact(const QJsonValue& value)
{
    if (value.isObject())
        return QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    if (value.isArray())
        return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    // A scalar: serialise it inside an array and strip the brackets.
    const QByteArray text = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(text.mid(1, text.size() - 2));
}

} // namespace jsonvalues
