#include "foundation/flock.h"

#include <new>
#include <windows.h>

namespace
{
static_assert(sizeof(CRITICAL_SECTION) <= 64, "FLock storage too small for CRITICAL_SECTION");

CRITICAL_SECTION* sectionIn(unsigned char* storage)
{
    return std::launder(reinterpret_cast<CRITICAL_SECTION*>(storage));
}
} // namespace

FLock::FLock(const char*)
{
    InitializeCriticalSection(new (section) CRITICAL_SECTION);
}

FLock::~FLock()
{
    DeleteCriticalSection(sectionIn(section));
}

void FLock::lock()
{
    EnterCriticalSection(sectionIn(section));
}

void FLock::unlock()
{
    LeaveCriticalSection(sectionIn(section));
}

bool FLock::tryLock()
{
    return TryEnterCriticalSection(sectionIn(section)) != 0;
}
