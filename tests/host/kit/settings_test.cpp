#include "host/kit/hostsettings.h"
#include "host/kit/hosttext.h"
#include "host/kit/platform/hostplatform.h"
#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <limits>

using hostkit::HostSettings;

namespace
{
// One settings object with its reference, as a module holds it between createObject and release.
struct Settings
{
    explicit Settings(const std::string& path) : object(new HostSettings(path)) {}
    ~Settings() { object->release(); }
    HostSettings* operator->() const { return object; }
    HostSettings* object;
};
} // namespace

TEST(HostSettings, ValuesOutliveTheObjectThatWroteThem)
{
    hosttest::TempFolder folder;
    const std::string path = folder.file("config/tremolin-host/settings");
    const double awkward[] = {0.1, -1e300, 5e-324, std::numeric_limits<double>::infinity()};
    const char* const awkwardKeys[] = {"d0", "d1", "d2", "d3"};
    {
        Settings writer(path);
        EXPECT_EQ(writer->writeInt("Tremolin", "Controller1", 7), kResultOk);
        EXPECT_EQ(writer->writeInt("Tremolin", "Controller2", -2147483647 - 1), kResultOk);
        EXPECT_EQ(writer->writeInt("Other", "Controller1", 99), kResultOk);
        EXPECT_EQ(writer->writeFloat("Other", "Level", 0.1), kResultOk);
        for (int i = 0; i < 4; ++i)
            writer->writeFloat("Doubles", awkwardKeys[i], awkward[i]);
        EXPECT_EQ(writer->writeString("Other", "Title", u"Bass \"A\"\nline 2 \\ \u00e4\u20ac"), kResultOk);
        EXPECT_EQ(writer->writeInt("Tremolin", "Controller1", 10), kResultOk) << "replacing a key";
    }
    Settings reader(path);
    int32_t number = 0;
    EXPECT_TRUE(reader->readInt("Tremolin", "Controller1", &number));
    EXPECT_EQ(number, 10);
    EXPECT_TRUE(reader->readInt("Tremolin", "Controller2", &number));
    EXPECT_EQ(number, -2147483647 - 1);
    EXPECT_TRUE(reader->readInt("Other", "Controller1", &number));
    EXPECT_EQ(number, 99) << "sections keep their keys apart";
    for (int i = 0; i < 4; ++i)
    {
        double value = 0;
        EXPECT_TRUE(reader->readFloat("Doubles", awkwardKeys[i], &value));
        EXPECT_EQ(value, awkward[i]) << "doubles come back exactly";
    }
    char16_t text[64];
    EXPECT_TRUE(reader->readString("Other", "Title", text, 64));
    EXPECT_EQ(std::u16string(text), u"Bass \"A\"\nline 2 \\ \u00e4\u20ac");
    EXPECT_TRUE(reader->readString("Other", "Title", text, 5));
    EXPECT_EQ(std::u16string(text), u"Bass") << "cut to the caller's size with the terminator";

    number = 1234;
    EXPECT_FALSE(reader->readInt("Tremolin", "Missing", &number));
    EXPECT_FALSE(reader->readInt("Missing", "Controller1", &number));
    EXPECT_FALSE(reader->readInt("Other", "Title", &number)) << "a text is no integer";
    EXPECT_EQ(number, 1234) << "nothing is written for a missing key";

    // Two objects on one file don't undo each other's keys.
    Settings first(path), second(path);
    first->writeInt("A", "x", 1);
    second->writeInt("A", "y", 2);
    int32_t x = 0, y = 0;
    EXPECT_TRUE(first->readInt("A", "x", &x));
    EXPECT_TRUE(first->readInt("A", "y", &y));
    EXPECT_EQ(x + y, 3);

    // The file is replaced through a temporary that never stays behind.
    for (const auto& entry : std::filesystem::directory_iterator(folder.path / "config/tremolin-host"))
        EXPECT_EQ(entry.path().filename(), "settings");
}

TEST(HostSettings, RefusesWhatTheFileCantHoldAndReportsFailedWrites)
{
    hosttest::TempFolder folder;
    Settings settings(folder.file("settings"));
    EXPECT_EQ(settings->writeInt("Tremolin", "a=b", 1), kInvalidArgument);
    EXPECT_EQ(settings->writeInt("Sec]tion", "a", 1), kInvalidArgument);
    EXPECT_EQ(settings->writeInt("Tremolin", " padded", 1), kInvalidArgument);
    EXPECT_EQ(settings->writeInt("Tremolin", "line\nbreak", 1), kInvalidArgument);
    EXPECT_EQ(settings->writeInt(nullptr, "a", 1), kInvalidArgument);
    EXPECT_FALSE(std::filesystem::exists(folder.file("settings")));

    // A settings path below a plain file can't be written; the call fails, nothing crashes.
    hosttest::writeText(folder.file("plain"), "x");
    Settings blocked(folder.file("plain/settings"));
    EXPECT_NE(blocked->writeInt("Tremolin", "Controller1", 1), kResultOk);
    EXPECT_NE(blocked->lastError().find("plain/settings"), std::string::npos);
    std::string reason;
    EXPECT_FALSE(hostkit::platform::makeDirectories(folder.file("plain"), reason)) << "a file is no folder";
    EXPECT_FALSE(reason.empty());
    int32_t value = 0;
    EXPECT_FALSE(blocked->readInt("Tremolin", "Controller1", &value));
}

TEST(HostSettings, KeepsWhatItDoesNotOwnAndWritesOnlyAChange)
{
    hosttest::TempFolder folder;
    const std::string path = folder.file("settings");
    const std::string original =
        "\xEF\xBB\xBF# my notes\r\n[Tremolin]\r\nController1 = 74\r\nLevel = loud\r\n"
        "weird line\r\n[Other]\r\nx = 1\r\n";
    hosttest::writeText(path, original);
    std::vector<std::string> warnings;
    static std::vector<std::string>* sink = nullptr;
    sink = &warnings;
    HostSettings::setWarningSink([](const std::string& sentence) { sink->push_back(sentence); });

    Settings settings(path);
    int32_t number = 0;
    ASSERT_TRUE(settings->readInt("Tremolin", "Controller1", &number)) << "the byte-order mark is skipped";
    EXPECT_EQ(number, 74);
    std::filesystem::last_write_time(folder.path / "settings",
                                     std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    const auto stamp = std::filesystem::last_write_time(folder.path / "settings");
    EXPECT_EQ(settings->writeInt("Tremolin", "Controller1", 74), kResultOk);
    EXPECT_EQ(std::filesystem::last_write_time(folder.path / "settings"), stamp) << "no change, no write";

    double level = 0;
    EXPECT_FALSE(settings->readFloat("Tremolin", "Level", &level));
    EXPECT_FALSE(settings->readFloat("Tremolin", "Level", &level));
    EXPECT_NE(settings->writeFloat("Tremolin", "Level", 0.5), kResultOk) << "a value it can't read stays";
    ASSERT_EQ(warnings.size(), 1u) << "one warning for the file";
    EXPECT_NE(warnings[0].find("Level"), std::string::npos) << warnings[0];
    EXPECT_NE(warnings[0].find("'loud'"), std::string::npos) << warnings[0];

    EXPECT_EQ(settings->writeInt("Tremolin", "Controller1", 1), kResultOk);
    EXPECT_EQ(settings->writeInt("Tremolin", "Controller2", 7), kResultOk);
    EXPECT_EQ(hosttest::readText(path),
              "\xEF\xBB\xBF# my notes\r\n[Tremolin]\r\nController1 = 1\r\nLevel = loud\r\n"
              "Controller2 = 7\r\nweird line\r\n[Other]\r\nx = 1\r\n");
    HostSettings::setWarningSink(nullptr);
}
