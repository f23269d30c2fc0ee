// A running sxm-service on a free loopback port with a clock the test moves, and a small client
// that signs in and exchanges JSON with it. Each test owns its fixture; the server's handlers run
// on the server's own threads.
#pragma once

#include "sxmservice/Server.h"

#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <memory>
#include <string>

namespace sxm::service::test {

using Json = nlohmann::json;

/// 2026-11-22T12:00:00.000Z, a whole number of segments.
inline constexpr std::int64_t kStartMs = 1795348800000LL;

struct Reply
{
    int status = 0; ///< 0 when the connection failed
    Json json;
    std::string body;
    httplib::Headers headers;
};

/// One device: its own cookie, its own connection.
class TestClient
{
public:
    TestClient(const std::string& host, int port);

    Reply get(const std::string& path);
    Reply post(const std::string& path, const Json& body);
    Reply postRaw(const std::string& path, const std::string& body);

    /// Signs in and keeps the session cookie; returns the reply.
    Reply signIn(const std::string& user = "demo", const std::string& password = "demo");
    const std::string& cookie() const { return cookie_; }
    void setCookie(std::string cookie) { cookie_ = std::move(cookie); }
    /// Sends "Cookie: application/json" as an extra header line before the session cookie.
    void setLiteralCookieLine(bool on) { literalCookieLine_ = on; }

private:
    httplib::Headers headers() const;
    Reply convert(const httplib::Result& result);

    httplib::Client http_;
    std::string cookie_;
    bool literalCookieLine_ = false;
};

class ServiceFixture : public ::testing::Test
{
protected:
    /// Tests change the options before the server starts by overriding this.
    virtual void adjust(Options&) {}

    void SetUp() override;
    void TearDown() override;

    /// A client already signed in as demo.
    std::unique_ptr<TestClient> signedInClient();
    std::unique_ptr<TestClient> client();

    void advance(std::int64_t ms) { now_ += ms; }
    std::int64_t now() const { return now_.load(); }

    std::unique_ptr<Server> server_;
    int port_ = 0;

private:
    std::atomic<std::int64_t> now_{kStartMs};
};

} // namespace sxm::service::test
