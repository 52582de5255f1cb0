#pragma once

// The operating system's half of the kernel objects: events, semaphores and the read-write lock.
// Times are in milliseconds; kForever waits without end.

#include <cstdint>

namespace foundation::platform
{
constexpr uint32_t kForever = 0xFFFFFFFF;

enum WaitResult : int32_t
{
    kWaitSignalled = 0,
    kWaitTimedOut = 1,
    kWaitFailed = -1,
};

// A manual-reset event stays set until reset; an automatic one lets one waiter through and
// resets itself. The name is for the platform's namespace of objects where there is one (Windows);
// elsewhere an event belongs to its process alone. Null on failure.
struct Event;
Event* createEvent(bool manualReset, bool initiallySet, const char* name);
void destroyEvent(Event* event);
bool setEvent(Event* event);
bool resetEvent(Event* event);
// Lets the threads that wait at this moment through (all of them, or one for an automatic
// event) and leaves the event reset; no signal is left for a later waiter.
bool pulseEvent(Event* event);
WaitResult waitEvent(Event* event, uint32_t milliseconds);

struct Semaphore;
Semaphore* createSemaphore(int32_t initialCount, int32_t maximumCount);
void destroySemaphore(Semaphore* semaphore);
// Adds count; false, with nothing added, if that would pass the maximum.
bool releaseSemaphore(Semaphore* semaphore, int32_t count);
WaitResult waitSemaphore(Semaphore* semaphore, uint32_t milliseconds);

// Readers share, a writer is alone. A writer may take the lock again, and may read while it
// writes; a writer that waits for readers to leave doesn't stop new readers from coming in.
struct ReadWriteLock;
ReadWriteLock* createReadWriteLock();
void destroyReadWriteLock(ReadWriteLock* lock);
void lockRead(ReadWriteLock* lock);
void unlockRead(ReadWriteLock* lock);
void lockWrite(ReadWriteLock* lock);
void unlockWrite(ReadWriteLock* lock);
} // namespace foundation::platform
