// Tuning, encrypted AAC segments, metadata, and next/previous with the skip budget, over HTTP.
#include "ServiceFixture.h"

#include <gcrypt.h>

#include <cstdio>
#include <ctime>
#include <memory>

namespace sxm::service::test {
namespace {

constexpr const char* kFixedKeyHex = "000102030405060708090a0b0c0d0e0f";

std::string fromHex(const std::string& hex)
{
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

struct CipherCloser
{
    void operator()(gcry_cipher_hd_t h) const { gcry_cipher_close(h); }
};
using Cipher = std::unique_ptr<std::remove_pointer_t<gcry_cipher_hd_t>, CipherCloser>;

// Written from the client's side, independently of the service's code: the IV of a 32-bit value
// is its big-endian bytes at the end, with 0xFF filler before a negative one.
std::string ivOf(std::int32_t value)
{
    std::string iv(16, value < 0 ? '\xFF' : '\0');
    const auto bits = static_cast<std::uint32_t>(value);
    for (int i = 0; i < 4; ++i)
        iv[static_cast<std::size_t>(15 - i)] = static_cast<char>((bits >> (8 * i)) & 0xFF);
    return iv;
}

std::string aes(int mode, const std::string& key, const std::string& iv, std::string data)
{
    gcry_cipher_hd_t raw = nullptr;
    EXPECT_EQ(gcry_cipher_open(&raw, GCRY_CIPHER_AES128, mode, 0), 0u);
    Cipher cipher(raw);
    EXPECT_EQ(gcry_cipher_setkey(cipher.get(), key.data(), key.size()), 0u);
    if (!iv.empty()) {
        EXPECT_EQ(gcry_cipher_setiv(cipher.get(), iv.data(), iv.size()), 0u);
    }
    EXPECT_EQ(gcry_cipher_decrypt(cipher.get(), data.data(), data.size(), nullptr, 0), 0u);
    return data;
}

struct AdtsCheck
{
    int frames = 0;
    int sampleRate = 0;
    std::string problem;
};

// Sync word and frame lengths, walked independently of the service's ADTS reader.
AdtsCheck checkAdts(const std::string& data)
{
    static const int rates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000};
    AdtsCheck check;
    std::size_t at = 0;
    while (at < data.size()) {
        const auto* p = reinterpret_cast<const unsigned char*>(data.data() + at);
        if (data.size() - at < 7 || p[0] != 0xFF || (p[1] & 0xF6) != 0xF0) {
            check.problem = "no sync word at " + std::to_string(at);
            return check;
        }
        const std::size_t length = ((p[3] & 3u) << 11) | (p[4] << 3) | (p[5] >> 5);
        if (length < 7 || at + length > data.size()) {
            check.problem = "bad frame length at " + std::to_string(at);
            return check;
        }
        check.sampleRate = rates[(p[2] >> 2) & 0x0F];
        ++check.frames;
        at += length;
    }
    return check;
}

// yyyy-MM-ddTHH:mm:ss.zzz in UTC.
std::string utcText(std::int64_t ms)
{
    const std::time_t seconds = static_cast<std::time_t>(ms / 1000);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    return std::string(text) + "." + std::to_string(1000 + ms % 1000).substr(1);
}

std::int32_t ivHeader(const Reply& reply)
{
    for (const auto& [name, value] : reply.headers)
        if (name == "X-SXM-IV")
            return static_cast<std::int32_t>(std::stol(value));
    ADD_FAILURE() << "no X-SXM-IV header";
    return 0;
}

class PlaybackHttp : public ServiceFixture
{
protected:
    void adjust(Options& options) override
    {
        options.fixedKeyHex = kFixedKeyHex;
        options.sessionLifetime = std::chrono::hours(3); // the skip tests move the clock by hours
    }

    void SetUp() override
    {
        ServiceFixture::SetUp();
        demo_ = signedInClient();
        live_ = &server_->catalog().channels()[0];
    }

    Json tune(const Json& body)
    {
        const Reply reply = demo_->post("/api/v1/playback/tune", body);
        EXPECT_EQ(reply.status, 200) << reply.body;
        return reply.json["playback"];
    }

    Json skip(const std::string& direction, std::int64_t position)
    {
        const Reply reply = demo_->post("/api/v1/playback/segment-time",
                                        {{"direction", direction}, {"position", position}});
        EXPECT_EQ(reply.status, 200) << reply.body;
        return reply.json;
    }

    std::string segmentPath(const Json& playback, int bitrate, std::int64_t n)
    {
        return "/api/v1/streams/" + playback["kind"].get<std::string>() + "/" +
               playback["id"].get<std::string>() + "/segments/" + std::to_string(bitrate) + "/" +
               std::to_string(n);
    }

    std::unique_ptr<TestClient> demo_;
    const Channel* live_ = nullptr;
};

TEST_F(PlaybackHttp, SegmentDecryptsWithTheUnwrappedKeyToValidAdtsGrowingWithTheBitrateIndex)
{
    const Json playback = tune({{"mode", 0}, {"channelId", live_->id}, {"playLive", true}});
    EXPECT_EQ(playback["startSegment"], kStartMs / 10000);
    const Reply keyReply = demo_->get("/api/v1/keys/" + playback["keyId"].get<std::string>());
    ASSERT_EQ(keyReply.status, 200);
    EXPECT_EQ(keyReply.json["wrappedKey"], playback["wrappedKey"]);
    EXPECT_EQ(keyReply.json["wrappedKey"].get<std::string>().size(), 32u);
    EXPECT_EQ(demo_->get("/api/v1/keys/key-nope").status, 404);

    const std::string key =
        aes(GCRY_CIPHER_MODE_ECB, fromHex(kFixedKeyHex), "", fromHex(playback["wrappedKey"]));
    bool negative = false, positive = false;
    for (std::int64_t n = playback["startSegment"].get<std::int64_t>() - 5;
         n <= playback["startSegment"]; ++n) {
        std::size_t previousSize = 0;
        for (int bitrate = 0; bitrate < 4; ++bitrate) {
            const Reply encrypted = demo_->get(segmentPath(playback, bitrate, n));
            ASSERT_EQ(encrypted.status, 200) << encrypted.body;
            EXPECT_GT(encrypted.body.size(), previousSize) << "bitrate index " << bitrate;
            previousSize = encrypted.body.size();
            const Reply plain = client()->get("/admin/plaintext/live/" + live_->id + "/" +
                                              std::to_string(bitrate) + "/" + std::to_string(n));
            ASSERT_EQ(plain.status, 200);
            ASSERT_EQ(encrypted.body.size() % 16, 0u);
            const std::int32_t iv = ivHeader(encrypted);
            negative |= iv < 0;
            positive |= iv > 0;
            EXPECT_EQ(aes(GCRY_CIPHER_MODE_CBC, key, ivOf(iv), encrypted.body), plain.body);
            const AdtsCheck adts = checkAdts(plain.body);
            ASSERT_TRUE(adts.problem.empty()) << adts.problem;
            const double seconds = adts.frames * 1024.0 / adts.sampleRate;
            EXPECT_GT(seconds, 9.5);
            EXPECT_LT(seconds, 10.5);
        }
    }
    EXPECT_TRUE(negative && positive) << "both signs of initialisation values occur";
    EXPECT_EQ(demo_->get(segmentPath(playback, 4, playback["startSegment"])).status, 400);
}

TEST_F(PlaybackHttp, LiveEdgeFollowsTheClockWithinTheRewindWindow)
{
    const Json playback = tune({{"mode", 0}, {"channelId", live_->id}, {"playLive", true}});
    const std::int64_t live = playback["liveSegment"];
    EXPECT_EQ(demo_->get(segmentPath(playback, 1, live + 1)).status, 404);
    advance(10000);
    EXPECT_EQ(demo_->get(segmentPath(playback, 1, live + 1)).status, 200);
    EXPECT_EQ(playback["lastSegment"].get<std::int64_t>() -
                  playback["firstSegment"].get<std::int64_t>() + 1,
              5 * 3600 / 10);
    const Reply old =
        demo_->get(segmentPath(playback, 1, playback["firstSegment"].get<std::int64_t>() - 1));
    EXPECT_EQ(old.status, 410);
    EXPECT_EQ(old.json["error"]["name"], "SEGMENT_NOT_AVAILABLE");
}

TEST_F(PlaybackHttp, TuneStartBeginsTheSongOnAirUnlessSwitchedOffOrLiveAsked)
{
    const Track onAir =
        server_->catalog().liveTrack(*live_, server_->catalog().liveTrackIndexAt(*live_, kStartMs));
    EXPECT_EQ(tune({{"mode", 0}, {"channelId", live_->id}})["startPosition"], onAir.startMs);
    EXPECT_EQ(tune({{"mode", 0}, {"channelId", live_->id}, {"playLive", true}})["startPosition"],
              kStartMs);
    ASSERT_EQ(
        demo_->post("/api/v1/settings", {{"settings", {{{"name", "TuneStart"}, {"value", "off"}}}}})
            .status,
        200);
    EXPECT_EQ(tune({{"mode", 0}, {"channelId", live_->id}})["startPosition"], kStartMs);
}

TEST_F(PlaybackHttp, MetadataAtAPositionMatchesTheCutOnAir)
{
    const Json cuts = demo_->get("/api/v1/pdt/cuts?channelIds=" + live_->id).json["cuts"];
    const Json& onAir = cuts[1];
    const std::int64_t position = onAir["time"].get<std::int64_t>() + 1000;
    const Reply reply = demo_->get("/api/v1/streams/live/" + live_->id +
                                   "/metadata?position=" + std::to_string(position));
    ASSERT_EQ(reply.status, 200);
    EXPECT_EQ(reply.json["track"]["track"], onAir["title"]);
    EXPECT_EQ(reply.json["track"]["artist"], onAir["artist"]);
    EXPECT_EQ(reply.json["timebar"]["startTimestamp"], onAir["time"].get<std::int64_t>() / 1000);
    EXPECT_EQ(reply.json["timebar"]["currentTimestamp"], position / 1000);
    EXPECT_EQ(reply.json["timebar"]["duration"], onAir["duration"]);
}

TEST_F(PlaybackHttp, SkipBudgetRunsOutWithTheServicesRefusalAndRefillsAfterAnHour)
{
    tune({{"mode", 0}, {"channelId", live_->id}});
    std::int64_t position = kStartMs - 3600 * 1000;
    for (int left = 5; left >= 0; --left) {
        const Json reply = skip("previous", position);
        ASSERT_EQ(reply["result"], left) << reply.dump();
        position -= 600 * 1000;
    }
    Json refused = skip("previous", position);
    EXPECT_EQ(refused["result"], -118);
    EXPECT_EQ(refused["text"],
              "error/Skip limit reached, more skips available until: 2026-11-22T13:00:00.000");
    advance(3600 * 1000);
    EXPECT_EQ(skip("previous", position)["result"], 5);
}

TEST_F(PlaybackHttp, NextAndPreviousOnALiveChannel)
{
    tune({{"mode", 0}, {"channelId", live_->id}});
    EXPECT_EQ(skip("next", kStartMs)["result"], -17);
    EXPECT_EQ(skip("next", kStartMs)["text"], "error/Already at live");

    const Catalog& catalog = server_->catalog();
    const std::int64_t index = catalog.liveTrackIndexAt(*live_, kStartMs - 1800 * 1000);
    const Track before = catalog.liveTrack(*live_, index - 1);
    const Track current = catalog.liveTrack(*live_, index);
    const Track next = catalog.liveTrack(*live_, index + 1);
    const std::string guid = "," + live_->assetGuid;
    EXPECT_EQ(skip("next", current.startMs + 1000)["text"], utcText(next.startMs) + guid);
    EXPECT_EQ(skip("previous", current.startMs + 10000)["text"], utcText(current.startMs) + guid)
        << "well into a track, previous restarts it";
    EXPECT_EQ(skip("previous", current.startMs + 2000)["text"], utcText(before.startMs) + guid)
        << "at the start of a track, previous goes to the one before";
    const Json goLive = skip("next", kStartMs - 1);
    EXPECT_EQ(goLive["text"], "goLive");
    EXPECT_EQ(goLive["result"], 3) << "going live costs no skip";

    const std::int64_t windowStart = kStartMs - 5 * 3600 * 1000 + 10000;
    EXPECT_EQ(skip("previous", windowStart + 1000)["result"], -119);
}

TEST_F(PlaybackHttp, EpisodeAndXtraSkipsNameTheirTargets)
{
    const Episode& episode = server_->catalog().episodes()[0];
    tune({{"mode", 1},
          {"channelId", episode.record.channelId},
          {"accessControlId", episode.record.assetGuid}});
    const Json next = skip("next", 1000);
    EXPECT_EQ(next["text"],
              std::to_string(episode.parts[1].startMs) + "," + episode.record.assetGuid);
    EXPECT_EQ(skip("previous", 1000)["result"], -119);

    const Channel& xtra = server_->catalog().xtraChannels()[0];
    const Json playback = tune({{"mode", 2}, {"assetGuid", xtra.xtraTracks[3].trackId}});
    EXPECT_EQ(playback["startPosition"], xtra.xtraTracks[3].startMs);
    EXPECT_EQ(playback["startOffsetMs"], 0);
    EXPECT_EQ(skip("next", xtra.xtraTracks[3].startMs)["text"],
              "xtra;" + xtra.xtraTracks[4].trackId);
    EXPECT_EQ(skip("previous", xtra.xtraTracks[3].startMs + 1000)["text"],
              "xtra;" + xtra.xtraTracks[2].trackId);
    const Json last = playback["tracks"].back();
    EXPECT_EQ(skip("next", last["startMs"].get<std::int64_t>())["result"], -119);
}

TEST_F(PlaybackHttp, SkipsWithoutPlaybackOrWhenNotAllowedAreRefused)
{
    EXPECT_EQ(skip("next", kStartMs)["result"], -3);
    tune({{"mode", 0}, {"channelId", live_->id}});
    ASSERT_EQ(client()->post("/admin/faults", {{"skipsNotAllowed", true}}).status, 200);
    EXPECT_EQ(skip("previous", kStartMs - 600000)["result"], -4);
    ASSERT_EQ(demo_->post("/api/v1/playback/stop", Json::object()).status, 200);
    EXPECT_EQ(
        demo_->post("/api/v1/playback/segment-time", {{"direction", "sideways"}, {"position", 1}})
            .status,
        400);
}

TEST_F(PlaybackHttp, TuneRefusesUnknownRestrictedOrMalformedRequests)
{
    EXPECT_EQ(demo_->post("/api/v1/playback/tune", {{"mode", 0}, {"channelId", "nope"}}).status,
              404);
    EXPECT_EQ(demo_->post("/api/v1/playback/tune", {{"mode", 7}}).status, 400);
    EXPECT_EQ(demo_
                  ->post("/api/v1/playback/tune",
                         {{"mode", 0}, {"channelId", live_->id}, {"timestamp", "yesterday"}})
                  .status,
              400);
    for (const Channel& channel : server_->catalog().channels()) {
        if (channel.records[0].geoRestrictions != 0) {
            const Reply reply =
                demo_->post("/api/v1/playback/tune", {{"mode", 0}, {"channelId", channel.id}});
            EXPECT_EQ(reply.status, 403);
            EXPECT_EQ(reply.json["error"]["name"], "GEO_RESTRICTED");
            break;
        }
    }
}

TEST_F(PlaybackHttp, StandardDecoderPlaysTheSegment)
{
    const Reply plain = client()->get("/admin/plaintext/live/" + live_->id + "/1/" +
                                      std::to_string(kStartMs / 10000));
    ASSERT_EQ(plain.status, 200);
    const std::string path = ::testing::TempDir() + "sxm_segment_" + std::to_string(port_) + ".aac";
    {
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"),
                                                             &std::fclose);
        ASSERT_TRUE(file);
        std::fwrite(plain.body.data(), 1, plain.body.size(), file.get());
    }
    if (std::system("ffmpeg -version > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "ffmpeg is not installed";
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

} // namespace
} // namespace sxm::service::test
