#include "platformHooks.h"

#include <sxmlib.h>

#include <QDateTime>

#include <cstdlib>
#include <unistd.h>

int64_t platform_ms_since_epoch()
{
    return QDateTime::currentDateTimeUtc().toMSecsSinceEpoch();
}

extern "C" {

int64_t sxm_platform_ms_since_epoch(void)
{
    return platform_ms_since_epoch();
}

void* sxm_malloc(unsigned size)
{
    return std::malloc(size);
}

void* sxm_realloc(void* pointer, unsigned size)
{
    return std::realloc(pointer, size);
}

void sxm_free(void* pointer)
{
    std::free(pointer);
}

unsigned sxm_sleep(unsigned seconds)
{
    return ::sleep(seconds);
}

} // extern "C"
