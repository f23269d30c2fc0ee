// For You, Favorites and Recent as a device sees them: the built module in the built mivo-host
// against the embedded service, whose admin actions change the lists as another device would and
// whose faults put it in bypass mode or make it fail.

#include "expected.h"
#include "hostScript.h"

#include <mivosdk/CMPath.h>
#include <mivosdk/MivoPaths.h>

#include <map>
#include <set>
#include <tuple>

using namespace e2e;

namespace {

/// The rows of a list grouped under its section headers: header title to the rows' ids.
std::map<QString, QStringList> idsBySection(const QJsonObject& list)
{
    std::map<QString, QStringList> sections;
    QString header;
    for (const QJsonValue& value : rowsOf(list)) {
        const QJsonObject row = value.toObject();
        if (row.value("type").toInt() == kSectionHeader)
            header = row.value("title").toString();
        else
            sections[header] << row.value("id").toString();
    }
    return sections;
}

std::set<QString> rowIds(const QJsonObject& list)
{
    std::set<QString> ids;
    for (const QJsonValue& value : rowsOf(list)) {
        if (value.toObject().value("type").toInt() != kSectionHeader)
            ids.insert(value.toObject().value("id").toString());
    }
    return ids;
}

/// The id a row of a personal list carries: channels and episodes name their channel, shows and
/// categories their own asset.
QString rowId(const sxm::service::Content& record)
{
    if (record.assetType == sxm::service::AssetType::Show)
        return qs(record.assetGuid);
    return qs(record.channelId);
}

/// For You's categories as the module groups them. Xtra channels are shown through their
/// line-up rows, as in every personal list, so they fall under the line-up record's category.
std::map<QString, QStringList> forYouGroups()
{
    std::map<QString, QStringList> groups;
    for (const sxm::service::Content& item : catalog().forYou()) {
        QString category = qs(item.category);
        if (item.assetType == sxm::service::AssetType::XtraChannel)
            category = qs(channelById(qs(item.channelId))->records.front().category);
        groups[category] << rowId(item);
    }
    return groups;
}

QString segmentOf(QString category)
{
    return category.remove(QLatin1Char(' ')).remove(QLatin1Char('\''));
}

/// The favourite action a channel's context menu offers: the favourite path with the menu's
/// parameters.
QString favoriteActionOf(const sxm::service::Channel& channel)
{
    CMPath action = MivoSiriusFavoritePath();
    action.setParams(CMPath::fromEncoded(paths::channelContext(channel)).paramList());
    return action.toEncoded();
}

/// The last pop-up a step printed (empty when none).
QJsonObject lastPopup(const Step& step)
{
    const QList<QJsonObject> popups = step.items("popup");
    return popups.value(popups.size() - 1);
}

QStringList popupLines(const QJsonObject& popup)
{
    QStringList lines;
    for (const QJsonValue& line : popup.value("lines").toArray())
        lines << line.toString();
    return lines;
}

class PersonalListsThroughHost : public HostTest
{
};

} // namespace

TEST_F(PersonalListsThroughHost, ForYouFavoritesAndRecentFollowTheServiceAndTheMenus)
{
    const std::map<QString, QStringList> groups = forYouGroups();
    ASSERT_FALSE(groups.empty());
    const QString someGroup = groups.rbegin()->first;
    const sxm::service::Channel& newFavorite = catalog().channels().at(1);

    Script script;
    script.step("forYou").rows("browse").rows(paths::browse("forYou"));
    script.step("forYouGroup")
        .rows(paths::browse("forYou") + QLatin1Char('/') + segmentOf(someGroup));
    script.step("favorites").rows(paths::browse("favorite"));
    script.step("recent").rows(paths::browse("recent"));
    script.step("clear")
        .rows(paths::recentContext())
        .line(QStringLiteral("activate \"%1#1\"").arg(paths::recentContext()))
        .rows(paths::browse("recent"));
    // Changes made elsewhere reach the module through the service's refresh events.
    script.step("refresh")
        .line("service changeRecents")
        .line("service changeFavorites")
        .wait(7)
        .rows(paths::browse("recent"))
        .rows(paths::browse("favorite"));
    // The context menu adds a channel to the favorites, and then offers to remove it.
    script.step("add")
        .rows(paths::channelContext(newFavorite))
        .line(QStringLiteral("activate \"%1#1\"").arg(paths::channelContext(newFavorite)))
        .wait(2)
        .rows(paths::browse("favorite"))
        .line("service requests favorites.update");
    script.step("remove")
        .rows(paths::channelContext(newFavorite))
        .line(QStringLiteral("activate \"%1#1\"").arg(paths::channelContext(newFavorite)))
        .wait(2)
        .rows(paths::browse("favorite"))
        .line("service requests favorites.update");
    const HostRun run = runScript(script);
    ASSERT_FALSE(run.timedOut) << run.diagnostics();

    // For You: one row per category in alphabetical order, each leading to a list whose path
    // segment is the category without blanks and apostrophes.
    [&] {
        const QJsonObject forYou = run.step("forYou").list(1);
        QStringList expected;
        for (const auto& group : groups)
            expected << group.first;
        EXPECT_EQ(titlesOf(forYou), expected) << run.diagnostics();
        for (const QJsonValue& value : rowsOf(forYou)) {
            const QJsonObject row = value.toObject();
            EXPECT_EQ(row.value("path").toString(), paths::browse("forYou") + QLatin1Char('/') +
                                                        segmentOf(row.value("title").toString()));
        }
        const QJsonObject group = run.step("forYouGroup").list();
        EXPECT_EQ(group.value("title").toString(), someGroup);
        QStringList ids;
        for (const QJsonValue& value : rowsOf(group))
            ids << value.toObject().value("id").toString();
        EXPECT_EQ(ids, groups.at(someGroup));
    }();

    // Favorites in sections: the account's channels (live and Xtra), then its show.
    [&] {
        const std::map<QString, QStringList> sections = idsBySection(run.step("favorites").list());
        const std::map<QString, QStringList> expected{
            {"Channels",
             {qs(catalog().channels().at(0).id), qs(catalog().channels().at(3).id),
              qs(catalog().xtraChannels().at(0).id)}},
            {"Shows", {qs(catalog().shows().at(0).record.assetGuid)}}};
        EXPECT_EQ(sections, expected) << run.diagnostics();
    }();

    // Recent: what was played, newest first; cleared from its menu, it says so.
    [&] {
        const QJsonObject recent = run.step("recent").list();
        const sxm::service::Episode& episode = catalog().episodes().at(0);
        EXPECT_EQ(titlesOf(recent),
                  (QStringList{qs(catalog().channels().at(1).name), qs(episode.record.title)}));
        const Step clear = run.step("clear");
        EXPECT_EQ(titlesOf(clear.list(0)), QStringList{"Clear recently played content"});
        EXPECT_EQ(clear.items("activated").size(), 1) << run.diagnostics();
        EXPECT_EQ(titlesOf(clear.list(1)), QStringList{"No recently played channels"});

        const Step refreshed = run.step("refresh");
        EXPECT_FALSE(refreshed.items("changed").isEmpty()) << "the open recent list was not told";
        const QJsonObject after = refreshed.list();
        ASSERT_EQ(rowsOf(after).size(), 1) << titlesOf(after).join(", ").toStdString();
        EXPECT_NE(channelById(rowsOf(after).at(0).toObject().value("id").toString()), nullptr);
        // The favourites changed elsewhere differ when read again.
        EXPECT_NE(rowIds(refreshed.list(1)), rowIds(run.step("favorites").list()));
    }();

    // Add to favorites, then remove: the menu offers what fits, the service is told each time
    // and the list follows.
    for (const auto& [name, action, change, listed] :
         {std::make_tuple("add", "Add to favorites", "0", 1u),
          std::make_tuple("remove", "Remove from favorites", "1", 0u)}) {
        const Step step = run.step(name);
        EXPECT_EQ(titlesOf(step.list(0)), (QStringList{action, "OnDemand"}));
        EXPECT_EQ(rowIds(step.list(1)).count(qs(newFavorite.id)), listed) << name;
        const QStringList sent = step.requests("favorites.update");
        ASSERT_EQ(sent.size(), 1) << run.diagnostics();
        EXPECT_TRUE(sent.at(0).contains(QStringLiteral("\"changeType\":%1").arg(change)))
            << sent.at(0).toStdString();
    }
    EXPECT_EQ(run.exitCode, 0) << run.diagnostics();
}

TEST_F(PersonalListsThroughHost, BypassModeAndALostServiceExplainThemselves)
{
    const sxm::service::Channel& channel = catalog().channels().at(1);
    Script script;
    script.step("enter")
        .rows("browse")
        .line(R"(service fault {"bypass": {"isGupUnavailable": true}})")
        .line("until popup \"Server update\" --seconds 15")
        .line("messages");
    script.step("inBypass")
        .rows(paths::browse("recent"))
        .rows(paths::browse("favorite"))
        .rows(paths::browse("forYou"))
        .line(QStringLiteral("activate \"%1\"").arg(favoriteActionOf(channel)));
    // The lists that failed in bypass fetch again when asked next. The pop-ups are listed once
    // they came, as their printing may lag behind.
    script.step("leave")
        .rows("browse")
        .line(R"(service fault {"bypass": {"isGupUnavailable": false}})")
        .line("until popup \"System update complete\" --seconds 15")
        .line("messages");
    script.step("offline")
        .line(
            R"(service fault {"endpoints": {"recents": {"status": 503}, "favorites": {"status": 503}, "foryou": {"status": 503}}})")
        .rows(paths::browse("recent"))
        .rows(paths::browse("favorite"))
        .rows(paths::browse("forYou"));
    const HostRun run = runScript(script);
    ASSERT_FALSE(run.timedOut) << run.diagnostics();

    const QJsonObject entered = lastPopup(run.step("enter"));
    EXPECT_EQ(entered.value("title").toString(), "Bypass status") << run.diagnostics();
    EXPECT_EQ(popupLines(entered),
              QStringList{"Server update in process. Some of your settings and preferences are "
                          "currently unavailable.  They will be restored as soon as possible."});
    EXPECT_EQ(entered.value("priority").toInt(), 4);
    EXPECT_EQ(entered.value("timeoutMs").toInt(), 6000);

    EXPECT_EQ(
        run.step("inBypass").errors(),
        (QStringList{"Bypass mode. Recents disabled.", "Favorite shows currently not available",
                     "ForYou currently not available", "Bypass mode. Favorites disabled."}))
        << run.diagnostics();

    const QJsonObject left = lastPopup(run.step("leave"));
    EXPECT_EQ(left.value("title").toString(), "Bypass status");
    EXPECT_EQ(
        popupLines(left),
        QStringList{"System update complete. Your settings and preferences are available again."});

    EXPECT_EQ(run.step("offline").errors(),
              (QStringList{"Error getting recents. Please check your internet connection",
                           "Error getting favorites. Please check your internet connection",
                           "Error getting ForYou. Please check your internet connection"}))
        << run.diagnostics();
}
