#include "logCapture.h"

namespace sirius::test {

class LogCapture::Recorder : public log4cplus::Appender
{
public:
    ~Recorder() override { destructorImpl(); }
    void close() override {}

    std::vector<LogLine> lines() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return lines_;
    }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        lines_.push_back(
            LogLine{event.getLogLevel(), event.getMessage(), event.getFile(), event.getLine()});
    }

private:
    mutable std::mutex mutex_;
    std::vector<LogLine> lines_;
};

LogCapture::LogCapture(const log4cplus::Logger& logger)
    : logger_(logger)
    , recorder_(new Recorder)
    , previousLevel_(logger.getLogLevel())
    , previousAdditivity_(logger.getAdditivity())
{
    logger_.addAppender(recorder_);
    logger_.setAdditivity(false);
    logger_.setLogLevel(log4cplus::TRACE_LOG_LEVEL);
}

LogCapture::~LogCapture()
{
    logger_.removeAppender(recorder_);
    logger_.setAdditivity(previousAdditivity_);
    logger_.setLogLevel(previousLevel_);
}

std::vector<LogLine> LogCapture::lines() const
{
    return static_cast<const Recorder&>(*recorder_).lines();
}

std::vector<LogLine> LogCapture::linesContaining(const std::string& text) const
{
    std::vector<LogLine> found;
    for (const LogLine& line : lines()) {
        if (line.message.find(text) != std::string::npos)
            found.push_back(line);
    }
    return found;
}

} // namespace sirius::test
