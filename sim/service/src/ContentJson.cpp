#include "ContentJson.h"

namespace sxm::service {

using Json = nlohmann::json;

std::string absoluteUrl(const std::string& baseUrl, const std::string& pathOrUrl)
{
    if (!pathOrUrl.empty() && pathOrUrl.front() == '/') {
        return baseUrl + pathOrUrl;
    }
    return pathOrUrl;
}

Json contentToJson(const Content& r, const std::string& baseUrl,
                   const std::set<std::string>& favoriteKeys)
{
    Json logos = Json::array();
    for (const Logo& logo : r.logos) {
        logos.push_back({{"resourceType", logo.resourceType},
                         {"url", absoluteUrl(baseUrl, logo.url)},
                         {"width", logo.width},
                         {"height", logo.height}});
    }
    const bool channel =
        r.assetType == AssetType::LiveChannel || r.assetType == AssetType::XtraChannel;
    const std::string& favoriteKey = channel ? r.channelId : r.assetGuid;
    const bool favorite =
        r.assetType != AssetType::Category && favoriteKeys.count(favoriteKey) != 0;
    return {
        {"assetType", static_cast<int>(r.assetType)},
        {"assetGuid", r.assetGuid},
        {"category", r.category},
        {"categoryKey", r.categoryKey},
        {"categorySortOrder", r.categorySortOrder},
        {"genre", r.genre},
        {"genreKey", r.genreKey},
        {"genreIcon", absoluteUrl(baseUrl, r.genreIcon)},
        {"genreSortOrder", r.genreSortOrder},
        {"title", r.title},
        {"description", r.description},
        {"logos", logos},
        {"channelGuid", r.channelGuid},
        {"channelId", r.channelId},
        {"streamingName", r.streamingName},
        {"siriusChannelNumber", r.siriusChannelNumber},
        {"xmChannelNumber", r.xmChannelNumber},
        {"geoRestrictions", r.geoRestrictions},
        {"sortOrder", r.sortOrder},
        {"inactivityTimeout", r.inactivityTimeout},
        {"isAvailable", r.isAvailable},
        {"isFavorite", favorite},
        {"isXtra", r.isXtra},
        {"showGuid", r.showGuid},
        {"newEpisodeCount", r.newEpisodeCount},
        {"episodeCount", r.episodeCount},
        {"episodeGuid", r.episodeGuid},
        {"expireDate", r.expireDate},
        {"originalAiredDate", r.originalAiredDate},
        {"duration", r.duration},
        {"percentConsumed", r.percentConsumed},
    };
}

Json trackToJson(const Track& track, const std::string& baseUrl)
{
    return {{"album", track.album},
            {"artist", track.artist},
            {"track", track.title},
            {"trackDescription", track.artist + " - " + track.title},
            {"trackId", track.trackId},
            {"albumArt",
             {{"url", absoluteUrl(baseUrl, track.artUrl)},
              {"resourceType", "image/png"},
              {"width", 300},
              {"height", 300}}}};
}

Json timebarToJson(const Catalog& catalog, const Stream& stream, std::int64_t positionMs,
                   std::int64_t nowMs, std::int64_t rewindMs)
{
    const PlacedTrack placed = trackAt(catalog, stream, positionMs);
    const SegmentRange range = segmentRange(stream, nowMs, rewindMs);
    Json segments = Json::array();
    std::int64_t bufferMs = 0;
    int irNavClass = 0;
    bool isLive = false;
    if (stream.kind == StreamKind::Live) {
        // Track starts from the one on air back to the start of the rewind window, newest last.
        const std::int64_t windowStart = range.first * Catalog::kSegmentMs;
        std::int64_t index = placed.index;
        std::vector<std::int64_t> starts;
        for (int n = 0; n < 64; ++n, --index) {
            const Track t = catalog.liveTrack(*stream.channel, index);
            if (t.startMs < windowStart) {
                break;
            }
            starts.push_back(t.startMs / 1000);
        }
        for (auto it = starts.rbegin(); it != starts.rend(); ++it) {
            segments.push_back(*it);
        }
        bufferMs = (range.last + 1) * Catalog::kSegmentMs;
        isLive = positionMs >= range.last * Catalog::kSegmentMs;
        irNavClass = 1;
    } else {
        const auto& tracks =
            stream.kind == StreamKind::Episode ? stream.episode->parts : stream.channel->xtraTracks;
        for (const Track& t : tracks) {
            segments.push_back(t.startMs / 1000);
        }
        bufferMs = streamLengthMs(stream);
        irNavClass = stream.kind == StreamKind::Episode ? 2 : 3;
    }
    return {{"startTimestamp", placed.track.startMs / 1000},
            {"currentTimestamp", positionMs / 1000},
            {"bufferTimestamp", bufferMs / 1000},
            {"duration", placed.track.durationMs},
            {"irNavClass", irNavClass},
            {"segments", segments},
            {"isLive", isLive}};
}

} // namespace sxm::service
