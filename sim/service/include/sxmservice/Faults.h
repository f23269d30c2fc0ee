// Fault injection: the service's degraded states and failures, set by flags, by the admin
// endpoint or by tests through the C++ API. FaultState is safe from any thread.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace sxm::service {

/// The service's bypass status, sent with every JSON response. Names follow the client library's
/// error notification fields (including the spelling "PausePoin").
struct BypassFlags
{
    bool isGupIdUnavailable = false;
    bool isGupUnavailable = false;
    bool isSearchUnavailable = false;
    bool isPausePoinUnavailable = false;
    bool isGupIdUnavailableCheck = false;
    bool isGupUnavailableCheck = false;
    bool isSearchUnavailableCheck = false;
    bool isPausePoinUnavailableCheck = false;
    bool loggedDuringBypass = false;

    bool anyGupBypass() const { return isGupIdUnavailable || isGupUnavailable; }
    bool operator==(const BypassFlags& other) const;
};

/// What a named endpoint does wrong. Delay comes first, then a dropped connection or a status.
struct EndpointFault
{
    int status = 0;    ///< answer with this HTTP status and a JSON error (0: no status fault)
    int delayMs = 0;   ///< wait this long before answering
    bool drop = false; ///< send the headers, then close the connection without the body
    int times = 0;     ///< how many requests it affects; 0 = every request until cleared
};

struct FaultSettings
{
    BypassFlags bypass;
    bool refuseLogin = false;
    std::string refuseLoginMessage = "Your subscription is not active. Please contact SiriusXM.";
    bool skipsNotAllowed = false;
    /// Program-data cuts are stamped this much earlier than their tracks start, so that a client
    /// that holds cuts back for a fixed delay shows them at once.
    std::int64_t cutShiftMs = 0;
    std::map<std::string, EndpointFault> endpoints; ///< keyed by endpoint name
};

nlohmann::json toJson(const BypassFlags& flags);
nlohmann::json toJson(const FaultSettings& settings);

/// Merges a JSON object into the settings: only the keys present change. Unknown keys, wrong
/// types and unknown endpoint names are refused with a message, and then nothing changes.
std::optional<std::string> mergeFaults(FaultSettings& settings, const nlohmann::json& patch);

/// One --fault flag of the command line, e.g. "isSearchUnavailable", "refuseLogin=text",
/// "status=lineup:503", "delay=lineup:2000", "drop=audio", "skipsNotAllowed", "cutShift=160000".
/// Returns the error message for a malformed flag; the settings are unchanged then.
std::optional<std::string> applyFaultFlag(FaultSettings& settings, std::string_view flag);

/// The names that endpoint faults may use.
const std::map<std::string, std::string>& endpointNames();

class FaultState
{
public:
    explicit FaultState(FaultSettings initial = {});

    FaultSettings snapshot() const;
    BypassFlags bypass() const;
    std::int64_t cutShiftMs() const;
    /// Refuses the patch as a whole, see mergeFaults.
    std::optional<std::string> merge(const nlohmann::json& patch);
    void set(FaultSettings settings);
    /// Back to the settings given at construction.
    void reset();
    /// The fault for one request to `endpoint`, counting down a limited fault.
    std::optional<EndpointFault> takeEndpointFault(const std::string& endpoint);

private:
    mutable std::mutex m_mutex; // guards m_current
    const FaultSettings m_initial;
    FaultSettings m_current;
};

} // namespace sxm::service
