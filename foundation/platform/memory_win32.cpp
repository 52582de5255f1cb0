#include "foundation/platform/memory.h"

#include <windows.h>

namespace foundation::platform
{
namespace
{
typedef BOOL(WINAPI* StatusExFunction)(LPMEMORYSTATUSEX);

// GlobalMemoryStatusEx is looked up by name, so that the module still loads where only the older
// call exists; the answer is kept for the life of the process.
StatusExFunction lookUpStatusEx()
{
    HMODULE kernel = GetModuleHandleA("KERNEL32");
    if (!kernel) return nullptr;
    // Through the generic function type, which the compiler accepts as a cast target.
    return reinterpret_cast<StatusExFunction>(
        reinterpret_cast<void (*)()>(GetProcAddress(kernel, "GlobalMemoryStatusEx")));
}

StatusExFunction statusEx()
{
    static const StatusExFunction function = lookUpStatusEx();
    return function;
}
} // namespace

bool queryMemory(MemoryFigures& figures)
{
    if (StatusExFunction function = statusEx())
    {
        MEMORYSTATUSEX status = {};
        status.dwLength = sizeof status;
        if (!function(&status)) return false;
        figures.totalPhysical = status.ullTotalPhys;
        figures.availablePhysical = status.ullAvailPhys;
        figures.totalVirtual = status.ullTotalVirtual;
        figures.availableVirtual = status.ullAvailVirtual;
        figures.loadPercent = status.dwMemoryLoad;
        return true;
    }
    MEMORYSTATUS status = {};
    status.dwLength = sizeof status;
    GlobalMemoryStatus(&status);
    figures.totalPhysical = status.dwTotalPhys;
    figures.availablePhysical = status.dwAvailPhys;
    figures.totalVirtual = status.dwTotalVirtual;
    figures.availableVirtual = status.dwAvailVirtual;
    figures.loadPercent = status.dwMemoryLoad;
    return true;
}
} // namespace foundation::platform
