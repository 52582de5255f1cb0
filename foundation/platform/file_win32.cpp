#include "foundation/platform/file.h"
#include "foundation/textcodec.h"

#include <cstring>
#include <new>
#include <string>
#include <windows.h>

namespace foundation::platform
{
struct File
{
    HANDLE handle;
};

namespace
{
// ReadFile and WriteFile take 32-bit counts; larger ones go in pieces.
constexpr int64_t kLargestPiece = int64_t(1) << 30;

// The file calls take UTF-16; our paths are UTF-8. Empty on a text that is not valid UTF-8.
std::u16string widen(const char* path)
{
    std::u16string wide;
    if (!path) return wide;
    const size_t bytes = std::strlen(path);
    const int64_t length = text::decode(text::kUtf8, path, bytes, nullptr);
    if (length <= 0) return wide;
    wide.resize(size_t(length));
    text::decode(text::kUtf8, path, bytes, wide.data());
    return wide;
}

LPCWSTR wideText(const std::u16string& text)
{
    return reinterpret_cast<LPCWSTR>(text.c_str());
}

bool attributesOf(const char* path, WIN32_FILE_ATTRIBUTE_DATA& data)
{
    const std::u16string wide = widen(path);
    return !wide.empty() && GetFileAttributesExW(wideText(wide), GetFileExInfoStandard, &data) != 0;
}
} // namespace

File* openFile(const char* path, int32_t mode, int32_t& error)
{
    const std::u16string wide = widen(path);
    if (wide.empty())
    {
        error = ERROR_INVALID_NAME;
        return nullptr;
    }
    DWORD access;
    DWORD disposition;
    if (mode == 1)
    {
        access = GENERIC_READ;
        disposition = OPEN_EXISTING;
    }
    else if (mode == 2)
    {
        access = GENERIC_READ | GENERIC_WRITE;
        disposition = CREATE_ALWAYS;
    }
    else
    {
        error = ERROR_INVALID_PARAMETER;
        return nullptr;
    }
    const HANDLE handle = CreateFileW(wideText(wide), access, FILE_SHARE_READ, nullptr, disposition,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
    {
        error = int32_t(GetLastError());
        return nullptr;
    }
    File* file = new (std::nothrow) File{handle};
    if (!file)
    {
        error = ERROR_NOT_ENOUGH_MEMORY;
        CloseHandle(handle);
    }
    return file;
}

void closeFile(File* file)
{
    if (!file) return;
    if (file->handle && file->handle != INVALID_HANDLE_VALUE) CloseHandle(file->handle);
    delete file;
}

int64_t readFile(File* file, void* buffer, int64_t count, int32_t& error)
{
    int64_t done = 0;
    while (done < count)
    {
        const int64_t piece = count - done < kLargestPiece ? count - done : kLargestPiece;
        DWORD got = 0;
        if (!ReadFile(file->handle, static_cast<char*>(buffer) + done, DWORD(piece), &got, nullptr))
        {
            error = int32_t(GetLastError());
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
        DWORD put = 0;
        if (!WriteFile(file->handle, static_cast<const char*>(buffer) + done, DWORD(piece), &put, nullptr))
        {
            error = int32_t(GetLastError());
            break;
        }
        if (put == 0)
        {
            error = ERROR_DISK_FULL;
            break;
        }
        done += put;
    }
    return done;
}

int64_t seekFile(File* file, int64_t offset, int32_t mode, int32_t& error)
{
    DWORD method;
    switch (mode)
    {
    case 0:
        method = FILE_BEGIN;
        break;
    case 1:
        method = FILE_CURRENT;
        break;
    case 2:
        method = FILE_END;
        break;
    default:
        error = ERROR_INVALID_PARAMETER;
        return -1;
    }
    LARGE_INTEGER distance;
    LARGE_INTEGER position;
    distance.QuadPart = offset;
    if (!SetFilePointerEx(file->handle, distance, &position, method))
    {
        error = int32_t(GetLastError());
        return -1;
    }
    return position.QuadPart;
}

int64_t fileSize(File* file, int32_t& error)
{
    LARGE_INTEGER size;
    if (!GetFileSizeEx(file->handle, &size))
    {
        error = int32_t(GetLastError());
        return -1;
    }
    return size.QuadPart;
}

bool resizeFile(File* file, int64_t size, int32_t& error)
{
    // The end of a file is set at the position, so go there and come back.
    const int64_t position = seekFile(file, 0, 1, error);
    if (position < 0 || seekFile(file, size, 0, error) < 0) return false;
    bool done = SetEndOfFile(file->handle) != 0;
    if (!done) error = int32_t(GetLastError());
    if (seekFile(file, position, 0, error) < 0) done = false;
    return done;
}

bool pathExists(const char* path)
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    return attributesOf(path, data);
}

bool pathIsFolder(const char* path)
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    return attributesOf(path, data) && (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

int64_t modificationTime(const char* path)
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!attributesOf(path, data)) return 0;
    const FILETIME& written = data.ftLastWriteTime;
    return int64_t((uint64_t(written.dwHighDateTime) << 32) | written.dwLowDateTime);
}
} // namespace foundation::platform
