// The option menu's popup on a real X server: a user clicks the control, walks the menu with keys
// and the pointer, and the choice reaches the menu that held it and the listener. The popup is
// modal, so the user's part runs on a thread of its own while the toolkit's loop serves the popup.

#include "../control_helpers.h"
#include "../xdriver.h"
#include "toolkit/coptionmenu.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

using namespace toolkit_test;

namespace
{
constexpr int kHostLeft = 100, kHostTop = 100;

void pause(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void click(int x, int y, unsigned int button = 1)
{
    xdriver::movePointer(x, y);
    xdriver::button(button, true);
    xdriver::button(button, false);
}

// Waits until the popup is shown and holds the keyboard and pointer, for at most eight seconds:
// keys typed before it holds them go to another window and the popup would wait on for them.
CRect waitForPopup()
{
    for (int i = 0; i < 400; ++i)
    {
        const CRect r = xdriver::findTopWindow("popup menu");
        if (!r.isEmpty() && xdriver::inputHeldByAnother()) return r;
        pause(20);
    }
    return {};
}

// A popup still open after the user's part lost an event; Escape ends it so the test fails rather
// than waits for ever.
void closeStrayPopup()
{
    for (int i = 0; i < 100 && !xdriver::findTopWindow("popup menu").isEmpty(); ++i)
    {
        pause(30);
        if (i % 10 == 9) xdriver::typeKey(XK_Escape);
    }
}

struct MenuBench
{
    MenuBench(int hostLeft = kHostLeft, int hostTop = kHostTop) : listener(&log)
    {
        host = xdriver::createTopWindow(hostLeft, hostTop, 300, 200);
        frame = new CFrame(CRect(0, 0, 300, 200), host, nullptr);
        menu = new COptionMenu(CRect(10, 10, 110, 30), &listener, 7);
        sub = new COptionMenu(CRect(0, 0, 10, 10));
        for (const char* t : {"Alpha", "Beta"})
            menu->addEntry(t);
        menu->addEntry(sub, "More");
        menu->addEntry("Delta");
        sub->addEntry("x");
        sub->addEntry("y");
        frame->addView(menu);
        while (processPlatformEvents(100))
        {
        }
    }
    ~MenuBench()
    {
        sub->release();
        delete frame;
        xdriver::destroyWindow(host);
    }
    // Clicks the control and plays the user's part while the popup runs; the popup's rectangle.
    CRect run(const std::function<void(const CRect&)>& user, int x = kHostLeft + 30, int y = kHostTop + 20)
    {
        std::atomic<bool> over = false;
        CRect shown;
        std::thread player(
            [&]
            {
                pause(100);
                click(x, y);
                shown = waitForPopup();
                user(shown);
                closeStrayPopup();
                over = true;
            });
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!over && std::chrono::steady_clock::now() < end)
            processPlatformEvents(20);
        player.join();
        // The popup's loop ends on the last event of the user's part.
        for (int i = 0; i < 10; ++i)
            processPlatformEvents(20);
        EXPECT_TRUE(xdriver::findTopWindow("popup menu").isEmpty());
        return shown;
    }

    Log log;
    LoggingListener listener;
    PlatformHandle host;
    CFrame* frame;
    COptionMenu* menu;
    COptionMenu* sub;
};

class PopupMenuTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(xdriver::connect()) << "the window tests need an X server in DISPLAY";
    }
};
} // namespace

TEST_F(PopupMenuTest, KeysWalkIntoASubmenuAndChoose)
{
    MenuBench bench;
    const CRect shown = bench.run(
        [](const CRect&)
        {
            for (unsigned long k : {XK_Down, XK_Down, XK_Down, XK_Right, XK_Down, XK_Return})
                xdriver::typeKey(k);
        });
    // Under the control, at its left.
    EXPECT_EQ(shown.left, kHostLeft + 10);
    EXPECT_EQ(shown.top, kHostTop + 30);
    int32_t index = -2;
    EXPECT_EQ(bench.menu->lastItemMenu(index), bench.sub);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(bench.menu->lastResult(), 5);
    EXPECT_EQ(bench.log, (Log{"begin", "value 1.000", "end"}));
    EXPECT_EQ(bench.menu->currentEntryIndex(), -1); // the choice was the submenu's

    // The first letter of an entry that no other shares chooses it.
    bench.log.clear();
    bench.run([](const CRect&) { xdriver::typeKey(XK_d); });
    EXPECT_EQ(bench.menu->lastItemMenu(index), bench.menu);
    EXPECT_EQ(index, 3);
    EXPECT_EQ(bench.log, (Log{"begin", "value 3.000", "end"}));
}

TEST_F(PopupMenuTest, ThePointerChoosesAndEscapeOrAClickOutsideChooseNothing)
{
    MenuBench bench;
    bench.run(
        [](const CRect& shown)
        {
            // The second entry: below the top padding and the first entry.
            click(shown.left + 30, shown.top + 4 + 20 + 10);
        });
    int32_t index = -2;
    EXPECT_EQ(bench.menu->lastItemMenu(index), bench.menu);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(bench.menu->currentEntryIndex(), 1);

    bench.log.clear();
    bench.run(
        [](const CRect&)
        {
            xdriver::typeKey(XK_Down);
            xdriver::typeKey(XK_Escape);
        });
    EXPECT_EQ(bench.menu->lastResult(), -1);
    EXPECT_EQ(bench.menu->lastItemMenu(index), nullptr);
    EXPECT_EQ(bench.log, (Log{"begin", "end"}));

    bench.log.clear();
    bench.run([](const CRect&) { click(900, 700); });
    EXPECT_EQ(bench.menu->lastResult(), -1);
    EXPECT_EQ(bench.menu->currentEntryIndex(), 1);
    EXPECT_EQ(bench.log, (Log{"begin", "end"}));
}

TEST_F(PopupMenuTest, APopupAtTheScreensCornerStaysOnIt)
{
    // The control's lower edge is 8 pixels above the screen's bottom: the menu opens above.
    MenuBench bench(1024 - 60, 768 - 38);
    const CRect shown =
        bench.run([](const CRect&) { xdriver::typeKey(XK_Escape); }, 1024 - 60 + 20, 768 - 38 + 20);
    ASSERT_FALSE(shown.isEmpty());
    EXPECT_LE(shown.right, 1024);
    EXPECT_LE(shown.bottom, 768);
    EXPECT_GE(shown.left, 0);
    EXPECT_GE(shown.top, 0);
}

TEST_F(PopupMenuTest, AHugeMenuFitsTheScreenInColumns)
{
    MenuBench bench;
    bench.menu->removeAllEntries();
    for (int i = 0; i < 3000; ++i)
        bench.menu->addEntry((std::string("entry ") + std::to_string(i)).c_str());
    const CRect shown = bench.run(
        [](const CRect&)
        {
            xdriver::typeKey(XK_Up); // wraps to the last entry
            xdriver::typeKey(XK_Return);
        });
    EXPECT_LE(shown.height(), 768);
    EXPECT_EQ(bench.menu->currentEntryIndex(), 2999);
}
