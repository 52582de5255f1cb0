#include "foundation/fstreams.h"
#include "foundation/ornpath.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace
{
namespace fs = std::filesystem;

#ifdef _WIN32
constexpr bool kWindows = true;
#else
constexpr bool kWindows = false;
#endif

std::string textOf(const OrnPath& path)
{
    return path.getText() ? path.getText() : "";
}

// A fresh folder of this test's own, removed at the end.
class ScratchFolder
{
public:
    ScratchFolder()
    {
        const auto* info = testing::UnitTest::GetInstance()->current_test_info();
        folder = fs::temp_directory_path() / (std::string("ornpath-") + info->name());
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    ~ScratchFolder() { fs::remove_all(folder); }
    std::string text() const
    {
        const std::u8string utf8 = folder.u8string();
        return std::string(utf8.begin(), utf8.end());
    }

    fs::path folder;
};

TEST(OrnPathTest, ClassifiesTextsAlikeOnEveryPlatform)
{
    OrnPath path;
    EXPECT_EQ(path.classify("take.wav"), 1) << "file name with a three-letter extension";
    EXPECT_EQ(path.classify("take"), 2);
    EXPECT_EQ(path.classify("take.w"), 2) << "one-letter extension";
    EXPECT_EQ(path.classify("C:"), 1);
    EXPECT_EQ(path.classify("7:\\x"), 2) << "a digit is no drive";
    EXPECT_EQ(path.classify("\\\\server\\share"), 1);
    EXPECT_EQ(path.classify("http://example.org/a"), 1);
    EXPECT_EQ(path.classify("/home/x"), 3);
    EXPECT_EQ(path.classify("/a://b"), 3) << "the root comes before the URL";
    EXPECT_EQ(path.classify("abcdefghijklmnopqrstuvwxyz012345.wav"), 2) << "36 characters";
}

TEST(OrnPathTest, SetTextGivesThePlatformsOwnForm)
{
    OrnPath rooted("/data/set.bin");
    OrnPath drive("C:\\data\\set.bin");
    OrnPath share("\\\\server\\name\\f.txt");
    OrnPath relative("notes/take");
    if (kWindows)
    {
        EXPECT_EQ(textOf(rooted), "C:\\data\\set.bin");
        EXPECT_EQ(textOf(drive), "C:\\data\\set.bin");
        EXPECT_EQ(textOf(share), "\\\\server\\name\\f.txt");
    }
    else
    {
        EXPECT_EQ(textOf(rooted), "/data/set.bin") << "a POSIX path opens as it stands";
        EXPECT_EQ(textOf(drive), "/data/set.bin") << "the drive's folders stand under the root";
        EXPECT_EQ(textOf(share), "//server/name/f.txt");
        EXPECT_EQ(textOf(OrnPath("C:")), "/");
    }
    EXPECT_EQ(textOf(relative), "notes/take") << "relative names are kept";
    EXPECT_EQ(textOf(OrnPath("http://h/a\\b")), "http://h/a\\b") << "URLs are kept";
    EXPECT_EQ(rooted.getSeparator(), kWindows ? '\\' : '/');
}

TEST(OrnPathTest, SplitsJoinsAndWalksUp)
{
    const std::string s(1, kWindows ? '\\' : '/');
    OrnPath path(("/a" + s + "b" + s + "file.txt").c_str());
    const std::string root = kWindows ? "C:\\" : "/";
    char name[OrnPath::kBlockSize] = "untouched";
    OrnPath().getFileName(name);
    EXPECT_STREQ(name, "untouched") << "nothing is written for an empty path";
    path.getFileName(name);
    EXPECT_STREQ(name, "file.txt");
    path.setFileName("other.txt");
    EXPECT_EQ(textOf(path), root + "a" + s + "b" + s + "other.txt");

    path.goToParent();
    EXPECT_EQ(textOf(path), root + "a" + s) << "the file and its folder go";
    path.appendComponent("b");
    path.appendComponent("c");
    EXPECT_EQ(textOf(path), root + "a" + s + "b" + s + "c");
    path.setRawText((root + "a" + s + "b" + s).c_str());
    path.goToParent();
    EXPECT_EQ(textOf(path), root + "a" + s) << "a folder goes up one";
    path.goToParent();
    EXPECT_EQ(textOf(path), root);
    path.goToParent();
    EXPECT_EQ(textOf(path), root) << "the root stays";

    OrnPath bare("take");
    bare.setFileName("other");
    EXPECT_EQ(textOf(bare), "take") << "no separator, no change";
    bare.getFileName(name);
    EXPECT_STREQ(name, "");
    OrnPath drive;
    drive.setRawText("C:");
    drive.goToParent();
    EXPECT_EQ(textOf(drive), "C:");

    OrnPath file("take.wav");
    EXPECT_TRUE(file.prependFolder("/songs"));
    EXPECT_EQ(textOf(file), root + "songs" + s + "take.wav");
    OrnPath empty;
    empty.prependFolder("/songs");
    EXPECT_EQ(textOf(empty), root + "songs");
}

TEST(OrnPathTest, MakesNamesLegal)
{
    char spaced[] = "  a:b";
    EXPECT_TRUE(OrnPath::makeLegalName(spaced));
    EXPECT_STREQ(spaced, "__a_b");
    char plain[] = "Pattern";
    EXPECT_FALSE(OrnPath::makeLegalName(plain));
    char mixed[] = "a b/\\*?\"<>|'\x01\xC3\xA9";
    EXPECT_TRUE(OrnPath::makeLegalName(mixed));
    EXPECT_STREQ(mixed, "a b____________") << "inner blanks stay; bytes from 128 go";
    char empty[] = "";
    EXPECT_FALSE(OrnPath::makeLegalName(empty));
    EXPECT_FALSE(OrnPath::makeLegalName(nullptr));
}

TEST(OrnPathTest, StoredFormLeavesTheStreamBehindTheText)
{
    OrnMemoryStream stream;
    OrnPath first("/a/take.wav");
    OrnPath empty;
    ASSERT_TRUE(first.write(&stream));
    ASSERT_TRUE(empty.write(&stream));
    EXPECT_EQ(stream.getDataSize(), int64_t(std::strlen(first.getText()) + 2))
        << "an empty path is its terminator";
    ASSERT_TRUE(stream.writeInt32(77));

    stream.seek(0, 0);
    OrnPath back;
    OrnPath backEmpty("/x/y.txt");
    ASSERT_TRUE(back.read(&stream));
    ASSERT_TRUE(backEmpty.read(&stream));
    int32_t behind = 0;
    ASSERT_TRUE(stream.readInt32(behind));
    EXPECT_EQ(behind, 77);
    EXPECT_TRUE(back == first);
    EXPECT_TRUE(backEmpty.isEmpty());
    EXPECT_FALSE(back.read(&stream)) << "nothing left";

    OrnMemoryStream fixed;
    char block[OrnPath::kBlockSize] = "/fixed/f.txt";
    fixed.writeRaw(block, sizeof block);
    fixed.writeInt32(5);
    fixed.seek(0, 0);
    OrnPath readFixed;
    EXPECT_TRUE(readFixed.readFixed(&fixed));
    EXPECT_TRUE(readFixed == OrnPath("/fixed/f.txt"));
    EXPECT_EQ(fixed.tell(), OrnPath::kBlockSize);
}

TEST(OrnPathTest, AsksTheFileSystem)
{
    ScratchFolder scratch;
    OrnPath path(scratch.text().c_str());
    EXPECT_TRUE(path.exists());
    EXPECT_TRUE(path.descend("sub") == false) << "not there yet";
    fs::create_directories(scratch.folder / "sub");
    EXPECT_TRUE(path.exists());
    path.goToParent();
    EXPECT_TRUE(path.descend("sub"));

    path.appendComponent("take.wav");
    EXPECT_TRUE(path.makeUnique()) << "free at once";
    char name[OrnPath::kBlockSize];
    path.getFileName(name);
    EXPECT_STREQ(name, "take.wav");
    std::ofstream(path.getText()) << "x";
    OrnPath second(path);
    EXPECT_TRUE(second.makeUnique());
    second.getFileName(name);
    EXPECT_STREQ(name, "take1.wav");
    std::ofstream(second.getText()) << "x";
    OrnPath third(path);
    EXPECT_TRUE(third.makeUnique());
    third.getFileName(name);
    EXPECT_STREQ(name, "take2.wav");
    EXPECT_FALSE(OrnPath().makeUnique());

    const auto now = fs::last_write_time(path.getText());
    fs::last_write_time(second.getText(), now + std::chrono::hours(1));
    EXPECT_GT(path.getFileTime(), 0);
    EXPECT_TRUE(second.isNewerThan(path));
    EXPECT_FALSE(path.isNewerThan(second));
    EXPECT_FALSE(second.isNewerThan(OrnPath()));
    EXPECT_EQ(OrnPath().getFileTime(), 0);
}

TEST(OrnPathTest, UrlPartsAndHost)
{
    OrnPath url("http://example.org/a/b%20c");
    char part[OrnPath::kBlockSize];
    EXPECT_TRUE(url.isUrl());
    EXPECT_EQ(url.getSeparator(), '/');
    EXPECT_TRUE(url.getProtocol(part));
    EXPECT_STREQ(part, "http");
    EXPECT_TRUE(url.getHost(part));
    EXPECT_STREQ(part, "example.org");
    EXPECT_TRUE(url.getRemotePath(part));
    EXPECT_STREQ(part, "a/b%20c");
    EXPECT_TRUE(url.setHost("mirror.net"));
    EXPECT_EQ(textOf(url), "http://mirror.net/a/b%20c");

    OrnPath bare("ftp://host");
    EXPECT_FALSE(bare.getHost(part));
    EXPECT_TRUE(bare.getProtocol(part)) << "the protocol is still there";
    EXPECT_STREQ(part, "ftp");
    EXPECT_FALSE(bare.setHost("other"));
    EXPECT_FALSE(OrnPath("://x/y").getProtocol(part));
    EXPECT_STREQ(part, "");

    OrnUrl decoded("http://a%2Eb/x%2fy%C3%A9");
    EXPECT_TRUE(decoded.getDecodedHost(part));
    EXPECT_STREQ(part, "a.b");
    EXPECT_TRUE(decoded.getDecodedPath(part));
    EXPECT_STREQ(part, "x/y\xC3\xA9");
    EXPECT_FALSE(OrnUrl::decodePercent("a%2", part));
    EXPECT_FALSE(OrnUrl::decodePercent("a%zz", part));
    EXPECT_FALSE(OrnUrl::decodePercent("a%00b", part)) << "a zero byte would cut the name";
    EXPECT_TRUE(OrnUrl("relative").isUrl()) << "a URL object is a URL whatever its text";
}

TEST(OrnPathTest, FileUrlsRoundTripToPaths)
{
    const char* native = kWindows ? "C:\\My Songs\\take #1.wav" : "/home/me/My Songs/take #1%.wav";
    OrnPath path(native);
    OrnUrl url;
    ASSERT_TRUE(url.setPath(path));
    EXPECT_EQ(textOf(url), kWindows ? "file:///C:/My%20Songs/take%20%231.wav"
                                    : "file:///home/me/My%20Songs/take%20%231%25.wav");
    OrnPath back;
    ASSERT_TRUE(url.toPath(back));
    EXPECT_EQ(textOf(back), native);

    EXPECT_FALSE(url.setPath(OrnPath("relative/name"))) << "a URL needs an absolute path";
    EXPECT_FALSE(OrnUrl("http://h/x").toPath(back));
    EXPECT_TRUE(OrnUrl("file://localhost/tmp/x?query#frag").toPath(back));
    EXPECT_EQ(textOf(back), kWindows ? "C:\\tmp\\x" : "/tmp/x");
    OrnPath remote;
    EXPECT_EQ(OrnUrl("file://server/share/x").toPath(remote), kWindows);
    if (kWindows)
    {
        EXPECT_EQ(textOf(remote), "\\\\server\\share\\x");
    }
}

TEST(OrnPathTest, UserFolderLiesUnderThePlatformsDataFolder)
{
    EXPECT_EQ(OrnPath::getUserFolder(""), nullptr);
    EXPECT_EQ(OrnPath::getUserFolder(std::string(64, 'a').c_str()), nullptr);
#ifdef _WIN32
    const char* appData = std::getenv("APPDATA");
    if (!appData) GTEST_SKIP() << "no APPDATA in this environment to compare with";
    const std::string expected = std::string(appData) + "\\Tarnwick\\Sequencer\\";
#else
    const char* saved = std::getenv("XDG_CONFIG_HOME");
    const std::string restore = saved ? saved : "";
    setenv("XDG_CONFIG_HOME", "/srv/config", 1);
    std::unique_ptr<OrnPath, void (*)(OrnPath*)> xdg(OrnPath::getUserFolder("Sequencer"),
                                                     [](OrnPath* p) { p->release(); });
    setenv("XDG_CONFIG_HOME", "relative/config", 1);
    const char* home = std::getenv("HOME");
    const std::string expected = std::string(home ? home : "") + "/.config/Tarnwick/Sequencer/";
    ASSERT_NE(xdg, nullptr);
    EXPECT_EQ(textOf(*xdg), "/srv/config/Tarnwick/Sequencer/");
#endif
    OrnPath* folder = OrnPath::getUserFolder("Sequencer");
#ifndef _WIN32
    if (saved)
        setenv("XDG_CONFIG_HOME", restore.c_str(), 1);
    else
        unsetenv("XDG_CONFIG_HOME");
#endif
    ASSERT_NE(folder, nullptr);
    EXPECT_EQ(textOf(*folder), expected);
    EXPECT_EQ(folder->getRefCount(), 1);
    folder->release();
}
} // namespace
