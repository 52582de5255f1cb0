// A frame in a real child window on Windows: the messages of the system reach the views, damage
// is painted, the pointer is captured and shaped, and a new size goes up the host's windows.

#include "../toolkit_helpers.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <functional>

using namespace toolkit_test;

namespace
{
bool pumpUntil(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > end) return false;
        processPlatformEvents(20);
    }
    return true;
}

void settle()
{
    while (processPlatformEvents(100))
    {
    }
}

// A window of the host: a plain top-level window, or a child of another. Top-level windows are
// shown without being activated, so that no window manager needs to take them.
HWND hostWindow(int x, int y, int width, int height, HWND parent = nullptr, DWORD style = 0)
{
    static const wchar_t* name = []
    {
        WNDCLASSW c{};
        c.lpfnWndProc = DefWindowProcW;
        c.hInstance = GetModuleHandleW(nullptr);
        c.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));
        c.hbrBackground = HBRUSH(GetStockObject(WHITE_BRUSH));
        c.lpszClassName = L"ToolkitTestHost";
        RegisterClassW(&c);
        return L"ToolkitTestHost";
    }();
    style |= WS_CLIPCHILDREN | (parent ? WS_CHILD : WS_POPUP);
    HWND w = CreateWindowExW(parent ? 0 : WS_EX_NOACTIVATE, name, L"host", style, x, y, width, height, parent,
                             nullptr, GetModuleHandleW(nullptr), nullptr);
    ShowWindow(w, parent ? SW_SHOW : SW_SHOWNOACTIVATE);
    UpdateWindow(w);
    return w;
}

CPoint sizeOf(HWND w)
{
    RECT r;
    GetWindowRect(w, &r);
    return {r.right - r.left, r.bottom - r.top};
}

COLORREF pixel(HWND w, int x, int y)
{
    HDC dc = GetDC(w);
    COLORREF c = GetPixel(dc, x, y);
    ReleaseDC(w, dc);
    return c;
}

COLORREF colorref(CColor c)
{
    return RGB(c.red, c.green, c.blue);
}

LPARAM at(int x, int y)
{
    return MAKELPARAM(x, y);
}

void click(DWORD down, DWORD up)
{
    INPUT inputs[2]{};
    inputs[0].type = inputs[1].type = INPUT_MOUSE;
    inputs[0].mi.dwFlags = down;
    inputs[1].mi.dwFlags = up;
    SendInput(2, inputs, sizeof(INPUT));
}

struct FrameInHost
{
    FrameInHost(int width = 160, int height = 120)
    {
        host = hostWindow(100, 80, width, height);
        frame = new CFrame(CRect(0, 0, width, height), host, nullptr);
        window = static_cast<HWND>(frame->nativeWindow());
    }
    ~FrameInHost()
    {
        delete frame;
        DestroyWindow(host);
        settle();
    }
    HWND host;
    CFrame* frame;
    HWND window;
};
} // namespace

TEST(WindowWin32Test, MessagesReachTheViewsAndAHandledPressCapturesTheMouse)
{
    FrameInHost h;
    ASSERT_NE(h.window, nullptr);
    EXPECT_EQ(GetParent(h.window), h.host);
    std::vector<std::string> log;
    auto* right = new RecordingView(CRect(80, 0, 160, 120), &log);
    h.frame->addView(right);

    SendMessageW(h.window, WM_MOUSEMOVE, 0, at(100, 20));
    SendMessageW(h.window, WM_MOUSEMOVE, 0, at(101, 20));
    SendMessageW(h.window, WM_LBUTTONDOWN, MK_LBUTTON, at(100, 20));
    EXPECT_EQ(GetCapture(), h.window);
    // Moves far outside still go to the pressed view, in its coordinates.
    SendMessageW(h.window, WM_MOUSEMOVE, MK_LBUTTON, at(400, 300));
    SendMessageW(h.window, WM_LBUTTONUP, 0, at(400, 300));
    EXPECT_EQ(GetCapture(), nullptr);
    SendMessageW(h.window, WM_LBUTTONDBLCLK, MK_LBUTTON, at(90, 10));
    SendMessageW(h.window, WM_LBUTTONUP, 0, at(90, 10));
    SendMessageW(h.window, WM_RBUTTONDOWN, MK_RBUTTON | MK_SHIFT | MK_CONTROL, at(85, 5));
    SendMessageW(h.window, WM_RBUTTONUP, MK_SHIFT, at(85, 5));
    SendMessageW(h.window, WM_XBUTTONDOWN, MAKEWPARAM(MK_XBUTTON2, XBUTTON2), at(85, 5));
    SendMessageW(h.window, WM_XBUTTONUP, MAKEWPARAM(0, XBUTTON2), at(85, 5));
    EXPECT_EQ(log, (std::vector<std::string>{"v enter 100,20 0", "v move 101,20 0", "v leave 100,20 2",
                                             "v down 100,20 2", "v move 400,300 2", "v up 400,300 0",
                                             "v down 90,10 1026", "v up 90,10 0", "v down 85,5 56",
                                             "v up 85,5 16", "v down 85,5 512", "v up 85,5 0"}));

    // A press that no view takes leaves the mouse free.
    log.clear();
    right->downResult = kMouseNotHandled;
    SendMessageW(h.window, WM_MBUTTONDOWN, MK_MBUTTON, at(120, 60));
    EXPECT_EQ(log, std::vector<std::string>{"v down 120,60 4"});
    EXPECT_EQ(GetCapture(), nullptr);
    SendMessageW(h.window, WM_MBUTTONUP, 0, at(120, 60));

    // The wheel comes in screen coordinates and in whole notches; less than one is none.
    log.clear();
    RECT r;
    GetWindowRect(h.window, &r);
    const LPARAM screen = at(r.left + 120, r.top + 40);
    SendMessageW(h.window, WM_MOUSEWHEEL, MAKEWPARAM(0, 2 * WHEEL_DELTA), screen);
    SendMessageW(h.window, WM_MOUSEWHEEL, MAKEWPARAM(0, -WHEEL_DELTA), screen);
    SendMessageW(h.window, WM_MOUSEWHEEL, MAKEWPARAM(0, WHEEL_DELTA / 2), screen);
    EXPECT_EQ(log,
              (std::vector<std::string>{"v wheel2 120,40 0", "v wheel-1 120,40 0", "v wheel0 120,40 0"}));

    // The leave notification leaves the hovered view.
    SendMessageW(h.window, WM_MOUSEMOVE, 0, at(130, 50));
    ASSERT_EQ(h.frame->mouseOverView(), right);
    SendMessageW(h.window, WM_MOUSELEAVE, 0, 0);
    EXPECT_EQ(h.frame->mouseOverView(), nullptr);
    EXPECT_EQ(log.back().rfind("v leave ", 0), 0u);
}

TEST(WindowWin32Test, TheWheelLeftOfThePrimaryMonitorAndACaptureTakenAwayMidPress)
{
    FrameInHost h;
    std::vector<std::string> log;
    auto* right = new RecordingView(CRect(80, 0, 160, 120), &log);
    h.frame->addView(right);

    // A host window on a monitor left of and above the primary one: negative screen coordinates.
    SetWindowPos(h.host, nullptr, -400, -300, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    RECT r;
    GetWindowRect(h.window, &r);
    ASSERT_LT(r.left + 120, 0);
    const LPARAM screen = at(r.left + 120, r.top + 40);
    SendMessageW(h.window, WM_MOUSEWHEEL, MAKEWPARAM(0, WHEEL_DELTA), screen);
    EXPECT_EQ(log, std::vector<std::string>{"v wheel1 120,40 0"});

    // Another window takes the mouse while a view is pressed: the press ends, and the wheel works
    // again without a further click.
    log.clear();
    SendMessageW(h.window, WM_LBUTTONDOWN, MK_LBUTTON, at(100, 20));
    ASSERT_EQ(GetCapture(), h.window);
    HWND other = hostWindow(400, 80, 50, 50);
    SetCapture(other);
    EXPECT_EQ(h.frame->mouseDownChild(), nullptr);
    ReleaseCapture();
    DestroyWindow(other);
    SendMessageW(h.window, WM_MOUSEWHEEL, MAKEWPARAM(0, WHEEL_DELTA), screen);
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](const std::string& line) { return line.rfind("v up ", 0) == 0; }),
              1);
    EXPECT_EQ(log.back(), "v wheel1 120,40 0");
}

TEST(WindowWin32Test, TheRealPointerEntersDoubleClicksAndLeaves)
{
    FrameInHost h;
    std::vector<std::string> log;
    auto* view = new RecordingView(CRect(0, 0, 160, 120), &log);
    h.frame->addView(view);
    settle();

    SetCursorPos(100 + 50, 80 + 30);
    ASSERT_TRUE(pumpUntil([&] { return h.frame->mouseOverView() == view; }));
    // The class asks for double clicks: the second of two quick presses is one.
    log.clear();
    click(MOUSEEVENTF_LEFTDOWN, MOUSEEVENTF_LEFTUP);
    click(MOUSEEVENTF_LEFTDOWN, MOUSEEVENTF_LEFTUP);
    ASSERT_TRUE(pumpUntil([&] { return std::count(log.begin(), log.end(), "v up 50,30 0") == 2; }));
    EXPECT_EQ(std::count(log.begin(), log.end(), "v down 50,30 2"), 1);
    EXPECT_EQ(std::count(log.begin(), log.end(), "v down 50,30 1026"), 1);

    // Out of the window, the system's leave notification reaches the hovered view; each entry
    // asks for the next one.
    for (int round = 0; round < 2; ++round)
    {
        SetCursorPos(100 + 60 + round, 80 + 30);
        ASSERT_TRUE(pumpUntil([&] { return h.frame->mouseOverView() == view; })) << round;
        SetCursorPos(600, 600);
        ASSERT_TRUE(pumpUntil([&] { return h.frame->mouseOverView() == nullptr; })) << round;
        EXPECT_EQ(log.back().rfind("v leave ", 0), 0u) << round;
    }
}

TEST(WindowWin32Test, DamageIsPaintedWhereItIsAndAnEmptyUpdatePaintsNothing)
{
    FrameInHost h;
    std::vector<std::string> log;
    auto* left = new PaintingRecorder(CRect(0, 0, 80, 120), &log, kColorRed);
    auto* right = new PaintingRecorder(CRect(80, 0, 160, 120), &log, kColorBlue);
    h.frame->addView(left);
    h.frame->addView(right);
    ASSERT_TRUE(pumpUntil([&] { return left->draws > 0 && right->draws > 0; }));
    settle();
    EXPECT_EQ(pixel(h.window, 10, 10), colorref(kColorRed));
    EXPECT_EQ(pixel(h.window, 100, 100), colorref(kColorBlue));

    left->colour = kColorGreen;
    right->colour = kColorYellow;
    const int rightDraws = right->draws;
    h.frame->invalidateRect(CRect(0, 0, 20, 20));
    paintPlatformDamage();
    EXPECT_EQ(pixel(h.window, 19, 19), colorref(kColorGreen));
    EXPECT_EQ(pixel(h.window, 20, 20), colorref(kColorRed));
    EXPECT_EQ(right->draws, rightDraws);

    // A paint message without damage, as anyone may send one, draws nothing.
    const int leftDraws = left->draws;
    ValidateRect(h.window, nullptr);
    SendMessageW(h.window, WM_PAINT, 0, 0);
    EXPECT_EQ(left->draws, leftDraws);
    EXPECT_EQ(right->draws, rightDraws);
}

TEST(WindowWin32Test, CursorsComeFromTheTableAndTheFirstOneComesBack)
{
    FrameInHost h;
    HCURSOR before = LoadCursorW(nullptr, MAKEINTRESOURCEW(32515)); // the cross
    SetCursor(before);
    h.frame->setCursor(kCursorHand);
    EXPECT_EQ(GetCursor(), LoadCursorW(nullptr, MAKEINTRESOURCEW(32649)));
    h.frame->setCursor(kCursorHSize);
    EXPECT_EQ(GetCursor(), LoadCursorW(nullptr, MAKEINTRESOURCEW(32644)));
    h.frame->setCursor(kCursorRestore);
    EXPECT_EQ(GetCursor(), before);
    h.frame->setCursor(kCursorNotAllowed);
    h.frame->setCursor(kCursorDefault);
    EXPECT_EQ(GetCursor(), before);
}

TEST(WindowWin32Test, ANewSizeGoesUpTheHostsWindowsUpToTheDocumentArea)
{
    // A host panel of the frame's size grows with it.
    {
        FrameInHost h(200, 100);
        EXPECT_FALSE(h.frame->setSize(200, 100));
        EXPECT_TRUE(h.frame->setSize(300, 150));
        EXPECT_EQ(h.frame->viewSize(), CRect(0, 0, 300, 150));
        EXPECT_EQ(sizeOf(h.window), CPoint(300, 150));
        EXPECT_EQ(sizeOf(h.host), CPoint(300, 150));
        int32_t x = 0, y = 0;
        EXPECT_TRUE(h.frame->position(x, y));
        EXPECT_EQ(CPoint(x, y), CPoint(100, 80));
    }

    // In a document window: the document grows, the document area around it keeps its size.
    HWND top = hostWindow(0, 0, 700, 500);
    CLIENTCREATESTRUCT documents{nullptr, 1000};
    HWND area = CreateWindowExW(0, L"MDICLIENT", nullptr, WS_CHILD | WS_VISIBLE, 0, 0, 600, 400, top, nullptr,
                                GetModuleHandleW(nullptr), &documents);
    ASSERT_NE(area, nullptr);
    HWND document = hostWindow(10, 10, 200, 100, area);
    auto* frame = new CFrame(CRect(0, 0, 200, 100), document, nullptr);
    EXPECT_TRUE(frame->setSize(260, 120));
    EXPECT_EQ(frame->viewSize(), CRect(0, 0, 260, 120));
    EXPECT_EQ(sizeOf(document), CPoint(260, 120));
    EXPECT_EQ(sizeOf(area), CPoint(600, 400));
    delete frame;

    // A host window far larger than the frame is no panel of it: the tree keeps its size.
    HWND big = hostWindow(10, 10, 400, 400);
    frame = new CFrame(CRect(0, 0, 100, 100), big, nullptr);
    EXPECT_TRUE(frame->setSize(150, 150));
    EXPECT_EQ(frame->viewSize(), CRect(0, 0, 100, 100));
    EXPECT_EQ(sizeOf(big), CPoint(400, 400));
    delete frame;
    DestroyWindow(big);
    DestroyWindow(top);
    settle();
}

TEST(WindowWin32Test, FramesShareTheirClassAndOneWhoseWindowTheHostDestroyedClosesQuietly)
{
    HWND host = hostWindow(10, 10, 100, 100);
    auto* first = new CFrame(CRect(0, 0, 100, 100), host, nullptr);
    auto* second = new CFrame(CRect(0, 0, 50, 50), host, nullptr);
    wchar_t name[128] = L"";
    GetClassNameW(static_cast<HWND>(first->nativeWindow()), name, 128);
    const HINSTANCE module =
        HINSTANCE(GetWindowLongPtrW(static_cast<HWND>(first->nativeWindow()), GWLP_HINSTANCE));
    WNDCLASSW found;
    delete second;
    EXPECT_TRUE(GetClassInfoW(module, name, &found));

    auto* v = new PaintView(CRect(0, 0, 10, 10), kColorRed);
    first->addView(v);
    DestroyWindow(host);
    EXPECT_FALSE(first->isOpen());
    EXPECT_EQ(first->parentWindow(), nullptr);
    v->setDirty(true);
    EXPECT_FALSE(first->idle());
    EXPECT_FALSE(first->setSize(50, 50));
    CRect outer;
    EXPECT_FALSE(first->outerSize(outer));
    first->setCursor(kCursorHand);
    delete first;
    // The last frame takes the class with it.
    EXPECT_FALSE(GetClassInfoW(module, name, &found));

    // A parent window that does not exist gives a frame without a window.
    auto* orphan = new CFrame(CRect(0, 0, 10, 10), host, nullptr);
    EXPECT_EQ(orphan->nativeWindow(), nullptr);
    delete orphan;
}
