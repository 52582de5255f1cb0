#include "foundation/fthread.h"

#include "foundation/flock.h"
#include "foundation/platform/thread.h"
#include "foundation/tcontainer.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace platform = foundation::platform;

namespace
{
std::atomic<FThreadObserver*> observer{nullptr};

// The slots of all FThreadLocal objects, for the clean-up at the end of an FThread. The lock
// lives as long as the process: a thread may still end after static objects are gone.
FLock& slotListLock()
{
    static FLock* const lock = new FLock("FThreadLocal");
    return *lock;
}

// Made at first use, under the lock.
TArray<uint32_t>* slotList = nullptr;

// Gives back every object the ending thread keeps in a slot. The objects are collected under
// the lock and released after it, so that a release that makes or deletes a slot can't change
// the list under our feet.
void releaseThreadLocals()
{
    std::vector<FUnknown*> objects;
    {
        FLockGuard guard(slotListLock());
        if (!slotList) return;
        for (int32_t i = 0; i < slotList->getCount(); ++i)
        {
            const uint32_t slot = slotList->at(i);
            if (FUnknown* object = static_cast<FUnknown*>(platform::slotValue(slot)))
            {
                platform::setSlotValue(slot, nullptr);
                objects.push_back(object);
            }
        }
    }
    for (FUnknown* object : objects)
        object->release();
}
} // namespace

void setThreadObserver(FThreadObserver* newObserver)
{
    observer.store(newObserver);
}

FThreadObserver* getThreadObserver()
{
    return observer.load();
}

// ---------------------------------------------------------------------------------------------
// FThread

FThread::FThread(const char* threadName) : name(threadName ? threadName : "")
{
    if (FThreadObserver* watcher = observer.load()) watcher->threadCreated(this);
}

FThread::~FThread()
{
    if (FThreadObserver* watcher = observer.load()) watcher->threadDestroyed(this);
    platform::closeThread(handle);
}

uint32_t FThread::entry(void* argument)
{
    const uint32_t code = static_cast<FThread*>(argument)->run();
    releaseThreadLocals();
    return code;
}

void FThread::start()
{
    if (started) return;
    started = true;
    handle = platform::createSuspendedThread(&FThread::entry, this, threadId);
    if (!handle) return;
    platform::setThreadName(handle, name.text8());
    setPriority(priority);
    platform::resumeThread(handle);
}

void FThread::terminate()
{
    // The request comes after the kill, so that where the platform can kill, the thread ends
    // where it stands and doesn't run on to its own end first.
    if (handle) platform::killThread(handle);
    stopRequested.store(true);
    platform::closeThread(handle);
    handle = nullptr;
}

bool FThread::isCurrentThread() const
{
    return threadId != 0 && threadId == platform::currentThreadId();
}

bool FThread::waitFor(uint32_t milliseconds)
{
    if (!started || !handle) return true;
    return platform::waitForThread(handle, milliseconds);
}

bool FThread::getExitCode(uint32_t& code) const
{
    return handle && platform::threadExitCode(handle, code);
}

bool FThread::setPriority(int32_t level)
{
    priority = level;
    if (!handle) return true;
    if (level < 0 || level > 5) return false;
    return platform::setThreadPriority(handle, threadPriorityFor(level, platform::processPriorityClass()));
}

int32_t FThread::threadPriorityFor(int32_t level, int32_t processClass)
{
    // In a normal process the levels spread over the whole range; in any other class they sit
    // one step lower, so that a busy high-class process doesn't starve its own interface.
    static constexpr int32_t normal[6] = {-15, -1, 0, 1, 2, 15};
    static constexpr int32_t other[6] = {-15, -2, -1, 0, 1, 15};
    if (level < 0 || level > 5) return 0;
    return processClass == kNormalClass ? normal[level] : other[level];
}

bool FThread::setProcessor(int32_t index)
{
    processor = index;
    if (!handle || index < -1 || index >= 64) return false;
    uint64_t processMask = 0;
    if (!platform::processAffinity(processMask)) return false;
    const uint64_t wanted = index == -1 ? processMask : uint64_t(1) << index;
    if ((wanted & processMask) == 0) return false;
    return platform::setThreadAffinity(handle, wanted);
}

bool FThread::setProcessHigh(bool high)
{
    return platform::setProcessPriorityClass(high ? kHighClass : kNormalClass);
}

bool FThread::setProcessAboveNormal(bool above)
{
    return platform::setProcessPriorityClass(above ? kAboveNormalClass : kBelowNormalClass);
}

bool FThread::setProcessBoost(bool boost)
{
    // The platform's flag switches the boost off.
    return platform::setProcessPriorityBoost(!boost);
}

int32_t FThread::getProcessClass()
{
    return platform::processPriorityClass();
}

uint32_t FThread::currentThreadId()
{
    return platform::currentThreadId();
}

// ---------------------------------------------------------------------------------------------
// FThreadLocal

FThreadLocal* FThreadLocal::create()
{
    uint32_t slot = 0;
    if (!platform::allocateSlot(slot)) return nullptr;
    FThreadLocal* local = new (std::nothrow) FThreadLocal(slot);
    FLockGuard guard(slotListLock());
    if (!slotList) slotList = new (std::nothrow) TArray<uint32_t>(0, 10);
    if (!local || !slotList || !slotList->add(slot))
    {
        // Without its place in the list the slot's objects could not be given back.
        delete local;
        platform::freeSlot(slot);
        return nullptr;
    }
    return local;
}

FThreadLocal::~FThreadLocal()
{
    {
        FLockGuard guard(slotListLock());
        if (slotList) slotList->removeItem(slot);
    }
    FUnknown* own = get();
    platform::setSlotValue(slot, nullptr);
    platform::freeSlot(slot);
    if (own) own->release();
}

FUnknown* FThreadLocal::get() const
{
    return static_cast<FUnknown*>(platform::slotValue(slot));
}

bool FThreadLocal::set(FUnknown* object)
{
    FUnknown* old = get();
    if (object) object->addRef();
    const bool stored = platform::setSlotValue(slot, object);
    if (!stored)
    {
        if (object) object->release();
        return false;
    }
    if (old) old->release();
    return true;
}

// ---------------------------------------------------------------------------------------------
// FThreadWatch

bool FThreadWatch::takeBaseline()
{
    const int32_t count = platform::listProcessThreads(baseline, kMostThreads);
    if (count < 0) return false;
    baselineCount = count;
    return true;
}

int32_t FThreadWatch::findNewThreads()
{
    uint32_t now[kMostThreads];
    // Every id is looked at, even when there are no more threads than in the baseline: threads
    // of the baseline may have ended meanwhile and hidden the new ones in the count.
    const int32_t count = platform::listProcessThreads(now, kMostThreads);
    for (int32_t i = 0; i < count && newCount < kMostNewThreads; ++i)
    {
        bool known = false;
        for (int32_t j = 0; j < baselineCount && !known; ++j)
            known = baseline[j] == now[i];
        for (int32_t j = 0; j < newCount && !known; ++j)
            known = newIds[j] == now[i];
        if (!known) newIds[newCount++] = now[i];
    }
    return newCount;
}

uint32_t FThreadWatch::getNewThreadId(int32_t index) const
{
    return index >= 0 && index < newCount ? newIds[index] : 0;
}

void* FThreadWatch::openNewThread(int32_t index) const
{
    if (index < 0 || index >= newCount) return nullptr;
    return platform::openThreadForPriority(newIds[index]);
}

bool FThreadWatch::setPriorityOf(void* opened, int32_t level)
{
    if (!opened || level < 0 || level > 5) return false;
    return platform::setOpenedThreadPriority(
        opened, FThread::threadPriorityFor(level, platform::processPriorityClass()));
}

void FThreadWatch::close(void* opened)
{
    platform::closeOpenedThread(opened);
}

void sleep(int32_t milliseconds)
{
    if (milliseconds > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    else
        std::this_thread::yield();
}
