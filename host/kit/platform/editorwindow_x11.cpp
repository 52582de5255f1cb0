#include "host/kit/platform/editorwindow.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

#include <chrono>
#include <cstdlib>
#include <poll.h>

namespace hostkit::platform
{
struct EditorWindow::Native
{
    Display* display = nullptr;
    Window window = 0;
    Atom protocols = 0;
    Atom deleteWindow = 0;
    int32_t width = 0;
    int32_t height = 0;
    bool unmanaged = false;
    bool gone = false;
};

namespace
{
// Waits until the connection has something to read, at most `milliseconds`.
void waitForInput(Display* display, int32_t milliseconds)
{
    if (milliseconds <= 0 || XPending(display) > 0) return;
    pollfd descriptor{ConnectionNumber(display), POLLIN, 0};
    poll(&descriptor, 1, milliseconds);
}

// The bits of a channel mask as an 8-bit value.
uint32_t channel(unsigned long pixel, unsigned long mask)
{
    if (!mask) return 0;
    int shift = 0;
    while (!((mask >> shift) & 1))
        ++shift;
    const unsigned long top = mask >> shift;
    const unsigned long value = (pixel & mask) >> shift;
    return static_cast<uint32_t>(value * 255 / top);
}
} // namespace

bool EditorWindow::available(std::string& error)
{
    const char* name = std::getenv("DISPLAY");
    if (!name || !name[0])
    {
        error = "There is no display for the editor's window: DISPLAY is not set.";
        return false;
    }
    Display* display = XOpenDisplay(nullptr);
    if (!display)
    {
        error = "Can't open the X display '" + std::string(name) + "' for the editor's window.";
        return false;
    }
    XCloseDisplay(display);
    return true;
}

EditorWindow::EditorWindow(const Options& options, std::string& error)
{
    const char* name = std::getenv("DISPLAY");
    if (!name || !name[0])
    {
        error = "There is no display for the editor's window: DISPLAY is not set.";
        return;
    }
    Display* display = XOpenDisplay(nullptr);
    if (!display)
    {
        error = "Can't open the X display '" + std::string(name) + "' for the editor's window.";
        return;
    }
    const int screen = DefaultScreen(display);
    XSetWindowAttributes attributes{};
    attributes.background_pixel = BlackPixel(display, screen);
    attributes.event_mask = KeyPressMask | StructureNotifyMask;
    attributes.override_redirect = options.unmanaged ? True : False;
    const Window window =
        XCreateWindow(display, RootWindow(display, screen), 0, 0, static_cast<unsigned>(options.width),
                      static_cast<unsigned>(options.height), 0, CopyFromParent, InputOutput, CopyFromParent,
                      CWBackPixel | CWEventMask | CWOverrideRedirect, &attributes);

    // The editor's size is the least it needs; only a resizable panel may grow.
    XSizeHints* size = XAllocSizeHints();
    size->flags = options.resizable ? PMinSize : PMinSize | PMaxSize;
    size->min_width = size->max_width = options.width;
    size->min_height = size->max_height = options.height;
    XSetWMNormalHints(display, window, size);
    XFree(size);
    XWMHints* hints = XAllocWMHints();
    hints->flags = InputHint;
    hints->input = True;
    XSetWMHints(display, window, hints);
    XFree(hints);
    XClassHint* classHint = XAllocClassHint();
    char resourceName[] = "tremolin-host", resourceClass[] = "Tremolin";
    classHint->res_name = resourceName;
    classHint->res_class = resourceClass;
    XSetClassHint(display, window, classHint);
    XFree(classHint);

    // The title in both forms: UTF-8 for today's window managers, the plain name for the rest.
    XStoreName(display, window, options.title.c_str());
    XChangeProperty(display, window, XInternAtom(display, "_NET_WM_NAME", False),
                    XInternAtom(display, "UTF8_STRING", False), 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(options.title.data()),
                    static_cast<int>(options.title.size()));

    native = new Native;
    native->display = display;
    native->window = window;
    native->protocols = XInternAtom(display, "WM_PROTOCOLS", False);
    native->deleteWindow = XInternAtom(display, "WM_DELETE_WINDOW", False);
    native->width = options.width;
    native->height = options.height;
    native->unmanaged = options.unmanaged;
    XSetWMProtocols(display, window, &native->deleteWindow, 1);
    // The editor makes its window inside this one on a connection of its own: this one must
    // exist on the server before its id is handed over.
    XSync(display, False);
}

EditorWindow::~EditorWindow()
{
    if (!native) return;
    if (!native->gone) XDestroyWindow(native->display, native->window);
    XCloseDisplay(native->display);
    delete native;
}

const char* EditorWindow::platformType()
{
    return "X11Window";
}

void* EditorWindow::nativeHandle() const
{
    return native ? reinterpret_cast<void*>(static_cast<uintptr_t>(native->window)) : nullptr;
}

bool EditorWindow::show(std::string& error)
{
    XMapRaised(native->display, native->window);
    XFlush(native->display);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    XEvent event;
    // Only the map notice is taken here; keys pressed meanwhile stay queued for nextEvent.
    while (!XCheckTypedWindowEvent(native->display, native->window, MapNotify, &event))
    {
        if (std::chrono::steady_clock::now() > deadline)
        {
            error = "The window system did not show the editor's window within 10 seconds.";
            return false;
        }
        waitForInput(native->display, 10);
    }
    // Keys are typed for the window the user just opened. A window manager would give it the
    // focus as well; without one the keys would go wherever the pointer is.
    if (!native->unmanaged) XSetInputFocus(native->display, native->window, RevertToParent, CurrentTime);
    XSync(native->display, False);
    return true;
}

bool EditorWindow::nextEvent(WindowEvent& out, int32_t waitMilliseconds)
{
    if (native->gone) return false;
    waitForInput(native->display, waitMilliseconds);
    while (XPending(native->display) > 0)
    {
        XEvent event;
        XNextEvent(native->display, &event);
        if (event.type == ClientMessage && event.xclient.message_type == native->protocols &&
            static_cast<Atom>(event.xclient.data.l[0]) == native->deleteWindow)
        {
            out = WindowEvent{};
            return true;
        }
        if (event.type == ConfigureNotify && event.xconfigure.window == native->window &&
            (event.xconfigure.width != native->width || event.xconfigure.height != native->height))
        {
            native->width = event.xconfigure.width;
            native->height = event.xconfigure.height;
            out = WindowEvent{};
            out.kind = WindowEvent::Kind::Resize;
            out.width = native->width;
            out.height = native->height;
            return true;
        }
        if (event.type == DestroyNotify && event.xdestroywindow.window == native->window)
        {
            native->gone = true;
            out = WindowEvent{};
            return true;
        }
        if (event.type != KeyPress) continue;
        char text[8] = {};
        KeySym symbol = NoSymbol;
        const int length = XLookupString(&event.xkey, text, sizeof text, &symbol, nullptr);
        out = WindowEvent{};
        out.kind = WindowEvent::Kind::Key;
        switch (symbol)
        {
        case XK_Left:
        case XK_KP_Left:
            out.key = WindowEvent::Key::Left;
            return true;
        case XK_Up:
        case XK_KP_Up:
            out.key = WindowEvent::Key::Up;
            return true;
        case XK_Right:
        case XK_KP_Right:
            out.key = WindowEvent::Key::Right;
            return true;
        case XK_Down:
        case XK_KP_Down:
            out.key = WindowEvent::Key::Down;
            return true;
        case XK_Escape:
            out.key = WindowEvent::Key::Escape;
            return true;
        default:
            break;
        }
        if (length == 1 && text[0] > ' ' && text[0] < 127)
        {
            out.key = WindowEvent::Key::Character;
            out.character = text[0];
            return true;
        }
    }
    return false;
}

void* EditorWindow::addChild(int32_t x, int32_t y, int32_t width, int32_t height)
{
    if (!native || native->gone || width <= 0 || height <= 0) return nullptr;
    Display* display = native->display;
    const int screen = DefaultScreen(display);
    // The newest child of a window lies above its older siblings, such as the host's panel.
    const Window child =
        XCreateSimpleWindow(display, native->window, x, y, static_cast<unsigned>(width),
                            static_cast<unsigned>(height), 0, 0, BlackPixel(display, screen));
    XMapWindow(display, child);
    // The module makes its window in this one on a connection of its own.
    XSync(display, False);
    return reinterpret_cast<void*>(static_cast<uintptr_t>(child));
}

void EditorWindow::takeKeysOf(void* child)
{
    if (!native || native->gone || !child) return;
    // Several clients may listen to a window's keys; focus on the child keeps them from reaching
    // this window by themselves.
    XSelectInput(native->display, static_cast<Window>(reinterpret_cast<uintptr_t>(child)), KeyPressMask);
    XSync(native->display, False);
}

bool EditorWindow::capture(Picture& picture, std::string& error)
{
    Display* display = native->display;
    XWindowAttributes attributes;
    if (!XGetWindowAttributes(display, native->window, &attributes) || attributes.map_state != IsViewable)
    {
        error = "The editor's window is not on the screen, so its picture can't be read.";
        return false;
    }
    // XGetImage fails outright for a window that reaches past the screen's edge.
    int x = 0, y = 0;
    Window child;
    XTranslateCoordinates(display, native->window, attributes.root, 0, 0, &x, &y, &child);
    if (x < 0 || y < 0 || x + attributes.width > WidthOfScreen(attributes.screen) ||
        y + attributes.height > HeightOfScreen(attributes.screen))
    {
        error = "The editor's window reaches past the edge of the screen, so its picture can't be read.";
        return false;
    }
    XImage* image = XGetImage(display, native->window, 0, 0, static_cast<unsigned>(attributes.width),
                              static_cast<unsigned>(attributes.height), AllPlanes, ZPixmap);
    if (!image)
    {
        error = "The X server gave no picture of the editor's window.";
        return false;
    }
    const Visual* visual = attributes.visual;
    picture.width = attributes.width;
    picture.height = attributes.height;
    picture.pixels.assign(static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height), 0);
    for (int32_t row = 0; row < picture.height; ++row)
        for (int32_t column = 0; column < picture.width; ++column)
        {
            const unsigned long pixel = XGetPixel(image, column, row);
            picture.pixels[static_cast<size_t>(row) * static_cast<size_t>(picture.width) +
                           static_cast<size_t>(column)] = channel(pixel, visual->red_mask) << 16 |
                                                          channel(pixel, visual->green_mask) << 8 |
                                                          channel(pixel, visual->blue_mask);
        }
    XDestroyImage(image);
    return true;
}
} // namespace hostkit::platform
