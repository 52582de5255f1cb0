#include "midiplugs/midiseq/seqpattern.h"

#include <cstdio>
#include <utility>

namespace
{
// The clipboard and its guard: set until the first copy, never set again.
PSeqPattern clipboardPattern;
bool clipboardEmpty = true;

thread_local uint32_t randomState = 1;

const char* const noteNames[12] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};

void swapSteps(PSeqStep& a, PSeqStep& b)
{
    std::swap(a, b);
}
} // namespace

namespace SeqRandom
{
int32_t next()
{
    randomState = randomState * 214013u + 2531011u;
    return static_cast<int32_t>((randomState >> 16) & 0x7FFF);
}

void reset()
{
    randomState = 1;
}
} // namespace SeqRandom

void PSeqPattern::clear(bool notesOnly)
{
    for (PSeqStep& step : steps)
    {
        step.note = -1;
        step.tie = 0;
        if (!notesOnly)
        {
            step.velocity = kSeqDefaultVelocity;
            step.gate = 1.0f;
            step.controller1 = 0;
            step.controller2 = 0;
        }
    }
}

void PSeqPattern::transpose(int32_t semitones)
{
    for (PSeqStep& step : steps)
    {
        if (step.note == -1) continue;
        // Wide, because a damaged chunk can hold any note; one fold brings even those back into
        // the 32 bits.
        int64_t note = int64_t(step.note) + semitones;
        // Seven octaves, so that a note folded at either end keeps its name.
        if (note < kSeqLowestNote)
            note += 84;
        else if (note > kSeqHighestNote)
            note -= 84;
        step.note = int32_t(note);
    }
}

void PSeqPattern::shiftTimeLeft(int32_t lastStep)
{
    for (int32_t i = 0; i < lastStep; ++i)
        swapSteps(steps[i], steps[i + 1]);
}

void PSeqPattern::shiftTimeRight(int32_t lastStep)
{
    for (int32_t i = lastStep; i > 0; --i)
        swapSteps(steps[i], steps[i - 1]);
}

void PSeqPattern::reverse(int32_t lastStep)
{
    for (int32_t i = 0; i < (lastStep + 1) / 2; ++i)
        swapSteps(steps[i], steps[lastStep - i]);
}

void PSeqPattern::randomize(int32_t lowNote, int32_t highNote, int32_t count)
{
    const int32_t span = highNote - lowNote + 1;
    if (span <= 0) return;
    for (int32_t i = 0; i < count && i < kSeqStepCount; ++i)
        steps[i].note = SeqRandom::next() % span + lowNote;
}

int32_t PSeqPattern::highestNote() const
{
    int32_t highest = -1;
    for (const PSeqStep& step : steps)
        if (step.note > highest) highest = step.note;
    return highest;
}

int32_t PSeqPattern::lowestNote() const
{
    int32_t lowest = kSeqHighestNote + 1;
    for (const PSeqStep& step : steps)
        if (step.note != -1 && step.note < lowest) lowest = step.note;
    return lowest == kSeqHighestNote + 1 ? -1 : lowest;
}

void PSeqPattern::setLaneValue(int32_t lane, int32_t step, float value)
{
    if (lane < kLaneVelocity || lane > kLaneController2) return;
    const int32_t first = step == -1 ? 0 : step;
    const int32_t last = step == -1 ? kSeqStepCount - 1 : step;
    const int32_t asInteger = static_cast<int32_t>(value * 127.0f);
    for (int32_t i = first; i <= last; ++i)
    {
        switch (lane)
        {
        case kLaneVelocity:
            steps[i].velocity = asInteger;
            break;
        case kLaneGate:
            steps[i].gate = value;
            break;
        case kLaneController1:
            steps[i].controller1 = asInteger;
            break;
        case kLaneController2:
            steps[i].controller2 = asInteger;
            break;
        }
    }
}

float PSeqPattern::laneValue(int32_t lane, int32_t step) const
{
    switch (lane)
    {
    case kLaneVelocity:
        return static_cast<float>(steps[step].velocity / 127.0);
    case kLaneGate:
        return steps[step].gate;
    case kLaneController1:
        return static_cast<float>(steps[step].controller1 / 127.0);
    case kLaneController2:
        return static_cast<float>(steps[step].controller2 / 127.0);
    default:
        return 0.0f;
    }
}

void PSeqPattern::resetLane(int32_t lane)
{
    for (PSeqStep& step : steps)
    {
        switch (lane)
        {
        case kLaneVelocity:
            step.velocity = kSeqDefaultVelocity;
            break;
        case kLaneGate:
            step.gate = 1.0f;
            break;
        case kLaneController1:
            step.controller1 = 0;
            break;
        case kLaneController2:
            step.controller2 = 0;
            break;
        default:
            return;
        }
    }
}

void PSeqPattern::copyToClipboard() const
{
    clipboardPattern = *this;
    clipboardEmpty = false;
}

bool PSeqPattern::pasteFromClipboard()
{
    if (clipboardEmpty) return false;
    *this = clipboardPattern;
    return true;
}

void noteName(int32_t note, char* text, size_t size)
{
    if (!text || size == 0) return;
    const int32_t octave = note / 12 - 2;
    // Notes below 0 never come from a pattern, but must not index outside the table.
    const int32_t index = ((note % 12) + 12) % 12;
    if (octave == 0)
        std::snprintf(text, size, "%s", noteNames[index]);
    else
        std::snprintf(text, size, "%s%d", noteNames[index], static_cast<int>(octave));
}
