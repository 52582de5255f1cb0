#include "host/kit/platform/hostplatform.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace hostkit::platform
{
namespace
{
std::string systemError(int code)
{
    return std::strerror(code);
}
} // namespace

struct Library
{
    void* handle;
};

Library* openLibrary(const std::string& path, std::string& error)
{
    // RTLD_LOCAL: the module's symbols stay its own, as they would in another host.
    dlerror();
    // A name without a slash would be searched on the library path; the user means this file.
    const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
    void* handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle)
    {
        const char* reason = dlerror();
        error = reason ? reason : "unknown reason";
        if (file != path && error.rfind(file + ": ", 0) == 0) error = path + error.substr(file.size());
        return nullptr;
    }
    return new Library{handle};
}

void* findSymbol(Library* library, const char* name)
{
    return library ? dlsym(library->handle, name) : nullptr;
}

void closeLibrary(Library* library)
{
    if (!library) return;
    dlclose(library->handle);
    delete library;
}

void abandonLibrary(Library* library)
{
    delete library;
}

const char* moduleFileSuffix()
{
    return ".so";
}

std::string executablePath()
{
    char buffer[PATH_MAX + 1];
    const ssize_t length = readlink("/proc/self/exe", buffer, PATH_MAX);
    if (length <= 0) return {};
    return std::string(buffer, static_cast<size_t>(length));
}

std::string userConfigDirectory()
{
    // Only an absolute XDG_CONFIG_HOME counts; a relative one is to be ignored.
    const char* xdg = std::getenv("XDG_CONFIG_HOME");
    if (xdg && xdg[0] == '/') return xdg;
    const char* home = std::getenv("HOME");
    if (!home || !home[0])
    {
        const passwd* entry = getpwuid(getuid());
        home = entry ? entry->pw_dir : nullptr;
    }
    if (!home || !home[0]) return {};
    return std::string(home) + "/.config";
}

std::string userDataDirectory()
{
    const char* xdg = std::getenv("XDG_DATA_HOME");
    if (xdg && xdg[0] == '/') return xdg;
    const std::string config = userConfigDirectory();
    // Beside ~/.config, which has found the home folder already.
    const char* home = std::getenv("HOME");
    if (home && home[0]) return std::string(home) + "/.local/share";
    return config.empty() ? std::string() : config.substr(0, config.rfind('/')) + "/.local/share";
}

std::vector<std::string> filesIn(const std::string& folder)
{
    std::vector<std::string> names;
    DIR* directory = opendir(folder.c_str());
    if (!directory) return names;
    while (const dirent* entry = readdir(directory))
    {
        const std::string name = entry->d_name;
        struct stat info;
        if (name != "." && name != ".." && stat((folder + "/" + name).c_str(), &info) == 0 &&
            S_ISREG(info.st_mode))
            names.push_back(name);
    }
    closedir(directory);
    std::sort(names.begin(), names.end());
    return names;
}

bool fileExists(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool isDirectory(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool makeDirectories(const std::string& path, std::string& error)
{
    if (path.empty() || isDirectory(path)) return true;
    const size_t slash = path.find_last_of('/');
    if (slash != std::string::npos && slash > 0 && !makeDirectories(path.substr(0, slash), error))
        return false;
    if (mkdir(path.c_str(), 0755) == 0) return true;
    // "Exists" is success only if what exists is a folder, not a file of that name.
    const int code = errno;
    if (code == EEXIST && isDirectory(path)) return true;
    error = systemError(code == EEXIST ? ENOTDIR : code);
    return false;
}

bool readFile(const std::string& path, std::vector<uint8_t>& bytes, std::string& error, size_t limit,
              bool* tooLarge)
{
    if (tooLarge) *tooLarge = false;
    bytes.clear();
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
    {
        error = systemError(errno);
        return false;
    }
    struct stat info;
    const bool known = fstat(fd, &info) == 0;
    if (known && S_ISDIR(info.st_mode))
    {
        close(fd);
        error = systemError(EISDIR);
        return false;
    }
    const auto refuseSize = [&]
    {
        close(fd);
        bytes.clear();
        bytes.shrink_to_fit();
        if (tooLarge) *tooLarge = true;
        error = "it holds more than " + std::to_string(limit) + " bytes";
        return false;
    };
    // A regular file tells its size up front; devices and pipes are read until they pass the limit.
    if (known && S_ISREG(info.st_mode) && static_cast<uint64_t>(info.st_size) > limit) return refuseSize();
    uint8_t chunk[65536];
    for (;;)
    {
        const ssize_t got = read(fd, chunk, sizeof chunk);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0)
        {
            error = systemError(errno);
            close(fd);
            return false;
        }
        if (got == 0) break;
        if (static_cast<size_t>(got) > limit - bytes.size()) return refuseSize();
        bytes.insert(bytes.end(), chunk, chunk + got);
    }
    close(fd);
    return true;
}

namespace
{
// How long a temporary may lie beside its target before it counts as left behind by a write that
// was killed; a running write needs milliseconds.
constexpr time_t kStaleSeconds = 60;

bool writeAll(int fd, const void* data, size_t size)
{
    const auto* bytes = static_cast<const uint8_t*>(data);
    size_t written = 0;
    while (written < size)
    {
        const ssize_t put = write(fd, bytes + written, size - written);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        written += static_cast<size_t>(put);
    }
    return true;
}

// The file a link names, following links of links; a dangling link names the file it would
// create.
std::string resolveLinks(const std::string& path)
{
    std::string current = path;
    for (int depth = 0; depth < 40; ++depth)
    {
        struct stat info;
        if (lstat(current.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return current;
        char target[PATH_MAX + 1];
        const ssize_t length = readlink(current.c_str(), target, PATH_MAX);
        if (length <= 0) return current;
        const std::string next(target, static_cast<size_t>(length));
        const size_t slash = current.find_last_of('/');
        current = next[0] == '/' || slash == std::string::npos ? next : current.substr(0, slash + 1) + next;
    }
    return current;
}

std::string folderOf(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? std::string(".")
           : slash == 0               ? std::string("/")
                                      : path.substr(0, slash);
}

void removeStaleTemporaries(const std::string& path, const std::string& own)
{
    const std::string prefix = temporaryPrefix(path);
    const size_t slash = prefix.find_last_of('/');
    const std::string namePrefix = slash == std::string::npos ? prefix : prefix.substr(slash + 1);
    DIR* folder = opendir(folderOf(path).c_str());
    if (!folder) return;
    const time_t now = time(nullptr);
    while (const dirent* entry = readdir(folder))
    {
        const std::string name = entry->d_name;
        if (name.size() != namePrefix.size() + 6 || name.compare(0, namePrefix.size(), namePrefix) != 0)
            continue;
        const std::string file = folderOf(path) + "/" + name;
        struct stat info;
        if (file == own || lstat(file.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) continue;
        if (now - info.st_mtime >= kStaleSeconds) unlink(file.c_str());
    }
    closedir(folder);
}

// Devices, pipes and the standard streams are written where they are: renaming a file over
// /dev/null would replace the device for every program on the machine.
bool writeInPlace(const std::string& path, bool regular, const void* data, size_t size, std::string& error)
{
    if (path == "/dev/stdout" || path == "/dev/fd/1" || path == "/proc/self/fd/1")
    {
        if (writeStandardOutput(data, size)) return true;
        error = systemError(errno ? errno : EIO);
        return false;
    }
    const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | (regular ? O_TRUNC : 0));
    if (fd < 0 || !writeAll(fd, data, size))
    {
        error = systemError(errno ? errno : EIO);
        if (fd >= 0) close(fd);
        return false;
    }
    if (close(fd) != 0)
    {
        error = systemError(errno);
        return false;
    }
    return true;
}

// Holds back the signals that end a program politely while a temporary exists, so that it is
// renamed or removed before the program goes; they are delivered when the guard ends.
class SignalHold
{
public:
    SignalHold()
    {
        sigset_t held;
        sigemptyset(&held);
        for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE})
            sigaddset(&held, signal);
        pthread_sigmask(SIG_BLOCK, &held, &previous);
    }
    ~SignalHold() { pthread_sigmask(SIG_SETMASK, &previous, nullptr); }

private:
    sigset_t previous;
};
} // namespace

std::string temporaryPrefix(const std::string& path)
{
    return path + ".tremolin-tmp-";
}

bool writeStandardOutput(const void* data, size_t size)
{
    std::fflush(stdout);
    errno = 0;
    return writeAll(STDOUT_FILENO, data, size);
}

void keepRunningOnClosedOutput()
{
    std::signal(SIGPIPE, SIG_IGN);
}

bool replaceFile(const std::string& given, const void* data, size_t size, std::string& error)
{
    const bool system = given.rfind("/dev/", 0) == 0 || given.rfind("/proc/", 0) == 0;
    const std::string path = system ? given : resolveLinks(given);
    struct stat info;
    const bool exists = stat(path.c_str(), &info) == 0;
    if (exists && S_ISDIR(info.st_mode))
    {
        error = systemError(EISDIR);
        return false;
    }
    if (system || (exists && !S_ISREG(info.st_mode)))
        return writeInPlace(path, exists && S_ISREG(info.st_mode), data, size, error);

    mode_t mode = 0;
    if (exists)
        mode = info.st_mode & 07777;
    else
    {
        const mode_t mask = umask(022);
        umask(mask);
        mode = 0666 & ~mask;
    }
    SignalHold hold;
    std::string temporary = temporaryPrefix(path) + "XXXXXX";
    const int fd = mkstemp(temporary.data());
    if (fd < 0)
    {
        error = systemError(errno);
        return false;
    }
    const auto fail = [&](int code)
    {
        close(fd);
        unlink(temporary.c_str());
        error = systemError(code ? code : EIO);
        return false;
    };
    errno = 0;
    if (!writeAll(fd, data, size)) return fail(errno);
    // mkstemp makes the file private; the replaced file's mode and owner carry over.
    if (fchmod(fd, mode) != 0 || fsync(fd) != 0) return fail(errno);
    if (exists && (info.st_uid != geteuid() || info.st_gid != getegid()))
    {
        const int ignored = fchown(fd, info.st_uid, info.st_gid);
        (void)ignored; // only root may give a file away; others make it their own, as any editor does
    }
    if (close(fd) != 0)
    {
        const int code = errno;
        unlink(temporary.c_str());
        error = systemError(code);
        return false;
    }
    if (rename(temporary.c_str(), path.c_str()) != 0)
    {
        const int code = errno;
        unlink(temporary.c_str());
        error = systemError(code);
        return false;
    }
    removeStaleTemporaries(path, temporary);
    return true;
}

bool removeFile(const std::string& path)
{
    return unlink(path.c_str()) == 0;
}
} // namespace hostkit::platform
