#include "../xdriver.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

namespace xdriver
{

namespace
{
Display* display = nullptr;

Window idOf(PlatformHandle h)
{
    return Window(reinterpret_cast<uintptr_t>(h));
}
} // namespace

bool connect()
{
    if (!display) display = XOpenDisplay(nullptr);
    int event, error, major, minor;
    return display && XTestQueryExtension(display, &event, &error, &major, &minor);
}

PlatformHandle createTopWindow(int x, int y, int width, int height)
{
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    attributes.background_pixel = WhitePixel(display, DefaultScreen(display));
    attributes.event_mask = StructureNotifyMask;
    Window w = XCreateWindow(display, DefaultRootWindow(display), x, y, unsigned(width), unsigned(height), 0,
                             CopyFromParent, InputOutput, CopyFromParent,
                             CWOverrideRedirect | CWBackPixel | CWEventMask, &attributes);
    XMapWindow(display, w);
    XEvent e;
    do
        XWindowEvent(display, w, StructureNotifyMask, &e);
    while (e.type != MapNotify);
    XSync(display, False);
    return reinterpret_cast<PlatformHandle>(uintptr_t(w));
}

void destroyWindow(PlatformHandle window)
{
    XDestroyWindow(display, idOf(window));
    XSync(display, False);
}

CRect geometry(PlatformHandle window)
{
    Window root;
    int x = 0, y = 0;
    unsigned int w = 0, h = 0, border = 0, depth = 0;
    XGetGeometry(display, idOf(window), &root, &x, &y, &w, &h, &border, &depth);
    return CRect(x, y, x + int(w), y + int(h));
}

PlatformHandle firstChild(PlatformHandle window)
{
    Window root, parent, *children = nullptr;
    unsigned int count = 0;
    XQueryTree(display, idOf(window), &root, &parent, &children, &count);
    Window child = count ? children[0] : 0;
    if (children) XFree(children);
    return reinterpret_cast<PlatformHandle>(uintptr_t(child));
}

void movePointer(int x, int y)
{
    XTestFakeMotionEvent(display, -1, x, y, CurrentTime);
    XSync(display, False);
}

void button(unsigned int number, bool press)
{
    XTestFakeButtonEvent(display, number, press ? True : False, CurrentTime);
    XSync(display, False);
}

uint32_t pixel(PlatformHandle window, int x, int y)
{
    XImage* image = XGetImage(display, idOf(window), x, y, 1, 1, AllPlanes, ZPixmap);
    if (!image) return 0xFFFFFFFFu;
    uint32_t value = uint32_t(XGetPixel(image, 0, 0)) & 0xFFFFFFu;
    XDestroyImage(image);
    return value;
}

} // namespace xdriver
