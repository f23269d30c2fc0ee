// The library's log lines: severity mapping onto the "SiriusLibrary" logger.

#include "logCapture.h"
#include "siriusLogging.h"

#include <sxmlib.h>

#include <gtest/gtest.h>

#include <string>

using sirius::test::LogCapture;
using sirius::test::LogLine;

namespace {

bool endsWith(const std::string& text, const std::string& suffix)
{
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

} // namespace

TEST(PlatformLog, SeveritiesMapOntoLog4cplusLevelsAndOthersAreDropped)
{
    LogCapture log(sirius::siriusLibraryLogger());
    for (int severity = 0; severity <= 6; ++severity)
        sxm_platform_print(severity, ("severity " + std::to_string(severity)).c_str());
    // Outside the table: dropped.
    sxm_platform_print(7, "too verbose");
    sxm_platform_print(-1, "nonsense");

    const std::vector<LogLine> lines = log.lines();
    ASSERT_EQ(lines.size(), 7u);
    const log4cplus::LogLevel expected[] = {log4cplus::FATAL_LOG_LEVEL, log4cplus::ERROR_LOG_LEVEL,
                                            log4cplus::WARN_LOG_LEVEL,  log4cplus::INFO_LOG_LEVEL,
                                            log4cplus::DEBUG_LOG_LEVEL, log4cplus::TRACE_LOG_LEVEL,
                                            log4cplus::TRACE_LOG_LEVEL};
    for (int severity = 0; severity <= 6; ++severity) {
        EXPECT_EQ(lines[severity].level, expected[severity]) << "severity " << severity;
        EXPECT_EQ(lines[severity].message, "severity " + std::to_string(severity));
        EXPECT_TRUE(endsWith(lines[severity].file, "siriusPlatformLog_mivo.cpp"))
            << lines[severity].file;
        EXPECT_GT(lines[severity].line, 0);
    }
}

TEST(PlatformLog, TextIsLoggedAsItIs)
{
    LogCapture log(sirius::siriusLibraryLogger());
    sxm_platform_print(SXM_LOG_INFO, "100% %s done\n\ttabbed");
    sxm_platform_print(SXM_LOG_INFO, nullptr);
    const std::vector<LogLine> lines = log.lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].message, "100% %s done\n\ttabbed");
    EXPECT_EQ(lines[1].message, "");
}
