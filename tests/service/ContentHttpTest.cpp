// Line-up, lists, personal lists, settings, search and program data, over HTTP.
#include "ServiceFixture.h"

#include <algorithm>
#include <map>
#include <set>

namespace sxm::service::test {
namespace {

class ContentHttp : public ServiceFixture
{
protected:
    void SetUp() override
    {
        ServiceFixture::SetUp();
        demo_ = signedInClient();
    }

    Json items(const std::string& path)
    {
        const Reply reply = demo_->get(path);
        EXPECT_EQ(reply.status, 200) << path << ": " << reply.body;
        return reply.json["items"];
    }

    std::unique_ptr<TestClient> demo_;
};

TEST_F(ContentHttp, LineUpHasGenresMultiGenreChannelsXtraAndAllXtraRecords)
{
    const Json lineup = items("/api/v1/lineup");
    std::set<std::string> genres;
    std::map<std::string, int> recordsPerLiveChannel;
    std::set<int> numbers;
    int xtra = 0, allXtra = 0, withTimeout = 0, restricted = 0, emptyLogoUrls = 0;
    for (const Json& r : lineup) {
        ASSERT_EQ(r.size(), 31u) << "every record carries every field";
        if (r["genreKey"] == "allxtra") {
            ++allXtra;
            EXPECT_EQ(r["assetType"], 3);
            continue;
        }
        genres.insert(r["genreKey"].get<std::string>());
        if (r["assetType"] == 3) {
            ++xtra;
            EXPECT_TRUE(r["isXtra"].get<bool>());
            continue;
        }
        EXPECT_EQ(r["assetType"], 0);
        EXPECT_FALSE(r["channelId"].get<std::string>().empty());
        EXPECT_FALSE(r["category"].get<std::string>().empty());
        if (++recordsPerLiveChannel[r["channelId"]] == 1) {
            EXPECT_TRUE(numbers.insert(r["siriusChannelNumber"].get<int>()).second);
            withTimeout += r["inactivityTimeout"].get<int>() > 0;
            restricted += r["geoRestrictions"].get<int>() != 0;
        }
        EXPECT_EQ(r["logos"].size(), 4u);
        for (const Json& logo : r["logos"]) {
            emptyLogoUrls += logo["url"].get<std::string>().empty();
        }
    }
    EXPECT_EQ(recordsPerLiveChannel.size(), 60u);
    EXPECT_GE(genres.size(), 8u);
    EXPECT_LE(genres.size(), 10u);
    int inTwo = 0, inThree = 0;
    for (const auto& [id, count] : recordsPerLiveChannel) {
        inTwo += count == 2;
        inThree += count == 3;
    }
    EXPECT_GT(inTwo, 0);
    EXPECT_GT(inThree, 0);
    EXPECT_GT(xtra, 0);
    EXPECT_GT(allXtra, 0);
    EXPECT_GT(withTimeout, 0);
    EXPECT_LT(withTimeout, 60);
    EXPECT_GT(restricted, 0);
    EXPECT_GT(emptyLogoUrls, 0);
}

TEST_F(ContentHttp, ShowsFilterByGenreOrChannelAndRefuseUnknownOnes)
{
    const Json all = items("/api/v1/shows");
    ASSERT_FALSE(all.empty());
    const std::string channelId = all[0]["channelId"];
    for (const Json& show : items("/api/v1/shows?channelId=" + channelId)) {
        EXPECT_EQ(show["channelId"], channelId);
        EXPECT_EQ(show["assetType"], 1);
        EXPECT_GT(show["episodeCount"].get<int>(), 0);
    }
    const std::string genre = all[0]["genreKey"];
    EXPECT_FALSE(items("/api/v1/shows?genre=" + genre).empty());
    EXPECT_EQ(demo_->get("/api/v1/shows?genre=polka").status, 404);
    EXPECT_EQ(demo_->get("/api/v1/shows?channelId=nope").status, 404);
}

TEST_F(ContentHttp, EpisodesCarryAirAndExpiryDatesRelativeToNow)
{
    int today = 0, tomorrow = 0, later = 0, never = 0, specials = 0;
    const std::string todayText = "2026-11-22", tomorrowText = "2026-11-23";
    for (const Json& show : items("/api/v1/shows")) {
        const Json episodes =
            items("/api/v1/episodes?showId=" + show["assetGuid"].get<std::string>());
        EXPECT_EQ(static_cast<int>(episodes.size()), show["episodeCount"].get<int>());
        for (const Json& e : episodes) {
            EXPECT_EQ(e["assetType"], 2);
            EXPECT_GT(e["duration"].get<int>(), 0);
            const std::string expires = e["expireDate"];
            never += expires.empty();
            today += expires.rfind(todayText, 0) == 0;
            tomorrow += expires.rfind(tomorrowText, 0) == 0;
            later += !expires.empty() && expires > "2026-11-24";
            specials += e["originalAiredDate"].get<std::string>().empty();
            if (!expires.empty()) {
                EXPECT_EQ(expires.back(), 'Z') << "dates are UTC";
            }
        }
    }
    EXPECT_GT(today, 0);
    EXPECT_GT(tomorrow, 0);
    EXPECT_GT(later, 0);
    EXPECT_GT(never, 0);
    EXPECT_GT(specials, 0);
    EXPECT_EQ(demo_->get("/api/v1/episodes").status, 400);
    EXPECT_EQ(demo_->get("/api/v1/episodes?showId=nope").status, 404);
}

TEST_F(ContentHttp, ForYouGroupsByCategoryTextsWithSpacesAndApostrophes)
{
    std::set<std::string> groups;
    std::set<int> types;
    for (const Json& item : items("/api/v1/foryou")) {
        groups.insert(item["category"].get<std::string>());
        types.insert(item["assetType"].get<int>());
    }
    EXPECT_TRUE(groups.count("Today's Top Picks"));
    EXPECT_TRUE(groups.count("Rock 'n' Roll Favorites"));
    EXPECT_EQ(types, (std::set<int>{0, 1, 2, 3}));
}

TEST_F(ContentHttp, FavoritesChangeAllOrNothingAndShowInTheLineUp)
{
    const Json before = items("/api/v1/favorites");
    ASSERT_FALSE(before.empty());
    const std::string removed = before[0]["channelId"];
    const std::string added = items("/api/v1/lineup")[5]["channelId"];
    const Json change = {{"favorites",
                          {{{"assetType", 0}, {"channelId", removed}, {"changeType", 1}},
                           {{"assetType", 0}, {"channelId", added}, {"changeType", 0}}}}};
    ASSERT_EQ(demo_->post("/api/v1/favorites", change).status, 200);

    std::set<std::string> ids; // of the favorite channels; shows carry their channel's id too
    for (const Json& f : items("/api/v1/favorites")) {
        if (f["assetType"] == 0) {
            ids.insert(f["channelId"].get<std::string>());
        }
        EXPECT_TRUE(f["isFavorite"].get<bool>());
    }
    EXPECT_FALSE(ids.count(removed));
    EXPECT_TRUE(ids.count(added));
    for (const Json& r : items("/api/v1/lineup")) {
        if (r["channelId"] == added) {
            EXPECT_TRUE(r["isFavorite"].get<bool>());
        }
    }

    const Json partlyBad = {
        {"favorites",
         {{{"assetType", 0}, {"channelId", removed}, {"changeType", 0}},
          {{"assetType", 1}, {"assetGuid", "no-such-show"}, {"changeType", 0}}}}};
    const Reply refused = demo_->post("/api/v1/favorites", partlyBad);
    EXPECT_EQ(refused.status, 404);
    int channels = 0;
    for (const Json& f : items("/api/v1/favorites")) {
        channels += f["assetType"] == 0;
    }
    EXPECT_EQ(channels, static_cast<int>(ids.size())) << "nothing of a refused change applies";
    EXPECT_EQ(demo_->post("/api/v1/favorites", {{"favorites", Json::array()}}).status, 400);
}

TEST_F(ContentHttp, PlayingAddsARecentAndClearingEmptiesThem)
{
    const std::string channelId = items("/api/v1/lineup")[2]["channelId"];
    ASSERT_EQ(demo_->post("/api/v1/playback/tune", {{"mode", 0}, {"channelId", channelId}}).status,
              200);
    Json recents = items("/api/v1/recents");
    ASSERT_FALSE(recents.empty());
    EXPECT_EQ(recents[0]["channelId"], channelId);
    ASSERT_EQ(demo_->post("/api/v1/recents/clear", Json::object()).status, 200);
    EXPECT_TRUE(items("/api/v1/recents").empty());
}

TEST_F(ContentHttp, GlobalSettingsAreAnUpdatableNameValueList)
{
    const auto has = [](const Json& list, const char* name, const char* value) {
        return std::find(list.begin(), list.end(), Json{{"name", name}, {"value", value}}) !=
               list.end();
    };
    Reply reply = demo_->get("/api/v1/settings");
    ASSERT_EQ(reply.status, 200);
    EXPECT_TRUE(has(reply.json["settings"], "TuneStart", "on"));
    reply = demo_->post("/api/v1/settings",
                        {{"settings", {{{"name", "TuneStart"}, {"value", "off"}}}}});
    ASSERT_EQ(reply.status, 200);
    EXPECT_TRUE(has(reply.json["settings"], "TuneStart", "off"));
    reply = demo_->post("/api/v1/settings",
                        {{"settings", {{{"name", "TuneStart"}, {"value", "maybe"}}}}});
    EXPECT_EQ(reply.status, 400);
    EXPECT_EQ(reply.json["error"]["message"], "TuneStart must be \"on\" or \"off\", not \"maybe\"");
}

TEST_F(ContentHttp, SearchMatchesAnySubstringIgnoringCaseOverEveryKind)
{
    const Json channels = items("/api/v1/search?q=CAF%C3%A9");
    ASSERT_FALSE(channels.empty());
    for (const Json& item : channels) {
        EXPECT_NE(item["title"].get<std::string>().find("Caf"), std::string::npos);
    }
    std::set<int> types;
    for (const Json& item : items("/api/v1/search?q=o")) {
        types.insert(item["assetType"].get<int>());
    }
    EXPECT_EQ(types, (std::set<int>{0, 1, 2, 3, 4}));
    EXPECT_TRUE(items("/api/v1/search?q=zzzzqqq").empty());
    EXPECT_EQ(demo_->get("/api/v1/search?q=").status, 400);
}

TEST_F(ContentHttp, GeoCheckAnswersFromTheChannelsRestrictions)
{
    for (const Json& r : items("/api/v1/lineup")) {
        if (r["assetType"] != 0) {
            continue;
        }
        const Reply reply =
            demo_->get("/api/v1/channels/" + r["channelId"].get<std::string>() + "/geo");
        ASSERT_EQ(reply.status, 200);
        EXPECT_EQ(reply.json["restricted"].get<bool>(), r["geoRestrictions"].get<int>() != 0);
    }
    EXPECT_EQ(demo_->get("/api/v1/channels/nope/geo").status, 404);
}

TEST_F(ContentHttp, CutsForChosenChannelsGenreOrAllSurroundNow)
{
    const auto& channels = server_->catalog().channels();
    const std::string a = channels[0].id, b = channels[7].id;
    Reply reply = demo_->get("/api/v1/pdt/cuts?channelIds=" + a + "," + b + ",nope");
    ASSERT_EQ(reply.status, 200);
    EXPECT_EQ(reply.json["unknownChannelIds"], Json::array({"nope"}));
    ASSERT_EQ(reply.json["cuts"].size(), 6u);
    int current = 0;
    for (const Json& cut : reply.json["cuts"]) {
        EXPECT_TRUE(cut["channelId"] == a || cut["channelId"] == b);
        const std::int64_t time = cut["time"];
        current += time <= now() && now() < time + cut["duration"].get<std::int64_t>();
        EXPECT_FALSE(cut["title"].get<std::string>().empty());
    }
    EXPECT_EQ(current, 2) << "one cut of each channel is on air now";

    const Json byGenre =
        demo_->get("/api/v1/pdt/cuts?genre=" + channels[0].records[0].genreKey).json["cuts"];
    EXPECT_FALSE(byGenre.empty());
    EXPECT_EQ(demo_->get("/api/v1/pdt/cuts").json["cuts"].size(), 3 * channels.size());

    ASSERT_EQ(client()->post("/admin/faults", {{"cutShiftMs", 160000}}).status, 200);
    const Json shifted = demo_->get("/api/v1/pdt/cuts?channelIds=" + a).json["cuts"];
    EXPECT_EQ(shifted[1]["time"].get<std::int64_t>(),
              reply.json["cuts"][1]["time"].get<std::int64_t>() - 160000);
}

TEST_F(ContentHttp, SameSeedSameCatalogOtherSeedOtherCatalog)
{
    Options options;
    options.clock = [] {
        return kStartMs;
    };
    const Server same(options);
    options.seed = 2;
    const Server other(options);
    const auto& mine = server_->catalog().channels();
    ASSERT_EQ(same.catalog().channels().size(), mine.size());
    const Channel& channel = mine[4];
    EXPECT_EQ(same.catalog().channels()[4].id, channel.id);
    EXPECT_EQ(same.catalog().liveTrack(same.catalog().channels()[4], 100).title,
              server_->catalog().liveTrack(channel, 100).title);
    EXPECT_NE(other.catalog().channels()[4].assetGuid, channel.assetGuid);
}

} // namespace
} // namespace sxm::service::test
