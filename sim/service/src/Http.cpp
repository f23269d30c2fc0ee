#include "Http.h"

#include "ErrorCodes.h"

#include <chrono>
#include <thread>

namespace sxm::service {
namespace {

std::string trim(const std::string& text)
{
    const auto begin = text.find_first_not_of(" \t");
    if (begin == std::string::npos) {
        return {};
    }
    const auto end = text.find_last_not_of(" \t");
    return text.substr(begin, end - begin + 1);
}

// Sends the headers with a promised length, then closes the connection: the client sees a
// broken transfer, as with a network failure half-way through a response.
void dropConnection(httplib::Response& res)
{
    res.set_content_provider(1024, "application/json",
                             [](std::size_t, std::size_t, httplib::DataSink&) { return false; });
}

bool applyEndpointFault(Call& call, const std::string& endpoint)
{
    const auto fault = call.ctx.m_faults.takeEndpointFault(endpoint);
    if (!fault) {
        return false;
    }
    if (fault->delayMs > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(fault->delayMs));
    }
    if (fault->drop) {
        dropConnection(call.res);
        return true;
    }
    if (fault->status != 0) {
        call.fail(fault->status, errors::kInjectedFault, "INJECTED_FAULT",
                  "The service failed on purpose: status " + std::to_string(fault->status) +
                      " on endpoint " + endpoint);
        return true;
    }
    return false;
}

bool attachSession(Call& call)
{
    const auto token = cookieValue(call.req, kSessionCookie);
    if (!token) {
        call.fail(401, errors::kNotSignedIn, "NOT_SIGNED_IN", "Not signed in. Please sign in.");
        return false;
    }
    const SessionStore::Found found = call.ctx.m_sessions.find(*token, call.nowMs);
    switch (found.lookup) {
    case SessionStore::Lookup::Valid:
        call.session = found.session;
        return true;
    case SessionStore::Lookup::Expired:
        call.fail(401, errors::kSessionExpired, "SESSION_EXPIRED",
                  "Your session has expired. Please sign in again.");
        return false;
    case SessionStore::Lookup::Unknown:
        break;
    }
    call.fail(401, errors::kNotSignedIn, "NOT_SIGNED_IN",
              "Not signed in: the session is unknown. Please sign in.");
    return false;
}

} // namespace

void Call::reply(Json body, int status)
{
    body["bypass"] = toJson(ctx.bypassFor(session.get()));
    res.status = status;
    res.set_content(body.dump(), "application/json");
}

void Call::fail(int status, int code, const std::string& name, const std::string& message)
{
    reply({{"error", {{"code", code}, {"name", name}, {"message", message}}}}, status);
}

std::optional<Json> Call::jsonBody()
{
    Json body = Json::parse(req.body, nullptr, false);
    if (body.is_discarded() || !body.is_object()) {
        fail(400, errors::kBadRequest, "BAD_REQUEST", "The request body must be a JSON object");
        return std::nullopt;
    }
    return body;
}

std::optional<std::string> cookieValue(const httplib::Request& req, const std::string& name)
{
    const std::size_t count = req.get_header_value_count("Cookie");
    for (std::size_t i = 0; i < count; ++i) {
        const std::string line = req.get_header_value("Cookie", i);
        std::size_t at = 0;
        while (at <= line.size()) {
            const std::size_t end = std::min(line.find(';', at), line.size());
            const std::string pair = line.substr(at, end - at);
            const std::size_t equals = pair.find('=');
            if (equals != std::string::npos && trim(pair.substr(0, equals)) == name) {
                return trim(pair.substr(equals + 1));
            }
            at = end + 1;
        }
    }
    return std::nullopt;
}

void addRoute(httplib::Server& server, ServiceContext& ctx, Method method,
              const std::string& pattern, const std::string& endpoint, Access access,
              Handler handler)
{
    auto run = [&ctx, endpoint, access, handler = std::move(handler)](const httplib::Request& req,
                                                                      httplib::Response& res) {
        Call call{ctx, req, res, nullptr, ctx.nowMs(), ctx.baseUrl(), {}};
        try {
            const bool faulted = !endpoint.empty() && applyEndpointFault(call, endpoint);
            if (!faulted && (access != Access::SignedIn || attachSession(call))) {
                handler(call);
            }
        } catch (const std::exception& error) {
            call.fail(500, errors::kInternal, "INTERNAL_ERROR",
                      std::string("The service failed: ") + error.what());
        }
        // Logged once answered, so that the entry can say what the answer was.
        if (!endpoint.empty()) {
            ctx.m_requests.record(endpoint, req.method, req.target, req.body, call.logNote);
        }
    };
    if (method == Method::Get) {
        server.Get(pattern, run);
    } else {
        server.Post(pattern, run);
    }
}

} // namespace sxm::service
