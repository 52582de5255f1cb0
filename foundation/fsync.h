#pragma once

// Kernel objects beside the thread class: an event, a semaphore and a read-write lock. Each maps
// one to one onto the platform's objects (see platform/sync.h for where POSIX differs).
// An object whose platform part could not be made answers false to isValid and to every wait.

#include <cstdint>

namespace foundation::platform
{
struct Event;
struct Semaphore;
struct ReadWriteLock;
} // namespace foundation::platform

class FEvent
{
public:
    // Not signalled at first. An automatic event resets itself when it lets a waiter through.
    explicit FEvent(const char* name = nullptr, bool manualReset = false);
    ~FEvent();
    FEvent(const FEvent&) = delete;
    FEvent& operator=(const FEvent&) = delete;

    bool isValid() const { return native != nullptr; }
    bool signal();
    bool reset();
    // Lets through the threads waiting now (one for an automatic event) and leaves the event
    // reset. A pulse that no thread waits for is lost.
    bool pulse();
    // Waits for ever.
    bool wait();
    // -1 waits for ever; any other negative time counts as unsigned milliseconds, so -5 is a
    // time-out of about 49 days. True unless the time ran out: a wait that fails gives true too.
    bool wait(int32_t milliseconds);

private:
    foundation::platform::Event* native;
};

class FSemaphore
{
public:
    static constexpr int32_t kMaximumCount = 0x7FFFFFFF;

    explicit FSemaphore(int32_t initialCount = 0);
    ~FSemaphore();
    FSemaphore(const FSemaphore&) = delete;
    FSemaphore& operator=(const FSemaphore&) = delete;

    bool isValid() const { return native != nullptr; }
    // False, with nothing released, if the count would pass the maximum or is not positive.
    bool release(int32_t count = 1);
    // Any negative time waits for ever. True only if the semaphore was taken.
    bool wait(int32_t milliseconds = -1);

private:
    foundation::platform::Semaphore* native;
};

// Any number of readers, or one writer. A writer that waits for the readers to leave doesn't hold
// back new readers, so a stream of readers can keep it out. The write side may be taken again
// by the thread that holds it. Not a scope guard: every lock needs its unlock.
class FReadWriteLock
{
public:
    FReadWriteLock();
    ~FReadWriteLock();
    FReadWriteLock(const FReadWriteLock&) = delete;
    FReadWriteLock& operator=(const FReadWriteLock&) = delete;

    bool isValid() const { return native != nullptr; }
    void lockRead();
    void unlockRead();
    void lockWrite();
    void unlockWrite();

private:
    foundation::platform::ReadWriteLock* native;
};
