#include "lv2/platform/childwindow.h"

#include <X11/Xlib.h>

namespace tremolinlv2::platform
{
uintptr_t topChildWindow(uintptr_t parent)
{
    // A connection of its own: the editor's and the host's are not ours to use.
    Display* display = XOpenDisplay(nullptr);
    if (!display) return 0;
    Window root = 0;
    Window above = 0;
    Window* children = nullptr;
    unsigned int count = 0;
    uintptr_t found = 0;
    if (XQueryTree(display, static_cast<Window>(parent), &root, &above, &children, &count) && count > 0)
        found = static_cast<uintptr_t>(children[count - 1]); // bottom to top
    if (children) XFree(children);
    XCloseDisplay(display);
    return found;
}
} // namespace tremolinlv2::platform
