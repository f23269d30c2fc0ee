// The loadable module's entry point. libcb_sirius.so exports, with C linkage and default
// visibility, worker_create and the hooks the client library resolves when it is loaded:
//
//   sirius_HT_init, sirius_HT_reset, sirius_HT_cleanup, sirius_HT_clearCtxData,
//   sirius_HT_Request                                     HTTP transport on libcurl
//   sxm_getAccount, sxm_setAccount, sxm_freeAccount, sxm_GetMAC, sxm_getConfigUrl,
//   sxm_getFixedKey, sxm_getDeviceMake, sxm_getDeviceModel account and device identity from the
//                                                         host's settings
//   sxm_malloc, sxm_realloc, sxm_free, sxm_sleep, sxm_platform_ms_since_epoch,
//   sxm_mtx_init, sxm_mtx_destroy, sxm_mtx_lock, sxm_mtx_trylock, sxm_mtx_unlock,
//   sxm_init_platform_logger, sxm_platform_print, sxm_platform_log_level
//                                                         memory, time, locking, logging
//   sxm_cr_init, sxm_cipher_get_algo_keylen, sxm_decrypt_start, sxm_decrypt_process,
//   sxm_decrypt_done                                      AES-128-CBC stream decryption
//
// The hooks' declarations and contracts are in sxmlib.h and their code under sxmLibAdaptation/;
// they reach this module from the static core library, which the build links whole.

#include "worker/siriusWorker.h"

#include <mivosdk/MivoWorkerEntry.h>

extern "C" Q_DECL_EXPORT CMAbstractWorker* worker_create(QObject* host,
                                                         const QVariantHash& settings)
{
    Q_UNUSED(host)
    return new SiriusWorker(settings);
}
