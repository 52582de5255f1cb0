// Saves on Linux: links, modes, devices and a closed pipe, through the program as a user runs it.

#include "host/projectfile.h"
#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

using namespace hostkit;

namespace
{
const std::string kProgram = TREMOLIN_HOST_PROGRAM;
const std::string kFake = hosttest::fakeModule(1);

std::string textProject(const hosttest::TempFolder& folder, const std::string& name)
{
    Project project;
    std::string error;
    EXPECT_TRUE(saveProjectFile(folder.file(name), project, true, error)) << error;
    return folder.file(name);
}
} // namespace

TEST(HostFilesPosix, ASaveReplacesTheFileALinkNamesAndKeepsItsMode)
{
    hosttest::TempFolder folder;
    std::filesystem::create_directory(folder.path / "repo");
    const std::string target = textProject(folder, "repo/p.tremolin");
    ASSERT_EQ(chmod(target.c_str(), 0640), 0);
    std::filesystem::create_symlink("repo/p.tremolin", folder.path / "link.tremolin");
    const auto result =
        hosttest::runProgram(folder, kProgram, {"project", "import", "link.tremolin", "link.tremolin"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path / "link.tremolin")) << "the link stays a link";
    EXPECT_EQ(hosttest::readText(target).substr(0, 4), "TrMo") << "the file it names is the chunk now";
    struct stat info;
    ASSERT_EQ(stat(target.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
}

TEST(HostFilesPosix, DevicesAreWrittenInPlaceNeverReplaced)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root may replace /dev/null, so only a test run as root shows that it is not";
    hosttest::TempFolder folder;
    const std::string project = textProject(folder, "p.tremolin");
    const auto result = hosttest::runProgram(
        folder, kProgram,
        {"render", "--module", kFake, "--project", project, "--settings", "/dev/null", "--out", "/dev/null"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    struct stat info;
    ASSERT_EQ(stat("/dev/null", &info), 0);
    EXPECT_TRUE(S_ISCHR(info.st_mode)) << "/dev/null is still the device";
    const auto toStdout = hosttest::runProgram(
        folder, kProgram,
        {"render", "--module", kFake, "--project", project, "--settings", "s", "--out", "/dev/stdout"});
    EXPECT_EQ(toStdout.exitCode, 0) << toStdout.err;
    EXPECT_EQ(toStdout.out.substr(0, 4), "MThd");
}

TEST(HostFilesPosix, AClosedPipeFailsTheRenderButNotItsFile)
{
    hosttest::TempFolder folder;
    const std::string project = textProject(folder, "p.tremolin");
    const std::string out = folder.file("song.mid");
    const std::string command = "cd '" + folder.path.string() + "' && bash -c 'set -o pipefail; \"" +
                                kProgram + "\" render --module \"" + kFake +
                                "\" --project p.tremolin --settings s --bars 500 " +
                                "--print --out song.mid | head -n 1 >/dev/null' 2>err.txt";
    const int status = std::system(command.c_str());
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1) << "the pipeline reports the lost listing";
    EXPECT_NE(hosttest::readText(folder.file("err.txt")).find("Standard output was closed"),
              std::string::npos);
    EXPECT_EQ(hosttest::readText(out).substr(0, 4), "MThd");
}
