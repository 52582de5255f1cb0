// Saves on Windows: a link stays a link and the file it names takes the save.

#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
const std::string kProgram = TREMOLIN_HOST_PROGRAM;
} // namespace

TEST(HostFilesWin32, ASaveReplacesTheFileALinkNames)
{
    hosttest::TempFolder folder;
    std::filesystem::create_directory(folder.path / "repo");
    hosttest::writeText(folder.file("repo/p.tremolin"), "current 1\n");
    std::error_code error;
    std::filesystem::create_symlink(folder.path / "repo" / "p.tremolin", folder.path / "link.tremolin",
                                    error);
    if (error)
        GTEST_SKIP() << "this system lets this user make no symbolic link (" << error.message()
                     << "), so a save through one can't be shown";
    const auto result =
        hosttest::runProgram(folder, kProgram, {"project", "import", "link.tremolin", "link.tremolin"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path / "link.tremolin")) << "the link stays a link";
    EXPECT_EQ(hosttest::readText(folder.file("repo/p.tremolin")).substr(0, 4), "TrMo")
        << "the file it names is the chunk now";
}
