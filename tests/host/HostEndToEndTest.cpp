// mivo-host driven as a subprocess on the test module, as a device drives a module.

#include "HostProcess.h"
#include "TestPattern.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
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
    for (qint64 i = 0; i < played.size(); ++i) {
        if (i >= pattern.size() || played.at(int(i)) != pattern.at(int(i)))
            return i;
    }
    return -1;
}

std::string streamAsText(const HostProcess::Result& result)
{
    QStringList text;
    for (const QJsonObject& line : result.lines)
        text << QString::fromUtf8(QJsonDocument(line).toJson(QJsonDocument::Compact));
    return (text.join(QLatin1Char('\n')) + QStringLiteral("\nstderr: ") + result.errors)
        .toStdString();
}

} // namespace

TEST(HostModuleLoading, MissingFileAndMissingSymbolAreClearErrors)
{
    HostProcess host;
    const auto missing = host.run({QStringLiteral("--module"), host.file(QStringLiteral("nope.so")),
                                   QStringLiteral("rows"), QStringLiteral("browse")});
    EXPECT_EQ(missing.exitCode, 1);
    ASSERT_EQ(missing.items(QStringLiteral("error")).size(), 1) << streamAsText(missing);
    EXPECT_EQ(missing.items(QStringLiteral("error")).first().value(QStringLiteral("name")),
              QStringLiteral("ModuleLoad"));
    EXPECT_TRUE(missing.items(QStringLiteral("error"))
                    .first()
                    .value(QStringLiteral("message"))
                    .toString()
                    .startsWith(QStringLiteral("Module not found")));

    const auto noSymbol =
        host.run({QStringLiteral("--module"), QStringLiteral(MIVO_TEST_NOSYMBOL_MODULE),
                  QStringLiteral("rows"), QStringLiteral("browse")});
    EXPECT_EQ(noSymbol.exitCode, 1);
    ASSERT_EQ(noSymbol.items(QStringLiteral("error")).size(), 1) << streamAsText(noSymbol);
    EXPECT_TRUE(noSymbol.items(QStringLiteral("error"))
                    .first()
                    .value(QStringLiteral("message"))
                    .toString()
                    .contains(QStringLiteral("does not export worker_create")));
}

TEST(HostRows, ListsPagesAndUnknownPaths)
{
    HostProcess host;
    const auto all = host.run({QStringLiteral("rows"), QStringLiteral("/test/items")});
    EXPECT_EQ(all.exitCode, 0) << streamAsText(all);
    ASSERT_EQ(all.lists().size(), 1);
    const QJsonObject list = all.lists().first();
    EXPECT_EQ(list.value(QStringLiteral("title")), QStringLiteral("Test items"));
    EXPECT_EQ(list.value(QStringLiteral("total")), 24);
    EXPECT_EQ(titles(list).mid(0, 4), (QStringList{"Pattern", "AAC", "Endless", "Breaking"}));
    const QJsonObject first = list.value(QStringLiteral("rows")).toArray().first().toObject();
    EXPECT_EQ(first.value(QStringLiteral("path")),
              QStringLiteral("/test/items/pattern?bytes=200000"));
    EXPECT_EQ(first.value(QStringLiteral("type")), 3);

    const auto page =
        host.run({QStringLiteral("rows"), QStringLiteral("/test/items"), QStringLiteral("--offset"),
                  QStringLiteral("20"), QStringLiteral("--count"), QStringLiteral("10")});
    ASSERT_EQ(page.lists().size(), 1) << streamAsText(page);
    EXPECT_EQ(page.lists().first().value(QStringLiteral("offset")), 20);
    EXPECT_EQ(titles(page.lists().first()), (QStringList{"Row 17", "Row 18", "Row 19", "Row 20"}));

    const auto unknown = host.run({QStringLiteral("rows"), QStringLiteral("/no/such/list")});
    EXPECT_EQ(unknown.exitCode, 1);
    ASSERT_EQ(unknown.items(QStringLiteral("error")).size(), 1) << streamAsText(unknown);
    EXPECT_EQ(unknown.items(QStringLiteral("error")).first().value(QStringLiteral("message")),
              QStringLiteral("Unknown path: /no/such/list"));

    const auto badOffset = host.run({QStringLiteral("rows"), QStringLiteral("/test/items"),
                                     QStringLiteral("--offset"), QStringLiteral("-3")});
    EXPECT_EQ(badOffset.exitCode, 1);
    EXPECT_EQ(badOffset.items(QStringLiteral("error")).first().value(QStringLiteral("name")),
              QStringLiteral("Usage"));
}

TEST(HostRows, AnUnansweredRequestEndsWithATimeoutError)
{
    HostProcess host;
    const auto silent = host.run({QStringLiteral("--timeout"), QStringLiteral("0.2"),
                                  QStringLiteral("rows"), QStringLiteral("/test/silent")});
    EXPECT_EQ(silent.exitCode, 1);
    ASSERT_EQ(silent.items(QStringLiteral("error")).size(), 1) << streamAsText(silent);
    const QJsonObject error = silent.items(QStringLiteral("error")).first();
    EXPECT_EQ(error.value(QStringLiteral("name")), QStringLiteral("Timeout"));
    EXPECT_TRUE(error.value(QStringLiteral("message"))
                    .toString()
                    .contains(QStringLiteral("rows of /test/silent")));
}

TEST(HostSettings, KeptAcrossRestartsAndCorruptFileMovedAside)
{
    HostProcess host;
    const auto set = host.run({QStringLiteral("set"), QStringLiteral("/test/setting"),
                               QStringLiteral("value"), QStringLiteral("\"kept\"")});
    ASSERT_EQ(set.exitCode, 0) << streamAsText(set);
    const auto read = host.run(
        {QStringLiteral("data"), QStringLiteral("/test/setting"), QStringLiteral("value")});
    ASSERT_EQ(read.items(QStringLiteral("data")).size(), 1) << streamAsText(read);
    EXPECT_EQ(read.items(QStringLiteral("data")).first().value(QStringLiteral("value")),
              QStringLiteral("kept"));
    // Defaults stay out of the file: only what was set is there.
    const QByteArray saved = readFile(host.settingsFile());
    EXPECT_TRUE(saved.contains("/settings/test/value"));
    EXPECT_FALSE(saved.contains("/settings/device/make"));

    const QByteArray garbage = "{ this is not json";
    writeFile(host.settingsFile(), garbage);
    const auto afterCorruption = host.run(
        {QStringLiteral("data"), QStringLiteral("/test/setting"), QStringLiteral("value")});
    EXPECT_EQ(afterCorruption.exitCode, 0) << streamAsText(afterCorruption);
    EXPECT_TRUE(afterCorruption.errors.contains(QStringLiteral("corrupt")))
        << afterCorruption.errors.toStdString();
    EXPECT_EQ(afterCorruption.items(QStringLiteral("data")).first().value(QStringLiteral("value")),
              QString());
    const QStringList aside = QDir(QFileInfo(host.settingsFile()).absolutePath())
                                  .entryList({QStringLiteral("settings.json.corrupt-*")});
    ASSERT_EQ(aside.size(), 1);
    EXPECT_EQ(readFile(host.file(aside.first())), garbage);
}

TEST(HostPlayback, PlayedBytesArriveExactlyInOut)
{
    HostProcess host;
    const QString out = host.file(QStringLiteral("pattern.bin"));
    const auto plain =
        host.run({QStringLiteral("--speed"), QStringLiteral("100"), QStringLiteral("play"),
                  QStringLiteral("/test/items#1"), QStringLiteral("--out"), out,
                  QStringLiteral("--seconds"), QStringLiteral("60")});
    EXPECT_EQ(plain.exitCode, 0) << streamAsText(plain);
    EXPECT_EQ(readFile(out), testpattern::bytes(0, 200000));
    ASSERT_EQ(plain.items(QStringLiteral("played")).size(), 1) << streamAsText(plain);
    EXPECT_EQ(plain.items(QStringLiteral("played")).first().value(QStringLiteral("bytes")), 200000);
    // 200000 bytes at the default 16000 bytes/s.
    EXPECT_EQ(plain.items(QStringLiteral("played")).first().value(QStringLiteral("ms")), 12500);
    EXPECT_TRUE(streamerStates(plain).contains(2));
    EXPECT_EQ(streamerStates(plain).last(), 0);

    const QString aac = host.file(QStringLiteral("aac.bin"));
    const auto adts =
        host.run({QStringLiteral("--speed"), QStringLiteral("100"), QStringLiteral("play"),
                  QStringLiteral("/test/items#2"), QStringLiteral("--out"), aac,
                  QStringLiteral("--seconds"), QStringLiteral("60")});
    EXPECT_EQ(adts.exitCode, 0) << streamAsText(adts);
    const int frames = 51200 / testpattern::AdtsFrameBytes;
    EXPECT_EQ(readFile(aac), testpattern::adtsFrames(frames));
    // Paced by the ADTS headers: 1024 samples a frame at 44.1 kHz.
    EXPECT_EQ(adts.items(QStringLiteral("played")).first().value(QStringLiteral("ms")).toInt(),
              frames * 1024 * 1000 / testpattern::AdtsSampleRate);

    // A queue of 4096 bytes holds the sender back again and again; nothing may be lost.
    const QString small = host.file(QStringLiteral("small.bin"));
    const auto backPressure =
        host.run({QStringLiteral("--speed"), QStringLiteral("100"), QStringLiteral("play"),
                  QStringLiteral("/test/more#1"), QStringLiteral("--out"), small,
                  QStringLiteral("--seconds"), QStringLiteral("60")});
    EXPECT_EQ(backPressure.exitCode, 0) << streamAsText(backPressure);
    EXPECT_EQ(readFile(small), testpattern::bytes(0, 100000));
}

TEST(HostPlayback, PauseResumeAndStopInTheShell)
{
    HostProcess host;
    const QString out = host.file(QStringLiteral("endless.bin"));
    const QByteArray input = "open /test/items\n"
                             "play 3 --out " +
                             out.toUtf8() +
                             "\n"
                             "wait 1\n"
                             "pause\n"
                             "wait 1\n"
                             "pause\n"
                             "wait 1\n"
                             "stop\n"
                             "quit\n";
    const auto shell =
        host.run({QStringLiteral("--speed"), QStringLiteral("4"), QStringLiteral("shell")}, input);
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
    QByteArray expected;
    while (expected.size() < played.size())
        expected += testpattern::bytes(0, 100000);
    EXPECT_EQ(firstDifference(played, expected), -1);
}

TEST(HostPlayback, SenderThatVanishesMidStreamGivesTheStreamerError)
{
    HostProcess host;
    const QString out = host.file(QStringLiteral("broken.bin"));
    const auto broken =
        host.run({QStringLiteral("play"), QStringLiteral("/test/items#4"), QStringLiteral("--out"),
                  out, QStringLiteral("--seconds"), QStringLiteral("30")});
    EXPECT_EQ(broken.exitCode, 1) << streamAsText(broken);
    QJsonObject error;
    for (const QJsonObject& data : broken.items(QStringLiteral("streamer"))) {
        if (data.contains(QStringLiteral("error")))
            error = data.value(QStringLiteral("error")).toObject();
    }
    EXPECT_EQ(error.value(QStringLiteral("name")), QStringLiteral("StreamBroken"))
        << streamAsText(broken);
    // The play logic sees it too, in its published data.
    bool playLogicSawIt = false;
    for (const QJsonObject& data : broken.items(QStringLiteral("playlogic")))
        playLogicSawIt |=
            data.value(QStringLiteral("error")).toString().contains(QStringLiteral("broke"));
    EXPECT_TRUE(playLogicSawIt);
    EXPECT_EQ(firstDifference(readFile(out), testpattern::bytes(0, 50000)), -1);
}

TEST(HostScripts, RunExecutesEveryLineInOneProcess)
{
    HostProcess host;
    const QString script = host.file(QStringLiteral("script.txt"));
    writeFile(script, "# a comment\n"
                      "rows browse\n"
                      "\n"
                      "rows /no/such/list   # fails, the script goes on\n"
                      "search hello world\n"
                      "set /test/setting value \"two words\"\n"
                      "data /test/setting value\n"
                      "idle 42\n");
    const auto run = host.run({QStringLiteral("run"), script});
    EXPECT_EQ(run.exitCode, 1) << streamAsText(run);
    QStringList kinds;
    for (const QJsonObject& line : run.lines)
        kinds << (line.contains(QStringLiteral("rows")) ? QStringLiteral("rows")
                                                        : line.keys().first());
    EXPECT_EQ(kinds, (QStringList{"rows", "error", "rows", "set", "data", "idle"}));
    ASSERT_EQ(run.lists().size(), 2);
    EXPECT_EQ(titles(run.lists().at(1)), (QStringList{"hello", "world"}));
    EXPECT_EQ(run.items(QStringLiteral("data")).first().value(QStringLiteral("value")),
              QStringLiteral("two words"));
}

TEST(HostScripts, WatchPrintsChangesAndStopsAtACloseNotice)
{
    HostProcess host;
    const QString script = host.file(QStringLiteral("watch.txt"));
    writeFile(script, "set /test/grow?delayMs=1000 activate null\n"
                      "set /test/close?delayMs=2500 activate null\n"
                      "watch /test/items 20\n");
    const auto run = host.run({QStringLiteral("run"), script});
    EXPECT_EQ(run.exitCode, 0) << streamAsText(run);
    const QList<QJsonObject> lists = run.lists();
    ASSERT_GE(lists.size(), 2) << streamAsText(run);
    EXPECT_EQ(lists.first().value(QStringLiteral("total")), 24);
    EXPECT_EQ(lists.last().value(QStringLiteral("total")), 25);
    EXPECT_EQ(titles(lists.last()).last(), QStringLiteral("Grown 24"));
    ASSERT_EQ(run.items(QStringLiteral("closed")).size(), 1) << streamAsText(run);
    EXPECT_EQ(run.items(QStringLiteral("closed")).first().value(QStringLiteral("path")),
              QStringLiteral("/test/items"));
}

TEST(HostShell, OpensGoesBackAndReturnsToTheRootWhenAListCloses)
{
    HostProcess host;
    const auto shell =
        host.run({QStringLiteral("shell")}, "open 1\n"
                                            "back\n"
                                            "open 1\n"
                                            "set /test/close?delayMs=100 activate null\n"
                                            "wait 1\n"
                                            "quit\n");
    EXPECT_EQ(shell.exitCode, 0) << streamAsText(shell);
    QStringList shown;
    for (const QJsonObject& list : shell.lists())
        shown << list.value(QStringLiteral("path")).toString();
    EXPECT_EQ(shown, (QStringList{"/sirius/browse", "/test/items", "/sirius/browse", "/test/items",
                                  "/sirius/browse"}));
    EXPECT_EQ(shell.items(QStringLiteral("closed")).size(), 1);
}
