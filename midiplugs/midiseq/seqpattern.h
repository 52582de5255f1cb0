#pragma once

// Steps and patterns: plain records that live by value in the engine and copy by value. Nothing
// here locks or allocates; callers hold the engine's lock where an edit can meet the player.

#include <cstddef>
#include <cstdint>

enum
{
    kSeqStepCount = 32,  // every pattern has all 32 steps, whatever its length says
    kSeqLowestNote = 24, // notes the editor and the random generator produce lie in 24..108
    kSeqHighestNote = 108,
    kSeqDefaultLength = 16,
    kSeqDefaultQuantize = 120, // ticks of a 1/16 step at 480 ticks to the quarter note
    kSeqDefaultVelocity = 64,
    kNoteNameSize = 16,
};

// The numeric lanes, in the order of the "Param Select" list.
enum PSeqLane : int32_t
{
    kLaneVelocity = 0,
    kLaneGate = 1,
    kLaneController1 = 2,
    kLaneController2 = 3,
};

struct PSeqStep
{
    int32_t note = -1; // -1: the step is empty
    int32_t velocity = kSeqDefaultVelocity;
    float gate = 1.0f;       // sounding part of the step, 1.0 = the whole step
    int32_t controller1 = 0; // 0: no controller event at this step
    int32_t controller2 = 0;
    int32_t tie = 0; // nonzero: continues the note before and starts none of its own
};
static_assert(sizeof(PSeqStep) == 24, "a step is six 32-bit fields");

struct PSeqPattern
{
    PSeqStep steps[kSeqStepCount];
    int32_t length = kSeqDefaultLength;     // steps that play, 1..32
    int32_t quantize = kSeqDefaultQuantize; // ticks per step
    float swing = 0.0f;                     // 0.0..1.0; written without the lock, read through atomic_ref

    // Step accessors; the index is the caller's to keep within 0..31.
    int32_t note(int32_t step) const { return steps[step].note; }
    bool hasNote(int32_t step) const { return steps[step].note != -1; }
    void setNote(int32_t step, int32_t value) { steps[step].note = value; }
    void clearNote(int32_t step) { steps[step].note = -1; }
    int32_t velocity(int32_t step) const { return steps[step].velocity; }
    void setVelocity(int32_t step, int32_t value) { steps[step].velocity = value; }
    float gate(int32_t step) const { return steps[step].gate; }
    void setGate(int32_t step, float value) { steps[step].gate = value; }
    int32_t tie(int32_t step) const { return steps[step].tie; }
    void setTie(int32_t step, int32_t value) { steps[step].tie = value; }

    // All 32 steps lose note and tie; unless `notesOnly`, also velocity, gate and controllers.
    void clear(bool notesOnly);
    // Moves every note by `semitones`, folding by seven octaves into 24..108.
    void transpose(int32_t semitones);
    // Rotate steps 0..lastStep by one; the steps behind stay.
    void shiftTimeLeft(int32_t lastStep);
    void shiftTimeRight(int32_t lastStep);
    void reverse(int32_t lastStep);
    // New notes in lowNote..highNote for the first `count` steps, from the per-thread generator.
    void randomize(int32_t lowNote, int32_t highNote, int32_t count);
    // Over all 32 steps; -1 if there is no note.
    int32_t highestNote() const;
    int32_t lowestNote() const;
    // Lane values as 0.0..1.0; `step` -1 writes all 32 steps. Other lanes do nothing.
    void setLaneValue(int32_t lane, int32_t step, float value);
    float laneValue(int32_t lane, int32_t step) const;
    void resetLane(int32_t lane);

    // The clipboard is one pattern per process, shared by every instance.
    void copyToClipboard() const;
    // False, and nothing changes, while nothing has been copied yet.
    bool pasteFromClipboard();
};
static_assert(sizeof(PSeqPattern) == 32 * 24 + 12, "a pattern is 32 steps and three 32-bit fields");

// "C3" for note 60; octave 0 shows no digit ("C" for 24). `text` holds `size` characters.
void noteName(int32_t note, char* text, size_t size = kNoteNameSize);

// The C library's generator as the editor's "Randomize" has always used it, so that the same
// clicks give the same notes on every platform: a per-thread state that starts at 1.
namespace SeqRandom
{
// 0..32767.
int32_t next();
// Starts the calling thread's sequence again from 1.
void reset();
} // namespace SeqRandom
