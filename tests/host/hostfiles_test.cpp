// What tremolin-host does with the user's files when they are damaged, huge, or the same file
// under two names: refusals in one sentence, never a crash and never a lost file.

#include "host/projectfile.h"
#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

using namespace hostkit;
using hosttest::runProgram;
using Args = std::vector<std::string>;

namespace
{
const std::string kProgram = TREMOLIN_HOST_PROGRAM;
const std::string kFake = hosttest::fakeModule(1);

constexpr auto render = &hosttest::renderWithFake;

bool says(const hosttest::CommandResult& result, const std::string& text)
{
    return result.err.find(text) != std::string::npos;
}
} // namespace

TEST(HostFiles, ACutModuleFileIsDamagedAndABareNameIsTheFileHere)
{
    hosttest::TempFolder folder;
    const std::string whole = hosttest::readText(kFake);
    const std::string name = "copy" + hosttest::moduleSuffix();
    hosttest::writeText(folder.file(name), whole.substr(0, 1000));
    const auto cut = runProgram(folder, kProgram, {"info", "--module", name});
    EXPECT_EQ(cut.exitCode, 1) << cut.err;
    EXPECT_TRUE(says(cut, "The file '" + name + "' is damaged: it ends at byte 1000")) << cut.err;

    // Whole again, named without a folder as a user in that folder names it.
    hosttest::writeText(folder.file(name), whole);
    const auto here = runProgram(folder, kProgram, {"info", "--module", name});
    EXPECT_EQ(here.exitCode, 0) << here.err;
    EXPECT_NE(here.out.find("Fake Works"), std::string::npos) << here.out;
}

TEST(HostFiles, ProjectsThatCantBeOneAreRefusedWithWhatIsWrong)
{
    hosttest::TempFolder folder;
    const auto refusal = [&](const std::string& content)
    {
        hosttest::writeText(folder.file("p.tremolin"), content);
        const auto result = render(folder, {"--project", "p.tremolin", "--print"});
        EXPECT_EQ(result.exitCode, 1) << content.substr(0, 40);
        EXPECT_EQ(result.out, "");
        return result.err;
    };
    EXPECT_NE(refusal("").find("'p.tremolin' is empty."), std::string::npos);
    EXPECT_NE(refusal("Tr").find("'p.tremolin' is a damaged chunk: it has only 2 bytes"), std::string::npos);
    EXPECT_NE(
        refusal("pattern 1\n  1 C1 100 inf 0 0 -\n").find("line 2: 'inf' is not a gate a step can have"),
        std::string::npos);
    EXPECT_NE(refusal("pattern 1\n  1 C1 100 1e30 0 0 -\n").find("line 2: '1e30'"), std::string::npos);
    // Control characters are shown as escapes, and a huge word is cut.
    const std::string hostile = refusal("\x1B]0;owned\x07" + std::string(100000, 'x') + "\n");
    EXPECT_NE(hostile.find("line 1: '\\x1B]0;owned\\x07xxx"), std::string::npos) << hostile;
    EXPECT_EQ(hostile.find('\x1B'), std::string::npos);
    EXPECT_LT(hostile.size(), 300u);

    // Larger than any project: refused before it is read whole.
    hosttest::writeText(folder.file("huge.tremolin"), "");
    std::filesystem::resize_file(folder.path / "huge.tremolin", std::uintmax_t(1) << 31);
    const auto huge = render(folder, {"--project", "huge.tremolin", "--print"});
    EXPECT_EQ(huge.exitCode, 1);
    EXPECT_TRUE(says(huge, "'huge.tremolin' is larger than a project can be")) << huge.err;

    // A byte-order mark before a text project is no part of it.
    hosttest::writeText(folder.file("bom.tremolin"), "\xEF\xBB\xBF# from a Windows editor\ncurrent 1\n");
    const auto bom = render(folder, {"--project", "bom.tremolin", "--print"});
    EXPECT_EQ(bom.exitCode, 0) << bom.err;
}

TEST(HostFiles, RenderWritesNoInputAndTheFileBeforeTheListing)
{
    hosttest::TempFolder folder;
    Project project;
    std::string error;
    ASSERT_TRUE(saveProjectFile(folder.file("p.tremolin"), project, true, error)) << error;
    const std::string before = hosttest::readText(folder.file("p.tremolin"));
    const auto same = render(folder, {"--project", "p.tremolin", "--out", "./p.tremolin"});
    EXPECT_EQ(same.exitCode, 1);
    EXPECT_TRUE(says(same, "The output './p.tremolin' is the project this render reads")) << same.err;
    EXPECT_EQ(hosttest::readText(folder.file("p.tremolin")), before);

    // "-" is standard output: the file's bytes and nothing else.
    const auto piped = render(folder, {"--project", "p.tremolin", "--out", "-"});
    EXPECT_EQ(piped.exitCode, 0) << piped.err;
    EXPECT_EQ(piped.out.substr(0, 4), "MThd");
    EXPECT_FALSE(std::filesystem::exists(folder.path / "-"));

    // A note below C1 selects nothing, so it is no switch.
    const auto low = render(folder, {"--project", "p.tremolin", "--print", "--switch", "2:35"});
    EXPECT_EQ(low.exitCode, 2);
    EXPECT_TRUE(says(low, "the note of --switch must be C1 (36) or higher")) << low.err;
}

TEST(HostFiles, ATemporaryThatAKilledWriteLeftIsRemovedAtTheNextSave)
{
    hosttest::TempFolder folder;
    Project project;
    std::string error;
    ASSERT_TRUE(saveProjectFile(folder.file("p.tremolin"), project, true, error)) << error;
    const std::string prefix = hostkit::platform::temporaryPrefix("p.tremolin");
    hosttest::writeText(folder.file(prefix + "a1B2c3"), "left by a killed write");
    hosttest::writeText(folder.file(prefix + "d4E5f6"), "a write going on right now");
    std::filesystem::last_write_time(folder.path / (prefix + "a1B2c3"),
                                     std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    // export tidies a text in place: a save of p.tremolin like any other.
    const auto result = runProgram(folder, kProgram, {"project", "export", "p.tremolin", "p.tremolin"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_FALSE(std::filesystem::exists(folder.path / (prefix + "a1B2c3")));
    EXPECT_TRUE(std::filesystem::exists(folder.path / (prefix + "d4E5f6"))) << "a fresh one may be in use";
    EXPECT_EQ(folder.names().size(), 2u);
}
