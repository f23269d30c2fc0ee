#include "ContentRecords.h"

namespace sxmlib {
namespace {

int32_t int32Of(const Json& object, const char* name)
{
    return static_cast<int32_t>(jsonInt(object, name));
}

const char* textOf(const Json& object, const char* name, RecordArena& arena)
{
    return arena.text(jsonText(object, name));
}

/// The service's UTF-8 text as Latin-1, the encoding of every text outside the content records'
/// human-readable ones; a character Latin-1 lacks becomes "?", and so does a malformed sequence.
std::string toLatin1(const std::string& utf8)
{
    const auto byteAt = [&utf8](std::size_t i) {
        return static_cast<unsigned char>(utf8[i]);
    };
    const auto continues = [&](std::size_t i) {
        return i < utf8.size() && (byteAt(i) & 0xC0) == 0x80;
    };
    std::string latin1;
    latin1.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        const unsigned char lead = byteAt(i);
        if (lead < 0x80) {
            latin1 += static_cast<char>(lead);
            ++i;
        } else if ((lead == 0xC2 || lead == 0xC3) && continues(i + 1)) {
            // Exactly the characters 0x80 to 0xFF.
            latin1 += static_cast<char>(((lead & 0x03) << 6) | (byteAt(i + 1) & 0x3F));
            i += 2;
        } else {
            latin1 += '?';
            for (++i; continues(i); ++i) {
            }
        }
    }
    return latin1;
}

const char* latin1Of(const Json& object, const char* name, RecordArena& arena)
{
    return arena.text(toLatin1(jsonText(object, name)));
}

void fillLogos(const Json& item, sxm_content& content, RecordArena& arena)
{
    const Json& logos = jsonArray(item, "logos");
    content.logoCount = static_cast<int32_t>(logos.size());
    content.logos = arena.array<sxm_logo>(logos.size());
    for (std::size_t i = 0; i < logos.size(); ++i) {
        sxm_logo& logo = content.logos[i];
        logo.resourceType = textOf(logos[i], "resourceType", arena);
        // A logo announced without an image keeps a null url, as the header promises.
        const std::string url = jsonText(logos[i], "url");
        logo.url = url.empty() ? nullptr : arena.text(url);
        logo.width = int32Of(logos[i], "width");
        logo.height = int32Of(logos[i], "height");
    }
}

} // namespace

sxm_content toContent(const Json& item, RecordArena& arena)
{
    sxm_content content{};
    content.assetType = int32Of(item, "assetType");
    content.assetGuid = textOf(item, "assetGuid", arena);
    content.category = textOf(item, "category", arena);
    content.categoryKey = textOf(item, "categoryKey", arena);
    content.categorySortOrder = int32Of(item, "categorySortOrder");
    content.genre = textOf(item, "genre", arena);
    content.genreKey = textOf(item, "genreKey", arena);
    content.genreIcon = textOf(item, "genreIcon", arena);
    content.genreSortOrder = int32Of(item, "genreSortOrder");
    content.title = textOf(item, "title", arena);
    content.description = textOf(item, "description", arena);
    fillLogos(item, content, arena);
    content.channelGuid = textOf(item, "channelGuid", arena);
    content.channelId = textOf(item, "channelId", arena);
    content.streamingName = textOf(item, "streamingName", arena);
    content.siriusChannelNumber = int32Of(item, "siriusChannelNumber");
    content.xmChannelNumber = int32Of(item, "xmChannelNumber");
    content.geoRestrictions = int32Of(item, "geoRestrictions");
    content.sortOrder = int32Of(item, "sortOrder");
    content.inactivityTimeout = int32Of(item, "inactivityTimeout");
    content.isAvailable = jsonBool(item, "isAvailable");
    content.isFavorite = jsonBool(item, "isFavorite");
    content.isXtra = jsonBool(item, "isXtra");
    content.showGuid = textOf(item, "showGuid", arena);
    content.episodeCount = int32Of(item, "episodeCount");
    content.episodeGuid = textOf(item, "episodeGuid", arena);
    content.expireDate = textOf(item, "expireDate", arena);
    content.originalAiredDate = textOf(item, "originalAiredDate", arena);
    content.duration = int32Of(item, "duration");
    content.percentConsumed = int32Of(item, "percentConsumed");
    return content;
}

sxm_trackMetadata toTrackMetadata(const Json& track, RecordArena& arena)
{
    sxm_trackMetadata metadata{};
    metadata.album = latin1Of(track, "album", arena);
    metadata.artist = latin1Of(track, "artist", arena);
    metadata.track = latin1Of(track, "track", arena);
    metadata.trackDescription = latin1Of(track, "trackDescription", arena);
    metadata.trackId = textOf(track, "trackId", arena);
    const Json& art = jsonObject(track, "albumArt");
    metadata.albumArtUrl = textOf(art, "url", arena);
    metadata.albumArtResourceType = textOf(art, "resourceType", arena);
    metadata.albumArtWidth = int32Of(art, "width");
    metadata.albumArtHeight = int32Of(art, "height");
    return metadata;
}

sxm_timebarData toTimebar(const Json& timebar, int irNavClass, RecordArena& arena)
{
    sxm_timebarData data{};
    data.startTimestamp = jsonInt(timebar, "startTimestamp");
    data.currentTimestamp = jsonInt(timebar, "currentTimestamp");
    data.bufferTimestamp = jsonInt(timebar, "bufferTimestamp");
    data.duration = int32Of(timebar, "duration");
    data.irNavClass = irNavClass;
    const Json& segments = jsonArray(timebar, "segments");
    data.segmentCount = static_cast<int32_t>(segments.size());
    data.segments = arena.array<int64_t>(segments.size());
    for (std::size_t i = 0; i < segments.size(); ++i)
        data.segments[i] = segments[i].is_number() ? segments[i].get<int64_t>() : 0;
    data.isLive = jsonBool(timebar, "isLive");
    return data;
}

sxm_pdt_cuts toCut(const Json& cut, RecordArena& arena)
{
    sxm_pdt_cuts record{};
    record.time = jsonInt(cut, "time");
    record.duration = static_cast<int32_t>((jsonInt(cut, "duration") + 500) / 1000);
    record.channelId = textOf(cut, "channelId", arena);
    record.title = latin1Of(cut, "title", arena);
    record.artist = latin1Of(cut, "artist", arena);
    record.album = latin1Of(cut, "album", arena);
    return record;
}

} // namespace sxmlib
