// The tests' own MIDI file reader, which stands in for midicsv where there is none.

#include "tests/host/midireader.h"

#include "host/kit/midifile.h"
#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

using namespace hostkit;

namespace
{
// Every kind of channel message the host can write, with a track name that needs escapes.
std::vector<uint8_t> everyKindOfMessage()
{
    const std::vector<MidiMessage> timeline = {
        {0, 0x93, 60, 100}, {10, 0x83, 60, 0}, {10, 0xA4, 61, 7},      {20, 0xB5, 74, 127},
        {30, 0xC6, 12, 0},  {40, 0xD7, 99, 0}, {50, 0xE8, 0x11, 0x46}, {70000, 0x9F, 127, 1},
    };
    return writeMidiFile(timeline, 133.0, "Bass \"A\" \\ \t\x7f\x85 caf\xc3\xa9");
}
} // namespace

#ifdef TREMOLIN_TEST_MIDICSV
TEST(MidiReader, ReadsTheHostsFilesAsMidicsvDoes)
{
    hosttest::TempFolder folder;
    const auto rendered = hosttest::runProgram(folder, TREMOLIN_HOST_PROGRAM,
                                               {"render", "--module", hosttest::fakeModule(1), "--settings",
                                                "settings", "--bars", "3", "--channel", "16", "--switch",
                                                "2:C#1", "--out", "rendered.mid"});
    ASSERT_EQ(rendered.exitCode, 0) << rendered.err;
    const std::vector<uint8_t> written = everyKindOfMessage();
    hosttest::writeText(folder.file("written.mid"), std::string(written.begin(), written.end()));

    for (const std::string name : {"rendered.mid", "written.mid"})
    {
        const auto csv = hosttest::runProgram(folder, TREMOLIN_TEST_MIDICSV, {name});
        ASSERT_EQ(csv.exitCode, 0) << csv.err;
        const std::string bytes = hosttest::readText(folder.file(name));
        std::string error;
        EXPECT_EQ(hosttest::midiFileAsCsv(std::vector<uint8_t>(bytes.begin(), bytes.end()), error), csv.out)
            << name;
        EXPECT_EQ(error, "");
    }
}
#endif

TEST(MidiReader, RunningStatusIsReadAndDamageIsReportedNotGuessed)
{
    // Note-on, then a second one in running status, then the end.
    const std::vector<uint8_t> file = {'M', 'T',  'h', 'd', 0,   0,   0,   6, 0,    0,    0,
                                       1,   0,    96,  'M', 'T', 'r', 'k', 0, 0,    0,    11,
                                       0,   0x91, 60,  100, 5,   62,  0,   0, 0xFF, 0x2F, 0};
    std::string error;
    EXPECT_EQ(hosttest::midiFileAsCsv(file, error), "0, 0, Header, 0, 1, 96\n1, 0, Start_track\n"
                                                    "1, 0, Note_on_c, 1, 60, 100\n1, 5, Note_on_c, 1, 62, 0\n"
                                                    "1, 5, End_track\n0, 0, End_of_file\n");
    EXPECT_EQ(error, "");

    // Cut anywhere, the file is refused with a reason.
    const std::vector<uint8_t> whole = everyKindOfMessage();
    for (size_t size = 0; size < whole.size(); ++size)
    {
        error.clear();
        EXPECT_EQ(hosttest::midiFileAsCsv(std::vector<uint8_t>(whole.begin(), whole.begin() + size), error),
                  "");
        EXPECT_NE(error, "") << size << " bytes";
    }
    // A system exclusive message is not what the host writes: refused, not skipped.
    std::vector<uint8_t> sysex = file;
    sysex[21] = 15;
    sysex.insert(sysex.end() - 4, {0, 0xF0, 1, 0xF7});
    EXPECT_EQ(hosttest::midiFileAsCsv(sysex, error), "");
    EXPECT_NE(error.find("system event 240"), std::string::npos) << error;
}
