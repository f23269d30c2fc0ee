#include "PlayoutPacer.h"

#include "TestPattern.h"

#include <gtest/gtest.h>

TEST(PlayoutPacer, AdtsFramesLast1024SamplesAtTheirSampleRate)
{
    const QByteArray frames = testpattern::adtsFrames(3);
    const auto frame = PlayoutPacer::adtsFrame(frames);
    ASSERT_TRUE(frame.has_value());
    EXPECT_EQ(frame->bytes, testpattern::kAdtsFrameBytes);
    EXPECT_EQ(frame->durationUs, 1024LL * 1000000 / testpattern::kAdtsSampleRate);

    PlayoutPacer pacer;
    pacer.reset(PlayoutPacer::Timing::Adts);
    const auto unit = pacer.next(frames, frames.size(), false);
    ASSERT_TRUE(unit.has_value());
    EXPECT_EQ(unit->bytes, testpattern::kAdtsFrameBytes);
}

TEST(PlayoutPacer, AnIncompleteFrameWaitsUnlessTheStreamEnded)
{
    const QByteArray half = testpattern::adtsFrames(1).left(100);
    PlayoutPacer pacer;
    pacer.reset(PlayoutPacer::Timing::Adts);
    EXPECT_FALSE(pacer.next(half, half.size(), false).has_value());
    const auto tail = pacer.next(half, half.size(), true);
    ASSERT_TRUE(tail.has_value());
    EXPECT_EQ(tail->bytes, 100);
    EXPECT_EQ(tail->durationUs, PlayoutPacer::adtsFrame(testpattern::adtsFrames(1))->durationUs *
                                    100 / testpattern::kAdtsFrameBytes);
}

TEST(PlayoutPacer, BytesThatAreNotAdtsAreTimedByTheByteRateUpToTheNextSync)
{
    const QByteArray junk(50, 'x');
    const QByteArray stream = junk + testpattern::adtsFrames(1);
    PlayoutPacer pacer;
    pacer.reset(PlayoutPacer::Timing::Adts, 1000);
    const auto unit = pacer.next(stream, stream.size(), false);
    ASSERT_TRUE(unit.has_value());
    EXPECT_EQ(unit->bytes, 20); // 20 ms worth at 1000 bytes/s, before the sync at 50
    EXPECT_EQ(unit->durationUs, 20000);

    EXPECT_FALSE(PlayoutPacer::adtsFrame(QByteArray("\xFF\xF1\x7C\x80\x00\x1F\xFC", 7)))
        << "a reserved sample rate index is not ADTS";
    EXPECT_FALSE(PlayoutPacer::adtsFrame(QByteArray("\xFF\xF1\x50\x80\x00\x1F\xFC", 7)))
        << "a frame shorter than its header is not ADTS";
}

TEST(PlayoutPacer, ByteRateUnitsAreAboutTwentyMilliseconds)
{
    PlayoutPacer pacer;
    pacer.reset(PlayoutPacer::Timing::ByteRate, 16000);
    const QByteArray bytes = testpattern::bytes(0, 1000);
    const auto unit = pacer.next(bytes, bytes.size(), false);
    ASSERT_TRUE(unit.has_value());
    EXPECT_EQ(unit->bytes, 320);
    EXPECT_EQ(unit->durationUs, 20000);
    EXPECT_EQ(pacer.next(bytes.left(10), 10, false)->bytes, 10);
    EXPECT_FALSE(pacer.next(QByteArray(), 0, true).has_value());
}
