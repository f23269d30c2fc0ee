#include "sxmservice/Catalog.h"

#include "Determinism.h"
#include "Names.h"
#include "TimeText.h"

#include <algorithm>
#include <cctype>

namespace sxm::service {
namespace {

constexpr std::int64_t kHourMs = 3600LL * 1000;
constexpr std::int64_t kDayMs = 24 * kHourMs;

struct GenreSeed
{
    const char* name;
    const char* key;
    const char* category;
    const char* categoryKey;
    int categorySortOrder;
    bool music;
};

// Sort orders deliberately differ from alphabetical order, as the service's do.
const GenreSeed kGenres[] = {
    {"Pop", "pop", "Music", "music", 1, true},
    {"Rock", "rock", "Music", "music", 1, true},
    {"Hip-Hop/R&B", "hiphop", "Music", "music", 1, true},
    {"Country", "country", "Music", "music", 1, true},
    {"Jazz & Standards", "jazz", "Music", "music", 1, true},
    {"Latino", "latino", "Music", "music", 1, true},
    {"Classical", "classical", "Music", "music", 1, true},
    {"News & Issues", "news", "News & Issues", "newsissues", 2, false},
    {"Sports", "sports", "Sports", "sports", 3, false},
    {"Comedy", "comedy", "Talk & Entertainment", "talkentertainment", 4, false},
};
constexpr int kGenreCount = static_cast<int>(sizeof kGenres / sizeof kGenres[0]);

std::string slug(const std::string& text)
{
    std::string out;
    for (unsigned char c : text) {
        if (std::isalnum(c)) {
            out.push_back(static_cast<char>(std::tolower(c)));
        }
    }
    return out.empty() ? std::string("x") : out;
}

std::string upperSlug(const std::string& text)
{
    std::string out = slug(text);
    std::transform(out.begin(), out.end(), out.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return out;
}

// Four sizes; a few channels miss the small one or all of them, as real line-ups do.
std::vector<Logo> makeLogos(const std::string& base, int variant)
{
    static const int sizes[] = {60, 150, 300, 720};
    std::vector<Logo> logos;
    for (int size : sizes) {
        Logo logo;
        logo.resourceType = "image/png";
        logo.width = size;
        logo.height = size;
        const bool missing = (variant % 11 == 5) || (variant % 4 == 0 && size == 60);
        if (!missing) {
            logo.url = base + "/" + std::to_string(size) + "x" + std::to_string(size) + ".png";
        }
        logos.push_back(logo);
    }
    // The service lists the largest first; clients must not rely on the order.
    std::reverse(logos.begin(), logos.end());
    return logos;
}

void setGenre(Content& record, const Genre& genre)
{
    record.category = genre.category;
    record.categoryKey = genre.categoryKey;
    record.categorySortOrder = genre.categorySortOrder;
    record.genre = genre.name;
    record.genreKey = genre.key;
    record.genreIcon = genre.icon;
    record.genreSortOrder = genre.sortOrder;
}

} // namespace

class CatalogBuilder
{
public:
    CatalogBuilder(Catalog& catalog, int channelCount)
        : m_catalog(catalog)
        , m_channelCount(std::clamp(channelCount, 1, 5000))
    {}

    void build()
    {
        makeGenres();
        makeLiveChannels();
        makeXtraChannels();
        makeShowsAndEpisodes();
        makeCategories();
        makeForYou();
        index();
    }

private:
    Rng rngFor(std::string_view label, std::uint64_t extra = 0) const
    {
        return Rng(hashCombine(hashText(label, m_catalog.m_seed), extra));
    }

    void makeGenres()
    {
        const int used = std::min(kGenreCount, m_channelCount);
        for (int g = 0; g < used; ++g) {
            const GenreSeed& seed = kGenres[g];
            Genre genre;
            genre.name = seed.name;
            genre.key = seed.key;
            genre.icon = std::string("/images/genres/") + seed.key + ".png";
            genre.sortOrder = (g % 2 == 0) ? 10 + g : 100 - g;
            genre.category = seed.category;
            genre.categoryKey = seed.categoryKey;
            genre.categorySortOrder = seed.categorySortOrder;
            genre.music = seed.music;
            m_catalog.m_genres.push_back(genre);
        }
    }

    void makeLiveChannels()
    {
        const int genreCount = static_cast<int>(m_catalog.m_genres.size());
        std::vector<int> perGenre(static_cast<std::size_t>(genreCount), 0);
        for (int i = 0; i < m_channelCount; ++i) {
            const int primary =
                static_cast<int>(static_cast<long long>(i) * genreCount / m_channelCount);
            const Genre& genre = m_catalog.m_genres[static_cast<std::size_t>(primary)];
            Rng rng = rngFor("channel", static_cast<std::uint64_t>(i));
            Channel channel;
            channel.name =
                names::channelName(genre.key, perGenre[static_cast<std::size_t>(primary)]++);
            channel.id = slug(channel.name);
            channel.talk = !genre.music;
            channel.number = 2 + i + i / 7; // gaps in the numbering, as in a real line-up
            channel.assetGuid = guidFromHash(hashText("asset/" + channel.id, m_catalog.m_seed));
            channel.toneBase = rng.percent(40) ? 0 : 2;

            Content base;
            base.assetType = AssetType::LiveChannel;
            base.assetGuid = channel.assetGuid;
            base.title = channel.name;
            base.description = names::channelDescription(genre.key, rng);
            base.logos = makeLogos("/images/channels/" + channel.id, i);
            base.channelGuid = guidFromHash(hashText("channel/" + channel.id, m_catalog.m_seed));
            base.channelId = channel.id;
            base.streamingName = upperSlug(channel.name);
            base.siriusChannelNumber = channel.number;
            base.xmChannelNumber = (i % 9 == 4) ? channel.number + 100 : channel.number;
            base.geoRestrictions = (i % 13 == 7) ? 1 : 0;
            base.sortOrder = channel.number;
            base.inactivityTimeout = (i % 3 == 0) ? 3600 : (i % 7 == 1 ? 5400 : 0);

            std::vector<int> genreIndexes = {primary};
            if (genreCount > 1 && (i % 5 == 1 || i % 17 == 3)) {
                genreIndexes.push_back((primary + 1) % genreCount);
            }
            if (genreCount > 3 && i % 17 == 3) {
                genreIndexes.push_back((primary + 3) % genreCount);
            }
            for (int g : genreIndexes) {
                Content record = base;
                setGenre(record, m_catalog.m_genres[static_cast<std::size_t>(g)]);
                channel.records.push_back(record);
            }
            makeLiveSchedule(channel, rng);
            m_catalog.m_channels.push_back(std::move(channel));
        }
    }

    void makeLiveSchedule(Channel& channel, Rng& rng)
    {
        const int count = 24;
        std::int64_t offset = 0;
        for (int t = 0; t < count; ++t) {
            // Songs of 2 to 7 minutes; talk segments of 5 to 20.
            const int seconds = channel.talk ? rng.between(300, 1200) : rng.between(120, 420);
            channel.cycleDurationsMs.push_back(seconds * 1000);
            channel.cycleStartsMs.push_back(offset);
            offset += seconds * 1000LL;
        }
        channel.cycleMs = offset;
        channel.phaseMs =
            static_cast<std::int64_t>(rng.next() % static_cast<std::uint64_t>(offset));
    }

    void makeXtraChannels()
    {
        std::vector<int> musicGenres;
        for (int g = 0; g < static_cast<int>(m_catalog.m_genres.size()); ++g) {
            if (m_catalog.m_genres[static_cast<std::size_t>(g)].music) {
                musicGenres.push_back(g);
            }
        }
        if (musicGenres.empty()) {
            return;
        }
        Genre allXtra;
        allXtra.name = "All Xtra";
        allXtra.key = "allxtra";
        allXtra.icon = "/images/genres/allxtra.png";
        allXtra.category = "Music";
        allXtra.categoryKey = "music";
        allXtra.categorySortOrder = 1;

        const int count = std::max(4, m_channelCount / 6);
        std::vector<int> perGenre(m_catalog.m_genres.size(), 0);
        for (int x = 0; x < count; ++x) {
            const int g = musicGenres[static_cast<std::size_t>(x) % musicGenres.size()];
            const Genre& genre = m_catalog.m_genres[static_cast<std::size_t>(g)];
            Rng rng = rngFor("xtra", static_cast<std::uint64_t>(x));
            Channel channel;
            channel.xtra = true;
            channel.name = names::xtraName(genre.name, perGenre[static_cast<std::size_t>(g)]++);
            channel.id = "xtra-" + slug(channel.name);
            channel.assetGuid = guidFromHash(hashText("asset/" + channel.id, m_catalog.m_seed));
            channel.toneBase = rng.percent(50) ? 0 : 2;

            Content base;
            base.assetType = AssetType::XtraChannel;
            base.assetGuid = channel.assetGuid;
            base.title = channel.name;
            base.description = "Personalised " + genre.name + " mix, skip as you like";
            base.logos = makeLogos("/images/xtra/" + channel.id, x + 1);
            base.channelGuid = guidFromHash(hashText("channel/" + channel.id, m_catalog.m_seed));
            base.channelId = channel.id;
            base.streamingName = upperSlug(channel.name);
            base.sortOrder = x + 1;
            base.inactivityTimeout = (x % 2 == 0) ? 3600 : 0;
            base.isXtra = true;

            std::vector<int> genreIndexes = {g};
            if (musicGenres.size() > 1 && x % 4 == 2) {
                genreIndexes.push_back(
                    musicGenres[(static_cast<std::size_t>(x) + 1) % musicGenres.size()]);
            }
            for (int gi : genreIndexes) {
                Content record = base;
                setGenre(record, m_catalog.m_genres[static_cast<std::size_t>(gi)]);
                channel.records.push_back(record);
            }
            Content all = base;
            setGenre(all, allXtra);
            channel.records.push_back(all);

            const int tracks = rng.between(15, 30);
            std::int64_t start = 0;
            for (int t = 0; t < tracks; ++t) {
                Track track;
                track.trackId = guidFromHash(hashCombine(hashText(channel.id, m_catalog.m_seed),
                                                         static_cast<std::uint64_t>(t)));
                track.artist = names::musicArtist(rng);
                track.title = names::musicTitle(rng);
                track.album = names::albumTitle(rng);
                track.startMs = start;
                // Whole segments, so that a track starts exactly where a segment starts.
                track.durationMs = static_cast<int>(rng.between(12, 30) * Catalog::kSegmentMs);
                track.tone = channel.toneBase + (t % 2);
                track.artUrl = "/images/art/" + track.trackId + ".png";
                start += track.durationMs;
                channel.xtraTracks.push_back(track);
            }
            m_catalog.m_xtraChannels.push_back(std::move(channel));
        }
    }

    void makeShowsAndEpisodes()
    {
        for (int ci = 0; ci < static_cast<int>(m_catalog.m_channels.size()); ++ci) {
            if (ci % 3 != 0) {
                continue;
            }
            const Channel& channel = m_catalog.m_channels[static_cast<std::size_t>(ci)];
            Rng rng = rngFor("shows", static_cast<std::uint64_t>(ci));
            const int showCount = rng.between(1, 3);
            for (int s = 0; s < showCount; ++s) {
                makeShow(ci, channel, s, rng);
            }
        }
    }

    void makeShow(int channelIndex, const Channel& channel, int number, Rng& rng)
    {
        const int showIndex = static_cast<int>(m_catalog.m_shows.size());
        Show show;
        show.channel = channelIndex;
        Content& record = show.record;
        record = channel.records.front();
        record.assetType = AssetType::Show;
        record.title = names::showTitle(rng, channel.talk);
        if (number > 0) {
            record.title += " " + std::to_string(number + 1);
        }
        record.assetGuid = guidFromHash(
            hashText("show/" + channel.id + "/" + std::to_string(number), m_catalog.m_seed));
        record.showGuid = record.assetGuid;
        record.description = "On demand from " + channel.name;
        record.logos = makeLogos("/images/shows/" + record.assetGuid, showIndex + 1);
        record.inactivityTimeout = 0;
        record.geoRestrictions = 0;

        const int episodeCount = rng.between(2, 12);
        int fresh = 0;
        for (int e = 0; e < episodeCount; ++e) {
            Episode episode = makeEpisode(show, showIndex, e, episodeCount, channel.talk, rng);
            const std::int64_t aired = parseUtc(episode.record.originalAiredDate).value_or(0);
            if (aired != 0 && m_catalog.m_anchorMs - aired < 7 * kDayMs) {
                ++fresh;
            }
            show.episodes.push_back(static_cast<int>(m_catalog.m_episodes.size()));
            m_catalog.m_episodes.push_back(std::move(episode));
        }
        record.episodeCount = episodeCount;
        record.newEpisodeCount = fresh;
        m_catalog.m_shows.push_back(std::move(show));
    }

    // Air dates step back from the anchor; expiry dates cover today, tomorrow, later and never.
    Episode makeEpisode(const Show& show, int showIndex, int e, int count, bool talk, Rng& rng)
    {
        Episode episode;
        episode.show = showIndex;
        Content& record = episode.record;
        record = show.record;
        record.assetType = AssetType::Episode;
        record.title = names::episodeTitle(rng, count - e, talk);
        record.assetGuid = guidFromHash(hashCombine(
            hashText(show.record.assetGuid, m_catalog.m_seed), static_cast<std::uint64_t>(e)));
        record.episodeGuid = record.assetGuid;
        record.description = show.record.title + ", episode " + std::to_string(count - e);
        record.logos = (e % 3 == 2) ? std::vector<Logo>{}
                                    : makeLogos("/images/episodes/" + record.assetGuid, e + 1);
        record.episodeCount = 0;
        record.newEpisodeCount = 0;

        const bool special = (showIndex % 4 == 1) && e == count - 1;
        const std::int64_t aired =
            m_catalog.m_anchorMs - e * 3 * kDayMs - (showIndex % 3) * 20 * kHourMs - 3 * kHourMs;
        record.originalAiredDate = special ? std::string() : formatIsoUtc(aired);
        switch ((showIndex + e) % 6) {
        case 0:
            record.expireDate = formatIsoUtc(m_catalog.m_anchorMs + 5 * kHourMs); // today
            break;
        case 1:
            record.expireDate = formatIsoUtc(m_catalog.m_anchorMs + 30 * kHourMs); // tomorrow
            break;
        case 2:
            record.expireDate.clear(); // never
            break;
        default:
            record.expireDate = formatIsoUtc(m_catalog.m_anchorMs + (10 + 3 * e) * kDayMs);
            break;
        }
        record.duration = 1800 * rng.between(1, 4);
        record.percentConsumed = (e == 1) ? 40 : (e == 2 ? 100 : 0);

        const int parts = rng.between(3, 6);
        const std::int64_t total = record.duration * 1000LL;
        std::int64_t start = 0;
        for (int p = 0; p < parts; ++p) {
            Track part;
            part.trackId = guidFromHash(hashCombine(hashText(record.assetGuid, m_catalog.m_seed),
                                                    static_cast<std::uint64_t>(p)));
            part.artist = names::talkHost(rng);
            part.title = show.record.title + " - part " + std::to_string(p + 1);
            part.album = record.title;
            part.startMs = start;
            const std::int64_t end = (p == parts - 1) ? total : total * (p + 1) / parts;
            part.durationMs = static_cast<int>(end - start);
            part.tone = (p % 2) + (showIndex % 2 == 0 ? 0 : 2);
            part.artUrl = "/images/art/" + part.trackId + ".png";
            start = end;
            episode.parts.push_back(part);
        }
        return episode;
    }

    void makeCategories()
    {
        for (const Genre& genre : m_catalog.m_genres) {
            Content record;
            record.assetType = AssetType::Category;
            setGenre(record, genre);
            record.assetGuid = "category-" + genre.key;
            record.title = genre.name;
            record.description = genre.category + " • " + genre.name;
            record.logos = makeLogos("/images/genres/" + genre.key, genre.sortOrder);
            record.sortOrder = genre.sortOrder;
            m_catalog.m_categories.push_back(record);
        }
    }

    // Groups with spaces and apostrophes in their names, as the service's are.
    void makeForYou()
    {
        Rng rng = rngFor("foryou");
        auto addGroup = [this](const std::string& group, std::vector<Content> items) {
            for (Content& item : items) {
                item.category = group;
                item.categoryKey = slug(group);
                m_catalog.m_forYou.push_back(std::move(item));
            }
        };
        auto liveChannels = [&](int count) {
            std::vector<Content> items;
            for (int i = 0; i < count && !m_catalog.m_channels.empty(); ++i) {
                items.push_back(m_catalog
                                    .m_channels[static_cast<std::size_t>(
                                        rng.below(static_cast<int>(m_catalog.m_channels.size())))]
                                    .records.front());
            }
            return items;
        };
        auto xtra = [&](int count) {
            std::vector<Content> items;
            for (int i = 0; i < count && !m_catalog.m_xtraChannels.empty(); ++i) {
                items.push_back(m_catalog
                                    .m_xtraChannels[static_cast<std::size_t>(rng.below(
                                        static_cast<int>(m_catalog.m_xtraChannels.size())))]
                                    .records.front());
            }
            return items;
        };
        auto shows = [&](int count) {
            std::vector<Content> items;
            for (int i = 0; i < count && !m_catalog.m_shows.empty(); ++i) {
                items.push_back(m_catalog
                                    .m_shows[static_cast<std::size_t>(
                                        rng.below(static_cast<int>(m_catalog.m_shows.size())))]
                                    .record);
            }
            return items;
        };
        auto episodes = [&](int count) {
            std::vector<Content> items;
            for (int i = 0; i < count && !m_catalog.m_episodes.empty(); ++i) {
                items.push_back(m_catalog
                                    .m_episodes[static_cast<std::size_t>(
                                        rng.below(static_cast<int>(m_catalog.m_episodes.size())))]
                                    .record);
            }
            return items;
        };
        addGroup("Recommended for You", liveChannels(5));
        std::vector<Content> picks = liveChannels(3);
        for (Content& item : xtra(1)) {
            picks.push_back(std::move(item));
        }
        addGroup("Today's Top Picks", picks);
        std::vector<Content> rock = liveChannels(2);
        for (Content& item : shows(1)) {
            rock.push_back(std::move(item));
        }
        addGroup("Rock 'n' Roll Favorites", rock);
        addGroup("Shows You'll Love", shows(4));
        addGroup("New Episodes", episodes(4));
        addGroup("Xtra for You", xtra(3));
    }

    void index()
    {
        for (const Channel& channel : m_catalog.m_channels) {
            m_catalog.m_channelIndex.emplace(channel.id, &channel);
            m_catalog.m_channelIndex.emplace(channel.assetGuid, &channel);
        }
        for (const Channel& channel : m_catalog.m_xtraChannels) {
            m_catalog.m_channelIndex.emplace(channel.id, &channel);
            m_catalog.m_channelIndex.emplace(channel.assetGuid, &channel);
            for (int t = 0; t < static_cast<int>(channel.xtraTracks.size()); ++t) {
                m_catalog.m_xtraTrackIndex.emplace(
                    channel.xtraTracks[static_cast<std::size_t>(t)].trackId,
                    Catalog::XtraTrackRef{&channel, t});
            }
        }
        for (int s = 0; s < static_cast<int>(m_catalog.m_shows.size()); ++s) {
            m_catalog.m_showIndex.emplace(
                m_catalog.m_shows[static_cast<std::size_t>(s)].record.assetGuid, s);
        }
        for (int e = 0; e < static_cast<int>(m_catalog.m_episodes.size()); ++e) {
            m_catalog.m_episodeIndex.emplace(
                m_catalog.m_episodes[static_cast<std::size_t>(e)].record.assetGuid, e);
        }
    }

    Catalog& m_catalog;
    int m_channelCount;
};

Catalog::Catalog(std::uint64_t seed, int channelCount, std::int64_t anchorMs)
    : m_seed(seed)
    , m_anchorMs(anchorMs)
{
    CatalogBuilder(*this, channelCount).build();
}

std::vector<const Content*> Catalog::lineup() const
{
    std::vector<const Content*> records;
    for (const Channel& channel : m_channels) {
        for (const Content& record : channel.records) {
            records.push_back(&record);
        }
    }
    for (const Channel& channel : m_xtraChannels) {
        for (const Content& record : channel.records) {
            records.push_back(&record);
        }
    }
    return records;
}

const Channel* Catalog::findChannel(std::string_view idOrAssetGuid) const
{
    const auto found = m_channelIndex.find(std::string(idOrAssetGuid));
    return found == m_channelIndex.end() ? nullptr : found->second;
}

const Show* Catalog::findShow(std::string_view guid) const
{
    const auto found = m_showIndex.find(std::string(guid));
    return found == m_showIndex.end() ? nullptr : &m_shows[static_cast<std::size_t>(found->second)];
}

const Episode* Catalog::findEpisode(std::string_view guid) const
{
    const auto found = m_episodeIndex.find(std::string(guid));
    return found == m_episodeIndex.end() ? nullptr
                                         : &m_episodes[static_cast<std::size_t>(found->second)];
}

const Genre* Catalog::findGenre(std::string_view key) const
{
    for (const Genre& genre : m_genres) {
        if (genre.key == key) {
            return &genre;
        }
    }
    return nullptr;
}

std::optional<Catalog::XtraTrackRef> Catalog::findXtraTrack(std::string_view trackGuid) const
{
    const auto found = m_xtraTrackIndex.find(std::string(trackGuid));
    if (found == m_xtraTrackIndex.end()) {
        return std::nullopt;
    }
    return found->second;
}

std::int64_t Catalog::liveTrackIndexAt(const Channel& channel, std::int64_t ms) const
{
    if (channel.cycleMs <= 0) {
        return 0;
    }
    const std::int64_t since = ms - channel.phaseMs;
    std::int64_t cycle = since / channel.cycleMs;
    std::int64_t within = since % channel.cycleMs;
    if (within < 0) {
        within += channel.cycleMs;
        --cycle;
    }
    const auto next =
        std::upper_bound(channel.cycleStartsMs.begin(), channel.cycleStartsMs.end(), within);
    const std::int64_t position = (next - channel.cycleStartsMs.begin()) - 1;
    return cycle * static_cast<std::int64_t>(channel.cycleStartsMs.size()) + position;
}

Track Catalog::liveTrack(const Channel& channel, std::int64_t index) const
{
    const std::int64_t perCycle = static_cast<std::int64_t>(channel.cycleStartsMs.size());
    Track track;
    if (perCycle == 0) {
        return track;
    }
    std::int64_t cycle = index / perCycle;
    std::int64_t position = index % perCycle;
    if (position < 0) {
        position += perCycle;
        --cycle;
    }
    const std::size_t slot = static_cast<std::size_t>(position);
    track.startMs = channel.phaseMs + cycle * channel.cycleMs + channel.cycleStartsMs[slot];
    track.durationMs = channel.cycleDurationsMs[slot];
    // Names depend on the running index, so the schedule does not visibly repeat each cycle.
    const std::uint64_t key =
        hashCombine(hashText(channel.id, m_seed), static_cast<std::uint64_t>(index));
    Rng rng(key);
    track.trackId = guidFromHash(key);
    if (channel.talk) {
        track.artist = names::talkHost(rng);
        track.title = names::talkTopic(rng);
        track.album = channel.name;
    } else {
        track.artist = names::musicArtist(rng);
        track.title = names::musicTitle(rng);
        track.album = names::albumTitle(rng);
    }
    track.tone = channel.toneBase + static_cast<int>(position % 2);
    track.artUrl = "/images/art/" + track.trackId + ".png";
    return track;
}

} // namespace sxm::service
