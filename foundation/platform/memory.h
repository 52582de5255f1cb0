#pragma once

// The operating system's figures for memory, for queryMemoryStatus.

#include <cstdint>

namespace foundation::platform
{
struct MemoryFigures
{
    uint64_t totalPhysical = 0;
    uint64_t availablePhysical = 0;
    // The process's address space and what is still free of it.
    uint64_t totalVirtual = 0;
    uint64_t availableVirtual = 0;
    // Physical memory in use, 0 to 100, as the system reckons it.
    uint32_t loadPercent = 0;
};

bool queryMemory(MemoryFigures& figures);
} // namespace foundation::platform
