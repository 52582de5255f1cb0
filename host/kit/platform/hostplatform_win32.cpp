#include "foundation/textcodec.h"
#include "host/kit/platform/hostplatform.h"
#include "host/kit/platform/widetext_win32.h"

#include <windows.h>

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
    HMODULE handle = LoadLibraryW(widen(path).c_str());
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

bool readFile(const std::string& path, std::vector<uint8_t>& bytes, std::string& error)
{
    HANDLE file = CreateFileW(widen(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        error = systemError(GetLastError());
        return false;
    }
    bytes.clear();
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
        bytes.insert(bytes.end(), chunk, chunk + got);
    }
    CloseHandle(file);
    return true;
}

bool replaceFile(const std::string& path, const void* data, size_t size, std::string& error)
{
    const std::wstring target = widen(path);
    const std::wstring temporary = target + L".tmp" + std::to_wstring(GetCurrentProcessId());
    HANDLE file = CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
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
    if (ok) ok = FlushFileBuffers(file) != 0;
    DWORD code = ok ? 0 : GetLastError();
    CloseHandle(file);
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
    }
    return ok;
}

bool removeFile(const std::string& path)
{
    return DeleteFileW(widen(path).c_str()) != 0;
}
} // namespace hostkit::platform
