#include "../desktop.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

#include <chrono>
#include <thread>

namespace desktop
{
namespace
{
Display* display = nullptr;

std::string title(Window window)
{
    char* name = nullptr;
    if (!XFetchName(display, window, &name) || !name) return {};
    std::string text = name;
    XFree(name);
    return text;
}

// The windows of the program under test come and go while the test looks at them (the dialog
// closes, a popup ends); a window gone between listing and asking is no failure of the test.
int ignoreError(Display*, XErrorEvent*)
{
    return 0;
}
} // namespace

bool connect()
{
    if (!display)
    {
        display = XOpenDisplay(nullptr);
        XSetErrorHandler(ignoreError);
    }
    int event, error, major, minor;
    return display && XTestQueryExtension(display, &event, &error, &major, &minor);
}

uint64_t findWindow(const std::string& prefix, double seconds)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    do
    {
        Window root, parent, *children = nullptr;
        unsigned int count = 0;
        XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
        Window found = 0;
        for (unsigned int i = 0; i < count && !found; ++i)
        {
            XWindowAttributes attributes;
            if (XGetWindowAttributes(display, children[i], &attributes) &&
                attributes.map_state == IsViewable && title(children[i]).rfind(prefix, 0) == 0)
                found = children[i];
        }
        if (children) XFree(children);
        if (found) return found;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    } while (std::chrono::steady_clock::now() < deadline);
    return 0;
}

void size(uint64_t window, int& width, int& height)
{
    XWindowAttributes attributes;
    XGetWindowAttributes(display, static_cast<Window>(window), &attributes);
    width = attributes.width;
    height = attributes.height;
}

void pointInto(uint64_t window)
{
    int x = 0, y = 0, width = 0, height = 0;
    Window child;
    XTranslateCoordinates(display, static_cast<Window>(window), DefaultRootWindow(display), 0, 0, &x, &y,
                          &child);
    size(window, width, height);
    XTestFakeMotionEvent(display, -1, x + width / 2, y + height / 2, CurrentTime);
    XSync(display, False);
}

void typeKey(const std::string& name)
{
    const KeyCode code = XKeysymToKeycode(display, XStringToKeysym(name.c_str()));
    XTestFakeKeyEvent(display, code, True, CurrentTime);
    XTestFakeKeyEvent(display, code, False, CurrentTime);
    XSync(display, False);
}

void click(uint64_t window, int x, int y)
{
    int left = 0, top = 0;
    Window child;
    XTranslateCoordinates(display, static_cast<Window>(window), DefaultRootWindow(display), 0, 0, &left, &top,
                          &child);
    XTestFakeMotionEvent(display, -1, left + x, top + y, CurrentTime);
    XSync(display, False);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    XTestFakeButtonEvent(display, 1, True, CurrentTime);
    XSync(display, False);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    XTestFakeButtonEvent(display, 1, False, CurrentTime);
    XSync(display, False);
}

void resize(uint64_t window, int width, int height)
{
    XResizeWindow(display, static_cast<Window>(window), static_cast<unsigned>(width),
                  static_cast<unsigned>(height));
    XSync(display, False);
}

void requestClose(uint64_t window)
{
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = static_cast<Window>(window);
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(display, static_cast<Window>(window), False, NoEventMask, &event);
    XSync(display, False);
}
} // namespace desktop
