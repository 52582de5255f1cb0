#include "tests/host/platform/process_native.h"

#include "host/kit/platform/widetext_win32.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>

namespace hosttest
{
using hostkit::platform::widen;

namespace native
{
struct Process
{
    HANDLE handle;
};

namespace
{
std::wstring backslashes(std::wstring path)
{
    std::replace(path.begin(), path.end(), L'/', L'\\');
    return path;
}

std::string systemError(DWORD code)
{
    char* text = nullptr;
    FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                       FORMAT_MESSAGE_IGNORE_INSERTS,
                   nullptr, code, 0, reinterpret_cast<char*>(&text), 0, nullptr);
    std::string message = text ? text : "error " + std::to_string(code);
    if (text) LocalFree(text);
    while (!message.empty() && (message.back() == '\n' || message.back() == '\r'))
        message.pop_back();
    return message;
}

// One argument as the C runtime's command line parser gives it back: quoted when it is empty or
// has blanks or quotes; backslashes count only before a quote, where each one is doubled.
std::wstring quoted(const std::wstring& arg)
{
    if (!arg.empty() && arg.find_first_of(L" \t\n\v\"") == std::wstring::npos) return arg;
    std::wstring out = L"\"";
    size_t slashes = 0;
    for (wchar_t c : arg)
    {
        if (c == L'\\')
        {
            ++slashes;
            continue;
        }
        out.append(c == L'"' ? 2 * slashes + 1 : slashes, L'\\');
        slashes = 0;
        out.push_back(c);
    }
    out.append(2 * slashes, L'\\');
    out.push_back(L'"');
    return out;
}

bool sameName(const std::wstring& a, const std::wstring& b)
{
    return CompareStringOrdinal(a.c_str(), static_cast<int>(a.size()), b.c_str(), static_cast<int>(b.size()),
                                TRUE) == CSTR_EQUAL;
}

// The test's environment with the launch's changes, as a block of "NAME=value" strings, each
// ended by a null, sorted by name as the system keeps it.
std::wstring environmentBlock(const std::vector<EnvChange>& changes)
{
    std::vector<std::wstring> lines;
    if (wchar_t* block = GetEnvironmentStringsW())
    {
        for (const wchar_t* entry = block; *entry; entry += wcslen(entry) + 1)
        {
            const std::wstring line = entry;
            // Names may start with '=' (the current folder of each drive).
            const std::wstring name = line.substr(0, line.find(L'=', 1));
            const bool changed =
                std::any_of(changes.begin(), changes.end(),
                            [&](const EnvChange& change) { return sameName(widen(change.name), name); });
            if (!changed) lines.push_back(line);
        }
        FreeEnvironmentStringsW(block);
    }
    for (const EnvChange& change : changes)
        if (change.value) lines.push_back(widen(change.name) + L"=" + widen(*change.value));
    std::sort(lines.begin(), lines.end(),
              [](const std::wstring& a, const std::wstring& b)
              {
                  return CompareStringOrdinal(a.c_str(), static_cast<int>(a.size()), b.c_str(),
                                              static_cast<int>(b.size()), TRUE) == CSTR_LESS_THAN;
              });
    std::wstring out;
    for (const std::wstring& line : lines)
    {
        out += line;
        out.push_back(L'\0');
    }
    out.push_back(L'\0');
    return out;
}

HANDLE inheritable(const std::wstring& path, DWORD access, DWORD disposition)
{
    SECURITY_ATTRIBUTES attributes = {sizeof attributes, nullptr, TRUE};
    // Shared, so that the test can read the output while the program still writes it.
    return CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       &attributes, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}
} // namespace

Process* start(const Launch& launch, std::string& error)
{
    // The program's own name is read up to its closing quote, with no escapes.
    std::wstring commandLine = L"\"" + backslashes(widen(launch.program)) + L"\"";
    for (const std::string& arg : launch.args)
        commandLine += L" " + quoted(widen(arg));
    std::wstring environment = environmentBlock(launch.env);

    HANDLE in = inheritable(L"NUL", GENERIC_READ, OPEN_EXISTING);
    HANDLE out = inheritable(widen(launch.outPath), GENERIC_WRITE, CREATE_ALWAYS);
    HANDLE err = inheritable(widen(launch.errPath), GENERIC_WRITE, CREATE_ALWAYS);
    PROCESS_INFORMATION info = {};
    bool started = false;
    DWORD failure = 0;
    if (in != INVALID_HANDLE_VALUE && out != INVALID_HANDLE_VALUE && err != INVALID_HANDLE_VALUE)
    {
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = in;
        startup.hStdOutput = out;
        startup.hStdError = err;
        started = CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE,
                                 CREATE_UNICODE_ENVIRONMENT | CREATE_NO_WINDOW, environment.data(),
                                 backslashes(widen(launch.folder)).c_str(), &startup, &info) != 0;
    }
    if (!started) failure = GetLastError();
    for (HANDLE handle : {in, out, err})
        if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
    if (!started)
    {
        error = systemError(failure);
        return nullptr;
    }
    CloseHandle(info.hThread);
    return new Process{info.hProcess};
}

std::optional<int> wait(Process* process, double seconds)
{
    if (!process) return -1;
    const double milliseconds = std::clamp(seconds * 1000.0, 0.0, 4.0e9);
    if (WaitForSingleObject(process->handle, static_cast<DWORD>(milliseconds)) == WAIT_TIMEOUT)
        return std::nullopt;
    DWORD code = 0;
    if (!GetExitCodeProcess(process->handle, &code)) return -1;
    return static_cast<int>(code);
}

bool hangUp(Process*)
{
    return false; // a console's close is no signal a test can send
}

void close(Process* process)
{
    if (!process) return;
    if (WaitForSingleObject(process->handle, 0) == WAIT_TIMEOUT)
    {
        TerminateProcess(process->handle, 1);
        WaitForSingleObject(process->handle, INFINITE);
    }
    CloseHandle(process->handle);
    delete process;
}

// The C runtime writes a program's text output with CR LF line ends.
std::string plainLines(std::string text)
{
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i)
        if (text[i] != '\r' || i + 1 >= text.size() || text[i + 1] != '\n') out.push_back(text[i]);
    return out;
}
} // namespace native

void setEnvironment(const std::string& name, const std::optional<std::string>& value)
{
    // An empty value removes the variable.
    _putenv_s(name.c_str(), value ? value->c_str() : "");
}
} // namespace hosttest
