// Faults and admin actions, events, and many clients at once, over HTTP.
#include "ServiceFixture.h"

#include <thread>
#include <vector>

namespace sxm::service::test {
namespace {

class FaultsHttp : public ServiceFixture
{
protected:
    void SetUp() override
    {
        ServiceFixture::SetUp();
        demo_ = signedInClient();
        admin_ = client();
    }

    void setFaults(const Json& patch)
    {
        const Reply reply = admin_->post("/admin/faults", patch);
        ASSERT_EQ(reply.status, 200) << reply.body;
    }

    Json events(TestClient& c) { return c.get("/api/v1/events").json["events"]; }

    std::unique_ptr<TestClient> demo_;
    std::unique_ptr<TestClient> admin_;
};

TEST_F(FaultsHttp, BypassFlagsTravelWithEveryResponseAndDisableTheirFeatures)
{
    setFaults({{"bypass", {{"isGupIdUnavailable", true}, {"isSearchUnavailable", true}}}});
    const Reply lineup = demo_->get("/api/v1/lineup");
    ASSERT_EQ(lineup.status, 200);
    EXPECT_TRUE(lineup.json["bypass"]["isGupIdUnavailable"].get<bool>());
    EXPECT_FALSE(lineup.json["bypass"]["loggedDuringBypass"].get<bool>());
    EXPECT_TRUE(admin_->get("/config").json["bypass"]["isSearchUnavailable"].get<bool>());

    const Reply search = demo_->get("/api/v1/search?q=pop");
    EXPECT_EQ(search.status, 503);
    EXPECT_EQ(search.json["error"]["name"], "SEARCH_UNAVAILABLE");
    EXPECT_EQ(demo_->get("/api/v1/favorites").status, 503);

    auto during = signedInClient();
    EXPECT_TRUE(during->get("/api/v1/session").json["bypass"]["loggedDuringBypass"].get<bool>())
        << "a session signed in during the GUP bypass says so";
}

TEST_F(FaultsHttp, RefusedSignInCarriesTheServicesText)
{
    setFaults({{"refuseLogin", true}, {"refuseLoginMessage", "Account suspended."}});
    const Reply reply = client()->signIn();
    EXPECT_EQ(reply.status, 403);
    EXPECT_EQ(reply.json["error"]["name"], "LOGIN_REFUSED");
    EXPECT_EQ(reply.json["error"]["message"], "Account suspended.");
}

TEST_F(FaultsHttp, StatusFaultCountsDownAndDelayStillAnswers)
{
    setFaults({{"endpoints",
                {{"lineup", {{"status", 503}, {"times", 1}}}, {"categories", {{"delayMs", 50}}}}}});
    const Reply failed = demo_->get("/api/v1/lineup");
    EXPECT_EQ(failed.status, 503);
    EXPECT_EQ(failed.json["error"]["name"], "INJECTED_FAULT");
    EXPECT_EQ(demo_->get("/api/v1/lineup").status, 200);
    EXPECT_EQ(demo_->get("/api/v1/categories").status, 200);
}

TEST_F(FaultsHttp, DroppedConnectionFailsTheTransfer)
{
    setFaults({{"endpoints", {{"foryou", {{"drop", true}}}}}});
    EXPECT_EQ(demo_->get("/api/v1/foryou").status, 0);
    setFaults({{"endpoints", {{"foryou", nullptr}}}});
    auto fresh = client();
    fresh->setCookie(demo_->cookie());
    EXPECT_EQ(fresh->get("/api/v1/foryou").status, 200);
}

TEST_F(FaultsHttp, BadFaultPatchIsRefusedAndChangesNothing)
{
    const Reply reply =
        admin_->post("/admin/faults",
                     {{"skipsNotAllowed", true}, {"endpoints", {{"nosuch", {{"status", 500}}}}}});
    EXPECT_EQ(reply.status, 400);
    EXPECT_EQ(reply.json["error"]["message"], "unknown endpoint \"nosuch\"");
    EXPECT_FALSE(admin_->get("/admin/faults").json["faults"]["skipsNotAllowed"].get<bool>());
}

TEST_F(FaultsHttp, EndedPlaybackIsReportedOnceWithCode37AndRefusesAudio)
{
    const Channel& channel = server_->catalog().channels()[0];
    ASSERT_EQ(demo_->post("/api/v1/playback/tune", {{"mode", 0}, {"channelId", channel.id}}).status,
              200);
    EXPECT_EQ(admin_->post("/admin/actions/endPlayback", Json::object()).json["ended"], 1);
    const Json list = events(*demo_);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0]["type"], "playbackEnded");
    EXPECT_EQ(list[0]["code"], 37);
    EXPECT_TRUE(events(*demo_).empty());
    const std::string segment =
        "/api/v1/streams/live/" + channel.id + "/segments/1/" + std::to_string(kStartMs / 10000);
    const Reply audio = demo_->get(segment);
    EXPECT_EQ(audio.status, 409);
    EXPECT_EQ(audio.json["error"]["code"], 37);
    ASSERT_EQ(demo_->post("/api/v1/playback/tune", {{"mode", 0}, {"channelId", channel.id}}).status,
              200);
    EXPECT_EQ(demo_->get(segment).status, 200);
}

TEST_F(FaultsHttp, ChangesElsewhereRefreshTheAccountsOtherDevices)
{
    auto other = signedInClient();
    const std::size_t before = demo_->get("/api/v1/favorites").json["items"].size();
    ASSERT_EQ(admin_->post("/admin/actions/changeFavorites", {{"user", "demo"}}).status, 200);
    EXPECT_EQ(events(*demo_), Json::array({{{"type", "refresh"}, {"module", 1}}}));
    EXPECT_NE(demo_->get("/api/v1/favorites").json["items"].size(), before);
    ASSERT_EQ(admin_->post("/admin/actions/changeRecents", Json::object()).status, 200);
    EXPECT_EQ(events(*demo_), Json::array({{{"type", "refresh"}, {"module", 2}}}));

    events(*other);
    ASSERT_EQ(demo_->post("/api/v1/recents/clear", Json::object()).status, 200);
    EXPECT_TRUE(events(*demo_).empty()) << "the device that made the change needs no refresh";
    EXPECT_EQ(events(*other), Json::array({{{"type", "refresh"}, {"module", 2}}}));
    EXPECT_EQ(admin_->post("/admin/actions/changeRecents", {{"user", "nobody"}}).status, 404);
}

TEST_F(FaultsHttp, ExhaustedSkipBudgetAndResetRestoresEverything)
{
    const Channel& channel = server_->catalog().channels()[0];
    ASSERT_EQ(demo_->post("/api/v1/playback/tune", {{"mode", 0}, {"channelId", channel.id}}).status,
              200);
    ASSERT_EQ(admin_->post("/admin/actions/exhaustSkips", Json::object()).status, 200);
    const Json body = {{"direction", "previous"}, {"position", kStartMs - 600000}};
    EXPECT_EQ(demo_->post("/api/v1/playback/segment-time", body).json["result"], -118);

    setFaults({{"bypass", {{"isGupUnavailable", true}}}});
    ASSERT_EQ(admin_->post("/admin/reset", Json::object()).status, 200);
    EXPECT_FALSE(demo_->get("/api/v1/lineup").json["bypass"]["isGupUnavailable"].get<bool>());
    EXPECT_EQ(demo_->post("/api/v1/playback/segment-time", body).json["result"], 5);
}

TEST_F(FaultsHttp, ManyClientsAtOnceAllGetAnswers)
{
    const Channel& channel = server_->catalog().channels()[1];
    std::vector<std::thread> threads;
    std::vector<int> failures(6, 0);
    for (int t = 0; t < 6; ++t) {
        threads.emplace_back([&, t] {
            TestClient c("127.0.0.1", port_);
            if (c.signIn().status != 200) {
                ++failures[static_cast<std::size_t>(t)];
                return;
            }
            for (int i = 0; i < 5; ++i) {
                const std::string paths[] = {
                    "/api/v1/lineup", "/api/v1/pdt/cuts", "/api/v1/favorites",
                    "/api/v1/streams/live/" + channel.id + "/segments/" + std::to_string(i % 4) +
                        "/" + std::to_string(kStartMs / 10000 - i)};
                for (const std::string& path : paths) {
                    failures[static_cast<std::size_t>(t)] += c.get(path).status != 200;
                }
                const Json change = {
                    {"favorites",
                     {{{"assetType", 0}, {"channelId", channel.id}, {"changeType", i % 2}}}}};
                failures[static_cast<std::size_t>(t)] +=
                    c.post("/api/v1/favorites", change).status != 200;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, std::vector<int>(6, 0));
}

} // namespace
} // namespace sxm::service::test
