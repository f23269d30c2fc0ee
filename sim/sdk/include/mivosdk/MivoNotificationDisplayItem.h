#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"

/// A pop-up for the host's notification display.
class MivoNotificationDisplayItem : public MivoHash
{
    MIVO_HASH_VALUE(MivoNotificationDisplayItem)
    MIVO_FIELD(QString, title, Title)
    /// The body; lines separated by "\n".
    MIVO_FIELD(QString, message, Message)
    /// Higher is more urgent: 2 for information, 4 for errors.
    MIVO_FIELD(int, priority, Priority)
    /// How long the display keeps it, in milliseconds.
    MIVO_FIELD(int, timeout, Timeout)
};

Q_DECLARE_METATYPE(MivoNotificationDisplayItem)
