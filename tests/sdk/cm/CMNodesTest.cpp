#include <mivosdk/CMListRowsNode.h>
#include <mivosdk/CMNodesWorker.h>
#include <mivosdk/CMUnusedNodeTimer.h>
#include <mivosdk/MivoRowsRoles.h>

#include "QtTestSupport.h"

#include <QPointer>
#include <gtest/gtest.h>

using testsupport::waitUntil;

namespace {

MivoRoles titled(const QString& title)
{
    return MivoRoles().setTitle(title);
}

MivoRowsRoles rowsOf(const CMGetRowsRequest& request)
{
    EXPECT_TRUE(request.reply().isSucceeded()) << request.reply().error().toString().toStdString();
    return MivoRowsRoles(request.reply().result().toHash());
}

QStringList titles(const MivoRowsRoles& rows)
{
    QStringList list;
    for (const MivoRoles& row : rows.rows())
        list << row.title();
    return list;
}

struct Notice
{
    CMPath path;
    QString change;
    int count;
};

} // namespace

TEST(CMNodesWorker, RoutesByPathWithoutParametersPagesAndRefusesUnknownPaths)
{
    CMNodesWorker worker({}, QStringLiteral("Test"));
    auto* node = new CMListRowsNode(CMPath("/t/list"), worker.nodes());
    node->setNodes(worker.nodes());
    for (int i = 0; i < 10; ++i)
        node->rowsAppend(titled(QString::number(i)));

    CMGetRowsRequest page(CMPath("/t/list?title=x&icon=y"), 3, 4);
    EXPECT_TRUE(worker.request(page));
    EXPECT_EQ(titles(rowsOf(page)), (QStringList{"3", "4", "5", "6"}));
    EXPECT_EQ(rowsOf(page).offset(), 3);
    EXPECT_EQ(rowsOf(page).total(), 10);
    CMGetRowsRequest beyond(CMPath("/t/list"), 20, 5);
    worker.request(beyond);
    EXPECT_TRUE(rowsOf(beyond).rows().isEmpty());
    EXPECT_EQ(rowsOf(beyond).total(), 10);

    CMGetRowsRequest unknown(CMPath("/t/nothing?x=1"));
    EXPECT_FALSE(worker.request(unknown));
    ASSERT_TRUE(unknown.reply().isError());
    EXPECT_EQ(unknown.reply().error().message().toString(),
              QStringLiteral("Unknown path: /t/nothing?x=1"));

    EXPECT_FALSE(worker.request(CMRequest()));
}

TEST(CMNodesWorker, ANodeDeletedLaterLeavesTheRegistry)
{
    CMNodesWorker worker({}, QStringLiteral("Test"));
    auto* node = new CMListRowsNode(CMPath("/t/gone"), worker.nodes());
    node->setNodes(worker.nodes());
    EXPECT_EQ(worker.nodes()->node(CMPath("/t/gone?a=b")), node);
    node->deleteLater();
    ASSERT_TRUE(waitUntil([&] { return worker.nodes()->node(CMPath("/t/gone")) == nullptr; }));
    CMGetRowsRequest request(CMPath("/t/gone"));
    worker.request(request);
    EXPECT_TRUE(request.reply().isError());

    // A replaced node that goes away does not take its successor with it.
    auto* first = new CMListRowsNode(CMPath("/t/x"));
    first->setNodes(worker.nodes());
    auto* second = new CMListRowsNode(CMPath("/t/x"), worker.nodes());
    second->setNodes(worker.nodes());
    delete first;
    EXPECT_EQ(worker.nodes()->node(CMPath("/t/x")), second);
}

TEST(CMListRowsNode, LinkRowsShowTheLinkedNodeAsItIsWhenRead)
{
    CMNodes nodes;
    CMListRowsNode root(CMPath("/t"));
    root.setNodes(&nodes);
    CMListRowsNode child(CMPath("/t/child"));
    child.setNodes(&nodes);
    child.setTitle(TrString("Own title"));
    child.setContextPath(CMPath("/t/menu?x=1"));

    CMPath link("/t/child");
    link.addParam(MivoRoles::Title(), QStringLiteral("Param title"));
    root.rowsAppend(link);
    child.setDescription(TrString("%1 channels").arg(7)); // after the append: still shows

    CMGetRowsRequest request(CMPath("/t"));
    root.getRowsRequest(request);
    const MivoList<MivoRoles> rows = rowsOf(request).rows();
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows[0].title(), QStringLiteral("Own title"))
        << "a plain container answers its own title; nodes answer parameters by overriding "
           "getRoleData";
    EXPECT_EQ(rows[0].description(), QStringLiteral("7 channels"));
    EXPECT_EQ(rows[0].path(), link);
    EXPECT_EQ(rows[0].context().path(), CMPath("/t/menu?x=1"));
    EXPECT_EQ(rows[0].type(), int(MivoRolesType::Container));
}

TEST(CMListRowsNode, ObserversComeAndGoAndChangesAreAnnounced)
{
    CMNodesWorker worker({}, QStringLiteral("Test"));
    auto* node = new CMListRowsNode(CMPath("/t/list"), worker.nodes());
    node->setNodes(worker.nodes());
    QList<Notice> notices;
    QObject::connect(&worker.subscribe(), &CMSubscribe::changed,
                     [&](const CMPath& path, const QString& change, int count) {
                         notices.append({path, change, count});
                     });
    QList<CMPath> added;
    QList<CMPath> removed;
    QObject::connect(node, &CMNode::rowsPathAdded, [&](const CMPath& p) { added.append(p); });
    QObject::connect(node, &CMNode::rowsPathRemoved, [&](const CMPath& p) { removed.append(p); });

    node->rowsAppend(titled(QStringLiteral("unseen")));
    EXPECT_TRUE(notices.isEmpty()) << "nobody holds the list";

    const CMPath opened("/t/list?title=A");
    worker.connectRowsChanged(opened);
    worker.connectRowsChanged(CMPath("/t/list?title=B"));
    EXPECT_EQ(added.size(), 2);
    EXPECT_EQ(node->rowsPaths().size(), 2);

    node->rowsSet(0, titled(QStringLiteral("changed")));
    node->rowsSet(5, titled(QStringLiteral("out of range"))); // logged, ignored
    node->rowsClear();
    ASSERT_EQ(notices.size(), 2);
    EXPECT_EQ(notices[0].change, CMSubscribe::RowsChangeUpdate());
    EXPECT_EQ(notices[1].change, CMSubscribe::RowsChangeReset());
    EXPECT_EQ(notices[1].path, CMPath("/t/list"));
    EXPECT_EQ(notices[1].count, -1);

    worker.disconnectRowsChanged(opened);
    EXPECT_EQ(removed, QList<CMPath>{opened});
    EXPECT_EQ(node->rowsPaths(), QList<CMPath>{CMPath("/t/list?title=B")});
    worker.disconnectRowsChanged(opened); // not held any more: no second notice
    EXPECT_EQ(removed.size(), 1);
}

TEST(CMUnusedNodeTimer, DeletesANodeNobodyUsesButNeverOneInUse)
{
    CMNodesWorker worker({}, QStringLiteral("Test"));
    QPointer<CMListRowsNode> held = new CMListRowsNode(CMPath("/t/held"), worker.nodes());
    held->setNodes(worker.nodes());
    new CMUnusedNodeTimer(held, 50);
    worker.connectRowsChanged(CMPath("/t/held"));
    // Twice the time, started later: once this node is gone, the held one's time is long over.
    QPointer<CMListRowsNode> unused = new CMListRowsNode(CMPath("/t/unused"), worker.nodes());
    unused->setNodes(worker.nodes());
    new CMUnusedNodeTimer(unused, 100);

    EXPECT_TRUE(waitUntil([&] { return unused.isNull(); }, 5000));
    EXPECT_FALSE(held.isNull());

    worker.disconnectRowsChanged(CMPath("/t/held"));
    EXPECT_TRUE(waitUntil([&] { return held.isNull(); }, 2000))
        << "released: the time starts again";
    EXPECT_EQ(worker.nodes()->node(CMPath("/t/held")), nullptr);
}
