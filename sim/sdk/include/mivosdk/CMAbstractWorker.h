#pragma once
// Thread contract: a worker's request handlers run on the worker's thread; the value and command
// operations (getValue, setValue, invoke, watchValue) of the host's root are safe from any thread.

#include "mivosdk/CMRequest.h"

#include <QObject>
#include <functional>

/// Something requests can be sent to: a module's worker, or the host's root (CMRoot()) with its
/// settings, state values and commands.
class CMAbstractWorker : public QObject
{
    Q_OBJECT
public:
    /// Called with the new and the previous value.
    using ValueWatcher = std::function<void(const QVariant& newValue, const QVariant& oldValue)>;

    explicit CMAbstractWorker(QObject* parent = nullptr);

    /// MAY override. Default: the error "Rows are not supported by <worker>".
    virtual bool getRowsRequest(const CMGetRowsRequest& request);
    /// MAY override. Default: the error "Data is not supported by <worker>".
    virtual bool getDataRequest(const CMGetDataRequest& request);
    /// MAY override. Default: the error "Writing is not supported by <worker>".
    virtual bool setDataRequest(const CMSetDataRequest& request);
    /// Sends a request of any kind to the matching handler above; an invalid request is answered
    /// with the error "Invalid request".
    virtual bool request(const CMRequest& request);
    /// MAY override. Answers whether the worker is alive; default true.
    virtual bool ping() { return true; }

    /// MAY override. The host opened (connect) or closed (disconnect) the list at `path`.
    /// Default: nothing.
    virtual void connectRowsChanged(const CMPath& path);
    virtual void disconnectRowsChanged(const CMPath& path);

    /// MAY override. The value stored at `path` (synchronous); default: invalid.
    virtual QVariant getValue(const CMPath& path);
    /// MAY override. Stores `value` at `path` and completes `reply`; default: the error
    /// "Values are not supported by <worker>".
    virtual void setValue(const CMPath& path, const QVariant& value,
                          CMVoidReply reply = CMVoidReply());
    /// MAY override. Runs the command at `path` with `args` and completes `reply`; default: the
    /// error "No command at <path>".
    virtual void invoke(const CMPath& path, const QVariant& args,
                        CMVoidReply reply = CMVoidReply());
    /// MAY override. Calls `watcher` on `context`'s thread whenever the value at `path` changes;
    /// answers an id for unwatchValue(), 0 when watching is not supported (the default).
    virtual int watchValue(const CMPath& path, QObject* context, ValueWatcher watcher);
    virtual void unwatchValue(int id);

protected:
    /// The name used in default error messages.
    virtual QString workerName() const;
};
