#pragma once
// Thread contract: safe from any thread (log4cplus loggers are thread-safe, and the first use
// initialises log4cplus exactly once whichever thread gets there first).
//
// The module's three loggers and the function entry/exit tracer. Log through the log4cplus
// macros so that every line carries its source file and line:
//
//     LOG4CPLUS_INFO(sirius::cbSiriusLogger(), "Channel list loaded");
//     void ContentManager::reset()
//     {
//         // logs "Enter void ContentManager::reset()" now and "Leave ..." on return
//         SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
//         ...
//     }
//
// Configuration: the host configures log4cplus as it likes. If SIRIUS_LOG_CONFIG names a
// log4cplus properties file, the module reads it on first use. Otherwise, when the root logger has
// no appender at first use, warnings and worse go to standard error, so that a host that never
// configured logging still sees failures without paying for debug formatting in the audio path.

#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

namespace sirius {

/// "CB_Sirius": worker, browse root, content manager, nodes.
const log4cplus::Logger& cbSiriusLogger();
/// "SiriusPlaylogic": play logic.
const log4cplus::Logger& siriusPlaylogicLogger();
/// "SiriusLibrary": library bridge, platform hooks and the library's own lines.
const log4cplus::Logger& siriusLibraryLogger();

/// Logs "Enter <signature>" when made and "Leave <signature>" when destroyed, at trace level,
/// both with the file and line where it was made. Use it through SIRIUS_TRACE_FUNCTION.
class FunctionTracer
{
public:
    FunctionTracer(const log4cplus::Logger& logger, const char* signature, const char* file,
                   int line);
    ~FunctionTracer();
    FunctionTracer(const FunctionTracer&) = delete;
    FunctionTracer& operator=(const FunctionTracer&) = delete;

private:
    void log(const char* prefix) const;

    const log4cplus::Logger& m_logger;
    const char* m_signature;
    const char* m_file;
    int m_line;
    // Decided once at entry, so that a level change inside the function cannot leave an "Enter"
    // without its "Leave".
    bool m_enabled;
};

} // namespace sirius

#if defined(__GNUC__)
#define SIRIUS_FUNCTION_SIGNATURE __PRETTY_FUNCTION__
#else
#define SIRIUS_FUNCTION_SIGNATURE __func__
#endif

/// Traces entry and exit of the enclosing function on `logger` (one per scope).
#define SIRIUS_TRACE_FUNCTION(logger)                                                              \
    const ::sirius::FunctionTracer siriusFunctionTracer_((logger), SIRIUS_FUNCTION_SIGNATURE,      \
                                                         __FILE__, __LINE__)
