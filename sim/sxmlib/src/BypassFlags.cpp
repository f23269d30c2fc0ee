#include "BypassFlags.h"

#include <tuple>

namespace sxmlib {
namespace {

auto asTuple(const BypassFlags& f)
{
    return std::make_tuple(f.isGupIdUnavailable, f.isGupUnavailable, f.isSearchUnavailable,
                           f.isPausePoinUnavailable, f.isGupIdUnavailableCheck,
                           f.isGupUnavailableCheck, f.isSearchUnavailableCheck,
                           f.isPausePoinUnavailableCheck, f.loggedDuringBypass);
}

} // namespace

bool BypassFlags::operator==(const BypassFlags& other) const
{
    return asTuple(*this) == asTuple(other);
}

BypassFlags BypassFlags::fromJson(const Json& bypass)
{
    BypassFlags flags;
    flags.isGupIdUnavailable = jsonBool(bypass, "isGupIdUnavailable");
    flags.isGupUnavailable = jsonBool(bypass, "isGupUnavailable");
    flags.isSearchUnavailable = jsonBool(bypass, "isSearchUnavailable");
    flags.isPausePoinUnavailable = jsonBool(bypass, "isPausePoinUnavailable");
    flags.isGupIdUnavailableCheck = jsonBool(bypass, "isGupIdUnavailableCheck");
    flags.isGupUnavailableCheck = jsonBool(bypass, "isGupUnavailableCheck");
    flags.isSearchUnavailableCheck = jsonBool(bypass, "isSearchUnavailableCheck");
    flags.isPausePoinUnavailableCheck = jsonBool(bypass, "isPausePoinUnavailableCheck");
    flags.loggedDuringBypass = jsonBool(bypass, "loggedDuringBypass");
    return flags;
}

void BypassFlags::fill(sxm_errorNotification& n) const
{
    n.isGupIdUnavailable = isGupIdUnavailable;
    n.isGupUnavailable = isGupUnavailable;
    n.isSearchUnavailable = isSearchUnavailable;
    n.isPausePoinUnavailable = isPausePoinUnavailable;
    n.isGupIdUnavailableCheck = isGupIdUnavailableCheck;
    n.isGupUnavailableCheck = isGupUnavailableCheck;
    n.isSearchUnavailableCheck = isSearchUnavailableCheck;
    n.isPausePoinUnavailableCheck = isPausePoinUnavailableCheck;
    n.loggedDuringBypass = loggedDuringBypass;
}

} // namespace sxmlib
