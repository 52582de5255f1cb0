// tremolin-host play on Windows (under Wine in CI): the list of MIDI output devices, one sentence
// for a device that is not there and for the Linux outputs, and a bar played into the first
// device where the system has one.

#ifdef TREMOLIN_MODULE_FILE

#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

namespace
{
const std::string kModule = TREMOLIN_MODULE_FILE;

hosttest::CommandResult play(const hosttest::TempFolder& folder, const std::vector<std::string>& more)
{
    std::vector<std::string> args = {"play", "--module", kModule, "--settings", "settings", "--bars", "1"};
    args.insert(args.end(), more.begin(), more.end());
    return hosttest::runProgram(folder, TREMOLIN_HOST_PROGRAM, args);
}
} // namespace

TEST(PlayWindows, ListsTheOutputsRefusesWhatIsNotThereAndPlaysIntoTheFirst)
{
    hosttest::TempFolder folder;
    const auto listed = hosttest::runProgram(folder, TREMOLIN_HOST_PROGRAM, {"play", "--list-outputs"});
    ASSERT_EQ(listed.exitCode, 0) << listed.err;
    const bool none = listed.out == "There is no MIDI output device.\n";
    EXPECT_TRUE(none || listed.out.rfind("0  ", 0) == 0) << listed.out;

    const auto missing = play(folder, {"--midi-out", "No Such Synth"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, "tremolin-host: There is no MIDI output 'No Such Synth'; tremolin-host play "
                           "--list-outputs lists them.\n");
    const auto beyond = play(folder, {"--midi-out", "99"});
    EXPECT_EQ(beyond.exitCode, 1);
    EXPECT_NE(beyond.err.find("There is no MIDI output '99'"), std::string::npos) << beyond.err;
    const auto jack = play(folder, {"--jack"});
    EXPECT_EQ(jack.exitCode, 1);
    EXPECT_NE(jack.err.find("--jack and --alsa are for the Linux build"), std::string::npos) << jack.err;

    if (none)
        GTEST_SKIP() << "The system offers no MIDI output device here, so nothing can be played into one.";
    const std::string first = listed.out.substr(3, listed.out.find('\n') - 3);
    const auto played = play(folder, {"--midi-out", "0"});
    EXPECT_EQ(played.exitCode, 0) << played.err;
    EXPECT_NE(played.out.find("into MIDI output " + first), std::string::npos) << played.out;
    EXPECT_NE(played.out.find("every note has ended"), std::string::npos) << played.out;
    // By its name as listed, in any case.
    std::string shouted = first;
    for (char& c : shouted)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_EQ(play(folder, {"--midi-out", shouted}).exitCode, 0);
}
#endif
