#include <mivosdk/CMRoot.h>
#include <mivosdk/CMValueItem.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/PlayLogicBase.h>

#include "QtTestSupport.h"

#include <QThread>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using testsupport::waitUntil;

namespace {

/// Installs a fresh in-memory root for one test.
class RootTest : public ::testing::Test
{
protected:
    void SetUp() override { CMSetRoot(&m_root); }
    void TearDown() override { CMSetRoot(nullptr); }
    CMMemoryRoot m_root;
};

class RecordingPlayLogic : public PlayLogicBase
{
public:
    using PlayLogicBase::PlayLogicBase;
    void play(const CMSetDataRequest& request) override { record(request); }
    void stop(const CMSetDataRequest& request) override { record(request); }
    void pause(const CMSetDataRequest& request) override { record(request); }
    void next(const CMSetDataRequest& request) override { record(request); }
    void previous(const CMSetDataRequest& request) override { record(request); }
    QStringList m_calls;

private:
    void record(const CMSetDataRequest& request)
    {
        m_calls << request.role();
        request.reply().setResult();
    }
};

} // namespace

TEST_F(RootTest, ValuesAreSynchronousAndThreadSafeAndUnknownCommandsFail)
{
    EXPECT_FALSE(CMRoot()->getValue(CMPath("/settings/x")).isValid());
    CMVoidReply written;
    CMRoot()->setValue(CMPath("/settings/x?ignored=1"), MivoValue().setInt(5).__variant(), written);
    EXPECT_TRUE(written.isSucceeded());
    EXPECT_EQ(MivoValue(CMRoot()->getValue(CMPath("/settings/x")).toHash()).toInt(), 5);

    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 200; ++i) {
                const CMPath path(QStringLiteral("/state/%1").arg(t).toUtf8().constData());
                CMRoot()->setValue(path, MivoValue().setInt(i).__variant());
                EXPECT_EQ(MivoValue(CMRoot()->getValue(path).toHash()).toInt(), i);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();

    CMVoidReply unknown;
    CMRoot()->invoke(CMPath("/notification/open"), QVariant(), unknown);
    ASSERT_TRUE(unknown.isError());
    EXPECT_EQ(unknown.error().message().toString(),
              QStringLiteral("No command at /notification/open"));
}

TEST_F(RootTest, ValueItemEmitsNewAndOldOnItsOwnThreadWhenChangedFromAnyThread)
{
    const CMPath path = MivoSystemIdleTimePath();
    CMRoot()->setValue(path, MivoValue().setInt(1).__variant());
    CMValueItem item(path);
    EXPECT_EQ(item.value().toInt(), 1);

    QList<int> news;
    QList<QPair<int, int>> pairs;
    QList<QThread*> threads;
    QObject::connect(&item, qOverload<MivoValue>(&CMValueItem::changed),
                     [&](const MivoValue& value) {
                         news << value.toInt();
                         threads << QThread::currentThread();
                     });
    QObject::connect(&item, qOverload<MivoValue, MivoValue>(&CMValueItem::changed),
                     [&](const MivoValue& value, const MivoValue& old) {
                         pairs << qMakePair(value.toInt(), old.toInt());
                     });

    std::thread writer([path] {
        CMRoot()->setValue(path, MivoValue().setInt(2).__variant());
        CMRoot()->setValue(path, MivoValue().setInt(2).__variant()); // unchanged: no notice
        CMRoot()->setValue(path, MivoValue().setInt(3).__variant());
    });
    writer.join();
    ASSERT_TRUE(waitUntil([&] { return news.size() == 2; }));
    testsupport::pump();
    EXPECT_EQ(news, (QList<int>{2, 3}));
    EXPECT_EQ(pairs, (QList<QPair<int, int>>{{2, 1}, {3, 2}}));
    EXPECT_EQ(threads.value(0), QThread::currentThread());
    EXPECT_EQ(threads.value(1), QThread::currentThread());
}

TEST_F(RootTest, DestroyedValueItemHearsNothing)
{
    auto* item = new CMValueItem(CMPath("/state/gone"));
    bool heard = false;
    QObject::connect(item, qOverload<MivoValue>(&CMValueItem::changed), [&] { heard = true; });
    std::thread writer(
        [] { CMRoot()->setValue(CMPath("/state/gone"), MivoValue().setInt(1).__variant()); });
    writer.join();
    delete item; // before the queued notice is delivered
    testsupport::pump();
    EXPECT_FALSE(heard);
}

TEST_F(RootTest, PlayLogicRequestsReachTheirOperationsAndDataIsPublished)
{
    CMNodes nodes;
    RecordingPlayLogic logic(CMPath("/t/playlogic"));
    logic.setNodes(&nodes);
    CMValueItem dataItem(CMPath("/t/playlogic") + MivoPlayLogicDataPath());
    QList<int> states;
    QObject::connect(
        &dataItem, qOverload<MivoValue>(&CMValueItem::changed),
        [&](const MivoValue& value) { states << MivoPlayLogicData(value.__hash()).state(); });

    CMSetDataRequest pause(CMPath("/t/playlogic"), PlayLogicBase::Pause(), QVariant());
    EXPECT_TRUE(logic.setDataRequest(pause));
    EXPECT_EQ(logic.m_calls, QStringList{"pause"});

    CMSetDataRequest like(CMPath("/t/playlogic"), PlayLogicBase::Like(), QVariant());
    logic.setDataRequest(like);
    EXPECT_EQ(like.reply().error().message().toString(), QStringLiteral("like is not supported"));
    CMSetDataRequest other(CMPath("/t/playlogic"), QStringLiteral("volume"), 3);
    EXPECT_FALSE(logic.setDataRequest(other));
    EXPECT_TRUE(other.reply().isError());

    MivoPlayLogicData data;
    data.setState(MivoPlayLogicState::Playing).setPlayId(QStringLiteral("p1"));
    logic.setData(data);
    logic.setPlayTime(1234);
    EXPECT_EQ(MivoValue(CMRoot()->getValue(CMPath("/t/playlogic/position")).toHash()).toLongLong(),
              1234);
    ASSERT_TRUE(waitUntil([&] { return !states.isEmpty(); }));
    EXPECT_EQ(states, QList<int>{MivoPlayLogicState::Playing});
}
