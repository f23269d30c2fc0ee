#include "ServiceSession.h"

#include "Log.h"

#include <sxmlib.h>

#include <mutex>

namespace sxmlib {
namespace {

// Error codes of the service's error object.
constexpr int kNotSignedIn = 2;
constexpr int kSessionExpired = 3;

const char* const kUnreadable = "The SiriusXM service sent an answer that could not be read.";

ServiceConfig readConfig(const Json& json)
{
    ServiceConfig config;
    config.apiBase = jsonText(json, "apiBase");
    if (const std::string cookie = jsonText(json, "sessionCookie"); !cookie.empty())
        config.sessionCookie = cookie;
    config.segmentDurationMs = jsonInt(json, "segmentDurationMs", config.segmentDurationMs);
    config.rewindWindowSeconds = jsonInt(json, "rewindWindowSeconds", config.rewindWindowSeconds);
    config.skipsPerHour = static_cast<int>(jsonInt(json, "skipsPerHour", config.skipsPerHour));
    config.eventsPollIntervalMs =
        jsonInt(json, "eventsPollIntervalMs", config.eventsPollIntervalMs);
    const Json& bitrates = jsonArray(json, "bitrates");
    if (bitrates.size() == 4) {
        config.bitrates.clear();
        for (const Json& bps : bitrates)
            config.bitrates.push_back(bps.is_number_integer() ? bps.get<int>() : 0);
    }
    if (config.segmentDurationMs <= 0)
        config.segmentDurationMs = 10000;
    return config;
}

// Texts from the integrator are bytes that need not be UTF-8 (the account is Latin-1): invalid
// sequences are replaced rather than failing the whole request.
std::string compactJson(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace

bool ServiceReply::sessionGone() const
{
    return outcome == Outcome::Refused && status == 401 &&
           (serviceCode == kNotSignedIn || serviceCode == kSessionExpired);
}

ServiceSession::ServiceSession(LibraryStatus& status, Notifier& notifier)
    : m_status(status)
    , m_notifier(notifier)
{}

ServiceConfig ServiceSession::config() const
{
    std::lock_guard<HookMutex> lock(m_configMutex);
    return m_config;
}

std::string ServiceSession::apiUrl(const std::string& path) const
{
    return config().apiBase + path;
}

HttpResponse ServiceSession::performLocked(const HttpRequest& request)
{
    // The wait for the handle counts too: a slow download on the stream thread shows up in the
    // times of the library thread's requests, which is what the log should tell.
    const std::int64_t startMs = sxm_platform_ms_since_epoch();
    std::lock_guard<HookMutex> lock(m_exchangeMutex);
    HttpResponse response = perform(m_handle, request);
    SXMLIB_DEBUG((request.post ? "POST " : "GET ")
                 << request.url << ": " << response.status << " in "
                 << sxm_platform_ms_since_epoch() - startMs << " ms");
    return response;
}

ServiceReply ServiceSession::interpret(Caller caller, const HttpResponse& response,
                                       bool needsSession)
{
    ServiceReply reply;
    reply.status = response.status;
    if (response.failed && response.status < 400) {
        reply.outcome = ServiceReply::Outcome::Unreachable;
        reply.message = response.failure;
        return reply;
    }
    reply.json = Json::parse(response.body, nullptr, false);
    const bool isObject = !reply.json.is_discarded() && reply.json.is_object();
    if (isObject && reply.json.contains("bypass"))
        m_notifier.bypassSeen(caller, BypassFlags::fromJson(jsonObject(reply.json, "bypass")));
    if (response.status >= 400 || response.failed) {
        reply.outcome = ServiceReply::Outcome::Refused;
        const Json& error = isObject ? jsonObject(reply.json, "error") : Json::object();
        reply.serviceCode = static_cast<int>(jsonInt(error, "code"));
        reply.message = jsonText(error, "message");
        if (reply.message.empty())
            reply.message =
                "The SiriusXM service answered HTTP " + std::to_string(response.status) + ".";
        if (needsSession && reply.sessionGone())
            m_status.sessionLost(reply.message);
        return reply;
    }
    if (!isObject) {
        reply.outcome = ServiceReply::Outcome::Malformed;
        reply.message = kUnreadable;
        return reply;
    }
    reply.outcome = ServiceReply::Outcome::Ok;
    return reply;
}

ServiceReply ServiceSession::exchange(Caller caller, HttpRequest request, bool needsSession)
{
    if (needsSession && !m_status.signedIn()) {
        ServiceReply reply;
        reply.outcome = ServiceReply::Outcome::NoSession;
        reply.message = m_status.notSignedInText();
        return reply;
    }
    return interpret(caller, performLocked(request), needsSession);
}

ServiceReply ServiceSession::get(Caller caller, const std::string& path)
{
    HttpRequest request;
    request.url = apiUrl(path);
    return exchange(caller, std::move(request), true);
}

ServiceReply ServiceSession::post(Caller caller, const std::string& path, const Json& body)
{
    HttpRequest request;
    request.url = apiUrl(path);
    request.post = true;
    request.body = compactJson(body);
    return exchange(caller, std::move(request), true);
}

std::string ServiceSession::origin() const
{
    const std::string base = config().apiBase;
    const auto scheme = base.find("://");
    const auto pathStart = base.find('/', scheme == std::string::npos ? 0 : scheme + 3);
    return pathStart == std::string::npos ? base : base.substr(0, pathStart);
}

HttpResponse ServiceSession::download(Caller caller, const std::string& serverPath,
                                      HttpRequest request, ServiceReply& error)
{
    request.url = origin() + serverPath;
    if (!m_status.signedIn()) {
        error = ServiceReply{};
        error.outcome = ServiceReply::Outcome::NoSession;
        error.message = m_status.notSignedInText();
        HttpResponse none;
        none.failed = true;
        none.failure = error.message;
        return none;
    }
    HttpResponse response = performLocked(request);
    if (response.failed || response.status >= 400) {
        error = interpret(caller, response, true);
    } else {
        error = ServiceReply{};
        error.outcome = ServiceReply::Outcome::Ok;
        error.status = response.status;
    }
    return response;
}

ServiceReply ServiceSession::signIn(Caller caller, const std::string& user,
                                    const std::string& password, AccountDetails& account)
{
    ServiceReply reply;
    const std::string configUrl = readConfigUrl();
    if (configUrl.empty()) {
        reply.outcome = ServiceReply::Outcome::Unreachable;
        reply.message = "Unable to connect to SiriusXM. No service address is configured.";
        return reply;
    }
    HttpRequest configRequest;
    configRequest.url = configUrl;
    reply = interpret(caller, performLocked(configRequest), false);
    if (!reply.ok())
        return reply;
    ServiceConfig config = readConfig(reply.json);
    if (config.apiBase.empty()) {
        reply.outcome = ServiceReply::Outcome::Malformed;
        reply.message = kUnreadable;
        return reply;
    }
    {
        std::lock_guard<HookMutex> lock(m_configMutex);
        m_config = config;
    }

    const DeviceIdentity device = readDeviceIdentity();
    HttpRequest login;
    login.url = config.apiBase + "/session/login";
    login.post = true;
    login.body = compactJson(
        Json{{"user", user},
             {"password", password},
             {"device", {{"make", device.make}, {"model", device.model}, {"mac", device.mac}}}});
    const HttpResponse response = performLocked(login);
    reply = interpret(caller, response, false);
    if (!reply.ok())
        return reply;
    // The session lives in the handle's cookie engine from here on; a sign-in whose answer set
    // no session cookie would leave every later request unauthenticated.
    if (response.cookies.count(config.sessionCookie) == 0) {
        reply.outcome = ServiceReply::Outcome::Malformed;
        reply.message = "The SiriusXM service did not start a session.";
        return reply;
    }
    const Json& details = jsonObject(reply.json, "account");
    account.username = jsonText(details, "username");
    if (account.username.empty())
        account.username = user;
    account.password = password;
    account.consumerType = jsonText(details, "consumerType");
    account.email = jsonText(details, "email");
    account.zip = jsonText(details, "zip");
    SXMLIB_INFO("signed in as " << account.username);
    return reply;
}

} // namespace sxmlib
