#pragma once

// The sequencer engine: holds the 200 patterns and turns ranges of the host's ticks into timed
// notes and controller events. Between calls it keeps only the step to play next and its tick;
// notes carry their own length, so there is nothing to stop at a jump.

#include "foundation/flock.h"
#include "midiplugs/midiseq/seqpattern.h"

#include <atomic>
#include <cstdint>

class IHostMidiTrack;

enum
{
    kSeqPatternCount = 200,
    kQuantizeCount = 11,
};

class PMidiSeqEngine
{
public:
    PMidiSeqEngine();
    virtual ~PMidiSeqEngine();
    PMidiSeqEngine(const PMidiSeqEngine&) = delete;
    PMidiSeqEngine& operator=(const PMidiSeqEngine&) = delete;

    // Plays every grid point in [from, to) on `track`. Runs on the host's event thread under the
    // lock; allocates nothing.
    virtual void process(int32_t from, int32_t to, IHostMidiTrack* track);
    // Sets the step due at or after `position`, in phase with the host's grid origin.
    virtual void locate(int32_t position, IHostMidiTrack* track);

    // The step that sounds at `position`, relative to the engine's present place.
    int32_t stepAt(int32_t position);

    // Length and quantize of the current pattern, under the lock. Neither moves the play position.
    void setLength(int32_t length);
    void setQuantize(int32_t ticks);

    // The current pattern itself; edits go under lock().
    PSeqPattern& currentPatternData() { return patterns[currentPatternIndex()]; }
    PSeqPattern& pattern(int32_t index) { return patterns[index]; }
    int32_t length() { return currentPatternData().length; }
    int32_t quantize() { return currentPatternData().quantize; }
    // Swing and the pattern index are single 32-bit stores that go without the lock.
    float swing();
    void setSwing(float swing);
    int32_t currentPatternIndex() const;
    // Indexes outside 0..199 are ignored.
    void setCurrentPatternIndex(int32_t index);

    // Where the next grid point falls and which step plays there.
    int32_t nextPosition() const { return nextTick; }
    int32_t currentStep() const { return nextStep; }

    // The one lock of the running system: around pattern edits, and handed to the editor.
    FLock& lock() { return engineLock; }

    // The "Quantize" list: index to text and ticks. An unknown tick count gives index 11.
    static const char* quantizeText(int32_t index);
    static int32_t quantizeTicks(int32_t index);
    static int32_t quantizeIndex(int32_t ticks);

    // The controllers of the two lanes are per process, shared by every instance (71 and 74 at
    // first). `lane` is 0 or 1.
    static int32_t controllerNumber(int32_t lane);
    static void setControllerNumber(int32_t lane, int32_t number);

private:
    void playStep(const PSeqPattern& pattern, int32_t length, int32_t quantize, float swing,
                  IHostMidiTrack* track);

    FLock engineLock{"FLock"};
    PSeqPattern patterns[kSeqPatternCount];
    int32_t currentPattern = 0;
    int32_t nextStep = 0;
    int32_t nextTick = 0;
};
