#include "foundation/platform/memory.h"

#include <cstdio>
#include <sys/resource.h>
#include <sys/sysinfo.h>
#include <unistd.h>

namespace foundation::platform
{
namespace
{
// MemAvailable counts the page cache the kernel can give back; sysinfo's free memory does not,
// and on a busy machine that is most of it. 0 if the kernel does not tell.
uint64_t availableFromMeminfo()
{
    std::FILE* meminfo = std::fopen("/proc/meminfo", "r");
    if (!meminfo) return 0;
    char line[256];
    unsigned long long kibibytes = 0;
    while (std::fgets(line, sizeof line, meminfo))
    {
        if (std::sscanf(line, "MemAvailable: %llu kB", &kibibytes) == 1) break;
        kibibytes = 0;
    }
    std::fclose(meminfo);
    return uint64_t(kibibytes) * 1024;
}

// The process's address space in use (VmSize), from the first field of statm in pages.
uint64_t addressSpaceInUse()
{
    std::FILE* statm = std::fopen("/proc/self/statm", "r");
    if (!statm) return 0;
    unsigned long long pages = 0;
    if (std::fscanf(statm, "%llu", &pages) != 1) pages = 0;
    std::fclose(statm);
    const long pageSize = ::sysconf(_SC_PAGESIZE);
    return uint64_t(pages) * uint64_t(pageSize > 0 ? pageSize : 4096);
}
} // namespace

bool queryMemory(MemoryFigures& figures)
{
    struct sysinfo info;
    if (::sysinfo(&info) != 0) return false;
    const uint64_t unit = info.mem_unit ? info.mem_unit : 1;
    figures.totalPhysical = uint64_t(info.totalram) * unit;
    figures.availablePhysical = availableFromMeminfo();
    if (figures.availablePhysical == 0 || figures.availablePhysical > figures.totalPhysical)
        figures.availablePhysical = (uint64_t(info.freeram) + uint64_t(info.bufferram)) * unit;
    if (figures.availablePhysical > figures.totalPhysical) figures.availablePhysical = figures.totalPhysical;
    figures.loadPercent =
        figures.totalPhysical
            ? uint32_t((figures.totalPhysical - figures.availablePhysical) * 100 / figures.totalPhysical)
            : 0;

    // The address space a process may use: its limit if it has one, else the user half of the
    // machine's (47 bits on x86-64).
    struct rlimit limit;
    const uint64_t userSpace = sizeof(void*) == 8 ? uint64_t(1) << 47 : uint64_t(3) << 30;
    figures.totalVirtual = userSpace;
    if (::getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY &&
        uint64_t(limit.rlim_cur) < userSpace)
        figures.totalVirtual = uint64_t(limit.rlim_cur);
    const uint64_t used = addressSpaceInUse();
    figures.availableVirtual = used < figures.totalVirtual ? figures.totalVirtual - used : 0;
    return true;
}
} // namespace foundation::platform
