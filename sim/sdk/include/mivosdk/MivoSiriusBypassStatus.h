#pragma once
// Thread contract: a plain value (implicitly shared); safe to copy between threads.

#include "mivosdk/MivoHash.h"

/// The service's degraded ("bypass") state: which parts of the user's stored settings are
/// unavailable. The field names are the service's own, including "PausePoin".
class MivoSiriusBypassStatus : public MivoHash
{
    MIVO_HASH_VALUE(MivoSiriusBypassStatus)
    MIVO_FIELD(bool, isGupIdUnavailable, IsGupIdUnavailable)
    MIVO_FIELD(bool, isGupUnavailable, IsGupUnavailable)
    MIVO_FIELD(bool, isSearchUnavailable, IsSearchUnavailable)
    MIVO_FIELD(bool, isPausePoinUnavailable, IsPausePoinUnavailable)
    MIVO_FIELD(bool, isGupIdUnavailableCheck, IsGupIdUnavailableCheck)
    MIVO_FIELD(bool, isGupUnavailableCheck, IsGupUnavailableCheck)
    MIVO_FIELD(bool, isSearchUnavailableCheck, IsSearchUnavailableCheck)
    MIVO_FIELD(bool, isPausePoinUnavailableCheck, IsPausePoinUnavailableCheck)
    MIVO_FIELD(bool, loggedDuringBypass, LoggedDuringBypass)
};

Q_DECLARE_METATYPE(MivoSiriusBypassStatus)
