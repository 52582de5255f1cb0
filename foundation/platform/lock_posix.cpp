#include "foundation/flock.h"

#include <new>
#include <pthread.h>

namespace
{
static_assert(sizeof(pthread_mutex_t) <= 64, "FLock storage too small for pthread_mutex_t");

pthread_mutex_t* mutexIn(unsigned char* storage)
{
    return std::launder(reinterpret_cast<pthread_mutex_t*>(storage));
}
} // namespace

FLock::FLock(const char*)
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(new (section) pthread_mutex_t, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

FLock::~FLock()
{
    pthread_mutex_destroy(mutexIn(section));
}

void FLock::lock()
{
    pthread_mutex_lock(mutexIn(section));
}

void FLock::unlock()
{
    pthread_mutex_unlock(mutexIn(section));
}

bool FLock::tryLock()
{
    return pthread_mutex_trylock(mutexIn(section)) == 0;
}
