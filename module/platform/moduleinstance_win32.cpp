#include "module/moduleentry.h"

#include <windows.h>

namespace
{
HINSTANCE instance = nullptr;
}

// The system calls this before any export; the handle is the only thing the module keeps from
// it. Threads coming and going need no notice.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH)
    {
        instance = module;
        DisableThreadLibraryCalls(module);
    }
    return TRUE;
}

void* moduleInstanceHandle()
{
    return instance;
}
