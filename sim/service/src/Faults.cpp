#include "sxmservice/Faults.h"

#include <charconv>
#include <utility>
#include <vector>

namespace sxm::service {
namespace {

using Json = nlohmann::json;

struct FlagField
{
    const char* name;
    bool BypassFlags::*member;
};

const FlagField kBypassFields[] = {
    {"isGupIdUnavailable", &BypassFlags::isGupIdUnavailable},
    {"isGupUnavailable", &BypassFlags::isGupUnavailable},
    {"isSearchUnavailable", &BypassFlags::isSearchUnavailable},
    {"isPausePoinUnavailable", &BypassFlags::isPausePoinUnavailable},
    {"isGupIdUnavailableCheck", &BypassFlags::isGupIdUnavailableCheck},
    {"isGupUnavailableCheck", &BypassFlags::isGupUnavailableCheck},
    {"isSearchUnavailableCheck", &BypassFlags::isSearchUnavailableCheck},
    {"isPausePoinUnavailableCheck", &BypassFlags::isPausePoinUnavailableCheck},
    {"loggedDuringBypass", &BypassFlags::loggedDuringBypass},
};

std::optional<int> parseInt(std::string_view text)
{
    int value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::string> mergeBypass(BypassFlags& flags, const Json& patch)
{
    if (!patch.is_object()) {
        return std::string("\"bypass\" must be an object of true/false flags");
    }
    for (const auto& [key, value] : patch.items()) {
        bool known = false;
        for (const FlagField& field : kBypassFields) {
            if (key == field.name) {
                if (!value.is_boolean()) {
                    return "bypass flag \"" + key + "\" must be true or false";
                }
                flags.*field.member = value.get<bool>();
                known = true;
            }
        }
        if (!known) {
            return "unknown bypass flag \"" + key + "\"";
        }
    }
    return std::nullopt;
}

std::optional<std::string> mergeEndpoint(EndpointFault& fault, const std::string& name,
                                         const Json& patch)
{
    if (!patch.is_object()) {
        return "fault of endpoint \"" + name + "\" must be an object";
    }
    for (const auto& [key, value] : patch.items()) {
        if (key == "drop") {
            if (!value.is_boolean()) {
                return "\"drop\" of endpoint \"" + name + "\" must be true or false";
            }
            fault.drop = value.get<bool>();
            continue;
        }
        int* target = key == "status"    ? &fault.status
                      : key == "delayMs" ? &fault.delayMs
                      : key == "times"   ? &fault.times
                                         : nullptr;
        if (!target) {
            return "unknown key \"" + key + "\" in the fault of endpoint \"" + name + "\"";
        }
        if (!value.is_number_integer() || value.get<long long>() < 0 ||
            value.get<long long>() > 600000) {
            return "\"" + key + "\" of endpoint \"" + name + "\" must be a whole number 0..600000";
        }
        *target = value.get<int>();
    }
    if (fault.status != 0 && (fault.status < 400 || fault.status > 599)) {
        return "status of endpoint \"" + name + "\" must be 400..599 (or 0 for none)";
    }
    return std::nullopt;
}

std::optional<std::string> mergeEndpoints(std::map<std::string, EndpointFault>& endpoints,
                                          const Json& patch)
{
    if (!patch.is_object()) {
        return std::string("\"endpoints\" must be an object keyed by endpoint name");
    }
    for (const auto& [name, value] : patch.items()) {
        if (endpointNames().count(name) == 0) {
            return "unknown endpoint \"" + name + "\"";
        }
        if (value.is_null()) {
            endpoints.erase(name);
            continue;
        }
        EndpointFault fault = endpoints[name];
        if (auto error = mergeEndpoint(fault, name, value)) {
            return error;
        }
        endpoints[name] = fault;
    }
    return std::nullopt;
}

} // namespace

bool BypassFlags::operator==(const BypassFlags& other) const
{
    for (const FlagField& field : kBypassFields) {
        if (this->*field.member != other.*field.member) {
            return false;
        }
    }
    return true;
}

const std::map<std::string, std::string>& endpointNames()
{
    static const std::map<std::string, std::string> names = {
        {"config", "GET /config"},
        {"login", "POST /api/v1/session/login"},
        {"logout", "POST /api/v1/session/logout"},
        {"session", "GET /api/v1/session"},
        {"lineup", "GET /api/v1/lineup"},
        {"categories", "GET /api/v1/categories"},
        {"geo", "GET /api/v1/channels/{channelId}/geo"},
        {"shows", "GET /api/v1/shows"},
        {"episodes", "GET /api/v1/episodes"},
        {"foryou", "GET /api/v1/foryou"},
        {"favorites", "GET /api/v1/favorites"},
        {"favorites.update", "POST /api/v1/favorites"},
        {"recents", "GET /api/v1/recents"},
        {"recents.clear", "POST /api/v1/recents/clear"},
        {"search", "GET /api/v1/search"},
        {"settings", "GET /api/v1/settings"},
        {"settings.update", "POST /api/v1/settings"},
        {"cuts", "GET /api/v1/pdt/cuts"},
        {"events", "GET /api/v1/events"},
        {"tune", "POST /api/v1/playback/tune"},
        {"stop", "POST /api/v1/playback/stop"},
        {"segment-time", "POST /api/v1/playback/segment-time"},
        {"key", "GET /api/v1/keys/{keyId}"},
        {"stream", "GET /api/v1/streams/{kind}/{id}"},
        {"metadata", "GET /api/v1/streams/{kind}/{id}/metadata"},
        {"audio", "GET /api/v1/streams/{kind}/{id}/segments/{bitrate}/{n}"},
    };
    return names;
}

Json toJson(const BypassFlags& flags)
{
    Json json = Json::object();
    for (const FlagField& field : kBypassFields) {
        json[field.name] = flags.*field.member;
    }
    return json;
}

Json toJson(const FaultSettings& settings)
{
    Json endpoints = Json::object();
    for (const auto& [name, fault] : settings.endpoints) {
        endpoints[name] = {{"status", fault.status},
                           {"delayMs", fault.delayMs},
                           {"drop", fault.drop},
                           {"times", fault.times}};
    }
    return {{"bypass", toJson(settings.bypass)},
            {"refuseLogin", settings.refuseLogin},
            {"refuseLoginMessage", settings.refuseLoginMessage},
            {"skipsNotAllowed", settings.skipsNotAllowed},
            {"cutShiftMs", settings.cutShiftMs},
            {"endpoints", endpoints}};
}

std::optional<std::string> mergeFaults(FaultSettings& settings, const Json& patch)
{
    if (!patch.is_object()) {
        return std::string("faults must be a JSON object");
    }
    FaultSettings next = settings; // all or nothing
    for (const auto& [key, value] : patch.items()) {
        std::optional<std::string> error;
        if (key == "bypass") {
            error = mergeBypass(next.bypass, value);
        } else if (key == "refuseLogin" || key == "skipsNotAllowed") {
            if (!value.is_boolean()) {
                error = "\"" + key + "\" must be true or false";
            } else {
                (key == "refuseLogin" ? next.refuseLogin : next.skipsNotAllowed) =
                    value.get<bool>();
            }
        } else if (key == "refuseLoginMessage") {
            if (!value.is_string() || value.get<std::string>().empty()) {
                error = std::string("\"refuseLoginMessage\" must be a non-empty text");
            } else {
                next.refuseLoginMessage = value.get<std::string>();
            }
        } else if (key == "cutShiftMs") {
            if (!value.is_number_integer() || value.get<long long>() < 0 ||
                value.get<long long>() > 86400000LL) {
                error = std::string("\"cutShiftMs\" must be a whole number 0..86400000");
            } else {
                next.cutShiftMs = value.get<std::int64_t>();
            }
        } else if (key == "endpoints") {
            error = mergeEndpoints(next.endpoints, value);
        } else {
            error = "unknown fault \"" + key + "\"";
        }
        if (error) {
            return error;
        }
    }
    settings = std::move(next);
    return std::nullopt;
}

std::optional<std::string> applyFaultFlag(FaultSettings& settings, std::string_view flag)
{
    const std::size_t equals = flag.find('=');
    const std::string name(flag.substr(0, equals));
    const std::string value =
        equals == std::string_view::npos ? std::string() : std::string(flag.substr(equals + 1));
    for (const FlagField& field : kBypassFields) {
        if (name == field.name) {
            if (!value.empty()) {
                return "--fault " + name + " takes no value";
            }
            settings.bypass.*field.member = true;
            return std::nullopt;
        }
    }
    if (name == "refuseLogin") {
        settings.refuseLogin = true;
        if (!value.empty()) {
            settings.refuseLoginMessage = value;
        }
        return std::nullopt;
    }
    if (name == "skipsNotAllowed" && value.empty()) {
        settings.skipsNotAllowed = true;
        return std::nullopt;
    }
    if (name == "cutShift") {
        const auto ms = parseInt(value);
        if (!ms || *ms < 0) {
            return std::string("--fault cutShift=MS needs a whole number of milliseconds");
        }
        settings.cutShiftMs = *ms;
        return std::nullopt;
    }
    if (name == "status" || name == "delay" || name == "drop") {
        const std::size_t colon = value.find(':');
        const std::string endpoint = value.substr(0, colon);
        if (endpointNames().count(endpoint) == 0) {
            return "--fault " + name + ": unknown endpoint \"" + endpoint + "\"";
        }
        EndpointFault fault = settings.endpoints[endpoint];
        if (name == "drop") {
            fault.drop = true;
        } else {
            const auto number =
                colon == std::string::npos ? std::nullopt : parseInt(value.substr(colon + 1));
            if (!number || *number < 0 || (name == "status" && (*number < 400 || *number > 599))) {
                return "--fault " + name + "=ENDPOINT:" +
                       (name == "status" ? "STATUS needs a status 400..599"
                                         : "MS needs milliseconds");
            }
            (name == "status" ? fault.status : fault.delayMs) = *number;
        }
        settings.endpoints[endpoint] = fault;
        return std::nullopt;
    }
    return "unknown --fault \"" + std::string(flag) + "\"";
}

FaultState::FaultState(FaultSettings initial)
    : m_initial(std::move(initial))
    , m_current(m_initial)
{}

FaultSettings FaultState::snapshot() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_current;
}

BypassFlags FaultState::bypass() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_current.bypass;
}

std::int64_t FaultState::cutShiftMs() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_current.cutShiftMs;
}

std::optional<std::string> FaultState::merge(const Json& patch)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return mergeFaults(m_current, patch);
}

void FaultState::set(FaultSettings settings)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_current = std::move(settings);
}

void FaultState::reset()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_current = m_initial;
}

std::optional<EndpointFault> FaultState::takeEndpointFault(const std::string& endpoint)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_current.endpoints.find(endpoint);
    if (found == m_current.endpoints.end()) {
        return std::nullopt;
    }
    const EndpointFault fault = found->second;
    if (fault.times > 0 && --found->second.times == 0) {
        m_current.endpoints.erase(found);
    }
    return fault;
}

} // namespace sxm::service
