#include "midiplugs/midiseq/seqpattern.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>

namespace
{
// Steps told apart by every field, so that a rotation that drops a field shows.
PSeqPattern lettered(int32_t count)
{
    PSeqPattern p;
    for (int32_t s = 0; s < count; ++s)
    {
        p.steps[s] = PSeqStep{60 + s, 100 + s, 0.1f * float(s + 1), s + 1, s + 2, s % 2};
    }
    return p;
}

std::string notesOf(const PSeqPattern& p, int32_t count)
{
    std::string letters;
    for (int32_t s = 0; s < count; ++s)
        letters += char('A' + p.note(s) - 60);
    return letters;
}

std::string name(int32_t note)
{
    char text[kNoteNameSize];
    noteName(note, text);
    return text;
}

TEST(PatternTest, ClearKeepsTheHeaderAndWithNotesOnlyTheLanes)
{
    PSeqPattern p = lettered(32);
    p.length = 7;
    p.quantize = 240;
    p.swing = 0.5f;
    p.clear(true);
    EXPECT_FALSE(p.hasNote(31));
    EXPECT_EQ(p.tie(1), 0);
    EXPECT_EQ(p.velocity(31), 131);
    EXPECT_EQ(p.steps[5].controller2, 7);
    p.clear(false);
    EXPECT_EQ(p.velocity(31), 64);
    EXPECT_EQ(p.gate(3), 1.0f);
    EXPECT_EQ(p.steps[5].controller1, 0);
    EXPECT_EQ(p.length, 7);
    EXPECT_EQ(p.quantize, 240);
    EXPECT_EQ(p.swing, 0.5f);
}

TEST(PatternTest, TransposeFoldsBySevenOctavesAtBothEnds)
{
    PSeqPattern p;
    p.setNote(0, 108);
    p.setNote(1, 100);
    p.setNote(2, 24);
    p.setNote(31, 60); // behind the length, still moved
    p.transpose(12);
    EXPECT_EQ(p.note(0), 36);
    EXPECT_EQ(p.note(1), 28);
    EXPECT_EQ(p.note(2), 36);
    EXPECT_EQ(p.note(31), 72);
    EXPECT_FALSE(p.hasNote(3));

    p.setNote(0, 24);
    p.transpose(-12);
    EXPECT_EQ(p.note(0), 96);

    p.setNote(0, 108);
    p.transpose(1);
    EXPECT_EQ(p.note(0), 25);
    p.setNote(0, 24);
    p.transpose(-1);
    EXPECT_EQ(p.note(0), 107);

    // Notes a damaged chunk brought in fold once without overflowing.
    p.setNote(0, INT32_MAX);
    p.setNote(1, INT32_MIN);
    p.transpose(12);
    EXPECT_EQ(p.note(0), INT32_MAX - 72);
    p.transpose(-24);
    EXPECT_EQ(p.note(1), INT32_MIN + 156); // +12 then +84, -24 then +84
}

TEST(PatternTest, TimeShiftsAndReverseMoveWholeStepsWithinTheLastStep)
{
    PSeqPattern p = lettered(5);
    p.shiftTimeRight(3);
    EXPECT_EQ(notesOf(p, 5), "DABCE");
    EXPECT_EQ(p.velocity(0), 103);
    EXPECT_EQ(p.steps[0].controller2, 5);
    EXPECT_EQ(p.tie(0), 1);

    p = lettered(5);
    p.shiftTimeLeft(3);
    EXPECT_EQ(notesOf(p, 5), "BCDAE");
    EXPECT_FLOAT_EQ(p.gate(3), 0.1f);

    p = lettered(5);
    p.shiftTimeLeft(0);
    p.shiftTimeRight(0);
    EXPECT_EQ(notesOf(p, 5), "ABCDE");

    p.reverse(3);
    EXPECT_EQ(notesOf(p, 5), "DCBAE");
    EXPECT_EQ(p.steps[0].controller1, 4);
    p = lettered(4);
    p.reverse(2);
    EXPECT_EQ(notesOf(p, 4), "CBAD");

    // The whole pattern round trip: 32 shifts bring every step home.
    p = lettered(32);
    const PSeqPattern before = p;
    for (int i = 0; i < 32; ++i)
        p.shiftTimeRight(31);
    EXPECT_EQ(0, std::memcmp(&p, &before, sizeof p));
}

TEST(PatternTest, HighestAndLowestLookAtAllThirtyTwoSteps)
{
    PSeqPattern p;
    EXPECT_EQ(p.highestNote(), -1);
    EXPECT_EQ(p.lowestNote(), -1);
    p.length = 4;
    p.setNote(2, 50);
    p.setNote(30, 90);
    p.setNote(31, 30);
    EXPECT_EQ(p.highestNote(), 90);
    EXPECT_EQ(p.lowestNote(), 30);
}

TEST(PatternTest, RandomizeRepeatsTheClassicGeneratorPerThread)
{
    SeqRandom::reset();
    PSeqPattern p;
    p.setTie(1, 1);
    p.setVelocity(2, 99);
    p.randomize(24, 108, 4);
    // 41, 18467, 6334, 26500 are the first results of that generator from state 1.
    EXPECT_EQ(p.note(0), 41 % 85 + 24);
    EXPECT_EQ(p.note(1), 18467 % 85 + 24);
    EXPECT_EQ(p.note(2), 6334 % 85 + 24);
    EXPECT_EQ(p.note(3), 26500 % 85 + 24);
    EXPECT_FALSE(p.hasNote(4));
    EXPECT_EQ(p.tie(1), 1);
    EXPECT_EQ(p.velocity(2), 99);

    p.randomize(24, 108, 0);
    p.randomize(24, 108, -3);
    EXPECT_EQ(SeqRandom::next(), 19169); // nothing was drawn for an empty count

    // Each thread has its own sequence, starting at 1.
    int32_t first = 0;
    std::thread other([&] { first = SeqRandom::next(); });
    other.join();
    EXPECT_EQ(first, 41);
}

TEST(PatternTest, LaneValuesScaleTo127AndGateIsStoredAsItComes)
{
    PSeqPattern p;
    p.setLaneValue(kLaneVelocity, 3, 1.0f);
    EXPECT_EQ(p.velocity(3), 127);
    EXPECT_EQ(p.laneValue(kLaneVelocity, 3), 1.0f);
    p.setLaneValue(kLaneVelocity, 3, 0.5f);
    EXPECT_EQ(p.velocity(3), 63);
    EXPECT_EQ(p.laneValue(kLaneVelocity, 3), float(63 / 127.0));

    p.setLaneValue(kLaneGate, -1, 0.3f);
    for (int32_t s = 0; s < kSeqStepCount; ++s)
        EXPECT_EQ(p.gate(s), 0.3f);
    p.setLaneValue(kLaneController2, 7, 0.25f);
    EXPECT_EQ(p.steps[7].controller2, 31);
    EXPECT_EQ(p.steps[7].controller1, 0);

    const PSeqPattern before = p;
    p.setLaneValue(4, -1, 1.0f);
    p.setLaneValue(-1, 0, 1.0f);
    p.resetLane(9);
    EXPECT_EQ(0, std::memcmp(&p, &before, sizeof p));
    EXPECT_EQ(p.laneValue(4, 0), 0.0f);

    p.resetLane(kLaneGate);
    EXPECT_EQ(p.gate(0), 1.0f);
    EXPECT_EQ(p.steps[7].controller2, 31);
    p.resetLane(kLaneController2);
    EXPECT_EQ(p.steps[7].controller2, 0);
    p.resetLane(kLaneVelocity);
    EXPECT_EQ(p.velocity(3), 64);
}

// The clipboard is per process; this is the one test that touches it, so that "nothing copied
// yet" holds when it starts.
TEST(PatternTest, TheClipboardIsSharedAndEmptyUntilTheFirstCopy)
{
    PSeqPattern target = lettered(3);
    const PSeqPattern before = target;
    EXPECT_FALSE(target.pasteFromClipboard());
    EXPECT_EQ(0, std::memcmp(&target, &before, sizeof target));

    PSeqPattern source = lettered(8);
    source.length = 5;
    source.quantize = 60;
    source.swing = 0.75f;
    source.copyToClipboard();
    source.clear(false);

    // Another instance's pattern, pasted on another thread.
    bool pasted = false;
    std::thread other([&] { pasted = target.pasteFromClipboard(); });
    other.join();
    EXPECT_TRUE(pasted);
    EXPECT_EQ(notesOf(target, 8), "ABCDEFGH");
    EXPECT_EQ(target.length, 5);
    EXPECT_EQ(target.quantize, 60);
    EXPECT_EQ(target.swing, 0.75f);
}

TEST(PatternTest, NoteNamesShowTheOctaveExceptOctaveZero)
{
    EXPECT_EQ(name(60), "C3");
    EXPECT_EQ(name(36), "C1");
    EXPECT_EQ(name(24), "C");
    EXPECT_EQ(name(25), "C#");
    EXPECT_EQ(name(108), "C7");
    EXPECT_EQ(name(12), "C-1");
    EXPECT_EQ(name(71), "B3");
    EXPECT_EQ(name(127), "G8");
    EXPECT_EQ(name(0), "C-2");
    char small[3];
    noteName(61, small, sizeof small); // cut, never overrun
    EXPECT_EQ(std::string(small), "C#");
}
} // namespace
