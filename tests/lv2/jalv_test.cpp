#include "host/projectfile.h"
#include "host/render.h"
#include "tests/host/window/desktop.h"
#include "tests/lv2/lv2host.h"
#include "tests/lv2/program.h"
#include "tests/lv2/windowpicture.h"

#include <jack/jack.h>
#include <jack/midiport.h>
#include <jack/transport.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <regex>
#include <sstream>
#include <thread>

using namespace lv2test;

namespace
{
constexpr double kTempo = 150.0;
constexpr uint32_t kRate = 48000;
constexpr int64_t kPeriod = 256;

// The sanitizer builds' bundle loads only into a program that has their runtime first.
std::vector<std::pair<std::string, std::string>> sanitizerEnvironment()
{
    std::vector<std::pair<std::string, std::string>> env;
    if (std::string(TREMOLIN_SANITIZER_PRELOAD).size() > 0)
    {
        env.push_back({"LD_PRELOAD", TREMOLIN_SANITIZER_PRELOAD});
        env.push_back({"ASAN_OPTIONS", "detect_leaks=0"});
    }
    return env;
}

// A folder with the Demo preset as a state jalv loads (-l): the preset's own file with the
// folder's state.ttl as its subject.
struct DemoState
{
    std::filesystem::path folder;
    DemoState()
    {
        folder = std::filesystem::temp_directory_path() / ("tremolin-lv2-state-" + std::to_string(getpid()));
        std::filesystem::create_directories(folder);
        std::ifstream in(std::string(TREMOLIN_LV2_BUNDLE_PARENT) + "/Tremolin.lv2/demo.ttl");
        std::stringstream text;
        text << in.rdbuf();
        std::ofstream(folder / "state.ttl") << std::regex_replace(
            text.str(), std::regex("<https://tremolin\\.invalid/lv2/tremolin#demo>"), "<>");
    }
    ~DemoState() { std::filesystem::remove_all(folder); }
};

// A JACK server of the test's own on the dummy backend, and a client that records MIDI with the
// sample it came at and is the transport's timebase (4/4 at kTempo, the beat in whole 1/1920).
class JackRig
{
public:
    explicit JackRig(const std::string& name) : serverName(name)
    {
        server = std::make_unique<Program>("jackd",
                                           std::vector<std::string>{"-n", name, "-d", "dummy", "-r",
                                                                    std::to_string(kRate), "-p",
                                                                    std::to_string(kPeriod)},
                                           std::vector<std::pair<std::string, std::string>>{}, log());
        for (int i = 0; i < 100 && !client; ++i)
        {
            jack_status_t status;
            client = jack_client_open("recorder", jack_options_t(JackNoStartServer | JackServerName), &status,
                                      name.c_str());
            if (!client) std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        if (!client) return;
        in = jack_port_register(client, "in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
        jack_set_process_callback(client, process, this);
        jack_set_timebase_callback(client, 0, timebase, this);
        jack_activate(client);
    }
    ~JackRig()
    {
        if (client)
        {
            jack_deactivate(client);
            jack_client_close(client);
        }
        server.reset();
        std::filesystem::remove(log());
    }
    bool ready() const { return client != nullptr; }
    std::string log() const { return "/tmp/tremolin-" + serverName + "-jackd.log"; }

    // Connects the port once it exists, waiting up to `seconds`.
    bool connectFrom(const std::string& port, double seconds)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        while (std::chrono::steady_clock::now() < deadline)
        {
            // A port exists a moment before its client is active, and JACK refuses to connect it
            // until then.
            if (jack_port_by_name(client, port.c_str()) &&
                jack_connect(client, port.c_str(), jack_port_name(in)) == 0)
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }
    void start()
    {
        jack_transport_locate(client, 0);
        jack_transport_start(client);
    }
    void stop() { jack_transport_stop(client); }
    std::vector<MidiEvent> events()
    {
        std::lock_guard<std::mutex> guard(mutex);
        return recorded;
    }
    // The first sample at which the transport stood still after rolling; -1 before.
    int64_t stoppedAt() const { return stopSample; }
    // The sample at which the transport's frame 0 rolled.
    int64_t startedAt() const { return startSample; }

private:
    static int process(jack_nframes_t frames, void* arg)
    {
        auto* self = static_cast<JackRig*>(arg);
        const int64_t base = jack_last_frame_time(self->client);
        jack_position_t position;
        const bool rolling = jack_transport_query(self->client, &position) == JackTransportRolling;
        if (rolling && self->startSample < 0) self->startSample = base - int64_t(position.frame);
        if (!rolling && self->startSample >= 0 && self->stopSample < 0) self->stopSample = base;
        void* buffer = jack_port_get_buffer(self->in, frames);
        const uint32_t count = jack_midi_get_event_count(buffer);
        std::lock_guard<std::mutex> guard(self->mutex);
        for (uint32_t i = 0; i < count; ++i)
        {
            jack_midi_event_t event;
            if (jack_midi_event_get(&event, buffer, i) == 0)
                self->recorded.push_back(
                    {base + event.time, std::vector<uint8_t>(event.buffer, event.buffer + event.size)});
        }
        return 0;
    }
    static void timebase(jack_transport_state_t, jack_nframes_t, jack_position_t* position, int, void*)
    {
        const double beats = double(position->frame) / kRate * kTempo / 60.0;
        position->valid = jack_position_bits_t(position->valid | JackPositionBBT);
        position->beats_per_bar = 4;
        position->beat_type = 4;
        position->ticks_per_beat = 1920;
        position->beats_per_minute = kTempo;
        position->bar = int32_t(beats / 4) + 1;
        position->beat = int32_t(std::fmod(beats, 4.0)) + 1;
        position->tick = int32_t((beats - std::floor(beats)) * 1920.0);
        position->bar_start_tick = 0;
    }

    std::string serverName;
    std::unique_ptr<Program> server;
    jack_client_t* client = nullptr;
    jack_port_t* in = nullptr;
    std::mutex mutex;
    std::vector<MidiEvent> recorded;
    std::atomic<int64_t> startSample{-1};
    std::atomic<int64_t> stopSample{-1};
};

std::string uniqueName(const char* what)
{
    static int count = 0;
    return std::string("tremolin-") + what + "-" + std::to_string(getpid()) + "-" + std::to_string(++count);
}

// The note-ons the stand-in host renders for the demo from tick 0, at their samples.
std::vector<MidiEvent> renderedNoteOns(int32_t bars)
{
    hostkit::RenderOptions options;
    options.modulePath = TREMOLIN_MODULE_FILE;
    std::string error;
    EXPECT_TRUE(hostkit::loadProjectFile(std::string(TREMOLIN_SOURCE_DIR) + "/examples/demo.tremolin",
                                         options.project, error));
    options.bars = bars;
    options.tempo = kTempo;
    options.settingsPath = "/nonexistent/tremolin-lv2-test-settings";
    hostkit::RenderResult result;
    EXPECT_TRUE(hostkit::renderProject(options, result, error)) << error;
    std::vector<MidiEvent> notes;
    for (const hostkit::TrackEvent& e : result.events)
        if (e.isNoteOn())
            notes.push_back({int64_t(std::ceil(e.time * (kRate * 60.0 / (kTempo * 480.0)) - 1e-6)),
                             {uint8_t(e.status), uint8_t(e.data1), uint8_t(e.data2)}});
    return notes;
}

// jalv runs the bundle on JACK with the Demo as its state; the test's client rolls the transport,
// records what jalv's MIDI port sends, and stops it.
TEST(Lv2JalvTest, PlaysTheDemoOnJackTransport)
{
    if (findProgram("jackd").empty() || findProgram("jalv").empty())
        GTEST_SKIP() << "jackd or jalv is not installed: run scripts/setup-deps";
    const std::string name = uniqueName("jack");
    JackRig rig(name);
    ASSERT_TRUE(rig.ready()) << "jackd did not come up on the dummy backend";
    DemoState state;
    auto env = sanitizerEnvironment();
    env.push_back({"JACK_DEFAULT_SERVER", name});
    env.push_back({"LV2_PATH", std::string(TREMOLIN_LV2_BUNDLE_PARENT) + ":/usr/lib/lv2"});
    const std::string log = "/tmp/" + name + "-jalv.log";
    Program jalv("jalv", {"-n", name + "-jalv", "-l", state.folder.string()}, env, log);
    ASSERT_TRUE(rig.connectFrom(name + "-jalv:midi_out", 15.0)) << "jalv's MIDI port never came:\n"
                                                                << jalv.output();
    rig.start();
    std::this_thread::sleep_for(std::chrono::milliseconds(1600));
    rig.stop();
    std::this_thread::sleep_for(std::chrono::milliseconds(400));
    const std::vector<MidiEvent> events = rig.events();
    EXPECT_TRUE(jalv.running()) << jalv.output();
    std::filesystem::remove(log);

    ASSERT_GE(rig.startedAt(), 0);
    ASSERT_GE(rig.stoppedAt(), 0);
    std::vector<MidiEvent> noteOns;
    for (const MidiEvent& e : events)
        if (e.noteOn()) noteOns.push_back(e);
    ASSERT_GE(noteOns.size(), 10u) << "a bar and a half of the demo at 150 BPM";
    const std::vector<MidiEvent> expected = renderedNoteOns(2);
    // When a start reaches a client is JACK's and jalv's business: on a loaded machine jalv may pass
    // the position on a period later. The first note comes within that period; from there every
    // note keeps its place to the sample, which is what a listener hears.
    const int64_t lateBy = noteOns[0].sample - rig.startedAt() - expected[0].sample;
    EXPECT_LE(std::llabs(lateBy), kPeriod + 2) << "the first note, against the transport's start";
    for (size_t i = 0; i < noteOns.size(); ++i)
    {
        ASSERT_LT(i, expected.size());
        EXPECT_EQ(noteOns[i].bytes, expected[i].bytes) << "note " << i;
        EXPECT_LE(
            std::llabs(noteOns[i].sample - noteOns[0].sample - (expected[i].sample - expected[0].sample)), 1)
            << "note " << i;
        EXPECT_LT(noteOns[i].sample, rig.stoppedAt()) << "no note after the stop";
    }
    EXPECT_EQ(unbalancedNotes(events), "");
}

// jalv's GTK window with the editor embedded: its pixels hold the editor's picture as tremolin-host
// takes it of the same project.
TEST(Lv2JalvTest, ShowsTheEditorInTheHostsWindow)
{
    if (std::string(TREMOLIN_SANITIZER_PRELOAD).size() > 0)
        GTEST_SKIP()
            << "jalv.gtk3 shows no window with a sanitizer runtime preloaded (AddressSanitizer's or "
               "ThreadSanitizer's), which this build's bundle needs; the release build runs this test";
    if (findProgram("jackd").empty() || findProgram("jalv.gtk3").empty())
        GTEST_SKIP() << "jackd or jalv.gtk3 is not installed: run scripts/setup-deps";
    const std::string name = uniqueName("ui");
    JackRig rig(name);
    ASSERT_TRUE(rig.ready()) << "jackd did not come up on the dummy backend";
    DemoState state;
    const std::string snapshot = (state.folder / "editor.png").string();
    Program host(TREMOLIN_HOST_PROGRAM,
                 {"snapshot", "--out", snapshot, "--project",
                  std::string(TREMOLIN_SOURCE_DIR) + "/examples/demo.tremolin"},
                 {}, (state.folder / "snapshot.log").string());
    for (int i = 0; i < 200 && host.running(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    desktop::Picture expected;
    ASSERT_TRUE(desktop::readPng(snapshot, expected)) << host.output();

    auto env = sanitizerEnvironment();
    env.push_back({"JACK_DEFAULT_SERVER", name});
    env.push_back({"LV2_PATH", std::string(TREMOLIN_LV2_BUNDLE_PARENT) + ":/usr/lib/lv2"});
    Program jalv("jalv.gtk3", {"-n", name + "-jalv", "-l", state.folder.string()}, env,
                 (state.folder / "jalv.log").string());
    WindowPicture shown;
    ASSERT_TRUE(pictureOfWindow("Tremolin", expected.width, 20.0, shown)) << jalv.output();
    // Painting follows the idle calls; give it a few.
    std::this_thread::sleep_for(std::chrono::milliseconds(800));
    ASSERT_TRUE(pictureOfWindow("Tremolin", expected.width, 5.0, shown));

    // The editor sits somewhere in the window, below the host's menu: find the offset where most
    // of its pixels agree.
    double best = 0.0;
    for (int dy = 0; dy + expected.height <= shown.height; ++dy)
        for (int dx = 0; dx + expected.width <= shown.width; ++dx)
        {
            int same = 0;
            int looked = 0;
            for (int y = 0; y < expected.height; y += 3)
                for (int x = 0; x < expected.width; x += 3, ++looked)
                    same += shown.pixels[size_t((y + dy) * shown.width + x + dx)] ==
                            expected.pixels[size_t(y * expected.width + x)];
            best = std::max(best, double(same) / looked);
        }
    EXPECT_GT(best, 0.9) << "the editor's picture is in jalv's window";
}
} // namespace
