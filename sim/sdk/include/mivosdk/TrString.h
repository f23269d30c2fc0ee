#pragma once
// Thread contract: a plain value; safe to copy between threads, no shared mutable state.

#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariantHash>

/// A translatable text: the source text, the translation context it belongs to and the arguments
/// that replace %1, %2, ... after translation. Kept untranslated until shown, so that the host can
/// render it in the user's language even when the text crossed threads or was stored.
class TrString
{
public:
    TrString() = default;
    /// An untranslated-context text; a plain literal converts implicitly so that APIs taking a
    /// TrString accept "text" directly.
    TrString(const char* source);
    TrString(const QString& source);
    TrString(const char* context, const char* source);
    TrString(const QString& context, const QString& source);

    /// A copy with the lowest-numbered %N placeholder replaced after translation.
    TrString arg(const QString& value) const;
    TrString arg(int value) const;
    TrString arg(qint64 value) const;

    /// The translated text with the arguments filled in.
    QString toString() const;
    QString context() const { return m_context; }
    QString source() const { return m_source; }
    QStringList args() const { return m_args; }
    bool isEmpty() const { return m_source.isEmpty(); }

    QVariantHash toHash() const;
    static TrString fromHash(const QVariantHash& hash);

    bool operator==(const TrString& other) const;
    bool operator!=(const TrString& other) const { return !(*this == other); }

private:
    QString m_context;
    QString m_source;
    QStringList m_args;
};

Q_DECLARE_METATYPE(TrString)
