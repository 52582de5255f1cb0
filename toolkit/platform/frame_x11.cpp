// The frame's native window on X11: a child window of the host's window, on a connection of the
// process's own that is opened on first use. X events become the frame's calls, expose regions
// are gathered into one paint rectangle per window, and a handled press grabs the pointer until
// the release, so that moves and the release reach the pressed view wherever the pointer goes.

#include "toolkit/cbase.h"
#include "toolkit/platform/display_x11.h"
#include "toolkit/platform/frame.h"
#include "toolkit/platform/types_cairo.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/cursorfont.h>
#include <cairo-xlib.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <map>
#include <vector>

namespace Plexel
{

struct FrameWindow
{
    FrameEvents* frame;
    Window window;
    bool alive;
    int32_t width;
    int32_t height;
    bool damaged;
    CRect damage;
    // For the double click, which X leaves to the client.
    Time lastPressTime;
    unsigned int lastPressButton;
    int lastPressX;
    int lastPressY;
};

namespace
{
Display* display = nullptr;
std::vector<FrameWindow*> windows;
XErrorHandler previousErrorHandler = nullptr;
int trappedErrors = 0;
// The request number of the last error trapped. Errors come back late, at the next round trip, so
// a call judges only those of requests it made itself; an error of a window closed earlier must not
// fail the next window's creation.
unsigned long lastErrorSerial = 0;
// Buttons 8 and 9 have no bit in the core state word.
int32_t extraButtonsDown = 0;
Cursor cursors[10] = {};
// Windows of the toolkit that are no frame, with whoever handles their events.
std::map<Window, X11EventSink*> sinks;

constexpr Time kDoubleClickTime = 400;
constexpr int kDoubleClickDistance = 4;

// The host's window may go away under the frame; errors on the toolkit's own connection are
// counted and otherwise dropped, and those of other connections go to whoever handled them.
int onXError(Display* d, XErrorEvent* e)
{
    if (d == display)
    {
        ++trappedErrors;
        lastErrorSerial = e->serial;
        return 0;
    }
    return previousErrorHandler ? previousErrorHandler(d, e) : 0;
}

// Whether a request made since `firstRequest` (NextRequest before it) failed; the caller has had
// the answers already, through a round trip.
bool failedSince(int errorsBefore, unsigned long firstRequest)
{
    return trappedErrors != errorsBefore && static_cast<long>(lastErrorSerial - firstRequest) >= 0;
}

Display* connection()
{
    if (!display)
    {
        display = XOpenDisplay(nullptr);
        if (display) previousErrorHandler = XSetErrorHandler(onXError);
    }
    return display;
}

FrameWindow* lookup(Window w)
{
    for (FrameWindow* fw : windows)
        if (fw->window == w) return fw;
    return nullptr;
}

bool registered(const FrameWindow* fw)
{
    return std::find(windows.begin(), windows.end(), fw) != windows.end();
}

int32_t modifierFlags(unsigned int state)
{
    int32_t flags = 0;
    if (state & ShiftMask) flags |= kModifierShift;
    if (state & ControlMask) flags |= kModifierControl;
    if (state & Mod1Mask) flags |= kModifierAlt;
    return flags;
}

int32_t buttonFlags(unsigned int state)
{
    int32_t flags = modifierFlags(state) | extraButtonsDown;
    if (state & Button1Mask) flags |= kButtonLeft;
    if (state & Button2Mask) flags |= kButtonMiddle;
    if (state & Button3Mask) flags |= kButtonRight;
    return flags;
}

int32_t flagOfButton(unsigned int button)
{
    switch (button)
    {
    case Button1:
        return kButtonLeft;
    case Button2:
        return kButtonMiddle;
    case Button3:
        return kButtonRight;
    case 8:
        return kButtonExtra1;
    case 9:
        return kButtonExtra2;
    default:
        return 0;
    }
}

void onButtonPress(FrameWindow* fw, const XButtonEvent& e)
{
    CPoint where{e.x, e.y};
    if (e.button == Button4 || e.button == Button5)
    {
        // One notch per event; buttons held play no part in the wheel.
        fw->frame->windowWheel(where, e.button == Button4 ? 1.f : -1.f, modifierFlags(e.state));
        return;
    }
    const int32_t pressed = flagOfButton(e.button);
    if (!pressed) return; // horizontal scrolling and unknown buttons
    if (pressed & (kButtonExtra1 | kButtonExtra2)) extraButtonsDown |= pressed;
    // The flags tell the state with the new button down, as a press message does.
    int32_t buttons = buttonFlags(e.state) | pressed;
    if (e.button == fw->lastPressButton && fw->lastPressTime != 0 &&
        e.time - fw->lastPressTime <= kDoubleClickTime &&
        std::abs(e.x - fw->lastPressX) <= kDoubleClickDistance &&
        std::abs(e.y - fw->lastPressY) <= kDoubleClickDistance)
    {
        buttons |= kButtonDoubleClick;
        fw->lastPressTime = 0; // a third press starts anew
    }
    else
    {
        fw->lastPressTime = e.time;
        fw->lastPressButton = e.button;
        fw->lastPressX = e.x;
        fw->lastPressY = e.y;
    }
    const Window w = fw->window;
    const int32_t result = fw->frame->windowMouseDown(where, buttons);
    if (result == kMouseHandled && lookup(w))
    {
        XGrabPointer(display, w, False, ButtonPressMask | ButtonReleaseMask | PointerMotionMask,
                     GrabModeAsync, GrabModeAsync, None, None, e.time);
        XFlush(display);
    }
}

void onButtonRelease(FrameWindow* fw, const XButtonEvent& e)
{
    const int32_t released = flagOfButton(e.button);
    if (!released) return;
    extraButtonsDown &= ~released;
    CPoint where{e.x, e.y};
    fw->frame->windowMouseUp(where, buttonFlags(e.state) & ~released);
    XUngrabPointer(display, e.time);
    XFlush(display);
}

void dispatch(XEvent& event)
{
    FrameWindow* fw = lookup(event.xany.window);
    // Messages of a drag name the top-level window that stands for the frame's.
    if (!fw && event.type == ClientMessage) fw = lookup(dropWindowOf(event.xany.window));
    if (!fw)
    {
        auto sink = sinks.find(event.xany.window);
        if (sink != sinks.end()) sink->second->handleEvent(event);
        return;
    }
    switch (event.type)
    {
    case Expose:
    {
        const XExposeEvent& e = event.xexpose;
        CRect r(e.x, e.y, e.x + e.width, e.y + e.height);
        if (fw->damaged)
            fw->damage.unite(r);
        else
            fw->damage = r;
        fw->damaged = true;
        break;
    }
    case ButtonPress:
        onButtonPress(fw, event.xbutton);
        break;
    case ButtonRelease:
        onButtonRelease(fw, event.xbutton);
        break;
    case MotionNotify:
    {
        // Only the newest position of a burst of moves matters; a burst ends at any other event,
        // so that a move never overtakes a press or a release.
        XEvent next;
        while (XEventsQueued(display, QueuedAfterReading) > 0 && XPeekEvent(display, &next) &&
               next.type == MotionNotify && next.xany.window == fw->window)
            XNextEvent(display, &event);
        CPoint where{event.xmotion.x, event.xmotion.y};
        fw->frame->windowMouseMove(where, buttonFlags(event.xmotion.state));
        break;
    }
    case LeaveNotify:
    {
        const XCrossingEvent& e = event.xcrossing;
        // Crossings caused by grabs, and moves into child windows, are no leave.
        if (e.mode != NotifyNormal || e.detail == NotifyInferior) break;
        fw->frame->windowMouseLeave();
        break;
    }
    case ConfigureNotify:
        fw->width = event.xconfigure.width;
        fw->height = event.xconfigure.height;
        break;
    case DestroyNotify:
        if (event.xdestroywindow.window == fw->window)
        {
            fw->alive = false;
            fw->damaged = false;
            forgetDropTarget(fw->window);
            fw->frame->windowDestroyed();
        }
        break;
    case ClientMessage:
    case SelectionNotify:
        handleDropEvent(fw->frame, fw->window, event);
        break;
    default:
        break;
    }
}

void paintDamage(FrameWindow* fw)
{
    CRect rect = fw->damage;
    fw->damaged = false;
    rect.bound(CRect(0, 0, fw->width, fw->height));
    if (rect.isEmpty() || !fw->alive) return;
    cairo_surface_t* surface = createWindowSurface(reinterpret_cast<PlatformHandle>(fw->window));
    if (!surface) return;
    cairo_t* cr = cairo_create(surface);
    cairo_rectangle(cr, rect.left, rect.top, rect.width(), rect.height());
    cairo_clip(cr);
    // Draw into a group and put it on the window at once, so that a repaint never flickers.
    cairo_push_group(cr);
    fw->frame->windowPaint(cr, rect);
    cairo_pop_group_to_source(cr);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_paint(cr);
    cairo_destroy(cr);
    cairo_surface_flush(surface);
    cairo_surface_destroy(surface);
    XFlush(display);
}

bool hasWindowState(Window w)
{
    static Atom wmState = XInternAtom(display, "WM_STATE", False);
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long after = 0;
    unsigned char* data = nullptr;
    if (XGetWindowProperty(display, w, wmState, 0, 0, False, AnyPropertyType, &type, &format, &count, &after,
                           &data) != Success)
        return false;
    if (data) XFree(data);
    return type != None;
}

Window parentOf(Window w)
{
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned int count = 0;
    if (!XQueryTree(display, w, &root, &parent, &children, &count)) return 0;
    if (children) XFree(children);
    return parent == root ? 0 : parent;
}

bool geometry(Window w, int& x, int& y, int& width, int& height)
{
    Window root;
    unsigned int uw = 0, uh = 0, border = 0, depth = 0;
    if (!XGetGeometry(display, w, &root, &x, &y, &uw, &uh, &border, &depth)) return false;
    width = int(uw);
    height = int(uh);
    return true;
}

// The window that stands for the frame among the host's: up through windows that are no
// managed top-level window and about as large as the frame.
Window outerWindowOf(Window w)
{
    int x, y, refWidth, refHeight;
    if (!geometry(w, x, y, refWidth, refHeight)) return w;
    while (!hasWindowState(w))
    {
        Window p = parentOf(w);
        int pw, ph;
        if (!p || !geometry(p, x, y, pw, ph)) break;
        if (std::abs(pw - refWidth) > 60 || std::abs(ph - refHeight) > 60) break;
        w = p;
    }
    return w;
}
} // namespace

//------------------------------------------------------------------------------------------------

FrameWindow* createFrameWindow(FrameEvents* frame, PlatformHandle parent, const CRect& rect)
{
    if (!connection() || !parent) return nullptr;
    const Window parentWindow = Window(reinterpret_cast<uintptr_t>(parent));
    XSetWindowAttributes attributes{};
    // No background: the frame paints every pixel, and the server must not clear before it does.
    attributes.background_pixmap = None;
    attributes.event_mask = ExposureMask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask |
                            LeaveWindowMask | EnterWindowMask | StructureNotifyMask;
    const int width = std::max(1, rect.width());
    const int height = std::max(1, rect.height());
    const int errorsBefore = trappedErrors;
    const unsigned long firstRequest = NextRequest(display);
    Window w =
        XCreateWindow(display, parentWindow, 0, 0, unsigned(width), unsigned(height), 0, CopyFromParent,
                      InputOutput, CopyFromParent, CWBackPixmap | CWEventMask, &attributes);
    XMapWindow(display, w);
    XSync(display, False);
    if (failedSince(errorsBefore, firstRequest)) return nullptr; // the parent window does not exist
    auto* fw = new FrameWindow{frame, w, true, width, height, false, CRect(), 0, 0, 0, 0};
    windows.push_back(fw);
    return fw;
}

void destroyFrameWindow(FrameWindow* fw)
{
    if (!fw) return;
    windows.erase(std::remove(windows.begin(), windows.end(), fw), windows.end());
    forgetDropTarget(fw->window);
    if (fw->alive) XDestroyWindow(display, fw->window);
    XFlush(display);
    delete fw;
}

PlatformHandle frameWindowHandle(const FrameWindow* fw)
{
    return fw ? reinterpret_cast<PlatformHandle>(uintptr_t(fw->window)) : nullptr;
}

void invalidateFrameWindow(FrameWindow* fw, const CRect& rect)
{
    if (!fw || !fw->alive) return;
    CRect r = rect;
    r.bound(CRect(0, 0, fw->width, fw->height));
    if (r.isEmpty()) return;
    // The server answers with Expose events for the area, as it does for any damage; with no
    // background set it leaves the pixels alone.
    XClearArea(display, fw->window, r.left, r.top, unsigned(r.width()), unsigned(r.height()), True);
    XFlush(display);
}

void trackFrameMouseLeave(FrameWindow*)
{
    // The window always selects LeaveNotify; there is nothing to ask for.
}

CPoint frameMouseLocation(const FrameWindow* fw)
{
    Window root, child;
    int rootX = 0, rootY = 0, x = 0, y = 0;
    unsigned int mask = 0;
    if (!fw || !fw->alive ||
        !XQueryPointer(display, fw->window, &root, &child, &rootX, &rootY, &x, &y, &mask))
        return {};
    return {x, y};
}

int32_t frameMouseButtons(const FrameWindow* fw)
{
    Window root, child;
    int rootX = 0, rootY = 0, x = 0, y = 0;
    unsigned int mask = 0;
    if (!fw || !fw->alive ||
        !XQueryPointer(display, fw->window, &root, &child, &rootX, &rootY, &x, &y, &mask))
        return 0;
    return buttonFlags(mask);
}

void setFrameCursor(FrameWindow* fw, int32_t type)
{
    if (!fw || !fw->alive) return;
    static const unsigned int shapes[10] = {0,
                                            XC_watch,
                                            XC_sb_h_double_arrow,
                                            XC_sb_v_double_arrow,
                                            XC_fleur,
                                            XC_bottom_left_corner,
                                            XC_bottom_right_corner,
                                            0,
                                            XC_X_cursor,
                                            XC_hand2};
    if (type < 0 || type > 9 || shapes[type] == 0)
        XUndefineCursor(display, fw->window); // the default: the parent's cursor
    else
    {
        if (!cursors[type]) cursors[type] = XCreateFontCursor(display, shapes[type]);
        XDefineCursor(display, fw->window, cursors[type]);
    }
    XFlush(display);
}

bool resizeFrameWindowChain(FrameWindow* fw, int32_t width, int32_t height)
{
    if (!fw || !fw->alive) return true;
    // Up the host's windows as long as each one is about the frame's size larger, so that the
    // host's panel grows with the frame. A managed top-level window is the last; the window
    // manager decides about it.
    Window w = fw->window;
    int dx = 0;
    int dy = 0;
    while (w)
    {
        if (w != fw->window && hasWindowState(w)) break;
        Window p = parentOf(w);
        if (!p) break;
        int x, y, ww, wh, pw, ph;
        if (!geometry(w, x, y, ww, wh) || !geometry(p, x, y, pw, ph)) break;
        XResizeWindow(display, w, unsigned(std::max(1, width + dx)), unsigned(std::max(1, height + dy)));
        dx += pw - ww;
        dy += ph - wh;
        if (dx > 80 || dy > 80)
        {
            XFlush(display);
            return false;
        }
        w = p;
        dx = std::max(dx, 0);
        dy = std::max(dy, 0);
    }
    if (w) XResizeWindow(display, w, unsigned(std::max(1, width + dx)), unsigned(std::max(1, height + dy)));
    XFlush(display);
    fw->width = width;
    fw->height = height;
    return true;
}

bool frameWindowPosition(const FrameWindow* fw, int32_t& x, int32_t& y)
{
    if (!fw || !fw->alive) return false;
    Window outer = outerWindowOf(fw->window);
    int ox, oy, w, h;
    if (!geometry(outer, ox, oy, w, h)) return false;
    x = ox;
    y = oy;
    return true;
}

bool frameWindowOuterSize(const FrameWindow* fw, CRect& out)
{
    if (!fw || !fw->alive) return false;
    Window p = parentOf(fw->window);
    int x, y, w, h;
    if (!p || !geometry(p, x, y, w, h)) return false;
    out = CRect(x, y, x + w, y + h);
    return true;
}

void setFrameDropTarget(FrameWindow* fw, bool active)
{
    if (!fw || !fw->alive) return;
    setWindowDropTarget(fw->window, active);
}

bool frameNeedsBackBuffer()
{
    return false; // each repaint is drawn into a group first
}

cairo_surface_t* createWindowSurface(PlatformHandle handle)
{
    if (!display || !handle) return nullptr;
    const Window w = Window(reinterpret_cast<uintptr_t>(handle));
    XWindowAttributes attributes;
    const int errorsBefore = trappedErrors;
    const unsigned long firstRequest = NextRequest(display);
    if (!XGetWindowAttributes(display, w, &attributes) || failedSince(errorsBefore, firstRequest))
        return nullptr;
    return cairo_xlib_surface_create(display, w, attributes.visual, attributes.width, attributes.height);
}

CPoint nativeWindowScreenPosition(PlatformHandle handle)
{
    if (!display || !handle) return {};
    const Window w = Window(reinterpret_cast<uintptr_t>(handle));
    Window child;
    int x = 0, y = 0;
    if (!XTranslateCoordinates(display, w, DefaultRootWindow(display), 0, 0, &x, &y, &child)) return {};
    return {x, y};
}

Display* toolkitDisplay()
{
    return connection();
}

void watchWindow(Window window, X11EventSink* sink)
{
    sinks[window] = sink;
}

void unwatchWindow(Window window)
{
    sinks.erase(window);
}

void dispatchEvent(XEvent& event)
{
    dispatch(event);
}

//------------------------------------------------------------------------------------------------

int32_t platformEventDescriptor()
{
    return display ? ConnectionNumber(display) : -1;
}

bool processPlatformEvents(int32_t waitMilliseconds)
{
    if (!display) return false;
    if (waitMilliseconds > 0 && XPending(display) == 0)
    {
        pollfd descriptor{ConnectionNumber(display), POLLIN, 0};
        poll(&descriptor, 1, waitMilliseconds);
    }
    bool any = false;
    while (XPending(display) > 0)
    {
        XEvent event;
        XNextEvent(display, &event);
        // An input method takes the key events it composes from.
        if (XFilterEvent(&event, None)) continue;
        // Keys read through Xlib follow a keyboard that changed its mapping.
        if (event.type == MappingNotify) XRefreshKeyboardMapping(&event.xmapping);
        dispatch(event);
        any = true;
    }
    // Paint after the queue is empty, so that all damage of a burst is one repaint.
    paintPlatformDamage();
    return any;
}

void paintPlatformDamage()
{
    if (!display) return;
    std::vector<FrameWindow*> pending;
    for (FrameWindow* fw : windows)
        if (fw->damaged) pending.push_back(fw);
    for (FrameWindow* fw : pending)
        if (registered(fw)) paintDamage(fw);
}

} // namespace Plexel
