#include "foundation/platform/thread.h"

#include <new>
#include <objbase.h>
#include <string>
#include <windows.h>

#include <tlhelp32.h>

namespace foundation::platform
{
struct Thread
{
    HANDLE handle;
};

namespace
{
// What the new thread needs, its own copy: the owner may let go of the Thread before it runs.
struct Launch
{
    ThreadEntry entry;
    void* argument;
};

DWORD WINAPI trampoline(LPVOID argument)
{
    const Launch launch = *static_cast<Launch*>(argument);
    delete static_cast<Launch*>(argument);
    // Code run on our threads may use COM objects (shell links, drops).
    const HRESULT com = CoInitialize(nullptr);
    const uint32_t code = launch.entry(launch.argument);
    if (SUCCEEDED(com)) CoUninitialize();
    return code;
}

// Looked up by name: these calls are missing on some of the systems the module meets.
template <class Function> Function kernelFunction(const char* name)
{
    const HMODULE kernel = GetModuleHandleA("Kernel32");
    if (!kernel) return nullptr;
    // Through the generic function type, which the compiler accepts as a cast target.
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(kernel, name)));
}
} // namespace

Thread* createSuspendedThread(ThreadEntry entry, void* argument, uint32_t& threadId)
{
    Launch* launch = new (std::nothrow) Launch{entry, argument};
    Thread* thread = new (std::nothrow) Thread{nullptr};
    DWORD id = 0;
    const HANDLE handle =
        launch && thread ? CreateThread(nullptr, 0, trampoline, launch, CREATE_SUSPENDED, &id) : nullptr;
    if (!handle)
    {
        delete launch;
        delete thread;
        return nullptr;
    }
    thread->handle = handle;
    threadId = id;
    return thread;
}

void resumeThread(Thread* thread)
{
    ResumeThread(thread->handle);
}

bool waitForThread(Thread* thread, uint32_t milliseconds)
{
    return WaitForSingleObject(thread->handle, milliseconds) == WAIT_OBJECT_0;
}

bool threadExitCode(Thread* thread, uint32_t& code)
{
    DWORD exitCode = 0;
    if (WaitForSingleObject(thread->handle, 0) != WAIT_OBJECT_0 ||
        !GetExitCodeThread(thread->handle, &exitCode))
        return false;
    code = exitCode;
    return true;
}

void closeThread(Thread* thread)
{
    if (!thread) return;
    CloseHandle(thread->handle);
    delete thread;
}

bool killThread(Thread* thread)
{
    // The kill completes on its own time; waiting for it makes "ended" true on return.
    return TerminateThread(thread->handle, 0) &&
           WaitForSingleObject(thread->handle, INFINITE) == WAIT_OBJECT_0;
}

void setThreadName(Thread* thread, const char* name)
{
    using Describe = HRESULT(WINAPI*)(HANDLE, PCWSTR);
    static const Describe describe = kernelFunction<Describe>("SetThreadDescription");
    if (!describe || !name || !name[0]) return;
    const int length = MultiByteToWideChar(CP_UTF8, 0, name, -1, nullptr, 0);
    if (length <= 0) return;
    std::wstring wide(size_t(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, name, -1, wide.data(), length);
    describe(thread->handle, wide.c_str());
}

bool setThreadPriority(Thread* thread, int32_t priority)
{
    return SetThreadPriority(thread->handle, priority) != 0;
}

bool setThreadAffinity(Thread* thread, uint64_t mask)
{
    return SetThreadAffinityMask(thread->handle, DWORD_PTR(mask)) != 0;
}

uint32_t currentThreadId()
{
    return GetCurrentThreadId();
}

bool processAffinity(uint64_t& mask)
{
    DWORD_PTR process = 0;
    DWORD_PTR system = 0;
    if (!GetProcessAffinityMask(GetCurrentProcess(), &process, &system)) return false;
    mask = process;
    return true;
}

int32_t processPriorityClass()
{
    return int32_t(GetPriorityClass(GetCurrentProcess()));
}

bool setProcessPriorityClass(int32_t priorityClass)
{
    return SetPriorityClass(GetCurrentProcess(), DWORD(priorityClass)) != 0;
}

bool setProcessPriorityBoost(bool disable)
{
    using Boost = BOOL(WINAPI*)(HANDLE, BOOL);
    static const Boost boost = kernelFunction<Boost>("SetProcessPriorityBoost");
    return boost && boost(GetCurrentProcess(), disable) != 0;
}

int32_t listProcessThreads(uint32_t* ids, int32_t capacity)
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE) return -1;
    const DWORD process = GetCurrentProcessId();
    THREADENTRY32 entry;
    entry.dwSize = sizeof entry;
    int32_t count = 0;
    // The snapshot holds the threads of every process.
    for (BOOL more = Thread32First(snapshot, &entry); more && count < capacity;
         more = Thread32Next(snapshot, &entry))
        if (entry.th32OwnerProcessID == process) ids[count++] = entry.th32ThreadID;
    CloseHandle(snapshot);
    return count;
}

void* openThreadForPriority(uint32_t threadId)
{
    using Open = HANDLE(WINAPI*)(DWORD, BOOL, DWORD);
    static const Open open = kernelFunction<Open>("OpenThread");
    return open ? open(THREAD_SET_INFORMATION, FALSE, threadId) : nullptr;
}

bool setOpenedThreadPriority(void* opened, int32_t priority)
{
    return opened && SetThreadPriority(static_cast<HANDLE>(opened), priority) != 0;
}

void closeOpenedThread(void* opened)
{
    if (opened) CloseHandle(static_cast<HANDLE>(opened));
}

bool allocateSlot(uint32_t& slot)
{
    const DWORD index = TlsAlloc();
    if (index == TLS_OUT_OF_INDEXES) return false;
    slot = index;
    return true;
}

void freeSlot(uint32_t slot)
{
    TlsFree(slot);
}

void* slotValue(uint32_t slot)
{
    return TlsGetValue(slot);
}

bool setSlotValue(uint32_t slot, void* value)
{
    return TlsSetValue(slot, value) != 0;
}
} // namespace foundation::platform
