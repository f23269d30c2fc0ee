// Mutex hooks of the client library (declared in sxmlib.h): plain POSIX mutexes, so that the
// library's locking is exactly what pthreads gives (and what the thread sanitizer understands).

#include "siriusLogging.h"

#include <sxmlib.h>

#include <cerrno>

namespace {

// Destroys a mutex attribute object when the initialisation that needed it is over.
class MutexAttributes
{
public:
    MutexAttributes()
        : valid_(pthread_mutexattr_init(&attributes_) == 0)
    {}
    ~MutexAttributes()
    {
        if (valid_)
            pthread_mutexattr_destroy(&attributes_);
    }
    MutexAttributes(const MutexAttributes&) = delete;
    MutexAttributes& operator=(const MutexAttributes&) = delete;

    bool setType(int type) { return valid_ && pthread_mutexattr_settype(&attributes_, type) == 0; }
    const pthread_mutexattr_t* get() const { return &attributes_; }

private:
    pthread_mutexattr_t attributes_;
    bool valid_;
};

bool rejectNullMutex(const pthread_mutex_t* mutex, const char* hook)
{
    if (mutex)
        return false;
    LOG4CPLUS_ERROR(sirius::siriusLibraryLogger(), hook << " called without a mutex");
    return true;
}

} // namespace

extern "C" {

int sxm_mtx_init(pthread_mutex_t* mutex, unsigned flags)
{
    if (rejectNullMutex(mutex, "sxm_mtx_init"))
        return 0;
    MutexAttributes attributes;
    const int type = (flags & SXM_MTX_RECURSIVE) ? PTHREAD_MUTEX_RECURSIVE : PTHREAD_MUTEX_DEFAULT;
    if (!attributes.setType(type))
        return 0;
    return pthread_mutex_init(mutex, attributes.get()) == 0 ? 1 : 0;
}

int sxm_mtx_destroy(pthread_mutex_t* mutex)
{
    if (rejectNullMutex(mutex, "sxm_mtx_destroy"))
        return EINVAL;
    return pthread_mutex_destroy(mutex);
}

int sxm_mtx_lock(pthread_mutex_t* mutex)
{
    if (rejectNullMutex(mutex, "sxm_mtx_lock"))
        return 0;
    return pthread_mutex_lock(mutex) == 0 ? 1 : 0;
}

int sxm_mtx_trylock(pthread_mutex_t* mutex)
{
    if (rejectNullMutex(mutex, "sxm_mtx_trylock"))
        return SXM_MTX_BUSY;
    return pthread_mutex_trylock(mutex) == 0 ? 1 : SXM_MTX_BUSY;
}

int sxm_mtx_unlock(pthread_mutex_t* mutex)
{
    if (rejectNullMutex(mutex, "sxm_mtx_unlock"))
        return 0;
    return pthread_mutex_unlock(mutex) == 0 ? 1 : 0;
}

} // extern "C"
