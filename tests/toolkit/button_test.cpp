#include "control_helpers.h"
#include "toolkit/cbuttons.h"
#include "toolkit/cmovie.h"
#include "toolkit/cspecial.h"
#include "toolkit/cswitches.h"

#include <gtest/gtest.h>

using namespace toolkit_test;

namespace
{
// Ten images of 10 by 10, the image of digit d in a grey of d * 25.
CBitmap* digitStrip()
{
    auto* bitmap = new CBitmap(nullptr, 10, 100);
    auto* painter = new COffscreenContext(nullptr, bitmap, true);
    for (int32_t d = 0; d < 10; ++d)
    {
        painter->setFillColor(CColor{uint8_t(d * 25), uint8_t(d * 25), uint8_t(d * 25), 255});
        painter->drawRect(CRect(0, d * 10, 10, d * 10 + 10), kDrawFilled);
    }
    painter->release();
    return bitmap;
}

CColor digitColour(int d)
{
    return CColor{uint8_t(d * 25), uint8_t(d * 25), uint8_t(d * 25), 255};
}
} // namespace

TEST(ButtonTest, OnOffFlipsAtEachPressAndTellsAroundTheIdleCall)
{
    ControlBench bench;
    CBitmap* strip = makeStrip(20, 20, {kColorRed, kColorGreen});
    auto* button = new COnOffButton(CRect(0, 0, 20, 20), &bench.listener, 4, strip);
    bench.frame->addView(button);
    EXPECT_EQ(Shot(button).at(10, 10), kColorRed);
    EXPECT_EQ(bench.press(10, 10), kMouseHandledOnce);
    EXPECT_EQ(button->value(), 1.f);
    EXPECT_EQ(Shot(button).at(10, 10), kColorGreen);
    EXPECT_EQ(bench.take(), (Log{"begin", "host begin 4", "idle", "value 1.000", "host end 4", "end"}));

    button->setStyle(kPreListenerUpdate);
    bench.press(10, 10);
    EXPECT_EQ(bench.take(), (Log{"begin", "host begin 4", "value 0.000", "idle", "host end 4", "end"}));
    EXPECT_EQ(bench.press(10, 10, kButtonRight), kMouseNotHandled);
    EXPECT_EQ(bench.take(), Log{"modifier 8"});
    EXPECT_EQ(button->value(), 0.f);
    strip->release();
}

TEST(ButtonTest, KickButtonSendsOnePulseAtTheReleaseInside)
{
    ControlBench bench;
    CBitmap* strip = makeStrip(20, 20, {kColorRed, kColorGreen});
    auto* kick = new CKickButton(CRect(30, 0, 50, 20), &bench.listener, 5, 20, strip);
    bench.frame->addView(kick);
    bench.press(40, 10);
    EXPECT_EQ(kick->value(), 1.f);
    EXPECT_EQ(Shot(kick).at(10, 10), kColorGreen);
    bench.move(60, 10);
    EXPECT_EQ(kick->value(), 0.f);
    bench.move(45, 10);
    EXPECT_EQ(bench.take(), (Log{"begin", "host begin 5"})) << "nothing is told while held";
    bench.release(45, 10);
    EXPECT_EQ(bench.take(), (Log{"value 1.000", "value 0.000", "host end 5", "end"}));
    EXPECT_EQ(Shot(kick).at(10, 10), kColorRed);

    bench.press(40, 10);
    bench.move(60, 10);
    bench.release(60, 10);
    EXPECT_EQ(bench.take(), (Log{"begin", "host begin 5", "value 0.000", "host end 5", "end"}));
    strip->release();
}

TEST(ButtonTest, MovieButtonHoldsTheOppositeValueWhileThePointerIsInside)
{
    ControlBench bench;
    CBitmap* strip = makeStrip(20, 20, {kColorRed, kColorGreen});
    auto* movie = new CMovieButton(CRect(0, 0, 20, 20), &bench.listener, 6, 20, strip);
    bench.frame->addView(movie);
    bench.press(10, 10);
    bench.move(30, 10);
    bench.move(5, 5);
    bench.release(5, 5);
    EXPECT_EQ(movie->value(), 1.f);
    EXPECT_EQ(Shot(movie).at(10, 10), kColorGreen);
    bench.press(10, 10);
    bench.release(10, 10);
    EXPECT_EQ(bench.take(),
              (Log{"begin", "host begin 6", "value 1.000", "value 0.000", "value 1.000", "host end 6", "end",
                   "begin", "host begin 6", "value 0.000", "host end 6", "end"}));
    strip->release();
}

TEST(SwitchTest, RockerSpringsBackToTheMiddleAfterPressAndWheel)
{
    ControlBench bench;
    CBitmap* strip = makeStrip(20, 30, {kColorRed, kColorGreen, kColorBlue});
    auto* rocker = new CRockerSwitch(CRect(0, 0, 20, 30), &bench.listener, 7, 30, strip, CPoint(), kVertical);
    bench.frame->addView(rocker);
    bench.press(10, 5);
    EXPECT_EQ(rocker->value(), -1.f);
    EXPECT_EQ(Shot(rocker).at(10, 10), kColorRed);
    bench.move(10, 25);
    EXPECT_EQ(Shot(rocker).at(10, 10), kColorBlue);
    bench.move(40, 25); // outside: the value at the press
    EXPECT_EQ(rocker->value(), 0.f);
    bench.move(10, 25);
    bench.release(10, 25);
    EXPECT_EQ(rocker->value(), 0.f);
    EXPECT_EQ(Shot(rocker).at(10, 10), kColorGreen);
    EXPECT_EQ(bench.take(), (Log{"begin", "host begin 7", "value -1.000", "value 1.000", "value 0.000",
                                 "value 1.000", "value 0.000", "host end 7", "end"}));

    EXPECT_TRUE(bench.frame->onWheel(CPoint(10, 10), 1.f, 0));
    EXPECT_TRUE(bench.frame->onWheel(CPoint(10, 10), -1.f, 0));
    EXPECT_EQ(bench.take(),
              (Log{"begin", "host begin 7", "value -1.000", "value 0.000", "host end 7", "end", "begin",
                   "host begin 7", "value 1.000", "value 0.000", "host end 7", "end"}));

    // Side by side with kHorizontal: the left half means -1.
    auto* across = new CRockerSwitch(CRect(100, 0, 140, 30), &bench.listener, 8, 30, strip);
    bench.frame->addView(across);
    bench.press(135, 5);
    EXPECT_EQ(across->value(), 1.f);
    bench.move(105, 25);
    EXPECT_EQ(across->value(), -1.f);
    bench.release(105, 25);
    strip->release();
}

TEST(SwitchTest, SwitchesTakeTheStepUnderThePointerAndShowItsImage)
{
    ControlBench bench;
    const CColor colours[4] = {kColorRed, kColorGreen, kColorBlue, kColorYellow};
    CBitmap* tall = makeStrip(20, 40, {colours[0], colours[1], colours[2], colours[3]});
    // Four positions of 10 pixels each down the 40 pixels of one image.
    auto* vertical = new CVerticalSwitch(CRect(0, 0, 20, 40), &bench.listener, 1, 4, 40, 4, tall);
    bench.frame->addView(vertical);
    bench.press(5, 25);
    EXPECT_NEAR(vertical->value(), 2.f / 3.f, 1e-6f);
    EXPECT_EQ(Shot(vertical).at(10, 10), colours[2]);
    bench.move(5, 100);
    EXPECT_EQ(vertical->value(), 1.f);
    EXPECT_EQ(Shot(vertical).at(10, 10), colours[3]);
    bench.move(5, -5);
    EXPECT_EQ(vertical->value(), 0.f);
    bench.release(5, -5);
    EXPECT_EQ(bench.take(), (Log{"begin", "host begin 1", "value 0.667", "value 1.000", "value 0.000",
                                 "host end 1", "end"}));

    // Across the bitmap's 40 pixels of width, in 4 positions.
    CBitmap* wide = makeStrip(40, 20, {colours[0], colours[1], colours[2], colours[3]});
    auto* horizontal = new CHorizontalSwitch(CRect(50, 0, 90, 20), &bench.listener, 2, 4, 20, 4, wide);
    bench.frame->addView(horizontal);
    bench.press(62, 10);
    EXPECT_NEAR(horizontal->value(), 1.f / 3.f, 1e-6f);
    EXPECT_EQ(Shot(horizontal).at(10, 10), colours[1]);
    bench.release(62, 10);
    tall->release();
    wide->release();
}

TEST(MovieTest, MovieBitmapShowsTheValuesImageAndTheAnimationRunsOnPress)
{
    ControlBench bench;
    const CColor colours[3] = {kColorRed, kColorGreen, kColorBlue};
    CBitmap* strip = makeStrip(20, 20, {colours[0], colours[1], colours[2]});
    auto* movie = new CMovieBitmap(CRect(0, 0, 20, 20), &bench.listener, 1, 3, 20, strip);
    bench.frame->addView(movie);
    const struct
    {
        float value;
        int image;
    } cases[] = {{0.f, 0}, {0.24f, 0}, {0.26f, 1}, {0.8f, 2}, {5.f, 2}};
    for (const auto& c : cases)
    {
        movie->setValue(c.value);
        EXPECT_EQ(Shot(movie).at(10, 10), colours[c.image]) << c.value;
    }
    EXPECT_EQ(movie->value(), 1.f) << "drawing brings a value above 1 down";
    EXPECT_NE(bench.press(10, 10), kMouseHandled) << "for display only";

    auto* animation = new CAutoAnimation(CRect(50, 0, 70, 20), &bench.listener, 2, 3, 20, strip);
    bench.frame->addView(animation);
    EXPECT_EQ(Shot(animation).at(10, 10).alpha, 0) << "nothing shows while stopped";
    EXPECT_EQ(bench.press(60, 10), kMouseHandledOnce);
    EXPECT_TRUE(animation->isRunning());
    animation->nextImage();
    EXPECT_EQ(Shot(animation).at(10, 10), colours[1]);
    animation->nextImage();
    animation->nextImage();
    EXPECT_EQ(animation->value(), 0.f) << "past the last image comes the first";
    animation->previousImage();
    EXPECT_EQ(animation->value(), 39.f);
    bench.press(60, 10);
    EXPECT_FALSE(animation->isRunning());
    EXPECT_EQ(animation->value(), 0.f);
    EXPECT_EQ(bench.take(), (Log{"value 0.000", "value 0.000"}));
    strip->release();
}

TEST(SpecialTest, DigitsShowTheValueClampedToTheirCount)
{
    CBitmap* strip = digitStrip();
    CSpecialDigit digits(CRect(0, 0, 30, 10), nullptr, 0, 407, 3, nullptr, nullptr, 10, 10, strip);
    EXPECT_EQ(digits.max(), 999.f);
    {
        Shot shot(&digits);
        EXPECT_EQ(shot.at(5, 5), digitColour(4));
        EXPECT_EQ(shot.at(15, 5), digitColour(0));
        EXPECT_EQ(shot.at(25, 5), digitColour(7));
    }
    digits.setValue(1234.f);
    Shot clamped(&digits);
    for (int32_t x : {5, 15, 25})
        EXPECT_EQ(clamped.at(x, 5), digitColour(9));

    // Positions of the caller's, here in reverse order.
    const int32_t xs[2] = {10, 0}, ys[2] = {0, 0};
    CSpecialDigit placed(CRect(0, 0, 20, 10), nullptr, 0, 12, 2, xs, ys, 10, 10, strip);
    Shot shot(&placed);
    EXPECT_EQ(shot.at(15, 5), digitColour(1));
    EXPECT_EQ(shot.at(5, 5), digitColour(2));
    strip->release();
}

TEST(SpecialTest, VuMeterFallsByItsStepAndRisesAtOnce)
{
    CBitmap* on = makeStrip(10, 100, {kColorGreen});
    CBitmap* off = makeStrip(10, 100, {kColorRed});
    CVuMeter meter(CRect(0, 0, 10, 100), on, off, 10);
    meter.setValue(1.f);
    EXPECT_EQ(Shot(&meter).at(5, 2), kColorGreen);
    meter.setValue(0.f);
    for (int step = 1; step <= 3; ++step)
    {
        // Unlit from the top: one LED of 10 pixels more at each draw.
        EXPECT_TRUE(meter.isDirty());
        Shot shot(&meter);
        EXPECT_EQ(shot.at(5, step * 10 - 1), kColorRed) << step;
        EXPECT_EQ(shot.at(5, step * 10 + 1), kColorGreen) << step;
        EXPECT_NEAR(meter.oldValue(), 1.f - 0.1f * float(step), 1e-5f);
    }
    meter.setValue(0.9f);
    Shot risen(&meter);
    EXPECT_EQ(risen.at(5, 8), kColorRed);
    EXPECT_EQ(risen.at(5, 12), kColorGreen);

    // From the left, through its own offscreen surface.
    CBitmap* onAcross = makeStrip(100, 10, {kColorGreen});
    CBitmap* offAcross = makeStrip(100, 10, {kColorRed});
    CVuMeter across(CRect(0, 0, 100, 10), onAcross, offAcross, 10, kHorizontal);
    across.setUseOffscreen(true);
    across.setValue(0.5f);
    across.setOldValue(0.f); // a new meter starts from full and would still be falling
    Shot half(&across);
    EXPECT_EQ(half.at(49, 5), kColorGreen);
    EXPECT_EQ(half.at(51, 5), kColorRed);
    for (CBitmap* b : {on, off, onAcross, offAcross})
        b->release();
}

TEST(SpecialTest, SplashScreenOpensAsTheModalViewAndClosesOnItsPress)
{
    ControlBench bench;
    CBitmap* picture = makeStrip(50, 50, {kColorBlue});
    auto* splash = new CSplashScreen(CRect(0, 0, 20, 20), &bench.listener, 9, picture,
                                     CRect(100, 100, 150, 150), CPoint());
    bench.frame->addView(splash);
    EXPECT_EQ(bench.press(5, 5, kButtonRight), kMouseNotHandled) << "only the left button hits it";
    bench.take();
    EXPECT_EQ(bench.press(5, 5), kMouseHandledOnce);
    ASSERT_EQ(bench.frame->modalView(), splash->splashViewOf());
    EXPECT_EQ(Shot(bench.frame).at(120, 120), kColorBlue);
    bench.press(5, 5);
    EXPECT_EQ(bench.frame->modalView(), splash->splashViewOf()) << "the modal view takes every press";
    bench.press(120, 120);
    EXPECT_EQ(bench.frame->modalView(), nullptr);
    EXPECT_EQ(bench.take(), (Log{"value 1.000", "value 0.000"}));
    EXPECT_EQ(splash->value(), 0.f);
    picture->release();
}
