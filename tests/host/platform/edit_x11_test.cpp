// The editor commands where there is no X display to open their window on.

#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

TEST(EditCommand, WithoutADisplayEditAndSnapshotSaySoAndTouchNothing)
{
    const std::string demo = TREMOLIN_SOURCE_DIR "/examples/demo.tremolin";
    hosttest::TempFolder folder;
    hosttest::writeText(folder.file("song.tremolin"), hosttest::readText(demo));
    for (const std::string command : {"edit", "snapshot"})
    {
        std::vector<std::string> args = {command,     "--module",      hosttest::fakeModule(1),
                                         "--project", "song.tremolin", "--settings",
                                         "settings"};
        if (command == "snapshot") args.insert(args.end(), {"--out", "editor.png"});
        const auto result =
            hosttest::runProgram(folder, TREMOLIN_HOST_PROGRAM, args, {{"DISPLAY", std::nullopt}});
        EXPECT_EQ(result.exitCode, 1) << command;
        EXPECT_EQ(result.err,
                  "tremolin-host: There is no display for the editor's window: DISPLAY is not set.\n")
            << command;
    }
    EXPECT_EQ(hosttest::readText(folder.file("song.tremolin")), hosttest::readText(demo));
    EXPECT_EQ(folder.names(), std::vector<std::string>{"song.tremolin"}) << "no picture, no settings";
}
