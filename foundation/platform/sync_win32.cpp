#include "foundation/platform/sync.h"

#include <initializer_list>
#include <new>
#include <windows.h>

namespace foundation::platform
{
namespace
{
WaitResult resultOf(DWORD waited)
{
    if (waited == WAIT_OBJECT_0) return kWaitSignalled;
    return waited == WAIT_TIMEOUT ? kWaitTimedOut : kWaitFailed;
}
} // namespace

struct Event
{
    HANDLE handle;
};

Event* createEvent(bool manualReset, bool initiallySet, const char* name)
{
    const HANDLE handle = CreateEventA(nullptr, manualReset, initiallySet, name);
    if (!handle) return nullptr;
    Event* event = new (std::nothrow) Event{handle};
    if (!event) CloseHandle(handle);
    return event;
}

void destroyEvent(Event* event)
{
    if (!event) return;
    CloseHandle(event->handle);
    delete event;
}

bool setEvent(Event* event)
{
    return SetEvent(event->handle) != 0;
}

bool resetEvent(Event* event)
{
    return ResetEvent(event->handle) != 0;
}

bool pulseEvent(Event* event)
{
    return PulseEvent(event->handle) != 0;
}

WaitResult waitEvent(Event* event, uint32_t milliseconds)
{
    return resultOf(WaitForSingleObject(event->handle, milliseconds));
}

struct Semaphore
{
    HANDLE handle;
};

Semaphore* createSemaphore(int32_t initialCount, int32_t maximumCount)
{
    const HANDLE handle = CreateSemaphoreA(nullptr, initialCount, maximumCount, nullptr);
    if (!handle) return nullptr;
    Semaphore* semaphore = new (std::nothrow) Semaphore{handle};
    if (!semaphore) CloseHandle(handle);
    return semaphore;
}

void destroySemaphore(Semaphore* semaphore)
{
    if (!semaphore) return;
    CloseHandle(semaphore->handle);
    delete semaphore;
}

bool releaseSemaphore(Semaphore* semaphore, int32_t count)
{
    return ReleaseSemaphore(semaphore->handle, count, nullptr) != 0;
}

WaitResult waitSemaphore(Semaphore* semaphore, uint32_t milliseconds)
{
    return resultOf(WaitForSingleObject(semaphore->handle, milliseconds));
}

// Readers hold nothing while inside: the mutex only serialises the bookkeeping, the semaphore's
// count is the number of readers, and the event is set exactly while there are none. A writer
// takes the mutex and the event together and keeps the mutex, so readers wait for it meanwhile.
struct ReadWriteLock
{
    HANDLE mutex;
    HANDLE noReaders;
    HANDLE readers;
};

ReadWriteLock* createReadWriteLock()
{
    ReadWriteLock* lock = new (std::nothrow) ReadWriteLock{
        CreateMutexA(nullptr, FALSE, nullptr),
        CreateEventA(nullptr, TRUE, TRUE, nullptr),
        CreateSemaphoreA(nullptr, 0, 0x7FFFFFFF, nullptr),
    };
    if (lock && (!lock->mutex || !lock->noReaders || !lock->readers))
    {
        destroyReadWriteLock(lock);
        return nullptr;
    }
    return lock;
}

void destroyReadWriteLock(ReadWriteLock* lock)
{
    if (!lock) return;
    for (HANDLE handle : {lock->mutex, lock->noReaders, lock->readers})
        if (handle) CloseHandle(handle);
    delete lock;
}

void lockRead(ReadWriteLock* lock)
{
    WaitForSingleObject(lock->mutex, INFINITE);
    LONG before = 0;
    ReleaseSemaphore(lock->readers, 1, &before);
    if (before == 0) ResetEvent(lock->noReaders);
    ReleaseMutex(lock->mutex);
}

void unlockRead(ReadWriteLock* lock)
{
    const HANDLE both[2] = {lock->mutex, lock->readers};
    WaitForMultipleObjects(2, both, TRUE, INFINITE);
    // A semaphore tells its count only when released: add one back to read it, then take it off.
    LONG left = 0;
    ReleaseSemaphore(lock->readers, 1, &left);
    WaitForSingleObject(lock->readers, 0);
    if (left == 0) SetEvent(lock->noReaders);
    ReleaseMutex(lock->mutex);
}

void lockWrite(ReadWriteLock* lock)
{
    const HANDLE both[2] = {lock->mutex, lock->noReaders};
    WaitForMultipleObjects(2, both, TRUE, INFINITE);
}

void unlockWrite(ReadWriteLock* lock)
{
    ReleaseMutex(lock->mutex);
}
} // namespace foundation::platform
