#pragma once
// Thread contract: safe from any thread (the integrator's print hook must be, per sxmlib.h).
//
// The library's log lines, through the integrator's sxm_platform_print. Lines above the
// integrator's sxm_platform_log_level are not even formatted: logging sits on the audio path.

#include <sstream>
#include <string>

namespace sxmlib {

/// Whether a line of this severity (enum sxm_logSeverity) would be printed.
bool logEnabled(int severity);
/// Prints one line through the integrator's hook.
void logPrint(int severity, const std::string& text);

} // namespace sxmlib

/// Formats `expression` (an ostream chain) only when `severity` is enabled.
#define SXMLIB_LOG(severity, expression)                                                           \
    do {                                                                                           \
        if (::sxmlib::logEnabled(severity)) {                                                      \
            std::ostringstream sxmlibLogStream_;                                                   \
            sxmlibLogStream_ << expression;                                                        \
            ::sxmlib::logPrint(severity, sxmlibLogStream_.str());                                  \
        }                                                                                          \
    } while (0)

#define SXMLIB_ERROR(expression) SXMLIB_LOG(SXM_LOG_ERROR, expression)
#define SXMLIB_WARN(expression) SXMLIB_LOG(SXM_LOG_WARNING, expression)
#define SXMLIB_INFO(expression) SXMLIB_LOG(SXM_LOG_INFO, expression)
#define SXMLIB_DEBUG(expression) SXMLIB_LOG(SXM_LOG_DEBUG, expression)
#define SXMLIB_TRACE(expression) SXMLIB_LOG(SXM_LOG_TRACE, expression)
