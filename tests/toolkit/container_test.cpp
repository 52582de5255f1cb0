#include "toolkit/ccontrol.h"
#include "toolkit_helpers.h"

#include <gtest/gtest.h>

using namespace toolkit_test;

namespace
{
// A control that logs the presses that reach it, with a listener that may take modifier clicks.
class PressedControl : public CControl, public CControlListener
{
public:
    PressedControl(const CRect& r, std::vector<std::string>* log) : CControl(r, this), log(log) {}
    void draw(CDrawContext*) override {}
    CView* clone() const override { return nullptr; }
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override
    {
        log->push_back("control down " + std::to_string(where.x) + "," + std::to_string(where.y) + " " +
                       std::to_string(buttons));
        return kMouseHandled;
    }
    void onValueChanged(CControl*) override {}
    int32_t onModifierClick(CControl*, int32_t) override { return listenerTakes; }
    std::vector<std::string>* log;
    int32_t listenerTakes = 1;
};

class SizeWatcher : public CView
{
public:
    using CView::CView;
    void parentSizeChanged() override { ++calls; }
    int calls = 0;
};

struct DummyDrag : CDragContainer
{
    const char* firstItem(int32_t&, int32_t&) override { return nullptr; }
    const char* nextItem(int32_t&, int32_t&) override { return nullptr; }
    int32_t itemType() override { return kUnknown; }
    int32_t itemCount() override { return 0; }
};

CColor probe(CView* v, int32_t x, int32_t y)
{
    CBitmap* b = renderToBitmap(v);
    CColor c = b->pixel(x, y);
    b->release();
    return c;
}
} // namespace

TEST(ContainerTest, ChildrenPaintInOrderEachInsideItsOwnRectangle)
{
    CFrame frame(CRect(0, 0, 60, 40), nullptr, nullptr);
    frame.addView(new PaintView(CRect(0, 0, 30, 30), kColorRed));
    frame.addView(new PaintView(CRect(20, 10, 50, 40), kColorBlue));
    // Paints three pixels beyond its rectangle on each side; the clip must stop that.
    frame.addView(new PaintView(CRect(5, 32, 15, 38), kColorGreen, 3));
    auto* hidden = new PaintView(CRect(52, 0, 58, 8), kColorYellow);
    hidden->setVisible(false);
    frame.addView(hidden);

    CBitmap* shot = renderToBitmap(&frame);
    EXPECT_EQ(shot->pixel(25, 20), kColorBlue);
    EXPECT_EQ(shot->pixel(10, 10), kColorRed);
    EXPECT_EQ(shot->pixel(45, 5), kColorBlack);
    EXPECT_EQ(shot->pixel(10, 35), kColorGreen);
    EXPECT_EQ(shot->pixel(3, 35), kColorBlack);
    EXPECT_EQ(shot->pixel(10, 29), kColorRed); // spill above the green view, inside the red one
    EXPECT_EQ(shot->pixel(55, 4), kColorBlack);
    EXPECT_EQ(hidden->draws, 0);
    shot->release();

    // A partial update paints inside the update rectangle only.
    auto* context = new COffscreenContext(&frame, 60, 40);
    context->setFillColor(kColorWhite);
    context->drawRect(CRect(0, 0, 60, 40), kDrawFilled);
    frame.drawInRect(context, CRect(0, 0, 22, 40));
    EXPECT_EQ(context->bitmap()->pixel(10, 10), kColorRed);
    EXPECT_EQ(context->bitmap()->pixel(21, 20), kColorBlue);
    EXPECT_EQ(context->bitmap()->pixel(25, 20), kColorWhite);
    CRect clip;
    EXPECT_EQ(context->copyClipRect(clip), CRect(0, 0, 60, 40));
    context->release();
}

TEST(ContainerTest, NestedContainersDrawAtTheirOriginWithOrWithoutOffscreen)
{
    for (bool offscreen : {false, true})
    {
        SCOPED_TRACE(offscreen ? "offscreen" : "direct");
        CFrame frame(CRect(0, 0, 60, 40), nullptr, nullptr);
        auto* inner = new CViewContainer(CRect(30, 10, 50, 30), nullptr);
        inner->setBackgroundColor(kColorGrey);
        inner->setOffscreen(offscreen);
        inner->addView(new PaintView(CRect(2, 2, 8, 8), kColorMagenta, 2));
        frame.addView(inner);
        EXPECT_EQ(inner->frame(), &frame);
        EXPECT_EQ(inner->offscreenContext() != nullptr, offscreen);

        CBitmap* shot = renderToBitmap(&frame);
        EXPECT_EQ(shot->pixel(32, 12), kColorMagenta);
        EXPECT_EQ(shot->pixel(37, 17), kColorMagenta);
        EXPECT_EQ(shot->pixel(38, 18), kColorGrey);
        EXPECT_EQ(shot->pixel(31, 11), kColorGrey);
        EXPECT_EQ(shot->pixel(49, 29), kColorGrey);
        EXPECT_EQ(shot->pixel(50, 30), kColorBlack);
        EXPECT_EQ(shot->pixel(29, 9), kColorBlack);
        shot->release();
    }
}

TEST(ContainerTest, AnOffscreenContainerRepaintsAPartlyCoveredDamageWhereItLies)
{
    CFrame frame(CRect(0, 0, 60, 40), nullptr, nullptr);
    auto* inner = new CViewContainer(CRect(30, 10, 50, 30), nullptr);
    inner->setOffscreen(true);
    auto* child = new PaintView(CRect(0, 0, 20, 20), kColorRed);
    inner->addView(child);
    frame.addView(inner);
    auto* screen = new COffscreenContext(nullptr, 60, 40);
    inner->drawInRect(screen, CRect(30, 10, 50, 30));
    EXPECT_EQ(screen->bitmap()->pixel(42, 22), kColorRed);

    // Only a small piece inside the container is uncovered: that piece shows the new colour.
    child->colour = kColorBlue;
    screen->setClipRect(CRect(40, 20, 45, 25));
    inner->drawInRect(screen, CRect(40, 20, 50, 30));
    EXPECT_EQ(screen->bitmap()->pixel(42, 22), kColorBlue);
    EXPECT_EQ(screen->bitmap()->pixel(47, 27), kColorRed) << "outside the clip nothing changes";
    screen->release();
}

TEST(ContainerTest, ATransparentContainerPaintsNoOpaqueBackground)
{
    CFrame frame(CRect(0, 0, 20, 20), nullptr, nullptr);
    frame.setBackgroundColor(kColorWhite);
    auto* glass = new CViewContainer(CRect(0, 0, 10, 10), nullptr);
    glass->setTransparent(true);
    glass->setBackgroundColor(kColorRed);
    frame.addView(glass);
    EXPECT_EQ(probe(&frame, 5, 5), kColorWhite);
    glass->setBackgroundColor(CColor{255, 0, 0, 128});
    EXPECT_TRUE(sameColour(probe(&frame, 5, 5), CColor{255, 127, 127, 255}, 2));
}

TEST(ContainerTest, PressesGoToTheTopmostEnabledVisibleChildInLocalCoordinates)
{
    std::vector<std::string> log;
    CFrame frame(CRect(0, 0, 100, 100), nullptr, nullptr);
    auto* under = new RecordingView(CRect(0, 0, 50, 50), &log, "under");
    auto* over = new RecordingView(CRect(20, 20, 60, 60), &log, "over");
    auto* inner = new CViewContainer(CRect(70, 70, 100, 100), nullptr);
    auto* deep = new RecordingView(CRect(5, 5, 20, 20), &log, "deep");
    inner->addView(deep);
    frame.addView(under);
    frame.addView(over);
    frame.addView(inner);

    CPoint p(30, 30);
    EXPECT_EQ(frame.onMouseDown(p, kButtonLeft), kMouseHandled);
    p = {80, 80};
    frame.onMouseUp(p, 0);
    EXPECT_EQ(log, (std::vector<std::string>{"over down 30,30 2", "over up 80,80 0"}));

    log.clear();
    over->setMouseEnabled(false);
    p = {30, 30};
    frame.onMouseDown(p, kButtonLeft);
    frame.onMouseUp(p, kButtonLeft);
    // The disabled view is passed over by presses, but still found by position: the wheel
    // reaches it.
    EXPECT_EQ(frame.viewAt({30, 30}), over);
    EXPECT_TRUE(frame.onWheel({30, 30}, 1.f, 0));
    p = {80, 80};
    frame.onMouseDown(p, kButtonRight);
    EXPECT_EQ(log, (std::vector<std::string>{"under down 30,30 2", "under up 30,30 2", "over wheel1 30,30 0",
                                             "deep down 10,10 8"}));
    p = {0, 0};
    frame.onMouseUp(p, 0);

    log.clear();
    over->setVisible(false);
    under->setVisible(false);
    p = {30, 30};
    EXPECT_EQ(frame.onMouseDown(p, kButtonLeft), kMouseNotHandled);
    EXPECT_FALSE(frame.onWheel({30, 30}, 1.f, 0));
    EXPECT_EQ(frame.onMouseMove(p, kButtonLeft), kMouseNotHandled);
    EXPECT_EQ(frame.onMouseUp(p, 0), kMouseNotHandled);
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(frame.viewAt({80, 80}, false), inner);
    EXPECT_EQ(frame.viewAt({80, 80}, true), deep);
    EXPECT_EQ(frame.containerAt({80, 80}, true), inner);
    EXPECT_EQ(frame.containerAt({80, 80}, false), &frame);
}

TEST(ContainerTest, ThePressedViewKeepsMovesAndReleaseUntilItDeclines)
{
    std::vector<std::string> log;
    CFrame frame(CRect(0, 0, 100, 100), nullptr, nullptr);
    auto* v = new RecordingView(CRect(10, 10, 20, 20), &log);
    frame.addView(v);

    CPoint p(15, 15);
    frame.onMouseDown(p, kButtonLeft);
    p = {90, 5};
    EXPECT_EQ(frame.onMouseMove(p, kButtonLeft), kMouseHandled);
    p = {-40, 300};
    EXPECT_EQ(frame.onMouseUp(p, 0), kMouseHandled);
    EXPECT_EQ(log.back(), "v up -40,300 0");
    EXPECT_EQ(frame.mouseDownChild(), nullptr);

    // A view that declines a move loses the press.
    v->moveResult = kMouseNotHandled;
    p = {15, 15};
    frame.onMouseDown(p, kButtonLeft);
    frame.onMouseMove(p, kButtonLeft);
    EXPECT_EQ(frame.mouseDownChild(), nullptr);
    log.clear();
    EXPECT_EQ(frame.onMouseUp(p, 0), kMouseNotHandled);
    EXPECT_TRUE(log.empty());

    // A press handled once is not followed up.
    v->downResult = kMouseHandledOnce;
    EXPECT_EQ(frame.onMouseDown(p, kButtonLeft), kMouseHandledOnce);
    EXPECT_EQ(frame.mouseDownChild(), nullptr);
}

TEST(ContainerTest, AModifierClickTakenByAControlsListenerNeverReachesTheControl)
{
    std::vector<std::string> log;
    CFrame frame(CRect(0, 0, 50, 50), nullptr, nullptr);
    auto* control = new PressedControl(CRect(0, 0, 20, 20), &log);
    frame.addView(control);
    CPoint p(5, 5);
    EXPECT_EQ(frame.onMouseDown(p, kButtonRight), kMouseHandled);
    EXPECT_EQ(frame.onMouseDown(p, kButtonLeft | kModifierShift), kMouseHandled);
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(frame.mouseDownChild(), nullptr);
    frame.onMouseDown(p, kButtonLeft);
    EXPECT_EQ(log, std::vector<std::string>{"control down 5,5 2"});
    control->listenerTakes = 0;
    frame.onMouseDown(p, kButtonRight);
    EXPECT_EQ(log.size(), 2u);
}

TEST(ContainerTest, ChildrenAreAddedOnceAndRemovedWithOrWithoutTheirReference)
{
    RecordingFrame frame(CRect(0, 0, 100, 100));
    auto* a = new CView(CRect(0, 0, 10, 10));
    auto* b = new CView(CRect(10, 0, 20, 10));
    auto* c = new CView(CRect(20, 0, 30, 10));
    EXPECT_TRUE(frame.addView(a));
    EXPECT_TRUE(frame.addView(c));
    EXPECT_TRUE(frame.addViewBefore(b, c));
    EXPECT_FALSE(frame.addView(a));
    EXPECT_FALSE(frame.addView(nullptr));
    CViewContainer other(CRect(0, 0, 1, 1), nullptr);
    EXPECT_FALSE(other.addView(a));
    EXPECT_EQ(frame.childCount(), 3);
    EXPECT_EQ(frame.childAt(0), a);
    EXPECT_EQ(frame.childAt(1), b);
    EXPECT_EQ(frame.childAt(2), c);
    EXPECT_EQ(frame.childAt(3), nullptr);
    EXPECT_TRUE(a->isAttached());
    EXPECT_EQ(a->frame(), &frame);
    EXPECT_EQ(a->referenceCount(), 2);

    frame.invalidated.clear();
    EXPECT_TRUE(frame.removeView(b, false));
    EXPECT_FALSE(frame.removeView(b, false));
    EXPECT_EQ(frame.invalidated, std::vector<CRect>{CRect(10, 0, 20, 10)});
    EXPECT_FALSE(b->isAttached());
    EXPECT_EQ(b->frame(), nullptr);
    EXPECT_EQ(b->referenceCount(), 1);
    EXPECT_FALSE(frame.isChild(b));
    EXPECT_EQ(frame.childAt(1), c);
    // Now it can go elsewhere, and that container takes over the reference.
    EXPECT_TRUE(other.addView(b));
}

TEST(ContainerTest, AutosizeMovesAndStretchesChildrenByTheirFlags)
{
    CViewContainer box(CRect(0, 0, 100, 100), nullptr);
    auto* stays = new CView(CRect(10, 10, 20, 20));
    auto* moves = new CView(CRect(10, 30, 20, 40));
    moves->setAutosize(kAutosizeRight | kAutosizeBottom);
    auto* stretches = new CView(CRect(10, 50, 20, 60));
    stretches->setAutosize(kAutosizeLeft | kAutosizeRight | kAutosizeTop | kAutosizeBottom);
    box.addView(stays);
    box.addView(moves);
    box.addView(stretches);
    box.setViewSize(CRect(0, 0, 130, 110), true);
    EXPECT_EQ(stays->viewSize(), CRect(10, 10, 20, 20));
    EXPECT_EQ(moves->viewSize(), CRect(40, 40, 50, 50));
    EXPECT_EQ(moves->mouseArea(), CRect(40, 40, 50, 50));
    EXPECT_EQ(stretches->viewSize(), CRect(10, 50, 50, 70));

    CViewContainer columns(CRect(0, 0, 30, 10), nullptr);
    columns.setAutosize(kAutosizeColumn);
    CView* cells[3];
    for (int i = 0; i < 3; ++i)
        columns.addView(cells[i] = new CView(CRect(10 * i, 0, 10 * i + 10, 10)));
    columns.setViewSize(CRect(0, 0, 40, 10), true);
    // 10 pixels among 3 columns: 3 each, the remainder is lost.
    EXPECT_EQ(cells[0]->viewSize(), CRect(0, 0, 13, 10));
    EXPECT_EQ(cells[1]->viewSize(), CRect(13, 0, 26, 10));
    EXPECT_EQ(cells[2]->viewSize(), CRect(26, 0, 39, 10));

    CViewContainer same(CRect(0, 0, 10, 10), nullptr);
    auto* watcher = new SizeWatcher(CRect(0, 0, 5, 5));
    same.addView(watcher);
    same.setViewSize(CRect(0, 0, 10, 10), true);
    EXPECT_EQ(watcher->calls, 0);
    same.setViewSize(CRect(5, 5, 15, 15), true); // moved, not resized: still told
    EXPECT_EQ(watcher->calls, 1);
}

TEST(ContainerTest, InvalidationTravelsUpShiftedAndClippedAndIdleRepaintsDirtyViews)
{
    RecordingFrame frame(CRect(0, 0, 100, 100));
    auto* inner = new CViewContainer(CRect(50, 50, 80, 80), nullptr);
    auto* leaf = new CView(CRect(20, 20, 40, 40)); // reaches out of its container
    auto* outside = new CView(CRect(40, 40, 50, 50));
    inner->addView(leaf);
    inner->addView(outside);
    frame.addView(inner);
    // New views are marked dirty until their first paint.
    EXPECT_TRUE(frame.isDirty());
    renderToBitmap(&frame)->release();
    EXPECT_FALSE(frame.isDirty());
    frame.invalidated.clear();

    leaf->invalidate();
    EXPECT_EQ(frame.invalidated, std::vector<CRect>{CRect(70, 70, 80, 80)});

    // A dirty child that lies wholly outside its container does not make it dirty.
    frame.invalidated.clear();
    outside->setDirty(true);
    EXPECT_FALSE(inner->isDirty());
    frame.idle();
    EXPECT_TRUE(frame.invalidated.empty());

    leaf->setDirty(true);
    EXPECT_TRUE(inner->isDirty());
    frame.idle();
    EXPECT_EQ(frame.invalidated, std::vector<CRect>{CRect(70, 70, 80, 80)});
    EXPECT_FALSE(leaf->isDirty());

    // A dirty container repaints as a whole and keeps its mark until it is painted.
    frame.invalidated.clear();
    inner->setDirty(true);
    frame.idle();
    EXPECT_EQ(frame.invalidated, std::vector<CRect>{CRect(50, 50, 80, 80)});
    EXPECT_TRUE(inner->isDirty());
    renderToBitmap(&frame)->release();
    EXPECT_FALSE(inner->isDirty());

    CRect visible;
    EXPECT_EQ(leaf->visibleSize(visible), CRect(20, 20, 30, 30));
    frame.invalidateArea(CRect(80, 80, 90, 90));
    EXPECT_TRUE(inner->isDirty());
}

TEST(ContainerTest, KeysGoFromTheTopChildDownUntilOneTakesThem)
{
    std::vector<std::string> log;
    CViewContainer box(CRect(0, 0, 10, 10), nullptr);
    auto* bottom = new RecordingView(CRect(0, 0, 1, 1), &log, "bottom");
    auto* top = new RecordingView(CRect(0, 0, 1, 1), &log, "top");
    box.addView(bottom);
    box.addView(top);
    KeyCode key{65, 0, 0};
    EXPECT_EQ(box.onKeyDown(key), -1);
    EXPECT_EQ(log, (std::vector<std::string>{"top key 65,0 0", "bottom key 65,0 0"}));
    log.clear();
    top->keyResult = 1;
    EXPECT_EQ(box.onKeyDown(key), 1);
    EXPECT_EQ(log.size(), 1u);
}

TEST(ContainerTest, DragsFollowTheViewUnderThePointer)
{
    std::vector<std::string> log;
    CFrame frame(CRect(0, 0, 100, 100), nullptr, nullptr);
    frame.addView(new RecordingView(CRect(0, 0, 40, 40), &log, "a"));
    frame.addView(new RecordingView(CRect(50, 50, 90, 90), &log, "b"));
    DummyDrag drag;
    frame.onDragEnter(&drag, {10, 10});
    frame.onDragMove(&drag, {12, 10});
    frame.onDragMove(&drag, {60, 60});
    frame.onDragMove(&drag, {45, 45});
    frame.onDragMove(&drag, {70, 60});
    EXPECT_TRUE(frame.onDrop(&drag, {70, 70}));
    EXPECT_FALSE(frame.onDrop(&drag, {45, 45}));
    EXPECT_EQ(log,
              (std::vector<std::string>{"a dragenter 10,10 0", "a dragmove 12,10 0", "a dragleave 60,60 0",
                                        "b dragenter 60,60 0", "b dragleave 45,45 0", "b dragenter 70,60 0",
                                        "b drop 70,70 0", "b dragleave 70,70 0"}));
}
