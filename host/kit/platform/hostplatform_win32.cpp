#include "foundation/textcodec.h"
#include "host/kit/platform/hostplatform.h"
#include "host/kit/platform/widetext_win32.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>

namespace hostkit::platform
{
namespace
{
std::string slashes(std::string path)
{
    for (char& c : path)
        if (c == '\\') c = '/';
    return path;
}

std::string systemError(DWORD code)
{
    wchar_t* text = nullptr;
    FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                       FORMAT_MESSAGE_IGNORE_INSERTS,
                   nullptr, code, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    std::wstring message = text ? text : L"unknown error";
    if (text) LocalFree(text);
    while (!message.empty() && (message.back() == L'\n' || message.back() == L'\r' || message.back() == L'.'))
        message.pop_back();
    return narrow(message);
}
} // namespace

static_assert(sizeof(wchar_t) == sizeof(char16_t), "the Windows calls take UTF-16");

std::wstring widen(const std::string& text)
{
    const std::u16string wide = foundation::text::utf8ToUtf16(text);
    return std::wstring(wide.begin(), wide.end());
}

std::string narrow(const std::wstring& text)
{
    return foundation::text::utf16ToUtf8(
        std::u16string_view(reinterpret_cast<const char16_t*>(text.data()), text.size()));
}

struct Library
{
    HMODULE handle;
};

Library* openLibrary(const std::string& path, std::string& error)
{
    // A bare name would be searched in the program's and the system's folders first; the user
    // means the file of that name here.
    const std::string file = path.find_first_of("/\\:") == std::string::npos ? ".\\" + path : path;
    HMODULE handle = LoadLibraryW(widen(file).c_str());
    if (!handle)
    {
        error = systemError(GetLastError());
        return nullptr;
    }
    return new Library{handle};
}

void* findSymbol(Library* library, const char* name)
{
    return library ? reinterpret_cast<void*>(GetProcAddress(library->handle, name)) : nullptr;
}

void closeLibrary(Library* library)
{
    if (!library) return;
    FreeLibrary(library->handle);
    delete library;
}

void abandonLibrary(Library* library)
{
    delete library;
}

const char* moduleFileSuffix()
{
    return ".dll";
}

std::string executablePath()
{
    std::wstring buffer(MAX_PATH, L'\0');
    for (;;)
    {
        const DWORD length = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length == 0) return {};
        if (length < buffer.size())
        {
            buffer.resize(length);
            return slashes(narrow(buffer));
        }
        buffer.resize(buffer.size() * 2);
    }
}

std::string userConfigDirectory()
{
    const wchar_t* appData = _wgetenv(L"APPDATA");
    return appData && appData[0] ? slashes(narrow(appData)) : std::string();
}

std::string userDataDirectory()
{
    // Roaming application data holds what the user makes, as it holds the settings.
    return userConfigDirectory();
}

std::vector<std::string> filesIn(const std::string& folder)
{
    std::vector<std::string> names;
    WIN32_FIND_DATAW found;
    HANDLE search = FindFirstFileW(widen(folder + "/*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return names;
    do
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) names.push_back(narrow(found.cFileName));
    while (FindNextFileW(search, &found));
    FindClose(search);
    std::sort(names.begin(), names.end());
    return names;
}

bool fileExists(const std::string& path)
{
    const DWORD attributes = GetFileAttributesW(widen(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool isDirectory(const std::string& path)
{
    const DWORD attributes = GetFileAttributesW(widen(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool makeDirectories(const std::string& path, std::string& error)
{
    if (path.empty() || isDirectory(path)) return true;
    const size_t slash = path.find_last_of("/\\");
    if (slash != std::string::npos && slash > 0 && path[slash - 1] != ':' &&
        !makeDirectories(path.substr(0, slash), error))
        return false;
    if (CreateDirectoryW(widen(path).c_str(), nullptr)) return true;
    // "Already exists" is success only if what exists is a folder, not a file of that name.
    const DWORD code = GetLastError();
    if (code == ERROR_ALREADY_EXISTS && isDirectory(path)) return true;
    error = systemError(code == ERROR_ALREADY_EXISTS ? ERROR_DIRECTORY : code);
    return false;
}

bool readFile(const std::string& path, std::vector<uint8_t>& bytes, std::string& error, size_t limit,
              bool* tooLarge)
{
    if (tooLarge) *tooLarge = false;
    bytes.clear();
    HANDLE file = CreateFileW(widen(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        error = systemError(GetLastError());
        return false;
    }
    const auto refuseSize = [&]
    {
        CloseHandle(file);
        bytes.clear();
        bytes.shrink_to_fit();
        if (tooLarge) *tooLarge = true;
        error = "it holds more than " + std::to_string(limit) + " bytes";
        return false;
    };
    LARGE_INTEGER size{};
    if (GetFileType(file) == FILE_TYPE_DISK && GetFileSizeEx(file, &size) &&
        static_cast<uint64_t>(size.QuadPart) > limit)
        return refuseSize();
    uint8_t chunk[65536];
    for (;;)
    {
        DWORD got = 0;
        if (!ReadFile(file, chunk, sizeof chunk, &got, nullptr))
        {
            error = systemError(GetLastError());
            CloseHandle(file);
            return false;
        }
        if (got == 0) break;
        if (got > limit - bytes.size()) return refuseSize();
        bytes.insert(bytes.end(), chunk, chunk + got);
    }
    CloseHandle(file);
    return true;
}

std::string temporaryPrefix(const std::string& path)
{
    return path + ".tremolin-tmp-";
}

bool writeStandardOutput(const void* data, size_t size)
{
    std::fflush(stdout);
    // Bytes as they are: a MIDI file through a text-mode stream would gain a CR before every LF.
    const int mode = _setmode(_fileno(stdout), _O_BINARY);
    const bool written = std::fwrite(data, 1, size, stdout) == size && std::fflush(stdout) == 0;
    if (mode != -1) _setmode(_fileno(stdout), mode);
    return written;
}

void keepRunningOnClosedOutput()
{
    // Windows ends no program for writing to a closed pipe; the write fails and is reported.
}

namespace
{
// How long a temporary may lie beside its target before it counts as left behind by a write that
// was killed; a running write needs milliseconds.
constexpr uint64_t kStaleSeconds = 60;

void removeStaleTemporaries(const std::wstring& prefix, const std::wstring& own)
{
    const size_t slash = prefix.find_last_of(L"/\\");
    const std::wstring folder = slash == std::wstring::npos ? std::wstring() : prefix.substr(0, slash + 1);
    WIN32_FIND_DATAW found;
    HANDLE search = FindFirstFileW((prefix + L"*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return;
    FILETIME nowTime;
    GetSystemTimeAsFileTime(&nowTime);
    const auto ticks = [](const FILETIME& time)
    { return (static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime; };
    do
    {
        const std::wstring file = folder + found.cFileName;
        if (file == own || (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) continue;
        if (ticks(nowTime) - ticks(found.ftLastWriteTime) >= kStaleSeconds * 10000000ull)
            DeleteFileW(file.c_str());
    } while (FindNextFileW(search, &found));
    FindClose(search);
}

// The file a link (a symbolic link or a junction on the way) names, so that a save replaces that
// file and the link stays a link, as it does on Linux. Anything that is not a link keeps the text
// it was given.
std::wstring linkedFile(const std::wstring& target)
{
    const DWORD attributes = GetFileAttributesW(target.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_REPARSE_POINT)) return target;
    HANDLE file = CreateFileW(target.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE) return target;
    std::wstring named(MAX_PATH, L'\0');
    DWORD length = GetFinalPathNameByHandleW(file, named.data(), static_cast<DWORD>(named.size()), 0);
    if (length >= named.size())
    {
        named.resize(length);
        length = GetFinalPathNameByHandleW(file, named.data(), static_cast<DWORD>(named.size()), 0);
    }
    CloseHandle(file);
    if (length == 0 || length >= named.size()) return target;
    named.resize(length);
    // The answer comes as \\?\C:\... or \\?\UNC\server\...; the plain forms name the same file.
    if (named.rfind(L"\\\\?\\UNC\\", 0) == 0) return L"\\" + named.substr(7);
    if (named.rfind(L"\\\\?\\", 0) == 0) return named.substr(4);
    return named;
}
} // namespace

bool replaceFile(const std::string& given, const void* data, size_t size, std::string& error)
{
    const std::wstring target = linkedFile(widen(given));
    const std::string path = narrow(target);
    const DWORD attributes = GetFileAttributesW(target.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY))
    {
        error = systemError(ERROR_DIRECTORY);
        return false;
    }
    // NUL, CON and the like are devices: they are written, never renamed over.
    HANDLE probe = CreateFileW(target.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                               nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    const bool device = probe != INVALID_HANDLE_VALUE && GetFileType(probe) != FILE_TYPE_DISK;
    if (probe != INVALID_HANDLE_VALUE) CloseHandle(probe);
    const std::wstring temporary =
        widen(temporaryPrefix(path)) + std::to_wstring(GetCurrentProcessId() % 1000000);
    const std::wstring& writtenTo = device ? target : temporary;
    HANDLE file = CreateFileW(writtenTo.c_str(), GENERIC_WRITE, 0, nullptr,
                              device ? OPEN_EXISTING : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        error = systemError(GetLastError());
        return false;
    }
    const auto* bytes = static_cast<const uint8_t*>(data);
    size_t written = 0;
    bool ok = true;
    while (ok && written < size)
    {
        DWORD put = 0;
        const DWORD part = static_cast<DWORD>(size - written > 0x40000000 ? 0x40000000 : size - written);
        ok = WriteFile(file, bytes + written, part, &put, nullptr) != 0;
        written += put;
    }
    if (ok && !device) ok = FlushFileBuffers(file) != 0;
    DWORD code = ok ? 0 : GetLastError();
    CloseHandle(file);
    if (device)
    {
        if (!ok) error = systemError(code);
        return ok;
    }
    if (ok &&
        !MoveFileExW(temporary.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
    {
        ok = false;
        code = GetLastError();
    }
    if (!ok)
    {
        DeleteFileW(temporary.c_str());
        error = systemError(code);
        return false;
    }
    removeStaleTemporaries(widen(temporaryPrefix(path)), temporary);
    return true;
}

bool removeFile(const std::string& path)
{
    return DeleteFileW(widen(path).c_str()) != 0;
}
} // namespace hostkit::platform
