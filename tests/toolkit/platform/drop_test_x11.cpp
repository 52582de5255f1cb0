// Drops of other programs on a frame on a real X server. The test is the drag source itself: a
// client of its own that finds the drop marker on the top-level window, as file managers and
// browsers do, follows its proxy and speaks the drag protocol, offering its data as a selection.

// Xlib's macros clash with names of the test framework: it comes first.
#include <gtest/gtest.h>

#include "../toolkit_helpers.h"
#include "../xdriver.h"
#include "toolkit/platform/display_x11.h"

#include <X11/Xatom.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

using namespace toolkit_test;

namespace
{
constexpr int kHostLeft = 140, kHostTop = 110;

class DropRecorder : public CView
{
public:
    explicit DropRecorder(const CRect& r) : CView(r) {}
    void onDragEnter(CDragContainer* drag, const CPoint&) override
    {
        events.push_back(std::string("enter ") + std::to_string(drag->itemCount()));
    }
    void onDragMove(CDragContainer*, const CPoint& where) override
    {
        events.push_back(std::string("move ") + std::to_string(where.x) + "," + std::to_string(where.y));
    }
    void onDragLeave(CDragContainer*, const CPoint&) override { events.push_back("leave"); }
    bool onDrop(CDragContainer* drag, const CPoint&) override
    {
        events.push_back("drop");
        kind = drag->itemType();
        items.clear();
        int32_t size = 0, type = 0;
        for (const char* item = drag->firstItem(size, type); item; item = drag->nextItem(size, type))
        {
            EXPECT_EQ(size_t(size), std::strlen(item));
            items.push_back(item);
            types.push_back(type);
        }
        return true;
    }
    std::vector<std::string> events;
    std::vector<std::string> items;
    std::vector<int32_t> types;
    int32_t kind = -3;
};

Atom atom(Display* d, const char* name)
{
    return XInternAtom(d, name, False);
}

Window windowProperty(Display* d, Window w, const char* name, Atom type)
{
    Atom actual = None;
    int format = 0;
    unsigned long n = 0, after = 0;
    unsigned char* data = nullptr;
    Window value = 0;
    if (XGetWindowProperty(d, w, atom(d, name), 0, 1, False, type, &actual, &format, &n, &after, &data) ==
            Success &&
        data && n == 1)
        value = Window(*reinterpret_cast<unsigned long*>(data));
    if (data) XFree(data);
    return value;
}

// A drag source on its own connection.
class DragSource
{
public:
    DragSource()
    {
        display = XOpenDisplay(nullptr);
        window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
    }
    ~DragSource()
    {
        XDestroyWindow(display, window);
        XCloseDisplay(display);
    }

    // Finds where to send: the top-level window's marker and its proxy.
    bool findTarget(Window top)
    {
        target = top;
        if (windowProperty(display, top, "XdndAware", XA_ATOM) != 5) return false;
        destination = windowProperty(display, top, "XdndProxy", XA_WINDOW);
        // A proxy is valid only if it names itself.
        return destination && windowProperty(display, destination, "XdndProxy", XA_WINDOW) == destination;
    }

    void enter(const std::vector<std::pair<std::string, std::string>>& offered)
    {
        data = offered;
        accepted = false;
        statuses = 0;
        finished = -1;
        XSetSelectionOwner(display, atom(display, "XdndSelection"), window, CurrentTime);
        std::vector<Atom> types;
        for (const auto& [type, bytes] : data)
            types.push_back(atom(display, type.c_str()));
        long l[5] = {long(window), 5L << 24, 0, 0, 0};
        if (types.size() > 3)
        {
            l[1] |= 1;
            XChangeProperty(display, window, atom(display, "XdndTypeList"), XA_ATOM, 32, PropModeReplace,
                            reinterpret_cast<unsigned char*>(types.data()), int(types.size()));
        }
        else
            for (size_t i = 0; i < types.size(); ++i)
                l[2 + i] = long(types[i]);
        send("XdndEnter", l);
    }
    void position(int x, int y)
    {
        long l[5] = {long(window), 0, (long(x) << 16) | y, 0, long(atom(display, "XdndActionCopy"))};
        send("XdndPosition", l);
    }
    void leave()
    {
        long l[5] = {long(window), 0, 0, 0, 0};
        send("XdndLeave", l);
    }
    void drop()
    {
        long l[5] = {long(window), 0, 0, 0, 0};
        send("XdndDrop", l);
    }

    // Answers requests for the data and notes the target's answers.
    void serve()
    {
        while (XPending(display))
        {
            XEvent e;
            XNextEvent(display, &e);
            if (e.type == SelectionRequest) answer(e.xselectionrequest);
            if (e.type == ClientMessage && e.xclient.message_type == atom(display, "XdndStatus"))
            {
                accepted = e.xclient.data.l[1] & 1;
                ++statuses;
            }
            if (e.type == ClientMessage && e.xclient.message_type == atom(display, "XdndFinished"))
                finished = e.xclient.data.l[1] & 1 ? 1 : 0;
        }
    }

    bool accepted = false;
    int statuses = 0;
    int finished = -1;
    int requests = 0;

private:
    void send(const char* message, const long (&l)[5])
    {
        XEvent e{};
        e.xclient.type = ClientMessage;
        e.xclient.window = target;
        e.xclient.message_type = atom(display, message);
        e.xclient.format = 32;
        for (int i = 0; i < 5; ++i)
            e.xclient.data.l[i] = l[i];
        XSendEvent(display, destination, False, NoEventMask, &e);
        XFlush(display);
    }
    void answer(const XSelectionRequestEvent& r)
    {
        ++requests;
        XEvent reply{};
        reply.xselection.type = SelectionNotify;
        reply.xselection.requestor = r.requestor;
        reply.xselection.selection = r.selection;
        reply.xselection.target = r.target;
        reply.xselection.time = r.time;
        for (const auto& [type, bytes] : data)
            if (atom(display, type.c_str()) == r.target)
            {
                XChangeProperty(display, r.requestor, r.property, r.target, 8, PropModeReplace,
                                reinterpret_cast<const unsigned char*>(bytes.data()), int(bytes.size()));
                reply.xselection.property = r.property;
            }
        XSendEvent(display, r.requestor, False, NoEventMask, &reply);
        XFlush(display);
    }

    Display* display;
    Window window;
    Window target = 0;
    Window destination = 0;
    std::vector<std::pair<std::string, std::string>> data;
};

bool pumpUntil(DragSource& source, const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > end) return false;
        source.serve();
        processPlatformEvents(10);
    }
    return true;
}

class DropTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(xdriver::connect()) << "the window tests need an X server in DISPLAY";
        host = xdriver::createTopWindow(kHostLeft, kHostTop, 300, 200);
        frame = new CFrame(CRect(0, 0, 300, 200), host, nullptr);
        recorder = new DropRecorder(CRect(50, 50, 250, 150));
        frame->addView(recorder);
        while (processPlatformEvents(50))
        {
        }
        ASSERT_TRUE(source.findTarget(Window(reinterpret_cast<uintptr_t>(host))));
    }
    void TearDown() override
    {
        delete frame;
        xdriver::destroyWindow(host);
    }
    void dragAndDrop(const std::vector<std::pair<std::string, std::string>>& offered)
    {
        source.enter(offered);
        source.position(kHostLeft + 100, kHostTop + 100);
        ASSERT_TRUE(pumpUntil(source, [&] { return !recorder->events.empty(); }));
        source.position(kHostLeft + 110, kHostTop + 90);
        ASSERT_TRUE(pumpUntil(source, [&] { return recorder->events.size() >= 2 && source.accepted; }));
        source.drop();
        ASSERT_TRUE(pumpUntil(source, [&] { return source.finished >= 0; }));
    }

    DragSource source;
    PlatformHandle host = nullptr;
    CFrame* frame = nullptr;
    DropRecorder* recorder = nullptr;
};
} // namespace

TEST_F(DropTest, FilesOfAUriListArriveAsDecodedPaths)
{
    dragAndDrop(
        {{"text/uri-list", "file:///tmp/a%20b.txt\r\n# a comment\r\nfile://localhost/home/u/%C3%A9t%C3%A9\r\n"
                           "http://example.invalid/x\r\nfile:///bad%zz%4\r\n"},
         {"UTF8_STRING", "/tmp/a b.txt"}});
    EXPECT_EQ(recorder->events, (std::vector<std::string>{"enter 3", "move 110,90", "drop", "leave"}));
    EXPECT_EQ(recorder->kind, 0);
    EXPECT_EQ(recorder->items,
              (std::vector<std::string>{"/tmp/a b.txt", "/home/u/\xC3\xA9t\xC3\xA9", "/bad%zz%4"}));
    EXPECT_EQ(recorder->types,
              (std::vector<int32_t>{CDragContainer::kFile, CDragContainer::kFile, CDragContainer::kFile}));
    EXPECT_EQ(source.finished, 1);
    EXPECT_EQ(source.requests, 1);
}

TEST_F(DropTest, TextArrivesAsUtf8AndAThousandFilesInOneDrag)
{
    dragAndDrop({{"UTF8_STRING", "h\xC3\xA9llo \xFF"}});
    EXPECT_EQ(recorder->kind, 1);
    EXPECT_EQ(recorder->items, (std::vector<std::string>{"h\xC3\xA9llo \xEF\xBF\xBD"}));
    EXPECT_EQ(recorder->types, (std::vector<int32_t>{CDragContainer::kText}));

    // More than three types go by the list on the source's window.
    std::string list;
    for (int i = 0; i < 1000; ++i)
        list += std::string("file:///data/sample") + std::to_string(i) + ".wav\r\n";
    recorder->events.clear();
    recorder->types.clear();
    dragAndDrop({{"application/x-other", "?"}, {"STRING", "x"}, {"TEXT", "x"}, {"text/uri-list", list}});
    EXPECT_EQ(recorder->events.front(), "enter 1000");
    ASSERT_EQ(recorder->items.size(), 1000u);
    EXPECT_EQ(recorder->items[999], "/data/sample999.wav");
}

TEST_F(DropTest, ALeftDragAndOneWithNothingUsable)
{
    source.enter({{"text/uri-list", "file:///x\r\n"}});
    source.position(kHostLeft + 100, kHostTop + 100);
    ASSERT_TRUE(pumpUntil(source, [&] { return !recorder->events.empty(); }));
    source.leave();
    ASSERT_TRUE(pumpUntil(source, [&] { return recorder->events.size() == 2; }));
    EXPECT_EQ(recorder->events, (std::vector<std::string>{"enter 1", "leave"}));

    // Only a type the frame does not take: refused, and the source hears so.
    recorder->events.clear();
    source.enter({{"image/png", "\x89PNG"}});
    source.position(kHostLeft + 100, kHostTop + 100);
    ASSERT_TRUE(pumpUntil(source, [&] { return source.statuses > 0; }));
    EXPECT_FALSE(source.accepted);
    source.drop();
    ASSERT_TRUE(pumpUntil(source, [&] { return source.finished == 0; }));
    EXPECT_TRUE(recorder->events.empty());
    EXPECT_EQ(source.requests, 1);
}

TEST(UriListTest, OnlyLocalFilesWithEscapesDecoded)
{
    EXPECT_EQ(pathsOfUriList("file:///a%2Fb\nfile:relative\nfile://host\n\nfile:///%00x\nfile:///c"),
              (std::vector<std::string>{"/a/b", "/c"}));
}
