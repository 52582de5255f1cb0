#include "foundation/platform/file.h"

#include <cerrno>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace foundation::platform
{
struct File
{
    int descriptor;
};

namespace
{
// Seconds between 1601-01-01 and 1970-01-01, so that file times count alike on both platforms.
constexpr int64_t kEpochDifference = 11644473600;

// Large counts go in pieces the kernel accepts whole on every system (read and write stop at
// about 2 GiB per call on Linux anyway).
constexpr int64_t kLargestPiece = int64_t(1) << 30;
} // namespace

File* openFile(const char* path, int32_t mode, int32_t& error)
{
    if (!path || !path[0])
    {
        error = ENOENT;
        return nullptr;
    }
    int flags;
    if (mode == 1)
        flags = O_RDONLY;
    else if (mode == 2)
        flags = O_RDWR | O_CREAT | O_TRUNC;
    else
    {
        error = EINVAL;
        return nullptr;
    }
    int descriptor;
    do
        descriptor = ::open(path, flags | O_CLOEXEC, 0666);
    while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0)
    {
        error = errno;
        return nullptr;
    }
    // A folder opens for reading here but not on the other platform; refuse it alike.
    struct stat info;
    if (::fstat(descriptor, &info) != 0)
    {
        error = errno;
        ::close(descriptor);
        return nullptr;
    }
    if (S_ISDIR(info.st_mode))
    {
        error = EISDIR;
        ::close(descriptor);
        return nullptr;
    }
    File* file = new (std::nothrow) File{descriptor};
    if (!file)
    {
        error = ENOMEM;
        ::close(descriptor);
    }
    return file;
}

void closeFile(File* file)
{
    if (!file) return;
    ::close(file->descriptor);
    delete file;
}

int64_t readFile(File* file, void* buffer, int64_t count, int32_t& error)
{
    int64_t done = 0;
    while (done < count)
    {
        const int64_t piece = count - done < kLargestPiece ? count - done : kLargestPiece;
        const ssize_t got = ::read(file->descriptor, static_cast<char*>(buffer) + done, size_t(piece));
        if (got < 0)
        {
            if (errno == EINTR) continue;
            error = errno;
            break;
        }
        if (got == 0) break;
        done += got;
    }
    return done;
}

int64_t writeFile(File* file, const void* buffer, int64_t count, int32_t& error)
{
    int64_t done = 0;
    while (done < count)
    {
        const int64_t piece = count - done < kLargestPiece ? count - done : kLargestPiece;
        const ssize_t put = ::write(file->descriptor, static_cast<const char*>(buffer) + done, size_t(piece));
        if (put < 0)
        {
            if (errno == EINTR) continue;
            error = errno;
            break;
        }
        if (put == 0)
        {
            error = ENOSPC;
            break;
        }
        done += put;
    }
    return done;
}

int64_t seekFile(File* file, int64_t offset, int32_t mode, int32_t& error)
{
    int whence;
    switch (mode)
    {
    case 0:
        whence = SEEK_SET;
        break;
    case 1:
        whence = SEEK_CUR;
        break;
    case 2:
        whence = SEEK_END;
        break;
    default:
        error = EINVAL;
        return -1;
    }
    const off_t position = ::lseek(file->descriptor, off_t(offset), whence);
    if (position < 0)
    {
        error = errno;
        return -1;
    }
    return position;
}

int64_t fileSize(File* file, int32_t& error)
{
    struct stat info;
    if (::fstat(file->descriptor, &info) != 0)
    {
        error = errno;
        return -1;
    }
    return info.st_size;
}

bool resizeFile(File* file, int64_t size, int32_t& error)
{
    if (size < 0)
    {
        error = EINVAL;
        return false;
    }
    int result;
    do
        result = ::ftruncate(file->descriptor, off_t(size));
    while (result != 0 && errno == EINTR);
    if (result != 0)
    {
        error = errno;
        return false;
    }
    return true;
}

bool pathExists(const char* path)
{
    struct stat info;
    return path && path[0] && ::stat(path, &info) == 0;
}

bool pathIsFolder(const char* path)
{
    struct stat info;
    return path && path[0] && ::stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

int64_t modificationTime(const char* path)
{
    struct stat info;
    if (!path || !path[0] || ::stat(path, &info) != 0) return 0;
    return (int64_t(info.st_mtim.tv_sec) + kEpochDifference) * 10000000 + info.st_mtim.tv_nsec / 100;
}
} // namespace foundation::platform
