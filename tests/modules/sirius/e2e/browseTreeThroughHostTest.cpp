// The browse tree as a device sees it: the built module in the built mivo-host, against the
// service embedded there, from the root down to channels, genres, Xtra channels, shows, episodes,
// context menus and search results.

#include "expected.h"
#include "hostScript.h"

#include <mivosdk/CMPath.h>
#include <mivosdk/MivoPaths.h>

#include <map>
#include <set>

using namespace e2e;

namespace {

constexpr int kPlaceholder = 6;

CMPath pathOf(const QJsonObject& row)
{
    return CMPath::fromEncoded(row.value("path").toString());
}

/// Whether two encoded paths lead to the same node (title and icon ride as parameters).
bool sameNode(const QString& a, const QString& b)
{
    return CMPath::fromEncoded(a).withoutParams() == CMPath::fromEncoded(b).withoutParams();
}

QString text(const QJsonObject& row, const char* key)
{
    return row.value(QLatin1String(key)).toString();
}

/// The genres in the order the root lists them (by the service's sort order), with the number of
/// line-up records in each: live and Xtra channels alike.
struct GenreCount
{
    const sxm::service::Genre* genre;
    int records = 0;
    int xtraRecords = 0;
};

std::vector<GenreCount> genresBySortOrder()
{
    std::vector<GenreCount> counts;
    for (const sxm::service::Genre& genre : catalog().genres()) {
        GenreCount count{&genre};
        for (const sxm::service::Content* record : lineUpRecords()) {
            if (record->genreKey == genre.key) {
                ++count.records;
                if (record->assetType == sxm::service::AssetType::XtraChannel)
                    ++count.xtraRecords;
            }
        }
        if (count.records > 0)
            counts.push_back(count);
    }
    std::sort(counts.begin(), counts.end(), [](const GenreCount& a, const GenreCount& b) {
        return a.genre->sortOrder < b.genre->sortOrder;
    });
    return counts;
}

/// Every channel of the line-up: id to its first record (the one its row is made from).
std::map<QString, const sxm::service::Content*> firstRecordByChannel()
{
    std::map<QString, const sxm::service::Content*> first;
    for (const sxm::service::Content* record : lineUpRecords())
        first.emplace(qs(record->channelId), record);
    return first;
}

QString channelDescription(const sxm::service::Content& record)
{
    if (record.assetType == sxm::service::AssetType::XtraChannel)
        return QStringLiteral("Xtra Channel \u2022 %1").arg(qs(record.description));
    return QStringLiteral("Ch %1 \u2022 %2")
        .arg(record.siriusChannelNumber)
        .arg(qs(record.description));
}

/// The first live channel that has no on-demand shows.
const sxm::service::Channel* channelWithoutShows()
{
    std::set<int> withShows;
    for (const sxm::service::Show& show : catalog().shows())
        withShows.insert(show.channel);
    for (std::size_t i = 0; i < catalog().channels().size(); ++i) {
        if (withShows.count(int(i)) == 0)
            return &catalog().channels()[i];
    }
    return nullptr;
}

class BrowseThroughHost : public HostTest
{
};

} // namespace

TEST_F(BrowseThroughHost, TheFullFeaturedTreeFromTheRootDownToEpisodesMenusAndSearch)
{
    const sxm::service::Show& show = catalog().shows().at(0);
    const sxm::service::Channel* noShows = channelWithoutShows();
    ASSERT_NE(noShows, nullptr);
    const std::vector<GenreCount> genres = genresBySortOrder();
    ASSERT_FALSE(genres.empty());
    const sxm::service::Genre& firstGenre = *genres.front().genre;
    const QString firstGenreName = qs(firstGenre.name);
    const QString firstGenreKey = qs(firstGenre.key);

    Script script;
    script.step("root").rows("browse");
    script.step("all").rows(paths::allChannels());
    script.step("byName").rows(paths::allChannelsByName());
    script.step("genreMenu").rows(paths::context(firstGenreKey, QString(), QString(), "Category"));
    script.step("xtra").rows(paths::browse("xtra"));
    script.step("onDemands").rows(paths::browse("onDemands"));
    script.step("shows").rows(paths::onDemand(firstGenreName, firstGenreKey, QString()));
    script.step("episodes").rows(paths::episodes(qs(show.record.assetGuid)));
    // A channel's shows are reached through its context menu, which makes their list.
    script.step("noShows")
        .rows(paths::channelContext(*noShows))
        .rows(paths::onDemand("OnDemand", QString(), qs(noShows->id)));
    script.step("search").line("search Pop").line("search Episode 7");
    const HostRun run = runScript(script);
    ASSERT_FALSE(run.timedOut) << run.diagnostics();

    // The root: the fixed entries, the "Channels" header, then one list per genre by the
    // service's sort order, each announcing its channel count and offering its category's menu.
    [&] {
        const QJsonObject root = run.step("root").list();
        QStringList expected{"Recent",        "All Channels", "All Channels (A-Z)", "On demand",
                             "Xtra Channels", "ForYou",       "Favorites",          "Channels"};
        for (const GenreCount& count : genres)
            expected << qs(count.genre->name);
        EXPECT_EQ(titlesOf(root), expected) << run.diagnostics();
        EXPECT_EQ(rowWhere(root, "title", "Channels").value("type").toInt(), kSectionHeader);
        for (const GenreCount& count : genres) {
            const QString name = qs(count.genre->name);
            const QJsonObject row = rowWhere(root, "title", name);
            EXPECT_EQ(text(row, "description"), QStringLiteral("%1 channels").arg(count.records))
                << name.toStdString();
            EXPECT_TRUE(sameNode(text(row, "path"), paths::genre(name, qs(count.genre->key))));
            EXPECT_EQ(text(row, "context"),
                      paths::context(qs(count.genre->key), QString(), QString(), "Category"));
        }
    }();

    // All Channels: every channel once, "Ch N • description", the live ones by number; the A-Z
    // list the same channels by name.
    const std::map<QString, const sxm::service::Content*> first = firstRecordByChannel();
    [&] {
        const QJsonObject all = run.step("all").list();
        ASSERT_EQ(rowsOf(all).size(), int(first.size())) << run.diagnostics();
        QList<int> numbers;
        for (const QJsonValue& value : rowsOf(all)) {
            const QJsonObject row = value.toObject();
            const auto found = first.find(text(row, "id"));
            ASSERT_NE(found, first.end()) << text(row, "id").toStdString();
            EXPECT_EQ(text(row, "description"), channelDescription(*found->second));
            const sxm::service::Channel* channel = channelById(text(row, "id"));
            if (channel && !channel->xtra)
                numbers << channel->number;
        }
        EXPECT_EQ(numbers.size(), int(catalog().channels().size()));
        EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));

        const QStringList byName = titlesOf(run.step("byName").list());
        EXPECT_EQ(byName.size(), int(first.size()));
        EXPECT_TRUE(std::is_sorted(byName.begin(), byName.end()));
    }();

    // Xtra Channels: one list per genre that has Xtra channels, counting only those.
    [&] {
        const QJsonObject xtra = run.step("xtra").list();
        QStringList expected;
        for (const GenreCount& count : genres) {
            if (count.xtraRecords == 0)
                continue;
            expected << qs(count.genre->name);
            EXPECT_EQ(text(rowWhere(xtra, "title", expected.last()), "description"),
                      QStringLiteral("%1 channels").arg(count.xtraRecords));
        }
        EXPECT_EQ(titlesOf(xtra), expected);
    }();

    // On demand: the genres in the root's order; a genre's shows grouped under their channels.
    [&] {
        QStringList expected;
        for (const GenreCount& count : genres)
            expected << qs(count.genre->name);
        EXPECT_EQ(titlesOf(run.step("onDemands").list()), expected);

        std::set<QString> expectedShows;
        for (const sxm::service::Show& candidate : catalog().shows()) {
            for (const sxm::service::Content& record :
                 catalog().channels()[candidate.channel].records) {
                if (record.genreKey == firstGenre.key)
                    expectedShows.insert(qs(candidate.record.assetGuid));
            }
        }
        std::set<QString> showIds;
        QString header;
        for (const QJsonValue& value : rowsOf(run.step("shows").list())) {
            const QJsonObject row = value.toObject();
            if (row.value("type").toInt() == kSectionHeader) {
                EXPECT_NE(text(row, "title"), header) << "the same channel twice in a row";
                header = text(row, "title");
                continue;
            }
            showIds.insert(text(row, "id"));
            const sxm::service::Show* found = catalog().findShow(text(row, "id").toStdString());
            ASSERT_NE(found, nullptr);
            EXPECT_EQ(header, qs(catalog().channels()[found->channel].name));
        }
        EXPECT_EQ(showIds, expectedShows);

        // A show opens its episodes through a redirect (a fresh list each time: unit-tested).
        const Step episodes = run.step("episodes");
        ASSERT_EQ(episodes.lists().size(), 1) << run.diagnostics();
        const QString prefix =
            QStringLiteral("/sirius/browse/onDemandEpisode/%1/").arg(qs(show.record.assetGuid));
        EXPECT_TRUE(episodes.list(0).value("path").toString().startsWith(prefix));
        QStringList expectedEpisodes;
        for (int index : show.episodes)
            expectedEpisodes << qs(catalog().episodes()[index].record.title);
        EXPECT_EQ(titlesOf(episodes.list(0)), expectedEpisodes);

        const QJsonObject none = run.step("noShows").list(1);
        ASSERT_EQ(titlesOf(none), QStringList{"No shows available"});
        EXPECT_EQ(rowsOf(none).at(0).toObject().value("type").toInt(), kPlaceholder);
    }();

    // A genre's category menu leads to its shows. A channel's menu is met in the personal lists'
    // run, the menus of shows, episodes and the recent list in the nodes' unit tests.
    [&] {
        const QJsonObject genreMenu = run.step("genreMenu").list();
        ASSERT_EQ(titlesOf(genreMenu), QStringList{"OnDemand"});
        EXPECT_TRUE(sameNode(text(rowsOf(genreMenu).at(0).toObject(), "path"),
                             paths::onDemand(QString(), firstGenreKey, QString())));
    }();

    // Search: each search its own numbered result list (in sections: unit-tested); a category
    // found opens as the channel list of its genre.
    [&] {
        const Step search = run.step("search");
        ASSERT_EQ(search.lists().size(), 2) << run.diagnostics();
        EXPECT_EQ(search.list(0).value("path").toString(), "/sirius/browse/search/0");
        EXPECT_EQ(search.list(1).value("path").toString(), "/sirius/browse/search/1");
        const QJsonObject category = rowWhere(search.list(0), "title", "Pop");
        EXPECT_TRUE(sameNode(text(category, "path"), paths::genre("Pop", "pop")));
    }();
    EXPECT_EQ(run.exitCode, 0) << run.diagnostics();
}

TEST_F(BrowseThroughHost, WithoutFullFeaturesTheRootHasNoSearchOnDemandXtraForYouOrFavorites)
{
    writeSettings({{MivoSiriusSettingsFullFeaturedPath().toEncoded(), storedBool(false)}});
    Script script;
    script.step("root").rows("browse");
    script.step("all").rows(paths::allChannels());
    script.step("gone").rows(paths::browse("forYou")).line("search Pop");
    const HostRun run = runScript(script);

    QStringList expected{"Recent", "All Channels", "All Channels (A-Z)", "Channels"};
    for (const GenreCount& count : genresBySortOrder())
        expected << qs(count.genre->name);
    EXPECT_EQ(titlesOf(run.step("root").list()), expected) << run.diagnostics();

    // Channel rows carry no context menu, and their paths play at the live point.
    const QJsonObject all = run.step("all").list();
    EXPECT_FALSE(rowsOf(all).isEmpty());
    for (const QJsonValue& value : rowsOf(all)) {
        const QJsonObject row = value.toObject();
        EXPECT_EQ(text(row, "context"), QString()) << text(row, "id").toStdString();
        EXPECT_TRUE(pathOf(row).hasParam(MivoSiriusGoLive())) << text(row, "path").toStdString();
    }
    EXPECT_EQ(run.step("gone").errors().size(), 2) << run.diagnostics();
}
