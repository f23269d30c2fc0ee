// Configuration, sign-in and sign-out, the session itself, and the images that records link to.
#include "ErrorCodes.h"
#include "Routes.h"

#include <cctype>

namespace sxm::service {
namespace {

// A 1x1 transparent PNG: every logo and album-art URL the catalog hands out resolves to it.
const unsigned char kPixelPng[] = {
    0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A, 0x00, 0x00, 0x00, 0x0D, 0x49, 0x48,
    0x44, 0x52, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01, 0x08, 0x06, 0x00, 0x00,
    0x00, 0x1F, 0x15, 0xC4, 0x89, 0x00, 0x00, 0x00, 0x0B, 0x49, 0x44, 0x41, 0x54, 0x78,
    0xDA, 0x63, 0x60, 0x00, 0x02, 0x00, 0x00, 0x05, 0x00, 0x01, 0xE9, 0xFA, 0xDC, 0xD8,
    0x00, 0x00, 0x00, 0x00, 0x49, 0x45, 0x4E, 0x44, 0xAE, 0x42, 0x60, 0x82};

bool isMacAddress(const std::string& mac)
{
    std::string digits;
    for (std::size_t i = 0; i < mac.size(); ++i) {
        const char c = mac[i];
        if (std::isxdigit(static_cast<unsigned char>(c))) {
            digits.push_back(c);
        } else if ((c == ':' || c == '-') && i % 3 == 2 && mac.size() == 17) {
            continue;
        } else {
            return false;
        }
    }
    return digits.size() == 12;
}

std::optional<std::string> textField(const Json& object, const char* name)
{
    const auto found = object.find(name);
    if (found == object.end() || !found->is_string() || found->get<std::string>().empty()) {
        return std::nullopt;
    }
    return found->get<std::string>();
}

void configure(Call& call)
{
    const Options& options = call.ctx.options();
    Json bitrates = Json::array();
    for (int bps : AudioLibrary::kBitrates) {
        bitrates.push_back(bps);
    }
    call.reply({{"service", "sxm-service"},
                {"apiVersion", 1},
                {"apiBase", call.baseUrl + "/api/v1"},
                {"sessionCookie", kSessionCookie},
                {"sessionLifetimeSeconds", options.sessionLifetime.count() / 1000.0},
                {"segmentDurationMs", Catalog::kSegmentMs},
                {"rewindWindowSeconds", options.rewindWindow.count()},
                {"skipsPerHour", options.skipsPerHour},
                {"bitrates", bitrates},
                {"cipher", "AES-128-CBC"},
                {"keyWrapping", "AES-128-ECB"},
                {"programDataDelayMs", 160000},
                {"eventsPollIntervalMs", 5000}});
}

void signIn(Call& call)
{
    const auto body = call.jsonBody();
    if (!body) {
        return;
    }
    const auto user = textField(*body, "user");
    const auto password = textField(*body, "password");
    const auto deviceIt = body->find("device");
    if (!user || !password) {
        call.fail(400, errors::kBadRequest, "BAD_REQUEST",
                  "Sign-in needs \"user\" and \"password\" texts");
        return;
    }
    if (deviceIt == body->end() || !deviceIt->is_object()) {
        call.fail(400, errors::kBadRequest, "BAD_REQUEST",
                  "Sign-in needs a \"device\" object with make, model and mac");
        return;
    }
    DeviceIdentity device;
    for (const auto& [name, target] : {std::pair<const char*, std::string*>{"make", &device.make},
                                       {"model", &device.model},
                                       {"mac", &device.mac}}) {
        const auto value = textField(*deviceIt, name);
        if (!value) {
            call.fail(400, errors::kBadRequest, "BAD_REQUEST",
                      std::string("The device identity lacks \"") + name + "\"");
            return;
        }
        *target = *value;
    }
    if (!isMacAddress(device.mac)) {
        call.fail(400, errors::kBadRequest, "BAD_REQUEST",
                  "device.mac must be a MAC address such as 00:11:22:33:44:55, not \"" +
                      device.mac + "\"");
        return;
    }
    if (!call.ctx.m_accounts.passwordMatches(*user, *password)) {
        call.fail(401, errors::kAuthFailed, "AUTH_FAILED",
                  "The username or password you entered is incorrect.");
        return;
    }
    const FaultSettings faults = call.ctx.m_faults.snapshot();
    if (faults.refuseLogin) {
        call.fail(403, errors::kLoginRefused, "LOGIN_REFUSED", faults.refuseLoginMessage);
        return;
    }
    call.session =
        call.ctx.m_sessions.create(*user, device, call.nowMs, faults.bypass.anyGupBypass());
    call.res.set_header("Set-Cookie", std::string(kSessionCookie) + "=" + call.session->token() +
                                          "; Path=/; HttpOnly");
    call.reply({{"session",
                 {{"user", *user},
                  {"lifetimeSeconds", call.ctx.options().sessionLifetime.count() / 1000.0}}},
                {"account",
                 {{"username", *user},
                  {"consumerType", "subscriber"},
                  {"email", *user + "@example.com"},
                  {"zip", "10001"}}}});
}

void signOut(Call& call)
{
    call.ctx.m_sessions.remove(call.session->token());
    call.reply({{"signedOut", true}});
}

void describeSession(Call& call)
{
    const DeviceIdentity& device = call.session->device();
    call.reply({{"session",
                 {{"user", call.user()},
                  {"device", {{"make", device.make}, {"model", device.model}, {"mac", device.mac}}},
                  {"lifetimeSeconds", call.ctx.options().sessionLifetime.count() / 1000.0}}}});
}

} // namespace

void registerSessionRoutes(httplib::Server& server, ServiceContext& ctx)
{
    addRoute(server, ctx, Method::Get, "/config", "config", Access::Public, configure);
    addRoute(server, ctx, Method::Post, "/api/v1/session/login", "login", Access::Public, signIn);
    addRoute(server, ctx, Method::Post, "/api/v1/session/logout", "logout", Access::SignedIn,
             signOut);
    addRoute(server, ctx, Method::Get, "/api/v1/session", "session", Access::SignedIn,
             describeSession);
    server.Get(R"(/images/.+\.png)", [](const httplib::Request&, httplib::Response& res) {
        res.set_content(reinterpret_cast<const char*>(kPixelPng), sizeof kPixelPng, "image/png");
    });
}

} // namespace sxm::service
