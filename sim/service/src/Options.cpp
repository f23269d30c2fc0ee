#include "sxmservice/Options.h"

#include "Crypto.h"

#include <set>

namespace sxm::service {

std::optional<std::string> validateOptions(const Options& options)
{
    if (options.channels < 1 || options.channels > 5000) {
        return "channels must be 1..5000, not " + std::to_string(options.channels);
    }
    if (options.sessionLifetime.count() <= 0) {
        return std::string("the session lifetime must be positive");
    }
    if (!parseHexKey(options.fixedKeyHex)) {
        return "the fixed key must be 32 hex digits, not \"" + options.fixedKeyHex + "\"";
    }
    if (options.skipsPerHour < 0 || options.skipsPerHour > 1000) {
        return "skips per hour must be 0..1000, not " + std::to_string(options.skipsPerHour);
    }
    if (options.rewindWindow.count() < 60) {
        return std::string("the rewind window must be at least one minute");
    }
    std::set<std::string> users;
    for (const Account& account : options.accounts) {
        if (account.user.empty() || account.password.empty()) {
            return std::string("every account needs a user name and a password");
        }
        if (!users.insert(account.user).second) {
            return "account \"" + account.user + "\" is given twice";
        }
    }
    return std::nullopt;
}

std::int64_t systemClockMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

} // namespace sxm::service
