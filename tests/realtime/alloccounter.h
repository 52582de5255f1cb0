#pragma once

// Counts every heap call of the test program while an AllocationCount lives: operator new and
// delete, and malloc and free beneath them (through the sanitizers' hooks in their builds, through
// the C library's own entry points in plain Linux builds). Code on the host's event thread must
// make none: a call into the allocator can stall for as long as the allocator likes.

#include <cstdint>

class AllocationCount
{
public:
    enum class Threads
    {
        All,
        Watched // only threads that called watchThisThread: a real-time thread of a library's own
    };
    explicit AllocationCount(Threads threads = Threads::All);
    ~AllocationCount();
    AllocationCount(const AllocationCount&) = delete;
    AllocationCount& operator=(const AllocationCount&) = delete;

    // Ends the count and gives the calls seen.
    int64_t stop();
    // Whether malloc and free are seen too, not only operator new and delete.
    static bool seesMalloc();
    // From now on this thread's heap calls count under Threads::Watched. Makes no heap call.
    static void watchThisThread();
};
