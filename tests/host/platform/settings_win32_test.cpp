// Where the host keeps its settings on Windows: the user's application data folder.

#include "host/kit/hostsettings.h"
#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

using hostkit::HostSettings;
using hosttest::ScopedEnvironment;

TEST(HostSettings, DefaultFileIsInTheApplicationDataFolder)
{
    {
        ScopedEnvironment appData("APPDATA", "C:\\Users\\player\\AppData\\Roaming");
        EXPECT_EQ(HostSettings::defaultPath(), "C:/Users/player/AppData/Roaming/tremolin-host/settings")
            << "with '/' between names, as every path of the host";
    }
    ScopedEnvironment appData("APPDATA", std::nullopt);
    EXPECT_EQ(HostSettings::defaultPath(), "") << "no folder: no file";
}

#ifdef TREMOLIN_MODULE_FILE
TEST(HostSettings, ProgramKeepsTheModulesSettingsUnderAppData)
{
    // The real module stores its controller numbers when it ends.
    hosttest::TempFolder folder;
    const auto result = hosttest::runProgram(folder, TREMOLIN_HOST_PROGRAM,
                                             {"render", "--module", TREMOLIN_MODULE_FILE, "--project",
                                              TREMOLIN_SOURCE_DIR "/examples/demo.tremolin", "--bars", "1",
                                              "--out", "demo.mid"},
                                             {{"APPDATA", folder.file("roaming")}});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(hosttest::readText(folder.file("roaming/tremolin-host/settings")).find("Controller1 = 71"),
              std::string::npos);
}
#endif
