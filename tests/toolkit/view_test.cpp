#include "toolkit_helpers.h"

#include <gtest/gtest.h>

using namespace toolkit_test;

namespace
{
class WheelView : public CView
{
public:
    WheelView() : CView(CRect(0, 0, 10, 10)) {}
    bool onWheel(const CPoint&, float distance, const int32_t&) override
    {
        received = distance;
        return true;
    }
    float received = 0;
};
} // namespace

TEST(ViewTest, TheMouseAreaHitsOnItsRightAndBottomEdgesAndStaysWhenTheViewMoves)
{
    CView v(CRect(10, 10, 20, 20));
    EXPECT_TRUE(v.hitTest({20, 20}));
    EXPECT_TRUE(v.hitTest({10, 10}));
    EXPECT_FALSE(v.hitTest({21, 15}));
    EXPECT_FALSE(v.viewSize().pointInside({20, 20}));
    EXPECT_TRUE(v.overlaps(CRect(20, 20, 30, 30)));
    EXPECT_TRUE(v.overlaps(CRect(0, 0, 10, 10)));
    EXPECT_FALSE(v.overlaps(CRect(21, 0, 30, 30)));

    v.setViewSize(CRect(50, 50, 60, 60), true);
    EXPECT_TRUE(v.isDirty());
    EXPECT_TRUE(v.hitTest({15, 15}));
    EXPECT_FALSE(v.hitTest({55, 55}));
    v.setMouseArea(v.viewSize());
    EXPECT_TRUE(v.hitTest({55, 55}));
}

TEST(ViewTest, TypeTestsFollowTheClassChainExactly)
{
    CView v(CRect(0, 0, 1, 1));
    CViewContainer c(CRect(0, 0, 1, 1), nullptr);
    CFrame f(CRect(0, 0, 1, 1), nullptr, nullptr);
    EXPECT_TRUE(v.isTypeOf("CView"));
    EXPECT_FALSE(v.isTypeOf("CViewContainer"));
    EXPECT_FALSE(v.isTypeOf("cview"));
    EXPECT_FALSE(v.isTypeOf(nullptr));
    EXPECT_TRUE(c.isTypeOf("CViewContainer"));
    EXPECT_TRUE(c.isTypeOf("CView"));
    EXPECT_FALSE(c.isTypeOf("CFrame"));
    EXPECT_TRUE(f.isTypeOf("CFrame") && f.isTypeOf("CViewContainer") && f.isTypeOf("CView"));
    EXPECT_EQ(c.handleMessage(nullptr, kMsgCheckIfViewContainer), kMessageHandled);
    // Messages are told apart by pointer, not by text.
    const std::string sameText = "kMsgCheckIfViewContainer";
    EXPECT_EQ(c.handleMessage(nullptr, sameText.c_str()), kMessageIgnored);
    EXPECT_EQ(v.handleMessage(nullptr, kMsgCheckIfViewContainer), kMessageIgnored);
}

TEST(ViewTest, ACloneIsVisibleDetachedAndSharesTheBackground)
{
    auto* bitmap = new CBitmap(nullptr, 2, 2);
    auto* frame = new CFrame(CRect(0, 0, 100, 100), nullptr, nullptr);
    auto* v = new CView(CRect(1, 2, 3, 4));
    v->setBackground(bitmap);
    v->setBackground(bitmap);
    EXPECT_EQ(bitmap->referenceCount(), 2);
    v->setVisible(false);
    v->setAutosize(kAutosizeRight);
    v->setWantsFocus(true);
    const char data[] = "abc";
    v->setAttribute(kViewAttributeCvrp, 4, data);
    frame->addView(v);

    CView* copy = v->clone();
    ASSERT_NE(copy, nullptr);
    EXPECT_TRUE(copy->isVisible());
    EXPECT_FALSE(copy->isAttached());
    EXPECT_EQ(copy->frame(), nullptr);
    EXPECT_EQ(copy->viewSize(), CRect(1, 2, 3, 4));
    EXPECT_EQ(copy->autosize(), kAutosizeRight);
    EXPECT_TRUE(copy->wantsFocus());
    EXPECT_EQ(copy->background(), bitmap);
    EXPECT_EQ(bitmap->referenceCount(), 3);
    EXPECT_EQ(copy->referenceCount(), 1);
    char back[4] = {};
    int32_t got = 0;
    EXPECT_TRUE(copy->attribute(kViewAttributeCvrp, 4, back, got));
    EXPECT_STREQ(back, "abc");
    copy->release();
    delete frame;
    EXPECT_EQ(bitmap->referenceCount(), 1);
    bitmap->release();
}

TEST(ViewTest, AttributesKeepALargerBlockAndGrowASmallerOne)
{
    CView v(CRect(0, 0, 1, 1));
    int32_t size = 0;
    EXPECT_FALSE(v.attributeSize(kViewAttributeCvtt, size));
    const int32_t four = 0x01020304;
    ASSERT_TRUE(v.setAttribute(kViewAttributeCvtt, 4, &four));
    const int16_t two = 7;
    ASSERT_TRUE(v.setAttribute(kViewAttributeCvtt, 2, &two));
    // The block keeps its recorded size of 4; the new bytes are copied over its start.
    EXPECT_TRUE(v.attributeSize(kViewAttributeCvtt, size));
    EXPECT_EQ(size, 4);
    int32_t value = 0;
    EXPECT_FALSE(v.attribute(kViewAttributeCvtt, 2, &value, size));
    EXPECT_TRUE(v.attribute(kViewAttributeCvtt, 4, &value, size));
    EXPECT_EQ(value & 0xFFFF, 7);
    const int64_t eight = 42;
    ASSERT_TRUE(v.setAttribute(kViewAttributeCvtt, 8, &eight));
    EXPECT_TRUE(v.attributeSize(kViewAttributeCvtt, size));
    EXPECT_EQ(size, 8);
    EXPECT_TRUE(v.removeAttribute(kViewAttributeCvtt));
    EXPECT_FALSE(v.removeAttribute(kViewAttributeCvtt));
}

TEST(ViewTest, ADetachedViewAsksForNoRepaintAndTheHorizontalWheelIsNegated)
{
    RecordingFrame frame(CRect(0, 0, 50, 50));
    auto* v = new CView(CRect(0, 0, 10, 10));
    v->setDirty(true);
    v->invalidate();
    EXPECT_FALSE(v->isDirty());
    EXPECT_EQ(v->frame(), nullptr);
    frame.addView(v);
    frame.invalidated.clear();
    v->invalidate();
    EXPECT_EQ(frame.invalidated, std::vector<CRect>{CRect(0, 0, 10, 10)});
    v->setVisible(false);
    v->invalidate();
    EXPECT_EQ(frame.invalidated.size(), 1u);

    WheelView w;
    int32_t buttons = 0;
    w.onWheelAxis({0, 0}, 0, 1.f, buttons);
    EXPECT_EQ(w.received, -1.f);
    w.onWheelAxis({0, 0}, 1, 1.f, buttons);
    EXPECT_EQ(w.received, 1.f);
}
