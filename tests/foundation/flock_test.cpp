#include "foundation/flock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace
{
// Recursion and tryLock across threads are checked where the engine relies on them; here, that
// blocking and polling threads, some nesting, never meet inside.
TEST(FLockTest, ThreadsNeverOverlapInsideTheLock)
{
    FLock lock("FLock");
    int counter = 0; // plain on purpose: only the lock keeps the increments apart
    std::atomic<int> inside{0};
    std::atomic<int> overlaps{0};
    constexpr int kThreads = 4;
    constexpr int kRounds = 20000;

    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
    {
        threads.emplace_back(
            [&, t]
            {
                for (int i = 0; i < kRounds; ++i)
                {
                    // Half of the threads poll with tryLock, the others block, and every thread nests
                    // a second level now and then.
                    if (t % 2)
                    {
                        while (!lock.tryLock())
                            std::this_thread::yield();
                    }
                    else
                    {
                        lock.lock();
                    }
                    {
                        FLockGuard nested(i % 7 == 0 ? &lock : nullptr);
                        if (inside.fetch_add(1) != 0) ++overlaps;
                        ++counter;
                        inside.fetch_sub(1);
                    }
                    lock.unlock();
                }
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(overlaps.load(), 0);
    EXPECT_EQ(counter, kThreads * kRounds);
}
} // namespace
