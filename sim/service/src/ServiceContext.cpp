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
    : catalog(checked(options).seed, options.channels, clockOf(options)() / 60000 * 60000)
    , faults(options.faults)
    , sessions(options.sessionLifetime, options.skipsPerHour)
    , accounts(catalog, options.accounts)
    , options_(std::move(options))
    , clock_(clockOf(options_))
    , fixedKey_(*parseHexKey(options_.fixedKeyHex))
{}

void ServiceContext::setBaseUrl(std::string url)
{
    std::lock_guard<std::mutex> lock(baseUrlMutex_);
    baseUrl_ = std::move(url);
}

std::string ServiceContext::baseUrl() const
{
    std::lock_guard<std::mutex> lock(baseUrlMutex_);
    return baseUrl_;
}

Block ServiceContext::contentKey(const std::string& keyId) const
{
    return deriveKey(options_.seed, "content/" + keyId);
}

std::string ServiceContext::wrappedKeyHex(const std::string& keyId) const
{
    const Block wrapped = wrapKey(fixedKey_, contentKey(keyId));
    return toHex(wrapped.data(), wrapped.size());
}

BypassFlags ServiceContext::bypassFor(const Session* session) const
{
    BypassFlags flags = faults.bypass();
    if (session && session->signedInDuringBypass()) {
        flags.loggedDuringBypass = true;
    }
    return flags;
}

} // namespace sxm::service
