// mivo-host driven as a subprocess on the test module, as a device drives a module.

#include "HostProcess.h"
#include "TestPattern.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <gtest/gtest.h>

namespace {

QByteArray readFile(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString& name, const QByteArray& bytes)
{
    QFile file(name);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

QStringList titles(const QJsonObject& list)
{
    QStringList out;
    for (const QJsonValue& row : list.value(QStringLiteral("rows")).toArray())
        out << row.toObject().value(QStringLiteral("title")).toString();
    return out;
}

QList<int> streamerStates(const HostProcess::Result& result)
{
    QList<int> states;
    for (const QJsonObject& data : result.items(QStringLiteral("streamer")))
        states << data.value(QStringLiteral("state")).toInt();
    return states;
}

/// Where `played` differs from the pattern's start, or -1 when it is a prefix of it.
qint64 firstDifference(const QByteArray& played, const QByteArray& pattern)
{
    for (qint64 i = 0; i < played.size(); ++i)
        if (i >= pattern.size() || played.at(int(i)) != pattern.at(int(i)))
            return i;
    return -1;
}

/// The start of the endless pattern, which repeats every 100000 bytes.
QByteArray endlessPattern(qint64 size)
{
    QByteArray expected;
    while (expected.size() < size)
        expected += testpattern::bytes(0, 100000);
    return expected;
}

std::string streamAsText(const HostProcess::Result& result)
{
    QStringList text;
    for (const QJsonObject& line : result.lines)
        text << QString::fromUtf8(QJsonDocument(line).toJson(QJsonDocument::Compact));
    return (text.join(QLatin1Char('\n')) + QStringLiteral("\nstderr: ") + result.errors)
        .toStdString();
}

QJsonValue first(const HostProcess::Result& result, const char* item, const char* key)
{
    return result.items(QString::fromLatin1(item)).value(0).value(QString::fromLatin1(key));
}

} // namespace

TEST(HostModuleLoading, MissingFileAndMissingSymbolAreClearErrors)
{
    HostProcess host;
    const auto missing = host.run("--module " + host.file("nope.so") + " rows browse");
    EXPECT_EQ(missing.exitCode, 1);
    ASSERT_EQ(missing.items("error").size(), 1) << streamAsText(missing);
    EXPECT_EQ(missing.error("name"), "ModuleLoad");
    EXPECT_TRUE(missing.error("message").toString().startsWith("Module not found"));

    const auto noSymbol = host.run("--module " MIVO_TEST_NOSYMBOL_MODULE " rows browse");
    EXPECT_EQ(noSymbol.exitCode, 1);
    ASSERT_EQ(noSymbol.items("error").size(), 1) << streamAsText(noSymbol);
    EXPECT_TRUE(noSymbol.error("message").toString().contains("does not export worker_create"));
}

TEST(HostRows, ListsPagesAndUnknownPaths)
{
    HostProcess host;
    const auto all = host.run("rows /test/items");
    EXPECT_EQ(all.exitCode, 0) << streamAsText(all);
    ASSERT_EQ(all.lists().size(), 1);
    const QJsonObject list = all.lists().first();
    EXPECT_EQ(list.value("title"), "Test items");
    EXPECT_EQ(list.value("total"), 23);
    EXPECT_EQ(titles(list).mid(0, 4), (QStringList{"Pattern", "Endless", "Breaking", "Row 1"}));
    const QJsonObject firstRow = list.value("rows").toArray().first().toObject();
    EXPECT_EQ(firstRow.value("path"), "/test/items/pattern?bytes=200000");
    EXPECT_EQ(firstRow.value("type"), 3);

    const auto page = host.run("rows /test/items --offset 20 --count 10");
    ASSERT_EQ(page.lists().size(), 1) << streamAsText(page);
    EXPECT_EQ(page.lists().first().value("offset"), 20);
    EXPECT_EQ(titles(page.lists().first()), (QStringList{"Row 18", "Row 19", "Row 20"}));

    const auto unknown = host.run("rows /no/such/list");
    EXPECT_EQ(unknown.exitCode, 1);
    ASSERT_EQ(unknown.items("error").size(), 1) << streamAsText(unknown);
    EXPECT_EQ(unknown.error("message"), "Unknown path: /no/such/list");

    const auto badOffset = host.run("rows /test/items --offset -3");
    EXPECT_EQ(badOffset.exitCode, 1);
    EXPECT_EQ(badOffset.error("name"), "Usage");

    const auto silent = host.run("--timeout 0.2 rows /test/silent");
    EXPECT_EQ(silent.exitCode, 1);
    ASSERT_EQ(silent.items("error").size(), 1) << streamAsText(silent);
    EXPECT_EQ(silent.error("name"), "Timeout") << "an unanswered request ends with an error";
    EXPECT_TRUE(silent.error("message").toString().contains("rows of /test/silent"));
}

TEST(HostPlayback, PlayedBytesArriveExactlyInOut)
{
    HostProcess host;
    const QString out = host.file("pattern.bin");
    const auto plain = host.run("--speed 100 play /test/items#1 --out " + out + " --seconds 60");
    EXPECT_EQ(plain.exitCode, 0) << streamAsText(plain);
    EXPECT_EQ(readFile(out), testpattern::bytes(0, 200000));
    ASSERT_EQ(plain.items("played").size(), 1) << streamAsText(plain);
    EXPECT_EQ(first(plain, "played", "bytes"), 200000);
    // 200000 bytes at the default 16000 bytes/s.
    EXPECT_EQ(first(plain, "played", "ms"), 12500);
    EXPECT_TRUE(streamerStates(plain).contains(2));
    EXPECT_EQ(streamerStates(plain).last(), 0);
    // The whole pattern fits the 1 MiB queue: the sender was never held back.
    const QJsonObject figures = first(plain, "played", "streamer").toObject();
    EXPECT_GT(figures.value("maxQueuedBytes").toDouble(), 0);
    EXPECT_LE(figures.value("maxQueuedBytes").toDouble(), 200000);
    EXPECT_EQ(figures.value("heldBackCount"), 0);
    EXPECT_EQ(figures.value("droppedBytes"), 0);
}

TEST(HostPlayback, StartPlaysOnWhileLaterCommandsActAndUntilWaitsForThem)
{
    HostProcess host;
    const QString out = host.file("endless.bin");
    const QString script = host.file("start.txt");
    writeFile(script, "start /test/items#2 --out " + out.toUtf8() +
                          "\n"
                          "until played 20000\n"
                          "until track\n"
                          "until position 2000\n"
                          "pause\n"
                          "until state 3\n"
                          "stats\n"
                          "stop\n"
                          "until state 0\n"
                          "stats\n"
                          "until position 999999 --seconds 0.2\n");
    const auto run = host.run("--speed 2 run " + script);
    EXPECT_EQ(run.exitCode, 1) << "the last until fails";
    EXPECT_EQ(first(run, "started", "title"), "Endless") << streamAsText(run);

    QStringList what;
    for (const QJsonObject& until : run.items("until"))
        what << until.value("what").toString() + " " + until.value("seen").toVariant().toString();
    ASSERT_EQ(what.size(), 5) << streamAsText(run);
    EXPECT_GE(run.items("until").at(0).value("seen").toDouble(), 20000);
    EXPECT_EQ(what.at(1), "track Endless track");
    EXPECT_GE(run.items("until").at(2).value("seen").toDouble(), 2000);
    EXPECT_EQ(what.mid(3), (QStringList{"state 3", "state 0"}));
    ASSERT_EQ(run.items("error").size(), 1);
    EXPECT_EQ(run.error("name"), "UntilTimeout");
    EXPECT_TRUE(run.error("message").toString().startsWith(
        "Waited 0.2 s for a play time of 999999 ms; last seen: "));

    // Paused with the endless sender ahead: the 64 KiB queue is full and holds it back.
    const QList<QJsonObject> stats = run.items("stats");
    ASSERT_EQ(stats.size(), 2);
    EXPECT_GT(stats.at(0).value("rssKiB").toDouble(), 0);
    EXPECT_GE(stats.at(0).value("hwmKiB").toDouble(), stats.at(0).value("rssKiB").toDouble());
    const QJsonObject paused = stats.at(0).value("streamer").toObject();
    EXPECT_EQ(paused.value("state"), 3);
    EXPECT_GT(paused.value("queuedBytes").toDouble(), 0);
    EXPECT_GE(paused.value("maxQueuedBytes").toDouble(), 65536);
    EXPECT_LE(paused.value("maxQueuedBytes").toDouble(), 65536 + 4096) << "one held-aside send";
    EXPECT_GE(paused.value("heldBackCount").toDouble(), 1);
    // The stop drained the audio that stood in the socket before the sender's flush.
    const QJsonObject stopped = stats.at(1).value("streamer").toObject();
    EXPECT_EQ(stopped.value("state"), 0);
    EXPECT_EQ(stopped.value("queuedBytes"), 0);
    EXPECT_GT(stopped.value("droppedBytes").toDouble(), 0);

    // The file holds exactly the bytes of that playback, closed when it stopped.
    const QByteArray played = readFile(out);
    EXPECT_EQ(played.size(), qint64(stopped.value("bytesPlayed").toDouble()));
    EXPECT_EQ(firstDifference(played, endlessPattern(played.size())), -1);
}

TEST(HostPlayback, PauseResumeAndStopInTheShell)
{
    HostProcess host;
    const QString out = host.file("endless.bin");
    const auto shell =
        host.run("--speed 4 shell", "open /test/items\nplay 2 --out " + out.toUtf8() +
                                        "\nwait 1\npause\nwait 1\npause\n"
                                        "wait 1\nstop\nquit\n");
    EXPECT_EQ(shell.exitCode, 0) << streamAsText(shell);
    const QList<int> states = streamerStates(shell);
    const int paused = states.indexOf(3);
    ASSERT_GE(paused, 1) << streamAsText(shell);
    EXPECT_EQ(states.mid(0, paused).last(), 2);
    EXPECT_EQ(states.value(paused + 1), 2);
    EXPECT_EQ(states.last(), 0);
    // The endless pattern repeats every 100000 bytes; what played is its start, exactly.
    const QByteArray played = readFile(out);
    EXPECT_GT(played.size(), 0);
    EXPECT_EQ(firstDifference(played, endlessPattern(played.size())), -1);
}

TEST(HostPlayback, SenderThatVanishesMidStreamGivesTheStreamerError)
{
    HostProcess host;
    const QString out = host.file("broken.bin");
    const auto broken = host.run("play /test/items#3 --out " + out + " --seconds 30");
    EXPECT_EQ(broken.exitCode, 1) << streamAsText(broken);
    QJsonObject error;
    for (const QJsonObject& data : broken.items("streamer"))
        if (data.contains("error"))
            error = data.value("error").toObject();
    EXPECT_EQ(error.value("name"), "StreamBroken") << streamAsText(broken);
    // The play logic sees it too, in its published data.
    bool playLogicSawIt = false;
    for (const QJsonObject& data : broken.items("playlogic"))
        playLogicSawIt |= data.value("error").toString().contains("broke");
    EXPECT_TRUE(playLogicSawIt);
    EXPECT_EQ(firstDifference(readFile(out), testpattern::bytes(0, 50000)), -1);

    // The module's pop-up about it is new once: a second wait for it finds nothing new.
    const QString script = host.file("popup.txt");
    writeFile(script, "start /test/items#3\nuntil popup broke\nuntil popup --seconds 0.2\n");
    const auto popups = host.run("run " + script);
    ASSERT_EQ(popups.items("until").size(), 1) << streamAsText(popups);
    EXPECT_EQ(first(popups, "until", "seen"), "Playback failed");
    EXPECT_EQ(popups.error("message"), "Waited 0.2 s for a new pop-up; last seen: nothing");
}

TEST(HostScripts, WatchPrintsChangesAndStopsAtACloseNotice)
{
    HostProcess host;
    const QString script = host.file("watch.txt");
    writeFile(script, "set /test/grow?delayMs=1000 activate null\n"
                      "set /test/close?delayMs=2500 activate null\n"
                      "watch /test/items 20\n");
    const auto run = host.run("run " + script);
    EXPECT_EQ(run.exitCode, 0) << streamAsText(run);
    const QList<QJsonObject> lists = run.lists();
    ASSERT_GE(lists.size(), 2) << streamAsText(run);
    EXPECT_EQ(lists.first().value("total"), 23);
    EXPECT_EQ(lists.last().value("total"), 24);
    EXPECT_EQ(titles(lists.last()).last(), "Grown 23");
    ASSERT_EQ(run.items("closed").size(), 1) << streamAsText(run);
    EXPECT_EQ(first(run, "closed", "path"), "/test/items");
}
