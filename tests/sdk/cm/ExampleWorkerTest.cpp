// A small worker as a module would write it, driven the way a host drives one: the worker lives
// on its own thread with its event loop, the host posts requests to it and waits for the replies.

#include <mivosdk/CMListRowsNode.h>
#include <mivosdk/CMNodesWorker.h>
#include <mivosdk/MivoRowsRoles.h>

#include <QThread>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

/// Answers its rows later, from a timer, like a node that waits for a service.
class SlowGenresNode : public CMListRowsNode
{
public:
    using CMListRowsNode::CMListRowsNode;
    bool getRowsRequest(const CMGetRowsRequest& request) override
    {
        QTimer::singleShot(10, this, [this, request] {
            const QList<MivoRoles> rows = {MivoRoles().setTitle(QStringLiteral("Pop")),
                                           MivoRoles().setTitle(QStringLiteral("Rock"))};
            respondGetRowsRequest(request, rows, rows.size());
        });
        return true;
    }
};

class ExampleWorker : public CMNodesWorker
{
public:
    explicit ExampleWorker(const QVariantHash& settings)
        : CMNodesWorker(settings, QStringLiteral("Example"))
    {
        auto* root = new CMListRowsNode(CMPath("/example"), nodes());
        root->setNodes(nodes());
        root->setTitle(TrString("Example"));
        auto* genres = new SlowGenresNode(CMPath("/example/genres"), nodes());
        genres->setNodes(nodes());
        genres->setTitle(TrString("Genres"));
        root->rowsAppend(CMPath("/example/genres"));
    }
};

} // namespace

TEST(ExampleWorker, AnswersGetRowsEndToEndFromItsOwnThread)
{
    QThread workerThread;
    workerThread.start();
    // Built on its thread, as a host builds a module's worker; the pointer comes back through a
    // reply, which orders the hand-over (also for ThreadSanitizer).
    QObject anchor;
    anchor.moveToThread(&workerThread);
    CMReply<ExampleWorker*> created;
    cmPost(&anchor, [created] {
        created.setResult(new ExampleWorker({{QStringLiteral("k"), 1}}));
    });
    ASSERT_TRUE(created.waitForFinished(5000));
    ExampleWorker* worker = created.result();
    ASSERT_NE(worker, nullptr);
    EXPECT_EQ(worker->thread(), &workerThread);

    const auto send = [&](const CMRequest& request) {
        cmPost(worker, [worker, request] { worker->request(request); });
        EXPECT_TRUE(request.reply().waitForFinished(5000));
        return MivoRowsRoles(request.reply().result().toHash());
    };

    const MivoRowsRoles root = send(CMGetRowsRequest(CMPath("/example")));
    ASSERT_EQ(root.rows().size(), 1);
    EXPECT_EQ(root.rows()[0].title(), QStringLiteral("Genres"));

    const MivoRowsRoles genres = send(CMGetRowsRequest(root.rows()[0].path(), 1, 5));
    ASSERT_EQ(genres.rows().size(), 1);
    EXPECT_EQ(genres.rows()[0].title(), QStringLiteral("Rock"));
    EXPECT_EQ(genres.total(), 2);

    CMGetRowsRequest unknown(CMPath("/example/nope"));
    send(unknown);
    EXPECT_TRUE(unknown.reply().isError());

    CMVoidReply deleted;
    cmPost(worker, [worker, deleted] {
        delete worker;
        deleted.setResult();
    });
    ASSERT_TRUE(deleted.waitForFinished(5000));
    workerThread.quit();
    workerThread.wait();
}
