// Drags of other programs onto a frame, by the drag protocol of X (version 5). The frame's window
// announces itself; since sources look for the announcement on top-level windows only, the
// top-level window that holds the frame announces it too and names the frame's window as its
// proxy, unless its owner takes drags itself. The dragged data is asked for at the first
// position message and handed to the views once it came: files from a URI list, or UTF-8 text.

#include "foundation/textcodec.h"
#include "toolkit/cview.h"
#include "toolkit/platform/display_x11.h"
#include "toolkit/platform/frame.h"

#include <X11/Xatom.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace Plexel
{

namespace
{
constexpr long kVersion = 5;

struct Atoms
{
    Atom aware, proxy, enter, position, status, leave, drop, finished, selection, typeList, actionCopy,
        uriList, utf8, textPlainUtf8, property;
};

const Atoms& atoms(Display* d)
{
    static const Atoms a = [d]
    {
        Atoms x{};
        x.aware = XInternAtom(d, "XdndAware", False);
        x.proxy = XInternAtom(d, "XdndProxy", False);
        x.enter = XInternAtom(d, "XdndEnter", False);
        x.position = XInternAtom(d, "XdndPosition", False);
        x.status = XInternAtom(d, "XdndStatus", False);
        x.leave = XInternAtom(d, "XdndLeave", False);
        x.drop = XInternAtom(d, "XdndDrop", False);
        x.finished = XInternAtom(d, "XdndFinished", False);
        x.selection = XInternAtom(d, "XdndSelection", False);
        x.typeList = XInternAtom(d, "XdndTypeList", False);
        x.actionCopy = XInternAtom(d, "XdndActionCopy", False);
        x.uriList = XInternAtom(d, "text/uri-list", False);
        x.utf8 = XInternAtom(d, "UTF8_STRING", False);
        x.textPlainUtf8 = XInternAtom(d, "text/plain;charset=utf-8", False);
        x.property = XInternAtom(d, "PLEXEL_DROP", False);
        return x;
    }();
    return a;
}

class X11DragContainer : public CDragContainer
{
public:
    X11DragContainer(std::vector<std::string> list, bool files) : items(std::move(list)), areFiles(files) {}

    const char* firstItem(int32_t& size, int32_t& type) override
    {
        next = 0;
        return nextItem(size, type);
    }
    const char* nextItem(int32_t& size, int32_t& type) override
    {
        size = 0;
        type = kUnknown;
        if (next >= items.size()) return nullptr;
        const std::string& item = items[next++];
        size = int32_t(item.size());
        type = areFiles ? kFile : kText;
        return item.c_str();
    }
    int32_t itemType() override { return areFiles ? 0 : 1; }
    int32_t itemCount() override { return int32_t(items.size()); }

private:
    std::vector<std::string> items;
    bool areFiles;
    size_t next = 0;
};

// Text of another program comes through whatever bytes it holds: what is no UTF-8 becomes
// U+FFFD, and a NUL ends it, as it would for every C string reader further on.
std::string cleanText(std::string_view bytes)
{
    bytes = bytes.substr(0, std::min(bytes.size(), bytes.find('\0')));
    return foundation::text::utf16ToUtf8(foundation::text::utf8ToUtf16(bytes));
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}
} // namespace

// The local paths of a URI list: comments and URIs of other schemes are skipped, the host part
// is dropped and escapes are decoded; an escape that is none stays as it was.
std::vector<std::string> pathsOfUriList(std::string_view list)
{
    std::vector<std::string> paths;
    size_t start = 0;
    while (start < list.size())
    {
        size_t end = list.find('\n', start);
        if (end == std::string_view::npos) end = list.size();
        std::string_view line = list.substr(start, end - start);
        start = end + 1;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        constexpr std::string_view scheme = "file://";
        if (line.size() <= scheme.size() || line.compare(0, scheme.size(), scheme) != 0) continue;
        line.remove_prefix(scheme.size());
        const size_t slash = line.find('/');
        if (slash == std::string_view::npos) continue;
        line.remove_prefix(slash);
        std::string path;
        for (size_t i = 0; i < line.size(); ++i)
        {
            if (line[i] == '%' && i + 2 < line.size() + 0 && hexValue(line[i + 1]) >= 0 &&
                hexValue(line[i + 2]) >= 0)
            {
                path += char(hexValue(line[i + 1]) * 16 + hexValue(line[i + 2]));
                i += 2;
            }
            else
                path += line[i];
        }
        // No file name holds a NUL: such a line is no path.
        if (path.find('\0') != std::string::npos) continue;
        path = cleanText(path);
        if (!path.empty()) paths.push_back(path);
    }
    return paths;
}

namespace
{
struct Drag
{
    FrameEvents* frame = nullptr;
    Window window = 0;
    Window source = 0;
    Atom type = None; // what is asked of the source
    CPoint where;
    bool requested = false;
    bool dropped = false;
    CDragContainer* container = nullptr; // once the data came and the views were told
};

Drag drag;
// Top-level windows that stand for a frame's window, with that window.
std::map<Window, Window> proxies;

Window topLevelOf(Display* d, Window w)
{
    const Atom wmState = XInternAtom(d, "WM_STATE", False);
    for (;;)
    {
        Window root = 0, parent = 0, *children = nullptr;
        unsigned int count = 0;
        if (!XQueryTree(d, w, &root, &parent, &children, &count)) return w;
        if (children) XFree(children);
        Atom type = None;
        int format = 0;
        unsigned long n = 0, after = 0;
        unsigned char* data = nullptr;
        XGetWindowProperty(d, w, wmState, 0, 0, False, AnyPropertyType, &type, &format, &n, &after, &data);
        if (data) XFree(data);
        if (type != None || parent == root || !parent) return w;
        w = parent;
    }
}

bool hasProperty(Display* d, Window w, Atom property)
{
    Atom type = None;
    int format = 0;
    unsigned long n = 0, after = 0;
    unsigned char* data = nullptr;
    XGetWindowProperty(d, w, property, 0, 1, False, AnyPropertyType, &type, &format, &n, &after, &data);
    if (data) XFree(data);
    return type != None;
}

void endDrag()
{
    if (drag.container) drag.container->release();
    drag = Drag{};
}

void sendToSource(Display* d, Atom message, long l1, long l2, long l3, long l4)
{
    XEvent e{};
    e.xclient.type = ClientMessage;
    e.xclient.display = d;
    e.xclient.window = drag.source;
    e.xclient.message_type = message;
    e.xclient.format = 32;
    e.xclient.data.l[0] = long(drag.window);
    e.xclient.data.l[1] = l1;
    e.xclient.data.l[2] = l2;
    e.xclient.data.l[3] = l3;
    e.xclient.data.l[4] = l4;
    XSendEvent(d, drag.source, False, NoEventMask, &e);
    XFlush(d);
}

void finishDrop(Display* d)
{
    const Atoms& a = atoms(d);
    const bool accepted = drag.container && drag.container->itemCount() > 0;
    if (drag.container) drag.frame->windowDrop(drag.container, drag.where);
    sendToSource(d, a.finished, accepted ? 1 : 0, accepted ? long(a.actionCopy) : 0, 0, 0);
    endDrag();
}

void onEnter(Display* d, const XClientMessageEvent& m)
{
    const Atoms& a = atoms(d);
    std::vector<Atom> types;
    if (m.data.l[1] & 1)
    {
        Atom type = None;
        int format = 0;
        unsigned long n = 0, after = 0;
        unsigned char* data = nullptr;
        if (XGetWindowProperty(d, Window(m.data.l[0]), a.typeList, 0, 1024, False, XA_ATOM, &type, &format,
                               &n, &after, &data) == Success &&
            data && format == 32)
        {
            const auto* list = reinterpret_cast<const Atom*>(data);
            types.assign(list, list + n);
        }
        if (data) XFree(data);
    }
    else
        for (int i = 2; i < 5; ++i)
            if (m.data.l[i]) types.push_back(Atom(m.data.l[i]));
    // Files win over text: a file manager offers the paths as text as well.
    for (Atom wanted : {a.uriList, a.utf8, a.textPlainUtf8})
        if (std::find(types.begin(), types.end(), wanted) != types.end())
        {
            drag.type = wanted;
            break;
        }
}

void onData(Display* d, const XSelectionEvent& e)
{
    const Atoms& a = atoms(d);
    std::vector<std::string> items;
    if (e.property != None)
    {
        Atom type = None;
        int format = 0;
        unsigned long n = 0, after = 0;
        unsigned char* data = nullptr;
        // Up to 64 MB, in one piece: sources that send in increments are not served.
        if (XGetWindowProperty(d, drag.window, a.property, 0, 16 * 1024 * 1024, True, AnyPropertyType, &type,
                               &format, &n, &after, &data) == Success &&
            data && format == 8)
        {
            const std::string_view bytes(reinterpret_cast<const char*>(data), n);
            if (drag.type == a.uriList)
                items = pathsOfUriList(bytes);
            else if (!bytes.empty())
                items.push_back(cleanText(bytes));
        }
        if (data) XFree(data);
    }
    drag.container = new X11DragContainer(std::move(items), drag.type == a.uriList);
    drag.frame->windowDragEnter(drag.container, drag.where);
    if (drag.dropped) finishDrop(d);
}

CPoint toWindow(Display* d, Window w, long packed)
{
    Window child;
    int x = 0, y = 0;
    XTranslateCoordinates(d, DefaultRootWindow(d), w, int((packed >> 16) & 0xFFFF), int(packed & 0xFFFF), &x,
                          &y, &child);
    return {x, y};
}
} // namespace

void setWindowDropTarget(Window window, bool active)
{
    Display* d = toolkitDisplay();
    if (!d) return;
    const Atoms& a = atoms(d);
    if (!active)
    {
        XDeleteProperty(d, window, a.aware);
        XDeleteProperty(d, window, a.proxy);
        for (auto i = proxies.begin(); i != proxies.end();)
        {
            if (i->second != window)
            {
                ++i;
                continue;
            }
            XDeleteProperty(d, i->first, a.aware);
            XDeleteProperty(d, i->first, a.proxy);
            i = proxies.erase(i);
        }
        XFlush(d);
        return;
    }
    long version = kVersion;
    XChangeProperty(d, window, a.aware, XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<unsigned char*>(&version), 1);
    const Window top = topLevelOf(d, window);
    if (top != window && !hasProperty(d, top, a.aware))
    {
        // A proxy names itself as well, which tells a source that the proxy is no stale one.
        long proxy = long(window);
        XChangeProperty(d, window, a.proxy, XA_WINDOW, 32, PropModeReplace,
                        reinterpret_cast<unsigned char*>(&proxy), 1);
        XChangeProperty(d, top, a.proxy, XA_WINDOW, 32, PropModeReplace,
                        reinterpret_cast<unsigned char*>(&proxy), 1);
        XChangeProperty(d, top, a.aware, XA_ATOM, 32, PropModeReplace,
                        reinterpret_cast<unsigned char*>(&version), 1);
        proxies[top] = window;
    }
    XFlush(d);
}

Window dropWindowOf(Window window)
{
    auto i = proxies.find(window);
    return i == proxies.end() ? window : i->second;
}

void forgetDropTarget(Window window)
{
    if (drag.window == window) endDrag();
    for (auto i = proxies.begin(); i != proxies.end();)
        i = i->second == window ? proxies.erase(i) : std::next(i);
}

bool handleDropEvent(FrameEvents* frame, Window window, XEvent& event)
{
    Display* d = toolkitDisplay();
    if (!d) return false;
    const Atoms& a = atoms(d);
    if (event.type == SelectionNotify)
    {
        const XSelectionEvent& e = event.xselection;
        if (e.selection != a.selection || drag.window != window || !drag.requested || drag.container)
            return false;
        onData(d, e);
        return true;
    }
    if (event.type != ClientMessage) return false;
    const XClientMessageEvent& m = event.xclient;
    const Window source = Window(m.data.l[0]);
    if (m.message_type == a.enter)
    {
        endDrag();
        drag.frame = frame;
        drag.window = window;
        drag.source = source;
        onEnter(d, m);
        return true;
    }
    if (drag.window != window || drag.source != source) return m.message_type == a.position;
    if (m.message_type == a.position)
    {
        drag.where = toWindow(d, window, m.data.l[2]);
        if (drag.type != None && !drag.requested)
        {
            drag.requested = true;
            XConvertSelection(d, a.selection, drag.type, a.property, window, Time(m.data.l[3]));
        }
        else if (drag.container)
            frame->windowDragMove(drag.container, drag.where);
        // Accepted everywhere, and no rectangle of silence: the views decide at the drop.
        sendToSource(d, a.status, drag.type != None ? 1 : 0, 0, 0,
                     drag.type != None ? long(a.actionCopy) : 0);
        return true;
    }
    if (m.message_type == a.leave)
    {
        if (drag.container) frame->windowDragLeave(drag.container, drag.where);
        endDrag();
        return true;
    }
    if (m.message_type == a.drop)
    {
        drag.dropped = true;
        if (drag.container || !drag.requested || drag.type == None)
        {
            if (!drag.container && drag.type != None)
            {
                // A drop without a position first: ask now and finish when the data comes.
                drag.requested = true;
                XConvertSelection(d, a.selection, drag.type, a.property, window, Time(m.data.l[2]));
                return true;
            }
            finishDrop(d);
        }
        return true;
    }
    return false;
}

} // namespace Plexel
