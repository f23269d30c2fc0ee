// The service over loopback HTTP, for what libsxmlib's tests against it do not reach: malformed
// sign-ins, the sliding session, segments that a standard decoder plays, TuneStart's start
// position, bypass flags, refresh events for the other devices, and many clients at once.
#include "sxmservice/Server.h"

#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <memory>
#include <optional>
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
        : m_http("127.0.0.1", port)
    {
        m_http.set_read_timeout(20, 0);
    }

    Reply get(const std::string& path) { return convert(m_http.Get(path, headers())); }
    Reply post(const std::string& path, const Json& body) { return postRaw(path, body.dump()); }
    Reply postRaw(const std::string& path, const std::string& body)
    {
        return convert(m_http.Post(path, headers(), body, "application/json"));
    }

    /// Signs in and keeps the session cookie.
    int signIn()
    {
        const auto result =
            m_http.Post("/api/v1/session/login", signInBody().dump(), "application/json");
        if (!result)
            return 0;
        const std::string cookie = result->get_header_value("Set-Cookie");
        m_cookie = cookie.substr(0, cookie.find(';'));
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
        return m_cookie.empty() ? httplib::Headers{} : httplib::Headers{{"Cookie", m_cookie}};
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

    httplib::Client m_http;
    std::string m_cookie;
};

class ServiceHttp : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Options options;
        options.clock = [this] {
            return m_now.load();
        };
        options.sessionLifetime = std::chrono::minutes(2);
        m_server = std::make_unique<Server>(options);
        m_port = m_server->start();
        m_demo = signedInClient();
    }

    std::unique_ptr<TestClient> signedInClient()
    {
        auto c = std::make_unique<TestClient>(m_port);
        EXPECT_EQ(c->signIn(), 200);
        return c;
    }

    void admin(const std::string& path, const Json& body)
    {
        ASSERT_EQ(TestClient(m_port).post("/admin/" + path, body).status, 200) << path;
    }

    std::atomic<std::int64_t> m_now{kStartMs};
    std::unique_ptr<Server> m_server;
    int m_port = 0;
    std::unique_ptr<TestClient> m_demo;
};

TEST_F(ServiceHttp, IncompleteDeviceIdentityOrBodyIsABadRequest)
{
    Json noMac = TestClient::signInBody();
    noMac["device"].erase("mac");
    const Reply reply = m_demo->post("/api/v1/session/login", noMac);
    EXPECT_EQ(reply.status, 400);
    EXPECT_NE(reply.json["error"]["message"].get<std::string>().find("mac"), std::string::npos);
    Json badMac = noMac;
    badMac["device"]["mac"] = "00:11:22";
    EXPECT_EQ(m_demo->post("/api/v1/session/login", badMac).status, 400);
    EXPECT_EQ(m_demo->postRaw("/api/v1/session/login", "{not json").json["error"]["name"],
              "BAD_REQUEST");
}

TEST_F(ServiceHttp, IdleSessionExpiresWhileAUsedOneLivesOn)
{
    auto busy = signedInClient();
    for (int minute = 0; minute < 4; ++minute) {
        m_now += 60 * 1000;
        ASSERT_EQ(busy->get("/api/v1/session").status, 200) << "minute " << minute;
    }
    const Reply expired = m_demo->get("/api/v1/lineup");
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
    const std::string prefix =
        "/admin/plaintext/live/" + m_server->catalog().channels()[0].id + "/";
    const std::string segment = "/" + std::to_string(kStartMs / 10000);
    std::size_t previousSize = 0;
    for (int bitrate = 0; bitrate < 4; ++bitrate) {
        const Reply plain = m_demo->get(prefix + std::to_string(bitrate) + segment);
        ASSERT_EQ(plain.status, 200);
        EXPECT_GT(plain.body.size(), previousSize) << "bitrate index " << bitrate;
        previousSize = plain.body.size();
        const double seconds = adtsSeconds(plain.body);
        EXPECT_GT(seconds, 9.5) << "bitrate index " << bitrate;
        EXPECT_LT(seconds, 10.5);
    }
    EXPECT_EQ(m_demo
                  ->get("/api/v1/streams/live/" + m_server->catalog().channels()[0].id +
                        "/segments/4" + segment)
                  .status,
              400);

    if (std::system("ffmpeg -version > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "ffmpeg is not installed";
    const std::string path =
        ::testing::TempDir() + "sxm_segment_" + std::to_string(m_port) + ".aac";
    {
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"),
                                                             &std::fclose);
        ASSERT_TRUE(file);
        const std::string audio = m_demo->get(prefix + "1" + segment).body;
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
    const Channel& live = m_server->catalog().channels()[0];
    const Track onAir =
        m_server->catalog().liveTrack(live, m_server->catalog().liveTrackIndexAt(live, kStartMs));
    const auto startOf = [&](const Json& body) {
        return m_demo->post("/api/v1/playback/tune", body).json["playback"]["startPosition"];
    };
    EXPECT_EQ(startOf({{"mode", 0}, {"channelId", live.id}}), onAir.startMs);
    EXPECT_EQ(startOf({{"mode", 0}, {"channelId", live.id}, {"playLive", true}}), kStartMs);
    ASSERT_EQ(
        m_demo
            ->post("/api/v1/settings", {{"settings", {{{"name", "TuneStart"}, {"value", "off"}}}}})
            .status,
        200);
    EXPECT_EQ(startOf({{"mode", 0}, {"channelId", live.id}}), kStartMs);
}

TEST_F(ServiceHttp, TunedPlaintextIsTheServedSegmentsFromTheStartPosition)
{
    EXPECT_FALSE(m_server->tunedPlaintext()) << "nothing before the first tune";
    const std::string guid = m_server->catalog().episodes().front().record.assetGuid;
    const Reply tuned = m_demo->post(
        "/api/v1/playback/tune", {{"mode", 1}, {"accessControlId", guid}, {"timestamp", "12345"}});
    ASSERT_EQ(tuned.status, 200) << tuned.body;
    // The request log tells where the tune started.
    const std::string entry = m_server->takeRequests("tune").back();
    const std::string start =
        R"( => {"kind":"episode","id":")" + guid + R"(","startSegment":1,"startOffsetMs":2345})";
    EXPECT_EQ(entry.substr(entry.size() - std::min(entry.size(), start.size())), start);
    const std::optional<TunedPlaintext> before = m_server->tunedPlaintext();
    ASSERT_TRUE(before);
    EXPECT_EQ(before->toSegment, 0) << "no audio served yet";
    EXPECT_EQ(before->plaintext, "");

    const std::string audio = "/api/v1/streams/episode/" + guid + "/segments/2/";
    for (int n : {1, 2})
        ASSERT_EQ(m_demo->get(audio + std::to_string(n)).status, 200);
    // Another device's audio is not this playback's.
    EXPECT_EQ(signedInClient()->get(audio + "3").status, 200);
    const std::optional<TunedPlaintext> played = m_server->tunedPlaintext();
    ASSERT_TRUE(played);
    EXPECT_EQ(played->kind, "episode");
    EXPECT_EQ(played->bitrate, 2);
    EXPECT_EQ(played->fromSegment, 1);
    EXPECT_EQ(played->toSegment, 2);
    EXPECT_EQ(played->startOffsetMs, 2345);

    const std::string plain = "/admin/plaintext/episode/" + guid + "/2/";
    const std::string first = m_demo->get(plain + "1").body;
    const std::string second = m_demo->get(plain + "2").body;
    ASSERT_GT(played->plaintext.size(), second.size());
    const std::size_t dropped = first.size() + second.size() - played->plaintext.size();
    EXPECT_EQ(played->plaintext, first.substr(dropped) + second);
    // Whole frames were dropped, the fewest whose time reaches the offset.
    const double droppedMs = adtsSeconds(first.substr(0, dropped)) * 1000;
    EXPECT_GE(droppedMs, 2345);
    EXPECT_LT(droppedMs, 2345 + 1024 * 1000.0 / 48000);
}

TEST_F(ServiceHttp, BypassFlagsTravelWithEveryResponseAndDisableTheirFeatures)
{
    admin("faults", {{"bypass", {{"isGupIdUnavailable", true}, {"isSearchUnavailable", true}}}});
    const Reply lineup = m_demo->get("/api/v1/lineup");
    ASSERT_EQ(lineup.status, 200);
    EXPECT_TRUE(lineup.json["bypass"]["isGupIdUnavailable"].get<bool>());
    EXPECT_FALSE(lineup.json["bypass"]["loggedDuringBypass"].get<bool>());
    const Reply search = m_demo->get("/api/v1/search?q=pop");
    EXPECT_EQ(search.status, 503);
    EXPECT_EQ(search.json["error"]["name"], "SEARCH_UNAVAILABLE");
    EXPECT_EQ(m_demo->get("/api/v1/favorites").status, 503);

    auto during = signedInClient();
    EXPECT_TRUE(during->get("/api/v1/session").json["bypass"]["loggedDuringBypass"].get<bool>())
        << "a session signed in during the GUP bypass says so";
}

TEST_F(ServiceHttp, AChangeRefreshesTheAccountsOtherDevicesOnly)
{
    auto other = signedInClient();
    ASSERT_EQ(m_demo->post("/api/v1/recents/clear", Json::object()).status, 200);
    EXPECT_TRUE(m_demo->get("/api/v1/events").json["events"].empty())
        << "the device that made the change needs no refresh";
    EXPECT_EQ(other->get("/api/v1/events").json["events"],
              Json::array({{{"type", "refresh"}, {"module", 2}}}));
    EXPECT_EQ(TestClient(m_port).post("/admin/actions/changeRecents", {{"user", "nobody"}}).status,
              404);
}

TEST_F(ServiceHttp, ManyClientsAtOnceAllGetAnswers)
{
    const Channel& channel = m_server->catalog().channels()[1];
    std::vector<std::thread> threads;
    std::vector<int> failures(6, 0);
    for (std::size_t t = 0; t < failures.size(); ++t) {
        threads.emplace_back([&, t] {
            TestClient c(m_port);
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
