#include "StreamAddress.h"

#include <gtest/gtest.h>

TEST(StreamAddress, ParsesPathAndQueueSize)
{
    StreamAddress address;
    QString error;
    ASSERT_TRUE(StreamAddress::parse(
        QStringLiteral("smt2:///tmp/x/streamer.sock?queueSizeInBytes=4096"), &address, &error));
    EXPECT_EQ(address.socketPath, QStringLiteral("/tmp/x/streamer.sock"));
    EXPECT_EQ(address.queueSizeInBytes, 4096);

    ASSERT_TRUE(StreamAddress::parse(QStringLiteral("smt2:///tmp/s"), &address, &error));
    EXPECT_EQ(address.queueSizeInBytes, StreamAddress::kDefaultQueueSize);
}

TEST(StreamAddress, RefusesOtherSchemesEmptyPathsAndBadSizes)
{
    StreamAddress address;
    QString error;
    EXPECT_FALSE(StreamAddress::parse(QStringLiteral("http://x/y"), &address, &error));
    EXPECT_FALSE(
        StreamAddress::parse(QStringLiteral("smt2://?queueSizeInBytes=1"), &address, &error));
    EXPECT_FALSE(
        StreamAddress::parse(QStringLiteral("smt2:///s?queueSizeInBytes=0"), &address, &error));
    EXPECT_FALSE(
        StreamAddress::parse(QStringLiteral("smt2:///s?queueSizeInBytes=big"), &address, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("big")));
}
