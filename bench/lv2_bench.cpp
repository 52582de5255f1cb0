// The cost of one block of Tremolin.lv2 and of the peer x42 step sequencer, in the same run and
// under the same host: lilv, 48 kHz, a rolling transport at 120 BPM reported every block (as
// Ardour does), blocks of 64 and 512 frames. Tremolin plays the Demo preset; the peer follows the
// host's transport with one note on every step of its 8x8 grid. Not a test: bench/lv2bench.sh
// runs it together with lilv's own lv2bench and gives the ratio.

#include <lilv/lilv.h>
#include <lv2/atom/forge.h>
#include <lv2/atom/util.h>
#include <lv2/midi/midi.h>
#include <lv2/time/time.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace
{
constexpr const char* kTremolin = "https://tremolin.invalid/lv2/tremolin";
constexpr const char* kPeer = "http://gareus.org/oss/lv2/stepseq#s8n8";
constexpr double kRate = 48000.0;
constexpr double kTempo = 120.0;

std::map<std::string, LV2_URID> ids;
LV2_URID mapUri(LV2_URID_Map_Handle, const char* uri)
{
    return ids.emplace(uri, LV2_URID(ids.size() + 1)).first->second;
}
LV2_URID_Map uridMap{nullptr, mapUri};

LilvWorld* world()
{
    static LilvWorld* made = []
    {
        setenv("LV2_PATH", TREMOLIN_LV2_BUNDLE_PARENT ":/usr/lib/lv2", 1);
        LilvWorld* w = lilv_world_new();
        lilv_world_load_all(w);
        return w;
    }();
    return made;
}

class Runner
{
public:
    Runner(const char* uri, uint32_t block) : block(block)
    {
        LilvNode* node = lilv_new_uri(world(), uri);
        plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world()), node);
        if (!plugin)
        {
            lilv_node_free(node);
            return;
        }
        const LV2_Feature mapFeature{LV2_URID__map, &uridMap};
        const LV2_Feature* features[] = {&mapFeature, nullptr};
        instance = lilv_plugin_instantiate(plugin, kRate, features);
        const uint32_t ports = lilv_plugin_get_num_ports(plugin);
        controls.assign(ports, 0.0f);
        std::vector<float> defaults(ports, 0.0f);
        lilv_plugin_get_port_ranges_float(plugin, nullptr, nullptr, defaults.data());
        input.assign(1024, 0);
        output.assign(8192, 0);
        LilvNode* atomPort = lilv_new_uri(world(), LV2_ATOM__AtomPort);
        LilvNode* inputPort = lilv_new_uri(world(), LV2_CORE__InputPort);
        for (uint32_t i = 0; i < ports && instance; ++i)
        {
            const LilvPort* port = lilv_plugin_get_port_by_index(plugin, i);
            controls[i] = std::isnan(defaults[i]) ? 0.0f : defaults[i];
            const std::string symbol = lilv_node_as_string(lilv_port_get_symbol(plugin, port));
            // The peer: follow the host, one note on each step.
            if (symbol == "sync") controls[i] = 1.0f;
            if (symbol.rfind("grid_", 0) == 0 && symbol[5] == symbol[7]) controls[i] = 1.0f;
            if (!lilv_port_is_a(plugin, port, atomPort))
                lilv_instance_connect_port(instance, i, &controls[i]);
            else if (lilv_port_is_a(plugin, port, inputPort))
                lilv_instance_connect_port(instance, i, input.data());
            else
                lilv_instance_connect_port(instance, i, output.data());
        }
        lilv_node_free(atomPort);
        lilv_node_free(inputPort);
        if (instance && std::string(uri) == kTremolin)
        {
            LilvNode* preset = lilv_new_uri(world(), "https://tremolin.invalid/lv2/tremolin#demo");
            lilv_world_load_resource(world(), preset);
            if (auto* state = lilv_state_new_from_world(world(), &uridMap, preset))
            {
                lilv_state_restore(state, instance, nullptr, nullptr, 0, nullptr);
                lilv_state_free(state);
            }
            lilv_node_free(preset);
        }
        lilv_node_free(node);
        if (instance) lilv_instance_activate(instance);
        lv2_atom_forge_init(&forge, &uridMap);
    }
    ~Runner()
    {
        if (instance)
        {
            lilv_instance_deactivate(instance);
            lilv_instance_free(instance);
        }
    }
    bool ready() const { return instance != nullptr; }
    // Everything but the plug-in's run: the host's own share of a block.
    bool hostOnly = false;

    // One block: the host's position at its start, then the plug-in's run.
    void block_()
    {
        static const LV2_URID position = mapUri(nullptr, LV2_TIME__Position);
        static const LV2_URID frameKey = mapUri(nullptr, LV2_TIME__frame);
        static const LV2_URID speedKey = mapUri(nullptr, LV2_TIME__speed);
        static const LV2_URID barKey = mapUri(nullptr, LV2_TIME__bar);
        static const LV2_URID barBeatKey = mapUri(nullptr, LV2_TIME__barBeat);
        static const LV2_URID beatUnitKey = mapUri(nullptr, LV2_TIME__beatUnit);
        static const LV2_URID beatsPerBarKey = mapUri(nullptr, LV2_TIME__beatsPerBar);
        static const LV2_URID tempoKey = mapUri(nullptr, LV2_TIME__beatsPerMinute);
        lv2_atom_forge_set_buffer(&forge, reinterpret_cast<uint8_t*>(input.data()), input.size() * 8);
        LV2_Atom_Forge_Frame sequence;
        lv2_atom_forge_sequence_head(&forge, &sequence, 0);
        lv2_atom_forge_frame_time(&forge, 0);
        LV2_Atom_Forge_Frame object;
        lv2_atom_forge_object(&forge, &object, 0, position);
        const double beats = double(frame) / kRate * kTempo / 60.0;
        lv2_atom_forge_key(&forge, frameKey);
        lv2_atom_forge_long(&forge, frame);
        lv2_atom_forge_key(&forge, speedKey);
        lv2_atom_forge_float(&forge, 1.0f);
        lv2_atom_forge_key(&forge, barKey);
        lv2_atom_forge_long(&forge, int64_t(beats / 4.0));
        lv2_atom_forge_key(&forge, barBeatKey);
        lv2_atom_forge_float(&forge, float(std::fmod(beats, 4.0)));
        lv2_atom_forge_key(&forge, beatUnitKey);
        lv2_atom_forge_int(&forge, 4);
        lv2_atom_forge_key(&forge, beatsPerBarKey);
        lv2_atom_forge_float(&forge, 4.0f);
        lv2_atom_forge_key(&forge, tempoKey);
        lv2_atom_forge_float(&forge, float(kTempo));
        lv2_atom_forge_pop(&forge, &object);
        lv2_atom_forge_pop(&forge, &sequence);
        auto* out = reinterpret_cast<LV2_Atom_Sequence*>(output.data());
        out->atom.size = uint32_t(output.size() * 8 - sizeof(LV2_Atom));
        if (!hostOnly) lilv_instance_run(instance, block);
        frame += block;
    }

private:
    const LilvPlugin* plugin = nullptr;
    LilvInstance* instance = nullptr;
    uint32_t block;
    LV2_Atom_Forge forge;
    std::vector<float> controls;
    std::vector<uint64_t> input;
    std::vector<uint64_t> output;
    int64_t frame = 0;
};

void runPlugin(benchmark::State& state, const char* uri, bool hostOnly = false)
{
    Runner runner(uri, uint32_t(state.range(0)));
    runner.hostOnly = hostOnly;
    if (!runner.ready())
    {
        state.SkipWithError("the plug-in is not installed");
        return;
    }
    for (auto _ : state)
        runner.block_();
    state.counters["frames/s"] =
        benchmark::Counter(double(state.iterations()) * double(state.range(0)), benchmark::Counter::kIsRate);
}

void Tremolin(benchmark::State& state)
{
    runPlugin(state, kTremolin);
}
void PeerStepSequencer(benchmark::State& state)
{
    runPlugin(state, kPeer);
}
void HostAlone(benchmark::State& state)
{
    runPlugin(state, kTremolin, true);
}
BENCHMARK(HostAlone)->Arg(64)->Arg(512);
BENCHMARK(Tremolin)->Arg(64)->Arg(512);
BENCHMARK(PeerStepSequencer)->Arg(64)->Arg(512);
} // namespace

BENCHMARK_MAIN();
