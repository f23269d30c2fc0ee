// Program data: the cuts (tracks) of live channels around now, from each channel's schedule.
#include "ErrorCodes.h"
#include "Routes.h"

#include <algorithm>
#include <set>

namespace sxm::service {
namespace {

/// The client holds a cut back until this long after its stamp before it shows it.
constexpr std::int64_t kProgramDataDelayMs = 160000;

std::vector<std::string> splitList(const std::string& text)
{
    std::vector<std::string> parts;
    std::size_t at = 0;
    while (at <= text.size()) {
        const std::size_t end = std::min(text.find(',', at), text.size());
        if (end > at) {
            parts.push_back(text.substr(at, end - at));
        }
        at = end + 1;
    }
    return parts;
}

void appendCuts(const Catalog& catalog, const Channel& channel, std::int64_t nowMs,
                std::int64_t shiftMs, Json& cuts)
{
    // The track before, the one on air and the next one, so that a client holding cuts back
    // for the program-data delay still has the one that is audible now.
    const std::int64_t current = catalog.liveTrackIndexAt(channel, nowMs);
    for (std::int64_t index = current - 1; index <= current + 1; ++index) {
        const Track track = catalog.liveTrack(channel, index);
        cuts.push_back({{"time", track.startMs - shiftMs},
                        {"duration", track.durationMs},
                        {"channelId", channel.id},
                        {"title", track.title},
                        {"artist", track.artist},
                        {"album", track.album}});
    }
}

void cuts(Call& call)
{
    const Catalog& catalog = call.ctx.m_catalog;
    const std::string ids = call.req.get_param_value("channelIds");
    const std::string genre = call.req.get_param_value("genre");
    if (!genre.empty() && !catalog.findGenre(genre)) {
        call.fail(404, errors::kNotFound, "NOT_FOUND", "Unknown genre key \"" + genre + "\"");
        return;
    }
    std::vector<const Channel*> channels;
    std::set<const Channel*> seen;
    Json unknown = Json::array();
    const auto add = [&](const Channel* channel) {
        if (!channel->xtra && seen.insert(channel).second) {
            channels.push_back(channel);
        }
    };
    for (const std::string& id : splitList(ids)) {
        if (const Channel* channel = catalog.findChannel(id)) {
            add(channel);
        } else {
            unknown.push_back(id);
        }
    }
    for (const Channel& channel : catalog.channels()) {
        const bool inGenre =
            !genre.empty() &&
            std::any_of(channel.records.begin(), channel.records.end(),
                        [&genre](const Content& r) { return r.genreKey == genre; });
        if (inGenre || (ids.empty() && genre.empty())) {
            add(&channel);
        }
    }
    const std::int64_t shift = call.ctx.m_faults.cutShiftMs();
    Json list = Json::array();
    for (const Channel* channel : channels) {
        appendCuts(catalog, *channel, call.nowMs, shift, list);
    }
    call.reply({{"cuts", std::move(list)},
                {"programDataDelayMs", kProgramDataDelayMs},
                {"unknownChannelIds", std::move(unknown)}});
}

} // namespace

void registerProgramDataRoutes(httplib::Server& server, ServiceContext& ctx)
{
    addRoute(server, ctx, Method::Get, "/api/v1/pdt/cuts", "cuts", Access::SignedIn, cuts);
}

} // namespace sxm::service
