#include <mivosdk/CMReply.h>

#include "QtTestSupport.h"

#include <QThread>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using testsupport::waitUntil;

namespace {

/// A QThread with an event loop and a context object living on it.
struct LoopThread
{
    QThread thread;
    QObject* context = new QObject;
    LoopThread()
    {
        context->moveToThread(&thread);
        QObject::connect(&thread, &QThread::finished, context, &QObject::deleteLater);
        thread.start();
    }
    ~LoopThread()
    {
        thread.quit();
        thread.wait();
    }
};

} // namespace

TEST(CMReply, FirstCompletionWinsAcrossThreads)
{
    for (int round = 0; round < 50; ++round) {
        CMReply<int> reply;
        std::atomic<int> winners{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&, i] {
                const bool won =
                    i == 3 ? reply.setError(CMError(TrString("late"))) : reply.setResult(i);
                winners += won ? 1 : 0;
            });
        }
        threads.emplace_back([&] { winners += reply.cancel() ? 1 : 0; });
        for (auto& t : threads)
            t.join();
        EXPECT_EQ(winners.load(), 1);
        EXPECT_TRUE(reply.isFinished());
        const int outcomes =
            int(reply.isSucceeded()) + int(reply.isError()) + int(reply.isCancelled());
        EXPECT_EQ(outcomes, 1);
    }
}

TEST(CMReply, ContinuationsRunOnTheirContextThreadBeforeAndAfterCompletion)
{
    LoopThread loop;
    CMReply<QString> reply;
    std::atomic<QThread*> before{nullptr};
    std::atomic<QThread*> after{nullptr};
    reply.onSuccess(loop.context, [&](const QString& value) {
        EXPECT_EQ(value, QStringLiteral("done"));
        before = QThread::currentThread();
    });
    std::thread completer([&] { reply.setResult(QStringLiteral("done")); });
    completer.join();
    ASSERT_TRUE(waitUntil([&] { return before.load() != nullptr; }));
    EXPECT_EQ(before.load(), &loop.thread);

    reply.onFinished(loop.context, [&](const CMReply<QString>& finished) {
        EXPECT_EQ(finished.result(), QStringLiteral("done"));
        after = QThread::currentThread();
    });
    ASSERT_TRUE(waitUntil([&] { return after.load() != nullptr; }));
    EXPECT_EQ(after.load(), &loop.thread);
}

TEST(CMReply, AttachedOnTheContextThreadToAFinishedReplyRunsAtOnce)
{
    QObject context;
    CMReply<int> reply;
    reply.setResult(7);
    int seen = 0;
    reply.onSuccess(&context, [&](int value) { seen = value; });
    EXPECT_EQ(seen, 7) << "no event loop turn needed";
    int queued = 0;
    reply.onSuccess(
        &context, [&](int value) { queued = value; }, Qt::QueuedConnection);
    EXPECT_EQ(queued, 0);
    ASSERT_TRUE(waitUntil([&] { return queued == 7; }));
}

TEST(CMReply, CallbacksOfAnotherOutcomeOrOfADestroyedContextNeverRun)
{
    QObject context;
    int successes = 0;
    int errors = 0;
    int finished = 0;
    CMReply<int> failed;
    failed.onSuccess(&context, [&] { ++successes; })
        .onError(&context, [&](const CMError&) { ++errors; })
        .onFinished(&context, [&] { ++finished; });
    failed.setError(CMError(QStringLiteral("SiriusXM"), TrString("boom")));
    CMReply<int> cancelled;
    cancelled.onSuccess(&context, [&] { ++successes; })
        .onError(&context, [&](const CMError&) { ++errors; })
        .onFinished(&context, [&] { ++finished; });
    cancelled.cancel();
    CMReply<int> succeeded;
    auto* gone = new QObject;
    succeeded.onSuccess(gone, [&] { ++successes; });
    delete gone;
    succeeded.setResult(1);
    testsupport::pump();
    EXPECT_EQ(successes, 0);
    EXPECT_EQ(errors, 1);
    EXPECT_EQ(finished, 2);
}

TEST(CMReply, VoidViewSharesTheReplyAndNullReplyIgnoresEverything)
{
    CMReply<QVariant> typed;
    CMVoidReply view = typed;
    view.setResult();
    EXPECT_TRUE(typed.isSucceeded());
    EXPECT_FALSE(typed.result().isValid());

    CMVoidReply null(nullptr);
    EXPECT_FALSE(null.setResult());
}
