#include "ModuleLibrary.h"

#include <QFileInfo>
#include <dlfcn.h>

void ModuleLibrary::HandleCloser::operator()(void* handle) const
{
    if (handle)
        dlclose(handle);
}

ModuleLibrary::ModuleLibrary(const QString& file, Handle handle, MivoWorkerCreateFunction create)
    : m_file(file)
    , m_handle(std::move(handle))
    , m_create(create)
{}

std::unique_ptr<ModuleLibrary> ModuleLibrary::load(const QString& file, QString* error)
{
    const QFileInfo info(file);
    if (!info.exists()) {
        *error = QStringLiteral("Module not found: %1").arg(file);
        return nullptr;
    }
    if (!info.isFile()) {
        *error = QStringLiteral("Module is not a file: %1").arg(file);
        return nullptr;
    }
    // RTLD_NODELETE: a module may leave threads of its own running after its worker is gone (a
    // library thread that is never asked to quit), so its code has to stay mapped until the
    // process ends even though the handle is released.
    Handle handle(dlopen(QFile::encodeName(info.absoluteFilePath()).constData(),
                         RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE));
    if (!handle) {
        *error = QStringLiteral("Cannot load module %1: %2")
                     .arg(file, QString::fromLocal8Bit(dlerror()));
        return nullptr;
    }
    dlerror();
    auto create =
        reinterpret_cast<MivoWorkerCreateFunction>(dlsym(handle.get(), kMivoWorkerCreateSymbol));
    if (!create) {
        *error = QStringLiteral("Module %1 does not export %2 (is it a worker module?)")
                     .arg(file, QLatin1String(kMivoWorkerCreateSymbol));
        return nullptr;
    }
    return std::unique_ptr<ModuleLibrary>(new ModuleLibrary(file, std::move(handle), create));
}
