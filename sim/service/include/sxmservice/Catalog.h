// The simulated service's content: genres, live and Xtra channels, shows, episodes, categories,
// For You, and the deterministic track schedules behind program data and audio. Everything is
// generated from a seed in the constructor and never changes afterwards: safe from any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace sxm::service {

/// The client library's numbering of content kinds.
enum class AssetType : int
{
    LiveChannel = 0,
    Show = 1,
    Episode = 2,
    XtraChannel = 3, ///< a channel listed with the Xtra channels
    Category = 4,
};

struct Logo
{
    std::string resourceType;
    std::string url; ///< empty for some logos, as the real service sends them
    int width = 0;
    int height = 0;
};

/// One content record with every field of the client library's content record. Image URLs that
/// start with "/" are relative to the service's base URL and made absolute when sent.
struct Content
{
    AssetType assetType = AssetType::LiveChannel;
    std::string assetGuid;
    std::string category;
    std::string categoryKey;
    int categorySortOrder = 0;
    std::string genre;
    std::string genreKey;
    std::string genreIcon;
    int genreSortOrder = 0;
    std::string title;
    std::string description;
    std::vector<Logo> logos;
    std::string channelGuid;
    std::string channelId;
    std::string streamingName;
    int siriusChannelNumber = 0;
    int xmChannelNumber = 0;
    int geoRestrictions = 0;
    int sortOrder = 0;
    int inactivityTimeout = 0; ///< seconds without user activity before playback stops; 0 = never
    bool isAvailable = true;
    bool isFavorite = false; ///< per account: filled in when a record is sent
    bool isXtra = false;
    std::string showGuid;
    int newEpisodeCount = 0;
    int episodeCount = 0;
    std::string episodeGuid;
    std::string expireDate;        ///< ISO 8601 UTC, or empty
    std::string originalAiredDate; ///< ISO 8601 UTC, or empty for specials
    int duration = 0;              ///< seconds
    int percentConsumed = 0;
};

struct Genre
{
    std::string name;
    std::string key;
    std::string icon;
    int sortOrder = 0;
    std::string category;
    std::string categoryKey;
    int categorySortOrder = 0;
    bool music = true;
};

/// A track of a music channel, or a spoken segment of a talk channel or an episode.
struct Track
{
    std::string trackId; ///< also the asset GUID of an Xtra track
    std::string artist;
    std::string title;
    std::string album;
    std::int64_t startMs = 0; ///< on the stream's time axis (epoch ms for live channels)
    int durationMs = 0;
    int tone = 0; ///< which embedded audio clip plays during this track
    std::string artUrl;
};

struct Channel
{
    std::string id;
    std::string assetGuid;
    std::string name;
    bool xtra = false;
    bool talk = false;
    int number = 0;
    /// Live: one record per genre, primary first. Xtra: one per genre, then the "allxtra" record.
    std::vector<Content> records;
    /// Tones 0/1 are mono, 2/3 stereo: a channel keeps its layout from segment to segment.
    int toneBase = 0;
    // Live schedule: a cycle of track lengths repeated from phaseMs on; names differ per cycle.
    std::vector<int> cycleDurationsMs;
    std::vector<std::int64_t> cycleStartsMs; ///< offset of each track within the cycle
    std::int64_t cycleMs = 0;
    std::int64_t phaseMs = 0;
    /// Xtra: the finite track list; every track is a whole number of segments long.
    std::vector<Track> xtraTracks;
};

struct Show
{
    Content record;
    int channel = 0; ///< index into Catalog::channels()
    std::vector<int> episodes;
};

struct Episode
{
    Content record;
    int show = 0;
    /// The episode's spoken segments, on its own axis starting at 0.
    std::vector<Track> parts;
};

class Catalog
{
public:
    /// Audio segments are this long; segment n of a live channel is live from n * kSegmentMs on.
    static constexpr std::int64_t kSegmentMs = 10000;

    /// Builds the whole catalog. `channelCount` live channels (clamped to 1..5000) spread over up
    /// to ten genres; air and expiry dates are relative to `anchorMs` (epoch ms).
    Catalog(std::uint64_t seed, int channelCount, std::int64_t anchorMs);
    // The lookup tables point into the vectors: a copy would point into the original.
    Catalog(const Catalog&) = delete;
    Catalog& operator=(const Catalog&) = delete;

    std::uint64_t seed() const { return m_seed; }
    std::int64_t anchorMs() const { return m_anchorMs; }

    const std::vector<Genre>& genres() const { return m_genres; }
    const std::vector<Channel>& channels() const { return m_channels; }
    const std::vector<Channel>& xtraChannels() const { return m_xtraChannels; }
    const std::vector<Show>& shows() const { return m_shows; }
    const std::vector<Episode>& episodes() const { return m_episodes; }
    /// One category record (asset type 4) per genre.
    const std::vector<Content>& categories() const { return m_categories; }
    /// For You items; each record's `category` is the group it is shown under.
    const std::vector<Content>& forYou() const { return m_forYou; }

    /// The line-up as sent: every live channel by number with all its records, then every Xtra
    /// channel with its genre records and its "allxtra" record.
    std::vector<const Content*> lineup() const;

    /// A live or Xtra channel by channel id or by its asset GUID.
    const Channel* findChannel(std::string_view idOrAssetGuid) const;
    const Show* findShow(std::string_view guid) const;
    const Episode* findEpisode(std::string_view guid) const;
    const Genre* findGenre(std::string_view key) const;

    struct XtraTrackRef
    {
        const Channel* channel = nullptr;
        int track = 0;
    };
    std::optional<XtraTrackRef> findXtraTrack(std::string_view trackGuid) const;

    /// The live schedule: the track on air at `ms`, and tracks by their running index.
    std::int64_t liveTrackIndexAt(const Channel& channel, std::int64_t ms) const;
    Track liveTrack(const Channel& channel, std::int64_t index) const;

private:
    friend class CatalogBuilder;

    std::uint64_t m_seed;
    std::int64_t m_anchorMs;
    std::vector<Genre> m_genres;
    std::vector<Channel> m_channels;
    std::vector<Channel> m_xtraChannels;
    std::vector<Show> m_shows;
    std::vector<Episode> m_episodes;
    std::vector<Content> m_categories;
    std::vector<Content> m_forYou;
    std::unordered_map<std::string, const Channel*> m_channelIndex;
    std::unordered_map<std::string, int> m_showIndex;
    std::unordered_map<std::string, int> m_episodeIndex;
    std::unordered_map<std::string, XtraTrackRef> m_xtraTrackIndex;
};

} // namespace sxm::service
