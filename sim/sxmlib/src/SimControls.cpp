#include "SimControls.h"

#include "Log.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sxmlib.h>

namespace sxmlib {
namespace {

bool failureAsked(const char* what)
{
    const char* value = std::getenv("SXMLIB_SIM_FAIL");
    return value && std::strcmp(value, what) == 0;
}

} // namespace

Version simulatedVersion()
{
    Version version{SXM_VERSION_MAJOR, SXM_VERSION_MINOR, SXM_VERSION_PATCH};
    const char* text = std::getenv("SXMLIB_SIM_VERSION");
    if (!text || !*text)
        return version;
    Version asked;
    char rest = '\0';
    if (std::sscanf(text, "%d.%d.%d%c", &asked.major, &asked.minor, &asked.patch, &rest) == 3 &&
        asked.major >= 0 && asked.minor >= 0 && asked.patch >= 0)
        return asked;
    SXMLIB_WARN("SXMLIB_SIM_VERSION='" << text << "' is not MAJOR.MINOR.PATCH; reporting "
                                       << version.major << "." << version.minor << "."
                                       << version.patch);
    return version;
}

bool initShouldFail()
{
    return failureAsked("init");
}

bool registerShouldFail()
{
    return failureAsked("register");
}

} // namespace sxmlib
