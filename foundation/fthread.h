#pragma once

// A small portable layer over the platform's threads: the thread class with its optional
// observer, thread-local objects that the thread class cleans up, a watch that finds threads
// other code started, and a sleep. Nothing in the running module starts a thread; tools and the
// stand-in host do.

#include "foundation/fstring.h"
#include "foundation/funknown.h"

#include <atomic>
#include <cstdint>

namespace foundation::platform
{
struct Thread;
}

class FThread;

// Told of every FThread as it is made and as it goes, on the thread that makes or deletes it.
class FThreadObserver
{
public:
    virtual void threadCreated(FThread* thread) = 0;
    virtual void threadDestroyed(FThread* thread) = 0;
};

// One observer for the process, or null; set it before threads are made.
void setThreadObserver(FThreadObserver* observer);
FThreadObserver* getThreadObserver();

class FThread
{
public:
    // Priority classes of the process.
    enum : int32_t
    {
        kNormalClass = 32,
        kIdleClass = 64,
        kHighClass = 128,
        kBelowNormalClass = 16384,
        kAboveNormalClass = 32768,
    };
    static constexpr uint32_t kForever = 0xFFFFFFFF;

    explicit FThread(const char* name = nullptr);
    // Lets go of the thread but doesn't stop it: a thread still running when its FThread goes
    // must not touch the object any more.
    virtual ~FThread();
    FThread(const FThread&) = delete;
    FThread& operator=(const FThread&) = delete;

    // Levels 0 (idle) to 5 (time critical), 2 normal. The level is kept in any case; without a
    // thread that is all, and true. With one, a level outside 0 to 5 gives false and changes
    // nothing; otherwise the thread gets the level's priority in the process's present class
    // (see threadPriorityFor). Raising a thread above normal may need privileges on POSIX.
    virtual bool setPriority(int32_t level);
    // For derived classes; nothing here calls it.
    virtual void customHook() {}
    // The thread's work; its result is the thread's exit code.
    virtual uint32_t run() { return 0; }

    // Starts the thread once: named, and at its priority before it runs its first instruction.
    // A failure to make the thread leaves it without a handle, so waitFor gives true.
    void start();
    // Windows ends the thread at once, wherever it is. POSIX has no safe way to do that: the
    // thread only learns of the request through terminationRequested and must end by itself.
    // Either way the handle goes, and the thread is no longer waited for.
    void terminate();
    bool terminationRequested() const { return stopRequested.load(); }
    bool isCurrentThread() const;
    foundation::platform::Thread* getHandle() const { return handle; }
    // True at once for a thread never started or without a handle; otherwise whether the thread
    // ended within the time (kForever waits without end).
    bool waitFor(uint32_t milliseconds);
    // The result of run; false while the thread runs or if there is none.
    bool getExitCode(uint32_t& code) const;
    // Keeps the index; a thread with a handle is bound to that processor, or to all the
    // process's processors for -1. False for other negative indexes, processors the process may
    // not use and threads without a handle.
    bool setProcessor(int32_t index);

    int32_t getPriority() const { return priority; }
    int32_t getProcessor() const { return processor; }
    uint32_t getThreadId() const { return threadId; }
    bool isStarted() const { return started; }
    const String& getName() const { return name; }

    // The process's class: high or normal, above or below normal. On POSIX the class is a nice
    // value for every thread of the process, and raising it needs privileges there.
    static bool setProcessHigh(bool high);
    static bool setProcessAboveNormal(bool above);
    // Switches the platform's dynamic priority boost; false where there is none (POSIX).
    static bool setProcessBoost(bool boost);
    static int32_t getProcessClass();
    // The thread priority of a level in a process class, as Windows counts it (-15 idle, -2 to
    // 2, 15 time critical); 0 for a level outside 0 to 5.
    static int32_t threadPriorityFor(int32_t level, int32_t processClass);
    static uint32_t currentThreadId();

private:
    static uint32_t entry(void* argument);

    int32_t priority = 2;
    int32_t processor = -1;
    bool started = false;
    foundation::platform::Thread* handle = nullptr;
    uint32_t threadId = 0;
    String name;
    std::atomic<bool> stopRequested{false};
};

// One counted object per thread in a slot of the platform. Threads started by FThread give
// their objects back when they end; other threads must set null before they end, or their
// objects stay. All slots of the process are listed under one lock for that clean-up.
class FThreadLocal
{
public:
    // Null if the platform has no slot left.
    static FThreadLocal* create();
    // Frees the slot and gives back the calling thread's object.
    ~FThreadLocal();
    FThreadLocal(const FThreadLocal&) = delete;
    FThreadLocal& operator=(const FThreadLocal&) = delete;

    // The calling thread's object, without a reference for the caller; null if none.
    FUnknown* get() const;
    // Gives back the old object and keeps a reference to the new one (null clears the slot).
    // True if the platform stored it.
    bool set(FUnknown* object);

private:
    explicit FThreadLocal(uint32_t platformSlot) : slot(platformSlot) {}

    uint32_t slot;
};

// Finds the threads that other code started since a baseline, so that their priority can be
// set. Holds up to 256 ids for the baseline and 32 new ones.
class FThreadWatch
{
public:
    static constexpr int32_t kMostThreads = 256;
    static constexpr int32_t kMostNewThreads = 32;

    // Lists the process's threads now; false if the platform can't list them.
    bool takeBaseline();
    // Adds the threads that are not in the baseline to the new ones. Gives the count of new ones.
    int32_t findNewThreads();
    int32_t getNewThreadCount() const { return newCount; }
    uint32_t getNewThreadId(int32_t index) const;
    // A handle for setting the priority of the new thread at that index, owned by the caller
    // (see setPriorityOf and close); null for an index out of range or a thread that is gone.
    void* openNewThread(int32_t index) const;

    // A level of 0 to 5 for an opened thread, as FThread::setPriority.
    static bool setPriorityOf(void* opened, int32_t level);
    static void close(void* opened);

private:
    uint32_t baseline[kMostThreads] = {};
    int32_t baselineCount = 0;
    uint32_t newIds[kMostNewThreads] = {};
    int32_t newCount = 0;
};

// Gives up the processor for at least that many milliseconds; 0 or less just yields.
void sleep(int32_t milliseconds);
