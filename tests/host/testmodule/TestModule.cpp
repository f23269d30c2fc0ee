// The test module: a small worker that mivo-host loads in the tests, with a paged list, actions
// that change and close the list, and a play logic that streams known byte patterns.

#include "TestPlayLogic.h"

#include <mivosdk/CMActivateNode.h>
#include <mivosdk/CMListRowsNode.h>
#include <mivosdk/CMNodesWorker.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoRowsRoles.h>
#include <mivosdk/MivoWorkerEntry.h>

#include <QTimer>

namespace {

const CMPath kItemsPath("/test/items");
const CMPath kPlayLogicPath("/test/playlogic");
/// The list's filler rows after the playable ones, so that paging has something to page.
constexpr int kFillerRows = 20;

MivoRoles playableRow(const QString& title, const CMPath& path)
{
    MivoMetaData meta;
    meta.setPlayLogicPath(kPlayLogicPath).setServiceId(QStringLiteral("test"));
    MivoResource resource;
    resource.setMimeType(QStringLiteral("application/octet-stream"));
    MivoMediaData media;
    media.setMetaData(meta).setResources(MivoList<MivoResource>{resource});
    MivoRoles row;
    row.setId(path.segments().value(2))
        .setTitle(title)
        .setPath(path)
        .setType(MivoRolesType::Audio)
        .setMediaData(media);
    return row;
}

/// Takes every request and never answers it, as a hung module would.
class SilentNode : public CMNode
{
public:
    using CMNode::CMNode;
    bool getRowsRequest(const CMGetRowsRequest&) override { return true; }
};

class TestWorker : public CMNodesWorker
{
    Q_OBJECT
public:
    explicit TestWorker(const QVariantHash& settings)
        : CMNodesWorker(settings, QStringLiteral("Test"))
    {
        auto* browse = new CMListRowsNode(MivoSiriusBrowsePath(), nodes());
        browse->setTitle("Test browse");
        browse->setNodes(nodes());

        m_items = new CMListRowsNode(kItemsPath, nodes());
        m_items->setTitle("Test items");
        m_items->setNodes(nodes());
        m_items->rowsAppend(QList<MivoRoles>{
            playableRow(QStringLiteral("Pattern"), CMPath("/test/items/pattern?bytes=200000")),
            // A small queue, so that the endless sender is soon held back.
            playableRow(QStringLiteral("Endless"),
                        CMPath("/test/items/endless?bytes=100000&queue=65536")),
            playableRow(QStringLiteral("Breaking"), CMPath("/test/items/break?bytes=50000")),
        });
        for (int i = 1; i <= kFillerRows; ++i) {
            m_items->rowsAppend(MivoRoles()
                                    .setTitle(QStringLiteral("Row %1").arg(i))
                                    .setDescription(QStringLiteral("filler"))
                                    .setType(MivoRolesType::Item));
        }
        browse->rowsAppend(MivoRoles()
                               .setTitle(QStringLiteral("Test items"))
                               .setPath(kItemsPath)
                               .setType(MivoRolesType::Container));

        (new TestPlayLogic(kPlayLogicPath,
                           settings.value(MivoWorkerSettingStreamUrlPrefix()).toString(), nodes()))
            ->setNodes(nodes());
        (new SilentNode(CMPath("/test/silent"), nodes()))->setNodes(nodes());

        CMActivateNode::create(nodes(), CMPath("/test/grow"), this, &TestWorker::grow);
        CMActivateNode::create(nodes(), CMPath("/test/close"), this, &TestWorker::closeItems);
    }

private:
    /// The action runs after the path's delayMs, so that a host command that waits (watch)
    /// sees it happen while it waits.
    void later(const CMSetDataRequest& request, std::function<void()> action)
    {
        const int delay = request.path().param(QStringLiteral("delayMs")).toInt();
        QTimer::singleShot(delay, this, std::move(action));
        request.reply().setResult();
    }
    void grow(const CMSetDataRequest& request)
    {
        later(request, [this] {
            m_items->rowsAppend(MivoRoles()
                                    .setTitle(QStringLiteral("Grown %1").arg(m_items->rowsCount()))
                                    .setType(MivoRolesType::Item));
        });
    }
    void closeItems(const CMSetDataRequest& request)
    {
        later(request,
              [this] { subscribe().rowsChanged(kItemsPath, CMSubscribe::RowsChangeClose()); });
    }

    CMListRowsNode* m_items;
};

} // namespace

extern "C" Q_DECL_EXPORT CMAbstractWorker* worker_create(QObject*, const QVariantHash& settings)
{
    return new TestWorker(settings);
}

#include "TestModule.moc"
