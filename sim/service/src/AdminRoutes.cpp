// /admin: fault injection, actions that simulate changes elsewhere, and the plaintext of segments
// for tests. Loopback only, like the whole service, and without a session.
#include "AdminActions.h"
#include "ErrorCodes.h"
#include "Routes.h"
#include "SegmentAudio.h"

namespace sxm::service {
namespace {

std::string userOf(const Json& body)
{
    const auto found = body.find("user");
    return (found != body.end() && found->is_string()) ? found->get<std::string>()
                                                       : std::string("demo");
}

std::optional<Json> optionalBody(Call& call)
{
    if (call.req.body.find_first_not_of(" \t\r\n") == std::string::npos) {
        return Json::object();
    }
    return call.jsonBody();
}

void getFaults(Call& call)
{
    call.reply({{"faults", toJson(call.ctx.m_faults.snapshot())}});
}

void setFaults(Call& call)
{
    const auto body = call.jsonBody();
    if (!body) {
        return;
    }
    if (const auto error = call.ctx.m_faults.merge(*body)) {
        call.fail(400, errors::kBadRequest, "BAD_REQUEST", *error);
        return;
    }
    call.reply({{"faults", toJson(call.ctx.m_faults.snapshot())}});
}

void reset(Call& call)
{
    admin::resetService(call.ctx);
    call.reply({{"reset", true}});
}

void action(Call& call)
{
    const std::string name = call.req.matches[1];
    const auto body = optionalBody(call);
    if (!body) {
        return;
    }
    const std::string user = userOf(*body);
    const bool needsUser = name == "changeFavorites" || name == "changeRecents";
    if (needsUser && !call.ctx.m_accounts.exists(user)) {
        call.fail(404, errors::kNotFound, "NOT_FOUND", "Unknown account \"" + user + "\"");
        return;
    }
    if (name == "endPlayback") {
        call.reply({{"ended", admin::endPlayback(call.ctx)}});
    } else if (name == "changeFavorites") {
        admin::changeFavoritesElsewhere(call.ctx, user);
        call.reply({{"user", user}});
    } else if (name == "changeRecents") {
        admin::changeRecentsElsewhere(call.ctx, user);
        call.reply({{"user", user}});
    } else if (name == "exhaustSkips") {
        admin::exhaustSkips(call.ctx);
        call.reply({{"exhausted", true}});
    } else if (name == "expireSessions") {
        call.ctx.m_sessions.expireAll();
        call.reply({{"expired", true}});
    } else {
        call.fail(404, errors::kNotFound, "NOT_FOUND",
                  "Unknown action \"" + name +
                      "\" (endPlayback, changeFavorites, changeRecents, exhaustSkips, "
                      "expireSessions)");
    }
}

void requests(Call& call)
{
    const std::string endpoint = call.req.get_param_value("endpoint");
    if (endpointNames().count(endpoint) == 0) {
        call.fail(400, errors::kBadRequest, "BAD_REQUEST",
                  "Give a known endpoint name: /admin/requests?endpoint=NAME, not \"" + endpoint +
                      "\"");
        return;
    }
    call.reply({{"endpoint", endpoint}, {"requests", call.ctx.m_requests.take(endpoint)}});
}

void plaintext(Call& call)
{
    const auto kind = streamKindFromText(call.req.matches[1].str());
    const std::string id = call.req.matches[2];
    const auto stream = kind ? findStream(call.ctx.m_catalog, *kind, id) : std::nullopt;
    if (!stream) {
        call.fail(404, errors::kNotFound, "NOT_FOUND", "Unknown stream");
        return;
    }
    const std::int64_t segment = std::stoll(call.req.matches[4].str());
    const SegmentAudio found =
        lookupSegment(call.ctx, *stream, std::stoi(call.req.matches[3].str()), segment, call.nowMs);
    if (found.problem != SegmentProblem::None) {
        call.fail(404, errors::kSegmentNotAvailable, "SEGMENT_NOT_AVAILABLE",
                  describe(found.problem, segment));
        return;
    }
    call.res.set_header("X-SXM-IV", std::to_string(found.ivValue));
    call.res.set_header("X-SXM-Track-Id", found.trackId);
    call.res.set_content(*found.plaintext, "audio/aac");
}

} // namespace

void registerAdminRoutes(httplib::Server& server, ServiceContext& ctx)
{
    addRoute(server, ctx, Method::Get, "/admin/faults", "", Access::Public, getFaults);
    addRoute(server, ctx, Method::Post, "/admin/faults", "", Access::Public, setFaults);
    addRoute(server, ctx, Method::Post, "/admin/reset", "", Access::Public, reset);
    addRoute(server, ctx, Method::Post, R"(/admin/actions/([A-Za-z]+))", "", Access::Public,
             action);
    addRoute(server, ctx, Method::Get, "/admin/requests", "", Access::Public, requests);
    addRoute(server, ctx, Method::Get,
             R"(/admin/plaintext/([a-z]+)/([^/]+)/(\d{1,3})/(-?\d{1,15}))", "", Access::Public,
             plaintext);
}

} // namespace sxm::service
