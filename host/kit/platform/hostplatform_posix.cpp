#include "host/kit/platform/hostplatform.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
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
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle)
    {
        const char* reason = dlerror();
        error = reason ? reason : "unknown reason";
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

bool readFile(const std::string& path, std::vector<uint8_t>& bytes, std::string& error)
{
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
    {
        error = systemError(errno);
        return false;
    }
    struct stat info;
    if (fstat(fd, &info) == 0 && S_ISDIR(info.st_mode))
    {
        close(fd);
        error = systemError(EISDIR);
        return false;
    }
    bytes.clear();
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
        bytes.insert(bytes.end(), chunk, chunk + got);
    }
    close(fd);
    return true;
}

bool replaceFile(const std::string& path, const void* data, size_t size, std::string& error)
{
    std::string temporary = path + ".XXXXXX";
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
        error = systemError(code);
        return false;
    };
    const auto* bytes = static_cast<const uint8_t*>(data);
    size_t written = 0;
    while (written < size)
    {
        const ssize_t put = write(fd, bytes + written, size - written);
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) return fail(errno);
        written += static_cast<size_t>(put);
    }
    // mkstemp makes the file private; a document the user saves is readable as usual.
    if (fchmod(fd, 0644) != 0 || fsync(fd) != 0) return fail(errno);
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
    return true;
}

bool removeFile(const std::string& path)
{
    return unlink(path.c_str()) == 0;
}
} // namespace hostkit::platform
