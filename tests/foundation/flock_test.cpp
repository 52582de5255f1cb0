#include "foundation/flock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace
{
TEST(FLockTest, AnotherThreadWaitsUntilEveryLevelIsReleased)
{
    FLock lock("FLock");
    lock.lock();
    ASSERT_TRUE(lock.tryLock()) << "the holder takes it again without blocking";

    std::atomic<bool> entered{false};
    std::thread other(
        [&]
        {
            lock.lock();
            entered = true;
            lock.unlock();
        });

    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(entered) << "held twice";
    lock.unlock();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(entered) << "one level is still held";
    lock.unlock();
    other.join();
    EXPECT_TRUE(entered);
    EXPECT_TRUE(lock.tryLock()) << "the other thread gave it back";
    lock.unlock();
}

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
