#include "WorkerHost.h"

#include <mivosdk/CMDelivery.h>
#include <mivosdk/CMNodesWorker.h>
#include <mivosdk/MivoThreadName.h>

#include <QEventLoop>
#include <QTimer>
#include <mutex>

namespace {

QString describe(const CMRequest& request)
{
    switch (request.kind()) {
    case CMRequest::Kind::GetRows:
        return QStringLiteral("rows of %1").arg(request.path().toEncoded());
    case CMRequest::Kind::GetData:
        return QStringLiteral("data %1 of %2")
            .arg(CMGetDataRequest(request).role(), request.path().toEncoded());
    case CMRequest::Kind::SetData:
        return QStringLiteral("setting %1 of %2")
            .arg(CMSetDataRequest(request).role(), request.path().toEncoded());
    case CMRequest::Kind::Invalid:
        break;
    }
    return QStringLiteral("an invalid request");
}

} // namespace

WorkerHost::WorkerHost(std::unique_ptr<ModuleLibrary> module, QObject* parent)
    : QObject(parent)
    , m_module(std::move(module))
{
    m_thread.setObjectName(QStringLiteral("worker"));
}

WorkerHost::~WorkerHost()
{
    if (!m_thread.isRunning())
        return;
    CMAbstractWorker* worker = m_worker;
    QObject* context = m_context;
    m_worker = nullptr;
    // The worker and everything it made belong to the worker thread: delete them there, then
    // let the thread end (its deferred deletions run before it finishes).
    cmPost(context, [worker, context] {
        delete worker;
        delete context;
        QThread::currentThread()->quit();
    });
    m_thread.wait();
}

void WorkerHost::onWorkerThread(std::function<void()> fn)
{
    cmPost(m_context, std::move(fn));
}

bool WorkerHost::start(const QVariantHash& settings, QString* error)
{
    m_context = new QObject;
    m_context->setObjectName(QStringLiteral("mivo-host"));
    m_context->moveToThread(&m_thread);
    m_thread.start();

    // The result crosses from the worker thread under this mutex so that it is plainly ordered.
    struct Created
    {
        std::mutex mutex;
        bool done = false;
        CMAbstractWorker* worker = nullptr;
    };
    auto created = std::make_shared<Created>();
    QEventLoop loop;
    QPointer<QEventLoop> waiting(&loop);
    const MivoWorkerCreateFunction create = m_module->createFunction();
    QObject* context = m_context;
    onWorkerThread([created, create, context, settings, waiting, this] {
        mivoSetThreadName(QStringLiteral("worker"));
        CMAbstractWorker* worker = nullptr;
        // An exception must not cross into the host's event loop; a module that throws simply
        // gives no worker.
        try {
            worker = create(context, settings);
        } catch (...) {
            worker = nullptr;
        }
        {
            std::lock_guard<std::mutex> lock(created->mutex);
            created->done = true;
            created->worker = worker;
        }
        cmPost(this, [waiting] {
            if (waiting)
                waiting->quit();
        });
    });
    // worker_create may take its time (a module signs in or starts a library); the main thread
    // keeps serving the streamer and the display meanwhile.
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(created->mutex);
            if (created->done) {
                m_worker = created->worker;
                break;
            }
        }
        loop.exec();
    }
    if (!m_worker) {
        *error = QStringLiteral("Module %1: %2 answered no worker")
                     .arg(m_module->file(), QLatin1String(kMivoWorkerCreateSymbol));
        return false;
    }
    listenToRowChanges();
    return true;
}

void WorkerHost::listenToRowChanges()
{
    CMAbstractWorker* worker = m_worker;
    // The host outlives the worker thread (its destructor waits for it), so `host` stays valid
    // for every change the worker announces.
    WorkerHost* host = this;
    onWorkerThread([worker, host] {
        auto* nodesWorker = qobject_cast<CMNodesWorker*>(worker);
        if (!nodesWorker)
            return;
        // Direct on the worker thread, then handed over by cmPost: Qt's own queued-signal
        // machinery is invisible to ThreadSanitizer.
        QObject::connect(
            &nodesWorker->subscribe(), &CMSubscribe::changed, nodesWorker,
            [host](const CMPath& path, const QString& change, int count) {
                cmPost(host, [host, path, change, count] {
                    emit host->rowsChanged(path, change, count);
                });
            },
            Qt::DirectConnection);
    });
}

void WorkerHost::send(const CMRequest& request)
{
    const CMReply<QVariant> reply = request.reply();
    if (!m_worker) {
        reply.setError(CMError(QStringLiteral("NoWorker"), TrString("No module is running")));
        return;
    }
    const QString what = describe(request);
    const int timeoutMs = m_timeoutMs;
    QTimer::singleShot(timeoutMs, this, [reply, what, timeoutMs] {
        reply.setError(CMError(TimeoutError(),
                               TrString("WorkerHost", "The module did not answer %1 within %2 s")
                                   .arg(what)
                                   .arg(QString::number(timeoutMs / 1000.0))));
    });
    CMAbstractWorker* worker = m_worker;
    onWorkerThread([worker, request] { worker->request(request); });
}

void WorkerHost::openRows(const CMPath& path)
{
    CMAbstractWorker* worker = m_worker;
    if (worker)
        onWorkerThread([worker, path] { worker->connectRowsChanged(path); });
}

void WorkerHost::closeRows(const CMPath& path)
{
    CMAbstractWorker* worker = m_worker;
    if (worker)
        onWorkerThread([worker, path] { worker->disconnectRowsChanged(path); });
}
