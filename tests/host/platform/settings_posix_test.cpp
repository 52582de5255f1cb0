// Where the host keeps its settings on Linux: the XDG config folder.

#include "host/kit/hostsettings.h"
#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

using hostkit::HostSettings;
using hosttest::ScopedEnvironment;

TEST(HostSettings, DefaultFileFollowsTheXdgConfigFolder)
{
    {
        ScopedEnvironment xdg("XDG_CONFIG_HOME", "/somewhere/config");
        EXPECT_EQ(HostSettings::defaultPath(), "/somewhere/config/tremolin-host/settings");
    }
    ScopedEnvironment home("HOME", "/home/player");
    {
        ScopedEnvironment xdg("XDG_CONFIG_HOME", std::nullopt);
        EXPECT_EQ(HostSettings::defaultPath(), "/home/player/.config/tremolin-host/settings");
    }
    {
        ScopedEnvironment xdg("XDG_CONFIG_HOME", "relative/config");
        EXPECT_EQ(HostSettings::defaultPath(), "/home/player/.config/tremolin-host/settings")
            << "a relative XDG_CONFIG_HOME is ignored";
    }
}
