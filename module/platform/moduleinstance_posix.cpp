#include "module/moduleentry.h"

#include <dlfcn.h>

void* moduleInstanceHandle()
{
    // Where the loader mapped the file that holds this function.
    Dl_info info{};
    if (!dladdr(reinterpret_cast<void*>(&moduleInstanceHandle), &info)) return nullptr;
    return info.dli_fbase;
}
