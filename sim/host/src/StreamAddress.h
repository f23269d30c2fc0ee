#pragma once
// Thread contract: a plain value and a pure function; safe from any thread.

#include <QString>

/// An smt2 stream address as the streamer's play command receives it:
/// "smt2://<socket path>?queueSizeInBytes=<n>".
struct StreamAddress
{
    /// The queue size when the address does not name one: 1 MiB.
    static constexpr qint64 kDefaultQueueSize = 1024 * 1024;

    QString socketPath;
    qint64 queueSizeInBytes = kDefaultQueueSize;

    /// Parses `uri`; false with `error` set for another scheme, an empty path or a queue size that
    /// is not a positive number.
    static bool parse(const QString& uri, StreamAddress* address, QString* error);
};
