#include "tests/lv2/windowpicture.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <chrono>
#include <functional>
#include <thread>

namespace lv2test
{
namespace
{
Window findNamed(Display* display, Window window, const std::string& prefix)
{
    char* name = nullptr;
    if (XFetchName(display, window, &name) && name)
    {
        const bool match = std::string(name).rfind(prefix, 0) == 0;
        XFree(name);
        if (match) return window;
    }
    Window root = 0, parent = 0;
    Window* children = nullptr;
    unsigned int count = 0;
    Window found = 0;
    if (XQueryTree(display, window, &root, &parent, &children, &count))
        for (unsigned int i = 0; i < count && !found; ++i)
            found = findNamed(display, children[i], prefix);
    if (children) XFree(children);
    return found;
}
} // namespace

bool pictureOfWindow(const std::string& prefix, int minWidth, double seconds, WindowPicture& picture)
{
    Display* display = XOpenDisplay(nullptr);
    if (!display) return false;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    bool taken = false;
    while (!taken && std::chrono::steady_clock::now() < deadline)
    {
        const Window window = findNamed(display, DefaultRootWindow(display), prefix);
        XWindowAttributes attributes{};
        if (window && XGetWindowAttributes(display, window, &attributes) &&
            attributes.map_state == IsViewable && attributes.width >= minWidth)
        {
            if (XImage* image = XGetImage(display, window, 0, 0, unsigned(attributes.width),
                                          unsigned(attributes.height), AllPlanes, ZPixmap))
            {
                picture.width = attributes.width;
                picture.height = attributes.height;
                picture.pixels.clear();
                for (int y = 0; y < attributes.height; ++y)
                    for (int x = 0; x < attributes.width; ++x)
                        picture.pixels.push_back(uint32_t(XGetPixel(image, x, y)) & 0xFFFFFF);
                XDestroyImage(image);
                taken = true;
            }
        }
        if (!taken) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    XCloseDisplay(display);
    return taken;
}
} // namespace lv2test
