// A frame in a real child window of a real X server (an Xvfb that the test run starts): real
// pointer events reach the views, and damage is painted.

#include "toolkit_helpers.h"
#include "xdriver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>

using namespace toolkit_test;

namespace
{
// Serves the toolkit's events until the condition holds, for at most five seconds.
bool pumpUntil(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > end) return false;
        processPlatformEvents(20);
    }
    return true;
}

// Serves events until none come for a while: the server may expose a new window in several steps.
void settle()
{
    while (processPlatformEvents(150))
    {
    }
}

uint32_t rgb(CColor c)
{
    return (uint32_t(c.red) << 16) | (uint32_t(c.green) << 8) | c.blue;
}

class WindowTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(xdriver::connect()) << "the window tests need an X server in DISPLAY";
    }
};
} // namespace

TEST_F(WindowTest, AFrameInAChildWindowPaintsAndFollowsThePointer)
{
    constexpr int kLeft = 100, kTop = 80;
    PlatformHandle host = xdriver::createTopWindow(kLeft, kTop, 200, 150);
    std::vector<std::string> log;
    auto* frame = new CFrame(CRect(0, 0, 160, 120), host, nullptr);
    ASSERT_NE(frame->nativeWindow(), nullptr);
    EXPECT_EQ(xdriver::firstChild(host), frame->nativeWindow());
    auto* left = new PaintView(CRect(0, 0, 80, 120), kColorRed);
    auto* right = new PaintingRecorder(CRect(80, 0, 160, 120), &log, kColorBlue);
    frame->addView(left);
    frame->addView(right);

    // The first expose paints everything.
    ASSERT_TRUE(pumpUntil([&] { return left->draws > 0 && right->draws > 0; }));
    settle();
    PlatformHandle window = frame->nativeWindow();
    EXPECT_EQ(xdriver::pixel(window, 10, 10), rgb(kColorRed));
    EXPECT_EQ(xdriver::pixel(window, 100, 100), rgb(kColorBlue));

    // Damage is painted where it is, and only there.
    left->colour = kColorGreen;
    right->colour = kColorYellow;
    const int before = left->draws;
    frame->invalidateRect(CRect(0, 0, 20, 20));
    ASSERT_TRUE(pumpUntil([&] { return left->draws > before; }));
    EXPECT_EQ(xdriver::pixel(window, 5, 5), rgb(kColorGreen));
    EXPECT_EQ(xdriver::pixel(window, 19, 19), rgb(kColorGreen));
    EXPECT_EQ(xdriver::pixel(window, 20, 20), rgb(kColorRed));
    EXPECT_EQ(xdriver::pixel(window, 100, 100), rgb(kColorBlue));
    // A view's own invalidation reaches the window the same way.
    right->invalidate();
    ASSERT_TRUE(pumpUntil([&] { return xdriver::pixel(window, 100, 100) == rgb(kColorYellow); }));

    // Enter, press, drag out of the window, release outside: the release still reaches the
    // pressed view, in its coordinates.
    xdriver::movePointer(kLeft + 100, kTop + 20);
    ASSERT_TRUE(pumpUntil([&] { return !log.empty(); }));
    EXPECT_EQ(log[0], "v enter 100,20 0");
    xdriver::button(1, true);
    ASSERT_TRUE(pumpUntil([&] { return log.size() >= 3; }));
    EXPECT_EQ(log[1], "v leave 100,20 2");
    EXPECT_EQ(log[2], "v down 100,20 2");
    xdriver::movePointer(kLeft + 400, kTop + 300);
    ASSERT_TRUE(pumpUntil([&] { return log.size() >= 4; }));
    EXPECT_EQ(log[3], "v move 400,300 2");
    xdriver::button(1, false);
    ASSERT_TRUE(pumpUntil([&] { return log.size() >= 5; }));
    EXPECT_EQ(log[4], "v up 400,300 0");
    EXPECT_EQ(frame->mouseDownChild(), nullptr);

    // Two quick presses at one place: the second is a double click.
    log.clear();
    xdriver::movePointer(kLeft + 120, kTop + 40);
    xdriver::button(1, true);
    xdriver::button(1, false);
    xdriver::button(1, true);
    xdriver::button(1, false);
    ASSERT_TRUE(pumpUntil(
        [&]
        {
            return std::count_if(log.begin(), log.end(),
                                 [](const std::string& s)
                                 { return s.find(" up ") != std::string::npos; }) == 2;
        }));
    std::vector<std::string> downs;
    for (const auto& line : log)
        if (line.find(" down ") != std::string::npos) downs.push_back(line);
    EXPECT_EQ(downs, (std::vector<std::string>{"v down 120,40 2", "v down 120,40 1026"}));

    // The wheel gives one notch per step, up positive.
    log.clear();
    xdriver::button(4, true);
    xdriver::button(4, false);
    xdriver::button(5, true);
    xdriver::button(5, false);
    ASSERT_TRUE(pumpUntil([&] { return log.size() >= 2; }));
    EXPECT_EQ(log[0], "v wheel1 120,40 0");
    EXPECT_EQ(log[1], "v wheel-1 120,40 0");

    // Leaving the window leaves the hovered view.
    log.clear();
    xdriver::movePointer(kLeft + 120, kTop + 50);
    ASSERT_TRUE(pumpUntil([&] { return frame->mouseOverView() == right; }));
    xdriver::movePointer(kLeft + 500, kTop + 500);
    ASSERT_TRUE(pumpUntil([&] { return frame->mouseOverView() == nullptr; }));
    EXPECT_EQ(log.back().rfind("v leave ", 0), 0u);

    delete frame;
    EXPECT_EQ(xdriver::firstChild(host), nullptr);
    xdriver::destroyWindow(host);
}

TEST_F(WindowTest, MovesKeepTheirPlaceAmongPressesAndReleases)
{
    constexpr int kLeft = 100, kTop = 80;
    PlatformHandle host = xdriver::createTopWindow(kLeft, kTop, 200, 150);
    std::vector<std::string> log;
    auto* frame = new CFrame(CRect(0, 0, 160, 120), host, nullptr);
    auto* view = new PaintingRecorder(CRect(0, 0, 160, 120), &log, kColorBlue);
    frame->addView(view);
    ASSERT_TRUE(pumpUntil([&] { return view->draws > 0; }));
    settle();
    xdriver::movePointer(kLeft + 10, kTop + 10);
    ASSERT_TRUE(pumpUntil([&] { return !log.empty(); }));

    // A drag whose release and the move after it are queued before the frame looks: the drag ends
    // where the button came up, and the later move comes after the release.
    log.clear();
    xdriver::button(1, true);
    xdriver::movePointer(kLeft + 30, kTop + 10);
    xdriver::movePointer(kLeft + 50, kTop + 10);
    xdriver::button(1, false);
    xdriver::movePointer(kLeft + 90, kTop + 10);
    ASSERT_TRUE(pumpUntil([&] { return !log.empty() && log.back().find(" 90,10 ") != std::string::npos; }));
    const auto up = std::find(log.begin(), log.end(), "v up 50,10 0");
    ASSERT_NE(up, log.end()) << testing::PrintToString(log);
    ASSERT_NE(up, log.begin());
    EXPECT_EQ(*(up - 1), "v move 50,10 2");
    ASSERT_NE(up + 1, log.end());
    EXPECT_NE((up + 1)->find(" 90,10 0"), std::string::npos) << *(up + 1);

    delete frame;
    xdriver::destroyWindow(host);
}

TEST_F(WindowTest, ResizingGoesUpTheHostsWindowsThatFollowTheFrame)
{
    PlatformHandle host = xdriver::createTopWindow(10, 10, 210, 110);
    auto* frame = new CFrame(CRect(0, 0, 200, 100), host, nullptr);
    EXPECT_FALSE(frame->setSize(200, 100));
    EXPECT_TRUE(frame->setSize(300, 150));
    EXPECT_EQ(frame->viewSize(), CRect(0, 0, 300, 150));
    processPlatformEvents(0);
    EXPECT_EQ(xdriver::geometry(frame->nativeWindow()).size(), CPoint(300, 150));
    EXPECT_EQ(xdriver::geometry(host).size(), CPoint(310, 160));
    CRect outer;
    EXPECT_TRUE(frame->outerSize(outer));
    EXPECT_EQ(outer, CRect(10, 10, 320, 170));
    delete frame;
    xdriver::destroyWindow(host);

    // A host window much larger than the frame is no panel of it: it stays, and so does the tree.
    PlatformHandle big = xdriver::createTopWindow(10, 10, 400, 400);
    frame = new CFrame(CRect(0, 0, 100, 100), big, nullptr);
    EXPECT_TRUE(frame->setSize(150, 150));
    EXPECT_EQ(frame->viewSize(), CRect(0, 0, 100, 100));
    EXPECT_EQ(xdriver::geometry(big).size(), CPoint(400, 400));
    delete frame;
    xdriver::destroyWindow(big);
}

TEST_F(WindowTest, AFrameWhoseWindowTheHostDestroyedClosesQuietly)
{
    PlatformHandle host = xdriver::createTopWindow(10, 10, 100, 100);
    auto* frame = new CFrame(CRect(0, 0, 100, 100), host, nullptr);
    auto* v = new PaintView(CRect(0, 0, 10, 10), kColorRed);
    frame->addView(v);
    xdriver::destroyWindow(host);
    ASSERT_TRUE(pumpUntil([&] { return !frame->isOpen(); }));
    EXPECT_EQ(frame->parentWindow(), nullptr);
    v->setDirty(true);
    EXPECT_FALSE(frame->idle());
    EXPECT_FALSE(frame->setSize(50, 50));
    frame->setCursor(kCursorHand);
    delete frame;

    // A parent window that does not exist gives a frame without a window.
    auto* orphan = new CFrame(CRect(0, 0, 10, 10), host, nullptr);
    EXPECT_EQ(orphan->nativeWindow(), nullptr);
    delete orphan;

    // The refusals of requests to a window that went away arrive late; they must not be laid at the
    // door of the next frame, which the user would see as an editor that never opens.
    PlatformHandle gone = xdriver::createTopWindow(10, 10, 100, 100);
    auto* late = new CFrame(CRect(0, 0, 100, 100), gone, nullptr);
    late->setCursor(kCursorHand);
    xdriver::destroyWindow(gone);
    late->setCursor(kCursorDefault); // before its connection heard that the window is gone
    PlatformHandle next = xdriver::createTopWindow(10, 10, 100, 100);
    auto* fresh = new CFrame(CRect(0, 0, 100, 100), next, nullptr);
    EXPECT_TRUE(xdriver::isViewable(fresh->nativeWindow()));
    delete fresh;
    delete late;
    xdriver::destroyWindow(next);
}
