// What hearing a project costs: the audio render (seconds of audio made per second of work)
// against a plain FluidSynth render of the same MIDI, and one period of the JACK output's
// callback (256 frames at 48 kHz, the module playing the demo) against the same callback with a
// transport that plays nothing.

#include "host/kit/hostcontext.h"
#include "host/kit/livetransport.h"
#include "host/kit/midifile.h"
#include "host/kit/moduleloader.h"
#include "host/kit/periodplayer.h"
#include "host/kit/platform/synth.h"
#include "host/projectfile.h"
#include "host/render.h"

#include <benchmark/benchmark.h>
#include <fluidsynth.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <string>

namespace
{
const std::string kDemo = TREMOLIN_SOURCE_DIR "/examples/demo.tremolin";

std::string settingsPath()
{
    return (std::filesystem::temp_directory_path() / "tremolin-sound-bench.settings").string();
}

// The demo's sixteen bars at 120 BPM with its three switches, as the render plays them.
const std::vector<hostkit::TrackEvent>& demoEvents(std::string& error)
{
    static std::vector<hostkit::TrackEvent> events;
    if (!events.empty()) return events;
    hostkit::RenderOptions options;
    options.modulePath = TREMOLIN_MODULE_PATH;
    options.bars = 16;
    options.switches = {{5, 37}, {9, 38}, {13, 39}};
    options.settingsPath = settingsPath();
    hostkit::RenderResult result;
    if (hostkit::loadProjectFile(kDemo, options.project, error) &&
        hostkit::renderProject(options, result, error))
        events = result.events;
    return events;
}

void BM_RenderDemoToWav(benchmark::State& state)
{
    std::string error;
    const auto& events = demoEvents(error);
    if (events.empty()) return state.SkipWithError(error.c_str());
    const double seconds = hostkit::audioSeconds(events, 16, 120.0);
    for (auto _ : state)
    {
        std::vector<uint8_t> wav;
        if (!hostkit::renderAudio(events, 16, 120.0, {}, wav, error))
            return state.SkipWithError(error.c_str());
        benchmark::DoNotOptimize(wav.data());
    }
    state.counters["audio_seconds_per_second"] =
        benchmark::Counter(seconds * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_RenderDemoToWav)->Unit(benchmark::kMillisecond)->UseRealTime();

// The floor: FluidSynth alone, the same soundfont and messages, straight into a buffer.
void BM_PlainFluidSynthRender(benchmark::State& state)
{
    std::string error;
    const auto& events = demoEvents(error);
    if (events.empty()) return state.SkipWithError(error.c_str());
    const std::vector<hostkit::MidiMessage> timeline = hostkit::midiTimeline(events);
    const double seconds = hostkit::audioSeconds(events, 16, 120.0);
    const std::string soundfont = hostkit::platform::defaultSoundfont();
    for (int level : {FLUID_PANIC, FLUID_ERR, FLUID_WARN, FLUID_INFO, FLUID_DBG})
        fluid_set_log_function(level, nullptr, nullptr);
    const auto total = static_cast<int64_t>(seconds * 44100.0);
    const double framesPerTick = 60.0 / (120.0 * 480.0) * 44100.0;
    std::vector<float> stereo(static_cast<size_t>(total) * 2);
    for (auto _ : state)
    {
        fluid_settings_t* settings = new_fluid_settings();
        fluid_settings_setnum(settings, "synth.sample-rate", 44100.0);
        fluid_synth_t* synth = new_fluid_synth(settings);
        fluid_synth_sfload(synth, soundfont.c_str(), 1);
        int64_t frame = 0;
        const auto renderTo = [&](int64_t end)
        {
            for (end = std::min(end, total); frame < end;)
            {
                const int count = static_cast<int>(std::min<int64_t>(end - frame, 4096));
                fluid_synth_write_float(synth, count, stereo.data() + 2 * frame, 0, 2,
                                        stereo.data() + 2 * frame, 1, 2);
                frame += count;
            }
        };
        for (const hostkit::MidiMessage& m : timeline)
        {
            renderTo(std::llround(static_cast<double>(m.tick) * framesPerTick));
            if ((m.status & 0xF0) == 0x90)
                fluid_synth_noteon(synth, m.status & 0x0F, m.data1, m.data2);
            else if ((m.status & 0xF0) == 0x80)
                fluid_synth_noteoff(synth, m.status & 0x0F, m.data1);
            else if ((m.status & 0xF0) == 0xB0)
                fluid_synth_cc(synth, m.status & 0x0F, m.data1, m.data2);
        }
        renderTo(total);
        benchmark::DoNotOptimize(stereo.data());
        delete_fluid_synth(synth);
        delete_fluid_settings(settings);
    }
    state.counters["audio_seconds_per_second"] =
        benchmark::Counter(seconds * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_PlainFluidSynthRender)->Unit(benchmark::kMillisecond)->UseRealTime();

// A transport that plays nothing: what the callback costs without the module.
class SilentSource final : public hostkit::TickSource
{
public:
    void locate(int32_t) override {}
    void play(int32_t, int32_t, std::vector<hostkit::TrackEvent>& events) override { events.clear(); }
};

template <class Source> void periods(benchmark::State& state, Source& source)
{
    hostkit::PeriodPlayer player(120.0, 48000.0);
    player.start(source);
    std::array<uint8_t, 3 * 1024> buffer{};
    size_t used = 0;
    int64_t messages = 0;
    const auto sink = [&](uint32_t, const uint8_t* bytes, size_t size)
    {
        for (size_t i = 0; i < size; ++i)
            buffer[(used + i) % buffer.size()] = bytes[i];
        used += size;
        ++messages;
    };
    for (auto _ : state)
        player.period(256, nullptr, sink);
    benchmark::DoNotOptimize(buffer.data());
    state.counters["messages_per_period"] =
        benchmark::Counter(static_cast<double>(messages) / static_cast<double>(state.iterations()));
}

void BM_JackPeriodSilent(benchmark::State& state)
{
    SilentSource source;
    periods(state, source);
}
BENCHMARK(BM_JackPeriodSilent);

// The module loaded from its file and playing the demo's first pattern, as in play --jack.
void BM_JackPeriodPlayingTheDemo(benchmark::State& state)
{
    std::string error;
    auto module = hostkit::PluginModule::load(TREMOLIN_MODULE_PATH, error);
    hostkit::Project project;
    if (!module || !hostkit::loadProjectFile(kDemo, project, error))
        return state.SkipWithError(error.c_str());
    hostkit::HostOptions options;
    options.settingsPath = settingsPath();
    auto* host = new hostkit::HostContext(options);
    host->track().setTicksPerBar(hostkit::kTicksPerBar);
    IMidiEffect* effect = hostkit::startEffect(*module, *host, project, 0, error);
    if (effect)
    {
        hostkit::LiveTransport transport(effect, host->track(), 120.0);
        periods(state, transport);
    }
    else
        state.SkipWithError(error.c_str());
    module->unload();
    host->unbindValues();
    host->release();
}
BENCHMARK(BM_JackPeriodPlayingTheDemo);
} // namespace

BENCHMARK_MAIN();
