#pragma once
// Thread contract: one owner; load() on any thread; the create function is called on the worker
// thread by WorkerHost.

#include <mivosdk/MivoWorkerEntry.h>

#include <QString>
#include <memory>

/// A loaded module: the dlopen handle and its resolved worker_create.
class ModuleLibrary
{
public:
    /// Loads `file` and resolves kMivoWorkerCreateSymbol. Null, with `error` set to a sentence for
    /// the user, when the file is missing, is not a loadable library or lacks the symbol.
    static std::unique_ptr<ModuleLibrary> load(const QString& file, QString* error);

    QString file() const { return m_file; }
    MivoWorkerCreateFunction createFunction() const { return m_create; }

private:
    struct HandleCloser
    {
        void operator()(void* handle) const;
    };
    using Handle = std::unique_ptr<void, HandleCloser>;

    ModuleLibrary(const QString& file, Handle handle, MivoWorkerCreateFunction create);

    QString m_file;
    Handle m_handle;
    MivoWorkerCreateFunction m_create = nullptr;
};
