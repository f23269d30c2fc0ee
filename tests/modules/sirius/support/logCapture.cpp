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
    : m_logger(logger)
    , m_recorder(new Recorder)
    , m_previousLevel(logger.getLogLevel())
    , m_previousAdditivity(logger.getAdditivity())
{
    m_logger.addAppender(m_recorder);
    m_logger.setAdditivity(false);
    m_logger.setLogLevel(log4cplus::TRACE_LOG_LEVEL);
}

LogCapture::~LogCapture()
{
    m_logger.removeAppender(m_recorder);
    m_logger.setAdditivity(m_previousAdditivity);
    m_logger.setLogLevel(m_previousLevel);
}

std::vector<LogLine> LogCapture::lines() const
{
    return static_cast<const Recorder&>(*m_recorder).lines();
}

} // namespace sirius::test
