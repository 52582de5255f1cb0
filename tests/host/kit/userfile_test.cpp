// The one way the host saves a user's file: a file changed since it was read is not overwritten,
// a save that fails leaves a rescue copy, and a module file is checked before it is loaded.

#include "host/kit/modulefilecheck.h"
#include "host/kit/userfile.h"
#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#ifndef _WIN32
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace hostkit;

namespace
{
std::vector<uint8_t> bytesOf(const std::string& text)
{
    return std::vector<uint8_t>(text.begin(), text.end());
}
} // namespace

TEST(UserFile, AFileChangedSinceItWasReadIsKeptAndTheNewVersionGoesBeside)
{
    hosttest::TempFolder folder;
    const std::string path = folder.file("song.tremolin");
    hosttest::writeText(path, "as loaded");
    const std::vector<uint8_t> loaded = bytesOf("as loaded");

    const SaveOutcome first = saveUserFile(path, "mine 1", 6, &loaded);
    EXPECT_EQ(first.kind, SaveOutcome::Kind::Saved);
    EXPECT_EQ(hosttest::readText(path), "mine 1");

    hosttest::writeText(path, "pulled from elsewhere"); // a second session, a `git pull`
    for (const char* expected : {"song.conflict.tremolin", "song.conflict-2.tremolin"})
    {
        const SaveOutcome beside = saveUserFile(path, "mine 2", 6, &loaded);
        EXPECT_EQ(beside.kind, SaveOutcome::Kind::Beside);
        EXPECT_EQ(beside.where, folder.file(expected));
        EXPECT_EQ(hosttest::readText(folder.file(expected)), "mine 2");
        EXPECT_NE(beside.sentence(path).find("changed on disk"), std::string::npos);
    }
    EXPECT_EQ(hosttest::readText(path), "pulled from elsewhere");
}

TEST(UserFile, AFailedSaveLeavesARescueCopyWhereOneCanBeWritten)
{
    hosttest::TempFolder folder;
    hosttest::ScopedEnvironment xdg("XDG_CONFIG_HOME", folder.file("config"));
    hosttest::ScopedEnvironment appData("APPDATA", folder.file("config"));
    // The project's folder is gone: neither it nor a copy beside it can be written.
    const std::string path = folder.file("gone/song.tremolin");
    const SaveOutcome rescued = saveUserFile(path, "edits", 5);
    ASSERT_EQ(rescued.kind, SaveOutcome::Kind::Rescued) << rescued.reason;
    EXPECT_EQ(rescued.where, folder.file("config/tremolin-host/rescue/song.rescue.tremolin"));
    EXPECT_EQ(hosttest::readText(rescued.where), "edits");
    const std::string sentence = rescued.sentence(path);
    EXPECT_EQ(sentence.rfind("Can't write '" + path + "': ", 0), 0u) << sentence;
    EXPECT_NE(sentence.find("a rescue copy is in '" + rescued.where + "'"), std::string::npos) << sentence;

    // An output that can be made again is only reported.
    const SaveOutcome output = saveUserFile(folder.file("gone/song.mid"), "MThd", 4, nullptr, false);
    EXPECT_EQ(output.kind, SaveOutcome::Kind::Failed);
    EXPECT_FALSE(std::filesystem::exists(folder.path / "config/tremolin-host/rescue/song.rescue.mid"));
}

#ifndef _WIN32
TEST(UserFile, AKillDuringTheWriteWaitsUntilTheFileIsWholeAndNoTemporaryIsLeft)
{
    hosttest::TempFolder folder;
    const std::string path = folder.file("song.chunk");
    hosttest::writeText(path, "as it was");
    // Large enough that the temporary exists for a while: the kill lands in the middle of it.
    std::vector<uint8_t> data(64u << 20);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<uint8_t>(i * 7 + (i >> 12));

    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
    {
        const SaveOutcome outcome = saveUserFile(path, data.data(), data.size());
        _exit(outcome.kind == SaveOutcome::Kind::Saved ? 0 : 3);
    }
    bool seen = false;
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0)
    {
        for (const auto& entry : std::filesystem::directory_iterator(folder.file("")))
            if (entry.path().filename().string().find(".tremolin-tmp-") != std::string::npos && !seen)
            {
                seen = true;
                kill(child, SIGTERM);
            }
    }
    ASSERT_TRUE(seen) << "the save ended before the test could interrupt it";
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM)
        << "the kill still ends the program, after the save";
    const std::string saved = hosttest::readText(path);
    ASSERT_EQ(saved.size(), data.size());
    EXPECT_EQ(std::memcmp(saved.data(), data.data(), data.size()), 0);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"song.chunk"});
}
#endif

TEST(ModuleFileCheck, HeadersThatPromiseMoreThanTheFileHoldsAreDamage)
{
    // A PE file with one section of 0x200 bytes at 0x400, cut at 0x500.
    std::vector<uint8_t> pe(0x600, 0);
    pe[0] = 'M';
    pe[1] = 'Z';
    pe[0x3C] = 0x80;
    std::memcpy(&pe[0x80], "PE\0\0", 4);
    pe[0x80 + 6] = 1;     // one section
    pe[0x80 + 20] = 0xF0; // optional header size
    const size_t section = 0x80 + 24 + 0xF0;
    pe[section + 17] = 0x02; // raw size 0x200
    pe[section + 21] = 0x04; // raw data at 0x400
    std::string reason;
    EXPECT_TRUE(moduleFileIsWhole(pe.data(), pe.size(), reason)) << reason;
    EXPECT_FALSE(moduleFileIsWhole(pe.data(), 0x500, reason));
    EXPECT_EQ(reason, "it ends at byte 1280, but its sections reach to byte 1536");
    EXPECT_FALSE(moduleFileIsWhole(pe.data(), 0x100, reason)) << "the section table itself is cut";

    // The module files of this build are whole, and cut to a tenth they are not.
    const std::string module = hosttest::readText(hosttest::fakeModule(1));
    const auto* bytes = reinterpret_cast<const uint8_t*>(module.data());
    EXPECT_TRUE(moduleFileIsWhole(bytes, module.size(), reason)) << reason;
    EXPECT_FALSE(moduleFileIsWhole(bytes, module.size() / 10, reason));
    EXPECT_FALSE(moduleFileIsWhole(bytes, 3, reason)) << "cut inside the magic";
    const uint8_t text[] = "not a module at all";
    EXPECT_TRUE(moduleFileIsWhole(text, sizeof text, reason)) << "the loader judges other files";
}
