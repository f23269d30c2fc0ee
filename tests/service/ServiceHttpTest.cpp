// The service over loopback HTTP, for what libsxmlib's tests against it do not reach: malformed
// sign-ins, the sliding session, segments that a standard decoder plays, TuneStart's start
// position, bypass flags, refresh events for the other devices, and many clients at once.
#include "sxmservice/Server.h"

#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace sxm::service {
namespace {

using Json = nlohmann::json;

/// 2026-11-22T12:00:00.000Z, a whole number of segments.
constexpr std::int64_t kStartMs = 1795348800000LL;

struct Reply
{
    int status = 0; ///< 0 when the connection failed
    Json json;
    std::string body;
};

/// One device: its own cookie, its own connection.
class TestClient
{
public:
    explicit TestClient(int port)
        : http_("127.0.0.1", port)
    {
        http_.set_read_timeout(20, 0);
    }

    Reply get(const std::string& path) { return convert(http_.Get(path, headers())); }
    Reply post(const std::string& path, const Json& body) { return postRaw(path, body.dump()); }
    Reply postRaw(const std::string& path, const std::string& body)
    {
        return convert(http_.Post(path, headers(), body, "application/json"));
    }

    /// Signs in and keeps the session cookie.
    int signIn()
    {
        const auto result =
            http_.Post("/api/v1/session/login", signInBody().dump(), "application/json");
        if (!result)
            return 0;
        const std::string cookie = result->get_header_value("Set-Cookie");
        cookie_ = cookie.substr(0, cookie.find(';'));
        return result->status;
    }

    static Json signInBody()
    {
        return {{"user", "demo"},
                {"password", "demo"},
                {"device", {{"make", "Acme"}, {"model", "Tuner 9"}, {"mac", "00:11:22:33:44:55"}}}};
    }

private:
    httplib::Headers headers() const
    {
        return cookie_.empty() ? httplib::Headers{} : httplib::Headers{{"Cookie", cookie_}};
    }

    static Reply convert(const httplib::Result& result)
    {
        if (!result)
            return {};
        Reply reply{result->status, Json(), result->body};
        if (result->get_header_value("Content-Type") == "application/json")
            reply.json = Json::parse(result->body, nullptr, false);
        return reply;
    }

    httplib::Client http_;
    std::string cookie_;
};

class ServiceHttp : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Options options;
        options.clock = [this] {
            return now_.load();
        };
        options.sessionLifetime = std::chrono::minutes(2);
        server_ = std::make_unique<Server>(options);
        port_ = server_->start();
        demo_ = signedInClient();
    }

    std::unique_ptr<TestClient> signedInClient()
    {
        auto c = std::make_unique<TestClient>(port_);
        EXPECT_EQ(c->signIn(), 200);
        return c;
    }

    void admin(const std::string& path, const Json& body)
    {
        ASSERT_EQ(TestClient(port_).post("/admin/" + path, body).status, 200) << path;
    }

    std::atomic<std::int64_t> now_{kStartMs};
    std::unique_ptr<Server> server_;
    int port_ = 0;
    std::unique_ptr<TestClient> demo_;
};

TEST_F(ServiceHttp, IncompleteDeviceIdentityOrBodyIsABadRequest)
{
    Json noMac = TestClient::signInBody();
    noMac["device"].erase("mac");
    const Reply reply = demo_->post("/api/v1/session/login", noMac);
    EXPECT_EQ(reply.status, 400);
    EXPECT_NE(reply.json["error"]["message"].get<std::string>().find("mac"), std::string::npos);
    Json badMac = noMac;
    badMac["device"]["mac"] = "00:11:22";
    EXPECT_EQ(demo_->post("/api/v1/session/login", badMac).status, 400);
    EXPECT_EQ(demo_->postRaw("/api/v1/session/login", "{not json").json["error"]["name"],
              "BAD_REQUEST");
}

TEST_F(ServiceHttp, IdleSessionExpiresWhileAUsedOneLivesOn)
{
    auto busy = signedInClient();
    for (int minute = 0; minute < 4; ++minute) {
        now_ += 60 * 1000;
        ASSERT_EQ(busy->get("/api/v1/session").status, 200) << "minute " << minute;
    }
    const Reply expired = demo_->get("/api/v1/lineup");
    EXPECT_EQ(expired.status, 401);
    EXPECT_EQ(expired.json["error"]["name"], "SESSION_EXPIRED");
}

// Sync word and frame lengths, walked independently of the service's ADTS reader; the decoded
// length in seconds, or a negative number for a broken stream.
double adtsSeconds(const std::string& data)
{
    static const int rates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000};
    double seconds = 0;
    for (std::size_t at = 0, length = 0; at < data.size(); at += length) {
        const auto* p = reinterpret_cast<const unsigned char*>(data.data() + at);
        if (data.size() - at < 7 || p[0] != 0xFF || (p[1] & 0xF6) != 0xF0)
            return -1;
        length = ((p[3] & 3u) << 11) | (p[4] << 3) | (p[5] >> 5);
        if (length < 7 || at + length > data.size())
            return -1;
        seconds += 1024.0 / rates[(p[2] >> 2) & 0x0F];
    }
    return seconds;
}

TEST_F(ServiceHttp, SegmentsAreTenSecondsOfAdtsGrowingWithTheBitrateAndDecodable)
{
    const std::string prefix = "/admin/plaintext/live/" + server_->catalog().channels()[0].id + "/";
    const std::string segment = "/" + std::to_string(kStartMs / 10000);
    std::size_t previousSize = 0;
    for (int bitrate = 0; bitrate < 4; ++bitrate) {
        const Reply plain = demo_->get(prefix + std::to_string(bitrate) + segment);
        ASSERT_EQ(plain.status, 200);
        EXPECT_GT(plain.body.size(), previousSize) << "bitrate index " << bitrate;
        previousSize = plain.body.size();
        const double seconds = adtsSeconds(plain.body);
        EXPECT_GT(seconds, 9.5) << "bitrate index " << bitrate;
        EXPECT_LT(seconds, 10.5);
    }
    EXPECT_EQ(demo_
                  ->get("/api/v1/streams/live/" + server_->catalog().channels()[0].id +
                        "/segments/4" + segment)
                  .status,
              400);

    if (std::system("ffmpeg -version > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "ffmpeg is not installed";
    const std::string path = ::testing::TempDir() + "sxm_segment_" + std::to_string(port_) + ".aac";
    {
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"),
                                                             &std::fclose);
        ASSERT_TRUE(file);
        const std::string audio = demo_->get(prefix + "1" + segment).body;
        std::fwrite(audio.data(), 1, audio.size(), file.get());
    }
    const std::string command =
        "ffmpeg -hide_banner -nostdin -v error -i " + path + " -f null - 2>&1";
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), &pclose);
    ASSERT_TRUE(pipe);
    std::string errors;
    char buffer[256];
    while (std::fgets(buffer, sizeof buffer, pipe.get()))
        errors += buffer;
    EXPECT_EQ(errors, "") << "the decoder complained";
    std::remove(path.c_str());
}

TEST_F(ServiceHttp, TuneStartBeginsTheSongOnAirUnlessSwitchedOffOrLiveAsked)
{
    const Channel& live = server_->catalog().channels()[0];
    const Track onAir =
        server_->catalog().liveTrack(live, server_->catalog().liveTrackIndexAt(live, kStartMs));
    const auto startOf = [&](const Json& body) {
        return demo_->post("/api/v1/playback/tune", body).json["playback"]["startPosition"];
    };
    EXPECT_EQ(startOf({{"mode", 0}, {"channelId", live.id}}), onAir.startMs);
    EXPECT_EQ(startOf({{"mode", 0}, {"channelId", live.id}, {"playLive", true}}), kStartMs);
    ASSERT_EQ(
        demo_->post("/api/v1/settings", {{"settings", {{{"name", "TuneStart"}, {"value", "off"}}}}})
            .status,
        200);
    EXPECT_EQ(startOf({{"mode", 0}, {"channelId", live.id}}), kStartMs);
}

TEST_F(ServiceHttp, BypassFlagsTravelWithEveryResponseAndDisableTheirFeatures)
{
    admin("faults", {{"bypass", {{"isGupIdUnavailable", true}, {"isSearchUnavailable", true}}}});
    const Reply lineup = demo_->get("/api/v1/lineup");
    ASSERT_EQ(lineup.status, 200);
    EXPECT_TRUE(lineup.json["bypass"]["isGupIdUnavailable"].get<bool>());
    EXPECT_FALSE(lineup.json["bypass"]["loggedDuringBypass"].get<bool>());
    const Reply search = demo_->get("/api/v1/search?q=pop");
    EXPECT_EQ(search.status, 503);
    EXPECT_EQ(search.json["error"]["name"], "SEARCH_UNAVAILABLE");
    EXPECT_EQ(demo_->get("/api/v1/favorites").status, 503);

    auto during = signedInClient();
    EXPECT_TRUE(during->get("/api/v1/session").json["bypass"]["loggedDuringBypass"].get<bool>())
        << "a session signed in during the GUP bypass says so";
}

TEST_F(ServiceHttp, AChangeRefreshesTheAccountsOtherDevicesOnly)
{
    auto other = signedInClient();
    ASSERT_EQ(demo_->post("/api/v1/recents/clear", Json::object()).status, 200);
    EXPECT_TRUE(demo_->get("/api/v1/events").json["events"].empty())
        << "the device that made the change needs no refresh";
    EXPECT_EQ(other->get("/api/v1/events").json["events"],
              Json::array({{{"type", "refresh"}, {"module", 2}}}));
    EXPECT_EQ(TestClient(port_).post("/admin/actions/changeRecents", {{"user", "nobody"}}).status,
              404);
}

TEST_F(ServiceHttp, ManyClientsAtOnceAllGetAnswers)
{
    const Channel& channel = server_->catalog().channels()[1];
    std::vector<std::thread> threads;
    std::vector<int> failures(6, 0);
    for (std::size_t t = 0; t < failures.size(); ++t) {
        threads.emplace_back([&, t] {
            TestClient c(port_);
            failures[t] += c.signIn() != 200;
            for (int i = 0; i < 5; ++i) {
                for (const std::string& path :
                     {std::string("/api/v1/lineup"), std::string("/api/v1/pdt/cuts"),
                      "/api/v1/streams/live/" + channel.id + "/segments/" + std::to_string(i % 4) +
                          "/" + std::to_string(kStartMs / 10000 - i)})
                    failures[t] += c.get(path).status != 200;
                const Json change = {
                    {"favorites",
                     {{{"assetType", 0}, {"channelId", channel.id}, {"changeType", i % 2}}}}};
                failures[t] += c.post("/api/v1/favorites", change).status != 200;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, std::vector<int>(6, 0));
}

TEST(ServiceLifecycle, StopRightAfterStartNeverHangs)
{
    // A stop that came before the accept loop ran used to be missed, and its join never returned.
    for (int i = 0; i < 20; ++i) {
        Server server;
        EXPECT_NE(server.start(), 0);
        server.stop();
        EXPECT_FALSE(server.running());
    }
}

} // namespace
} // namespace sxm::service
