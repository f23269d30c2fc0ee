// Everything the request handlers share. The catalog and the audio are immutable; the stores
// synchronise themselves; the base URL has its own lock. Safe from any thread.
#pragma once

#include "Accounts.h"
#include "AudioLibrary.h"
#include "Crypto.h"
#include "RequestLog.h"
#include "Sessions.h"
#include "sxmservice/Catalog.h"
#include "sxmservice/Faults.h"
#include "sxmservice/Options.h"

#include <mutex>
#include <string>

namespace sxm::service {

class ServiceContext
{
public:
    /// Throws std::invalid_argument for unusable options.
    explicit ServiceContext(Options options);

    std::int64_t nowMs() const { return clock_(); }
    std::int64_t rewindMs() const { return options_.rewindWindow.count() * 1000; }
    const Options& options() const { return options_; }
    const Block& fixedKey() const { return fixedKey_; }

    void setBaseUrl(std::string url);
    std::string baseUrl() const;

    /// The content key of a stream's channel, and the same key wrapped for the device.
    Block contentKey(const std::string& keyId) const;
    std::string wrappedKeyHex(const std::string& keyId) const;

    /// The bypass status a session sees: the service's, plus "logged during bypass" for a
    /// session that signed in while the GUP was unavailable.
    BypassFlags bypassFor(const Session* session) const;

    const Catalog catalog;
    const AudioLibrary audio;
    FaultState faults;
    SessionStore sessions;
    AccountStore accounts;
    RequestLog requests;

private:
    const Options options_;
    const Clock clock_;
    const Block fixedKey_;
    mutable std::mutex baseUrlMutex_; // guards baseUrl_
    std::string baseUrl_;
};

} // namespace sxm::service
