// tremolin-host play --jack, heard by a JACK client of the test's own on a dummy server of its own:
// the events of a render of the same project, spaced as their ticks are within one period, and
// every note ended however playing stops.

#ifdef TREMOLIN_MODULE_FILE

#include "host/render.h"
#include "tests/host/host_test_support.h"
#include "tests/support/platform/jackrecorder.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

using testjack::Heard;
using testjack::sounding;

namespace
{
const std::string kModule = TREMOLIN_MODULE_FILE;
const std::string kDemo = TREMOLIN_SOURCE_DIR "/examples/demo.tremolin";
constexpr int kRate = 48000;
constexpr int kPeriod = 256;

// A JACK server of the test's own, under a name no other test run uses.
struct JackServer
{
    JackServer(const hosttest::TempFolder& folder, std::string serverName) : name(std::move(serverName))
    {
        jackd.emplace(folder, "jackd",
                      std::vector<std::string>{"-n", name, "-d", "dummy", "-r", std::to_string(kRate), "-p",
                                               std::to_string(kPeriod)});
    }
    ~JackServer()
    {
        // jackd quits cleanly on a hang-up and takes its shared memory with it; else it is killed.
        if (jackd->hangUp()) jackd->finish(5.0);
    }
    std::string name;
    std::optional<hosttest::Child> jackd;
};

// The server and the test's client on it, "listener".
class JackRig : private JackServer, public testjack::JackRecorder
{
public:
    explicit JackRig(const hosttest::TempFolder& folder)
        : JackServer(folder, "tremolin-test-" + std::to_string(std::random_device{}())),
          JackRecorder(JackServer::name, "listener")
    {
    }
    std::vector<hosttest::EnvChange> environment() const
    {
        return {{"JACK_DEFAULT_SERVER", JackServer::name}};
    }
};

hostkit::RenderResult rendered(int bars)
{
    hostkit::RenderOptions options;
    options.modulePath = kModule;
    options.bars = bars;
    options.tempo = 120.0;
    options.settingsPath = (std::filesystem::temp_directory_path() / "tremolin-jack-test.settings").string();
    std::string error;
    EXPECT_TRUE(hostkit::loadProjectFile(kDemo, options.project, error)) << error;
    hostkit::RenderResult result;
    EXPECT_TRUE(hostkit::renderProject(options, result, error)) << error;
    return result;
}
bool waitFor(const std::function<bool()>& done)
{
    const auto start = std::chrono::steady_clock::now();
    while (!done())
    {
        if (std::chrono::steady_clock::now() - start > std::chrono::seconds(10)) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace

TEST(PlayJack, TwoBarsOfTheDemoArriveAsRenderedAndSpacedWithinAPeriod)
{
    hosttest::TempFolder folder;
    JackRig rig(folder);
    ASSERT_TRUE(rig.ready()) << "jackd -d dummy did not start";
    const auto played =
        hosttest::runProgram(folder, TREMOLIN_HOST_PROGRAM,
                             {"play", "--module", kModule, "--project", kDemo, "--settings", "settings",
                              "--bars", "2", "--tempo", "120", "--jack", "--connect", "listener:in"},
                             rig.environment());
    ASSERT_EQ(played.exitCode, 0) << played.err;
    EXPECT_NE(played.out.find("into JACK port tremolin:out"), std::string::npos) << played.out;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const std::vector<Heard> heard = rig.heard();

    // What the render sends in the same two bars, as messages at ticks: note-ons with their
    // note-offs where they end within the bars, and the controllers.
    struct Expected
    {
        int64_t tick;
        uint8_t status, data1, data2;
    };
    std::vector<Expected> expected;
    for (const hostkit::TrackEvent& e : rendered(2).events)
    {
        expected.push_back({e.time, e.status, static_cast<uint8_t>(e.data1), static_cast<uint8_t>(e.data2)});
        if (e.isNoteOn() && e.time + e.length < 2 * 1920)
            expected.push_back({e.time + e.length, static_cast<uint8_t>(0x80 | (e.status & 0x0F)),
                                static_cast<uint8_t>(e.data1), 0});
    }
    std::stable_sort(expected.begin(), expected.end(),
                     [](const Expected& a, const Expected& b) { return a.tick < b.tick; });

    // Each expected message is heard once, at its tick's frame counted from the first note
    // (50 frames a tick at 120 BPM and 48 kHz), within one period.
    ASSERT_FALSE(heard.empty());
    ASSERT_FALSE(expected.empty());
    const double framesPerTick = kRate * 60.0 / (120.0 * 480.0);
    const int64_t origin = heard.front().frame - static_cast<int64_t>(expected.front().tick * framesPerTick);
    std::vector<bool> used(heard.size(), false);
    for (const Expected& want : expected)
    {
        const auto at = origin + static_cast<int64_t>(static_cast<double>(want.tick) * framesPerTick);
        bool found = false;
        for (size_t i = 0; i < heard.size() && !found; ++i)
            if (!used[i] && heard[i].status == want.status && heard[i].data1 == want.data1 &&
                heard[i].data2 == want.data2 && std::llabs(heard[i].frame - at) <= kPeriod)
                found = used[i] = true;
        EXPECT_TRUE(found) << "status " << int(want.status) << " " << int(want.data1) << " "
                           << int(want.data2) << " at tick " << want.tick;
    }
    // Nothing else, but the note-offs of the notes that still sounded at the end, each with its
    // note-on heard before.
    int ons = 0, offs = 0;
    for (size_t i = 0; i < heard.size(); ++i)
    {
        ons += (heard[i].status & 0xF0) == 0x90;
        offs += (heard[i].status & 0xF0) == 0x80;
        if (!used[i])
        {
            EXPECT_EQ(heard[i].status & 0xF0, 0x80)
                << "an extra message at frame " << heard[i].frame - origin;
        }
    }
    EXPECT_EQ(ons, offs) << "every note ended";
}

TEST(PlayJack, AHangUpEndsEverySoundingNoteAndAMissingPortIsOneSentence)
{
    hosttest::TempFolder folder;
    JackRig rig(folder);
    ASSERT_TRUE(rig.ready()) << "jackd -d dummy did not start";
    // One note that lasts its whole step, over and over: a note sounds at every moment.
    hosttest::writeText(folder.file("held.tremolin"),
                        "current 1\npattern 1  length 1  quantize 1/2  swing 0\n"
                        "  1  C3  100  1  0 0 -\n");
    hosttest::Child player(folder, TREMOLIN_HOST_PROGRAM,
                           {"play", "--module", kModule, "--project", "held.tremolin", "--settings",
                            "settings", "--jack", "--connect", "listener:in"},
                           rig.environment());
    const auto start = std::chrono::steady_clock::now();
    while (rig.noteOns() < 2 && std::chrono::steady_clock::now() - start < std::chrono::seconds(10))
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ASSERT_GE(rig.noteOns(), 2) << player.err();
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // within the third note
    ASSERT_TRUE(player.hangUp());
    EXPECT_EQ(player.finish(10.0), 0) << player.err();
    EXPECT_NE(player.out().find("every note has ended"), std::string::npos) << player.out();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const std::vector<Heard> heard = rig.heard();
    EXPECT_EQ(sounding(heard), 0) << "the note that sounded at the hang-up ended";
    ASSERT_FALSE(heard.empty());
    EXPECT_EQ(heard.back().status, 0x80);

    const auto missing =
        hosttest::runProgram(folder, TREMOLIN_HOST_PROGRAM,
                             {"play", "--module", kModule, "--project", "held.tremolin", "--settings",
                              "settings", "--bars", "1", "--jack", "--connect", "nobody:in"},
                             rig.environment());
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(
        missing.err,
        "tremolin-host: There is no JACK MIDI input 'nobody:in' to connect to; jack_lsp lists the ports.\n");
}

TEST(PlayJack, FollowingTheTransportPlaysWhileItRollsFromWhereItStands)
{
    hosttest::TempFolder folder;
    JackRig rig(folder);
    ASSERT_TRUE(rig.ready()) << "jackd -d dummy did not start";
    rig.halt();
    rig.moveTo(0);
    hosttest::Child player(folder, TREMOLIN_HOST_PROGRAM,
                           {"play", "--module", kModule, "--project", kDemo, "--settings", "settings",
                            "--jack", "--connect", "listener:in", "--follow-transport"},
                           rig.environment());
    ASSERT_TRUE(player.says("when JACK's transport rolls", 10.0)) << player.err();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_TRUE(rig.heard().empty()) << "nothing plays before the transport rolls";

    // Rolling from frame 0: the demo from its first note.
    rig.roll();
    ASSERT_TRUE(waitFor([&] { return rig.noteOns() >= 3; })) << player.err();
    const Heard first = rig.heard().front();
    EXPECT_EQ(first.status, 0x90);
    EXPECT_EQ(first.data1, 36);
    EXPECT_EQ(first.data2, 120);

    // Stopped: the notes end, and nothing more comes.
    rig.halt();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const size_t atStop = rig.heard().size();
    EXPECT_EQ(sounding(rig.heard()), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(rig.heard().size(), atStop);

    // Moved to tick 700 (50 frames a tick): the next step on the sixteenths' grid, at 720, is the
    // D#1 of velocity 100, twenty ticks after the transport rolls.
    rig.moveTo(700 * 50);
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // the move is made before the start
    rig.roll();
    ASSERT_TRUE(waitFor([&] { return rig.heard().size() > atStop + 2; })) << player.err();
    const Heard after = rig.heard()[atStop];
    EXPECT_EQ(after.status, 0x90);
    EXPECT_EQ(after.data1, 39);
    EXPECT_EQ(after.data2, 100);

    ASSERT_TRUE(player.hangUp());
    EXPECT_EQ(player.finish(10.0), 0) << player.err();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(sounding(rig.heard()), 0);
}

TEST(PlayJack, WithoutAServerSaysSoInOneSentence)
{
    hosttest::TempFolder folder;
    const auto result =
        hosttest::runProgram(folder, TREMOLIN_HOST_PROGRAM,
                             {"play", "--module", kModule, "--settings", "settings", "--bars", "1", "--jack"},
                             {{"JACK_DEFAULT_SERVER", "tremolin-test-no-such-server"}});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("No JACK server is running"), std::string::npos) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
}
#endif
