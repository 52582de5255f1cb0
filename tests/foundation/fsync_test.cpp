#include "foundation/fsync.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace
{
TEST(FEventTest, AutomaticEventLetsOneWaitThroughAndPulsesLeaveNothing)
{
    FEvent event("tremolin-test-event");
    ASSERT_TRUE(event.isValid());
    EXPECT_FALSE(event.wait(0)) << "not signalled at first";
    event.signal();
    EXPECT_TRUE(event.wait(-5)) << "a signalled event doesn't wait";
    EXPECT_FALSE(event.wait(0)) << "the wait reset it";
    event.signal();
    event.reset();
    EXPECT_FALSE(event.wait(0));
    event.pulse();
    EXPECT_FALSE(event.wait(0)) << "a pulse nobody waits for is lost";
    event.signal();
    event.pulse();
    EXPECT_FALSE(event.wait(0)) << "a pulse leaves the event reset";

    FEvent manual(nullptr, true);
    manual.signal();
    EXPECT_TRUE(manual.wait(0));
    EXPECT_TRUE(manual.wait(0)) << "stays set";
    manual.reset();
    EXPECT_FALSE(manual.wait(0));
}

TEST(FEventTest, PulseReleasesTheThreadsThatWait)
{
    for (const bool manualReset : {false, true})
    {
        FEvent event(nullptr, manualReset);
        std::atomic<int> released{0};
        std::vector<std::thread> waiters;
        const int count = manualReset ? 2 : 1;
        for (int i = 0; i < count; ++i)
            waiters.emplace_back(
                [&]
                {
                    event.wait();
                    ++released;
                });
        // A pulse only reaches threads already waiting; keep pulsing until every one got one.
        while (released.load() < count)
        {
            event.pulse();
            std::this_thread::yield();
        }
        for (std::thread& waiter : waiters)
            waiter.join();
        EXPECT_FALSE(event.wait(0)) << "manual " << manualReset << ": no signal left behind";
    }
}

TEST(FSemaphoreTest, CountsUpToItsMaximumAndNegativeWaitsForEver)
{
    FSemaphore semaphore(2);
    ASSERT_TRUE(semaphore.isValid());
    EXPECT_TRUE(semaphore.wait(0));
    EXPECT_TRUE(semaphore.wait(0));
    EXPECT_FALSE(semaphore.wait(0)) << "taken twice";
    EXPECT_TRUE(semaphore.release(1));
    EXPECT_TRUE(semaphore.wait(0));
    EXPECT_FALSE(semaphore.release(0));

    FSemaphore full(FSemaphore::kMaximumCount);
    EXPECT_FALSE(full.release(1)) << "past the maximum";
    EXPECT_TRUE(full.wait(0)) << "a failed release adds nothing but keeps the count";

    std::atomic<bool> taken{false};
    std::thread waiter([&] { taken = semaphore.wait(-5); });
    semaphore.release(1);
    waiter.join();
    EXPECT_TRUE(taken);
}

TEST(FReadWriteLockTest, WriterWaitsForTheLastReaderAndIsAlone)
{
    FReadWriteLock lock;
    ASSERT_TRUE(lock.isValid());
    std::atomic<int> readersLeft{2};
    std::atomic<int> seenByWriter{-1};
    lock.lockRead();
    lock.lockRead();
    std::thread writer(
        [&]
        {
            lock.lockWrite();
            seenByWriter = readersLeft.load();
            lock.unlockWrite();
        });
    readersLeft = 1;
    lock.unlockRead();
    readersLeft = 0;
    lock.unlockRead();
    writer.join();
    EXPECT_EQ(seenByWriter, 0) << "the first unlockRead must not let the writer in";

    lock.lockWrite();
    lock.lockWrite();
    lock.unlockWrite();
    std::atomic<bool> read{false};
    std::thread reader(
        [&]
        {
            lock.lockRead();
            read = true;
            lock.unlockRead();
        });
    EXPECT_FALSE(read) << "the writer still holds one level";
    lock.unlockWrite();
    reader.join();
    EXPECT_TRUE(read);

    // Readers together, writers alone: the plain counter is only written under the write lock,
    // which a race detector checks as well.
    std::atomic<int> readersInside{0};
    std::atomic<bool> overlap{false};
    int written = 0;
    std::vector<std::thread> workers;
    for (int w = 0; w < 4; ++w)
        workers.emplace_back(
            [&, w]
            {
                for (int i = 0; i < 500; ++i)
                {
                    if ((i + w) % 4 == 0)
                    {
                        lock.lockWrite();
                        if (readersInside.load() != 0) overlap = true;
                        ++written;
                        lock.unlockWrite();
                    }
                    else
                    {
                        lock.lockRead();
                        ++readersInside;
                        const int seen = written;
                        if (seen < 0) overlap = true;
                        --readersInside;
                        lock.unlockRead();
                    }
                }
            });
    for (std::thread& worker : workers)
        worker.join();
    EXPECT_FALSE(overlap);
    EXPECT_EQ(written, 500);
}
} // namespace
