#include "foundation/platform/path.h"

#include <cstring>
#include <string>
#include <windows.h>

#include <knownfolders.h>
#include <shlobj.h>

namespace foundation::platform
{
namespace
{
constexpr int kBlockSize = 1024;

// UTF-16 to UTF-8 into the block, without a trailing separator; false if it does not fit.
bool store(const wchar_t* folder, char* out)
{
    std::wstring text(folder);
    while (text.size() > 3 && (text.back() == L'\\' || text.back() == L'/'))
        text.pop_back();
    if (text.empty()) return false;
    const int length = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), int(text.size()), out, kBlockSize - 1,
                                           nullptr, nullptr);
    if (length <= 0)
    {
        out[0] = 0;
        return false;
    }
    out[length] = 0;
    return true;
}
} // namespace

bool windowsPaths()
{
    return true;
}

bool userDataFolder(char* out)
{
    out[0] = 0;
    PWSTR known = nullptr;
    if (SHGetKnownFolderPath(FOLDERID_RoamingAppData, KF_FLAG_DONT_VERIFY, nullptr, &known) == S_OK)
    {
        const bool stored = store(known, out);
        CoTaskMemFree(known);
        if (stored) return true;
    }
    else if (known)
        CoTaskMemFree(known);
    // Older or stripped-down systems without the known folders still set the variable.
    wchar_t variable[MAX_PATH + 1];
    const DWORD length = GetEnvironmentVariableW(L"APPDATA", variable, MAX_PATH + 1);
    return length > 0 && length <= MAX_PATH && store(variable, out);
}
} // namespace foundation::platform
