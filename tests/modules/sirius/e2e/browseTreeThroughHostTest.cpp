// The browse tree as a device sees it: the built module in the built mivo-host, against the
// service embedded there, from the root down to channels, genres, Xtra channels, shows, episodes,
// context menus and search results.

#include "expected.h"
#include "hostScript.h"

#include <mivosdk/CMPath.h>
#include <mivosdk/MivoPaths.h>

#include <QRegularExpression>
#include <map>
#include <set>

using namespace e2e;

namespace {

constexpr int kSectionHeader = 103;
constexpr int kAction = 102;
constexpr int kLink = 1;
constexpr int kPlaceholder = 6;

CMPath pathOf(const QJsonObject& row)
{
    return CMPath::fromEncoded(row.value(QStringLiteral("path")).toString());
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

QString assetTypeText(sxm::service::AssetType type)
{
    switch (type) {
    case sxm::service::AssetType::LiveChannel:
        return QStringLiteral("LiveChannel");
    case sxm::service::AssetType::Show:
        return QStringLiteral("Show");
    case sxm::service::AssetType::Episode:
        return QStringLiteral("Episode");
    case sxm::service::AssetType::XtraChannel:
        return QStringLiteral("XtraChannel");
    case sxm::service::AssetType::Category:
        return QStringLiteral("Category");
    }
    return QString();
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

/// How many of each kind the service finds for `query`: its case-insensitive (ASCII) title match,
/// at most 50 of a kind.
struct SearchCounts
{
    int categories = 0;
    int channels = 0;
    int shows = 0;
    int episodes = 0;
};

SearchCounts searchCounts(const QString& query)
{
    const auto matches = [&query](const std::string& title) {
        return qs(title).contains(query, Qt::CaseInsensitive);
    };
    auto capped = [](int n) {
        return std::min(n, 50);
    };
    SearchCounts counts;
    int live = 0;
    int xtra = 0;
    for (const sxm::service::Content& category : catalog().categories())
        counts.categories += matches(category.title);
    for (const sxm::service::Channel& channel : catalog().channels())
        live += matches(channel.records.front().title);
    for (const sxm::service::Channel& channel : catalog().xtraChannels())
        xtra += matches(channel.records.front().title);
    for (const sxm::service::Show& show : catalog().shows())
        counts.shows += matches(show.record.title);
    for (const sxm::service::Episode& episode : catalog().episodes())
        counts.episodes += matches(episode.record.title);
    counts.categories = capped(counts.categories);
    counts.channels = capped(live) + capped(xtra);
    counts.shows = capped(counts.shows);
    counts.episodes = capped(counts.episodes);
    return counts;
}

/// The section headers of a search result list and how many rows follow each.
std::vector<std::pair<QString, int>> sections(const QJsonObject& list)
{
    std::vector<std::pair<QString, int>> found;
    for (const QJsonValue& value : rowsOf(list)) {
        const QJsonObject row = value.toObject();
        if (row.value(QStringLiteral("type")).toInt() == kSectionHeader)
            found.emplace_back(text(row, "title"), 0);
        else if (!found.empty())
            ++found.back().second;
    }
    return found;
}

std::vector<std::pair<QString, int>> expectedSections(const SearchCounts& counts)
{
    std::vector<std::pair<QString, int>> expected;
    const std::pair<QString, int> all[] = {{QStringLiteral("Categories"), counts.categories},
                                           {QStringLiteral("Channels"), counts.channels},
                                           {QStringLiteral("Shows"), counts.shows},
                                           {QStringLiteral("Episodes"), counts.episodes}};
    for (const auto& section : all) {
        if (section.second > 0)
            expected.push_back(section);
    }
    return expected;
}

class BrowseThroughHost : public HostTest
{
};

} // namespace

TEST_F(BrowseThroughHost, TheFullFeaturedTreeFromTheRootDownToEpisodesMenusAndSearch)
{
    const sxm::service::Channel& favoriteChannel = catalog().channels().at(0);
    const sxm::service::Channel& otherChannel = catalog().channels().at(1);
    const sxm::service::Show& show = catalog().shows().at(0);
    const sxm::service::Episode& episode = catalog().episodes().at(show.episodes.at(0));
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
    script.step("genre").rows(paths::genre(firstGenreName, firstGenreKey));
    script.step("genreMenu")
        .rows(paths::context(firstGenreKey, QString(), QString(), QStringLiteral("Category")));
    script.step("xtra").rows(MivoSiriusBrowsePath().subpath("xtra").toEncoded());
    script.step("xtraGenre").rows(paths::xtraGenre(firstGenreName, firstGenreKey));
    script.step("onDemands").rows(MivoSiriusBrowsePath().subpath("onDemands").toEncoded());
    script.step("shows").rows(paths::onDemand(firstGenreName, firstGenreKey, QString()));
    script.step("episodes")
        .rows(paths::episodes(qs(show.record.assetGuid)))
        .rows(paths::episodes(qs(show.record.assetGuid)));
    // A channel's shows are reached through its context menu, which makes their list.
    script.step("noShows")
        .rows(paths::context(qs(noShows->name), qs(noShows->id), qs(noShows->assetGuid),
                             QStringLiteral("LiveChannel")))
        .rows(paths::onDemand(QStringLiteral("OnDemand"), QString(), qs(noShows->id)));
    script.step("menus")
        .rows(paths::context(qs(favoriteChannel.name), qs(favoriteChannel.id),
                             qs(favoriteChannel.assetGuid), QStringLiteral("LiveChannel")))
        .rows(paths::context(qs(otherChannel.name), qs(otherChannel.id), qs(otherChannel.assetGuid),
                             QStringLiteral("LiveChannel")))
        .rows(paths::context(qs(episode.record.title), qs(episode.record.channelId),
                             qs(episode.record.assetGuid), QStringLiteral("Episode")))
        .rows(paths::context(qs(show.record.title), qs(show.record.channelId),
                             qs(show.record.assetGuid), QStringLiteral("Show")))
        .rows(paths::recentContext());
    script.step("search").line("search Pop").line("search Episode 7");
    const HostRun run = runScript(script);
    ASSERT_FALSE(run.timedOut) << run.diagnostics();

    // The root: the fixed entries in their order, the "Channels" header, then one list per genre
    // by the service's sort order, each announcing its channel count and offering its category's
    // menu.
    [&] {
        const QJsonObject root = run.step("root").list();
        QStringList expected{"Recent",        "All Channels", "All Channels (A-Z)", "On demand",
                             "Xtra Channels", "ForYou",       "Favorites",          "Channels"};
        for (const GenreCount& count : genres)
            expected << qs(count.genre->name);
        EXPECT_EQ(titlesOf(root), expected) << run.diagnostics();
        EXPECT_EQ(rowWhere(root, "title", "Channels").value("type").toInt(), kSectionHeader);
        EXPECT_TRUE(
            sameNode(text(rowWhere(root, "title", "All Channels"), "path"), paths::allChannels()));
        EXPECT_TRUE(sameNode(text(rowWhere(root, "title", "All Channels (A-Z)"), "path"),
                             paths::allChannelsByName()));
        EXPECT_EQ(text(rowWhere(root, "title", "Recent"), "context"), paths::recentContext());
        for (const GenreCount& count : genres) {
            const QJsonObject row = rowWhere(root, "title", qs(count.genre->name));
            const QString name = qs(count.genre->name);
            EXPECT_EQ(text(row, "description"), QStringLiteral("%1 channels").arg(count.records))
                << name.toStdString();
            EXPECT_TRUE(sameNode(text(row, "path"), paths::genre(name, qs(count.genre->key))))
                << name.toStdString();
            EXPECT_EQ(pathOf(row).param(QStringLiteral("title")), name);
            EXPECT_EQ(text(row, "context"), paths::context(qs(count.genre->key), QString(),
                                                           QString(), QStringLiteral("Category")));
        }
    }();

    // All Channels: every channel of the line-up once; the live ones by number, each row
    // "Ch N • description" with the add/remove-favourite menu of that channel.
    const std::map<QString, const sxm::service::Content*> first = firstRecordByChannel();
    auto checkChannelRows = [&](const QJsonObject& list, const char* what) {
        std::set<QString> ids;
        for (const QJsonValue& value : rowsOf(list)) {
            const QJsonObject row = value.toObject();
            const QString id = text(row, "id");
            EXPECT_TRUE(ids.insert(id).second) << what << ": twice " << id.toStdString();
            const auto found = first.find(id);
            if (found == first.end()) {
                ADD_FAILURE() << what << ": not in the line-up: " << id.toStdString();
                continue;
            }
            const sxm::service::Content& record = *found->second;
            EXPECT_EQ(text(row, "title"), qs(record.title)) << what;
            EXPECT_EQ(text(row, "description"), channelDescription(record)) << what;
            EXPECT_EQ(text(row, "context"),
                      paths::context(qs(record.title), id, qs(record.assetGuid),
                                     assetTypeText(record.assetType)))
                << what;
        }
        return ids;
    };
    [&] {
        const QJsonObject all = run.step("all").list();
        EXPECT_EQ(all.value("title").toString(), QStringLiteral("All Channels"));
        EXPECT_EQ(checkChannelRows(all, "All Channels").size(), first.size());
        QList<int> numbers;
        for (const QJsonValue& value : rowsOf(all)) {
            const sxm::service::Channel* channel = channelById(text(value.toObject(), "id"));
            if (channel && !channel->xtra)
                numbers << channel->number;
        }
        EXPECT_EQ(numbers.size(), int(catalog().channels().size()));
        EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    }();

    // All Channels (A-Z): the same channels by name.
    [&] {
        const QJsonObject byName = run.step("byName").list();
        EXPECT_EQ(checkChannelRows(byName, "A-Z").size(), first.size());
        const QStringList titles = titlesOf(byName);
        EXPECT_TRUE(std::is_sorted(titles.begin(), titles.end()))
            << titles.join(", ").toStdString();
    }();

    // A genre: the channels listed in it (live and Xtra), by the genre record's sort order.
    [&] {
        const QJsonObject genre = run.step("genre").list();
        EXPECT_EQ(genre.value("title").toString(), firstGenreName);
        std::map<QString, int> sortOrders;
        for (const sxm::service::Content* record : lineUpRecords()) {
            if (record->genreKey == firstGenre.key)
                sortOrders.emplace(qs(record->channelId), record->sortOrder);
        }
        checkChannelRows(genre, "genre");
        QList<int> order;
        std::set<QString> ids;
        for (const QJsonValue& value : rowsOf(genre)) {
            ids.insert(text(value.toObject(), "id"));
            order << sortOrders[text(value.toObject(), "id")];
        }
        std::set<QString> expectedIds;
        for (const auto& entry : sortOrders)
            expectedIds.insert(entry.first);
        EXPECT_EQ(ids, expectedIds);
        EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));

        // Its category menu leads to the genre's shows.
        const QJsonObject menu = run.step("genreMenu").list();
        ASSERT_EQ(titlesOf(menu), QStringList{"OnDemand"});
        EXPECT_EQ(rowsOf(menu).at(0).toObject().value("type").toInt(), kLink);
        EXPECT_TRUE(sameNode(text(rowsOf(menu).at(0).toObject(), "path"),
                             paths::onDemand(QString(), firstGenreKey, QString())));
    }();

    // Xtra Channels: one list per genre that has Xtra channels, counting only those, without a
    // category menu; inside, the Xtra channels of the genre.
    [&] {
        const QJsonObject xtra = run.step("xtra").list();
        QStringList expected;
        for (const GenreCount& count : genres) {
            if (count.xtraRecords == 0)
                continue;
            const QString name = qs(count.genre->name);
            expected << name;
            const QJsonObject row = rowWhere(xtra, "title", name);
            EXPECT_EQ(text(row, "description"),
                      QStringLiteral("%1 channels").arg(count.xtraRecords));
            EXPECT_TRUE(sameNode(text(row, "path"), paths::xtraGenre(name, qs(count.genre->key))));
            EXPECT_EQ(text(row, "context"), QString());
        }
        EXPECT_EQ(titlesOf(xtra), expected);

        const QJsonObject xtraGenre = run.step("xtraGenre").list();
        std::set<QString> ids;
        for (const QJsonValue& value : rowsOf(xtraGenre)) {
            const QJsonObject row = value.toObject();
            ids.insert(text(row, "id"));
            EXPECT_TRUE(
                text(row, "description").startsWith(QStringLiteral("Xtra Channel \u2022 ")));
        }
        std::set<QString> expectedIds;
        for (const sxm::service::Channel& channel : catalog().xtraChannels()) {
            for (const sxm::service::Content& record : channel.records) {
                if (record.genreKey == firstGenre.key)
                    expectedIds.insert(qs(channel.id));
            }
        }
        EXPECT_EQ(ids, expectedIds);
    }();

    // On demand: the genres in the root's order; a genre's shows grouped under their channels.
    [&] {
        const QJsonObject onDemands = run.step("onDemands").list();
        QStringList expected;
        for (const GenreCount& count : genres)
            expected << qs(count.genre->name);
        EXPECT_EQ(titlesOf(onDemands), expected);
        EXPECT_TRUE(sameNode(text(rowWhere(onDemands, "title", firstGenreName), "path"),
                             paths::onDemand(QString(), firstGenreKey, QString())));

        const QJsonObject shows = run.step("shows").list();
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
        QString previousType;
        for (const QJsonValue& value : rowsOf(shows)) {
            const QJsonObject row = value.toObject();
            if (row.value("type").toInt() == kSectionHeader) {
                EXPECT_NE(previousType, QStringLiteral("header")) << "a header without shows";
                EXPECT_NE(text(row, "title"), header) << "the same channel twice in a row";
                header = text(row, "title");
                previousType = QStringLiteral("header");
                continue;
            }
            previousType = QStringLiteral("show");
            const QString id = text(row, "id");
            showIds.insert(id);
            const sxm::service::Show* found = catalog().findShow(id.toStdString());
            ASSERT_NE(found, nullptr) << id.toStdString();
            const QString channelName = qs(catalog().channels()[found->channel].name);
            EXPECT_EQ(header, channelName) << "show " << id.toStdString();
            // The client library's content record has no count of new episodes, so the
            // "N NEW •" part that the service's counts would give never reaches a row.
            EXPECT_EQ(text(row, "description"), QStringLiteral("%1 \u2022 %2 episodes")
                                                    .arg(channelName)
                                                    .arg(found->record.episodeCount));
            EXPECT_EQ(pathOf(row).withoutParams(),
                      CMPath::fromEncoded(paths::episodes(id)).withoutParams());
            EXPECT_EQ(pathOf(row).param(QStringLiteral("id")), id);
            EXPECT_EQ(text(row, "context"),
                      paths::context(qs(found->record.title), qs(found->record.channelId), id,
                                     QStringLiteral("Show")));
        }
        EXPECT_EQ(showIds, expectedShows);

        // A show opens, through a redirect, a fresh list of its episodes each time.
        const Step episodes = run.step("episodes");
        ASSERT_EQ(episodes.lists().size(), 2) << run.diagnostics();
        const QString firstPath = episodes.list(0).value("path").toString();
        const QString secondPath = episodes.list(1).value("path").toString();
        const QString prefix =
            QStringLiteral("/sirius/browse/onDemandEpisode/%1/").arg(qs(show.record.assetGuid));
        EXPECT_TRUE(firstPath.startsWith(prefix)) << firstPath.toStdString();
        EXPECT_TRUE(secondPath.startsWith(prefix)) << secondPath.toStdString();
        EXPECT_NE(firstPath, secondPath);
        QStringList expectedEpisodes;
        for (int index : show.episodes)
            expectedEpisodes << qs(catalog().episodes()[index].record.title);
        EXPECT_EQ(titlesOf(episodes.list(0)), expectedEpisodes);
        for (const QJsonValue& value : rowsOf(episodes.list(0))) {
            const QJsonObject row = value.toObject();
            EXPECT_EQ(pathOf(row).withoutParams(), MivoSiriusPrefixPath());
            EXPECT_TRUE(pathOf(row).hasParam(MivoSiriusEpisode()));
            EXPECT_EQ(CMPath::fromEncoded(text(row, "context")).param(QStringLiteral("assetType")),
                      QStringLiteral("Episode"));
        }

        const QJsonObject none = run.step("noShows").list(1);
        ASSERT_EQ(titlesOf(none), QStringList{"No shows available"});
        EXPECT_EQ(rowsOf(none).at(0).toObject().value("type").toInt(), kPlaceholder);
    }();

    // Context menus: a channel offers its favourite action and its shows; an episode or a show
    // only the favourite action; the recent list the clearing of recently played content.
    [&] {
        const Step menus = run.step("menus");
        ASSERT_EQ(menus.lists().size(), 5) << run.diagnostics();
        const QJsonObject favorite = menus.list(0);
        EXPECT_EQ(titlesOf(favorite), (QStringList{"Remove from favorites", "OnDemand"}));
        EXPECT_EQ(rowsOf(favorite).at(0).toObject().value("type").toInt(), kAction);
        const CMPath action = pathOf(rowsOf(favorite).at(0).toObject());
        EXPECT_EQ(action.withoutParams(), MivoSiriusFavoritePath());
        EXPECT_EQ(action.param(QStringLiteral("channelId")), qs(favoriteChannel.id));
        EXPECT_EQ(action.param(QStringLiteral("assetGuid")), qs(favoriteChannel.assetGuid));
        EXPECT_TRUE(sameNode(text(rowsOf(favorite).at(1).toObject(), "path"),
                             paths::onDemand(QString(), QString(), qs(favoriteChannel.id))));
        EXPECT_EQ(titlesOf(menus.list(1)), (QStringList{"Add to favorites", "OnDemand"}));
        // Whether an item is a favourite is asked of its channel: the episode and the show both
        // belong to a favourite channel.
        ASSERT_EQ(episode.record.channelId, favoriteChannel.id);
        ASSERT_EQ(show.record.channelId, favoriteChannel.id);
        EXPECT_EQ(titlesOf(menus.list(2)), QStringList{"Remove from favorites"});
        EXPECT_EQ(titlesOf(menus.list(3)), QStringList{"Remove from favorites"});
        EXPECT_EQ(pathOf(rowsOf(menus.list(2)).at(0).toObject()).param(QStringLiteral("assetGuid")),
                  qs(episode.record.assetGuid));
        const QJsonObject recent = menus.list(4);
        ASSERT_EQ(titlesOf(recent), QStringList{"Clear recently played content"});
        EXPECT_EQ(rowsOf(recent).at(0).toObject().value("type").toInt(), kAction);
        EXPECT_EQ(pathOf(rowsOf(recent).at(0).toObject()), MivoSiriusClearRecentsPath());
    }();

    // Search: each search its own numbered result list, split into titled sections.
    [&] {
        const Step search = run.step("search");
        ASSERT_EQ(search.lists().size(), 2) << run.diagnostics();
        EXPECT_EQ(search.list(0).value("path").toString(),
                  QStringLiteral("/sirius/browse/search/0"));
        EXPECT_EQ(search.list(1).value("path").toString(),
                  QStringLiteral("/sirius/browse/search/1"));
        EXPECT_EQ(sections(search.list(0)), expectedSections(searchCounts(QStringLiteral("Pop"))));
        EXPECT_EQ(sections(search.list(1)),
                  expectedSections(searchCounts(QStringLiteral("Episode 7"))));
        // A category found opens as the channel list of its genre.
        const QJsonObject category = rowWhere(search.list(0), "title", QStringLiteral("Pop"));
        EXPECT_TRUE(sameNode(text(category, "path"),
                             paths::genre(QStringLiteral("Pop"), QStringLiteral("pop"))));
    }();
    EXPECT_EQ(run.exitCode, 0) << run.diagnostics();
}

TEST_F(BrowseThroughHost, WithoutFullFeaturesTheRootHasNoSearchOnDemandXtraForYouOrFavorites)
{
    writeSettings({{MivoSiriusSettingsFullFeaturedPath().toEncoded(), storedBool(false)}});
    Script script;
    script.step("root").rows("browse");
    script.step("all").rows(paths::allChannels());
    script.step("gone")
        .rows(MivoSiriusBrowsePath().subpath("forYou").toEncoded())
        .line("search Pop");
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
