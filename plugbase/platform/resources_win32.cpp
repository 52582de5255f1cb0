#include "plugbase/moduleresources.h"

#include <windows.h>

namespace
{
// The module's own file, found from an address inside it, so that no entry point needs to run
// first.
HMODULE moduleHandle()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&moduleHandle), &module);
    return module;
}
} // namespace

bool findModuleResource(int32_t type, int32_t number, PModuleResource& resource)
{
    HMODULE module = moduleHandle();
    HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(number), MAKEINTRESOURCEW(type));
    if (!found) return false;
    HGLOBAL loaded = LoadResource(module, found);
    if (!loaded) return false;
    resource.bytes = static_cast<const uint8_t*>(LockResource(loaded));
    resource.size = static_cast<int32_t>(SizeofResource(module, found));
    return resource.bytes != nullptr;
}
