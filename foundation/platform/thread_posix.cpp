#include "foundation/platform/thread.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <mutex>
#include <new>
#include <pthread.h>
#include <sched.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

namespace foundation::platform
{
// POSIX threads can't be made suspended: the thread parks at a gate before its entry until it is
// resumed. It is shared by its owner and the running thread; the last one to let go frees it.
struct Thread
{
    pthread_t thread{};
    pid_t id = 0;
    ThreadEntry entry = nullptr;
    void* argument = nullptr;
    std::mutex mutex;
    std::condition_variable changed;
    bool parked = false;
    bool resumed = false;
    bool finished = false;
    uint32_t exitCode = 0;
    std::atomic<int32_t> holders{2};
};

namespace
{
void letGo(Thread* thread)
{
    if (thread->holders.fetch_sub(1, std::memory_order_acq_rel) == 1) delete thread;
}

void* trampoline(void* argument)
{
    Thread* thread = static_cast<Thread*>(argument);
    {
        std::unique_lock<std::mutex> held(thread->mutex);
        thread->id = ::gettid();
        thread->parked = true;
        thread->changed.notify_all();
        thread->changed.wait(held, [&] { return thread->resumed; });
    }
    const uint32_t code = thread->entry(thread->argument);
    {
        std::lock_guard<std::mutex> held(thread->mutex);
        thread->finished = true;
        thread->exitCode = code;
        thread->changed.notify_all();
    }
    letGo(thread);
    return nullptr;
}

// The process's priority class as the nice value every thread gets from it.
std::atomic<int32_t> currentClass{32};

int clampNice(int nice)
{
    return nice < -20 ? -20 : (nice > 19 ? 19 : nice);
}

// The classes count from the nice value the process was started with, so that a process started
// low stays low at its normal class.
int niceOfClass(int32_t priorityClass)
{
    static const int started = []
    {
        errno = 0;
        const int nice = ::getpriority(PRIO_PROCESS, id_t(::getpid()));
        return errno == 0 ? nice : 0;
    }();
    switch (priorityClass)
    {
    case 64:
        return 19;
    case 16384:
        return clampNice(started + 5);
    case 32768:
        return clampNice(started - 5);
    case 128:
        return clampNice(started - 10);
    default:
        return started;
    }
}

// -15 is the idle level whatever the class; the others step two nice values a level.
int niceOfPriority(int32_t priority)
{
    if (priority <= -15) return 19;
    const int offset = priority >= 15 ? -10 : -2 * priority;
    return clampNice(niceOfClass(currentClass.load()) + offset);
}

bool setNice(pid_t id, int nice)
{
    return ::setpriority(PRIO_PROCESS, id_t(id), nice) == 0;
}

struct OpenedThread
{
    pid_t id;
};
} // namespace

Thread* createSuspendedThread(ThreadEntry entry, void* argument, uint32_t& threadId)
{
    Thread* thread = new (std::nothrow) Thread;
    if (!thread) return nullptr;
    thread->entry = entry;
    thread->argument = argument;
    if (::pthread_create(&thread->thread, nullptr, trampoline, thread) != 0)
    {
        delete thread;
        return nullptr;
    }
    std::unique_lock<std::mutex> held(thread->mutex);
    thread->changed.wait(held, [&] { return thread->parked; });
    threadId = uint32_t(thread->id);
    return thread;
}

void resumeThread(Thread* thread)
{
    std::lock_guard<std::mutex> held(thread->mutex);
    thread->resumed = true;
    thread->changed.notify_all();
}

bool waitForThread(Thread* thread, uint32_t milliseconds)
{
    std::unique_lock<std::mutex> held(thread->mutex);
    const auto ended = [&] { return thread->finished; };
    if (milliseconds == 0xFFFFFFFF)
    {
        thread->changed.wait(held, ended);
        return true;
    }
    return thread->changed.wait_for(held, std::chrono::milliseconds(milliseconds), ended);
}

bool threadExitCode(Thread* thread, uint32_t& code)
{
    std::lock_guard<std::mutex> held(thread->mutex);
    if (thread->finished) code = thread->exitCode;
    return thread->finished;
}

void closeThread(Thread* thread)
{
    if (!thread) return;
    ::pthread_detach(thread->thread);
    letGo(thread);
}

bool killThread(Thread*)
{
    return false;
}

void setThreadName(Thread* thread, const char* name)
{
    if (!name || !name[0]) return;
    // The kernel keeps 15 bytes and refuses longer names whole.
    const std::string shortName = std::string(name).substr(0, 15);
    ::pthread_setname_np(thread->thread, shortName.c_str());
}

bool setThreadPriority(Thread* thread, int32_t priority)
{
    return setNice(thread->id, niceOfPriority(priority));
}

bool setThreadAffinity(Thread* thread, uint64_t mask)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    for (int processor = 0; processor < 64; ++processor)
        if (mask & (uint64_t(1) << processor)) CPU_SET(processor, &set);
    return ::pthread_setaffinity_np(thread->thread, sizeof set, &set) == 0;
}

uint32_t currentThreadId()
{
    return uint32_t(::gettid());
}

bool processAffinity(uint64_t& mask)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    if (::sched_getaffinity(::getpid(), sizeof set, &set) != 0) return false;
    mask = 0;
    for (int processor = 0; processor < 64; ++processor)
        if (CPU_ISSET(processor, &set)) mask |= uint64_t(1) << processor;
    return true;
}

int32_t processPriorityClass()
{
    return currentClass.load();
}

bool setProcessPriorityClass(int32_t priorityClass)
{
    // Nice values belong to threads on Linux: the class reaches every thread there is now, and
    // threads made later inherit it from the one that makes them.
    uint32_t ids[1024];
    const int32_t count = listProcessThreads(ids, 1024);
    if (count <= 0) return false;
    const int nice = niceOfClass(priorityClass);
    for (int32_t i = 0; i < count; ++i)
        if (!setNice(pid_t(ids[i]), nice) && errno != ESRCH) return false;
    currentClass.store(priorityClass);
    return true;
}

bool setProcessPriorityBoost(bool)
{
    return false;
}

int32_t listProcessThreads(uint32_t* ids, int32_t capacity)
{
    DIR* tasks = ::opendir("/proc/self/task");
    if (!tasks) return -1;
    int32_t count = 0;
    while (dirent* entry = ::readdir(tasks))
    {
        char* end = nullptr;
        const unsigned long id = std::strtoul(entry->d_name, &end, 10);
        if (entry->d_name[0] < '0' || entry->d_name[0] > '9' || *end || count == capacity) continue;
        ids[count++] = uint32_t(id);
    }
    ::closedir(tasks);
    return count;
}

void* openThreadForPriority(uint32_t threadId)
{
    char task[64];
    std::snprintf(task, sizeof task, "/proc/self/task/%u", unsigned(threadId));
    if (threadId == 0 || ::access(task, F_OK) != 0) return nullptr;
    return new (std::nothrow) OpenedThread{pid_t(threadId)};
}

bool setOpenedThreadPriority(void* opened, int32_t priority)
{
    return opened && setNice(static_cast<OpenedThread*>(opened)->id, niceOfPriority(priority));
}

void closeOpenedThread(void* opened)
{
    delete static_cast<OpenedThread*>(opened);
}

static_assert(sizeof(pthread_key_t) <= sizeof(uint32_t), "a slot is kept in 32 bits");

bool allocateSlot(uint32_t& slot)
{
    pthread_key_t key;
    if (::pthread_key_create(&key, nullptr) != 0) return false;
    slot = uint32_t(key);
    return true;
}

void freeSlot(uint32_t slot)
{
    ::pthread_key_delete(pthread_key_t(slot));
}

void* slotValue(uint32_t slot)
{
    return ::pthread_getspecific(pthread_key_t(slot));
}

bool setSlotValue(uint32_t slot, void* value)
{
    return ::pthread_setspecific(pthread_key_t(slot), value) == 0;
}
} // namespace foundation::platform
