#include "../desktop.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <chrono>
#include <thread>

namespace desktop
{
namespace
{
// Where typed keys go: the innermost window under the pointer once it was moved into a window,
// as a click there would give it the focus; else the window found last.
HWND foundWindow = nullptr;
HWND pointedWindow = nullptr;
POINT pointedAt{}; // in the pointed window's client area

HWND keyTarget()
{
    if (!pointedWindow || !IsWindow(pointedWindow)) return foundWindow;
    // Found anew for every key: the program may have made the window under the pointer since.
    HWND target = pointedWindow;
    POINT point = pointedAt;
    for (;;)
    {
        HWND child = ChildWindowFromPointEx(target, point, CWP_SKIPINVISIBLE | CWP_SKIPTRANSPARENT);
        if (!child || child == target) return target;
        MapWindowPoints(target, child, &point, 1);
        target = child;
    }
}

struct Search
{
    std::wstring prefix;
    HWND found = nullptr;
};

BOOL CALLBACK visit(HWND window, LPARAM data)
{
    auto* search = reinterpret_cast<Search*>(data);
    if (!IsWindowVisible(window)) return TRUE;
    wchar_t title[512] = {};
    GetWindowTextW(window, title, 512);
    if (std::wstring(title).rfind(search->prefix, 0) != 0) return TRUE;
    search->found = window;
    return FALSE;
}

// The key's virtual key, or 0 for a key that types a character.
UINT virtualKey(const std::string& name)
{
    if (name == "Up") return VK_UP;
    if (name == "Down") return VK_DOWN;
    if (name == "Left") return VK_LEFT;
    if (name == "Right") return VK_RIGHT;
    if (name == "Escape") return VK_ESCAPE;
    return 0;
}

// The character of a key that types one, by the key's X name or the character itself.
wchar_t character(const std::string& name)
{
    static const struct
    {
        const char* name;
        wchar_t character;
    } named[] = {{"equal", L'='},        {"minus", L'-'}, {"bracketleft", L'['},
                 {"bracketright", L']'}, {"comma", L','}, {"period", L'.'}};
    for (const auto& key : named)
        if (name == key.name) return key.character;
    return name.size() == 1 ? static_cast<wchar_t>(name[0]) : 0;
}
} // namespace

bool connect()
{
    return GetSystemMetrics(SM_CXSCREEN) > 0;
}

uint64_t findWindow(const std::string& prefix, double seconds)
{
    Search search{std::wstring(prefix.begin(), prefix.end())};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    do
    {
        EnumWindows(visit, reinterpret_cast<LPARAM>(&search));
        if (search.found)
        {
            foundWindow = search.found;
            pointedWindow = nullptr;
            return reinterpret_cast<uintptr_t>(search.found);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    } while (std::chrono::steady_clock::now() < deadline);
    return 0;
}

void size(uint64_t window, int& width, int& height)
{
    RECT client{};
    GetClientRect(reinterpret_cast<HWND>(window), &client);
    width = client.right;
    height = client.bottom;
}

void pointInto(uint64_t handle)
{
    const HWND window = reinterpret_cast<HWND>(handle);
    int width = 0, height = 0;
    size(handle, width, height);
    pointedWindow = window;
    pointedAt = {width / 2, height / 2};
    POINT onScreen = pointedAt;
    ClientToScreen(window, &onScreen);
    SetCursorPos(onScreen.x, onScreen.y);
}

void typeKey(const std::string& name)
{
    if (const UINT key = virtualKey(name))
    {
        LPARAM data = 1 | static_cast<LPARAM>(MapVirtualKeyW(key, MAPVK_VK_TO_VSC)) << 16;
        if (key != VK_ESCAPE) data |= 1 << 24; // the arrows are extended keys
        const HWND target = keyTarget();
        PostMessageW(target, WM_KEYDOWN, key, data);
        PostMessageW(target, WM_KEYUP, key, data | 3u << 30);
        return;
    }
    // A typed character reaches a program as the WM_CHAR that its loop makes from the key's
    // press. Posting the press as well would have the loop make a second one.
    if (const wchar_t typed = character(name)) PostMessageW(keyTarget(), WM_CHAR, typed, 1);
}

void click(uint64_t handle, int x, int y)
{
    HWND target = reinterpret_cast<HWND>(handle);
    POINT at{x, y};
    // Down to the innermost child under the point, in its own coordinates.
    for (;;)
    {
        HWND child = ChildWindowFromPointEx(target, at, CWP_SKIPINVISIBLE | CWP_SKIPTRANSPARENT);
        if (!child || child == target) break;
        MapWindowPoints(target, child, &at, 1);
        target = child;
    }
    const LPARAM where = MAKELPARAM(at.x, at.y);
    PostMessageW(target, WM_MOUSEMOVE, 0, where);
    PostMessageW(target, WM_LBUTTONDOWN, MK_LBUTTON, where);
    Sleep(30);
    PostMessageW(target, WM_LBUTTONUP, 0, where);
}

void resize(uint64_t handle, int width, int height)
{
    const HWND window = reinterpret_cast<HWND>(handle);
    RECT outer{0, 0, width, height};
    AdjustWindowRectEx(&outer, static_cast<DWORD>(GetWindowLongW(window, GWL_STYLE)), FALSE,
                       static_cast<DWORD>(GetWindowLongW(window, GWL_EXSTYLE)));
    SetWindowPos(window, nullptr, 0, 0, outer.right - outer.left, outer.bottom - outer.top,
                 SWP_NOMOVE | SWP_NOZORDER);
}

void requestClose(uint64_t window)
{
    PostMessageW(reinterpret_cast<HWND>(window), WM_CLOSE, 0, 0);
}
} // namespace desktop
