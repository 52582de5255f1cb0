// The effect's cost for what a host sends on its event thread besides the transport: a note-on
// that switches patterns (with the refresh of the pattern's values that it brings) and a change
// of a parameter. Both make no heap call (tests/realtime checks it); these give the time.

#include "host/kit/hostcontext.h"
#include "host/kit/hostmiditrack.h"
#include "midiplugs/midiseq/pmidiseq.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

namespace
{
struct LoadedEffect
{
    LoadedEffect()
    {
        hostkit::HostOptions options;
        options.settingsPath =
            (std::filesystem::temp_directory_path() / "tremolin-effect-bench.settings").string();
        host = new hostkit::HostContext(options);
        effect = new PMidiSeq;
        effect->initialize(host);
        // Two patterns that differ in all three of their values.
        for (int32_t p = 0; p < 2; ++p)
        {
            value("Pattern Select")->setInt(p + 1);
            value("Length")->setInt(8 + p);
            value("Quantize")->setInt(4 + p);
            value("Swing")->setInt(10 + p);
        }
    }
    ~LoadedEffect()
    {
        effect->terminate();
        effect->release();
        host->unbindValues();
        host->release();
    }
    IHostValue* value(const char* name)
    {
        IHostValue* found = nullptr;
        effect->findValue(name, &found);
        return found;
    }
    hostkit::HostContext* host;
    PMidiSeq* effect;
};

void BM_NoteOnSwitchesPattern(benchmark::State& state)
{
    LoadedEffect loaded;
    hostkit::HostMidiTrack& track = loaded.host->track();
    int32_t note = 36;
    for (auto _ : state)
    {
        HostMidiEvent* event = track.makeIncoming(0x90, note, 100, 0);
        loaded.effect->processEvent(event);
        track.releaseEvent(event);
        note ^= 1; // patterns 1 and 2 in turn
    }
}
BENCHMARK(BM_NoteOnSwitchesPattern);

void BM_ParameterChange(benchmark::State& state)
{
    LoadedEffect loaded;
    IHostValue* length = loaded.value("Length");
    int32_t steps = 8;
    for (auto _ : state)
    {
        length->setInt(steps);
        steps ^= 1; // 8 and 9 in turn: every call is a change
    }
}
BENCHMARK(BM_ParameterChange);
} // namespace

BENCHMARK_MAIN();
