#include "host/paneltemplate.h"
#include "host/projectfile.h"
#include "host/render.h"
#include "tests/host/window/desktop.h"
#include "tests/lv2/lv2host.h"
#include "tests/lv2/program.h"
#include "tests/lv2/windowpicture.h"
#include "tests/support/platform/jackrecorder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
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

// A JACK server of the test's own on the dummy backend, and the test's client on it, "recorder".
struct JackServer
{
    explicit JackServer(const std::string& name)
        : log("/tmp/tremolin-" + name + "-jackd.log"),
          jackd("jackd",
                {"-n", name, "-d", "dummy", "-r", std::to_string(kRate), "-p", std::to_string(kPeriod)}, {},
                log)
    {
    }
    ~JackServer() { std::filesystem::remove(log); }
    std::string log;
    Program jackd;
};

class JackRig : private JackServer, public testjack::JackRecorder
{
public:
    explicit JackRig(const std::string& name) : JackServer(name), JackRecorder(name, "recorder") {}
    // Rolls the transport from frame 0.
    void start()
    {
        moveTo(0);
        roll();
    }
};

// Where the module's template puts a view, relative to its panel; false if nowhere.
bool findView(const std::vector<hostkit::PanelNode>& nodes, const std::string& name, int32_t left,
              int32_t top, hostkit::PanelNode& found)
{
    for (const hostkit::PanelNode& node : nodes)
    {
        if (node.kind == hostkit::PanelNode::Kind::ModuleView && node.name == name)
        {
            found = node;
            found.left += left;
            found.top += top;
            return true;
        }
        if (findView(node.children, name, left + node.left, top + node.top, found)) return true;
    }
    return false;
}

// The sequencer view's part of a picture of the whole panel; empty if the template has no view.
desktop::Picture sequencerViewOf(const desktop::Picture& panel)
{
    std::ifstream in(std::string(TREMOLIN_SOURCE_DIR) + "/midiplugs/midiseq/resource/editor.xml");
    std::stringstream text;
    text << in.rdbuf();
    hostkit::TemplateSet set;
    std::string error;
    hostkit::PanelNode view;
    desktop::Picture part;
    if (!hostkit::readTemplateSet(text.str(), set, error) || set.templates.empty() ||
        !findView(set.templates.front().children, "SequencerView", 0, 0, view) || view.left < 0 ||
        view.top < 0 || view.left + view.width > panel.width || view.top + view.height > panel.height)
        return part;
    part.width = view.width;
    part.height = view.height;
    for (int y = 0; y < view.height; ++y)
        for (int x = 0; x < view.width; ++x)
            part.pixels.push_back(panel.pixels[size_t((y + view.top) * panel.width + x + view.left)]);
    return part;
}

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
    rig.leadTempo(kTempo);
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
    rig.halt();
    std::this_thread::sleep_for(std::chrono::milliseconds(400));
    std::vector<MidiEvent> events;
    for (const testjack::Heard& h : rig.heard())
        events.push_back({h.frame, {h.status, h.data1, h.data2}});
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
    desktop::Picture panel;
    ASSERT_TRUE(desktop::readPng(snapshot, panel)) << host.output();
    // The host's snapshot is the whole panel; an LV2 host shows the sequencer view alone.
    const desktop::Picture expected = sequencerViewOf(panel);
    ASSERT_GT(expected.width, 0) << "the module's template places no SequencerView inside its panel";

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
