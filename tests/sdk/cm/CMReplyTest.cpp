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

TEST(CMReply, WaitForFinishedFromAnotherThread)
{
    CMReply<int> reply;
    EXPECT_FALSE(reply.waitForFinished(10));
    std::thread completer([reply] {
        QThread::msleep(20);
        reply.setResult(42);
    });
    EXPECT_TRUE(reply.waitForFinished());
    EXPECT_EQ(reply.result(), 42);
    completer.join();
}

TEST(CMReply, DestroyedContextIsNeverCalled)
{
    CMReply<int> reply;
    bool called = false;
    auto* context = new QObject;
    reply.onSuccess(context, [&](int) { called = true; });
    delete context;
    reply.setResult(1);
    testsupport::pump();
    EXPECT_FALSE(called);

    // Destroyed on its own thread before the completion is delivered there.
    LoopThread loop;
    CMReply<QObject*> made;
    cmPost(loop.context, [made] { made.setResult(new QObject); });
    ASSERT_TRUE(made.waitForFinished(5000));
    QObject* doomed = made.result();
    CMReply<int> second;
    second.onSuccess(doomed, [&](int) { called = true; });
    CMVoidReply deleted;
    cmPost(doomed, [doomed, deleted] {
        delete doomed;
        deleted.setResult();
    });
    ASSERT_TRUE(deleted.waitForFinished(5000));
    second.setResult(2);
    testsupport::pump();
    EXPECT_FALSE(called);
}

TEST(CMReply, OnSuccessNeverRunsForAnErrorOrACancel)
{
    QObject context;
    int successes = 0;
    int errors = 0;
    int finished = 0;
    CMError seenError;
    CMReply<int> failed;
    failed.onSuccess(&context, [&] { ++successes; })
        .onError(&context,
                 [&](const CMError& error) {
                     ++errors;
                     seenError = error;
                 })
        .onFinished(&context, [&] { ++finished; });
    failed.setError(CMError(QStringLiteral("SiriusXM"), TrString("boom")));
    failed.setResult(3);
    CMReply<int> cancelled;
    cancelled.onSuccess(&context, [&] { ++successes; })
        .onError(&context, [&](const CMError&) { ++errors; })
        .onFinished(&context, [&] { ++finished; });
    cancelled.cancel();
    testsupport::pump();
    EXPECT_EQ(successes, 0);
    EXPECT_EQ(errors, 1);
    EXPECT_EQ(finished, 2);
    EXPECT_EQ(seenError.name(), QStringLiteral("SiriusXM"));
    EXPECT_EQ(failed.result(), 0) << "a value set after the error is dropped";
}

TEST(CMReply, VoidViewSharesTheReplyAndNullReplyIgnoresEverything)
{
    CMReply<QVariant> typed;
    CMVoidReply view = typed;
    view.setResult();
    EXPECT_TRUE(typed.isSucceeded());
    EXPECT_FALSE(typed.result().isValid());

    CMVoidReply null(nullptr);
    EXPECT_TRUE(null.isNull());
    EXPECT_FALSE(null.setResult());
    EXPECT_TRUE(null.waitForFinished(0));
    bool called = false;
    null.onFinished(nullptr, [&] { called = true; });
    EXPECT_FALSE(called);
}

TEST(CMReply, PendingContinuationsDoNotKeepTheReplyAlive)
{
    std::weak_ptr<int> witness;
    {
        auto token = std::make_shared<int>(1);
        witness = token;
        CMReply<int> reply;
        reply.onSuccess(nullptr, [token](int) {});
    }
    EXPECT_TRUE(witness.expired()) << "reply never completed, its continuation must be released";
}
