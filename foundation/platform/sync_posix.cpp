#include "foundation/platform/sync.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <pthread.h>

namespace foundation::platform
{
namespace
{
using Clock = std::chrono::steady_clock;

// Waits on the condition until `ready` holds or the time is up; gives whether it holds.
template <class Ready>
bool waitUntil(std::condition_variable& condition, std::unique_lock<std::mutex>& held, uint32_t milliseconds,
               Ready ready)
{
    if (milliseconds == kForever)
    {
        condition.wait(held, ready);
        return true;
    }
    return condition.wait_until(held, Clock::now() + std::chrono::milliseconds(milliseconds), ready);
}
} // namespace

// Pulses have no counterpart in POSIX; they are told apart by generation. A waiter notes the
// generation it came in at. A manual pulse starts a new generation, which lets every older
// waiter through. An automatic pulse also grants one passage that only a waiter older than the
// pulse may take, so a thread that arrives just after it can't steal the signal.
struct Event
{
    std::mutex mutex;
    std::condition_variable changed;
    bool manual = false;
    bool signalled = false;
    uint64_t generation = 0;
    uint64_t grantGeneration = 0;
    int32_t grants = 0;
    int32_t waiting = 0;
};

Event* createEvent(bool manualReset, bool initiallySet, const char*)
{
    Event* event = new (std::nothrow) Event;
    if (!event) return nullptr;
    event->manual = manualReset;
    event->signalled = initiallySet;
    return event;
}

void destroyEvent(Event* event)
{
    delete event;
}

// Waiters are woken with the mutex held: a waiter may delete the object as soon as its wait
// returns, and it can't return before the mutex is free again.
bool setEvent(Event* event)
{
    std::lock_guard<std::mutex> held(event->mutex);
    event->signalled = true;
    event->changed.notify_all();
    return true;
}

bool resetEvent(Event* event)
{
    std::lock_guard<std::mutex> held(event->mutex);
    event->signalled = false;
    return true;
}

bool pulseEvent(Event* event)
{
    std::lock_guard<std::mutex> held(event->mutex);
    event->signalled = false;
    if (event->waiting == 0) return true;
    if (event->manual)
        ++event->generation;
    else if (event->grants < event->waiting)
    {
        event->grantGeneration = ++event->generation;
        ++event->grants;
    }
    event->changed.notify_all();
    return true;
}

WaitResult waitEvent(Event* event, uint32_t milliseconds)
{
    std::unique_lock<std::mutex> held(event->mutex);
    const uint64_t arrival = event->generation;
    const auto passes = [&]
    {
        if (event->signalled)
        {
            if (!event->manual) event->signalled = false;
            return true;
        }
        if (event->manual) return event->generation != arrival;
        if (event->grants > 0 && arrival < event->grantGeneration)
        {
            --event->grants;
            return true;
        }
        return false;
    };
    ++event->waiting;
    const bool passed = waitUntil(event->changed, held, milliseconds, passes);
    // Grants that no waiter is left to take would let a later one through.
    if (--event->waiting == 0) event->grants = 0;
    return passed ? kWaitSignalled : kWaitTimedOut;
}

struct Semaphore
{
    std::mutex mutex;
    std::condition_variable released;
    int32_t count = 0;
    int32_t maximum = 0;
};

Semaphore* createSemaphore(int32_t initialCount, int32_t maximumCount)
{
    if (maximumCount <= 0 || initialCount < 0 || initialCount > maximumCount) return nullptr;
    Semaphore* semaphore = new (std::nothrow) Semaphore;
    if (!semaphore) return nullptr;
    semaphore->count = initialCount;
    semaphore->maximum = maximumCount;
    return semaphore;
}

void destroySemaphore(Semaphore* semaphore)
{
    delete semaphore;
}

bool releaseSemaphore(Semaphore* semaphore, int32_t count)
{
    std::lock_guard<std::mutex> held(semaphore->mutex);
    if (count <= 0 || count > semaphore->maximum - semaphore->count) return false;
    semaphore->count += count;
    semaphore->released.notify_all();
    return true;
}

WaitResult waitSemaphore(Semaphore* semaphore, uint32_t milliseconds)
{
    std::unique_lock<std::mutex> held(semaphore->mutex);
    if (!waitUntil(semaphore->released, held, milliseconds, [&] { return semaphore->count > 0; }))
        return kWaitTimedOut;
    --semaphore->count;
    return kWaitSignalled;
}

// The same rules as the Windows lock built from a mutex, an event and a semaphore: readers hold
// nothing while inside, a writer owns the bookkeeping (and may take it again) until it leaves.
struct ReadWriteLock
{
    std::mutex mutex;
    std::condition_variable changed;
    int32_t readers = 0;
    int32_t writerDepth = 0;
    pthread_t writer{};

    bool ownedByOther() const { return writerDepth > 0 && !pthread_equal(writer, pthread_self()); }
};

ReadWriteLock* createReadWriteLock()
{
    return new (std::nothrow) ReadWriteLock;
}

void destroyReadWriteLock(ReadWriteLock* lock)
{
    delete lock;
}

void lockRead(ReadWriteLock* lock)
{
    std::unique_lock<std::mutex> held(lock->mutex);
    lock->changed.wait(held, [&] { return !lock->ownedByOther(); });
    ++lock->readers;
}

void unlockRead(ReadWriteLock* lock)
{
    std::unique_lock<std::mutex> held(lock->mutex);
    lock->changed.wait(held, [&] { return !lock->ownedByOther(); });
    if (lock->readers > 0 && --lock->readers == 0) lock->changed.notify_all();
}

void lockWrite(ReadWriteLock* lock)
{
    std::unique_lock<std::mutex> held(lock->mutex);
    lock->changed.wait(held, [&] { return !lock->ownedByOther() && lock->readers == 0; });
    lock->writer = pthread_self();
    ++lock->writerDepth;
}

void unlockWrite(ReadWriteLock* lock)
{
    std::lock_guard<std::mutex> held(lock->mutex);
    if (lock->writerDepth > 0 && !lock->ownedByOther() && --lock->writerDepth == 0)
        lock->changed.notify_all();
}
} // namespace foundation::platform
