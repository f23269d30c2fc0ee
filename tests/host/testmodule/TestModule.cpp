// The test module: a small worker that mivo-host loads in the tests, with a paged list, a search,
// actions that change and close the list, and a play logic that streams known byte patterns.

#include "TestPlayLogic.h"

#include <mivosdk/CMActivateNode.h>
#include <mivosdk/CMListRowsNode.h>
#include <mivosdk/CMNodesWorker.h>
#include <mivosdk/CMQueryNode.h>
#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoRowsRoles.h>
#include <mivosdk/MivoWorkerEntry.h>

#include <QTimer>

namespace {

const CMPath ItemsPath("/test/items");
const CMPath PlayLogicPath("/test/playlogic");
/// The list's filler rows after the playable ones, so that paging has something to page.
constexpr int FillerRows = 20;

MivoRoles playableRow(const QString& title, const CMPath& path, const QString& mimeType)
{
    MivoMetaData meta;
    meta.setPlayLogicPath(PlayLogicPath).setServiceId(QStringLiteral("test"));
    MivoResource resource;
    resource.setMimeType(mimeType);
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

/// Answers a query with the path of a results list that names the text.
class TestQueryNode : public CMQueryNode
{
public:
    using CMQueryNode::CMQueryNode;
    bool queryRequest(const CMSetDataRequest& request) override
    {
        CMPath results("/test/results");
        results.addParam(QStringLiteral("q"), request.value().toString());
        request.reply().setResult(results.toEncoded());
        return true;
    }
};

/// A host setting the host persists: set-data writes it under /settings, get-data reads it.
class TestSettingNode : public CMNode
{
public:
    using CMNode::CMNode;
    static CMPath settingPath() { return CMPath("/settings/test/value"); }
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        CMRoot()->setValue(settingPath(), MivoValue().setString(request.value().toString()),
                           request.reply());
        return true;
    }
    bool getDataRequest(const CMGetDataRequest& request) override
    {
        request.reply().setResult(MivoValue(CMRoot()->getValue(settingPath()).toHash()).toString());
        return true;
    }
};

/// Takes every request and never answers it, as a hung module would.
class SilentNode : public CMNode
{
public:
    using CMNode::CMNode;
    bool getRowsRequest(const CMGetRowsRequest&) override { return true; }
};

/// One row per query word.
class TestResultsNode : public CMContainerNode
{
public:
    using CMContainerNode::CMContainerNode;
    bool getRowsRequest(const CMGetRowsRequest& request) override
    {
        QList<MivoRoles> rows;
        const QStringList words = request.path().param(QStringLiteral("q")).split(QLatin1Char(' '));
        for (const QString& word : words)
            rows << MivoRoles().setTitle(word).setType(MivoRolesType::Item);
        respondGetRowsRequest(request, rows, rows.size());
        return true;
    }
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
        browse->setSearchPath(CMPath("/test/search"));
        browse->setNodes(nodes());

        m_items = new CMListRowsNode(ItemsPath, nodes());
        m_items->setTitle("Test items");
        m_items->setNodes(nodes());
        const QString octets = QStringLiteral("application/octet-stream");
        m_items->rowsAppend(QList<MivoRoles>{
            playableRow(QStringLiteral("Pattern"), CMPath("/test/items/pattern?bytes=200000"),
                        octets),
            playableRow(QStringLiteral("AAC"), CMPath("/test/items/adts?bytes=51200&chunk=1000"),
                        MimeTypes::Audio::aac()),
            playableRow(QStringLiteral("Endless"), CMPath("/test/items/endless?bytes=100000"),
                        octets),
            playableRow(QStringLiteral("Breaking"), CMPath("/test/items/break?bytes=50000"),
                        octets),
        });
        for (int i = 1; i <= FillerRows; ++i) {
            m_items->rowsAppend(MivoRoles()
                                    .setTitle(QStringLiteral("Row %1").arg(i))
                                    .setDescription(QStringLiteral("filler"))
                                    .setType(MivoRolesType::Item));
        }
        browse->rowsAppend(MivoRoles()
                               .setTitle(QStringLiteral("Test items"))
                               .setPath(ItemsPath)
                               .setType(MivoRolesType::Container));

        auto* search = new CMListRowsNode(CMPath("/test/search"), nodes());
        search->setTitle("Search");
        search->setContainerType(MivoRolesContainerType::Search);
        search->setNodes(nodes());
        search->rowsAppend(MivoRoles()
                               .setTitle(QStringLiteral("Search"))
                               .setPath(CMPath("/test/search/query"))
                               .setType(MivoRolesType::Query));
        (new TestQueryNode(CMPath("/test/search/query"), nodes()))->setNodes(nodes());
        auto* results = new TestResultsNode(CMPath("/test/results"), nodes());
        results->setTitle("Results");
        results->setNodes(nodes());

        (new TestPlayLogic(PlayLogicPath,
                           settings.value(MivoWorkerSettingStreamUrlPrefix()).toString(), nodes()))
            ->setNodes(nodes());
        auto* more = new CMListRowsNode(CMPath("/test/more"), nodes());
        more->setTitle("More items");
        more->setNodes(nodes());
        more->rowsAppend(
            playableRow(QStringLiteral("Small queue"),
                        CMPath("/test/items/pattern?bytes=100000&queue=4096&chunk=3000"), octets));
        (new TestSettingNode(CMPath("/test/setting"), nodes()))->setNodes(nodes());
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
              [this] { subscribe().rowsChanged(ItemsPath, CMSubscribe::RowsChangeClose()); });
    }

    CMListRowsNode* m_items;
};

} // namespace

extern "C" Q_DECL_EXPORT CMAbstractWorker* worker_create(QObject*, const QVariantHash& settings)
{
    return new TestWorker(settings);
}

#include "TestModule.moc"
