#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"

/// An error on a reply: a machine-readable name, a title and a translatable message for the user.
/// An empty CMError (no entries) means "no error"; isError() tells.
class CMError : public MivoHash
{
    MIVO_HASH_VALUE(CMError)

    /// An error with the default name and title.
    CMError(const TrString& message);
    CMError(const QString& name, const TrString& message, const TrString& title = DefaultTitle());

    MIVO_FIELD(QString, name, Name)
    MIVO_FIELD(TrString, title, Title)
    MIVO_FIELD(TrString, message, Message)

    /// The name of errors that do not say whose they are.
    static QString DefaultName();
    /// The title shown above errors that bring none of their own.
    static TrString DefaultTitle();

    bool isError() const { return !isEmpty(); }
    /// "name: message" with the message translated, for logs.
    QString toString() const;
};

QDebug operator<<(QDebug debug, const CMError& error);

Q_DECLARE_METATYPE(CMError)
