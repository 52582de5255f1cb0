// tremolin-host render and project, run as a user runs them, with a fake module whose output is
// known exactly; and the pieces under it: the track's grid and the MIDI file's order.

#include "host/kit/hostmiditrack.h"
#include "host/kit/midifile.h"
#include "host/projectfile.h"
#include "host/render.h"
#include "tests/host/host_test_support.h"
#include "tests/host/midireader.h"

#include <gtest/gtest.h>

using namespace hostkit;
using hosttest::runProgram;
using Args = std::vector<std::string>;

namespace
{
const std::string kProgram = TREMOLIN_HOST_PROGRAM;
const std::string kFake = hosttest::fakeModule(1);

constexpr auto render = &hosttest::renderWithFake;

void writeProject(const hosttest::TempFolder& folder, const std::string& name, int32_t current)
{
    Project project;
    project.current = current;
    std::string error;
    ASSERT_TRUE(saveProjectFile(folder.file(name), project, true, error)) << error;
}
} // namespace

TEST(RenderProgram, WritesTheModulesNotesAsPairsWithSwitchesAtBarStarts)
{
    hosttest::TempFolder folder;
    writeProject(folder, "p.tremolin", 2); // the fake starts at note 60 + 2
    const auto result = render(folder, {"--project", "p.tremolin", "--bars", "2", "--tempo", "90",
                                        "--channel", "3", "--switch", "2:C4", "--out", "song.mid"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    std::vector<std::string> meta;
    const std::vector<std::string> events = hosttest::midiEvents(folder, folder.file("song.mid"), &meta);
    // Per quarter one note of a quarter's length: its note-off falls on the next note-on of the
    // same key and must come first; the zero-length note 100 ends right after it starts.
    const std::vector<std::string> expected = {
        "0, Note_on_c, 2, 62, 100",    "0, Control_c, 2, 1, 64",      "0, Note_on_c, 2, 100, 90",
        "0, Note_off_c, 2, 100, 0",    "480, Note_off_c, 2, 62, 0",   "480, Note_on_c, 2, 62, 100",
        "960, Note_off_c, 2, 62, 0",   "960, Note_on_c, 2, 62, 100",  "1440, Note_off_c, 2, 62, 0",
        "1440, Note_on_c, 2, 62, 100", "1920, Note_off_c, 2, 62, 0",  "1920, Note_on_c, 2, 72, 100",
        "1920, Control_c, 2, 1, 65",   "1920, Note_on_c, 2, 100, 90", "1920, Note_off_c, 2, 100, 0",
        "2400, Note_off_c, 2, 72, 0",  "2400, Note_on_c, 2, 72, 100", "2880, Note_off_c, 2, 72, 0",
        "2880, Note_on_c, 2, 72, 100", "3360, Note_off_c, 2, 72, 0",  "3360, Note_on_c, 2, 72, 100",
        "3840, Note_off_c, 2, 72, 0",
    };
    EXPECT_EQ(events, expected);
    EXPECT_NE(std::find(meta.begin(), meta.end(), "0, Tempo, 666667"), meta.end());
    EXPECT_NE(std::find(meta.begin(), meta.end(), "0, Time_signature, 4, 2, 24, 8"), meta.end());
    EXPECT_NE(result.out.find("Wrote song.mid: 2 bars"), std::string::npos) << result.out;

    // --pattern goes through the module's "Pattern Select" (the fake plays 59 + the value);
    // --print lists the events.
    const auto printed =
        render(folder, {"--project", "p.tremolin", "--bars", "1", "--pattern", "5", "--print"});
    ASSERT_EQ(printed.exitCode, 0) << printed.err;
    EXPECT_NE(printed.out.find("       0  1.1.000    note E3 (64)  velocity 100  length 480  channel 1\n"),
              std::string::npos)
        << printed.out;
    EXPECT_NE(printed.out.find("controller 1 (Modulation)  value 64"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder.file("song.mid.tmp")));
}

TEST(RenderProgram, FailsWithOneSentenceAndLeavesNoFileBehind)
{
    hosttest::TempFolder folder;
    writeProject(folder, "good.tremolin", 0);
    writeProject(folder, "refused.tremolin", 199); // the fake takes no chunk with pattern 200 current
    hosttest::writeText(folder.file("bad.tremolin"), "pattern 1\n 1 X9 1 1 0 0 -\n");
    const std::string missing = "missing" + hosttest::moduleSuffix(),
                      text = "text" + hosttest::moduleSuffix();
    hosttest::writeText(folder.file(text), "not a module");
    struct Case
    {
        Args arguments;
        std::string message;
    };
    const Case cases[] = {
        {{"--module", missing, "--project", "good.tremolin", "--out", "x.mid"},
         "The module file '" + missing + "' does not exist."},
        {{"--module", text, "--project", "good.tremolin", "--out", "x.mid"}, "can't be loaded as a module"},
        {{"--module", kFake, "--project", "refused.tremolin", "--out", "x.mid"},
         "The module refused the project's chunk."},
        {{"--module", kFake, "--project", "bad.tremolin", "--out", "x.mid"},
         "The project file 'bad.tremolin' has an error on line 2: 'X9' is not a note"},
        {{"--module", kFake, "--project", "none.tremolin", "--out", "x.mid"}, "Can't read the project file"},
        {{"--module", kFake, "--project", "good.tremolin", "--out", "no/such/x.mid"},
         "Can't write 'no/such/x.mid': "},
    };
    for (const Case& c : cases)
    {
        Args args = {"render", "--settings", "settings"};
        args.insert(args.end(), c.arguments.begin(), c.arguments.end());
        const auto result = runProgram(folder, kProgram, args);
        EXPECT_EQ(result.exitCode, 1) << c.message;
        EXPECT_NE(result.err.find(c.message), std::string::npos) << result.err;
        EXPECT_EQ(result.err.rfind("tremolin-host: ", 0), 0u);
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    }
    // Only what the test put there: no output and no temporary file.
    std::vector<std::string> names = folder.names();
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"bad.tremolin", "good.tremolin", "refused.tremolin", text}));

    // A command line that can't be followed is a usage error.
    for (const Args& arguments :
         {Args{"--bars", "0", "--print"}, Args{"--switch", "9:C1", "--bars", "4", "--print"},
          Args{"--tempo", "fast", "--print"}, Args{"--project", "good.tremolin"},
          Args{"--colour", "red", "--print"}})
    {
        const auto result = render(folder, arguments);
        EXPECT_EQ(result.exitCode, 2) << arguments[0];
        EXPECT_NE(result.err.find("usage:"), std::string::npos);
    }
}

TEST(ProjectProgram, ConvertsBetweenChunkAndTextAndRefusesDamage)
{
    hosttest::TempFolder folder;
    Project project;
    project.current = 3;
    project.patterns[3].steps[0] = {60, 100, 0.5f, 1, 2, 0};
    std::string error;
    ASSERT_TRUE(saveProjectFile(folder.file("song.chunk"), project, false, error));
    auto result = runProgram(folder, kProgram, {"project", "export", "song.chunk", "song.tremolin"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(hosttest::readText(folder.file("song.tremolin")), writeProjectText(project));
    result = runProgram(folder, kProgram, {"project", "import", "song.tremolin", "again.chunk"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(hosttest::readText(folder.file("again.chunk")), hosttest::readText(folder.file("song.chunk")));

    // A damaged input leaves the old output as it was.
    hosttest::writeText(folder.file("broken.chunk"),
                        hosttest::readText(folder.file("song.chunk")).substr(0, 9000));
    result = runProgram(folder, kProgram, {"project", "export", "broken.chunk", "song.tremolin"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err,
              "tremolin-host: The project file 'broken.chunk' is a damaged chunk: it has 9000 bytes "
              "instead of 156140.\n");
    EXPECT_EQ(hosttest::readText(folder.file("song.tremolin")), writeProjectText(project));
    EXPECT_EQ(runProgram(folder, kProgram, {"project", "export", "song.chunk"}).exitCode, 2);
}

TEST(HostTrack, GridStartsAtTheBarOrAtZeroAndEventsAreChecked)
{
    auto* track = new HostMidiTrack;
    HostGridInfo info;
    const std::pair<int32_t, int32_t> barStarts[] = {
        {0, 0}, {1919, 0}, {1920, 1920}, {5000, 3840}, {-1, -1920}};
    for (const auto& [tick, origin] : barStarts)
    {
        track->getGridInfo(tick, &info);
        EXPECT_EQ(info.origin, origin) << tick;
    }
    track->setGridOrigin(HostMidiTrack::GridOrigin::Zero);
    track->getGridInfo(5000, &info);
    EXPECT_EQ(info.origin, 0);

    HostMidiEvent* note = track->createEvent(0x93, 60, 100, 240);
    track->setEventTime(note, 480);
    track->sendEvent(note);
    HostMidiEvent* incoming = track->makeIncoming(0x95, 37, 100, 0);
    EXPECT_EQ(track->eventStatus(incoming), 144) << "no channel bits";
    EXPECT_EQ(track->eventData1(incoming), 37);
    track->forwardEvent(incoming);
    track->releaseEvent(incoming);
    track->releaseEvent(note);
    EXPECT_EQ(track->faults(), 0);
    track->releaseEvent(note); // twice
    track->sendEvent(note);
    EXPECT_EQ(track->faults(), 2);
    const auto events = track->events();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].time, 480);
    EXPECT_EQ(events[0].channel(), 3);
    EXPECT_EQ(events[0].length, 240);
    EXPECT_TRUE(events[1].forwarded);
    EXPECT_EQ(track->eventsAlive(), 0);
    track->release();
}

TEST(MidiTimeline, NoteOffsBeforeNewNotesAndBlocksFromTheTempo)
{
    // Note 60 sent twice at 0 (overlap), a controller, an out-of-range note, loud values, and a
    // note of velocity below 1, which sounds nothing and so gets neither a note-on nor a note-off.
    const std::vector<TrackEvent> events = {
        {0x90, 60, 100, 120, 120, false}, {0x90, 60, 90, 240, 0, false},   {0xB1, 74, 300, 0, 120, false},
        {0x90, 128, 100, 10, 0, false},   {0x90, 61, -5, -10, 240, false},
    };
    std::vector<std::string> text;
    for (const MidiMessage& m : midiTimeline(events))
        text.push_back(std::to_string(m.tick) + ":" + std::to_string(m.status) + "/" +
                       std::to_string(m.data1) + "/" + std::to_string(m.data2));
    EXPECT_EQ(text, (std::vector<std::string>{"0:144/60/90", "120:144/60/100", "120:177/74/127",
                                              "240:128/60/0", "240:128/60/0"}));

    EXPECT_EQ(blockTicks(120.0), 11);
    EXPECT_EQ(blockTicks(60.0), 5);
    EXPECT_EQ(blockTicks(1.0), 1);
}
