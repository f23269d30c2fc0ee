#include "Log.h"

#include <sxmlib.h>

namespace sxmlib {

bool logEnabled(int severity)
{
    return severity >= SXM_LOG_FATAL && severity <= sxm_platform_log_level();
}

void logPrint(int severity, const std::string& text)
{
    sxm_platform_print(severity, ("sxmlib: " + text).c_str());
}

} // namespace sxmlib
