// Listening, as a device does it: the built module in the built mivo-host with the embedded
// service. What the streamer played is compared byte for byte with the service's plaintext from
// the position it tuned to; pause, stop, a switch, the library ending playback and signing out are
// driven while the audio runs. The streamer plays faster than real time (--speed), and every wait
// is for a condition (`until`), never a fixed time.

#include "expected.h"
#include "hostScript.h"

#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <algorithm>

using namespace e2e;

namespace {

const QStringList kFast{QStringLiteral("--speed"), QStringLiteral("40")};
/// Where titles are checked against the audio: slower, so that the lag of a busy machine is
/// fewer seconds of audio.
const QStringList kTimed{QStringLiteral("--speed"), QStringLiteral("20")};

QByteArray readFile(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Decodes an AAC file with ffmpeg (scripts/install-deps.sh installs it); empty when it decoded
/// cleanly, else ffmpeg's complaint.
QString decodeErrors(const QString& file)
{
    const QString ffmpeg = QStandardPaths::findExecutable(QStringLiteral("ffmpeg"));
    if (ffmpeg.isEmpty())
        return QStringLiteral("ffmpeg is not installed (scripts/install-deps.sh installs it)");
    QProcess process;
    process.start(ffmpeg, {"-v", "error", "-i", file, "-f", "null", "-"});
    if (!process.waitForFinished(60000))
        return QStringLiteral("ffmpeg did not finish");
    const QString errors = QString::fromUtf8(process.readAllStandardError()).trimmed();
    return process.exitCode() == 0
               ? errors
               : errors + QStringLiteral(" (exit code %1)").arg(process.exitCode());
}

/// The start that the service answered for the step's tune (from `service requests tune`).
QJsonObject tunedStart(const Step& step)
{
    for (const QJsonObject& service : step.items("service")) {
        for (const QJsonValue& request : service.value("requests").toArray()) {
            const QString text = request.toString();
            const int arrow = text.indexOf(" => ");
            if (arrow >= 0)
                return QJsonDocument::fromJson(text.mid(arrow + 4).toUtf8()).object();
        }
    }
    return QJsonObject();
}

/// The play-logic documents of a step, in order.
QList<QJsonObject> playLogic(const Step& step)
{
    return step.items("playlogic");
}

QStringList distinctTrackTitles(const Step& step)
{
    QStringList titles;
    for (const QJsonObject& data : playLogic(step)) {
        const QString title = data["track"].toObject()["title"].toString();
        if (!title.isEmpty() && (titles.isEmpty() || titles.last() != title))
            titles << title;
    }
    return titles;
}

class PlaybackThroughHostTest : public HostTest
{
protected:
    /// One playback: start `path` into `name`.aac, wait for `bytes` played, stop, then ask the
    /// service what it delivered.
    void listen(Script& script, const QString& name, const QString& path, int bytes,
                const QString& before = QString())
    {
        script.step(name);
        if (!before.isEmpty())
            script.rows(before);
        script.line("service requests tune")
            .line(QStringLiteral("start \"%1\" --out %2").arg(path, file(name + ".aac")))
            .line("until state 2 --seconds 20")
            .line(QStringLiteral("until played %1 --seconds 60").arg(bytes))
            .line("stats")
            .line("stop")
            .line("until state 0")
            .line("service requests tune")
            .line(QStringLiteral("service plaintext %1").arg(file(name + ".plain")));
    }

    /// What the streamer played is the service's plaintext from the tune position, byte for
    /// byte, and decodes cleanly.
    void expectPlayedAsServed(const HostRun& run, const QString& name, const QString& kind,
                              int bytes)
    {
        const Step step = run.step(name);
        EXPECT_TRUE(step.errors().isEmpty())
            << name.toStdString() << ": " << step.errors().join("; ").toStdString();
        const QJsonObject plaintext = step.items("service").last()["plaintext"].toObject();
        EXPECT_EQ(plaintext["kind"].toString(), kind);
        // What played before the stop: once the host has asked for a stop, its streamer drops
        // audio that does not fit its queue until the flush arrives, so the rest has gaps.
        const qint64 beforeStop =
            qint64(step.items("stats").value(0)["streamer"].toObject()["bytesPlayed"].toDouble());
        const QByteArray played = readFile(file(name + ".aac")).left(int(beforeStop));
        const QByteArray served = readFile(file(name + ".plain"));
        ASSERT_GE(played.size(), bytes) << name.toStdString();
        ASSERT_GE(served.size(), played.size()) << name.toStdString();
        EXPECT_TRUE(served.startsWith(played))
            << name.toStdString()
            << ": the audio differs from the service's from the tune position on";
        QFile heard(file(name + ".heard.aac"));
        ASSERT_TRUE(heard.open(QIODevice::WriteOnly));
        heard.write(played);
        heard.close();
        EXPECT_EQ(decodeErrors(heard.fileName()).toStdString(), "") << name.toStdString();
    }
};

TEST_F(PlaybackThroughHostTest, EachKindOfContentPlaysAsTheServiceSentItWithItsTracks)
{
    const sxm::service::Show& show = catalog().shows().at(0);
    const sxm::service::Content& showChannel = catalog().channels().at(show.channel).records.at(0);
    // All Channels lists the Xtra channels (number 0) before the live ones.
    const QString firstLiveRow =
        paths::allChannels() + "#" + QString::number(catalog().xtraChannels().size() + 1);
    Script script;
    // A live stream holds only the audio from the song on air to the live point; past that it
    // comes in real time.
    listen(script, "live", firstLiveRow, 100000);
    // Past the longest Xtra track (300 s at 64 kbit/s), so that the track changes on air.
    listen(script, "xtra", paths::xtraGenre("Pop", "pop"), 2600000);
    // The episode list of a show exists once its genre's shows were shown.
    listen(script, "episode", paths::episodes(qs(show.record.assetGuid)), 200000,
           paths::onDemand(qs(showChannel.genre), qs(showChannel.genreKey), QString()));
    const HostRun run = runScript(script, QProcessEnvironment(), kTimed);
    ASSERT_FALSE(run.timedOut) << run.diagnostics();

    expectPlayedAsServed(run, "live", "live", 100000);
    expectPlayedAsServed(run, "xtra", "xtra", 2600000);
    expectPlayedAsServed(run, "episode", "episode", 200000);

    // A live channel shows the track on air at the position it tuned to.
    const Step live = run.step("live");
    const QJsonObject start = tunedStart(live);
    const sxm::service::Channel* channel = channelById(start["id"].toString());
    ASSERT_NE(channel, nullptr) << run.diagnostics();
    const qint64 startMs = qint64(start["startSegment"].toDouble()) * 10000 +
                           qint64(start["startOffsetMs"].toDouble());
    const sxm::service::Track onAir =
        catalog().liveTrack(*channel, catalog().liveTrackIndexAt(*channel, startMs));
    EXPECT_EQ(distinctTrackTitles(live).value(0), qs(onAir.title));

    // An Xtra channel's titles follow its track list as the audio moves on.
    const Step xtra = run.step("xtra");
    const sxm::service::Channel* xtraChannel = channelById(tunedStart(xtra)["id"].toString());
    ASSERT_NE(xtraChannel, nullptr);
    QStringList listed;
    for (const sxm::service::Track& track : xtraChannel->xtraTracks)
        listed << qs(track.title);
    const QStringList shown = distinctTrackTitles(xtra);
    ASSERT_GE(shown.size(), 2) << shown.join(", ").toStdString();
    EXPECT_EQ(shown, listed.mid(0, shown.size()));
    // ... and change with the audio the listener hears, not with what was handed ahead to the
    // streamer (the queue, read-ahead and socket hold two minutes and more): the play time of a
    // track nears its end first. The library places the listener by the output delay, reckoned
    // from the nominal bit rate and the bytes the streamer last reported, and at --speed 20 a
    // tenth of a second of lag (more under the sanitizers) is several seconds of audio: allow
    // half a minute, well short of the queue's worth that a wrong count shows.
    QString title;
    double position = 0;
    for (const OutputLine& line : xtra.lines) {
        if (line.json.contains("position"))
            position = line.json["position"].toObject()["ms"].toDouble();
        const QString now =
            line.json["playlogic"].toObject()["track"].toObject()["title"].toString();
        if (now.isEmpty() || now == title)
            continue;
        if (!title.isEmpty()) {
            const int index = int(listed.indexOf(title));
            ASSERT_GE(index, 0);
            EXPECT_GE(position, xtraChannel->xtraTracks.at(size_t(index)).durationMs - 30000)
                << "\"" << now.toStdString() << "\" shown early";
        }
        title = now;
    }

    // The memory of the path is bounded: nothing is dropped, the streamer's queue stays within
    // its size, and with more audio at hand than the queue holds the library was held back.
    for (const char* name : {"live", "xtra", "episode"}) {
        const QJsonObject streamer = run.step(name).items("stats").value(0)["streamer"].toObject();
        EXPECT_EQ(streamer["droppedBytes"].toInt(), 0) << name;
        EXPECT_LE(streamer["maxQueuedBytes"].toInt(), 1048576 + 65536) << name;
    }
    EXPECT_GT(
        run.step("xtra").items("stats").value(0)["streamer"].toObject()["heldBackCount"].toInt(),
        0);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // (The sanitizers keep freed memory in quarantine and shadow what is touched: there the
    // figure says nothing.)
    const int rssAfterFirst = run.step("live").items("stats").value(0)["rssKiB"].toInt();
    const int rssAfterLongest = run.step("xtra").items("stats").value(0)["rssKiB"].toInt();
    EXPECT_LT(rssAfterLongest - rssAfterFirst, 16 * 1024)
        << "ten times the audio must not take ten times the memory";
#endif

    // An episode publishes its part's length, and its play time moves from the part's start.
    const Step episode = run.step("episode");
    QSet<int> partLengths;
    for (int index : show.episodes) {
        for (const sxm::service::Track& part : catalog().episodes().at(index).parts)
            partLengths.insert(part.durationMs);
    }
    int duration = 0;
    for (const QJsonObject& data : playLogic(episode))
        duration = qMax(duration, data["durationMs"].toInt());
    EXPECT_TRUE(partLengths.contains(duration)) << "duration " << duration;
    QList<double> positions;
    for (const QJsonObject& position : episode.items("position"))
        positions << position["ms"].toDouble();
    ASSERT_GE(positions.size(), 3);
    EXPECT_GT(*std::max_element(positions.begin(), positions.end()), 1000.0);
}

TEST_F(PlaybackThroughHostTest, PauseTogglesStopEndsAndPlayWhilePlayingSwitches)
{
    Script script;
    script.step("play").line(QStringLiteral("start \"%1#1\"").arg(paths::allChannels()));
    script.line("until state 2 --seconds 20");
    script.step("pause").line("pause").line("until state 3").line("pause").line("until state 2");
    script.step("switch")
        .line(QStringLiteral("start \"%1#2\"").arg(paths::allChannels()))
        .line("until played 0")
        .line("until state 2 --seconds 20");
    script.step("stop").line("stop").line("until state 0");
    script.step("stop again").line("stop");
    const HostRun run = runScript(script, QProcessEnvironment(), kFast);
    ASSERT_FALSE(run.timedOut) << run.diagnostics();
    for (const char* name : {"play", "pause", "switch", "stop", "stop again"})
        EXPECT_TRUE(run.step(name).errors().isEmpty())
            << name << ": " << run.step(name).errors().join("; ").toStdString();

    QList<int> paused;
    for (const QJsonObject& data : playLogic(run.step("pause")))
        paused << data["state"].toInt();
    EXPECT_TRUE(paused.contains(3) && paused.last() == 2);

    // Between the two playbacks the state passes through 1, and through 0 at most once.
    const Step switched = run.step("switch");
    const QString second = switched.items("started").value(0)["title"].toString();
    QList<int> states;
    for (const QJsonObject& data : playLogic(switched))
        states << data["state"].toInt();
    EXPECT_TRUE(states.contains(1));
    EXPECT_LE(states.count(0), 1);
    ASSERT_FALSE(playLogic(switched).isEmpty());
    EXPECT_EQ(playLogic(switched).last()["media"].toObject()["title"].toString(), second);
    EXPECT_EQ(playLogic(switched).last()["state"].toInt(), 2);
    EXPECT_EQ(playLogic(run.step("stop")).last()["state"].toInt(), 0);
}

TEST_F(PlaybackThroughHostTest, TheLibraryEndingPlaybackOrASignOutStopsItWithoutHanging)
{
    const QString channel = QStringLiteral("start \"%1#1\"").arg(paths::xtraGenre("Pop", "pop"));
    Script script;
    script.step("ended").line(channel).line("until state 2 --seconds 20");
    script.line("service endPlayback").line("until state 0 --seconds 15");
    script.line("until popup \"Playback stopped\" --seconds 5");
    script.step("signed out while playing").line(channel).line("until state 2 --seconds 20");
    script.line("logout").line("until state 0 --seconds 5");
    script.step("signed out while paused").line("login demo demo").line(channel);
    // With the streamer's queue full the flush of the stop cannot pass the audio before it.
    script.line("until played 100000 --seconds 20").line("pause").line("until state 3");
    script.line("logout").line("until state 0 --seconds 5");
    const HostRun run = runScript(script, QProcessEnvironment(), kFast);
    ASSERT_FALSE(run.timedOut) << run.diagnostics();
    for (const char* name : {"ended", "signed out while playing", "signed out while paused"})
        EXPECT_TRUE(run.step(name).errors().isEmpty())
            << name << ": " << run.step(name).errors().join("; ").toStdString() << "\n"
            << run.diagnostics();

    // The listener learns why: the library's own text, not a generic one.
    const QJsonObject popup = run.step("ended").items("popup").value(0);
    EXPECT_EQ(popup["title"].toString(), "Playback stopped");
    EXPECT_FALSE(popup["lines"].toArray().isEmpty());
    EXPECT_FALSE(popup["lines"].toArray().first().toString().isEmpty());
}

} // namespace
