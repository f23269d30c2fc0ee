#pragma once
// Thread contract: safe from any thread (the library logs from all of its threads).
//
// The library's log lines, forwarded to the "SiriusLibrary" log4cplus logger.

#include <log4cplus/loglevel.h>

#include <optional>

/// Nothing to prepare: the module's loggers initialise log4cplus on first use.
void platform_init_logger_mivo();

/// Logs `text` as it is at the level that `severity` maps to; severities outside 0..6 are
/// dropped and a null text logs an empty line.
void platform_print_mivo(int severity, const char* text);

/// The log4cplus level of a library severity: 0 FATAL, 1 ERROR, 2 WARN, 3 INFO, 4 DEBUG,
/// 5 and 6 TRACE; nothing for any other severity.
std::optional<log4cplus::LogLevel> platformLogLevelForSeverity(int severity);
