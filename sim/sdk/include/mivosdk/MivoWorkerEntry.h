#pragma once
// Thread contract: the host calls worker_create once per worker, on the worker thread that the
// worker will live on (so the worker and everything it creates belong to that thread).

#include "mivosdk/CMAbstractWorker.h"

#include <QVariantHash>

/// The function a module exports under kMivoWorkerCreateSymbol. `host` is the host's own context
/// object for this worker (it lives on the worker thread; modules may ignore it); `settings` is
/// the worker settings hash (e.g. MivoWorkerSettingStreamUrlPrefix()). The module answers a new
/// worker without a parent, or null when it cannot create one; the host owns the result and
/// destroys it on the worker thread.
extern "C" typedef CMAbstractWorker* (*MivoWorkerCreateFunction)(QObject* host,
                                                                 const QVariantHash& settings);

/// The symbol name the host resolves in a module.
inline constexpr const char kMivoWorkerCreateSymbol[] = "worker_create";

/// Worker setting: "smt2://" followed by the socket path on which the host's streamer receives
/// audio; the module's smt2 sender connects there.
inline QString MivoWorkerSettingStreamUrlPrefix()
{
    return QStringLiteral("streamUrl_prefix");
}

/// The declaration a module defines, so that its signature is checked against the type above.
extern "C" Q_DECL_EXPORT CMAbstractWorker* worker_create(QObject* host,
                                                         const QVariantHash& settings);
