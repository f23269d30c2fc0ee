// The frame around every request handler: endpoint faults, the session cookie, JSON replies with
// the bypass status, and errors that never escape as exceptions. Handlers run on httplib's
// thread pool; everything here is safe from any thread.
#pragma once

#include "ServiceContext.h"

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace sxm::service {

using Json = nlohmann::json;

/// The name of the session cookie that sign-in sets.
inline constexpr const char* kSessionCookie = "SXMSESSION";

/// One request being answered.
struct Call
{
    ServiceContext& ctx;
    const httplib::Request& req;
    httplib::Response& res;
    std::shared_ptr<Session> session; ///< set for endpoints that need a session
    std::int64_t nowMs = 0;
    std::string baseUrl;
    /// Appended to the request's entry in the request log, e.g. what a tune answered.
    std::string logNote;

    /// Sends a JSON object with the "bypass" member added.
    void reply(Json body, int status = 200);
    /// Sends {"error": {"code", "name", "message"}, "bypass": ...}.
    void fail(int status, int code, const std::string& name, const std::string& message);
    /// The request body as a JSON object; on failure answers 400 itself and returns nothing.
    std::optional<Json> jsonBody();
    const std::string& user() const { return session->user(); }
};

using Handler = std::function<void(Call&)>;

enum class Access
{
    Public,
    SignedIn,
};

enum class Method
{
    Get,
    Post,
};

/// Registers `handler` under `pattern` (an httplib regex). `endpoint` names the route for
/// endpoint faults (empty: no faults apply, e.g. for the admin routes).
void addRoute(httplib::Server& server, ServiceContext& ctx, Method method,
              const std::string& pattern, const std::string& endpoint, Access access,
              Handler handler);

/// Every cookie header is read; entries without "=" (such as "Cookie: application/json",
/// which some clients send as a literal header line) are ignored.
std::optional<std::string> cookieValue(const httplib::Request& req, const std::string& name);

} // namespace sxm::service
