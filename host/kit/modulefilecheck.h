#pragma once

// Whether a module file holds everything its headers promise. A file cut short (an interrupted
// copy) maps pages past its end, and the loader's first touch of them kills the process with a
// bus error; reading the headers first turns that into a sentence. Plain byte parsing, the same
// on every platform: ELF (every loadable segment) and PE (every section).

#include <cstddef>
#include <cstdint>
#include <string>

namespace hostkit
{
// False with the damage in `reason` (a clause, "it ends at byte 1000, but ...") when the headers
// of an ELF or PE file reach past its end. Files of neither kind pass: the loader judges them.
bool moduleFileIsWhole(const uint8_t* bytes, size_t size, std::string& reason);
} // namespace hostkit
