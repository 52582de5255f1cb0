#include "midiplugs/midiseq/midiseqengine.h"
#include "tests/support/recordingtrack.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace
{
// The host's event thread plays while its user-interface thread edits, switches patterns and
// moves swing. Run under ThreadSanitizer this shows that the lock and the single 32-bit stores
// are all the protection needed; in every build it shows that the player only ever sends notes
// that some pattern held, never a torn or half-written one.
TEST(EngineThreadsTest, PlayingWhileEditingSendsOnlyNotesThatPatternsHeld)
{
    auto engine = std::make_unique<PMidiSeqEngine>();
    // Every note any pattern ever holds lies in 40..59 (or the step is empty).
    for (int32_t p = 0; p < 8; ++p)
    {
        PSeqPattern& pattern = engine->pattern(p);
        for (int32_t s = 0; s < kSeqStepCount; ++s)
            pattern.setNote(s, 40 + (p + s) % 20);
        pattern.steps[p].controller1 = 1 + p;
    }

    std::atomic<bool> done{false};
    std::atomic<int64_t> badNotes{0};
    std::atomic<int64_t> notesSeen{0};
    std::atomic<int64_t> blocksPlayed{0};

    std::thread player(
        [&]
        {
            RecordingTrack track(1 << 16);
            track.origin = 0;
            int32_t position = 0;
            engine->locate(0, &track);
            while (!done.load())
            {
                engine->process(position, position + 64, &track);
                ++blocksPlayed;
                position += 64;
                if (position > 1000000)
                {
                    position = 0;
                    engine->locate(0, &track);
                }
                for (const RecordedEvent& e : track.sent)
                {
                    if (!e.isNote()) continue;
                    ++notesSeen;
                    if (e.data1 < 40 || e.data1 > 59) ++badNotes;
                }
                track.clear();
            }
            EXPECT_EQ(track.protocolFaults, 0);
        });

    std::thread editor(
        [&]
        {
            // The editor may be done with its rounds before the player's thread has even started
            // (a fast lock, a busy machine); it goes on until the player has played a while too.
            for (int32_t round = 0; round < 20000 || blocksPlayed.load() < 2000; ++round)
            {
                const int32_t p = round % 8;
                {
                    FLockGuard guard(engine->lock());
                    PSeqPattern& pattern = engine->pattern(p);
                    pattern.setNote(round % kSeqStepCount, 40 + round % 20);
                    if (round % 7 == 0) pattern.clearNote((round / 7) % kSeqStepCount);
                    pattern.setTie((round / 3) % kSeqStepCount, round % 2);
                    pattern.setGate(round % kSeqStepCount, float(round % 10) / 10.0f);
                    if (round % 5 == 0) pattern.reverse(15);
                    if (round % 11 == 0) pattern.transpose(0);
                }
                if (round % 13 == 0)
                {
                    engine->setLength(1 + round % 32);
                    engine->setQuantize(PMidiSeqEngine::quantizeTicks(round % kQuantizeCount));
                }
                // Without the lock, as the parameters and incoming notes do it.
                engine->setCurrentPatternIndex(round % 8);
                engine->setSwing(float(round % 101) / 100.0f);
                PMidiSeqEngine::setControllerNumber(round % 2, 1 + round % 127);
            }
            done.store(true);
        });

    editor.join();
    player.join();
    EXPECT_EQ(badNotes.load(), 0);
    EXPECT_GT(notesSeen.load(), 0);
    PMidiSeqEngine::setControllerNumber(0, 71);
    PMidiSeqEngine::setControllerNumber(1, 74);
}

TEST(EngineThreadsTest, LockIsRecursiveAndTryLockNeverBlocks)
{
    FLock lock("FLock");
    lock.lock();
    lock.lock(); // the same thread takes it again
    bool takenElsewhere = true;
    std::thread other([&] { takenElsewhere = lock.tryLock(); });
    other.join();
    EXPECT_FALSE(takenElsewhere);

    lock.unlock();
    std::thread stillHeld([&] { takenElsewhere = lock.tryLock(); });
    stillHeld.join();
    EXPECT_FALSE(takenElsewhere);

    lock.unlock();
    std::thread free(
        [&]
        {
            takenElsewhere = lock.tryLock();
            if (takenElsewhere) lock.unlock();
        });
    free.join();
    EXPECT_TRUE(takenElsewhere);

    // The guard releases on every way out of its scope, also when the scope unwinds.
    try
    {
        FLockGuard guard(lock);
        throw 1;
    }
    catch (int)
    {
    }
    std::thread afterThrow(
        [&]
        {
            takenElsewhere = lock.tryLock();
            if (takenElsewhere) lock.unlock();
        });
    afterThrow.join();
    EXPECT_TRUE(takenElsewhere);
}
} // namespace
