// The option menu's popup and the text edit's field on Windows, driven by messages: keys reach
// the modal popup from a timer that fires inside the system's menu loop, and the field gets its
// characters, keys and pastes as the system would deliver them.

#include "../control_helpers.h"
#include "toolkit/coptionmenu.h"
#include "toolkit/ctextedit.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>
#include <vector>

using namespace toolkit_test;

namespace
{
HWND hostWindow()
{
    static const wchar_t* name = []
    {
        WNDCLASSW c{};
        c.lpfnWndProc = DefWindowProcW;
        c.hInstance = GetModuleHandleW(nullptr);
        c.lpszClassName = L"NativeTestHost";
        RegisterClassW(&c);
        return L"NativeTestHost";
    }();
    HWND w = CreateWindowExW(0, name, L"host", WS_POPUP | WS_CLIPCHILDREN, 100, 80, 300, 200, nullptr,
                             nullptr, GetModuleHandleW(nullptr), nullptr);
    ShowWindow(w, SW_SHOW);
    return w;
}

void pumpFor(int milliseconds)
{
    const DWORD end = GetTickCount() + DWORD(milliseconds);
    while (GetTickCount() < end)
        processPlatformEvents(10);
}

// The keys that the timer plays into the running popup.
std::vector<WPARAM> pendingKeys;
HWND keyTarget = nullptr;

void CALLBACK playKeys(HWND, UINT, UINT_PTR id, DWORD)
{
    KillTimer(nullptr, id);
    for (WPARAM key : pendingKeys)
    {
        PostMessageW(keyTarget, WM_KEYDOWN, key, 1);
        PostMessageW(keyTarget, WM_KEYUP, key, 0xC0000001);
    }
    pendingKeys.clear();
}

struct Bench
{
    Bench() : listener(&log)
    {
        host = hostWindow();
        frame = new CFrame(CRect(0, 0, 300, 200), host, nullptr);
        window = static_cast<HWND>(frame->nativeWindow());
    }
    ~Bench()
    {
        delete frame;
        DestroyWindow(host);
    }
    void press(int x, int y)
    {
        SendMessageW(window, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(x, y));
        SendMessageW(window, WM_LBUTTONUP, 0, MAKELPARAM(x, y));
    }
    Log log;
    LoggingListener listener;
    HWND host;
    CFrame* frame;
    HWND window;
};

void putOnClipboard(HWND owner, const std::wstring& text)
{
    ASSERT_TRUE(OpenClipboard(owner));
    EmptyClipboard();
    HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, (text.size() + 1) * sizeof(wchar_t));
    std::memcpy(GlobalLock(memory), text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    GlobalUnlock(memory);
    SetClipboardData(CF_UNICODETEXT, memory);
    CloseClipboard();
}
} // namespace

TEST(NativeWin32Test, KeysInTheModalPopupChooseInASubmenuOrNothing)
{
    Bench b;
    auto* menu = new COptionMenu(CRect(10, 10, 110, 30), &b.listener, 4);
    auto* sub = new COptionMenu(CRect(0, 0, 10, 10));
    menu->addEntry("Alpha");
    menu->addEntry("Beta");
    menu->addEntry(sub, "More");
    sub->addEntry("x");
    sub->addEntry("y");
    b.frame->addView(menu);

    // The menu's loop picks the keys from the queue of the thread.
    keyTarget = b.window;
    pendingKeys = {VK_DOWN, VK_DOWN, VK_DOWN, VK_RIGHT, VK_DOWN, VK_RETURN};
    SetTimer(nullptr, 0, 300, playKeys);
    b.press(20, 20);
    int32_t index = -2;
    EXPECT_EQ(menu->lastItemMenu(index), sub);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(b.log, (Log{"begin", "value 1.000", "end"}));

    b.log.clear();
    pendingKeys = {VK_DOWN, VK_ESCAPE, VK_ESCAPE};
    SetTimer(nullptr, 0, 300, playKeys);
    b.press(20, 20);
    EXPECT_EQ(menu->lastResult(), -1);
    EXPECT_EQ(b.log, (Log{"begin", "end"}));
    sub->release();
}

TEST(NativeWin32Test, TheFieldTakesTypedAndPastedTextReturnAndEscape)
{
    Bench b;
    auto* edit = new CTextEdit(CRect(10, 50, 150, 70), &b.listener, 3, "old");
    b.frame->addView(edit);

    b.press(20, 60);
    ASSERT_TRUE(edit->isEditing());
    HWND field = FindWindowExW(b.window, nullptr, L"EDIT", nullptr);
    ASSERT_NE(field, nullptr);
    EXPECT_EQ(GetFocus(), field);
    for (wchar_t c : std::wstring(L"n\u00e9w"))
        SendMessageW(field, WM_CHAR, c, 1);
    SendMessageW(field, WM_KEYDOWN, VK_RETURN, 1);
    EXPECT_FALSE(edit->isEditing());
    EXPECT_TRUE(edit->returnWasPressed());
    EXPECT_STREQ(edit->textOf(), "n\xC3\xA9w");
    EXPECT_EQ(b.log, (Log{"begin", "end", "value 0.000"}));

    b.log.clear();
    b.press(20, 60);
    field = FindWindowExW(b.window, nullptr, L"EDIT", nullptr);
    ASSERT_NE(field, nullptr);
    SendMessageW(field, WM_CHAR, 'z', 1);
    SendMessageW(field, WM_KEYDOWN, VK_ESCAPE, 1);
    EXPECT_FALSE(edit->isEditing());
    EXPECT_STREQ(edit->textOf(), "n\xC3\xA9w");
    EXPECT_EQ(b.log, (Log{"begin", "end"}));

    // A lone surrogate from the clipboard, then more text than the field holds.
    b.press(20, 60);
    field = FindWindowExW(b.window, nullptr, L"EDIT", nullptr);
    ASSERT_NE(field, nullptr);
    putOnClipboard(b.window, std::wstring(L"a") + wchar_t(0xD800) + L"b");
    SendMessageW(field, WM_PASTE, 0, 0);
    SetFocus(b.host); // the loss of focus ends the edit
    pumpFor(50);
    EXPECT_FALSE(edit->isEditing());
    EXPECT_STREQ(edit->textOf(), "a\xEF\xBF\xBD"
                                 "b");

    b.press(20, 60);
    field = FindWindowExW(b.window, nullptr, L"EDIT", nullptr);
    ASSERT_NE(field, nullptr);
    putOnClipboard(b.window, std::wstring(400, L'q'));
    SendMessageW(field, WM_PASTE, 0, 0);
    SendMessageW(field, WM_KEYDOWN, VK_RETURN, 1);
    EXPECT_EQ(std::string(edit->textOf()), std::string(255, 'q'));
}
