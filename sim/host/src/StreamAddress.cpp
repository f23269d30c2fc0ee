#include "StreamAddress.h"

#include <QUrlQuery>

bool StreamAddress::parse(const QString& uri, StreamAddress* address, QString* error)
{
    static const QString scheme = QStringLiteral("smt2://");
    if (!uri.startsWith(scheme)) {
        *error = QStringLiteral("Not an smt2 address: \"%1\"").arg(uri);
        return false;
    }
    // Split by hand: the path is a file path, not a URL path, and must be taken as it stands.
    const QString rest = uri.mid(scheme.size());
    const int query = rest.indexOf(QLatin1Char('?'));
    StreamAddress parsed;
    parsed.socketPath = query < 0 ? rest : rest.left(query);
    if (parsed.socketPath.isEmpty()) {
        *error = QStringLiteral("No socket path in \"%1\"").arg(uri);
        return false;
    }
    if (query >= 0) {
        const QUrlQuery items(rest.mid(query + 1));
        const QString size = items.queryItemValue(QStringLiteral("queueSizeInBytes"));
        if (items.hasQueryItem(QStringLiteral("queueSizeInBytes"))) {
            bool ok = false;
            parsed.queueSizeInBytes = size.toLongLong(&ok);
            if (!ok || parsed.queueSizeInBytes <= 0) {
                *error = QStringLiteral("Invalid queueSizeInBytes \"%1\" in \"%2\"").arg(size, uri);
                return false;
            }
        }
    }
    *address = parsed;
    return true;
}
