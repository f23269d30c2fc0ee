// What live channels play now, as a device sees it: the built module in the built mivo-host
// against the embedded service. The service's requests show which channels' program data the
// client library was asked for; the rows show each cut held back until the audio the listener
// hears reaches it (160 s). The service's cutShiftMs fault stamps cuts earlier, so that they are
// due without waiting; the expected titles come from the service's own track schedule. Which
// registrations stop the library's polls is the content manager's unit tests' to show.

#include "expected.h"
#include "hostScript.h"

#include <mivosdk/CMPath.h>
#include <mivosdk/MivoPaths.h>

#include <QUrl>
#include <QUrlQuery>
#include <set>

using namespace e2e;

namespace {

/// A cut is shown this long after its time stamp.
constexpr qint64 kCutDelayMs = 160000;
/// Allowance for the time between the module reading its state and the test reading the line,
/// and for the two processes' clocks being read at different moments.
constexpr qint64 kSlackMs = 3000;

bool isLiveRow(const QJsonObject& row)
{
    return CMPath::fromEncoded(row.value("path").toString()).param("assetType") ==
           QLatin1String("LiveChannel");
}

std::set<QString> liveIds(const QJsonObject& list)
{
    std::set<QString> ids;
    for (const QJsonValue& value : rowsOf(list)) {
        if (isLiveRow(value.toObject()))
            ids.insert(value.toObject().value("id").toString());
    }
    return ids;
}

/// The channel ids of a "GET /api/v1/pdt/cuts?channelIds=..." request.
std::set<QString> channelIdsAskedFor(const QString& request)
{
    std::set<QString> ids;
    const QUrlQuery query(QUrl("http://service" + request.section(QLatin1Char(' '), 1, 1)));
    const QString list = query.queryItemValue("channelIds", QUrl::FullyDecoded);
    for (const QString& id : list.split(QLatin1Char(','), Qt::SkipEmptyParts))
        ids.insert(id);
    return ids;
}

/// The cut texts of the tracks on air at some instant in [fromMs, toMs].
QStringList cutTextsBetween(const sxm::service::Channel& channel, qint64 fromMs, qint64 toMs)
{
    QStringList texts;
    const std::int64_t first = catalog().liveTrackIndexAt(channel, fromMs);
    const std::int64_t last = catalog().liveTrackIndexAt(channel, toMs);
    for (std::int64_t index = first; index <= last; ++index)
        texts << cutText(catalog().liveTrack(channel, index));
    return texts;
}

class NowPlayingThroughHost : public HostTest
{
};

} // namespace

TEST_F(NowPlayingThroughHost, CutsOfExactlyTheOpenListsShowOnceDue)
{
    Script script;
    script.step("open")
        .rows("browse")
        .rows(paths::allChannels())
        .wait(3)
        .line("service requests cuts");
    script.step("onAir")
        .line(QStringLiteral(R"(service fault {"cutShiftMs": %1})").arg(kCutDelayMs))
        .wait(7)
        .rows(paths::allChannels());
    // The list by name shows no now-playing text.
    script.step("byName").rows(paths::allChannelsByName());
    const HostRun run = runScript(script);
    ASSERT_FALSE(run.timedOut) << run.diagnostics();

    // Opening All Channels asks for the cuts of exactly its live channels.
    const Step open = run.step("open");
    const QJsonObject opened = open.list(1);
    const std::set<QString> live = liveIds(opened);
    EXPECT_EQ(live.size(), catalog().channels().size()) << run.diagnostics();
    const QStringList openRequests = open.requests("cuts");
    EXPECT_FALSE(openRequests.isEmpty()) << "no program data asked for\n" << run.diagnostics();
    EXPECT_EQ(channelIdsAskedFor(openRequests.value(openRequests.size() - 1)), live)
        << openRequests.join('\n').toStdString();
    // As cuts arrive, the open list is told its rows changed.
    EXPECT_FALSE(open.items("changed").isEmpty());

    // Cuts stamped 160 s earlier are due at once: every live row shows the track on air now.
    const Step onAir = run.step("onAir");
    const qint64 shownAt = onAir.lists().value(0).atMs;
    int shown = 0;
    for (const QJsonValue& value : rowsOf(onAir.list())) {
        const QJsonObject row = value.toObject();
        const sxm::service::Channel* channel = channelById(row.value("id").toString());
        ASSERT_NE(channel, nullptr);
        if (channel->xtra)
            continue;
        const QString title = row.value("title").toString();
        const QStringList expected =
            cutTextsBetween(*channel, onAir.startMs - kSlackMs, shownAt + kSlackMs);
        EXPECT_TRUE(expected.contains(title))
            << channel->id << " shows \"" << title.toStdString() << "\"; expected one of \""
            << expected.join("\", \"").toStdString() << "\"";
        ++shown;
    }
    EXPECT_EQ(shown, int(live.size())) << run.diagnostics();

    // The list by name keeps the channels' names while their cuts are current.
    const QJsonObject byName = run.step("byName").list();
    EXPECT_EQ(rowsOf(byName).size(), rowsOf(opened).size());
    for (const QJsonValue& value : rowsOf(byName)) {
        const QJsonObject row = value.toObject();
        const sxm::service::Channel* channel = channelById(row.value("id").toString());
        ASSERT_NE(channel, nullptr);
        EXPECT_EQ(row.value("title").toString(), qs(channel->name));
    }
    EXPECT_EQ(run.exitCode, 0) << run.diagnostics();
}
