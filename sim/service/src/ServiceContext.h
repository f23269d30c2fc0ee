// Everything the request handlers share. The catalog and the audio are immutable; the stores
// synchronise themselves; the base URL has its own lock. Safe from any thread.
#pragma once

#include "Accounts.h"
#include "AudioLibrary.h"
#include "Crypto.h"
#include "RequestLog.h"
#include "Sessions.h"
#include "TuneRecord.h"
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

    std::int64_t nowMs() const { return m_clock(); }
    std::int64_t rewindMs() const { return m_options.rewindWindow.count() * 1000; }
    const Options& options() const { return m_options; }
    const Block& fixedKey() const { return m_fixedKey; }

    void setBaseUrl(std::string url);
    std::string baseUrl() const;

    /// The content key of a stream's channel, and the same key wrapped for the device.
    Block contentKey(const std::string& keyId) const;
    std::string wrappedKeyHex(const std::string& keyId) const;

    /// The bypass status a session sees: the service's, plus "logged during bypass" for a
    /// session that signed in while the GUP was unavailable.
    BypassFlags bypassFor(const Session* session) const;

    const Catalog m_catalog;
    const AudioLibrary m_audio;
    FaultState m_faults;
    SessionStore m_sessions;
    AccountStore m_accounts;
    RequestLog m_requests;
    TuneRecord m_tunes;

private:
    const Options m_options;
    const Clock m_clock;
    const Block m_fixedKey;
    mutable std::mutex m_baseUrlMutex; // guards m_baseUrl
    std::string m_baseUrl;
};

} // namespace sxm::service
