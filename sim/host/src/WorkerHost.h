#pragma once
// Thread contract: main thread only (the thread that created it). The worker lives on the
// host's worker thread; requests, list opens and closes are handed to it there.

#include "ModuleLibrary.h"

#include <mivosdk/CMAbstractWorker.h>
#include <mivosdk/CMRequest.h>

#include <QObject>
#include <QThread>
#include <QVariantHash>
#include <memory>

/// Runs a module's worker on a worker thread with its own event loop: creates it there through
/// worker_create, sends it the host's requests (each answered within a time-out), opens and
/// closes lists, and reports the worker's row-change notices on the main thread.
class WorkerHost : public QObject
{
    Q_OBJECT
public:
    static constexpr int kDefaultRequestTimeoutMs = 10000;

    WorkerHost(std::unique_ptr<ModuleLibrary> module, QObject* parent = nullptr);
    /// Destroys the worker on its thread and stops the thread.
    ~WorkerHost() override;

    /// Starts the worker thread and creates the worker with `settings`. Waits (running the main
    /// thread's events) until worker_create returned; false with `error` set when it answered
    /// no worker.
    bool start(const QVariantHash& settings, QString* error);
    bool isRunning() const { return m_worker != nullptr; }
    QString moduleFile() const { return m_module->file(); }

    void setRequestTimeout(int ms) { m_timeoutMs = ms; }
    int requestTimeout() const { return m_timeoutMs; }

    /// Sends `request` to the worker. Its reply is answered by the worker or, when the worker
    /// does not answer within the time-out, with the error "Timeout".
    void send(const CMRequest& request);

    /// The host opened or closed the list at `path`.
    void openRows(const CMPath& path);
    void closeRows(const CMPath& path);

    /// The error name of a request the worker did not answer in time.
    static QString TimeoutError() { return QStringLiteral("Timeout"); }

signals:
    /// The worker announced a change of the rows at `path` (CMSubscribe).
    void rowsChanged(const CMPath& path, const QString& change, int count);

private:
    /// Runs `fn` on the worker thread.
    void onWorkerThread(std::function<void()> fn);
    void listenToRowChanges();

    std::unique_ptr<ModuleLibrary> m_module;
    QThread m_thread;
    QObject* m_context = nullptr;         ///< lives on m_thread; the worker's host object
    CMAbstractWorker* m_worker = nullptr; ///< lives on m_thread; owned, deleted there
    int m_timeoutMs = kDefaultRequestTimeoutMs;
};
