// The frame's native window on Windows: a child window of the host's window, of a class that the
// module registers while it has frames. Its window procedure turns messages into the frame's
// calls; a handled press captures the mouse until the release, so that moves and the release
// reach the pressed view wherever the pointer goes. Painting, double clicks and leave
// notifications come from the system.

#include "toolkit/cbase.h"
#include "toolkit/platform/dragdrop_win32.h"
#include "toolkit/platform/frame.h"
#include "toolkit/platform/textedit_win32.h"
#include "toolkit/platform/types_gdiplus.h"

#include <ole2.h>
#include <windowsx.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace Plexel
{

struct FrameWindow
{
    FrameEvents* frame;
    HWND window;
    bool alive;
    bool cursorKnown;
    HCURSOR defaultCursor;
    IDropTarget* dropTarget; // registered with the system, which holds the reference
    bool ole;                // OLE was started for this window's frame
    bool pressed = false;    // a press of ours holds the capture
};

namespace
{
wchar_t className[100] = L"";
int32_t classUsers = 0;
bool swapButtons = false;
std::vector<FrameWindow*> windows;

HMODULE moduleHandle()
{
    // The handle InitDll gave; a program that links the toolkit itself has none and finds its own
    // file from an address inside it.
    if (PlatformHandle given = getModuleHandle()) return static_cast<HMODULE>(given);
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&moduleHandle), &module);
    return module;
}

DWORD systemMajorVersion()
{
    OSVERSIONINFOEXW version;
    ZeroMemory(&version, sizeof(version));
    version.dwOSVersionInfoSize = sizeof(version);
    GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version));
    return version.dwMajorVersion;
}

FrameWindow* frameWindowOf(HWND window)
{
    return reinterpret_cast<FrameWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
}

bool registered(const FrameWindow* fw)
{
    return std::find(windows.begin(), windows.end(), fw) != windows.end();
}

// The key-state word of a mouse message as it comes: the system has already applied a swap of
// the buttons to it.
int32_t buttonFlags(WPARAM keys)
{
    int32_t flags = 0;
    if (keys & MK_LBUTTON) flags |= kButtonLeft;
    if (keys & MK_RBUTTON) flags |= kButtonRight;
    if (keys & MK_MBUTTON) flags |= kButtonMiddle;
    if (keys & MK_XBUTTON1) flags |= kButtonExtra1;
    if (keys & MK_XBUTTON2) flags |= kButtonExtra2;
    if (keys & MK_CONTROL) flags |= kModifierControl;
    if (keys & MK_SHIFT) flags |= kModifierShift;
    if (GetKeyState(VK_MENU) < 0) flags |= kModifierAlt;
    return flags;
}

int32_t modifierFlags()
{
    int32_t flags = 0;
    if (GetKeyState(VK_SHIFT) < 0) flags |= kModifierShift;
    if (GetKeyState(VK_CONTROL) < 0) flags |= kModifierControl;
    if (GetKeyState(VK_MENU) < 0) flags |= kModifierAlt;
    return flags;
}

// The system's cursors by number, whichever character width the headers were set up for.
template <typename Name> LPCWSTR systemCursor(Name id)
{
    return MAKEINTRESOURCEW(reinterpret_cast<ULONG_PTR>(id));
}

CPoint messagePoint(LPARAM lParam)
{
    return {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
}

void paint(FrameWindow* fw, HWND window)
{
    // A paint request without damage (one sent by hand, say) draws nothing.
    HRGN region = CreateRectRgn(0, 0, 0, 0);
    if (GetUpdateRgn(window, region, FALSE) == NULLREGION)
    {
        DeleteObject(region);
        return;
    }
    PAINTSTRUCT ps;
    if (HDC dc = BeginPaint(window, &ps))
    {
        const RECT& r = ps.rcPaint;
        fw->frame->windowPaint(dc, CRect(r.left, r.top, r.right, r.bottom));
    }
    EndPaint(window, &ps);
    DeleteObject(region);
}

void press(FrameWindow* fw, HWND window, WPARAM wParam, LPARAM lParam, bool doubleClick)
{
    CPoint where = messagePoint(lParam);
    int32_t buttons = buttonFlags(wParam);
    if (doubleClick) buttons |= kButtonDoubleClick;
    const int32_t result = fw->frame->windowMouseDown(where, buttons);
    // A view may have closed the editor, and the window with it.
    if (result == kMouseHandled && IsWindow(window) && frameWindowOf(window) == fw)
    {
        fw->pressed = true;
        SetCapture(window);
    }
}

LRESULT CALLBACK windowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    FrameWindow* fw = frameWindowOf(window);
    if (!fw) return DefWindowProcW(window, message, wParam, lParam);
    switch (message)
    {
    case WM_DESTROY:
        // The host took the window away before the frame was done with it.
        if (fw->dropTarget)
        {
            RevokeDragDrop(window);
            fw->dropTarget = nullptr;
        }
        fw->alive = false;
        fw->frame->windowDestroyed();
        break;
    case WM_PAINT:
        paint(fw, window);
        return 0;
    case WM_ERASEBKGND:
        return 1; // the frame paints every pixel
    case WM_MOUSEMOVE:
    {
        CPoint where = messagePoint(lParam);
        fw->frame->windowMouseMove(where, buttonFlags(wParam));
        return 0;
    }
    case WM_LBUTTONDOWN:
    case WM_RBUTTONDOWN:
    case WM_MBUTTONDOWN:
    case WM_XBUTTONDOWN:
        press(fw, window, wParam, lParam, false);
        return 0;
    case WM_LBUTTONDBLCLK:
    case WM_RBUTTONDBLCLK:
    case WM_MBUTTONDBLCLK:
    case WM_XBUTTONDBLCLK:
        press(fw, window, wParam, lParam, true);
        return 0;
    case WM_LBUTTONUP:
    case WM_RBUTTONUP:
    case WM_MBUTTONUP:
    case WM_XBUTTONUP:
    {
        CPoint where = messagePoint(lParam);
        fw->pressed = false;
        fw->frame->windowMouseUp(where, buttonFlags(wParam));
        ReleaseCapture();
        return 0;
    }
    case WM_CAPTURECHANGED:
    {
        // Another window took the mouse in the middle of a press (a menu, a dialog, the host):
        // no release will come, so the press ends here, where the pointer is.
        if (!fw->pressed || reinterpret_cast<HWND>(lParam) == window) break;
        fw->pressed = false;
        POINT pointer;
        GetCursorPos(&pointer);
        ScreenToClient(window, &pointer);
        fw->frame->windowMouseUp(CPoint(pointer.x, pointer.y), 0);
        return 0;
    }
    case WM_MOUSEWHEEL:
    {
        // The position comes in screen coordinates; one notch is a whole step of the wheel.
        RECT r;
        GetWindowRect(window, &r);
        // Signed: monitors left of or above the primary one have negative coordinates.
        CPoint where = messagePoint(lParam);
        where.offset(-r.left, -r.top);
        const float distance = float(GET_WHEEL_DELTA_WPARAM(wParam) / WHEEL_DELTA);
        fw->frame->windowWheel(where, distance, modifierFlags());
        break;
    }
    case WM_MOUSELEAVE:
    {
        fw->frame->windowMouseLeave();
        return 0;
    }
    case WM_CTLCOLOREDIT:
        // The colours of an entry field of the frame's views.
        if (HBRUSH brush = textFieldColours(reinterpret_cast<HWND>(lParam), reinterpret_cast<HDC>(wParam)))
            return reinterpret_cast<LRESULT>(brush);
        break;
    default:
        break;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

bool registerClass()
{
    if (classUsers++ > 0) return true;
    HMODULE module = moduleHandle();
    wsprintfW(className, L"Plugin%p", static_cast<void*>(module));
    swapButtons = GetSystemMetrics(SM_SWAPBUTTON) != 0;
    WNDCLASSW windowClass{};
    windowClass.style = CS_GLOBALCLASS | CS_DBLCLKS;
    windowClass.lpfnWndProc = windowProc;
    windowClass.hInstance = module;
    windowClass.hCursor = LoadCursorW(nullptr, systemCursor(IDC_ARROW));
    windowClass.lpszClassName = className;
    if (RegisterClassW(&windowClass)) return true;
    classUsers = 0;
    return false;
}

void unregisterClass()
{
    if (classUsers > 0 && --classUsers == 0) UnregisterClassW(className, moduleHandle());
}

bool caption(HWND window)
{
    return (GetWindowLongW(window, GWL_STYLE) & WS_CAPTION) != 0;
}

// The window that stands for the frame on the desktop: up through windows without a caption
// that are about as large as the frame.
HWND outerWindowOf(HWND window)
{
    RECT reference;
    if (!GetWindowRect(window, &reference)) return window;
    HWND w = window;
    while (!caption(w))
    {
        HWND parent = GetParent(w);
        RECT r;
        if (!parent || !GetWindowRect(parent, &r)) break;
        if (std::abs((r.right - r.left) - (reference.right - reference.left)) > 60 ||
            std::abs((r.bottom - r.top) - (reference.bottom - reference.top)) > 60)
            break;
        w = parent;
    }
    return w;
}
} // namespace

//------------------------------------------------------------------------------------------------

FrameWindow* createFrameWindow(FrameEvents* frame, PlatformHandle parent, const CRect& rect)
{
    HWND parentWindow = static_cast<HWND>(parent);
    if (!parentWindow || !IsWindow(parentWindow) || !registerClass()) return nullptr;
    // A system that composes windows draws each repaint offscreen itself; below that, the frame
    // keeps a back buffer.
    const DWORD extendedStyle = frameNeedsBackBuffer() ? 0 : WS_EX_COMPOSITED;
    HWND window = CreateWindowExW(extendedStyle, className, L"Window",
                                  WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN | WS_CLIPSIBLINGS, 0, 0,
                                  std::max(1, rect.width()), std::max(1, rect.height()), parentWindow,
                                  nullptr, moduleHandle(), nullptr);
    if (!window)
    {
        unregisterClass();
        return nullptr;
    }
    // Drops come through OLE, which each frame starts on the window's thread for its lifetime.
    const bool ole = SUCCEEDED(OleInitialize(nullptr));
    auto* fw = new FrameWindow{frame, window, true, false, nullptr, nullptr, ole, false};
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(fw));
    windows.push_back(fw);
    return fw;
}

void destroyFrameWindow(FrameWindow* fw)
{
    if (!fw) return;
    windows.erase(std::remove(windows.begin(), windows.end(), fw), windows.end());
    if (fw->dropTarget) setFrameDropTarget(fw, false);
    if (fw->alive && IsWindow(fw->window))
    {
        // The frame is going: its window's last messages must not reach it.
        SetWindowLongPtrW(fw->window, GWLP_USERDATA, 0);
        if (GetCapture() == fw->window) ReleaseCapture();
        DestroyWindow(fw->window);
    }
    unregisterClass();
    if (fw->ole) OleUninitialize();
    delete fw;
}

PlatformHandle frameWindowHandle(const FrameWindow* fw)
{
    return fw ? static_cast<PlatformHandle>(fw->window) : nullptr;
}

void invalidateFrameWindow(FrameWindow* fw, const CRect& rect)
{
    if (!fw || !fw->alive) return;
    RECT r{rect.left, rect.top, rect.right, rect.bottom};
    InvalidateRect(fw->window, &r, TRUE);
}

void trackFrameMouseLeave(FrameWindow* fw)
{
    if (!fw || !fw->alive) return;
    TRACKMOUSEEVENT track{};
    track.cbSize = sizeof(track);
    track.dwFlags = TME_LEAVE;
    track.hwndTrack = fw->window;
    TrackMouseEvent(&track);
}

CPoint frameMouseLocation(const FrameWindow* fw)
{
    POINT p;
    RECT r;
    if (!fw || !GetCursorPos(&p) || !GetWindowRect(fw->window, &r)) return {};
    return {p.x - r.left, p.y - r.top};
}

int32_t frameMouseButtons(const FrameWindow*)
{
    // The physical buttons: with swapped buttons the left one is the primary.
    int32_t flags = 0;
    if (GetAsyncKeyState(VK_LBUTTON) < 0) flags |= swapButtons ? kButtonRight : kButtonLeft;
    if (GetAsyncKeyState(VK_MBUTTON) < 0) flags |= kButtonMiddle;
    if (GetAsyncKeyState(VK_RBUTTON) < 0) flags |= swapButtons ? kButtonLeft : kButtonRight;
    if (GetAsyncKeyState(VK_SHIFT) < 0) flags |= kModifierShift;
    if (GetAsyncKeyState(VK_CONTROL) < 0) flags |= kModifierControl;
    if (GetAsyncKeyState(VK_MENU) < 0) flags |= kModifierAlt;
    return flags;
}

void setFrameCursor(FrameWindow* fw, int32_t type)
{
    if (!fw) return;
    if (!fw->cursorKnown)
    {
        // Whatever the pointer showed before the first change is what the default brings back.
        fw->defaultCursor = GetCursor();
        fw->cursorKnown = true;
    }
    static const LPCWSTR shapes[10] = {nullptr,
                                       systemCursor(IDC_WAIT),
                                       systemCursor(IDC_SIZEWE),
                                       systemCursor(IDC_SIZENS),
                                       systemCursor(IDC_SIZEALL),
                                       systemCursor(IDC_SIZENESW),
                                       systemCursor(IDC_SIZENWSE),
                                       nullptr,
                                       systemCursor(IDC_NO),
                                       systemCursor(IDC_HAND)};
    if (type < 0 || type > 9 || !shapes[type])
        SetCursor(fw->defaultCursor);
    else
        SetCursor(LoadCursorW(nullptr, shapes[type]));
}

bool resizeFrameWindowChain(FrameWindow* fw, int32_t width, int32_t height)
{
    if (!fw || !fw->alive) return true;
    // Up the host's windows as long as each one is about the frame's size larger, so that the
    // host's panel grows with the frame. The client area of a multiple-document window is the
    // last; its children are the documents and it keeps its own size.
    const int32_t edge = 2 * GetSystemMetrics(SM_CYFIXEDFRAME);
    HWND w = fw->window;
    int32_t dx = 0;
    int32_t dy = 0;
    while (w && edge != 0 && dx != edge)
    {
        HWND p = GetParent(w);
        if (!p) break;
        wchar_t name[1024];
        if (GetClassNameW(p, name, 1024) && lstrcmpW(name, L"MDIClient") == 0) break;
        RECT own, outer;
        GetWindowRect(w, &own);
        GetWindowRect(p, &outer);
        SetWindowPos(w, nullptr, 0, 0, width + dx, height + dy, SWP_NOMOVE);
        dx += (outer.right - outer.left) - (own.right - own.left);
        dy += (outer.bottom - outer.top) - (own.bottom - own.top);
        if (dx > 80 || dy > 80) return false;
        w = p;
        dx = std::max(dx, 0);
        dy = std::max(dy, 0);
    }
    if (w) SetWindowPos(w, nullptr, 0, 0, width + dx, height + dy, SWP_NOMOVE);
    return true;
}

bool frameWindowPosition(const FrameWindow* fw, int32_t& x, int32_t& y)
{
    if (!fw || !fw->alive) return false;
    HWND outer = outerWindowOf(fw->window);
    RECT r;
    if (!GetWindowRect(outer, &r)) return false;
    POINT p{r.left, r.top};
    MapWindowPoints(nullptr, GetParent(outer), &p, 1);
    x = p.x;
    y = p.y;
    return true;
}

bool frameWindowOuterSize(const FrameWindow* fw, CRect& out)
{
    if (!fw || !fw->alive) return false;
    HWND parent = GetParent(fw->window);
    RECT r;
    if (!parent || !GetWindowRect(parent, &r)) return false;
    POINT p{r.left, r.top};
    MapWindowPoints(nullptr, GetParent(parent), &p, 1);
    out = CRect(p.x, p.y, p.x + (r.right - r.left), p.y + (r.bottom - r.top));
    return true;
}

void setFrameDropTarget(FrameWindow* fw, bool active)
{
    if (!fw) return;
    if (fw->dropTarget)
    {
        // The system lets go of its reference, which ends the target.
        RevokeDragDrop(fw->window);
        fw->dropTarget = nullptr;
    }
    if (!active || !fw->alive) return;
    IDropTarget* target = createDropTarget(fw->frame);
    if (RegisterDragDrop(fw->window, target) == S_OK) fw->dropTarget = target;
    target->Release();
}

bool frameNeedsBackBuffer()
{
    static const bool below6 = systemMajorVersion() < 6;
    return below6;
}

//------------------------------------------------------------------------------------------------
// The host's message loop serves the toolkit's windows on Windows. These serve the thread's
// queue for a program without one of its own, such as the tests.

int32_t platformEventDescriptor()
{
    return -1;
}

bool processPlatformEvents(int32_t waitMilliseconds)
{
    MSG message;
    if (waitMilliseconds > 0 && !PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE))
        MsgWaitForMultipleObjectsEx(0, nullptr, DWORD(waitMilliseconds), QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    bool any = false;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
    {
        if (message.message == WM_QUIT)
        {
            // Left for the loop that owns the thread.
            PostQuitMessage(int(message.wParam));
            break;
        }
        TranslateMessage(&message);
        DispatchMessageW(&message);
        any = true;
    }
    paintPlatformDamage();
    return any;
}

void paintPlatformDamage()
{
    std::vector<FrameWindow*> pending = windows;
    for (FrameWindow* fw : pending)
        if (registered(fw) && fw->alive) UpdateWindow(fw->window);
}

} // namespace Plexel
