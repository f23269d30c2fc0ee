// Configuration, sign-in and the session cookie's lifetime, over HTTP.
#include "ServiceFixture.h"

namespace sxm::service::test {
namespace {

class SessionHttp : public ServiceFixture
{
protected:
    void adjust(Options& options) override
    {
        options.sessionLifetime = std::chrono::minutes(2);
        options.accounts.push_back({"ann", "s3cret"});
    }
};

TEST_F(SessionHttp, ConfigNamesTheApiAndTheStreamingRules)
{
    const Reply reply = client()->get("/config");
    ASSERT_EQ(reply.status, 200);
    EXPECT_EQ(reply.json["apiBase"], server_->url() + "/api/v1");
    EXPECT_EQ(reply.json["segmentDurationMs"], 10000);
    EXPECT_EQ(reply.json["skipsPerHour"], 6);
    EXPECT_EQ(reply.json["bitrates"], Json::array({32000, 64000, 96000, 256000}));
    EXPECT_EQ(reply.json["keyWrapping"], "AES-128-ECB");
    EXPECT_EQ(reply.json["sessionLifetimeSeconds"], 120.0);
    EXPECT_FALSE(reply.json["bypass"]["isGupUnavailable"].get<bool>());
}

TEST_F(SessionHttp, SignInSetsACookieThatOpensTheApi)
{
    auto c = client();
    EXPECT_EQ(c->get("/api/v1/lineup").json["error"]["name"], "NOT_SIGNED_IN");
    const Reply reply = c->signIn("ann", "s3cret");
    ASSERT_EQ(reply.status, 200) << reply.body;
    EXPECT_EQ(reply.json["account"]["username"], "ann");
    EXPECT_EQ(c->cookie().rfind("SXMSESSION=", 0), 0u);
    const Reply session = c->get("/api/v1/session");
    ASSERT_EQ(session.status, 200);
    EXPECT_EQ(session.json["session"]["user"], "ann");
    EXPECT_EQ(session.json["session"]["device"]["model"], "Tuner 9");
}

TEST_F(SessionHttp, WrongPasswordAndUnknownUserAreRefusedAlike)
{
    for (const auto& [user, password] :
         {std::pair<const char*, const char*>{"demo", "wrong"}, {"nobody", "demo"}}) {
        auto c = client();
        const Reply reply = c->signIn(user, password);
        EXPECT_EQ(reply.status, 401) << user;
        EXPECT_EQ(reply.json["error"]["name"], "AUTH_FAILED");
        EXPECT_EQ(reply.json["error"]["message"],
                  "The username or password you entered is incorrect.");
        EXPECT_TRUE(c->cookie().empty());
    }
}

TEST_F(SessionHttp, IncompleteDeviceIdentityOrBodyIsABadRequest)
{
    auto c = client();
    const Json noMac = {
        {"user", "demo"}, {"password", "demo"}, {"device", {{"make", "Acme"}, {"model", "X"}}}};
    Reply reply = c->post("/api/v1/session/login", noMac);
    EXPECT_EQ(reply.status, 400);
    EXPECT_NE(reply.json["error"]["message"].get<std::string>().find("mac"), std::string::npos);

    Json badMac = noMac;
    badMac["device"]["mac"] = "00:11:22";
    EXPECT_EQ(c->post("/api/v1/session/login", badMac).status, 400);
    EXPECT_EQ(c->postRaw("/api/v1/session/login", "{not json").json["error"]["name"],
              "BAD_REQUEST");
}

TEST_F(SessionHttp, IdleSessionExpiresWhileAUsedOneLivesOn)
{
    auto idle = signedInClient();
    auto busy = signedInClient();
    for (int minute = 0; minute < 4; ++minute) {
        advance(60 * 1000);
        ASSERT_EQ(busy->get("/api/v1/session").status, 200) << "minute " << minute;
    }
    const Reply expired = idle->get("/api/v1/lineup");
    EXPECT_EQ(expired.status, 401);
    EXPECT_EQ(expired.json["error"]["name"], "SESSION_EXPIRED");
    EXPECT_EQ(expired.json["error"]["message"], "Your session has expired. Please sign in again.");
    ASSERT_EQ(idle->signIn().status, 200);
    EXPECT_EQ(idle->get("/api/v1/lineup").status, 200);
}

TEST_F(SessionHttp, UnknownCookieAndSignedOutCookieAreNotSignedIn)
{
    auto c = signedInClient();
    const std::string cookie = c->cookie();
    ASSERT_EQ(c->post("/api/v1/session/logout", Json::object()).status, 200);
    EXPECT_EQ(c->get("/api/v1/session").json["error"]["name"], "NOT_SIGNED_IN");
    c->setCookie("SXMSESSION=0123456789abcdef");
    EXPECT_EQ(c->get("/api/v1/session").status, 401);
}

TEST_F(SessionHttp, LiteralCookieHeaderLineBesideTheSessionCookieIsIgnored)
{
    auto c = signedInClient();
    c->setLiteralCookieLine(true);
    EXPECT_EQ(c->get("/api/v1/session").status, 200);
}

TEST_F(SessionHttp, ExpireAllSessionsAtOnce)
{
    auto c = signedInClient();
    ASSERT_EQ(client()->post("/admin/actions/expireSessions", Json::object()).status, 200);
    EXPECT_EQ(c->get("/api/v1/session").json["error"]["name"], "SESSION_EXPIRED");
}

} // namespace
} // namespace sxm::service::test

TEST(ServiceLifecycle, StopRightAfterStartNeverHangs)
{
    // A stop that came before the accept loop ran used to be missed, and its join never returned.
    for (int i = 0; i < 20; ++i) {
        sxm::service::Server server;
        const std::uint16_t port = server.start();
        EXPECT_NE(port, 0);
        server.stop();
        EXPECT_FALSE(server.running());
    }
}
