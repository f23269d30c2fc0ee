#include "RequestLog.h"

namespace sxm::service {

void RequestLog::record(const std::string& endpoint, const std::string& method,
                        const std::string& target, const std::string& body)
{
    std::string entry = method + " " + target;
    if (!body.empty()) {
        entry += " " + body.substr(0, kMaxBodyBytes);
    }
    std::lock_guard<std::mutex> lock(mutex_);
    std::deque<std::string>& entries = entries_[endpoint];
    entries.push_back(std::move(entry));
    if (entries.size() > kMaxPerEndpoint) {
        entries.pop_front();
    }
}

std::vector<std::string> RequestLog::take(const std::string& endpoint)
{
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = entries_.find(endpoint);
    if (found == entries_.end()) {
        return {};
    }
    std::vector<std::string> taken(found->second.begin(), found->second.end());
    entries_.erase(found);
    return taken;
}

} // namespace sxm::service
