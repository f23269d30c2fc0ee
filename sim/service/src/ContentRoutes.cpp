// The catalog as the client library lists it: line-up, categories, geo checks, shows, episodes,
// For You and search.
#include "ContentJson.h"
#include "ErrorCodes.h"
#include "Routes.h"

#include <algorithm>
#include <cctype>

namespace sxm::service {
namespace {

constexpr std::size_t kSearchLimitPerKind = 50;

std::string lowerAscii(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool containsFolded(const std::string& haystack, const std::string& foldedNeedle)
{
    return lowerAscii(haystack).find(foldedNeedle) != std::string::npos;
}

void lineup(Call& call)
{
    call.reply(itemsJson(call, call.ctx.m_catalog.lineup()));
}

void categories(Call& call)
{
    std::vector<const Content*> records;
    for (const Content& record : call.ctx.m_catalog.categories()) {
        records.push_back(&record);
    }
    call.reply(itemsJson(call, records));
}

void geoCheck(Call& call)
{
    const std::string id = call.req.matches[1];
    const Channel* channel = call.ctx.m_catalog.findChannel(id);
    if (!channel) {
        call.fail(404, errors::kNotFound, "NOT_FOUND", "Unknown channel \"" + id + "\"");
        return;
    }
    const int restrictions = channel->records.front().geoRestrictions;
    call.reply({{"channelId", channel->id},
                {"geoRestrictions", restrictions},
                {"restricted", restrictions != 0}});
}

void shows(Call& call)
{
    const Catalog& catalog = call.ctx.m_catalog;
    const std::string genre = call.req.get_param_value("genre");
    const std::string channelId = call.req.get_param_value("channelId");
    if (!genre.empty() && !catalog.findGenre(genre)) {
        call.fail(404, errors::kNotFound, "NOT_FOUND", "Unknown genre key \"" + genre + "\"");
        return;
    }
    const Channel* channel = channelId.empty() ? nullptr : catalog.findChannel(channelId);
    if (!channelId.empty() && !channel) {
        call.fail(404, errors::kNotFound, "NOT_FOUND", "Unknown channel \"" + channelId + "\"");
        return;
    }
    std::vector<const Content*> records;
    for (const Show& show : catalog.shows()) {
        const Channel& owner = catalog.channels()[static_cast<std::size_t>(show.channel)];
        const bool genreMatches =
            genre.empty() ||
            std::any_of(owner.records.begin(), owner.records.end(),
                        [&genre](const Content& r) { return r.genreKey == genre; });
        const bool channelMatches = !channel || &owner == channel;
        if (genreMatches && channelMatches) {
            records.push_back(&show.record);
        }
    }
    call.reply(itemsJson(call, records));
}

void episodes(Call& call)
{
    const std::string showId = call.req.get_param_value("showId");
    if (showId.empty()) {
        call.fail(400, errors::kBadRequest, "BAD_REQUEST", "Episodes need a showId parameter");
        return;
    }
    const Show* show = call.ctx.m_catalog.findShow(showId);
    if (!show) {
        call.fail(404, errors::kNotFound, "NOT_FOUND", "Unknown show \"" + showId + "\"");
        return;
    }
    std::vector<const Content*> records;
    for (int index : show->episodes) {
        records.push_back(&call.ctx.m_catalog.episodes()[static_cast<std::size_t>(index)].record);
    }
    Json body = itemsJson(call, records);
    body["showId"] = show->record.assetGuid;
    call.reply(std::move(body));
}

void forYou(Call& call)
{
    if (refuseDuringGupBypass(call)) {
        return;
    }
    std::vector<const Content*> records;
    for (const Content& record : call.ctx.m_catalog.forYou()) {
        records.push_back(&record);
    }
    call.reply(itemsJson(call, records));
}

template <typename Range, typename RecordOf>
void collectMatches(const Range& range, RecordOf recordOf, const std::string& folded,
                    std::vector<const Content*>& out)
{
    std::size_t found = 0;
    for (const auto& item : range) {
        const Content& record = recordOf(item);
        if (found < kSearchLimitPerKind && containsFolded(record.title, folded)) {
            out.push_back(&record);
            ++found;
        }
    }
}

void search(Call& call)
{
    if (call.ctx.m_faults.bypass().isSearchUnavailable) {
        call.fail(503, errors::kUnavailable, "SEARCH_UNAVAILABLE",
                  "Search is temporarily unavailable during a server update.");
        return;
    }
    const std::string text = call.req.get_param_value("q");
    if (text.find_first_not_of(" \t") == std::string::npos) {
        call.fail(400, errors::kBadRequest, "BAD_REQUEST", "Search needs a non-empty q parameter");
        return;
    }
    const std::string folded = lowerAscii(text);
    const Catalog& catalog = call.ctx.m_catalog;
    std::vector<const Content*> records;
    collectMatches(
        catalog.categories(), [](const Content& c) -> const Content& { return c; }, folded,
        records);
    collectMatches(
        catalog.channels(), [](const Channel& c) -> const Content& { return c.records.front(); },
        folded, records);
    collectMatches(
        catalog.xtraChannels(),
        [](const Channel& c) -> const Content& { return c.records.front(); }, folded, records);
    collectMatches(
        catalog.shows(), [](const Show& s) -> const Content& { return s.record; }, folded, records);
    collectMatches(
        catalog.episodes(), [](const Episode& e) -> const Content& { return e.record; }, folded,
        records);
    Json body = itemsJson(call, records);
    body["query"] = text;
    call.reply(std::move(body));
}

} // namespace

bool refuseDuringGupBypass(Call& call)
{
    if (!call.ctx.m_faults.bypass().anyGupBypass()) {
        return false;
    }
    call.fail(503, errors::kUnavailable, "GUP_UNAVAILABLE",
              "Your settings and preferences are temporarily unavailable during a server update.");
    return true;
}

Json itemsJson(const Call& call, const std::vector<const Content*>& records)
{
    const std::set<std::string> favorites =
        call.session ? call.ctx.m_accounts.favoriteKeys(call.user()) : std::set<std::string>{};
    Json items = Json::array();
    for (const Content* record : records) {
        items.push_back(contentToJson(*record, call.baseUrl, favorites));
    }
    return {{"items", std::move(items)}};
}

const Content* recordOf(const Catalog& catalog, AssetType type, const std::string& key)
{
    switch (type) {
    case AssetType::LiveChannel:
    case AssetType::XtraChannel: {
        const Channel* channel = catalog.findChannel(key);
        return channel ? &channel->records.front() : nullptr;
    }
    case AssetType::Show: {
        const Show* show = catalog.findShow(key);
        return show ? &show->record : nullptr;
    }
    case AssetType::Episode: {
        const Episode* episode = catalog.findEpisode(key);
        return episode ? &episode->record : nullptr;
    }
    case AssetType::Category:
        break;
    }
    return nullptr;
}

void registerContentRoutes(httplib::Server& server, ServiceContext& ctx)
{
    addRoute(server, ctx, Method::Get, "/api/v1/lineup", "lineup", Access::SignedIn, lineup);
    addRoute(server, ctx, Method::Get, "/api/v1/categories", "categories", Access::SignedIn,
             categories);
    addRoute(server, ctx, Method::Get, R"(/api/v1/channels/([^/]+)/geo)", "geo", Access::SignedIn,
             geoCheck);
    addRoute(server, ctx, Method::Get, "/api/v1/shows", "shows", Access::SignedIn, shows);
    addRoute(server, ctx, Method::Get, "/api/v1/episodes", "episodes", Access::SignedIn, episodes);
    addRoute(server, ctx, Method::Get, "/api/v1/foryou", "foryou", Access::SignedIn, forYou);
    addRoute(server, ctx, Method::Get, "/api/v1/search", "search", Access::SignedIn, search);
}

} // namespace sxm::service
