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
    QByteArray expected;
    while (expected.size() < played.size())
        expected += testpattern::bytes(0, 100000);
    EXPECT_EQ(firstDifference(played, expected), -1);
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
