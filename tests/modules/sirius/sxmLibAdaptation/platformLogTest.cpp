// The library's log lines on the "SiriusLibrary" logger.

#include "logCapture.h"
#include "siriusLogging.h"

#include <sxmlib.h>

#include <gtest/gtest.h>

using sirius::test::LogCapture;
using sirius::test::LogLine;

// The text is logged as it is, never read as a format: the library's lines carry '%' of their own.
TEST(PlatformLog, SeveritiesMapOntoLevelsOthersAreDroppedAndTheTextIsNoFormat)
{
    LogCapture log(sirius::siriusLibraryLogger());
    for (int severity = -1; severity <= 7; ++severity)
        sxm_platform_print(severity, "100% %s done\n\ttabbed");
    sxm_platform_print(SXM_LOG_INFO, nullptr);

    const std::vector<LogLine> lines = log.lines();
    const log4cplus::LogLevel expected[] = {log4cplus::FATAL_LOG_LEVEL, log4cplus::ERROR_LOG_LEVEL,
                                            log4cplus::WARN_LOG_LEVEL,  log4cplus::INFO_LOG_LEVEL,
                                            log4cplus::DEBUG_LOG_LEVEL, log4cplus::TRACE_LOG_LEVEL,
                                            log4cplus::TRACE_LOG_LEVEL};
    ASSERT_EQ(lines.size(), 8u) << "severities -1 and 7 are outside the table";
    for (int severity = 0; severity <= 6; ++severity) {
        EXPECT_EQ(lines[severity].level, expected[severity]) << "severity " << severity;
        EXPECT_EQ(lines[severity].message, "100% %s done\n\ttabbed");
    }
    EXPECT_EQ(lines[7].message, "") << "a null text";
}
