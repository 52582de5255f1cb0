#include "tests/realtime/alloccounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TREMOLIN_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TREMOLIN_SANITIZED 1
#endif
#endif

#if defined(TREMOLIN_SANITIZED)
// From the sanitizers' runtime; not every compiler ships the header that declares it.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void*, std::size_t),
                                                         void (*)(const volatile void*));
#endif

namespace
{
std::atomic<bool> counting{false};
std::atomic<bool> watchedOnly{false};
std::atomic<int64_t> calls{0};
thread_local bool watched = false; // plain data: no constructor, no heap call on first use

void seen()
{
    if (counting.load(std::memory_order_relaxed) && (!watchedOnly.load(std::memory_order_relaxed) || watched))
        calls.fetch_add(1, std::memory_order_relaxed);
}

void* allocate(std::size_t size)
{
    seen();
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}

void release(void* p)
{
    if (p) seen();
    std::free(p);
}

#if defined(TREMOLIN_SANITIZED)
// The sanitizers own malloc; they tell of each call through these hooks.
void mallocHook(const volatile void*, std::size_t)
{
    seen();
}
void freeHook(const volatile void* p)
{
    if (p) seen();
}
const bool hooked = __sanitizer_install_malloc_and_free_hooks(mallocHook, freeHook) != 0;
#endif
} // namespace

#if !defined(TREMOLIN_SANITIZED) && defined(__GLIBC__)
// glibc's own entry points stay reachable under these names, so the program can stand in front of
// malloc and free for every library it loads.
extern "C"
{
    void* __libc_malloc(std::size_t);
    void __libc_free(void*);
    void* __libc_calloc(std::size_t, std::size_t);
    void* __libc_realloc(void*, std::size_t);

    void* malloc(std::size_t size)
    {
        seen();
        return __libc_malloc(size);
    }
    void free(void* p)
    {
        if (p) seen();
        __libc_free(p);
    }
    void* calloc(std::size_t count, std::size_t size)
    {
        seen();
        return __libc_calloc(count, size);
    }
    void* realloc(void* p, std::size_t size)
    {
        seen();
        return __libc_realloc(p, size);
    }
}
#endif

void* operator new(std::size_t size)
{
    return allocate(size);
}
void* operator new[](std::size_t size)
{
    return allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try
    {
        return allocate(size);
    }
    catch (...)
    {
        return nullptr;
    }
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    try
    {
        return allocate(size);
    }
    catch (...)
    {
        return nullptr;
    }
}
void operator delete(void* p) noexcept
{
    release(p);
}
void operator delete[](void* p) noexcept
{
    release(p);
}
void operator delete(void* p, std::size_t) noexcept
{
    release(p);
}
void operator delete[](void* p, std::size_t) noexcept
{
    release(p);
}

AllocationCount::AllocationCount(Threads threads)
{
    calls = 0;
    watchedOnly = threads == Threads::Watched;
    counting = true;
}

AllocationCount::~AllocationCount()
{
    counting = false;
}

void AllocationCount::watchThisThread()
{
    watched = true;
}

int64_t AllocationCount::stop()
{
    counting = false;
    return calls.load();
}

bool AllocationCount::seesMalloc()
{
#if defined(TREMOLIN_SANITIZED)
    return hooked;
#elif defined(__GLIBC__)
    return true;
#else
    return false;
#endif
}
