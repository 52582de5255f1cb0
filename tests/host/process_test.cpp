// The helpers that run programs for the host's tests: what a program gets, and what comes back.

#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

using hosttest::runProgram;

namespace
{
const std::string kEcho = TREMOLIN_ECHO_PROGRAM;

std::string echoed(const std::vector<std::string>& args)
{
    std::string out;
    for (const std::string& arg : args)
        out += "[" + arg + "]\n";
    return out;
}
} // namespace

TEST(Process, ArgumentsAndEnvironmentArriveAsGivenInTheTestsFolder)
{
    hosttest::TempFolder folder;
    // Blanks, quotes and backslashes in every position a command line can spoil them, and what a
    // shell would expand.
    const std::vector<std::string> args = {"plain",
                                           "two words",
                                           "",
                                           "a \"quoted\" word",
                                           "\"",
                                           "trailing\\",
                                           "trailing space\\",
                                           "\\\\server\\share",
                                           "back\\\\\"quote",
                                           "tab\there",
                                           "$HOME",
                                           "'single'",
                                           "semi;colon&pipe|",
                                           "%PATH%"};
    hosttest::ScopedEnvironment kept("TREMOLIN_ECHO_KEPT", "from the test");
    hosttest::ScopedEnvironment unset("TREMOLIN_ECHO_UNSET", "not for the program");
    const auto result = runProgram(folder, kEcho, args,
                                   {{"TREMOLIN_ECHO_SET", "a = b"}, {"TREMOLIN_ECHO_UNSET", std::nullopt}});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out,
              "TREMOLIN_ECHO_SET=a = b\nTREMOLIN_ECHO_UNSET unset\nTREMOLIN_ECHO_KEPT=from the test\n" +
                  echoed(args));
    ASSERT_FALSE(result.err.empty());
    EXPECT_TRUE(std::filesystem::equivalent(result.err.substr(0, result.err.size() - 1), folder.path))
        << result.err;
    EXPECT_TRUE(folder.names().empty()) << "the output files are gone";
}

TEST(Process, ExitCodesFailedStartsAndProgramsInTheBackground)
{
    hosttest::TempFolder folder;
    EXPECT_EQ(runProgram(folder, kEcho, {"--exit", "3"}).exitCode, 3);
    const auto missing = runProgram(folder, folder.file("no such program"), {});
    EXPECT_EQ(missing.exitCode, -1);
    EXPECT_NE(missing.err.find("could not start"), std::string::npos) << missing.err;

    {
        hosttest::Child quick(folder, kEcho, {"--exit", "4"});
        EXPECT_EQ(quick.finish(60), 4);
        EXPECT_EQ(quick.finish(0), 4) << "asked again";
        EXPECT_EQ(quick.out(),
                  "TREMOLIN_ECHO_SET unset\nTREMOLIN_ECHO_UNSET unset\nTREMOLIN_ECHO_KEPT unset\n" +
                      echoed({"--exit", "4"}));
    }
    {
        hosttest::Child hanging(folder, kEcho, {"--hang", "waiting"});
        EXPECT_TRUE(hanging.says("[waiting]\n", 60)) << hanging.err();
        EXPECT_FALSE(hanging.says("never", 0));
        EXPECT_EQ(hanging.finish(0.1), -1) << "still running";
    } // killed here
    EXPECT_TRUE(folder.names().empty());
}
