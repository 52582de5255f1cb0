#include "foundation/platform/uid.h"

#include <cstdio>
#include <sys/random.h>

namespace foundation::platform
{
bool generate(uint8_t out[16])
{
    size_t got = 0;
    while (got < 16)
    {
        const ssize_t n = getrandom(out + got, 16 - got, 0);
        if (n <= 0) return false;
        got += static_cast<size_t>(n);
    }
    // Mark the random bytes as a version-4 identifier: the version sits in the high nibble of
    // the third group (byte 7 in memory), the variant in the top bits of byte 8.
    out[7] = static_cast<uint8_t>((out[7] & 0x0F) | 0x40);
    out[8] = static_cast<uint8_t>((out[8] & 0x3F) | 0x80);
    return true;
}

void debugOutput(const char* text)
{
    std::fputs(text, stderr);
}
} // namespace foundation::platform
