#include "host/projectfile.h"
#include "host/render.h"
#include "lv2/ports.h"
#include "tests/lv2/lv2host.h"

#include <lv2/atom/atom.h>
#include <lv2/midi/midi.h>
#include <lv2/state/state.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace lv2test;
using namespace tremolinlv2;

namespace
{
constexpr double kRate = 48000.0;
constexpr const char* kChunkKey = "https://tremolin.invalid/lv2/tremolin#chunk";

hostkit::Project demoProject()
{
    hostkit::Project project;
    std::string error;
    EXPECT_TRUE(hostkit::loadProjectFile(std::string(TREMOLIN_SOURCE_DIR) + "/examples/demo.tremolin",
                                         project, error))
        << error;
    return project;
}

// The events tremolin-host renders (as `render --print` lists them), as MIDI at the samples where
// a transport that started at tick 0 and sample 0 plays them; note-offs after their lengths, an
// earlier note of a key ended where the key starts again.
std::vector<MidiEvent> rendered(int32_t bars, double tempo, double rate,
                                std::vector<hostkit::PatternSwitch> switches, int64_t before)
{
    hostkit::RenderOptions options;
    options.modulePath = TREMOLIN_MODULE_FILE;
    options.project = demoProject();
    options.bars = bars;
    options.tempo = tempo;
    options.switches = std::move(switches);
    options.settingsPath = "/nonexistent/tremolin-lv2-test-settings";
    hostkit::RenderResult result;
    std::string error;
    EXPECT_TRUE(hostkit::renderProject(options, result, error)) << error;
    const double perTick = rate * 60.0 / (tempo * 480.0);
    auto at = [&](double tick) { return int64_t(std::ceil(tick * perTick - 1e-6)); };
    std::vector<MidiEvent> events;
    for (const hostkit::TrackEvent& e : result.events)
    {
        const uint8_t channel = e.status & 0x0F;
        if (e.isNoteOn())
        {
            for (MidiEvent& earlier : events)
                if (earlier.noteOff() && earlier.bytes[1] == e.data1 && earlier.sample > at(e.time))
                    earlier.sample = at(e.time);
            events.push_back({at(e.time), {uint8_t(0x90 | channel), uint8_t(e.data1), uint8_t(e.data2)}});
            events.push_back({at(e.time + double(e.length)), {uint8_t(0x80 | channel), uint8_t(e.data1), 0}});
        }
        else if (e.isController())
            events.push_back({at(e.time), {e.status, uint8_t(e.data1), uint8_t(e.data2)}});
    }
    std::erase_if(events, [&](const MidiEvent& e) { return e.sample >= before; });
    return events;
}

void sortEvents(std::vector<MidiEvent>& events)
{
    std::stable_sort(events.begin(), events.end(),
                     [](const MidiEvent& a, const MidiEvent& b)
                     { return a.sample != b.sample ? a.sample < b.sample : a.bytes < b.bytes; });
}

// The same events, each within one sample of where it is expected.
void expectSameEvents(std::vector<MidiEvent> got, std::vector<MidiEvent> expected, const std::string& what)
{
    sortEvents(got);
    sortEvents(expected);
    ASSERT_EQ(got.size(), expected.size()) << what;
    for (size_t i = 0; i < got.size(); ++i)
    {
        ASSERT_EQ(got[i].bytes, expected[i].bytes)
            << what << ", event " << i << " at sample " << expected[i].sample;
        ASSERT_LE(std::llabs(got[i].sample - expected[i].sample), 1) << what << ", event " << i;
    }
}

void loadDemoPreset(Lv2Host& host)
{
    LilvNode* uri = lilv_new_uri(host.lilvWorld(), "https://tremolin.invalid/lv2/tremolin#demo");
    lilv_world_load_resource(host.lilvWorld(), uri);
    LV2_URID_Map map{&host,
                     [](LV2_URID_Map_Handle h, const char* u) { return static_cast<Lv2Host*>(h)->urid(u); }};
    auto* state = lilv_state_new_from_world(host.lilvWorld(), &map, uri);
    lilv_node_free(uri);
    ASSERT_NE(state, nullptr) << "the bundle has the preset";
    EXPECT_STREQ(lilv_state_get_label(state), "Demo");
    lilv_state_restore(state, host.lilvInstance(), nullptr, nullptr, 0, nullptr);
    lilv_state_free(state);
}

int64_t samplesOfBars(double bars, double tempo = 120.0, double rate = kRate)
{
    return int64_t(std::llround(bars * 4.0 * 60.0 / tempo * rate));
}

std::vector<MidiEvent> afterSample(const std::vector<MidiEvent>& events, int64_t from)
{
    std::vector<MidiEvent> later;
    for (const MidiEvent& e : events)
        if (e.sample >= from) later.push_back(e);
    return later;
}

// The demo in blocks of three sizes, with a pattern switch by note-on at bar 3, against the
// stand-in host's render of the same project.
TEST(Lv2PluginTest, PlaysTheDemoAsTheHostRendersIt)
{
    const int64_t total = samplesOfBars(6);
    const std::vector<MidiEvent> expected = rendered(6, 120.0, kRate, {{3, 37}}, total);
    ASSERT_GT(expected.size(), 40u);
    for (uint32_t block : {64u, 256u, 1024u})
    {
        Lv2Host host(kRate);
        ASSERT_TRUE(host.loaded());
        loadDemoPreset(host);
        host.position(0, rollingAt(0, 0));
        std::vector<MidiEvent> got;
        const int64_t switchAt = samplesOfBars(2);
        while (host.samples() < total)
        {
            const uint32_t frames = uint32_t(std::min<int64_t>(block, total - host.samples()));
            if (switchAt >= host.samples() && switchAt < host.samples() + frames)
                host.midi(uint32_t(switchAt - host.samples()), {0x90, 37, 100});
            const auto events = host.run(frames);
            got.insert(got.end(), events.begin(), events.end());
        }
        expectSameEvents(got, expected, "blocks of " + std::to_string(block));
        EXPECT_EQ(host.output(kPortCurrentPattern), 2.0f) << "the note-on's pattern shows";
    }
}

// A jump mid-pattern ends what sounds there and plays on from the new place's grid; a stop ends
// every note and plays nothing more; a start where it stopped goes on from there.
TEST(Lv2PluginTest, JumpsAndStopsLeaveNoNoteHanging)
{
    Lv2Host host(kRate);
    ASSERT_TRUE(host.loaded());
    loadDemoPreset(host);
    host.position(0, rollingAt(0, 0));
    std::vector<MidiEvent> all = host.runFor(samplesOfBars(1) + 100, 256);

    // To bar 5, beat 2.1: tick 8688, between two grid lines (1/16 = 120 ticks).
    const int64_t jump = host.samples() + 77;
    host.position(77, rollingAt(4, 2.1));
    auto events = host.runFor(samplesOfBars(1), 256);
    all.insert(all.end(), events.begin(), events.end());
    // The render's starts from that tick on, moved to the jump's sample; what ends is checked
    // below, by the balance of all notes.
    const int64_t jumpSample = 8688 * 50; // 50 samples a tick at 120 BPM and 48 kHz
    std::vector<MidiEvent> expected;
    for (MidiEvent e : rendered(7, 120.0, kRate, {}, samplesOfBars(7)))
    {
        e.sample += jump - jumpSample;
        if (!e.noteOff() && e.sample >= jump && e.sample < host.samples()) expected.push_back(e);
    }
    std::vector<MidiEvent> played = afterSample(events, jump);
    std::erase_if(played, [](const MidiEvent& e) { return e.noteOff(); });
    expectSameEvents(played, expected, "after the jump");

    const int64_t stop = host.samples() + 10;
    Position stopped = rollingAt(5, 2.0, 120.0, 0.0);
    host.position(10, stopped);
    events = host.runFor(samplesOfBars(2), 512);
    all.insert(all.end(), events.begin(), events.end());
    for (const MidiEvent& e : afterSample(events, stop))
        EXPECT_TRUE(e.noteOff() && e.sample == stop) << "only note-offs at the stop, not sample " << e.sample;
    EXPECT_EQ(unbalancedNotes(all), "");

    // A start where it stopped plays on.
    host.position(0, {});
    Position start = stopped;
    start.speed = 1.0;
    start.bar.reset();
    start.barBeat.reset();
    host.position(0, start);
    events = host.runFor(samplesOfBars(1), 512);
    EXPECT_GT(std::count_if(events.begin(), events.end(), [](const MidiEvent& e) { return e.noteOn(); }), 3);
}

// A host that names its beat in whole 1/1920 beats each block, over a long song at a tempo whose
// blocks hold no whole number of ticks: the steps still land on their samples.
TEST(Lv2PluginTest, CoarseHostPositionsDoNotDrift)
{
    constexpr double rate = 44100.0;
    constexpr double tempo = 140.0;
    constexpr int32_t bars = 48;
    const int64_t total = samplesOfBars(bars, tempo, rate);
    Lv2Host host(rate);
    ASSERT_TRUE(host.loaded());
    loadDemoPreset(host);
    std::vector<MidiEvent> got;
    while (host.samples() < total)
    {
        const double beats = double(host.samples()) / rate * tempo / 60.0;
        Position p =
            rollingAt(std::floor(beats / 4.0), std::floor(std::fmod(beats, 4.0) * 1920.0) / 1920.0, tempo);
        p.frame = host.samples();
        host.position(0, p);
        const auto events = host.run(uint32_t(std::min<int64_t>(512, total - host.samples())));
        got.insert(got.end(), events.begin(), events.end());
    }
    expectSameEvents(got, rendered(bars, tempo, rate, {}, total), "48 bars at 140 BPM");
}

// The chunk and the controller numbers go through LV2 state byte for byte; a state from
// elsewhere or damaged is refused and changes nothing.
TEST(Lv2PluginTest, StateKeepsEveryByteAndRefusesForeignState)
{
    Lv2Host first(kRate);
    ASSERT_TRUE(first.loaded());
    loadDemoPreset(first);
    first.control(kPortController1, 20.0f);
    first.run(64);
    first.control(kPortController1, 21.0f);
    first.control(kPortRandomize, 1.0f);
    first.control(kPortPattern, 7.0f);
    first.run(64);
    StoredState saved;
    ASSERT_TRUE(first.save(saved));
    ASSERT_EQ(saved.count(kChunkKey), 1u);
    EXPECT_EQ(saved[kChunkKey].bytes.size(), 156140u);
    EXPECT_EQ(saved[kChunkKey].type, first.urid(LV2_ATOM__Chunk));
    const std::vector<uint8_t> controller{21, 0, 0, 0};
    EXPECT_EQ(saved["https://tremolin.invalid/lv2/tremolin#controller1"].bytes, controller);

    Lv2Host second(kRate);
    ASSERT_TRUE(second.loaded());
    // A different URID numbering in the second host: the state goes by URI.
    second.urid("urn:tremolin-test:shift-the-numbers");
    StoredState fresh;
    ASSERT_TRUE(second.save(fresh));
    EXPECT_NE(fresh[kChunkKey].bytes, saved[kChunkKey].bytes);
    for (auto& [key, value] : saved)
        value.type = second.urid(key == kChunkKey ? LV2_ATOM__Chunk : LV2_ATOM__Int);
    ASSERT_EQ(second.restore(saved), LV2_STATE_SUCCESS);
    StoredState again;
    ASSERT_TRUE(second.save(again));
    EXPECT_EQ(again[kChunkKey].bytes, saved[kChunkKey].bytes);
    EXPECT_EQ(again["https://tremolin.invalid/lv2/tremolin#controller1"].bytes, controller);

    auto refused = [&](StoredState state, const std::string& why)
    {
        EXPECT_NE(second.restore(state), LV2_STATE_SUCCESS) << why;
        StoredState after;
        ASSERT_TRUE(second.save(after));
        EXPECT_EQ(after[kChunkKey].bytes, saved[kChunkKey].bytes) << why << " changed the patterns";
    };
    StoredState damaged = fresh;
    damaged[kChunkKey].type = second.urid(LV2_ATOM__Chunk);
    damaged[kChunkKey].bytes[0] ^= 0xFF;
    refused(damaged, "a chunk without its mark");
    damaged[kChunkKey].bytes[0] ^= 0xFF;
    damaged[kChunkKey].bytes[7] = 9;
    refused(damaged, "a chunk of another version");
    damaged = fresh;
    damaged[kChunkKey].type = second.urid(LV2_ATOM__Chunk);
    damaged[kChunkKey].bytes.resize(1000);
    refused(damaged, "a short chunk");
    damaged[kChunkKey].bytes.clear();
    refused(damaged, "an empty chunk");
    damaged = fresh;
    damaged[kChunkKey].type = second.urid(LV2_ATOM__String);
    refused(damaged, "a chunk of another type");
    damaged = fresh;
    damaged[kChunkKey].type = second.urid(LV2_ATOM__Chunk);
    damaged["https://tremolin.invalid/lv2/tremolin#controller2"] = {second.urid(LV2_ATOM__Int), {0, 2, 0, 0}};
    refused(damaged, "controller 512");
}

// Pattern operations and parameters from the ports, the controller numbers through the worker,
// and the playing pattern on its output port.
TEST(Lv2PluginTest, PortsReachTheSequencer)
{
    Lv2Host host(kRate);
    ASSERT_TRUE(host.loaded());
    loadDemoPreset(host);
    host.run(64);
    // The worker takes the number between blocks: from the next block on it holds.
    host.control(kPortController1, 12.0f);
    host.run(64);
    host.position(0, rollingAt(0, 0));
    std::vector<MidiEvent> bar = host.runFor(samplesOfBars(1), 256);
    std::vector<MidiEvent> all = bar;
    const auto controllers = [](const std::vector<MidiEvent>& events, int number)
    {
        return std::count_if(events.begin(), events.end(),
                             [&](const MidiEvent& e) { return e.controller() && e.bytes[1] == number; });
    };
    // The demo's first pattern moves the first lane on every note step.
    EXPECT_GT(controllers(bar, 12), 4);
    EXPECT_EQ(controllers(bar, 71), 0);

    auto block = [&]
    {
        const auto events = host.run(64);
        all.insert(all.end(), events.begin(), events.end());
    };
    host.control(kPortPattern, 2.0f);
    block();
    EXPECT_EQ(host.output(kPortCurrentPattern), 2.0f);
    host.midi(0, {0x92, 36 + 3, 90}); // note-on C1 + 3 on channel 3: the fourth pattern
    block();
    EXPECT_EQ(host.output(kPortCurrentPattern), 4.0f);
    host.midi(0, {0x80, 36 + 9, 0}); // a note-off selects nothing
    block();
    EXPECT_EQ(host.output(kPortCurrentPattern), 4.0f);

    // Clear of the demo's first pattern: nothing plays.
    host.control(kPortPattern, 1.0f);
    block();
    host.control(kPortClear, 1.0f);
    block();
    host.control(kPortClear, 0.0f);
    host.position(0, rollingAt(8, 0));
    bar = host.runFor(samplesOfBars(1), 256);
    all.insert(all.end(), bar.begin(), bar.end());
    EXPECT_EQ(std::count_if(bar.begin(), bar.end(), [](const MidiEvent& e) { return e.noteOn(); }), 0);
    EXPECT_EQ(unbalancedNotes(all), "");
}
} // namespace
