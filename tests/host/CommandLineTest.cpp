#include "CommandLine.h"

#include <gtest/gtest.h>

TEST(CommandLine, SplitLineGroupsQuotesEscapesAndDropsComments)
{
    QStringList words;
    QStringList rest;
    QString error;
    ASSERT_TRUE(splitLine(QStringLiteral(R"(set /a "two words" '{"k": 1}' x\ y # note)"), &words,
                          &rest, &error));
    EXPECT_EQ(words, (QStringList{"set", "/a", "two words", R"({"k": 1})", "x y"}));
    // The raw rest keeps the JSON as typed, without the comment.
    EXPECT_EQ(rest.at(2).trimmed(), QStringLiteral(R"("two words" '{"k": 1}' x\ y)"));

    ASSERT_TRUE(splitLine(QStringLiteral("   # only a comment"), &words, &rest, &error));
    EXPECT_TRUE(words.isEmpty());

    EXPECT_FALSE(splitLine(QStringLiteral("search \"open"), &words, &rest, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("Unterminated")));
}

TEST(CommandLine, HostOptionsAreTakenWhereverTheyStand)
{
    HostOptions options;
    QStringList command;
    QString error;
    ASSERT_TRUE(parseHostOptions({"rows", "--json", "browse", "--worker-setting", "a=b=c"},
                                 &options, &command, &error));
    EXPECT_EQ(command, (QStringList{"rows", "browse"}));
    EXPECT_EQ(options.workerSettings.value(QStringLiteral("a")), QStringLiteral("b=c"));

    EXPECT_FALSE(parseHostOptions({"--speed", "0"}, &options, &command, &error));
    EXPECT_FALSE(parseHostOptions({"--speed", "fast"}, &options, &command, &error));
    EXPECT_FALSE(parseHostOptions({"--module"}, &options, &command, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("--module needs a value")));
    EXPECT_FALSE(parseHostOptions({"--worker-setting", "novalue"}, &options, &command, &error));
}
