#pragma once
// Thread contract: safe from any thread (it is a mutex).
//
// A mutex on the integrator's sxm_mtx_* hooks. The library's own state locks go through the
// integrator, as the device's platform layer expects to see (and may instrument) every lock the
// library takes. Meets BasicLockable, so std::lock_guard and std::unique_lock work with it.

#include <pthread.h>

namespace sxmlib {

class HookMutex
{
public:
    /// Throws std::runtime_error when the integrator cannot make the mutex.
    HookMutex();
    ~HookMutex();
    HookMutex(const HookMutex&) = delete;
    HookMutex& operator=(const HookMutex&) = delete;

    /// Throws std::runtime_error when the hook refuses (a broken integrator): continuing without
    /// the lock would corrupt the state it guards.
    void lock();
    void unlock();

private:
    pthread_mutex_t m_mutex;
};

} // namespace sxmlib
