#include "ServiceContext.h"

#include <stdexcept>

namespace sxm::service {
namespace {

const Options& checked(const Options& options)
{
    if (auto problem = validateOptions(options)) {
        throw std::invalid_argument("sxm-service: " + *problem);
    }
    return options;
}

Clock clockOf(const Options& options)
{
    return options.clock ? options.clock : Clock(&systemClockMs);
}

} // namespace

ServiceContext::ServiceContext(Options options)
    // Dates in the catalog are relative to the start, on a whole minute so that they read well.
    : m_catalog(checked(options).seed, options.channels, clockOf(options)() / 60000 * 60000)
    , m_faults(options.faults)
    , m_sessions(options.sessionLifetime, options.skipsPerHour)
    , m_accounts(m_catalog, options.accounts)
    , m_options(std::move(options))
    , m_clock(clockOf(m_options))
    , m_fixedKey(*parseHexKey(m_options.fixedKeyHex))
{}

void ServiceContext::setBaseUrl(std::string url)
{
    std::lock_guard<std::mutex> lock(m_baseUrlMutex);
    m_baseUrl = std::move(url);
}

std::string ServiceContext::baseUrl() const
{
    std::lock_guard<std::mutex> lock(m_baseUrlMutex);
    return m_baseUrl;
}

Block ServiceContext::contentKey(const std::string& keyId) const
{
    return deriveKey(m_options.seed, "content/" + keyId);
}

std::string ServiceContext::wrappedKeyHex(const std::string& keyId) const
{
    const Block wrapped = wrapKey(m_fixedKey, contentKey(keyId));
    return toHex(wrapped.data(), wrapped.size());
}

BypassFlags ServiceContext::bypassFor(const Session* session) const
{
    BypassFlags flags = m_faults.bypass();
    if (session && session->signedInDuringBypass()) {
        flags.loggedDuringBypass = true;
    }
    return flags;
}

} // namespace sxm::service
