// The function tracer of the module's loggers.

#include "siriusLogging.h"
#include "logCapture.h"

#include <gtest/gtest.h>

#include <string>

using sirius::test::LogCapture;
using sirius::test::LogLine;

namespace {

int tracedLineOf_ = 0;

int tracedFunction(int value)
{
    tracedLineOf_ = __LINE__ + 1;
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    if (value > 0)
        return value; // an early return still leaves through the tracer
    return -value;
}

} // namespace

// The lines point at the traced function, not at the tracer, and cost nothing above trace level.
TEST(SiriusLogging, TracerLogsEnterAndLeaveAtTraceLevelOnly)
{
    LogCapture log(sirius::cbSiriusLogger());
    EXPECT_EQ(tracedFunction(3), 3);
    const std::vector<LogLine> lines = log.lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].message, "Enter int {anonymous}::tracedFunction(int)");
    EXPECT_EQ(lines[1].message, "Leave int {anonymous}::tracedFunction(int)");
    for (const LogLine& line : lines) {
        EXPECT_EQ(line.level, log4cplus::TRACE_LOG_LEVEL);
        EXPECT_NE(line.file.find("siriusLoggingTest.cpp"), std::string::npos) << line.file;
        EXPECT_EQ(line.line, tracedLineOf_);
    }

    log4cplus::Logger(sirius::cbSiriusLogger()).setLogLevel(log4cplus::DEBUG_LOG_LEVEL);
    tracedFunction(-1);
    EXPECT_EQ(log.lines().size(), 2u);
}
