// The requests the service has answered, per endpoint name, so that a test or a person can see
// what a client actually asked for (which channels' program data, which settings it wrote).
// Safe from any thread.
#pragma once

#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace sxm::service {

class RequestLog
{
public:
    /// Entries kept per endpoint; older ones are dropped first, so that a client that polls for
    /// hours cannot grow the log without bound.
    static constexpr std::size_t kMaxPerEndpoint = 1000;
    /// Request bodies are cut to this many bytes in an entry.
    static constexpr std::size_t kMaxBodyBytes = 4096;

    /// Notes one request: "METHOD target", followed by a space and the body when there is one,
    /// then `note` as it is.
    void record(const std::string& endpoint, const std::string& method, const std::string& target,
                const std::string& body, const std::string& note = {});
    /// The entries of `endpoint` since the last take, oldest first; taking empties them.
    std::vector<std::string> take(const std::string& endpoint);

private:
    std::mutex m_mutex; // guards m_entries
    std::map<std::string, std::deque<std::string>> m_entries;
};

} // namespace sxm::service
