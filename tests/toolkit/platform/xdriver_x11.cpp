#include "../xdriver.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <cstring>
#include <map>

namespace xdriver
{

namespace
{
Display* display = nullptr;
Window selectionWindow = 0;
std::map<Atom, std::string> owned;

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

bool isViewable(PlatformHandle window)
{
    XWindowAttributes a;
    return window && XGetWindowAttributes(display, idOf(window), &a) && a.map_state == IsViewable;
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

void typeKey(unsigned long keysym, bool control)
{
    KeyCode code = XKeysymToKeycode(display, keysym);
    if (!code)
    {
        // The highest key without symbols takes the keysym.
        int low = 0, high = 0, perKey = 0;
        XDisplayKeycodes(display, &low, &high);
        KeySym* map = XGetKeyboardMapping(display, KeyCode(low), high - low + 1, &perKey);
        for (int k = high; k >= low && !code; --k)
        {
            bool empty = true;
            for (int i = 0; i < perKey; ++i)
                empty = empty && map[(k - low) * perKey + i] == NoSymbol;
            if (empty) code = KeyCode(k);
        }
        XFree(map);
        KeySym symbols[2] = {keysym, keysym};
        XChangeKeyboardMapping(display, code, 2, symbols, 1);
        XSync(display, False);
    }
    const bool shift = XkbKeycodeToKeysym(display, code, 0, 0) != keysym &&
                       XkbKeycodeToKeysym(display, code, 0, 1) == keysym;
    const KeyCode shiftCode = XKeysymToKeycode(display, XK_Shift_L);
    const KeyCode controlCode = XKeysymToKeycode(display, XK_Control_L);
    if (shift) XTestFakeKeyEvent(display, shiftCode, True, CurrentTime);
    if (control) XTestFakeKeyEvent(display, controlCode, True, CurrentTime);
    XTestFakeKeyEvent(display, code, True, CurrentTime);
    XTestFakeKeyEvent(display, code, False, CurrentTime);
    if (control) XTestFakeKeyEvent(display, controlCode, False, CurrentTime);
    if (shift) XTestFakeKeyEvent(display, shiftCode, False, CurrentTime);
    XSync(display, False);
}

void typeText(const char* text)
{
    for (; *text; ++text)
        typeKey(static_cast<unsigned char>(*text) == ' ' ? XK_space
                                                         : KeySym(static_cast<unsigned char>(*text)));
}

void ownSelection(const char* selection, const std::string& bytes)
{
    if (!selectionWindow)
        selectionWindow = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
    const Atom atom = XInternAtom(display, selection, False);
    owned[atom] = bytes;
    XSetSelectionOwner(display, atom, selectionWindow, CurrentTime);
    XSync(display, False);
}

void serveSelections()
{
    const Atom utf8 = XInternAtom(display, "UTF8_STRING", False);
    XEvent e;
    while (selectionWindow && XCheckTypedWindowEvent(display, selectionWindow, SelectionRequest, &e))
    {
        const XSelectionRequestEvent& r = e.xselectionrequest;
        XEvent reply{};
        reply.xselection.type = SelectionNotify;
        reply.xselection.requestor = r.requestor;
        reply.xselection.selection = r.selection;
        reply.xselection.target = r.target;
        reply.xselection.time = r.time;
        reply.xselection.property = None;
        auto data = owned.find(r.selection);
        if (data != owned.end() && r.target == utf8)
        {
            XChangeProperty(display, r.requestor, r.property, utf8, 8, PropModeReplace,
                            reinterpret_cast<const unsigned char*>(data->second.data()),
                            int(data->second.size()));
            reply.xselection.property = r.property;
        }
        XSendEvent(display, r.requestor, False, NoEventMask, &reply);
    }
    XSync(display, False);
}

void requestSelection(const char* selection)
{
    if (!selectionWindow)
        selectionWindow = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
    XConvertSelection(display, XInternAtom(display, selection, False),
                      XInternAtom(display, "UTF8_STRING", False),
                      XInternAtom(display, "XDRIVER_SELECTION", False), selectionWindow, CurrentTime);
    XSync(display, False);
}

bool readSelection(std::string& out)
{
    XEvent e;
    if (!selectionWindow || !XCheckTypedWindowEvent(display, selectionWindow, SelectionNotify, &e))
        return false;
    out.clear();
    if (e.xselection.property == None) return true;
    Atom type = None;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    if (XGetWindowProperty(display, selectionWindow, e.xselection.property, 0, 65536, True, AnyPropertyType,
                           &type, &format, &count, &after, &data) == Success &&
        data)
        out.assign(reinterpret_cast<char*>(data), count);
    if (data) XFree(data);
    return true;
}

CRect findTopWindow(const char* name)
{
    Window root, parent, *children = nullptr;
    unsigned int count = 0;
    CRect found;
    // Held still while it is read: a window of the list may be gone by the time it is asked about.
    XGrabServer(display);
    XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
    for (unsigned int i = 0; i < count; ++i)
    {
        char* title = nullptr;
        XWindowAttributes a;
        if (XFetchName(display, children[i], &title) && title && std::strcmp(title, name) == 0 &&
            XGetWindowAttributes(display, children[i], &a) && a.map_state == IsViewable)
            found = CRect(a.x, a.y, a.x + a.width, a.y + a.height);
        if (title) XFree(title);
    }
    if (children) XFree(children);
    XUngrabServer(display);
    XFlush(display);
    return found;
}

bool inputHeldByAnother()
{
    const Window root = DefaultRootWindow(display);
    bool held = false;
    if (XGrabKeyboard(display, root, False, GrabModeAsync, GrabModeAsync, CurrentTime) == AlreadyGrabbed)
        held = true;
    else
        XUngrabKeyboard(display, CurrentTime);
    if (held && XGrabPointer(display, root, False, 0, GrabModeAsync, GrabModeAsync, None, None,
                             CurrentTime) != AlreadyGrabbed)
    {
        XUngrabPointer(display, CurrentTime);
        held = false;
    }
    XSync(display, False);
    return held;
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
