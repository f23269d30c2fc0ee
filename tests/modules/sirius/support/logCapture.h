#pragma once
// Thread contract: safe from any thread (log4cplus serialises appends per appender; the recorded
// lines are read under the appender's own mutex).
//
// Records what one log4cplus logger writes, for the duration of a test: the logger is switched
// to trace level and cut off from its parents' appenders, and both are restored afterwards.

#include <log4cplus/appender.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <mutex>
#include <string>
#include <vector>

namespace sirius::test {

struct LogLine
{
    log4cplus::LogLevel level;
    std::string message;
    std::string file;
    int line;
};

class LogCapture
{
public:
    explicit LogCapture(const log4cplus::Logger& logger);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<LogLine> lines() const;

private:
    class Recorder;

    log4cplus::Logger m_logger;
    log4cplus::SharedAppenderPtr m_recorder;
    log4cplus::LogLevel m_previousLevel;
    bool m_previousAdditivity;
};

} // namespace sirius::test
