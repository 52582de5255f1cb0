#include "toolkit/cbarsview.h"
#include "toolkit_helpers.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

using namespace toolkit_test;

namespace
{
constexpr int32_t kId = -1;

class BarSource : public IBarsDef
{
public:
    int32_t getBarCount(int32_t id) override
    {
        seenId(id);
        return bars;
    }
    // Fills the lower half of each bar, in red and blue by turns.
    void drawBar(int32_t id, int32_t index, CDrawContext* context, const CRect& rect) override
    {
        seenId(id);
        context->setFillColor(index % 2 ? kColorBlue : kColorRed);
        context->drawRect(CRect(rect.left, rect.top + rect.height() / 2, rect.right, rect.bottom),
                          kDrawFilled);
    }
    bool onBarEvent(int32_t id, int32_t index, float value, uint32_t flags) override
    {
        seenId(id);
        char text[48];
        std::snprintf(text, sizeof text, "%d %.4f %u", int(index), double(value), unsigned(flags));
        events.emplace_back(text);
        return repaint;
    }
    void seenId(int32_t id)
    {
        if (id != kId) ++wrongIds;
    }

    int32_t bars = 32;
    bool repaint = false;
    std::vector<std::string> events;
    int wrongIds = 0;
};

using Events = std::vector<std::string>;

// The editor's bars: 32 bars in 578 by 68 pixels, 18 pixels each with 2 left over at the right.
class BarsTest : public ::testing::Test
{
protected:
    static constexpr CRect kRect{22, 160, 600, 228};

    void SetUp() override
    {
        frame = new RecordingFrame(CRect(0, 0, 700, 300));
        bars = new CBarsView(kRect, &source, 0, kId);
        frame->addView(bars);
        frame->invalidated.clear();
    }
    void TearDown() override
    {
        delete frame;
        EXPECT_EQ(source.wrongIds, 0);
    }
    // Points are given view-relative and sent in the frame's coordinates.
    int32_t press(int32_t x, int32_t y, int32_t buttons = kButtonLeft)
    {
        CPoint p(kRect.left + x, kRect.top + y);
        return frame->onMouseDown(p, buttons);
    }
    void move(int32_t x, int32_t y, int32_t buttons = kButtonLeft)
    {
        CPoint p(kRect.left + x, kRect.top + y);
        frame->onMouseMove(p, buttons);
    }
    void release(int32_t x, int32_t y)
    {
        CPoint p(kRect.left + x, kRect.top + y);
        frame->onMouseUp(p, 0);
    }

    BarSource source;
    RecordingFrame* frame = nullptr;
    CBarsView* bars = nullptr;
};

TEST_F(BarsTest, BarsShareTheWidthAndTheLeftoverStripTakesNoValue)
{
    EXPECT_EQ(bars->barWidth(), 18);
    EXPECT_EQ(bars->barRect(0), CRect(22, 160, 40, 228));
    EXPECT_EQ(bars->barRect(31), CRect(580, 160, 598, 228));

    // x 576 and 577 are the strip, 578 the view's right edge that the hit test lets through.
    for (int32_t x : {576, 577, 578})
    {
        EXPECT_EQ(press(x, 30), kMouseHandledOnce);
        EXPECT_EQ(press(x, 30, kButtonRight), kMouseHandledOnce);
        move(x - 10, 30);
        release(x - 10, 30);
    }
    EXPECT_TRUE(source.events.empty());

    // A drag from the last bar into the strip goes no further than the last bar.
    EXPECT_EQ(press(575, 34), kMouseHandled);
    move(576, 20);
    move(577, 10);
    EXPECT_EQ(source.events, Events{"31 0.5000 2"});
}

TEST_F(BarsTest, TheHeightGivesTheValueAndADragOutsideTheViewKeepsToItsEdge)
{
    source.repaint = true;
    EXPECT_EQ(press(5, 0), kMouseHandled);
    EXPECT_EQ(frame->invalidated, std::vector<CRect>{bars->barRect(0)});
    move(5, 34);
    move(5, 67);
    move(5, 68);
    // Above the view is the top edge, below it the bottom edge, left of it the first bar.
    move(5, -50);
    move(5, -90);
    move(5, 200);
    move(-40, 0);
    // A fast drag sets only the bars under the events that arrive.
    move(100, 0);
    // Right of the view is its right edge, which belongs to no bar.
    move(900, 0);
    release(900, 0);
    EXPECT_EQ(source.events, (Events{"0 1.0000 2", "0 0.5000 2", "0 0.0147 2", "0 0.0000 2", "0 1.0000 2",
                                     "0 0.0000 2", "0 1.0000 2", "5 1.0000 2"}));
}

TEST_F(BarsTest, EachGestureSendsAValueOnceAndPassesTheMouseWordOn)
{
    press(40, 20, kButtonLeft | kModifierShift);
    // Another pixel column of the same bar at the same height.
    move(41, 20, kButtonLeft | kModifierShift);
    release(41, 20);
    // A new press sends again, even the same value.
    press(41, 20);
    release(41, 20);
    const std::string value = "2 0.7059 ";
    EXPECT_EQ(source.events, (Events{value + std::to_string(kButtonLeft | kModifierShift), value + "2"}));
    EXPECT_TRUE(frame->invalidated.empty());

    // A right press clears the bar wherever the pointer is, sends exactly the right button, and
    // tracks nothing.
    source.events.clear();
    source.repaint = true;
    EXPECT_EQ(press(100, 3, kButtonRight | kModifierShift), kMouseHandledOnce);
    move(130, 3, kButtonRight);
    move(150, 3, kButtonRight);
    release(150, 3);
    EXPECT_EQ(source.events, Events{"5 0.0000 8"});
    EXPECT_EQ(frame->invalidated, std::vector<CRect>{bars->barRect(5)});

    // Without the left or right button there is no gesture.
    source.events.clear();
    EXPECT_EQ(press(100, 3, kButtonMiddle), kMouseNotHandled);
    move(130, 3, kButtonMiddle);
    EXPECT_TRUE(source.events.empty());
}

TEST_F(BarsTest, SeparatorsLieUnderTheBarsAtTheRightEdgeOfEach)
{
    const CColor lines{128, 128, 128, 255};
    frame->setBackgroundColor(kColorWhite);
    auto* gridded = new CBarsView(CRect(22, 20, 600, 88), &source, kBarsDrawGrid, kId);
    gridded->gridColor = lines;
    frame->addView(gridded);
    CBitmap* picture = renderToBitmap(frame);
    auto at = [picture](int32_t x, int32_t y) { return picture->pixel(22 + x, 20 + y); };

    // Upper halves, where the bars leave the separators showing.
    EXPECT_EQ(at(0, 5), kColorWhite);
    EXPECT_EQ(at(17, 5), kColorWhite);
    EXPECT_EQ(at(18, 5), lines);
    EXPECT_EQ(at(18 * 31, 5), lines);
    // The last separator closes the last bar, in the strip.
    EXPECT_EQ(at(576, 5), lines);
    EXPECT_EQ(at(577, 5), kColorWhite);
    // Lower halves: each bar in its own rectangle, painted over the separators.
    EXPECT_EQ(at(0, 60), kColorRed);
    EXPECT_EQ(at(17, 60), kColorRed);
    EXPECT_EQ(at(18, 60), kColorBlue);
    EXPECT_EQ(at(575, 60), kColorBlue);
    EXPECT_EQ(at(576, 60), lines);

    // Without the flag nothing but the bars: the parent shows through.
    EXPECT_EQ(picture->pixel(22 + 18, 165), kColorWhite);
    EXPECT_EQ(picture->pixel(22 + 18, 220), kColorBlue);
    picture->release();
}

} // namespace
