#include "HookMutex.h"

#include "Log.h"

#include <sxmlib.h>

#include <stdexcept>

namespace sxmlib {

HookMutex::HookMutex()
{
    if (sxm_mtx_init(&m_mutex, 0) != 1)
        throw std::runtime_error("sxm_mtx_init failed");
}

HookMutex::~HookMutex()
{
    if (sxm_mtx_destroy(&m_mutex) != 0)
        SXMLIB_ERROR("sxm_mtx_destroy failed");
}

void HookMutex::lock()
{
    if (sxm_mtx_lock(&m_mutex) != 1)
        throw std::runtime_error("sxm_mtx_lock failed");
}

void HookMutex::unlock()
{
    // An unlock that fails leaves nothing to recover; it is logged so that the integrator's
    // mistake shows.
    if (sxm_mtx_unlock(&m_mutex) != 1)
        SXMLIB_ERROR("sxm_mtx_unlock failed");
}

} // namespace sxmlib
