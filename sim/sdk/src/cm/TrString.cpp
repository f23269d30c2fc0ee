#include "mivosdk/TrString.h"

#include <QCoreApplication>

namespace {
const QString kContextKey = QStringLiteral("context");
const QString kSourceKey = QStringLiteral("source");
const QString kArgsKey = QStringLiteral("args");
} // namespace

TrString::TrString(const char* source)
    : m_source(QString::fromUtf8(source))
{}

TrString::TrString(const QString& source)
    : m_source(source)
{}

TrString::TrString(const char* context, const char* source)
    : m_context(QString::fromUtf8(context))
    , m_source(QString::fromUtf8(source))
{}

TrString::TrString(const QString& context, const QString& source)
    : m_context(context)
    , m_source(source)
{}

TrString TrString::arg(const QString& value) const
{
    TrString copy(*this);
    copy.m_args.append(value);
    return copy;
}

TrString TrString::arg(int value) const
{
    return arg(QString::number(value));
}

TrString TrString::arg(qint64 value) const
{
    return arg(QString::number(value));
}

QString TrString::toString() const
{
    QString text = m_source;
    if (QCoreApplication::instance() && !m_source.isEmpty()) {
        const QByteArray context = m_context.toUtf8();
        const QByteArray source = m_source.toUtf8();
        text = QCoreApplication::translate(context.constData(), source.constData());
    }
    for (const QString& value : m_args)
        text = text.arg(value);
    return text;
}

QVariantHash TrString::toHash() const
{
    QVariantHash hash;
    if (!m_context.isEmpty())
        hash.insert(kContextKey, m_context);
    hash.insert(kSourceKey, m_source);
    if (!m_args.isEmpty())
        hash.insert(kArgsKey, m_args);
    return hash;
}

TrString TrString::fromHash(const QVariantHash& hash)
{
    TrString text(hash.value(kContextKey).toString(), hash.value(kSourceKey).toString());
    text.m_args = hash.value(kArgsKey).toStringList();
    return text;
}

bool TrString::operator==(const TrString& other) const
{
    return m_context == other.m_context && m_source == other.m_source && m_args == other.m_args;
}
