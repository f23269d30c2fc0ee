#pragma once
// Thread contract: a plain value (implicitly shared QVariantHash); safe to copy between threads.

#include "mivosdk/CMPath.h"
#include "mivosdk/TrString.h"

#include <QDebug>
#include <QVariant>
#include <QVariantHash>
#include <QVariantList>
#include <type_traits>

class MivoHash;

/// A list of host values that rides in a MivoHash as a QVariantList of the items' stored forms.
template <class T>
class MivoList : public QList<T>
{
public:
    MivoList() = default;
    MivoList(const QList<T>& list)
        : QList<T>(list)
    {}
    MivoList(std::initializer_list<T> items)
        : QList<T>(items)
    {}

    QVariantList toVariantList() const;
    static MivoList fromVariantList(const QVariantList& list);
};

namespace mivo_detail {

template <class T>
struct IsMivoList : std::false_type
{
};
template <class T>
struct IsMivoList<MivoList<T>> : std::true_type
{
};

/// How a field of type T is stored in a MivoHash and read back. Every field type round-trips
/// losslessly: host values become their hashes, enumerations their numbers, paths their encoded
/// text, lists QVariantLists of stored items.
template <class T>
QVariant encodeField(const T& value)
{
    if constexpr (std::is_base_of_v<MivoHash, T>) {
        return value.__variant();
    } else if constexpr (IsMivoList<T>::value) {
        return value.toVariantList();
    } else if constexpr (std::is_enum_v<T>) {
        return static_cast<int>(value);
    } else if constexpr (std::is_same_v<T, CMPath>) {
        return value.toEncoded();
    } else if constexpr (std::is_same_v<T, TrString>) {
        return value.toHash();
    } else if constexpr (std::is_same_v<T, QVariant>) {
        return value;
    } else {
        return QVariant::fromValue(value);
    }
}

template <class T>
T decodeField(const QVariant& stored)
{
    if constexpr (std::is_base_of_v<MivoHash, T>) {
        return T(stored.toHash());
    } else if constexpr (IsMivoList<T>::value) {
        return T::fromVariantList(stored.toList());
    } else if constexpr (std::is_enum_v<T>) {
        return static_cast<T>(stored.toInt());
    } else if constexpr (std::is_same_v<T, CMPath>) {
        return CMPath::fromEncoded(stored.toString());
    } else if constexpr (std::is_same_v<T, TrString>) {
        return stored.type() == QVariant::Hash ? TrString::fromHash(stored.toHash())
                                               : TrString(stored.toString());
    } else if constexpr (std::is_same_v<T, QVariant>) {
        return stored;
    } else if constexpr (std::is_same_v<T, QString>) {
        return stored.toString();
    } else if constexpr (std::is_same_v<T, bool>) {
        return stored.toBool();
    } else if constexpr (std::is_same_v<T, int>) {
        return stored.toInt();
    } else if constexpr (std::is_same_v<T, qint64> || std::is_same_v<T, long long>) {
        return static_cast<T>(stored.toLongLong());
    } else if constexpr (std::is_same_v<T, double>) {
        return stored.toDouble();
    } else {
        return stored.value<T>();
    }
}

} // namespace mivo_detail

/// The host's string-keyed hash of variants. Every structured host value (the Sirius records,
/// roles, play-logic data, ...) derives from it, so that any of them can ride in another one's
/// field, in a request's value or in a settings file, and come back unchanged.
///
/// Fields are declared with MIVO_FIELD: a field that was never set is absent from the hash (so an
/// untouched value is empty), and its getter returns the type's default.
class MivoHash
{
public:
    MivoHash() = default;
    explicit MivoHash(const QVariantHash& hash)
        : m_hash(hash)
    {}

    /// The stored entries.
    const QVariantHash& __hash() const { return m_hash; }
    /// The stored entries as one variant (a QVariantHash).
    QVariant __variant() const { return QVariant(m_hash); }
    operator QVariant() const { return __variant(); }

    bool isEmpty() const { return m_hash.isEmpty(); }
    bool hasEntry(const QString& key) const { return m_hash.contains(key); }
    QVariant entry(const QString& key) const { return m_hash.value(key); }
    void setEntry(const QString& key, const QVariant& value) { m_hash.insert(key, value); }
    void removeEntry(const QString& key) { m_hash.remove(key); }
    QStringList keys() const { return m_hash.keys(); }

    bool operator==(const MivoHash& other) const { return m_hash == other.m_hash; }
    bool operator!=(const MivoHash& other) const { return m_hash != other.m_hash; }

protected:
    template <class T>
    T field(const QString& key) const
    {
        const auto it = m_hash.constFind(key);
        return it == m_hash.cend() ? T() : mivo_detail::decodeField<T>(*it);
    }
    template <class T>
    void setField(const QString& key, const T& value)
    {
        m_hash.insert(key, mivo_detail::encodeField<T>(value));
    }

    QVariantHash m_hash;
};

QDebug operator<<(QDebug debug, const MivoHash& hash);

/// Declares one field `name` of type Type: the static key accessor Name() (the key text is the
/// field's name), the getter name() and the chaining setter setName().
#define MIVO_FIELD(Type, name, Name)                                                               \
    static QString Name()                                                                          \
    {                                                                                              \
        return QStringLiteral(#name);                                                              \
    }                                                                                              \
    Type name() const                                                                              \
    {                                                                                              \
        return field<Type>(Name());                                                                \
    }                                                                                              \
    auto& set##Name(const Type& value)                                                             \
    {                                                                                              \
        setField<Type>(Name(), value);                                                             \
        return *this;                                                                              \
    }

/// The constructors every MivoHash-derived value has: empty, and wrapping stored entries.
#define MIVO_HASH_VALUE(Class)                                                                     \
public:                                                                                            \
    Class() = default;                                                                             \
    explicit Class(const QVariantHash& hash)                                                       \
        : MivoHash(hash)                                                                           \
    {}

template <class T>
QVariantList MivoList<T>::toVariantList() const
{
    QVariantList list;
    list.reserve(this->size());
    for (const T& item : *this)
        list.append(mivo_detail::encodeField<T>(item));
    return list;
}

template <class T>
MivoList<T> MivoList<T>::fromVariantList(const QVariantList& list)
{
    MivoList<T> items;
    items.reserve(list.size());
    for (const QVariant& item : list)
        items.append(mivo_detail::decodeField<T>(item));
    return items;
}

Q_DECLARE_METATYPE(MivoHash)
