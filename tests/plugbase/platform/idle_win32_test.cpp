// The editor's frame window keeps the editor idling through the host's message loop alone: a
// host that never calls serviceIdle still sees views that were only marked dirty repainted.

#include "plugbase/pplugview.h"
#include "toolkit/cframe.h"

#include <gtest/gtest.h>

#include <chrono>
#include <windows.h>

using namespace Plexel;

namespace
{
struct CountingView : CView
{
    CountingView() : CView(CRect(0, 0, 10, 10)) {}
    void invalidate() override
    {
        ++invalidations;
        CView::invalidate();
    }
    int invalidations = 0;
};

struct Editor : PluginGUIEditor
{
    Editor() : PluginGUIEditor(nullptr, nullptr) {}
    void attach(HWND host)
    {
        frame = new CFrame(CRect(0, 0, 100, 50), host, this);
        view = new CountingView;
        frame->addView(view);
        startIdleTimer();
    }
    void detach()
    {
        stopIdleTimer();
        frame->release();
        frame = nullptr;
    }
    CountingView* view = nullptr;
};

// Runs the thread's message loop, as a host does, until `done` holds or a second has passed.
template <class Done> bool pumpUntil(Done done)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (std::chrono::steady_clock::now() < end)
    {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageW(&message);
        if (done()) return true;
        Sleep(5);
    }
    return false;
}
} // namespace

TEST(EditorIdleWin32, TheFramesWindowDrivesIdleFromTheHostsMessageLoop)
{
    WNDCLASSW hostClass{};
    hostClass.lpfnWndProc = DefWindowProcW;
    hostClass.hInstance = GetModuleHandleW(nullptr);
    hostClass.lpszClassName = L"EditorIdleTestHost";
    RegisterClassW(&hostClass);
    HWND host = CreateWindowExW(WS_EX_NOACTIVATE, L"EditorIdleTestHost", L"host", WS_POPUP | WS_CLIPCHILDREN,
                                100, 80, 120, 80, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    ASSERT_NE(host, nullptr);
    ShowWindow(host, SW_SHOWNOACTIVATE);
    Editor editor;
    editor.attach(host);
    pumpUntil([] { return false; }); // the first paints settle

    const int before = editor.view->invalidations;
    editor.view->setDirty(true);
    EXPECT_TRUE(pumpUntil([&] { return editor.view->invalidations > before; }))
        << "nothing but the message loop ran, and the marked view was not repainted";

    // Once the frame is gone the timer is too.
    editor.detach();
    pumpUntil([] { return false; });
    DestroyWindow(host);
}
