// The engine's cost on the host's event thread: a range without a grid point (the common case,
// hundreds of times a second), a range with one, and a whole bar of sixteenths with swing and
// both controller lanes. The lock/unlock pair is the yardstick for the empty range.

#include "midiplugs/midiseq/midiseqengine.h"
#include "tests/support/nulltrack.h"

#include <benchmark/benchmark.h>

#include <memory>

namespace
{
std::unique_ptr<PMidiSeqEngine> fullPattern(float swing)
{
    auto engine = std::make_unique<PMidiSeqEngine>();
    PSeqPattern& p = engine->currentPatternData();
    for (int32_t s = 0; s < kSeqStepCount; ++s)
    {
        p.setNote(s, 48 + s);
        p.steps[s].controller1 = 1 + s;
        p.steps[s].controller2 = 127 - s;
        p.setTie(s, s % 4 == 3);
    }
    p.swing = swing;
    return engine;
}

void BM_LockUnlockPair(benchmark::State& state)
{
    FLock lock;
    for (auto _ : state)
    {
        lock.lock();
        lock.unlock();
    }
}
BENCHMARK(BM_LockUnlockPair);

// The floor for a range without a grid point: what any engine must pay to look at shared state
// safely and reach the host once.
void BM_LockUnlockPairAndIndirectCall(benchmark::State& state)
{
    FLock lock;
    NullTrack track;
    IHostMidiTrack* host = &track;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(host);
        lock.lock();
        benchmark::DoNotOptimize(host->getChannel());
        lock.unlock();
    }
}
BENCHMARK(BM_LockUnlockPairAndIndirectCall);

void BM_ProcessNoGridPoint(benchmark::State& state)
{
    auto engine = fullPattern(0.5f);
    NullTrack track;
    engine->locate(120, &track);
    for (auto _ : state)
        engine->process(10, 110, &track); // the next point, 120, lies behind the range
    benchmark::DoNotOptimize(track.sent);
    if (track.sent != 0) state.SkipWithError("a range without a grid point played something");
}
BENCHMARK(BM_ProcessNoGridPoint);

void BM_ProcessOneGridPoint(benchmark::State& state)
{
    auto engine = fullPattern(0.0f);
    NullTrack track;
    engine->locate(0, &track);
    int32_t position = 0;
    for (auto _ : state)
    {
        // Ranges of one step each, as a host with a block of a sixteenth would ask.
        engine->process(position, position + 120, &track);
        position += 120;
        if (position >= 1 << 30)
        {
            position = 0;
            engine->locate(0, &track);
        }
    }
    state.SetItemsProcessed(track.sent);
    state.counters["events_per_call"] = double(track.sent) / double(state.iterations());
}
BENCHMARK(BM_ProcessOneGridPoint);

void BM_ProcessBarOfSixteenthsWithSwingAndControllers(benchmark::State& state)
{
    auto engine = fullPattern(0.6f);
    NullTrack track;
    for (auto _ : state)
    {
        engine->locate(0, &track);
        engine->process(0, 1920, &track);
    }
    // Each bar: 16 grid points, 12 notes (every fourth step is tied) and 32 controller events.
    state.SetItemsProcessed(track.sent);
    state.counters["events_per_bar"] = double(track.sent) / double(state.iterations());
}
BENCHMARK(BM_ProcessBarOfSixteenthsWithSwingAndControllers);
} // namespace

BENCHMARK_MAIN();
