#include "foundation/platform/path.h"

#include <cstdlib>
#include <cstring>
#include <pwd.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace foundation::platform
{
namespace
{
constexpr std::size_t kBlockSize = 1024;

// Copies the folder without its trailing slashes; false if it does not fit or isn't absolute.
bool store(const std::string& folder, char* out)
{
    std::size_t length = folder.size();
    while (length > 1 && folder[length - 1] == '/')
        --length;
    if (length == 0 || folder[0] != '/' || length >= kBlockSize) return false;
    std::memcpy(out, folder.data(), length);
    out[length] = 0;
    return true;
}

std::string homeFolder()
{
    if (const char* home = std::getenv("HOME"); home && home[0] == '/') return home;
    // Services and sandboxes may run without $HOME; the password database still knows.
    long size = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> scratch(size > 0 ? std::size_t(size) : 16384);
    passwd entry;
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, scratch.data(), scratch.size(), &found) == 0 && found &&
        found->pw_dir && found->pw_dir[0] == '/')
        return found->pw_dir;
    return std::string();
}
} // namespace

bool windowsPaths()
{
    return false;
}

bool userDataFolder(char* out)
{
    out[0] = 0;
    // The base directory rules ignore a relative $XDG_CONFIG_HOME.
    if (const char* config = std::getenv("XDG_CONFIG_HOME"); config && config[0] == '/')
        return store(config, out);
    const std::string home = homeFolder();
    if (home.empty()) return false;
    return store(home == "/" ? std::string("/.config") : home + "/.config", out);
}
} // namespace foundation::platform
