#pragma once
// Thread contract: a plain value (implicitly shared Qt containers); safe to copy between threads.

#include <QList>
#include <QMap>
#include <QMetaType>
#include <QPair>
#include <QString>
#include <QStringList>

/// The address of a node in the host's content tree: a list of segments plus named parameters.
///
/// Parameters keep the order in which they were added (it shows in toEncoded()), but two paths
/// with the same segments and the same parameters in another order are equal and hash equal:
/// the parameters are arguments, their order is presentation.
///
/// Encoded form: "/" before every segment, then "?" and "key=value" pairs joined by "&" when there
/// are parameters. Segments, keys and values are UTF-8 percent-encoded except for the unreserved
/// characters and ":@!$'()*,;" (which keeps "filter:pop" readable); fromEncoded() is the exact
/// inverse for any text, including empty segments and values.
class CMPath
{
public:
    using Param = QPair<QString, QString>;

    CMPath() = default;
    explicit CMPath(const QStringList& segments);
    /// Same as fromEncoded(); lets well-known paths be written as literals.
    CMPath(const char* encoded);

    static CMPath fromEncoded(const QString& encoded);
    QString toEncoded() const;

    QStringList segments() const { return m_segments; }
    bool isEmpty() const { return m_segments.isEmpty() && m_params.isEmpty(); }

    /// Appends one segment (slashes inside it are part of the segment, not separators).
    CMPath& appendSubpath(const QString& segment);
    /// Appends all segments of another path; its parameters are added too.
    CMPath& appendSubpath(const CMPath& other);
    /// A copy with one more segment.
    CMPath subpath(const QString& segment) const;

    /// Adds a parameter at the end; an existing parameter of that name keeps its place and takes
    /// the new value.
    CMPath& addParam(const QString& key, const QString& value);
    CMPath& removeParam(const QString& key);
    bool hasParam(const QString& key) const;
    QString param(const QString& key, const QString& defaultValue = QString()) const;
    /// The parameters as a map (sorted by name).
    QMap<QString, QString> params() const;
    /// The parameters in the order they were added.
    QList<Param> paramList() const { return m_params; }
    /// Replaces all parameters.
    CMPath& setParams(const QMap<QString, QString>& params);
    CMPath& setParams(const QList<Param>& params);
    CMPath withoutParams() const;

    /// True when this path's segments start with all of prefix's segments.
    bool startsWith(const CMPath& prefix) const;

    bool operator==(const CMPath& other) const;
    bool operator!=(const CMPath& other) const { return !(*this == other); }

private:
    QStringList m_segments;
    QList<Param> m_params;
};

/// Concatenation: the left path's segments, then the right path's; parameters of both.
CMPath operator+(const CMPath& left, const CMPath& right);
uint qHash(const CMPath& path, uint seed = 0);
QDebug operator<<(QDebug debug, const CMPath& path);

Q_DECLARE_METATYPE(CMPath)
