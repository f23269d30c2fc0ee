#include "siriusLogging.h"

#include <log4cplus/config.hxx>
#include <log4cplus/configurator.h>
#include <log4cplus/consoleappender.h>
#include <log4cplus/layout.h>

#include <cstdlib>
#include <memory>
#include <mutex>

namespace sirius {
namespace {

void configureWhenNobodyDid()
{
    if (const char* file = std::getenv("SIRIUS_LOG_CONFIG"); file && *file) {
        log4cplus::PropertyConfigurator::doConfigure(LOG4CPLUS_C_STR_TO_TSTRING(file));
        return;
    }
    log4cplus::Logger root = log4cplus::Logger::getRoot();
    if (!root.getAllAppenders().empty())
        return;
    log4cplus::SharedAppenderPtr console(new log4cplus::ConsoleAppender(/*logToStdErr=*/true));
    console->setLayout(std::make_unique<log4cplus::PatternLayout>(
        LOG4CPLUS_TEXT("%D{%H:%M:%S.%q} %-5p [%c] %m (%b:%L)%n")));
    console->setThreshold(log4cplus::WARN_LOG_LEVEL);
    root.addAppender(console);
    root.setLogLevel(log4cplus::WARN_LOG_LEVEL);
}

// log4cplus is initialised once and never deinitialised: the library's threads are never
// stopped and may log until the process ends, so tearing the logging down during static
// destruction would pull it from under them. Everything it allocates stays reachable.
void ensureLoggingInitialized()
{
    static std::once_flag once;
    std::call_once(once, [] {
        log4cplus::initialize();
        configureWhenNobodyDid();
    });
}

// The logger objects are deliberately never destroyed, for the same reason.
const log4cplus::Logger& namedLogger(const char* name)
{
    ensureLoggingInitialized();
    return *new log4cplus::Logger(log4cplus::Logger::getInstance(LOG4CPLUS_C_STR_TO_TSTRING(name)));
}

} // namespace

const log4cplus::Logger& cbSiriusLogger()
{
    static const log4cplus::Logger& logger = namedLogger("CB_Sirius");
    return logger;
}

const log4cplus::Logger& siriusPlaylogicLogger()
{
    static const log4cplus::Logger& logger = namedLogger("SiriusPlaylogic");
    return logger;
}

const log4cplus::Logger& siriusLibraryLogger()
{
    static const log4cplus::Logger& logger = namedLogger("SiriusLibrary");
    return logger;
}

FunctionTracer::FunctionTracer(const log4cplus::Logger& logger, const char* signature,
                               const char* file, int line)
    : m_logger(logger)
    , m_signature(signature)
    , m_file(file)
    , m_line(line)
    , m_enabled(logger.isEnabledFor(log4cplus::TRACE_LOG_LEVEL))
{
    log("Enter ");
}

FunctionTracer::~FunctionTracer()
{
    log("Leave ");
}

void FunctionTracer::log(const char* prefix) const
{
    if (!m_enabled)
        return;
    log4cplus::tstring message = LOG4CPLUS_C_STR_TO_TSTRING(prefix);
    message += LOG4CPLUS_C_STR_TO_TSTRING(m_signature);
    m_logger.forcedLog(log4cplus::TRACE_LOG_LEVEL, message, m_file, m_line, m_signature);
}

} // namespace sirius
