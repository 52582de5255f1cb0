#include "midiplugs/midiseq/midiseqengine.h"

#include "module/hostinterfaces.h"

#include <cmath>
#include <limits>

namespace
{
const char* const quantizeTexts[kQuantizeCount] = {"1/2",   "1/4",  "1/4T",  "1/8",  "1/8T", "1/16",
                                                   "1/16T", "1/32", "1/32T", "1/64", "1/128"};
const int32_t quantizeTable[kQuantizeCount] = {960, 480, 320, 240, 160, 120, 80, 60, 40, 30, 15};

int32_t controllerNumbers[2] = {71, 74};

enum : uint8_t
{
    kNoteOn = 0x90,
    kControlChange = 0xB0,
};

// Truncates toward zero like a plain cast, but a value from a damaged project (NaN, huge) gives
// a defined result instead of undefined behaviour.
int32_t truncateToInt32(double value)
{
    if (std::isnan(value)) return 0;
    if (value >= 2147483647.0) return std::numeric_limits<int32_t>::max();
    if (value <= -2147483648.0) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}

// Tick arithmetic wraps instead of overflowing: a transport at the end of the tick range must
// not make the player misbehave.
int32_t wrapTicks(int64_t ticks)
{
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(ticks)));
}

uint8_t withChannel(uint8_t status, IHostMidiTrack* track)
{
    const int32_t channel = track->getChannel();
    return channel < 0 ? status : static_cast<uint8_t>(status | (channel & 0x0F));
}

void sendEvent(IHostMidiTrack* track, uint8_t status, int32_t data1, int32_t data2, int32_t length,
               int32_t time)
{
    HostMidiEvent* event = track->createEvent(withChannel(status, track), data1, data2, length);
    track->setEventTime(event, time);
    track->sendEvent(event);
    track->releaseEvent(event);
}

int32_t gridOrigin(IHostMidiTrack* track, int32_t position)
{
    HostGridInfo info{};
    info.origin = 0;
    track->getGridInfo(position, &info);
    return info.origin;
}
} // namespace

PMidiSeqEngine::PMidiSeqEngine() = default;

PMidiSeqEngine::~PMidiSeqEngine() = default;

float PMidiSeqEngine::swing()
{
    return std::atomic_ref<float>(currentPatternData().swing).load(std::memory_order_relaxed);
}

void PMidiSeqEngine::setSwing(float swing)
{
    std::atomic_ref<float>(currentPatternData().swing).store(swing, std::memory_order_relaxed);
}

int32_t PMidiSeqEngine::currentPatternIndex() const
{
    return std::atomic_ref<int32_t>(const_cast<int32_t&>(currentPattern)).load(std::memory_order_relaxed);
}

void PMidiSeqEngine::setCurrentPatternIndex(int32_t index)
{
    if (index < 0 || index >= kSeqPatternCount) return;
    std::atomic_ref<int32_t>(currentPattern).store(index, std::memory_order_relaxed);
}

void PMidiSeqEngine::process(int32_t from, int32_t to, IHostMidiTrack* track)
{
    // Only the event thread moves the next grid point (here and in locate), so it reads it without
    // the lock: a range that ends before it, most ranges a host plays, touches nothing shared.
    if (nextTick >= to) return;
    FLockGuard guard(engineLock);
    // The pattern and its header are read once: a switch or an edit from another thread takes
    // effect at the next call.
    const PSeqPattern& pattern = currentPatternData();
    const int32_t length = pattern.length;
    const int32_t quantize = pattern.quantize;
    const float swing =
        std::atomic_ref<float>(const_cast<float&>(pattern.swing)).load(std::memory_order_relaxed);

    // A jump forward that nobody announced: stay silent until the host locates again.
    if (nextTick < from) return;
    // Values that can only come from a damaged project; playing them would divide by zero.
    if (length < 1 || length > kSeqStepCount || quantize <= 0) return;

    while (nextTick < to)
    {
        playStep(pattern, length, quantize, swing, track);
        nextTick = wrapTicks(int64_t(nextTick) + quantize);
        if (++nextStep >= length) nextStep = 0;
        // After a wrap at the end of the tick range the next grid point lies before `to` forever.
        if (nextTick < from) break;
    }
}

void PMidiSeqEngine::playStep(const PSeqPattern& pattern, int32_t length, int32_t quantize, float swing,
                              IHostMidiTrack* track)
{
    int32_t eventTime = nextTick;
    if (swing != 0.0f)
    {
        const int64_t origin = gridOrigin(track, nextTick);
        int64_t rel = quantize / 2 - origin + nextTick;
        rel -= rel % quantize; // to the nearest grid line counted from the origin
        // Only the later line of each pair is delayed, by at most a third of a step.
        if (rel % (2 * int64_t(quantize)) >= quantize)
            rel += truncateToInt32(static_cast<float>(quantize) * swing / 3.0);
        eventTime = wrapTicks(origin + rel);
    }

    const PSeqStep& step = pattern.steps[nextStep];
    if (step.note != -1 && step.tie == 0)
    {
        const int32_t next = (nextStep + 1) % length;
        int64_t duration;
        if (pattern.steps[next].tie == 0)
        {
            duration = truncateToInt32(static_cast<float>(quantize) * step.gate);
        }
        else
        {
            // The note runs on through the ties behind it, also over the end of the pattern into
            // its start; the gate of the last tied step ends it. The count is bounded by the
            // length so that a step left behind a shortened length cannot loop for ever.
            int32_t count = 0;
            int32_t i = next;
            do
            {
                ++count;
                i = (i + 1) % length;
            } while (i != nextStep && pattern.steps[i].tie != 0 && count < length);
            const PSeqStep& last = pattern.steps[(nextStep + count) % length];
            duration = truncateToInt32(static_cast<float>(quantize) * last.gate) + int64_t(count) * quantize;
        }
        sendEvent(track, kNoteOn, step.note, step.velocity, wrapTicks(duration), eventTime);
    }
    // Controllers go out at every step that has a value, also empty and tied ones.
    if (step.controller1 != 0)
        sendEvent(track, kControlChange, controllerNumber(0), step.controller1, 0, eventTime);
    if (step.controller2 != 0)
        sendEvent(track, kControlChange, controllerNumber(1), step.controller2, 0, eventTime);
}

void PMidiSeqEngine::locate(int32_t position, IHostMidiTrack* track)
{
    FLockGuard guard(engineLock);
    const PSeqPattern& pattern = currentPatternData();
    const int32_t length = pattern.length;
    const int32_t quantize = pattern.quantize;
    if (length < 1 || length > kSeqStepCount || quantize <= 0) return;
    const int64_t origin = gridOrigin(track, position);
    const int64_t d = position - origin;
    int64_t q = d / quantize;
    if (d % quantize > 0) ++q;
    nextTick = wrapTicks(q * quantize + origin);
    // The host promises an origin at or before the position; should it break that promise the
    // step index must still lie inside the pattern.
    int32_t step = static_cast<int32_t>(q % length);
    if (step < 0) step += length;
    nextStep = step;
}

int32_t PMidiSeqEngine::stepAt(int32_t position)
{
    FLockGuard guard(engineLock);
    const PSeqPattern& pattern = currentPatternData();
    const int32_t length = pattern.length;
    const int32_t quantize = pattern.quantize;
    if (length < 1 || length > kSeqStepCount || quantize <= 0) return 0;
    int64_t step = (int64_t(position) - nextTick) / quantize % length + nextStep;
    if (step < 0) step += length;
    return static_cast<int32_t>(step % length);
}

void PMidiSeqEngine::setLength(int32_t length)
{
    FLockGuard guard(engineLock);
    currentPatternData().length = length;
}

void PMidiSeqEngine::setQuantize(int32_t ticks)
{
    FLockGuard guard(engineLock);
    currentPatternData().quantize = ticks;
}

const char* PMidiSeqEngine::quantizeText(int32_t index)
{
    return index >= 0 && index < kQuantizeCount ? quantizeTexts[index] : "";
}

int32_t PMidiSeqEngine::quantizeTicks(int32_t index)
{
    return index >= 0 && index < kQuantizeCount ? quantizeTable[index] : kSeqDefaultQuantize;
}

int32_t PMidiSeqEngine::quantizeIndex(int32_t ticks)
{
    int32_t index = 0;
    while (index < kQuantizeCount && quantizeTable[index] != ticks)
        ++index;
    return index;
}

int32_t PMidiSeqEngine::controllerNumber(int32_t lane)
{
    return std::atomic_ref<int32_t>(controllerNumbers[lane & 1]).load(std::memory_order_relaxed);
}

void PMidiSeqEngine::setControllerNumber(int32_t lane, int32_t number)
{
    std::atomic_ref<int32_t>(controllerNumbers[lane & 1]).store(number, std::memory_order_relaxed);
}
