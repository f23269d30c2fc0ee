#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"

/// The user's SiriusXM account as the host persists it.
class MivoSiriusAccount : public MivoHash
{
    MIVO_HASH_VALUE(MivoSiriusAccount)
    MIVO_FIELD(QString, username, Username)
    MIVO_FIELD(QString, password, Password)
    MIVO_FIELD(QString, newPassword, NewPassword)
    MIVO_FIELD(QString, email, Email)
    MIVO_FIELD(QString, zip, Zip)
    MIVO_FIELD(QString, consumerType, ConsumerType)
    MIVO_FIELD(QString, registrationId, RegistrationId)
    MIVO_FIELD(QString, registrationKey, RegistrationKey)
};

Q_DECLARE_METATYPE(MivoSiriusAccount)
