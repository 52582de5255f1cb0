#include "host/kit/platform/editorwindow.h"
#include "host/kit/platform/widetext_win32.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <chrono>

namespace hostkit::platform
{
namespace
{
// What the window procedure learns for nextEvent.
struct WindowState
{
    bool closeAsked = false; // WM_CLOSE came and is not reported yet
    bool gone = false;       // the window was destroyed by someone else
    // A resizable window: the least outer size, and the client size last reported.
    int minWidth = 0;
    int minHeight = 0;
    int width = 0;
    int height = 0;
    bool resized = false; // the client size changed and is not reported yet
};
const wchar_t* const kClassName = L"TremolinHostEditorWindow";

LRESULT CALLBACK windowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_NCCREATE)
    {
        const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    auto* state = reinterpret_cast<WindowState*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (state)
    {
        switch (message)
        {
        case WM_CLOSE:
            // The host decides: it saves the project first and then takes the window down itself.
            state->closeAsked = true;
            return 0;
        case WM_GETMINMAXINFO:
            if (state->minWidth > 0)
            {
                auto* limits = reinterpret_cast<MINMAXINFO*>(lParam);
                limits->ptMinTrackSize = {state->minWidth, state->minHeight};
            }
            break;
        case WM_SIZE:
            if (wParam != SIZE_MINIMIZED && state->minWidth > 0 &&
                (LOWORD(lParam) != state->width || HIWORD(lParam) != state->height))
            {
                state->width = LOWORD(lParam);
                state->height = HIWORD(lParam);
                state->resized = true;
            }
            break;
        case WM_DESTROY:
            state->gone = true;
            SetWindowLongPtrW(window, GWLP_USERDATA, 0);
            break;
        default:
            break;
        }
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

bool registerClass(HINSTANCE instance)
{
    WNDCLASSW windowClass{};
    if (GetClassInfoW(instance, kClassName, &windowClass)) return true;
    windowClass.lpfnWndProc = windowProc;
    windowClass.hInstance = instance;
    windowClass.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
    windowClass.hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
    windowClass.lpszClassName = kClassName;
    return RegisterClassW(&windowClass) != 0;
}

// Keys are the host's whichever of its windows they were typed into: the module's child window
// has the focus once it is clicked, and it has no use for them. Taken from the queue before
// dispatching, so that they reach neither window procedure.
bool keyEvent(const MSG& message, WindowEvent& out)
{
    using Key = WindowEvent::Key;
    static const struct
    {
        WPARAM virtualKey;
        Key key;
    } keys[] = {{VK_LEFT, Key::Left},
                {VK_UP, Key::Up},
                {VK_RIGHT, Key::Right},
                {VK_DOWN, Key::Down},
                {VK_ESCAPE, Key::Escape}};
    out = WindowEvent{};
    out.kind = WindowEvent::Kind::Key;
    if (message.message == WM_KEYDOWN)
    {
        for (const auto& key : keys)
            if (message.wParam == key.virtualKey)
            {
                out.key = key.key;
                return true;
            }
        return false;
    }
    if (message.message == WM_CHAR && message.wParam > L' ' && message.wParam < 127)
    {
        out.key = Key::Character;
        out.character = static_cast<char>(message.wParam);
        return true;
    }
    return false;
}
} // namespace

struct EditorWindow::Native
{
    HWND window = nullptr;
    WindowState state;
};

EditorWindow::EditorWindow(const Options& options, std::string& error)
{
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    if (!registerClass(instance))
    {
        error = "Windows refused the class of the editor's window.";
        return;
    }
    // The editor's size is the least it needs; only a resizable panel may grow.
    DWORD style = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX | WS_CLIPCHILDREN;
    if (options.resizable && !options.unmanaged) style |= WS_THICKFRAME | WS_MAXIMIZEBOX;
    DWORD extendedStyle = 0;
    int x = CW_USEDEFAULT, y = CW_USEDEFAULT;
    if (options.unmanaged)
    {
        style = WS_POPUP | WS_CLIPCHILDREN;
        extendedStyle = WS_EX_TOPMOST | WS_EX_TOOLWINDOW;
        x = y = 0;
    }
    RECT outer{0, 0, options.width, options.height};
    AdjustWindowRectEx(&outer, style, FALSE, extendedStyle);

    native = new Native;
    if (options.resizable && !options.unmanaged)
    {
        native->state.minWidth = outer.right - outer.left;
        native->state.minHeight = outer.bottom - outer.top;
        native->state.width = options.width;
        native->state.height = options.height;
    }
    const std::wstring title = widen(options.title);
    native->window =
        CreateWindowExW(extendedStyle, kClassName, title.c_str(), style, x, y, outer.right - outer.left,
                        outer.bottom - outer.top, nullptr, nullptr, instance, &native->state);
    if (!native->window)
    {
        delete native;
        native = nullptr;
        error = "Windows refused to make the editor's window.";
    }
}

EditorWindow::~EditorWindow()
{
    if (!native) return;
    if (!native->state.gone && IsWindow(native->window))
    {
        SetWindowLongPtrW(native->window, GWLP_USERDATA, 0);
        DestroyWindow(native->window);
    }
    delete native;
}

const char* EditorWindow::platformType()
{
    return "HWND";
}

void* EditorWindow::nativeHandle() const
{
    return native ? static_cast<void*>(native->window) : nullptr;
}

bool EditorWindow::show(std::string& error)
{
    // The picture window must not take the keys from whatever the user is typing into.
    const bool managed = !(GetWindowLongW(native->window, GWL_EXSTYLE) & WS_EX_TOPMOST);
    ShowWindow(native->window, managed ? SW_SHOWNORMAL : SW_SHOWNA);
    if (managed) SetForegroundWindow(native->window);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    // Only what the window system needs to show the window is handled here; keys and the close
    // stay queued for nextEvent.
    MSG message;
    while (!IsWindowVisible(native->window) || GetUpdateRect(native->window, nullptr, FALSE))
    {
        if (native->state.gone || std::chrono::steady_clock::now() > deadline)
        {
            error = "The window system did not show the editor's window within 10 seconds.";
            return false;
        }
        MsgWaitForMultipleObjectsEx(0, nullptr, 10, QS_PAINT | QS_SENDMESSAGE, MWMO_INPUTAVAILABLE);
        while (PeekMessageW(&message, nullptr, WM_PAINT, WM_PAINT, PM_REMOVE))
            DispatchMessageW(&message);
    }
    return true;
}

// A desktop is always there for a Windows program.
bool EditorWindow::available(std::string&)
{
    return true;
}

void* EditorWindow::addChild(int32_t x, int32_t y, int32_t width, int32_t height)
{
    if (!native || native->state.gone || width <= 0 || height <= 0) return nullptr;
    // A plain static window: the module's view makes its own window inside and draws there.
    HWND child =
        CreateWindowExW(0, L"STATIC", L"", WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | WS_CLIPCHILDREN, x, y,
                        width, height, native->window, nullptr, GetModuleHandleW(nullptr), nullptr);
    if (child) SetWindowPos(child, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    return child;
}

// Keys are taken from the thread's queue whatever window they were typed into.
void EditorWindow::takeKeysOf(void*) {}

bool EditorWindow::nextEvent(WindowEvent& out, int32_t waitMilliseconds)
{
    MSG message;
    if (!native->state.closeAsked && !native->state.gone && waitMilliseconds > 0 &&
        !PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE))
        MsgWaitForMultipleObjectsEx(0, nullptr, static_cast<DWORD>(waitMilliseconds), QS_ALLINPUT,
                                    MWMO_INPUTAVAILABLE);
    for (;;)
    {
        if (native->state.closeAsked || native->state.gone)
        {
            // A window destroyed by someone else is reported once, as the close it amounts to.
            const bool report = native->state.closeAsked || native->window;
            native->state.closeAsked = false;
            if (native->state.gone) native->window = nullptr;
            if (report) out = WindowEvent{};
            return report;
        }
        if (native->state.resized)
        {
            native->state.resized = false;
            out = WindowEvent{};
            out.kind = WindowEvent::Kind::Resize;
            out.width = native->state.width;
            out.height = native->state.height;
            return true;
        }
        if (!PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) return false;
        if (message.message == WM_QUIT)
        {
            // Left for whoever owns the thread's loop.
            PostQuitMessage(static_cast<int>(message.wParam));
            return false;
        }
        const bool ours = message.hwnd && native->window &&
                          (message.hwnd == native->window || IsChild(native->window, message.hwnd));
        if (ours && keyEvent(message, out)) return true;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

bool EditorWindow::capture(Picture& picture, std::string& error)
{
    HWND window = native->window;
    if (!window || !IsWindowVisible(window) || IsIconic(window))
    {
        error = "The editor's window is not on the screen, so its picture can't be read.";
        return false;
    }
    RECT client;
    GetClientRect(window, &client);
    POINT origin{0, 0};
    ClientToScreen(window, &origin);
    const int width = client.right, height = client.bottom;
    if (origin.x < 0 || origin.y < 0 || origin.x + width > GetSystemMetrics(SM_CXSCREEN) ||
        origin.y + height > GetSystemMetrics(SM_CYSCREEN) || width <= 0 || height <= 0)
    {
        error = "The editor's window reaches past the edge of the screen, so its picture can't be read.";
        return false;
    }

    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height; // rows from the top
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    void* bits = nullptr;
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    bool read = false;
    if (memory && bitmap)
    {
        HGDIOBJ previous = SelectObject(memory, bitmap);
        // Read from the screen: the module's child window paints straight to it, and a window's
        // own picture (PrintWindow) would hold only what its window procedure draws for WM_PRINT,
        // which the module's window does not answer. The window is on top of everything when the
        // caller asks for an unmanaged one, so the screen shows exactly the editor there.
        read = BitBlt(memory, 0, 0, width, height, screen, origin.x, origin.y, SRCCOPY) != FALSE;
        GdiFlush();
        if (read)
        {
            // 32-bit DIB pixels are 0x00RRGGBB in memory order B, G, R, unused.
            const auto* source = static_cast<const uint32_t*>(bits);
            picture.width = width;
            picture.height = height;
            picture.pixels.resize(static_cast<size_t>(width) * static_cast<size_t>(height));
            for (size_t i = 0; i < picture.pixels.size(); ++i)
                picture.pixels[i] = source[i] & 0xFFFFFFu;
        }
        SelectObject(memory, previous);
    }
    if (bitmap) DeleteObject(bitmap);
    if (memory) DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    if (!read) error = "Windows gave no picture of the editor's window.";
    return read;
}
} // namespace hostkit::platform
