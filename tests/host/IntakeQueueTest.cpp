#include "IntakeQueue.h"

#include "TestPattern.h"

#include <gtest/gtest.h>

TEST(IntakeQueue, HoldsAFrameThatDoesNotFitAndLetsItInAsRoomIsMade)
{
    IntakeQueue queue(100);
    const quint64 sender = queue.beginConnection();
    EXPECT_EQ(queue.push(sender, testpattern::bytes(0, 60)), IntakeQueue::Admission::Queued);
    // 60 + 60 > 100: held aside, and the receiver must stop reading.
    EXPECT_EQ(queue.push(sender, testpattern::bytes(60, 60)), IntakeQueue::Admission::Full);
    EXPECT_EQ(queue.size(), 120);
    EXPECT_FALSE(queue.hasRoom());
    EXPECT_EQ(queue.peek(1000).size(), 60);

    EXPECT_EQ(queue.take(30), testpattern::bytes(0, 30));
    // The held frame moved in: 90 of 100 bytes used, so the receiver may read again.
    EXPECT_TRUE(queue.hasRoom());
    EXPECT_EQ(queue.peek(1000), testpattern::bytes(30, 90));
    EXPECT_EQ(queue.take(1000), testpattern::bytes(30, 90));
    EXPECT_TRUE(queue.hasRoom());
    EXPECT_EQ(queue.size(), 0);
    EXPECT_EQ(queue.figures().maxSize, 120) << "the held frame counts while it waits";
    queue.resetFigures();
    EXPECT_EQ(queue.figures().maxSize, 0);
}

TEST(IntakeQueue, AFrameLargerThanTheQueueStillGetsIntoAnEmptyQueue)
{
    IntakeQueue queue(10);
    const quint64 sender = queue.beginConnection();
    EXPECT_EQ(queue.push(sender, testpattern::bytes(0, 25)), IntakeQueue::Admission::Full);
    EXPECT_EQ(queue.peek(100).size(), 25);
    EXPECT_EQ(queue.take(25), testpattern::bytes(0, 25));
}

TEST(IntakeQueue, RetiredConnectionsAreDroppedAndNewOnesKept)
{
    IntakeQueue queue;
    const quint64 old = queue.beginConnection();
    queue.push(old, "abc");
    queue.retireCurrentConnection();
    EXPECT_EQ(queue.size(), 0);
    EXPECT_EQ(queue.currentConnection(), 0u);
    EXPECT_EQ(queue.push(old, "late"), IntakeQueue::Admission::Dropped);
    EXPECT_EQ(queue.figures().drainedBytes, 0) << "only a drain's drops count as drained";
    const quint64 next = queue.beginConnection();
    EXPECT_NE(next, old);
    EXPECT_EQ(queue.push(next, "new"), IntakeQueue::Admission::Queued);
    EXPECT_EQ(queue.take(10), QByteArray("new"));
}

TEST(IntakeQueue, DrainingDropsWhatDoesNotFitUntilTheFlush)
{
    IntakeQueue queue(100);
    const quint64 sender = queue.beginConnection();
    queue.push(sender, testpattern::bytes(0, 100));
    queue.beginDrain();
    // Full, but the reader must go on to reach the flush: the frame is dropped, not held.
    EXPECT_EQ(queue.push(sender, testpattern::bytes(100, 50)), IntakeQueue::Admission::Dropped);
    EXPECT_EQ(queue.size(), 100);
    EXPECT_EQ(queue.figures().drainedBytes, 50);
    queue.flush(sender);
    EXPECT_FALSE(queue.isDraining());
    EXPECT_EQ(queue.push(sender, testpattern::bytes(0, 60)), IntakeQueue::Admission::Queued);
    EXPECT_EQ(queue.push(sender, testpattern::bytes(60, 60)), IntakeQueue::Admission::Full);
    EXPECT_EQ(queue.size(), 120);
}
