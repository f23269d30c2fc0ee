#include "Names.h"

#include <cstdio>
#include <map>
#include <vector>

namespace sxm::service::names {
namespace {

template <std::size_t N>
const char* pick(Rng& rng, const char* const (&words)[N])
{
    return words[rng.below(static_cast<int>(N))];
}

const char* const kFirstNames[] = {"Ava",  "Miles",  "Nora",   "Jonas",  "Leila", "Theo",
                                   "Iris", "Rafael", "June",   "Oscar",  "Maya",  "Felix",
                                   "Zoë",  "Björn",  "Aiyana", "Dmitri", "Elena", "Kofi"};
const char* const kLastNames[] = {"Harper", "Stone",     "Vega",  "Brooks", "Moreau", "Quinn",
                                  "Okafor", "Lindqvist", "Reyes", "Hart",   "Novak",  "Calloway"};
const char* const kBandAdjectives[] = {"Velvet", "Electric", "Midnight", "Paper", "Golden",
                                       "Silent", "Neon",     "Hollow",   "Wild",  "Crimson"};
const char* const kBandNouns[] = {"Lanterns", "Foxes",   "Satellites", "Tides",   "Engines",
                                  "Sparrows", "Mirrors", "Highways",   "Orchids", "Comets"};
const char* const kTitleStarts[] = {"Dancing in",   "Lost in",  "Waiting for", "Running to",
                                    "Songs of",     "Back to",  "Under",       "Chasing",
                                    "Letters from", "Ghosts of"};
const char* const kTitleEnds[] = {"the Rain",  "Summer",    "Tomorrow",   "the Neon Light",
                                  "Midnight",  "the River", "Paris",      "Blue Skies",
                                  "the Radio", "São Paulo", "the Static", "Gold"};
const char* const kAlbumWords[] = {"Horizons", "Echoes",  "Fireworks", "Blueprints", "Parallels",
                                   "Daylight", "Signals", "Atlas",     "Reverie",    "Voltage"};
const char* const kTopics[] = {"Morning Briefing", "Market Watch",     "Post-Game Analysis",
                               "Listener Calls",   "Headline Roundup", "Weekend Preview",
                               "Stand-Up Set",     "Interview",        "Trade Rumours",
                               "World Report",     "Open Mic",         "Town Hall"};
const char* const kShowForms[] = {"The %s Hour", "%s Tonight",  "Inside %s",
                                  "%s Weekly",   "The %s Show", "%s Unplugged"};
const char* const kShowSubjects[] = {"Morning",    "Countdown", "Backstage", "Crossroads",
                                     "Late Night", "Front Row", "Deep Dive", "Spotlight"};

const std::map<std::string, std::vector<const char*>>& channelNames()
{
    static const std::map<std::string, std::vector<const char*>> names = {
        {"pop",
         {"Hits Central", "Pop Parade", "Neon Radio", "Top 40 Now", "Chart Climbers", "Pop Rewind",
          "Sunny Pop", "Teen Beat"}},
        {"rock",
         {"Classic Vinyl Road", "Deep Cuts Rock", "Garage Amp", "Alt Nation Nine", "Hard Edge",
          "Rock Anthems", "Indie Static", "Power Chords"}},
        {"hiphop",
         {"Block Party", "Old School Jams", "Rhythm Lab", "Soul Kitchen", "Hip Hop Nation Nine",
          "Slow Jam Lounge", "Beat Street"}},
        {"country",
         {"Prairie Radio", "Honky Tonk Hall", "Nashville Nights", "Bluegrass Junction",
          "Country Gold", "Outlaw Trail"}},
        {"jazz",
         {"Blue Note Lounge", "Swing Street", "Standards Time", "Late Night Jazz", "Bebop Corner",
          "Café Crooners"}},
        {"latino",
         {"Música Urbana", "Caliente Mix", "Flow Nación", "Café Latino", "Tropicália",
          "Pop en Español"}},
        {"classical",
         {"Symphony Hall", "Opéra Nights", "Chamber Works", "Baroque Garden", "Piano Études"}},
        {"news",
         {"World News Desk", "Politics Now", "Business Wire", "Public Square", "Newsroom 24",
          "The Briefing Room"}},
        {"sports",
         {"Gridiron Radio", "Hoops Talk", "Fantasy Sports Desk", "Pit Road", "Soccer Nation",
          "Sports Tonight"}},
        {"comedy",
         {"Laugh Track", "Comedy Cellar Radio", "Stand-Up Greats", "Family Laughs", "Raw Comedy",
          "Improv Hour"}},
    };
    return names;
}

const std::map<std::string, std::vector<const char*>>& descriptions()
{
    static const std::map<std::string, std::vector<const char*>> texts = {
        {"pop", {"Today's biggest pop hits", "Pop hits from the last decade", "Feel-good pop"}},
        {"rock", {"Classic rock from the '60s and '70s", "Alternative rock", "Hard rock & metal"}},
        {"hiphop", {"Hip-hop and R&B hits", "Old-school rap and soul", "Classic soul"}},
        {"country", {"Today's country hits", "Country classics", "Bluegrass & Americana"}},
        {"jazz", {"Straight-ahead jazz", "Swing and big band", "Crooners & standards"}},
        {"latino", {"Reggaetón y más", "Latin pop hits", "Salsa, merengue & bachata"}},
        {"classical", {"Symphonic masterworks", "Opera & vocal", "Chamber music"}},
        {"news", {"News around the clock", "Politics from every side", "Markets and money"}},
        {"sports", {"Play-by-play and talk", "Scores and analysis", "Fantasy advice"}},
        {"comedy", {"Uncensored stand-up", "Clean comedy for everyone", "Classic comedy"}},
    };
    return texts;
}

const char* const kXtraThemes[] = {"Workout", "Chill", "Party", "Acoustic", "Road Trip"};
const char* const kDecades[] = {"'70s", "'80s", "'90s", "2000s", "2010s"};

} // namespace

std::string musicArtist(Rng& rng)
{
    if (rng.percent(50)) {
        return std::string(pick(rng, kFirstNames)) + " " + pick(rng, kLastNames);
    }
    return std::string("The ") + pick(rng, kBandAdjectives) + " " + pick(rng, kBandNouns);
}

std::string musicTitle(Rng& rng)
{
    return std::string(pick(rng, kTitleStarts)) + " " + pick(rng, kTitleEnds);
}

std::string albumTitle(Rng& rng)
{
    return std::string(pick(rng, kAlbumWords)) + (rng.percent(40) ? " (Deluxe Edition)" : "");
}

std::string talkHost(Rng& rng)
{
    return std::string(pick(rng, kFirstNames)) + " " + pick(rng, kLastNames);
}

std::string talkTopic(Rng& rng)
{
    return pick(rng, kTopics);
}

std::string channelName(const std::string& genreKey, int n)
{
    const auto found = channelNames().find(genreKey);
    if (found == channelNames().end() || found->second.empty()) {
        return "Channel " + std::to_string(n + 1);
    }
    const auto& list = found->second;
    const int size = static_cast<int>(list.size());
    std::string name = list[static_cast<std::size_t>(n % size)];
    if (n >= size) {
        name += " " + std::to_string(n / size + 1);
    }
    return name;
}

std::string channelDescription(const std::string& genreKey, Rng& rng)
{
    const auto found = descriptions().find(genreKey);
    if (found == descriptions().end()) {
        return "Around the clock";
    }
    return found
        ->second[static_cast<std::size_t>(rng.below(static_cast<int>(found->second.size())))];
}

std::string xtraName(const std::string& genreName, int n)
{
    // Ten distinct names per genre (five themes, five decades), then the same with a number.
    const int k = n % 10;
    std::string name = (k % 2 == 0) ? genreName + " " + kXtraThemes[k / 2]
                                    : std::string(kDecades[k / 2]) + " " + genreName;
    if (n >= 10) {
        name += " " + std::to_string(n / 10 + 1);
    }
    return name;
}

std::string showTitle(Rng& rng, bool talk)
{
    char text[96];
    const char* subject = talk ? pick(rng, kShowSubjects) : pick(rng, kBandNouns);
    std::snprintf(text, sizeof text, pick(rng, kShowForms), subject);
    return text;
}

std::string episodeTitle(Rng& rng, int number, bool talk)
{
    const std::string subject = talk ? talkTopic(rng) : musicTitle(rng);
    return "Episode " + std::to_string(number) + ": " + subject;
}

} // namespace sxm::service::names
