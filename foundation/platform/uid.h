#pragma once

// The operating system's half of the identifiers: fresh random bytes and the debug output.

#include <cstdint>

namespace foundation::platform
{
// Fills 16 bytes with a new identifier from the platform; false if it has none to give.
bool generate(uint8_t out[16]);
// The platform's debug output for one line of text.
void debugOutput(const char* text);
} // namespace foundation::platform
