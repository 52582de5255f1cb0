#include "foundation/platform/uid.h"

#include <cstring>
#include <objbase.h>
#include <windows.h>

namespace foundation::platform
{
bool generate(uint8_t out[16])
{
    GUID guid;
    if (CoCreateGuid(&guid) != S_OK) return false;
    static_assert(sizeof guid == 16, "GUID is 16 bytes");
    std::memcpy(out, &guid, 16);
    return true;
}

void debugOutput(const char* text)
{
    OutputDebugStringA(text);
}
} // namespace foundation::platform
