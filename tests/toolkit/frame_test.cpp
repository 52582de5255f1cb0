#include "toolkit_helpers.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace toolkit_test;

namespace
{
class FocusView : public RecordingView
{
public:
    FocusView(const CRect& r, std::vector<std::string>* log, std::string name) : RecordingView(r, log, name)
    {
        setWantsFocus(true);
    }
};

class MessageBox : public CViewContainer
{
public:
    MessageBox(const CRect& r, std::vector<std::string>* log) : CViewContainer(r, nullptr), log(log) {}
    int32_t handleMessage(CBaseObject*, const char* message) override
    {
        if (message == kMsgNewFocusView)
            log->push_back("box new");
        else if (message == kMsgOldFocusView)
            log->push_back("box old");
        return kMessageIgnored;
    }
    std::vector<std::string>* log;
};

class Watcher : public MouseObserver
{
public:
    void onViewEntered(CView*, CFrame*) override { log.push_back("entered"); }
    void onViewExited(CView*, CFrame*) override { log.push_back("exited"); }
    void onFrameMouseMoved(CFrame*, const CPoint&) override { log.push_back("moved"); }
    void onFrameMouseDown(CFrame*, const CPoint&) override { log.push_back("down"); }
    std::vector<std::string> log;
};

} // namespace

TEST(FrameTest, HoverEntersOnceMovesWithoutButtonsAndLeavesOnPressAndLeave)
{
    std::vector<std::string> log;
    CFrame frame(CRect(0, 0, 100, 100), nullptr, nullptr);
    Watcher watcher;
    frame.setMouseObserver(&watcher);
    auto* inner = new CViewContainer(CRect(50, 50, 100, 100), nullptr);
    auto* v = new RecordingView(CRect(10, 10, 30, 30), &log);
    inner->addView(v);
    frame.addView(inner);

    CPoint p(65, 65);
    EXPECT_EQ(frame.onMouseMove(p, kButtonLeft), kMouseHandled);
    p = {66, 65};
    frame.onMouseMove(p, kButtonLeft);
    EXPECT_EQ(frame.mouseOverView(), v);
    p = {66, 65};
    frame.onMouseDown(p, kButtonLeft | kModifierShift);
    p = {67, 66};
    frame.onMouseUp(p, 0);
    p = {68, 66};
    frame.onMouseMove(p, 0);
    p = {5, 5};
    frame.onMouseLeave(p, 0);
    EXPECT_EQ(frame.mouseOverView(), nullptr);
    EXPECT_EQ(log, (std::vector<std::string>{"v enter 15,15 2", "v move 16,15 0", "v leave 66,65 18",
                                             "v down 16,15 18", "v up 17,16 0", "v enter 18,16 0",
                                             "v leave -45,-45 0"}));
    EXPECT_EQ(watcher.log, (std::vector<std::string>{"moved", "entered", "moved", "exited", "down", "moved",
                                                     "entered", "exited"}));

    // Moving off the view onto nothing leaves it.
    log.clear();
    p = {65, 65};
    frame.onMouseMove(p, 0);
    p = {5, 5};
    EXPECT_EQ(frame.onMouseMove(p, 0), kMouseHandled);
    EXPECT_EQ(frame.onMouseMove(p, 0), kMouseNotHandled);
    EXPECT_EQ(log.back(), "v leave -45,-45 0");
    // A view that leaves the tree is forgotten.
    p = {65, 65};
    frame.onMouseMove(p, 0);
    inner->removeView(v);
    EXPECT_EQ(frame.mouseOverView(), nullptr);
}

TEST(FrameTest, AnyPressClearsTheFocusAndTheWheelWaitsForTheRelease)
{
    std::vector<std::string> log;
    CFrame frame(CRect(0, 0, 100, 100), nullptr, nullptr);
    auto* v = new FocusView(CRect(0, 0, 20, 20), &log, "v");
    frame.addView(v);
    frame.setFocusView(v);
    EXPECT_EQ(frame.focusView(), v);
    CPoint nowhere(90, 90);
    EXPECT_EQ(frame.onMouseDown(nowhere, kButtonLeft), kMouseNotHandled);
    EXPECT_EQ(frame.focusView(), nullptr);
    EXPECT_EQ(log, std::vector<std::string>{"v focuslost 0,0 0"});

    CPoint p(5, 5);
    frame.onMouseDown(p, kButtonLeft);
    EXPECT_FALSE(frame.onWheel(p, 1.f, 0));
    frame.onMouseUp(p, 0);
    EXPECT_TRUE(frame.onWheel(p, -1.f, 0));
    EXPECT_EQ(log.back(), "v wheel-1 5,5 0");
}

TEST(FrameTest, AModalViewTakesAllMouseInputAndThereIsOnlyOne)
{
    std::vector<std::string> log;
    CFrame frame(CRect(0, 0, 100, 100), nullptr, nullptr);
    frame.addView(new RecordingView(CRect(0, 0, 100, 100), &log, "back"));
    auto* modal = new RecordingView(CRect(40, 40, 60, 60), &log, "modal");
    auto* second = new RecordingView(CRect(0, 0, 5, 5), &log, "second");
    EXPECT_TRUE(frame.setModalView(modal));
    EXPECT_FALSE(frame.setModalView(second));
    EXPECT_EQ(frame.modalView(), modal);

    CPoint outside(10, 10);
    EXPECT_EQ(frame.onMouseDown(outside, kButtonLeft), kMouseNotHandled);
    EXPECT_TRUE(log.empty());
    CPoint inside(50, 50);
    EXPECT_EQ(frame.onMouseDown(inside, kButtonLeft), kMouseHandled);
    frame.onMouseUp(inside, 0);
    EXPECT_TRUE(frame.onWheel(outside, 1.f, 0));
    frame.onMouseMove(outside, 0);
    EXPECT_EQ(log, (std::vector<std::string>{"modal down 50,50 2", "modal up 50,50 0", "modal wheel1 10,10 0",
                                             "modal move 10,10 0"}));

    // Taking it away keeps the creator's reference.
    modal->retain();
    EXPECT_TRUE(frame.setModalView(nullptr));
    EXPECT_FALSE(frame.isChild(modal));
    EXPECT_EQ(modal->referenceCount(), 2);
    modal->release();
    modal->release();
    second->release();
}

TEST(FrameTest, TabWalksTheViewsThatWantFocusInOrderAndBack)
{
    std::vector<std::string> log;
    CFrame frame(CRect(0, 0, 100, 100), nullptr, nullptr);
    auto* a = new FocusView(CRect(0, 0, 1, 1), &log, "a");
    auto* plain = new RecordingView(CRect(0, 0, 1, 1), &log, "plain");
    auto* box = new MessageBox(CRect(0, 0, 50, 50), &log);
    auto* b = new FocusView(CRect(0, 0, 1, 1), &log, "b");
    auto* c = new FocusView(CRect(0, 0, 1, 1), &log, "c");
    box->addView(b);
    box->addView(c);
    frame.addView(a);
    frame.addView(plain);
    frame.addView(box);

    KeyCode tab{0, kVirtualKeyTab, 0};
    KeyCode backTab{0, kVirtualKeyTab, kKeyModifierShift};
    std::vector<CView*> order;
    for (int i = 0; i < 4; ++i)
    {
        int32_t result = frame.onKeyDown(tab);
        order.push_back(frame.focusView());
        if (i < 3)
            EXPECT_EQ(result, 1);
        else
            EXPECT_EQ(result, -1); // past the last one the focus goes
    }
    EXPECT_EQ(order, (std::vector<CView*>{a, b, c, nullptr}));
    frame.setFocusView(c);
    frame.onKeyDown(backTab);
    EXPECT_EQ(frame.focusView(), b);
    frame.onKeyDown(backTab);
    EXPECT_EQ(frame.focusView(), a);
    // The parents hear of the focus arriving and leaving.
    EXPECT_NE(std::find(log.begin(), log.end(), "box new"), log.end());
    EXPECT_NE(std::find(log.begin(), log.end(), "box old"), log.end());

    // The focus view sees keys first.
    log.clear();
    b->keyResult = 7;
    frame.setFocusView(b);
    KeyCode letter{66, 0, 0};
    EXPECT_EQ(frame.onKeyDown(letter), 7);
    EXPECT_EQ(log.back(), "b key 66,0 0");
}

TEST(FrameTest, WithoutAWindowTheFrameStillResizesAndKnowsItsEditor)
{
    PlexelEditorInterface editor;
    CFrame frame(CRect(0, 0, 100, 50), nullptr, &editor);
    auto* v = new CView(CRect(0, 0, 10, 10));
    v->setAutosize(kAutosizeRight);
    frame.addView(v);
    EXPECT_EQ(v->editor(), &editor);
    EXPECT_EQ(frame.nativeWindow(), nullptr);
    EXPECT_FALSE(frame.setDropActive(true));
    EXPECT_TRUE(frame.setDropActive(false));
    EXPECT_FALSE(frame.setSize(100, 50));
    EXPECT_TRUE(frame.setSize(120, 60));
    EXPECT_EQ(frame.viewSize(), CRect(0, 0, 120, 60));
    EXPECT_EQ(v->viewSize(), CRect(20, 0, 30, 10));
    frame.setOpen(false);
    EXPECT_FALSE(frame.setSize(10, 10));
    EXPECT_FALSE(frame.idle());
    int32_t x = 0, y = 0;
    EXPECT_FALSE(frame.position(x, y));
    EXPECT_EQ(frame.clone(), nullptr);
}
