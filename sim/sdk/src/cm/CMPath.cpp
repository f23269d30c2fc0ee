#include "mivosdk/CMPath.h"

#include <QDebug>
#include <QHash>
#include <QUrl>
#include <algorithm>

namespace {

// Beyond RFC 3986's unreserved set these stay readable; "/", "?", "&", "=", "%", "+" and "#"
// are always encoded because they carry structure.
const QByteArray kSegmentKeep = QByteArrayLiteral(":@!$'()*,;");

QString encodePart(const QString& text)
{
    return QString::fromLatin1(text.toUtf8().toPercentEncoding(kSegmentKeep));
}

QString decodePart(const QStringRef& text)
{
    return QString::fromUtf8(QByteArray::fromPercentEncoding(text.toUtf8()));
}

QList<CMPath::Param> sortedParams(const QList<CMPath::Param>& params)
{
    QList<CMPath::Param> sorted = params;
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

} // namespace

CMPath::CMPath(const QStringList& segments)
    : m_segments(segments)
{}

CMPath::CMPath(const char* encoded)
    : CMPath(fromEncoded(QString::fromUtf8(encoded)))
{}

CMPath CMPath::fromEncoded(const QString& encoded)
{
    CMPath path;
    const int query = encoded.indexOf(QLatin1Char('?'));
    const QStringRef segmentPart = query < 0 ? encoded.midRef(0) : encoded.leftRef(query);
    if (!segmentPart.isEmpty()) {
        // A leading "/" introduces the first segment; without one the text starts with it.
        const QStringRef body =
            segmentPart.startsWith(QLatin1Char('/')) ? segmentPart.mid(1) : segmentPart;
        for (const QStringRef& segment : body.split(QLatin1Char('/')))
            path.m_segments.append(decodePart(segment));
    }
    if (query >= 0) {
        const QStringRef queryPart = encoded.midRef(query + 1);
        if (!queryPart.isEmpty()) {
            for (const QStringRef& pair : queryPart.split(QLatin1Char('&'))) {
                const int eq = pair.indexOf(QLatin1Char('='));
                const QStringRef key = eq < 0 ? pair : pair.left(eq);
                const QStringRef value = eq < 0 ? QStringRef() : pair.mid(eq + 1);
                path.addParam(decodePart(key), decodePart(value));
            }
        }
    }
    return path;
}

QString CMPath::toEncoded() const
{
    QString text;
    for (const QString& segment : m_segments)
        text += QLatin1Char('/') + encodePart(segment);
    for (int i = 0; i < m_params.size(); ++i) {
        text += QLatin1Char(i == 0 ? '?' : '&');
        text +=
            encodePart(m_params.at(i).first) + QLatin1Char('=') + encodePart(m_params.at(i).second);
    }
    return text;
}

CMPath& CMPath::appendSubpath(const QString& segment)
{
    m_segments.append(segment);
    return *this;
}

CMPath& CMPath::appendSubpath(const CMPath& other)
{
    m_segments.append(other.m_segments);
    for (const Param& param : other.m_params)
        addParam(param.first, param.second);
    return *this;
}

CMPath CMPath::subpath(const QString& segment) const
{
    CMPath copy(*this);
    copy.appendSubpath(segment);
    return copy;
}

CMPath& CMPath::addParam(const QString& key, const QString& value)
{
    for (Param& param : m_params) {
        if (param.first == key) {
            param.second = value;
            return *this;
        }
    }
    m_params.append(Param(key, value));
    return *this;
}

CMPath& CMPath::removeParam(const QString& key)
{
    m_params.erase(std::remove_if(m_params.begin(), m_params.end(),
                                  [&key](const Param& param) { return param.first == key; }),
                   m_params.end());
    return *this;
}

bool CMPath::hasParam(const QString& key) const
{
    return std::any_of(m_params.cbegin(), m_params.cend(),
                       [&key](const Param& param) { return param.first == key; });
}

QString CMPath::param(const QString& key, const QString& defaultValue) const
{
    for (const Param& param : m_params) {
        if (param.first == key)
            return param.second;
    }
    return defaultValue;
}

QMap<QString, QString> CMPath::params() const
{
    QMap<QString, QString> map;
    for (const Param& param : m_params)
        map.insert(param.first, param.second);
    return map;
}

CMPath& CMPath::setParams(const QMap<QString, QString>& params)
{
    m_params.clear();
    for (auto it = params.cbegin(); it != params.cend(); ++it)
        m_params.append(Param(it.key(), it.value()));
    return *this;
}

CMPath& CMPath::setParams(const QList<Param>& params)
{
    m_params.clear();
    for (const Param& param : params)
        addParam(param.first, param.second);
    return *this;
}

CMPath CMPath::withoutParams() const
{
    return CMPath(m_segments);
}

bool CMPath::startsWith(const CMPath& prefix) const
{
    if (prefix.m_segments.size() > m_segments.size())
        return false;
    return std::equal(prefix.m_segments.cbegin(), prefix.m_segments.cend(), m_segments.cbegin());
}

bool CMPath::operator==(const CMPath& other) const
{
    if (m_segments != other.m_segments || m_params.size() != other.m_params.size())
        return false;
    return m_params == other.m_params || sortedParams(m_params) == sortedParams(other.m_params);
}

CMPath operator+(const CMPath& left, const CMPath& right)
{
    CMPath sum(left);
    sum.appendSubpath(right);
    return sum;
}

uint qHash(const CMPath& path, uint seed)
{
    uint hash = qHash(path.segments(), seed);
    // Order-independent combination, so that equal paths hash equal whatever their parameter order.
    for (const CMPath::Param& param : path.paramList())
        hash ^= qHash(param.first, seed) * 31u + qHash(param.second, seed);
    return hash;
}

QDebug operator<<(QDebug debug, const CMPath& path)
{
    QDebugStateSaver saver(debug);
    debug.nospace() << "CMPath(" << path.toEncoded() << ')';
    return debug;
}
