#include "RequestLog.h"

namespace sxm::service {

void RequestLog::record(const std::string& endpoint, const std::string& method,
                        const std::string& target, const std::string& body, const std::string& note)
{
    std::string entry = method + " " + target;
    if (!body.empty()) {
        entry += " " + body.substr(0, kMaxBodyBytes);
    }
    entry += note;
    std::lock_guard<std::mutex> lock(m_mutex);
    std::deque<std::string>& entries = m_entries[endpoint];
    entries.push_back(std::move(entry));
    if (entries.size() > kMaxPerEndpoint) {
        entries.pop_front();
    }
}

std::vector<std::string> RequestLog::take(const std::string& endpoint)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_entries.find(endpoint);
    if (found == m_entries.end()) {
        return {};
    }
    std::vector<std::string> taken(found->second.begin(), found->second.end());
    m_entries.erase(found);
    return taken;
}

} // namespace sxm::service
