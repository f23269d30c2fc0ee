#include "TuneInfo.h"

#include "HttpExchange.h"

namespace sxmlib {
namespace {

std::optional<StreamKind> kindOf(const std::string& text)
{
    if (text == "live")
        return StreamKind::Live;
    if (text == "episode")
        return StreamKind::Episode;
    if (text == "xtra")
        return StreamKind::Xtra;
    return std::nullopt;
}

void replaceAll(std::string& text, const std::string& what, const std::string& with)
{
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
}

} // namespace

std::optional<TuneInfo> TuneInfo::fromJson(const Json& playback)
{
    TuneInfo info;
    info.kindText = jsonText(playback, "kind");
    const auto kind = kindOf(info.kindText);
    info.id = jsonText(playback, "id");
    info.wrappedKey = jsonText(playback, "wrappedKey");
    info.segmentPath = jsonText(playback, "segmentPath");
    if (!kind || info.id.empty() || info.wrappedKey.empty() ||
        info.segmentPath.find("{segment}") == std::string::npos)
        return std::nullopt;
    info.kind = *kind;
    info.channelId = jsonText(playback, "channelId");
    info.assetGuid = jsonText(playback, "assetGuid");
    info.segmentDurationMs = jsonInt(playback, "segmentDurationMs", 10000);
    if (info.segmentDurationMs <= 0)
        info.segmentDurationMs = 10000;
    info.firstSegment = jsonInt(playback, "firstSegment");
    info.lastSegment = jsonInt(playback, "lastSegment");
    info.startSegment = jsonInt(playback, "startSegment", info.firstSegment);
    info.startPosition =
        jsonInt(playback, "startPosition", info.startSegment * info.segmentDurationMs);
    info.startOffsetMs = jsonInt(playback, "startOffsetMs");
    return info;
}

std::string TuneInfo::segmentUrlPath(int bitrateIndex, std::int64_t segment) const
{
    std::string path = segmentPath;
    replaceAll(path, "{bitrate}", std::to_string(bitrateIndex));
    replaceAll(path, "{segment}", std::to_string(segment));
    return path;
}

std::string TuneInfo::streamPath() const
{
    return "/streams/" + kindText + "/" + urlEncode(id);
}

} // namespace sxmlib
