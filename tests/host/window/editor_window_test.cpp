// tremolin-host edit and snapshot on a real desktop (an X server; on Windows, Wine's windows on
// it): the program runs as a child process and a user drives it with keys and the window
// manager's close.

#include "host/projectfile.h"
#include "tests/host/host_test_support.h"
#include "tests/host/window/desktop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <set>
#include <thread>

using namespace hostkit;

namespace
{
const std::string kProgram = TREMOLIN_HOST_PROGRAM;
const std::string kDemo = TREMOLIN_SOURCE_DIR "/examples/demo.tremolin";
const std::string kEditTitle = "Tremolin - arrows";
// What the transport prints first: the bass's C1 on tick 0 of the demo's first bar.
const std::string kFirstNote = "note C1 (36)  velocity 120";

std::vector<std::string> editArgs(const hosttest::TempFolder& folder, const std::string& project,
                                  const std::vector<std::string>& more = {})
{
    std::vector<std::string> args = {"edit", "--project", folder.file(project), "--settings",
                                     folder.file("settings")};
    args.insert(args.end(), more.begin(), more.end());
    return args;
}

// The edit window of the child, once it shows; 0 if the child ended first or nothing came.
uint64_t editWindow(hosttest::Child& child)
{
    for (int attempt = 0; attempt < 150; ++attempt)
    {
        if (const uint64_t window = desktop::findWindow(kEditTitle, 0.2)) return window;
        if (child.finish(0) >= 0) return 0;
    }
    return 0;
}

Project demo()
{
    Project project;
    std::string error;
    EXPECT_TRUE(loadProjectFile(kDemo, project, error)) << error;
    return project;
}

class EditorWindow : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(desktop::connect()) << "no desktop to show windows on"; }
};
} // namespace

TEST_F(EditorWindow, ModuleWithoutAnEditorIsRefusedAndNothingIsWritten)
{
    hosttest::TempFolder folder;
    hosttest::writeText(folder.file("song.tremolin"), hosttest::readText(kDemo));
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"edit"}, std::vector<std::string>{"snapshot", "--out", "editor.png"}})
    {
        std::vector<std::string> args = command;
        args.insert(args.end(), {"--module", hosttest::fakeModule(1), "--project", "song.tremolin",
                                 "--settings", "settings"});
        const auto result = hosttest::runProgram(folder, kProgram, args);
        EXPECT_EQ(result.exitCode, 1) << command[0];
        EXPECT_EQ(result.err,
                  "tremolin-host: The module has no editor: its effect made no \"SequencerView\" view.\n")
            << command[0];
    }
    EXPECT_EQ(hosttest::readText(folder.file("song.tremolin")), hosttest::readText(kDemo));
    EXPECT_EQ(folder.names(), std::vector<std::string>{"song.tremolin"})
        << "no picture and no temporary file";
}

TEST_F(EditorWindow, SnapshotShowsTheWholePanelWithTheProjectsValues)
{
    hosttest::TempFolder folder;
    // The demo, and the demo with other length, quantize and swing in its first pattern.
    std::string changed = hosttest::readText(kDemo);
    const std::string first = "pattern 1  length 16  quantize 1/16  swing 0";
    ASSERT_NE(changed.find(first), std::string::npos);
    changed.replace(changed.find(first), first.size(), "pattern 1  length 12  quantize 1/8  swing 50");
    hosttest::writeText(folder.file("changed.tremolin"), changed);
    desktop::Picture pictures[2];
    for (int i = 0; i < 2; ++i)
    {
        const auto result =
            hosttest::runProgram(folder, kProgram,
                                 {"snapshot", "--project", i ? folder.file("changed.tremolin") : kDemo,
                                  "--settings", "settings", "--out", "panel.png"});
        ASSERT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err.find("leaves out"), std::string::npos)
            << "the whole template is shown: " << result.err;
        ASSERT_TRUE(desktop::readPng(folder.file("panel.png"), pictures[i]));
        ASSERT_EQ(pictures[i].width, 670);
        ASSERT_EQ(pictures[i].height, 364);
    }
    const auto pixel = [](const desktop::Picture& picture, int x, int y)
    { return picture.pixels[size_t(y) * size_t(picture.width) + size_t(x)]; };
    // The sequencer view in its place: its frame runs round all four edges in one colour.
    const desktop::Picture& demoPanel = pictures[0];
    const uint32_t frame = pixel(demoPanel, 36, 44);
    EXPECT_NE(frame, 0u);
    for (int x = 36; x < 36 + 603; ++x)
        ASSERT_TRUE(pixel(demoPanel, x, 44) == frame && pixel(demoPanel, x, 44 + 229) == frame)
            << "column " << x;
    for (int y = 44; y < 44 + 230; ++y)
        ASSERT_TRUE(pixel(demoPanel, 36, y) == frame && pixel(demoPanel, 36 + 602, y) == frame)
            << "row " << y;

    // A control's place differs between the two exactly when its value does.
    struct Place
    {
        const char* what;
        int x, y, width, height;
        bool differs;
    };
    const Place places[] = {
        {"Length", 463, 18, 38, 18, true},           {"Quantize", 512, 18, 40, 18, true},
        {"Swing text", 561, 20, 20, 13, true},       {"Swing slider", 584, 21, 56, 12, true},
        {"Pattern Select", 271, 296, 35, 16, false}, {"Param Select", 49, 296, 78, 16, false},
        {"Copy", 314, 294, 44, 20, false},           {"Shift Octave Up", 24, 17, 32, 20, false}};
    for (const Place& place : places)
    {
        bool differs = false;
        std::set<uint32_t> colours;
        for (int y = place.y; y < place.y + place.height; ++y)
            for (int x = place.x; x < place.x + place.width; ++x)
            {
                differs = differs || pixel(pictures[0], x, y) != pixel(pictures[1], x, y);
                colours.insert(pixel(pictures[0], x, y));
            }
        EXPECT_EQ(differs, place.differs) << place.what;
        EXPECT_GE(colours.size(), 3u) << place.what << " shows something";
    }

    const auto unwritable = hosttest::runProgram(
        folder, kProgram,
        {"snapshot", "--project", kDemo, "--settings", "settings", "--out", "missing/editor.png"});
    EXPECT_EQ(unwritable.exitCode, 1);
    EXPECT_EQ(unwritable.err.rfind("tremolin-host: Can't write 'missing/editor.png': ", 0), 0u)
        << unwritable.err;
}

TEST_F(EditorWindow, ArrowKeysEditWhileThePatternPlaysAndTheWindowManagersCloseSavesTheText)
{
    hosttest::TempFolder folder;
    hosttest::writeText(folder.file("song.tremolin"), hosttest::readText(kDemo));
    hosttest::Child edit(folder, kProgram, editArgs(folder, "song.tremolin", {"--print", "--tempo", "240"}));
    const uint64_t window = editWindow(edit);
    ASSERT_NE(window, 0u) << edit.err();
    int width = 0, height = 0;
    desktop::size(window, width, height);
    EXPECT_GE(width, 603);
    EXPECT_GE(height, 230);

    // The transport starts once the editor is in the window: the first bar plays the bass's C1 on
    // tick 0 as the project has it. Keys typed into the editor's own window then still reach
    // the host.
    EXPECT_TRUE(edit.says(kFirstNote, 20)) << edit.out();
    desktop::pointInto(window);
    desktop::typeKey("Up");
    desktop::typeKey("Up");
    desktop::requestClose(window);
    ASSERT_EQ(edit.finish(30), 0) << edit.err() << edit.out();
    EXPECT_NE(edit.out().find("Saved " + folder.file("song.tremolin") + " (text form)."), std::string::npos);

    Project saved;
    std::string error;
    ASSERT_TRUE(readProjectText(hosttest::readText(folder.file("song.tremolin")), saved, error)) << error;
    const Project before = demo();
    for (int step = 0; step < kProjectStepCount; ++step)
    {
        const ProjectStep& was = before.patterns[0].steps[step];
        const int32_t expected = was.note < 0 ? -1 : was.note + 2;
        EXPECT_EQ(saved.patterns[0].steps[step].note, expected) << "step " << step + 1;
    }
    EXPECT_EQ(saved.patterns[1], before.patterns[1]) << "only the current pattern moved";
}

TEST_F(EditorWindow, ParameterKeysChangeTheProjectEscapeSavesItAndAChunkStaysAChunk)
{
    hosttest::TempFolder folder;
    ASSERT_EQ(hosttest::runProgram(folder, kProgram, {"project", "import", kDemo, "song.chunk"}).exitCode, 0);
    const std::string original = hosttest::readText(folder.file("song.chunk"));

    {
        hosttest::Child untouched(folder, kProgram, editArgs(folder, "song.chunk", {"--print"}));
        const uint64_t window = editWindow(untouched);
        ASSERT_NE(window, 0u) << untouched.err();
        // A key typed before the editor is up, or with the pointer elsewhere, reaches no one.
        ASSERT_TRUE(untouched.says(kFirstNote, 20)) << untouched.out();
        desktop::pointInto(window);
        desktop::typeKey("Escape");
        ASSERT_EQ(untouched.finish(30), 0) << untouched.err();
        EXPECT_NE(untouched.out().find("No changes"), std::string::npos) << untouched.out();
        EXPECT_EQ(hosttest::readText(folder.file("song.chunk")), original);
    }

    hosttest::Child edit(folder, kProgram, editArgs(folder, "song.chunk", {"--print"}));
    const uint64_t window = editWindow(edit);
    ASSERT_NE(window, 0u) << edit.err();
    ASSERT_TRUE(edit.says(kFirstNote, 20)) << edit.out();
    desktop::pointInto(window);
    desktop::typeKey("equal");        // Length of pattern 1: 17
    desktop::typeKey("bracketright"); // Pattern Select 2
    desktop::typeKey("x");            // Clear pattern 2
    desktop::typeKey("Escape");
    ASSERT_EQ(edit.finish(30), 0) << edit.err();
    EXPECT_NE(edit.out().find("Length: 17"), std::string::npos) << edit.out();
    EXPECT_NE(edit.out().find("Pattern Select: 2"), std::string::npos) << edit.out();

    const std::string bytes = hosttest::readText(folder.file("song.chunk"));
    Project saved;
    std::string error;
    ASSERT_TRUE(decodeChunk(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), saved, error))
        << "still a chunk: " << error;
    const Project before = demo();
    EXPECT_EQ(saved.patterns[0].length, 17);
    EXPECT_EQ(saved.current, 1);
    EXPECT_EQ(saved.patterns[1].steps, ProjectPattern{}.steps) << "pattern 2 cleared";
    EXPECT_EQ(saved.patterns[2], before.patterns[2]);
}

TEST_F(EditorWindow, AProjectChangedOnDiskIsKeptAndTheEditsGoBesideIt)
{
    hosttest::TempFolder folder;
    const std::string demoText = hosttest::readText(kDemo);
    hosttest::writeText(folder.file("song.tremolin"), demoText);
    hosttest::Child edit(folder, kProgram, editArgs(folder, "song.tremolin", {"--print"}));
    const uint64_t window = editWindow(edit);
    ASSERT_NE(window, 0u) << edit.err();
    ASSERT_TRUE(edit.says(kFirstNote, 20)) << edit.out();
    desktop::pointInto(window);
    desktop::typeKey("Up");
    // Meanwhile another session, or a `git pull`, saves the project.
    const std::string pulled = demoText + "# pulled\n";
    hosttest::writeText(folder.file("song.tremolin"), pulled);
    desktop::typeKey("Escape");
    ASSERT_EQ(edit.finish(30), 1);
    EXPECT_NE(edit.err().find("changed on disk since it was read"), std::string::npos) << edit.err();
    EXPECT_EQ(hosttest::readText(folder.file("song.tremolin")), pulled);
    Project beside;
    std::string error;
    ASSERT_TRUE(loadProjectFile(folder.file("song.conflict.tremolin"), beside, error)) << error;
    EXPECT_EQ(beside.patterns[0].steps[0].note, demo().patterns[0].steps[0].note + 1) << "the edit is there";
}

TEST_F(EditorWindow, ClosingTheTerminalSavesAsAKillDoes)
{
    hosttest::TempFolder folder;
    hosttest::writeText(folder.file("song.tremolin"), hosttest::readText(kDemo));
    hosttest::Child edit(folder, kProgram, editArgs(folder, "song.tremolin", {"--print"}));
    const uint64_t window = editWindow(edit);
    ASSERT_NE(window, 0u) << edit.err();
    ASSERT_TRUE(edit.says(kFirstNote, 20)) << edit.out();
    desktop::pointInto(window);
    desktop::typeKey("Up");
    ASSERT_TRUE(edit.says("note C#1 (37)", 20)) << "the edit arrived: " << edit.out();
    if (!edit.hangUp()) GTEST_SKIP() << "this system has no hang-up signal to send";
    ASSERT_EQ(edit.finish(30), 0) << edit.err();
    Project saved;
    std::string error;
    ASSERT_TRUE(loadProjectFile(folder.file("song.tremolin"), saved, error)) << error;
    EXPECT_EQ(saved.patterns[0].steps[0].note, demo().patterns[0].steps[0].note + 1);
}

TEST_F(EditorWindow, WhenTheSaveAtTheEndFailsTheEditsGoToARescueCopyThatIsNamed)
{
    hosttest::TempFolder folder;
    std::filesystem::create_directory(folder.file("songs"));
    hosttest::writeText(folder.file("songs/song.tremolin"), hosttest::readText(kDemo));
    const std::string config = folder.file("config");
    hosttest::Child edit(folder, kProgram,
                         {"edit", "--project", folder.file("songs/song.tremolin"), "--settings",
                          folder.file("settings"), "--print"},
                         {{"XDG_CONFIG_HOME", config}, {"APPDATA", config}});
    const uint64_t window = editWindow(edit);
    ASSERT_NE(window, 0u) << edit.err();
    ASSERT_TRUE(edit.says(kFirstNote, 20)) << edit.out();
    desktop::pointInto(window);
    desktop::typeKey("Up");
    ASSERT_TRUE(edit.says("note C#1 (37)", 20)) << "the edit arrived: " << edit.out();
    // The folder goes away under the session (a drive unplugged, a checkout switched): neither the
    // project nor a copy beside it can be written any more.
    std::filesystem::rename(folder.file("songs"), folder.file("gone"));
    desktop::typeKey("Escape");
    ASSERT_EQ(edit.finish(30), 1);
    const std::string rescue = config + "/tremolin-host/rescue/song.rescue.tremolin";
    EXPECT_NE(edit.err().find("a rescue copy is in '"), std::string::npos) << edit.err();
    EXPECT_NE(edit.err().find("song.rescue.tremolin"), std::string::npos) << edit.err();
    Project rescued;
    std::string error;
    ASSERT_TRUE(loadProjectFile(rescue, rescued, error)) << error;
    EXPECT_EQ(rescued.patterns[0].steps[0].note, demo().patterns[0].steps[0].note + 1) << "the edit is kept";
    EXPECT_EQ(hosttest::readText(folder.file("gone/song.tremolin")), hosttest::readText(kDemo));
}

TEST_F(EditorWindow, APanelButtonReachesTheModuleWhileThePatternPlays)
{
    hosttest::TempFolder folder;
    hosttest::writeText(folder.file("song.tremolin"), hosttest::readText(kDemo));
    hosttest::Child edit(folder, kProgram, editArgs(folder, "song.tremolin", {"--print"}));
    const uint64_t window = editWindow(edit);
    ASSERT_NE(window, 0u) << edit.err();
    ASSERT_TRUE(edit.says(kFirstNote, 20)) << edit.out();
    // "Shift Octave Up", where the module's template puts it.
    desktop::click(window, 24 + 16, 17 + 10);
    EXPECT_TRUE(edit.says("note C2 (48)", 20)) << "the pattern plays an octave up: " << edit.out();
    desktop::requestClose(window);
    ASSERT_EQ(edit.finish(30), 0) << edit.err();
    Project saved;
    std::string error;
    ASSERT_TRUE(loadProjectFile(folder.file("song.tremolin"), saved, error)) << error;
    EXPECT_EQ(saved.patterns[0].steps[0].note, demo().patterns[0].steps[0].note + 12);
}

TEST_F(EditorWindow, ConfigOpensTheControllerSetupWindowAndCancelClosesIt)
{
    hosttest::TempFolder folder;
    hosttest::writeText(folder.file("song.tremolin"), hosttest::readText(kDemo));
    hosttest::Child edit(folder, kProgram,
                         editArgs(folder, "song.tremolin", {"--print", "--language", "de"}));
    const uint64_t window = editWindow(edit);
    ASSERT_NE(window, 0u) << edit.err();
    ASSERT_TRUE(edit.says(kFirstNote, 20)) << edit.out();
    desktop::click(window, 47 + 86 + 23, 294 + 10); // "Config"
    const uint64_t dialog = desktop::findWindow("Controller Einstellungen", 10);
    ASSERT_NE(dialog, 0u) << "the dialog, titled in the module's German: " << edit.err();
    int width = 0, height = 0;
    desktop::size(dialog, width, height);
    EXPECT_EQ(width, 300) << "the template's two lists side by side";
    EXPECT_EQ(height, 220 + 36) << "and the buttons below";
    desktop::click(dialog, 220 + 36, 227 + 11); // Cancel
    for (int attempt = 0; attempt < 100 && desktop::findWindow("Controller Einstellungen", 0); ++attempt)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(desktop::findWindow("Controller Einstellungen", 0), 0u) << "Cancel closed it";
    // The panel takes the pointer again, and the pattern still plays the first lane to 71.
    EXPECT_TRUE(edit.says("controller 71 (", 10)) << edit.out();
    desktop::requestClose(window);
    ASSERT_EQ(edit.finish(30), 0) << edit.err();
    EXPECT_EQ(hosttest::readText(folder.file("settings")).find("Controller1 = 7\n"), std::string::npos);
}

TEST_F(EditorWindow, AWiderPanelKeepsItsProjectSectionCentredAndSaveKeepsTheDemoAsAPreset)
{
    hosttest::TempFolder folder;
    const std::string data = folder.file("data");
    // Without --project the session edits the demo, which Save never overwrites.
    hosttest::Child edit(folder, kProgram, {"edit", "--settings", folder.file("settings"), "--print"},
                         {{"XDG_DATA_HOME", data}, {"APPDATA", data}});
    const uint64_t window = editWindow(edit);
    ASSERT_NE(window, 0u) << edit.err();
    ASSERT_TRUE(edit.says(kFirstNote, 20)) << edit.out();
    // The template's row for the section is attached left and right and centres it: 130 pixels
    // more move the section's Save button by 65.
    desktop::resize(window, 670 + 130, 364);
    int width = 0, height = 0;
    for (int attempt = 0; attempt < 50 && width != 800; ++attempt)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        desktop::size(window, width, height);
    }
    ASSERT_EQ(width, 800);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    desktop::click(window, 20 + 224 + 154 + 24 + 65, 17 + 10);
    const std::string preset = data + "/tremolin-host/presets/Project 1.tremolin";
    EXPECT_TRUE(edit.says("Saved ", 10)) << edit.out();
    desktop::requestClose(window);
    ASSERT_EQ(edit.finish(30), 0) << edit.err();
    EXPECT_EQ(hosttest::readText(preset), hosttest::readText(kDemo))
        << "the demo as it was, in the preset folder";
}
