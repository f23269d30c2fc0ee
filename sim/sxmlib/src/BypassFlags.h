#pragma once
// Thread contract: a plain value.
//
// The service's bypass status: parts of the service that are off while its servers are
// updated. Every JSON answer carries it; the library reports changes through the error callback.

#include "JsonFields.h"

#include <sxmlib.h>

namespace sxmlib {

struct BypassFlags
{
    bool isGupIdUnavailable = false;
    bool isGupUnavailable = false;
    bool isSearchUnavailable = false;
    bool isPausePoinUnavailable = false;
    bool isGupIdUnavailableCheck = false;
    bool isGupUnavailableCheck = false;
    bool isSearchUnavailableCheck = false;
    bool isPausePoinUnavailableCheck = false;
    bool loggedDuringBypass = false;

    bool operator==(const BypassFlags& other) const;
    bool operator!=(const BypassFlags& other) const { return !(*this == other); }

    /// The flags of a "bypass" JSON object; absent flags read false.
    static BypassFlags fromJson(const Json& bypass);
    /// Copies the nine flags into a notification record.
    void fill(sxm_errorNotification& notification) const;
};

} // namespace sxmlib
