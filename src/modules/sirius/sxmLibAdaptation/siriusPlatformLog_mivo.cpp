#include "siriusPlatformLog_mivo.h"

#include "siriusLogging.h"

#include <sxmlib.h>

void platform_init_logger_mivo() {}

std::optional<log4cplus::LogLevel> platformLogLevelForSeverity(int severity)
{
    switch (severity) {
    case SXM_LOG_FATAL:
        return log4cplus::FATAL_LOG_LEVEL;
    case SXM_LOG_ERROR:
        return log4cplus::ERROR_LOG_LEVEL;
    case SXM_LOG_WARNING:
        return log4cplus::WARN_LOG_LEVEL;
    case SXM_LOG_INFO:
        return log4cplus::INFO_LOG_LEVEL;
    case SXM_LOG_DEBUG:
        return log4cplus::DEBUG_LOG_LEVEL;
    case SXM_LOG_TRACE:
    case SXM_LOG_VERBOSE:
        return log4cplus::TRACE_LOG_LEVEL;
    default:
        return std::nullopt;
    }
}

void platform_print_mivo(int severity, const char* text)
{
    const std::optional<log4cplus::LogLevel> level = platformLogLevelForSeverity(severity);
    if (!level)
        return;
    const log4cplus::Logger& logger = sirius::siriusLibraryLogger();
    if (!logger.isEnabledFor(*level))
        return;
    logger.forcedLog(*level, LOG4CPLUS_C_STR_TO_TSTRING(text ? text : ""), __FILE__, __LINE__,
                     SIRIUS_FUNCTION_SIGNATURE);
}

extern "C" {

int sxm_init_platform_logger(void)
{
    platform_init_logger_mivo();
    return 1;
}

void sxm_platform_print(int severity, const char* text)
{
    platform_print_mivo(severity, text);
}

// Debug: the library formats nothing more verbose than that, whatever the logger's level.
int sxm_platform_log_level(void)
{
    return SXM_LOG_DEBUG;
}

} // extern "C"
