#include "foundation/fsync.h"

#include "foundation/platform/sync.h"

namespace platform = foundation::platform;

FEvent::FEvent(const char* name, bool manualReset) : native(platform::createEvent(manualReset, false, name))
{
}

FEvent::~FEvent()
{
    platform::destroyEvent(native);
}

bool FEvent::signal()
{
    return native && platform::setEvent(native);
}

bool FEvent::reset()
{
    return native && platform::resetEvent(native);
}

bool FEvent::pulse()
{
    return native && platform::pulseEvent(native);
}

bool FEvent::wait()
{
    return wait(-1);
}

bool FEvent::wait(int32_t milliseconds)
{
    if (!native) return false;
    return platform::waitEvent(native, static_cast<uint32_t>(milliseconds)) != platform::kWaitTimedOut;
}

FSemaphore::FSemaphore(int32_t initialCount) : native(platform::createSemaphore(initialCount, kMaximumCount))
{
}

FSemaphore::~FSemaphore()
{
    platform::destroySemaphore(native);
}

bool FSemaphore::release(int32_t count)
{
    // Some platforms take a count of 0 as a release that does nothing.
    return native && count > 0 && platform::releaseSemaphore(native, count);
}

bool FSemaphore::wait(int32_t milliseconds)
{
    if (!native) return false;
    const uint32_t time = milliseconds < 0 ? platform::kForever : static_cast<uint32_t>(milliseconds);
    return platform::waitSemaphore(native, time) == platform::kWaitSignalled;
}

FReadWriteLock::FReadWriteLock() : native(platform::createReadWriteLock()) {}

FReadWriteLock::~FReadWriteLock()
{
    platform::destroyReadWriteLock(native);
}

void FReadWriteLock::lockRead()
{
    if (native) platform::lockRead(native);
}

void FReadWriteLock::unlockRead()
{
    if (native) platform::unlockRead(native);
}

void FReadWriteLock::lockWrite()
{
    if (native) platform::lockWrite(native);
}

void FReadWriteLock::unlockWrite()
{
    if (native) platform::unlockWrite(native);
}
