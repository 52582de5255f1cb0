#include "control_helpers.h"
#include "toolkit/cknob.h"
#include "toolkit/cparamdisplay.h"
#include "toolkit/cslider.h"

#include <gtest/gtest.h>

using namespace toolkit_test;

namespace
{
// A knob of 100 by 100 at (20, 20): radius 50, handle 47 pixels from the centre.
constexpr CRect kKnobRect{20, 20, 120, 120};

CKnob* addKnob(ControlBench& bench, int32_t tag = 7)
{
    auto* knob = new CKnob(kKnobRect, &bench.listener, tag, nullptr, nullptr);
    bench.frame->addView(knob);
    return knob;
}

// Any pixel within one of (x, y) near the colour: lines may land half a pixel either way.
bool colourNear(const Shot& shot, int32_t x, int32_t y, CColor colour)
{
    for (int32_t dy = -1; dy <= 1; ++dy)
        for (int32_t dx = -1; dx <= 1; ++dx)
            if (sameColour(shot.at(x + dx, y + dy), colour, 40)) return true;
    return false;
}
} // namespace

TEST(ControlTest, DirtyFollowsTheValueAndOnlyClampValueClamps)
{
    ControlBench bench;
    auto* knob = new CKnob(kKnobRect, &bench.listener, 7, nullptr, nullptr);
    EXPECT_TRUE(knob->isDirty());
    knob->setDirty(false);
    EXPECT_FALSE(knob->isDirty());
    knob->setValue(0.25f);
    EXPECT_TRUE(knob->isDirty());
    knob->setValue(-1.f);
    knob->setDirty(false);
    knob->setDirty(true);
    EXPECT_EQ(knob->oldValue(), 0.f);

    knob->setValue(3.f);
    EXPECT_EQ(knob->value(), 3.f);
    knob->clampValue();
    EXPECT_EQ(knob->value(), 1.f);
    knob->setMin(2.f);
    knob->setValue(5.f);
    knob->clampValue();
    EXPECT_EQ(knob->value(), 1.f) << "above vmax wins even when vmin lies higher";

    CView* copy = knob->clone();
    EXPECT_EQ(static_cast<CControl*>(copy)->value(), 1.f);
    EXPECT_EQ(static_cast<CControl*>(copy)->listener(), &bench.listener);
    copy->release();
    knob->release();
}

TEST(ControlTest, ModifierClicksGoToTheListenerAndControlClickResets)
{
    ControlBench bench;
    CKnob* knob = addKnob(bench);
    knob->setDefaultValue(0.25f);
    knob->setValue(0.8f);
    knob->setDirty(false);

    bench.listener.takesModifierClicks = 1;
    EXPECT_EQ(bench.press(70, 23, kButtonRight), kMouseHandled);
    EXPECT_EQ(bench.take(), Log{"modifier 8"});
    EXPECT_EQ(knob->value(), 0.8f);

    bench.listener.takesModifierClicks = 0;
    EXPECT_EQ(bench.press(70, 23, kButtonLeft | kModifierControl), kMouseHandledOnce);
    EXPECT_EQ(knob->value(), 0.25f);
    EXPECT_EQ(bench.frame->focusView(), knob);
    EXPECT_EQ(bench.take(), (Log{"modifier 34", "begin", "host begin 7", "begin", "host begin 7",
                                 "value 0.250", "host end 7", "end", "host end 7", "end"}));

    // Already at the default and clean: the edit brackets run, the listener hears no value. (In a
    // frame the focus change marks a knob dirty, so this one stands alone.)
    CKnob loose(kKnobRect, &bench.listener, 8, nullptr, nullptr);
    loose.setDefaultValue(0.25f);
    loose.setValue(0.25f);
    loose.setDirty(false);
    EXPECT_TRUE(loose.resetToDefault(kButtonLeft | kModifierControl));
    EXPECT_EQ(bench.take(), (Log{"begin", "end"}));

    // Shift as well is no reset: a circular drag to the top takes 0.5.
    bench.press(70, 23, kButtonLeft | kModifierControl | kModifierShift);
    bench.release(70, 23);
    EXPECT_NEAR(knob->value(), 0.5f, 1e-4f);
}

TEST(KnobTest, CircularDragsFollowTheAngleAndNeverWrapAcrossTheGap)
{
    for (int32_t mode : {kCircularMode, kRelativeCircularMode})
    {
        ControlBench bench;
        bench.editor.mode = mode;
        CKnob* knob = addKnob(bench);
        knob->setValue(0.2f);
        knob->setDirty(false);
        bench.press(70, 23); // the top: the middle of the arc
        bench.move(117, 70); // the right
        bench.move(75, 117); // just right of the gap at the bottom: the end of the arc
        bench.move(65, 117); // just left of it: across the gap, so the value stays
        bench.move(23, 70);  // the left, still cut off by the gap
        bench.move(117, 70); // back
        EXPECT_EQ(bench.release(117, 70), kMouseHandled);
        EXPECT_EQ(bench.take(), (Log{"begin", "host begin 7", "value 0.500", "value 0.833", "value 1.000",
                                     "value 0.833", "host end 7", "end"}))
            << "mode " << mode;
    }
}

TEST(KnobTest, LinearDragsInModeTwoOrWithAltAndShiftRescalesWithoutAJump)
{
    ControlBench bench;
    bench.editor.mode = kLinearMode;
    CKnob* knob = addKnob(bench);
    knob->setValue(0.5f);
    knob->setDirty(false);

    bench.press(70, 70);
    EXPECT_EQ(knob->value(), 0.5f) << "the press itself changes nothing";
    bench.move(70, 30); // 40 pixels up of 200 for the range
    EXPECT_NEAR(knob->value(), 0.7f, 1e-5f);
    bench.move(71, 30, kButtonLeft | kModifierShift); // from here on of 300, without a jump
    EXPECT_NEAR(knob->value(), 0.5f + 41.f / 200.f, 1e-5f);
    bench.move(131, 30, kButtonLeft | kModifierShift); // 60 more
    EXPECT_NEAR(knob->value(), 0.705f + 60.f / 300.f, 1e-5f);
    bench.move(131, -200, kButtonLeft | kModifierShift);
    EXPECT_EQ(knob->value(), 1.f);
    bench.release(131, -200);

    // Alt turns the mode round: circular in mode 2, linear in mode 0.
    knob->setValue(0.2f);
    bench.press(70, 23, kButtonLeft | kModifierAlt);
    EXPECT_NEAR(knob->value(), 0.5f, 1e-4f);
    bench.release(70, 23);
    bench.editor.mode = kCircularMode;
    knob->setValue(0.2f);
    bench.press(70, 23, kButtonLeft | kModifierAlt);
    bench.move(90, 23, kButtonLeft | kModifierAlt);
    EXPECT_NEAR(knob->value(), 0.3f, 1e-5f);
    bench.release(90, 23);
}

TEST(KnobTest, WheelAndArrowKeysStepByTheIncrementInsideTheRange)
{
    ControlBench bench;
    CKnob* knob = addKnob(bench);
    knob->setValue(0.5f);
    EXPECT_TRUE(bench.frame->onWheel(CPoint(70, 70), 1.f, 0));
    EXPECT_NEAR(knob->value(), 0.6f, 1e-6f);
    bench.frame->onWheel(CPoint(70, 70), -2.f, kModifierShift);
    EXPECT_NEAR(knob->value(), 0.58f, 1e-6f);
    EXPECT_EQ(bench.take(), (Log{"begin", "host begin 7", "value 0.600", "host end 7", "end", "begin",
                                 "host begin 7", "value 0.580", "host end 7", "end"}));
    knob->setMouseEnabled(false);
    EXPECT_FALSE(knob->onWheel(CPoint(70, 70), 1.f, 0));
    EXPECT_NEAR(knob->value(), 0.58f, 1e-6f);
    knob->setMouseEnabled(true);

    bench.frame->setFocusView(knob);
    KeyCode up{0, kVirtualKeyUp, 0}, left{0, kVirtualKeyLeft, kKeyModifierShift}, other{'a', 0, 0};
    EXPECT_EQ(bench.frame->onKeyDown(up), 1);
    EXPECT_NEAR(knob->value(), 0.68f, 1e-6f);
    EXPECT_EQ(bench.frame->onKeyDown(left), 1);
    EXPECT_NEAR(knob->value(), 0.67f, 1e-6f);
    EXPECT_EQ(bench.frame->onKeyDown(other), -1);
    for (int i = 0; i < 5; ++i)
        bench.frame->onKeyDown(up);
    EXPECT_EQ(knob->value(), 1.f);
}

TEST(KnobTest, TheHandleLineAndTheAnimatedImageFollowTheValue)
{
    ControlBench bench;
    CBitmap* black = makeStrip(100, 100, {kColorBlack});
    auto* knob = new CKnob(kKnobRect, &bench.listener, 1, black, nullptr);
    bench.frame->addView(knob);
    knob->setValue(0.5f); // straight up: a white line at x 50 from y 2 down to the centre
    {
        Shot shot(knob);
        EXPECT_TRUE(colourNear(shot, 50, 20, kColorWhite));
        EXPECT_TRUE(colourNear(shot, 49, 30, kColorGrey));
        EXPECT_EQ(shot.at(80, 20), kColorBlack);
    }
    knob->setValue(0.f); // lower left, 45 degrees below the horizontal
    {
        Shot shot(knob);
        EXPECT_FALSE(colourNear(shot, 50, 20, kColorWhite));
        EXPECT_TRUE(colourNear(shot, 33, 65, kColorWhite));
    }
    black->release();

    const CColor colours[5] = {kColorRed, kColorGreen, kColorBlue, kColorYellow, kColorCyan};
    CBitmap* strip = makeStrip(20, 20, {colours[0], colours[1], colours[2], colours[3], colours[4]});
    auto* anim = new CAnimKnob(CRect(150, 0, 170, 20), &bench.listener, 2, 5, 20, strip);
    bench.frame->addView(anim);
    const struct
    {
        float value;
        bool inverse;
        int image;
    } cases[] = {{0.f, false, 0}, {0.5f, false, 2},  {0.3f, false, 1},
                 {1.f, false, 4}, {-0.1f, false, 0}, {0.3f, true, 2}};
    for (const auto& c : cases)
    {
        anim->setValue(c.value);
        anim->setInverseBitmap(c.inverse);
        EXPECT_EQ(Shot(anim).at(10, 10), colours[c.image]) << c.value;
    }
    // A change too small to move the handle point does not ask for a repaint.
    anim->setValue(0.5f);
    Shot(anim).at(0, 0);
    anim->setValue(0.501f);
    EXPECT_FALSE(anim->isDirty());
    anim->setValue(0.7f);
    EXPECT_TRUE(anim->isDirty());
    strip->release();
}

//------------------------------------------------------------------------------------------------

TEST(SliderTest, TheHandleMapsThePointerOverItsTravelAndShiftDragsFinely)
{
    ControlBench bench;
    CBitmap* handle = makeStrip(2, 10, {kColorRed});
    // A travel of 52 less the handle's 2 pixels from the view's left at 10: value 0 at x 10.
    auto* slider =
        new CHorizontalSlider(CRect(10, 20, 80, 30), &bench.listener, 3, CPoint(0, 0), 52, handle, nullptr);
    bench.frame->addView(slider);
    EXPECT_EQ(bench.press(35, 25), kMouseHandled);
    EXPECT_EQ(slider->value(), 0.5f);
    bench.move(70, 25);
    EXPECT_EQ(slider->value(), 1.f);
    bench.move(0, 25);
    bench.release(0, 25);
    EXPECT_EQ(bench.take(), (Log{"begin", "host begin 3", "value 0.500", "value 1.000", "value 0.000",
                                 "host end 3", "end"}));

    slider->setValue(0.5f);
    bench.press(35, 25, kButtonLeft | kModifierShift);
    EXPECT_EQ(slider->value(), 0.5f) << "a fine drag starts where the handle is";
    bench.move(45, 25, kButtonLeft | kModifierShift);
    EXPECT_NEAR(slider->value(), 0.52f, 1e-6f);
    bench.move(45, 25); // Shift let go: the pointer rules again
    EXPECT_NEAR(slider->value(), 0.7f, 1e-6f);
    bench.release(45, 25);

    // Without free clicks only the handle can be grabbed, and it does not jump.
    slider->setFreeClick(false);
    slider->setValue(0.f);
    EXPECT_EQ(bench.press(30, 25), kMouseNotHandled);
    EXPECT_EQ(bench.press(11, 25), kMouseHandled);
    EXPECT_EQ(slider->value(), 0.f);
    bench.move(36, 25);
    EXPECT_EQ(slider->value(), 0.5f);
    bench.release(36, 25);

    // The mouse maps through the range; the wheel steps inside it.
    slider->setFreeClick(true);
    slider->setMin(-10.f);
    slider->setMax(10.f);
    bench.press(35, 25);
    bench.release(35, 25);
    EXPECT_EQ(slider->value(), 0.f);
    slider->setWheelInc(4.f);
    bench.frame->onWheel(CPoint(35, 25), 3.f, 0);
    EXPECT_EQ(slider->value(), 10.f);
    handle->release();
}

TEST(SliderTest, TheHandleIsDrawnWhereTheValueSays)
{
    CBitmap* handle = makeStrip(10, 10, {kColorRed});
    CBitmap* track = makeStrip(10, 60, {kColorBlue});
    ControlBench bench;
    // Value 0 at the bottom: the handle runs 50 pixels.
    auto* slider =
        new CVerticalSlider(CRect(0, 0, 10, 60), &bench.listener, 1, CPoint(0, 0), 60, handle, track);
    bench.frame->addView(slider);
    const struct
    {
        float value;
        int32_t top;
    } cases[] = {{0.f, 50}, {1.f, 0}, {0.5f, 25}};
    for (const auto& c : cases)
    {
        slider->setValue(c.value);
        Shot shot(slider);
        EXPECT_EQ(shot.at(5, c.top), kColorRed) << c.value;
        EXPECT_EQ(shot.at(5, c.top + 9), kColorRed) << c.value;
        EXPECT_EQ(shot.at(5, c.top == 0 ? 10 : c.top - 1), kColorBlue) << c.value;
    }
    // The handle's middle comes to the pointer, and up means more.
    bench.press(5, 30);
    EXPECT_NEAR(slider->value(), 0.48f, 1e-6f);
    bench.release(5, 30);
    handle->release();
    track->release();
}

//------------------------------------------------------------------------------------------------

TEST(ParamDisplayTest, ValueTextConversionsAndStyles)
{
    // The plain format shows 0.5 as "0.50": it paints as the label of that text does.
    auto* display = new CParamDisplay(CRect(0, 0, 40, 16));
    display->setValue(0.5f);
    CTextLabel same(CRect(0, 0, 40, 16), "0.50"), other(CRect(0, 0, 40, 16), "0.5");
    Shot a(display), b(&same), c(&other);
    bool equal = true, differs = false;
    for (int32_t y = 0; y < 16; ++y)
        for (int32_t x = 0; x < 40; ++x)
        {
            equal = equal && a.at(x, y) == b.at(x, y);
            differs = differs || a.at(x, y) != c.at(x, y);
        }
    EXPECT_TRUE(equal);
    EXPECT_TRUE(differs);

    static float seen = 0.f;
    static void* seenData = nullptr;
    display->setValueToString([](float, char* text) { std::snprintf(text, 256, "plain"); });
    int word = 0;
    display->setValueToStringUser(
        [](float value, char* text, void* data)
        {
            seen = value;
            seenData = data;
            std::snprintf(text, 256, "user");
        },
        &word);
    Shot(display).at(0, 0);
    EXPECT_EQ(seen, 0.5f);
    EXPECT_EQ(seenData, &word);
    display->release();

    // Edges: the upper and left in backColor when inset, in frameColor when raised; the lower one
    // lies on size.bottom, below the filled background. Drawn straight onto a green surface, as
    // nothing clips the control to its own rectangle here.
    auto* edged = new CParamDisplay(CRect(5, 5, 45, 25), nullptr, kStyleInset | kStyleNoText);
    edged->setBackColor(kColorBlue);
    edged->setFrameColor(kColorRed);
    auto drawOnGreen = [edged](auto&& probe)
    {
        auto* surface = new COffscreenContext(nullptr, 60, 40);
        surface->setFillColor(kColorGreen);
        surface->drawRect(CRect(0, 0, 60, 40), kDrawFilled);
        edged->draw(surface);
        probe(surface->bitmap());
        surface->release();
    };
    drawOnGreen(
        [](CBitmap* b)
        {
            EXPECT_EQ(b->pixel(20, 15), kColorBlue);
            EXPECT_EQ(b->pixel(44, 15), kColorRed);
            EXPECT_EQ(b->pixel(20, 25), kColorRed);
            EXPECT_EQ(b->pixel(20, 26), kColorGreen);
        });
    edged->setStyle(kStyleRaised | kStyleInset | kStyleNoText);
    drawOnGreen([](CBitmap* b) { EXPECT_EQ(b->pixel(44, 15), kColorRed) << "inset wins"; });
    edged->setStyle(kStyleRaised | kStyleNoText);
    drawOnGreen(
        [](CBitmap* b)
        {
            EXPECT_EQ(b->pixel(5, 15), kColorRed);
            EXPECT_EQ(b->pixel(20, 6), kColorRed);
            EXPECT_EQ(b->pixel(20, 25), kColorBlue);
        });
    // A plain frame in frameColor without the 3D styles; none with kStyleNoFrame.
    edged->setStyle(kStyleNoText);
    drawOnGreen([](CBitmap* b) { EXPECT_EQ(b->pixel(20, 5), kColorRed); });
    edged->setStyle(kStyleNoText | kStyleNoFrame);
    drawOnGreen([](CBitmap* b) { EXPECT_EQ(b->pixel(20, 5), kColorBlue); });
    edged->release();

    auto* hidden = new CTextLabel(CRect(0, 0, 10, 10), "x", nullptr, kStyleNoDraw);
    EXPECT_FALSE(hidden->isDirty());
    EXPECT_EQ(Shot(hidden).at(5, 5).alpha, 0);
    hidden->setText("x");
    EXPECT_FALSE(hidden->isDirty());
    hidden->setText("y");
    EXPECT_TRUE(hidden->isDirty());
    EXPECT_STREQ(hidden->labelTextOf(), "y");
    hidden->release();
}

TEST(ParamDisplayTest, TheShadowLiesUnderTheText)
{
    CTextLabel label(CRect(0, 0, 40, 20), "WWW", nullptr, kStyleShadowText);
    label.setFont(kFontBig);
    label.setShadowColor(kColorRed);
    Shot shot(&label);
    int white = 0, red = 0;
    for (int32_t y = 0; y < 20; ++y)
        for (int32_t x = 0; x < 40; ++x)
        {
            white += sameColour(shot.at(x, y), kColorWhite, 60);
            red += sameColour(shot.at(x, y), kColorRed, 60);
        }
    EXPECT_GT(white, 5);
    EXPECT_GT(red, 2);
    // An empty text paints the background and nothing else.
    label.setText("");
    Shot empty(&label);
    for (int32_t y = 0; y < 20; ++y)
        for (int32_t x = 0; x < 40; ++x)
            ASSERT_EQ(empty.at(x, y), kColorBlack) << x << "," << y;
}
