#pragma once

// A lock for sections of a few stores, for data that a host's event thread shares with its other
// threads: a waiter spins rather than asking the system to sleep, so taking it is never a system
// call. Nothing may be held under it for longer than a copy.

#include <atomic>

namespace hostkit
{
class SpinLock
{
public:
    void lock()
    {
        while (flag.test_and_set(std::memory_order_acquire))
            while (flag.test(std::memory_order_relaxed))
            {
            }
    }
    void unlock() { flag.clear(std::memory_order_release); }

private:
    std::atomic_flag flag;
};
} // namespace hostkit
