#include "host/projectfile.h"
#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

using namespace hostkit;

namespace
{
uint32_t bitsOf(float value)
{
    uint32_t bits;
    std::memcpy(&bits, &value, 4);
    return bits;
}

float fromBits(uint32_t bits)
{
    float value;
    std::memcpy(&value, &bits, 4);
    return value;
}

// A chunk of random bytes behind a valid head: every field any value, gates any bit pattern
// (NaNs with payloads, infinities, -0, subnormals), reserved bytes 0.
std::vector<uint8_t> randomChunk(std::mt19937& random)
{
    std::vector<uint8_t> chunk(kProjectChunkSize);
    for (uint8_t& byte : chunk)
        byte = static_cast<uint8_t>(random());
    const uint8_t head[8] = {0x54, 0x72, 0x4D, 0x6F, 0x00, 0x00, 0x01, 0x05};
    std::memcpy(chunk.data(), head, 8);
    std::memset(chunk.data() + kProjectChunkSize - kProjectReservedSize, 0, kProjectReservedSize);
    return chunk;
}

// A project as a person would make one: a few patterns with plausible values.
Project plausibleProject(std::mt19937& random)
{
    Project project;
    std::uniform_int_distribution<int> pick(0, 199), note(-1, 127), value(0, 127), gatePercent(0, 100);
    for (int n = 0; n < 6; ++n)
    {
        ProjectPattern& pattern = project.patterns[static_cast<size_t>(pick(random))];
        pattern.length = 1 + value(random) % 32;
        static const int32_t quantizes[] = {960, 480, 320, 240, 160, 120, 80, 60, 40, 30, 15, 100};
        pattern.quantize = quantizes[value(random) % 12];
        pattern.swing = value(random) % 101;
        for (ProjectStep& step : pattern.steps)
        {
            if (value(random) % 3) continue;
            step.note = note(random);
            step.velocity = value(random);
            step.gate = static_cast<float>(gatePercent(random)) / 100.0f;
            step.controller1 = value(random) % 2 ? value(random) : 0;
            step.controller2 = value(random) % 2 ? value(random) : 0;
            step.tie = value(random) % 4 == 0;
        }
    }
    project.current = pick(random);
    return project;
}
} // namespace

TEST(ProjectText, NoteNamesFollowTheModulesOctaves)
{
    EXPECT_EQ(noteText(60), "C3");
    EXPECT_EQ(noteText(61), "C#3");
    EXPECT_EQ(noteText(24), "C") << "octave 0 has no digit";
    EXPECT_EQ(noteText(35), "B");
    EXPECT_EQ(noteText(36), "C1");
    EXPECT_EQ(noteText(12), "C-1");
    EXPECT_EQ(noteText(0), "C-2");
    EXPECT_EQ(noteText(127), "G8");
    for (int32_t note = 0; note <= 127; ++note)
    {
        int32_t back = -99;
        ASSERT_TRUE(parseNoteName(noteText(note), back)) << noteText(note);
        EXPECT_EQ(back, note);
    }
    int32_t note = 0;
    for (const char* wrong : {"H3", "E#3", "C0", "c3", "C+3", "C#", "3", "", "Cb3", "C3x"})
    {
        if (std::string(wrong) == "C#") continue; // a real name: C# of octave 0
        EXPECT_FALSE(parseNoteName(wrong, note)) << wrong;
    }
    ASSERT_TRUE(parseNoteName("C#", note));
    EXPECT_EQ(note, 25);
}

TEST(ProjectChunk, LayoutIsTheModulesBigEndianChunk)
{
    Project project;
    project.patterns[2].steps[3] = {60, 100, 0.5f, 71, 0, 1};
    project.patterns[2].swing = 52;
    project.current = 2;
    const std::vector<uint8_t> chunk = encodeChunk(project);
    ASSERT_EQ(chunk.size(), 156140u);
    const uint8_t head[8] = {0x54, 0x72, 0x4D, 0x6F, 0x00, 0x00, 0x01, 0x05};
    EXPECT_EQ(std::memcmp(chunk.data(), head, 8), 0);
    const uint8_t step[24] = {0, 0, 0, 60, 0, 0, 0, 100, 0x3F, 0, 0, 0, 0, 0, 0, 71, 0, 0, 0, 0, 0, 0, 0, 1};
    EXPECT_EQ(std::memcmp(chunk.data() + 8 + 780 * 2 + 24 * 3, step, 24), 0);
    const uint8_t header[12] = {0, 0, 0, 16, 0, 0, 0, 120, 0, 0, 0, 52};
    EXPECT_EQ(std::memcmp(chunk.data() + 8 + 780 * 2 + 768, header, 12), 0);
    const uint8_t defaultStep[24] = {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 64, 0x3F, 0x80, 0, 0};
    EXPECT_EQ(std::memcmp(chunk.data() + 8, defaultStep, 24), 0);
    EXPECT_EQ(chunk[156011], 2);

    Project back;
    std::string error;
    ASSERT_TRUE(decodeChunk(chunk.data(), chunk.size(), back, error)) << error;
    EXPECT_EQ(back, project);

    std::vector<uint8_t> damaged = chunk;
    damaged[7] = 4;
    EXPECT_FALSE(decodeChunk(damaged.data(), damaged.size(), back, error));
    EXPECT_NE(error.find("version 260"), std::string::npos) << error;
    EXPECT_FALSE(decodeChunk(chunk.data(), chunk.size() - 1, back, error));
    EXPECT_NE(error.find("156139 bytes"), std::string::npos) << error;
    damaged = chunk;
    damaged[0] = 'X';
    EXPECT_FALSE(decodeChunk(damaged.data(), damaged.size(), back, error));
}

TEST(ProjectText, ChunkToTextToChunkKeepsEveryByte)
{
    std::mt19937 random(20260611);
    for (int round = 0; round < 12; ++round)
    {
        const std::vector<uint8_t> chunk = randomChunk(random);
        Project project;
        std::string error;
        ASSERT_TRUE(decodeChunk(chunk.data(), chunk.size(), project, error)) << error;
        const std::string text = writeProjectText(project);
        Project back;
        ASSERT_TRUE(readProjectText(text, back, error)) << error;
        ASSERT_EQ(encodeChunk(back), chunk) << "round " << round;
    }
    // The awkward gates by name, so that a failure says which.
    Project project;
    const uint32_t gates[] = {0x7FC00000, 0xFFC00001, 0x7F800001, 0x7F800000, 0xFF800000,
                              0x80000000, 0x00000001, 0x3DCCCCCD, 0x3F7FFFFF};
    for (size_t i = 0; i < std::size(gates); ++i)
        project.patterns[0].steps[i].gate = fromBits(gates[i]);
    Project back;
    std::string error;
    ASSERT_TRUE(readProjectText(writeProjectText(project), back, error)) << error;
    for (size_t i = 0; i < std::size(gates); ++i)
        EXPECT_EQ(bitsOf(back.patterns[0].steps[i].gate), gates[i]) << std::hex << gates[i];
}

TEST(ProjectText, TextToChunkToTextIsTheSameText)
{
    std::mt19937 random(7);
    for (int round = 0; round < 20; ++round)
    {
        const std::string text = writeProjectText(plausibleProject(random));
        Project project;
        std::string error;
        ASSERT_TRUE(readProjectText(text, project, error)) << error;
        const std::vector<uint8_t> chunk = encodeChunk(project);
        Project back;
        ASSERT_TRUE(decodeChunk(chunk.data(), chunk.size(), back, error));
        ASSERT_EQ(writeProjectText(back), text);
    }
    // The demo project is kept in the writer's own form.
    const std::string demo = hosttest::readText(TREMOLIN_SOURCE_DIR "/examples/demo.tremolin");
    Project project;
    std::string error;
    ASSERT_TRUE(readProjectText(demo, project, error)) << error;
    EXPECT_EQ(writeProjectText(project), demo);
}

TEST(ProjectText, WritesOnlyWhatDiffersFromTheDefault)
{
    Project project;
    project.current = 4;
    project.patterns[9].steps[2].velocity = 100; // an empty step that is not default
    const std::string text = writeProjectText(project);
    EXPECT_NE(text.find("current 5\n"), std::string::npos);
    EXPECT_NE(text.find("\npattern 5  length 16  quantize 1/16  swing 0\n"), std::string::npos)
        << "the current pattern is written although it is default";
    EXPECT_NE(text.find("\npattern 10  length 16"), std::string::npos);
    EXPECT_NE(text.find("\n     3  -      100  1         0    0  -\n"), std::string::npos) << text;
    size_t patterns = 0;
    for (size_t at = text.find("\npattern "); at != std::string::npos; at = text.find("\npattern ", at + 1))
        ++patterns;
    EXPECT_EQ(patterns, 2u);
}

TEST(ProjectText, ReadsHandWrittenProjects)
{
    const std::string text = "# a hand-written project\r\n"
                             "current 2\r\n"
                             "pattern 2 swing 25 quantize 240\n"
                             "  1 C3 100 0.5 0 0 -\n"
                             "\t2\tC3\t100\t.25\t1\t2\ttie\n"
                             "  3 61 90 1 0 0 0\n"
                             "  32 B-1 1 0x3F000000 127 127 7\n"
                             "pattern 200 length 32 quantize 1/32T\n";
    Project project;
    std::string error;
    ASSERT_TRUE(readProjectText(text, project, error)) << error;
    EXPECT_EQ(project.current, 1);
    const ProjectPattern& two = project.patterns[1];
    EXPECT_EQ(two.swing, 25);
    EXPECT_EQ(two.quantize, 240);
    EXPECT_EQ(two.length, 16);
    EXPECT_EQ(two.steps[0], (ProjectStep{60, 100, 0.5f, 0, 0, 0}));
    EXPECT_EQ(two.steps[1], (ProjectStep{60, 100, 0.25f, 1, 2, 1}));
    EXPECT_EQ(two.steps[2], (ProjectStep{61, 90, 1.0f, 0, 0, 0}));
    EXPECT_EQ(two.steps[31], (ProjectStep{23, 1, 0.5f, 127, 127, 7}));
    EXPECT_TRUE(two.steps[3] == ProjectStep{});
    EXPECT_EQ(project.patterns[199].length, 32);
    EXPECT_EQ(project.patterns[199].quantize, 40);
    EXPECT_TRUE(project.patterns[0].isDefault());
}

TEST(ProjectText, FaultsNameTheirLine)
{
    const std::pair<const char*, const char*> faults[] = {
        {"pattern 1\n 1 H3 100 1 0 0 -\n", "line 2: 'H3' is not a note"},
        {"pattern 1\n 1 C3 100 1 0 0\n", "line 2: a step takes 7 columns"},
        {"pattern 1\n 33 C3 100 1 0 0 -\n", "line 2: '33' is not a step number"},
        {"pattern 201\n", "line 1: 'pattern' takes a number from 1 to 200"},
        {"pattern 1\n 4 C3 1 1 0 0 -\n 4 D3 1 1 0 0 -\n", "line 3: step 4 is given twice"},
        {"pattern 3\npattern 3\n", "line 2: pattern 3 is given twice"},
        {"\n 1 C3 100 1 0 0 -\n", "line 2: '1' stands before any 'pattern' line"},
        {"pattern 1 quantize 1/5\n", "line 1: '1/5' is not a step size"},
        {"pattern 1 length\n", "line 1: 'length' has no value"},
        {"pattern 1 tempo 3\n", "line 1: 'tempo' is not a pattern setting"},
        {"pattern 1\n 1 C3 100 half 0 0 -\n", "line 2: 'half' is not a gate"},
        {"pattern 1\n 1 C3 4294967296 1 0 0 -\n", "line 2: '4294967296' is not a velocity"},
        {"pattern 1\n 1 C3 1 1 0 0 maybe\n", "line 2: 'maybe' is not a tie"},
        {"current 1 2\n", "line 1: 'current' takes one pattern number"},
        {"current 1\ncurrent 2\n", "line 2: the current pattern is given twice"},
    };
    for (const auto& [text, expected] : faults)
    {
        Project project;
        std::string error;
        EXPECT_FALSE(readProjectText(text, project, error)) << text;
        EXPECT_EQ(error.rfind(expected, 0), 0u) << "for:\n" << text << "got: " << error;
    }
}

TEST(ProjectFiles, FormIsToldByContentAndSavedWithoutLeftovers)
{
    hosttest::TempFolder folder;
    Project project;
    project.patterns[0].steps[0].note = 48;
    std::string error;
    // Names say nothing: a chunk called .txt and a text called .chunk.
    ASSERT_TRUE(saveProjectFile(folder.file("a.txt"), project, false, error)) << error;
    ASSERT_TRUE(saveProjectFile(folder.file("b.chunk"), project, true, error)) << error;
    Project a, b;
    ASSERT_TRUE(loadProjectFile(folder.file("a.txt"), a, error)) << error;
    ASSERT_TRUE(loadProjectFile(folder.file("b.chunk"), b, error)) << error;
    EXPECT_EQ(a, project);
    EXPECT_EQ(b, project);

    std::string chunk = hosttest::readText(folder.file("a.txt"));
    hosttest::writeText(folder.file("short"), chunk.substr(0, 1000));
    EXPECT_FALSE(loadProjectFile(folder.file("short"), a, error));
    EXPECT_EQ(error, "The project file '" + folder.file("short") +
                         "' is a damaged chunk: it has 1000 bytes instead of 156140.");
    hosttest::writeText(folder.file("binary"), std::string("MThd\0\0\0\6", 8));
    EXPECT_FALSE(loadProjectFile(folder.file("binary"), a, error));
    EXPECT_NE(error.find("neither a project chunk nor a project text"), std::string::npos);
    EXPECT_FALSE(loadProjectFile(folder.file("missing"), a, error));
    EXPECT_NE(error.find("Can't read the project file"), std::string::npos);

    EXPECT_FALSE(saveProjectFile(folder.file("no/such/folder/p.tremolin"), project, true, error));
    EXPECT_EQ(error.rfind("Can't write '", 0), 0u);
    const std::vector<std::string> left = folder.names();
    EXPECT_EQ(left.size(), 4u) << "no temporary file stays behind";
}
