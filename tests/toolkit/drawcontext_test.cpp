#include "toolkit/platform/draw.h"
#include "toolkit_helpers.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using namespace toolkit_test;

namespace
{
// A platform half that paints nothing and notes every call that reaches it.
class CountingGraphics : public NativeGraphics
{
public:
    explicit CountingGraphics(std::vector<std::string>& calls) : calls(calls) {}
    bool hasSurface() const override { return true; }
    void setClip(const CRect& r) override { calls.push_back("clip " + std::to_string(r.left)); }
    void setPenColor(uint32_t) override { calls.push_back("pen"); }
    void setFillColor(uint32_t) override { calls.push_back("fill"); }
    void setFontColor(uint32_t) override { calls.push_back("font"); }
    void setLineWidth(float) override { calls.push_back("width"); }
    void setDashed(bool) override { calls.push_back("dash"); }
    void setAntialias(bool) override { calls.push_back("antialias"); }
    void drawLine(CPoint, CPoint) override {}
    void fillRect(float, float, float, float) override {}
    void strokeRect(float, float, float, float) override {}
    void fillEllipse(int32_t, int32_t, int32_t, int32_t) override {}
    void strokeEllipse(int32_t, int32_t, int32_t, int32_t) override {}
    void fillPolygon(const NativePointF*, int32_t) override {}
    void strokePolygon(const NativePointF*, int32_t, bool) override {}
    void fillArc(float, float, float, float, float, float) override {}
    void strokeArc(float, float, float, float, float, float) override {}
    float measureString(NativeFont*, const char*) override { return 0; }
    float fontHeight(NativeFont*) override { return 0; }
    void drawString(NativeFont*, const char*, float, float, bool) override {}
    void drawImage(NativeImage*, const CRect&, const CRect&, uint8_t) override {}
    std::vector<std::string>& calls;
};

struct Surface
{
    explicit Surface(int32_t w = 60, int32_t h = 40, CColor background = kColorWhite)
        : context(new COffscreenContext(nullptr, w, h))
    {
        context->setFillColor(background);
        context->drawRect(CRect(0, 0, w, h), kDrawFilled);
    }
    ~Surface() { context->release(); }
    CColor at(int32_t x, int32_t y) const { return context->bitmap()->pixel(x, y); }
    // Columns in [from, to) of row y whose colour differs from background.
    int inkIn(int32_t y, int32_t from, int32_t to, CColor background = kColorWhite) const
    {
        int n = 0;
        for (int32_t x = from; x < to; ++x)
            n += at(x, y) != background;
        return n;
    }
    COffscreenContext* context;
};

bool inkInRow(const Surface& s, int32_t y, int32_t width)
{
    return s.inkIn(y, 0, width) > 0;
}
} // namespace

TEST(DrawContextTest, WithoutSurfaceStateIsStoredAndNothingPaints)
{
    auto* context = new CDrawContext(nullptr, nullptr, nullptr);
    EXPECT_FALSE(context->canDraw());
    EXPECT_EQ(context->font(), kFontSystem);
    context->setFillColor(kColorRed);
    context->moveTo({1, 2});
    context->lineTo({5, 6});
    context->drawRect(CRect(0, 0, 10, 10), kDrawFilled);
    EXPECT_EQ(context->fillColor(), kColorRed);
    EXPECT_EQ(context->penPosition(), CPoint(5, 6));
    EXPECT_EQ(context->stringWidth("abc"), -1);
    context->release();
}

TEST(DrawContextTest, UnchangedStateAndClipMakeNoPlatformCall)
{
    std::vector<std::string> calls;
    auto* context = new CDrawContext(nullptr, new CountingGraphics(calls));
    // Construction brings the platform's pen and brushes to the stored state once.
    EXPECT_EQ(calls, (std::vector<std::string>{"pen", "dash", "width", "fill", "font", "antialias"}));
    calls.clear();

    context->setFrameColor(kColorWhite);
    context->setFillColor(kColorBlack);
    context->setLineWidth(1);
    context->setLineStyle(kLineSolid);
    context->setDrawMode(0);
    EXPECT_TRUE(calls.empty());
    // The font colour is passed on every time.
    context->setFontColor(kColorWhite);
    EXPECT_EQ(calls, std::vector<std::string>{"font"});
    calls.clear();

    context->setClipRect(CRect(10, 10, 20, 20));
    context->setClipRect(CRect(10, 10, 20, 20));
    EXPECT_EQ(calls, std::vector<std::string>{"clip 10"});
    // The same rectangle under another origin is another clip.
    context->offset = {5, 0};
    context->setClipRect(CRect(10, 10, 20, 20));
    EXPECT_EQ(calls, (std::vector<std::string>{"clip 10", "clip 15"}));
    CRect back;
    EXPECT_EQ(context->copyClipRect(back), CRect(10, 10, 20, 20));
    // After a reset under an origin, a clip is set again when it differs from the whole.
    context->resetClipRect();
    EXPECT_EQ(context->copyClipRect(back), CRect(-5, 0, 995, 1000));
    calls.clear();
    context->setClipRect(CRect(-5, 0, 995, 1000));
    EXPECT_TRUE(calls.empty()) << "the same rectangle as the reset";
    context->setClipRect(CRect(-10, 0, 990, 1000));
    EXPECT_EQ(calls, std::vector<std::string>{"clip -5"});

    calls.clear();
    context->setFillColor(kColorRed);
    context->setFillColor(kColorRed);
    EXPECT_EQ(calls, std::vector<std::string>{"fill"});
    context->release();
}

TEST(DrawContextTest, FontRequestsShareTheDescriptionUnlessSizeOrStyleChange)
{
    auto* context = new CDrawContext(nullptr, nullptr, nullptr);
    const int32_t before = kFontNormal->referenceCount();
    context->setFont(kFontNormal, 0, -1);
    EXPECT_EQ(context->font(), kFontNormal);
    EXPECT_EQ(kFontNormal->referenceCount(), before + 1);
    context->setFont(kFontNormal, 12, 0); // the values it already has
    EXPECT_EQ(context->font(), kFontNormal);

    context->setFont(kFontNormal, 14, -1);
    EXPECT_EQ(kFontNormal->referenceCount(), before);
    ASSERT_NE(context->font(), kFontNormal);
    EXPECT_STREQ(context->font()->name(), "Arial");
    EXPECT_EQ(context->font()->fontSize(), 14);
    EXPECT_EQ(context->font()->fontStyle(), 0);
    context->setFont(nullptr);
    EXPECT_EQ(context->font()->fontSize(), 14);
    // Its own font again, when nothing else holds it.
    context->setFont(context->font());
    EXPECT_EQ(context->font()->fontSize(), 14);
    EXPECT_STREQ(context->font()->name(), "Arial");
    context->release();

    CFontDesc a("Arial", 12, 1);
    EXPECT_TRUE(a == CFontDesc("Arial", 12, 1));
    EXPECT_FALSE(a == CFontDesc("Arial", 12, 0));
    a.platformFont();
    EXPECT_TRUE(a.hasPlatformFont());
    a.setName("Arial");
    EXPECT_TRUE(a.hasPlatformFont());
    a.setSize(13);
    EXPECT_FALSE(a.hasPlatformFont());
}

TEST(DrawContextTest, RectangleOutlineLiesInsideAndBackwardRectanglesDrawTheSame)
{
    Surface s;
    s.context->setFillColor(kColorRed);
    s.context->setFrameColor(kColorBlue);
    s.context->drawRect(CRect(5, 5, 15, 15), kDrawFilledAndStroked);
    EXPECT_EQ(s.at(5, 5), kColorBlue);
    EXPECT_EQ(s.at(14, 14), kColorBlue);
    EXPECT_EQ(s.at(14, 9), kColorBlue);
    EXPECT_EQ(s.at(10, 10), kColorRed);
    EXPECT_EQ(s.at(15, 15), kColorWhite);
    EXPECT_EQ(s.at(15, 9), kColorWhite);
    EXPECT_EQ(s.at(4, 9), kColorWhite);

    Surface backward;
    backward.context->setFillColor(kColorRed);
    backward.context->setFrameColor(kColorBlue);
    backward.context->drawRect(CRect(15, 15, 5, 5), kDrawFilledAndStroked);
    for (int32_t y = 0; y < 20; ++y)
        for (int32_t x = 0; x < 20; ++x)
            ASSERT_EQ(backward.at(x, y), s.at(x, y)) << x << "," << y;

    // The offset moves every primitive.
    Surface moved;
    moved.context->offset = {20, 10};
    moved.context->setFillColor(kColorGreen);
    moved.context->drawRect(CRect(0, 0, 4, 4), kDrawFilled);
    EXPECT_EQ(moved.at(20, 10), kColorGreen);
    EXPECT_EQ(moved.at(23, 13), kColorGreen);
    EXPECT_EQ(moved.at(24, 13), kColorWhite);
}

TEST(DrawContextTest, LinesPointsAndLineStyles)
{
    Surface s;
    s.context->setFrameColor(kColorBlack);
    s.context->moveTo({2, 3});
    s.context->lineTo({12, 3});
    EXPECT_EQ(s.inkIn(3, 0, 60), 10);
    EXPECT_EQ(s.at(2, 3), kColorBlack);
    EXPECT_EQ(s.inkIn(2, 0, 60) + s.inkIn(4, 0, 60), 0);

    // Dotted: every other pixel.
    s.context->setLineStyle(kLineOnOff);
    s.context->moveTo({2, 8});
    s.context->lineTo({22, 8});
    EXPECT_EQ(s.inkIn(8, 0, 60), 10);
    EXPECT_NE(s.at(2, 8), s.at(3, 8));
    s.context->setLineStyle(kLineSolid);

    // A point is one pixel, and the pen comes back as it was.
    s.context->setLineWidth(4);
    s.context->drawPoint({30, 20}, kColorRed);
    EXPECT_EQ(s.at(30, 20), kColorRed);
    EXPECT_EQ(s.inkIn(20, 0, 60) + s.inkIn(19, 0, 60) + s.inkIn(21, 0, 60), 1);
    EXPECT_EQ(s.context->lineWidth(), 4);
    EXPECT_EQ(s.context->frameColor(), kColorBlack);

    // A line runs from its start up to its far end, which stays open whichever way it is drawn.
    Surface back;
    back.context->setFrameColor(kColorBlack);
    back.context->moveTo({12, 3});
    back.context->lineTo({2, 3});
    back.context->moveTo({50, 12});
    back.context->lineTo({50, 2});
    for (int32_t x = 0; x < 40; ++x)
        EXPECT_EQ(back.at(x, 3), s.at(x, 3)) << x;
    EXPECT_EQ(back.at(50, 2), kColorBlack);
    EXPECT_EQ(back.at(50, 11), kColorBlack);
    EXPECT_EQ(back.at(50, 12), kColorWhite);
}

TEST(DrawContextTest, OnlyDrawModeThreeSmooths)
{
    // A slanted line then has pixels of partial coverage.
    auto partial = [](const Surface& surface)
    {
        int n = 0;
        for (int32_t y = 25; y < 40; ++y)
            for (int32_t x = 0; x < 60; ++x)
            {
                CColor c = surface.at(x, y);
                n += c.red != 0 && c.red != 255;
            }
        return n;
    };
    Surface aliased, smooth;
    for (auto* t : {&aliased, &smooth})
    {
        t->context->setFrameColor(kColorBlack);
        t->context->setDrawMode(t == &smooth ? kAntialias : 0);
        t->context->moveTo({0, 25});
        t->context->lineTo({50, 38});
    }
    EXPECT_EQ(partial(aliased), 0);
    EXPECT_GT(partial(smooth), 10);
}

TEST(DrawContextTest, ArcsSweepForwardAcrossZeroAndPolygonsFillByEvenOdd)
{
    Surface s(80, 60);
    s.context->setFillColor(kColorGreen);
    // From the top round by the right to the bottom: the right half.
    s.context->drawArc(CRect(0, 0, 40, 40), 270.f, 90.f, kDrawFilled);
    EXPECT_EQ(s.at(30, 20), kColorGreen);
    EXPECT_EQ(s.at(10, 20), kColorWhite);

    s.context->setFillColor(kColorBlue);
    s.context->drawEllipse(CRect(50, 0, 71, 21), kDrawFilled);
    EXPECT_EQ(s.at(60, 10), kColorBlue);
    EXPECT_EQ(s.at(51, 1), kColorWhite);

    // A five-pointed star drawn in one stroke leaves its centre empty under even-odd filling.
    const CPoint star[] = {{60, 30}, {70, 58}, {45, 40}, {75, 40}, {50, 58}};
    s.context->setFillColor(kColorRed);
    s.context->drawPolygon(star, 5, kDrawFilled);
    EXPECT_EQ(s.at(60, 45), kColorWhite);
    EXPECT_EQ(s.at(60, 34), kColorRed);
}

TEST(DrawContextTest, ClipReplacesAndStringsKeepToTheirRectangle)
{
    Surface s(100, 40);
    s.context->setClipRect(CRect(0, 0, 10, 10));
    s.context->setClipRect(CRect(50, 0, 60, 10)); // replaces, not intersects
    s.context->setFillColor(kColorBlack);
    s.context->drawRect(CRect(0, 0, 100, 10), kDrawFilled);
    EXPECT_EQ(s.at(5, 5), kColorWhite);
    EXPECT_EQ(s.at(55, 5), kColorBlack);
    EXPECT_EQ(s.at(60, 5), kColorWhite);
    s.context->resetClipRect();

    // Centred text wider than its rectangle starts left of it and is cut at both ends.
    Surface t(100, 40);
    t.context->setFontColor(kColorBlack);
    const CRect box(40, 10, 60, 30);
    t.context->drawStringInRect("WWWWWWWWWW", box, kCenterText, false);
    int inside = 0;
    for (int32_t y = 0; y < 40; ++y)
    {
        EXPECT_EQ(t.inkIn(y, 0, 40) + t.inkIn(y, 60, 100), 0) << y;
        inside += t.inkIn(y, 40, 60);
    }
    EXPECT_GT(inside, 20);
    bool leftEdge = false, rightEdge = false;
    for (int32_t y = 10; y < 30; ++y)
    {
        leftEdge |= t.at(40, y) != kColorWhite;
        rightEdge |= t.at(59, y) != kColorWhite;
    }
    EXPECT_TRUE(leftEdge && rightEdge);
    // The clip is given back afterwards.
    CRect clip;
    EXPECT_EQ(t.context->copyClipRect(clip), CRect(0, 0, 100, 40));
}

TEST(DrawContextTest, TextStandsOnThePointAndMeasures)
{
    Surface s(120, 40);
    s.context->setFontColor(kColorBlack);
    // "E" has no descender: its foot lies within two pixels above the given point.
    s.context->drawStringAt("EEE", {5, 30}, false);
    int lowest = -1;
    for (int32_t y = 0; y < 40; ++y)
        if (inkInRow(s, y, 120)) lowest = y;
    EXPECT_GE(lowest, 27);
    EXPECT_LE(lowest, 30);

    EXPECT_EQ(s.context->stringWidth(""), 0);
    // Every further letter adds its advance; a platform may pad the whole string by a constant.
    const int32_t one = s.context->stringWidth("E");
    const int32_t two = s.context->stringWidth("EE");
    EXPECT_GT(two - one, 3);
    EXPECT_NEAR(s.context->stringWidth("EEEE") - one, 3 * (two - one), 3);
    s.context->drawStringAt(nullptr, {5, 10}, true);
    s.context->drawString(nullptr, CRect(0, 0, 100, 20));
    EXPECT_EQ(s.context->stringWidth(nullptr), -1);
    // Text that is not UTF-8 (a stray byte, an overlong form, an encoded surrogate, a value past
    // U+10FFFF) draws a replacement mark for each bad sequence and leaves the context working.
    const int32_t replacement = s.context->stringWidth("\xEF\xBF\xBD");
    EXPECT_GT(replacement, 0);
    // One mark for each piece that cannot start a character, as the decoder splits them.
    const std::pair<const char*, int32_t> texts[] = {
        {"\xff", 1}, {"\xC0\xAF", 2}, {"\xED\xA0\x80", 3}, {"\xF4\x90\x80\x80", 4}};
    for (const auto& [text, marks] : texts)
    {
        SCOPED_TRACE(marks);
        Surface bad(40, 20);
        bad.context->setFontColor(kColorBlack);
        std::string shown;
        for (int32_t i = 0; i < marks; ++i)
            shown += "\xEF\xBF\xBD";
        EXPECT_EQ(bad.context->stringWidth(text), bad.context->stringWidth(shown.c_str()));
        bad.context->drawStringAt(text, {2, 15}, true);
        bool ink = false;
        for (int32_t y = 0; y < 20; ++y)
            ink |= inkInRow(bad, y, 40);
        EXPECT_TRUE(ink);
        bad.context->drawStringAt("E", {20, 15}, true);
        EXPECT_GT(bad.inkIn(10, 20, 40), 0) << "text after it still draws";
        bad.context->setFillColor(kColorRed);
        bad.context->drawRect(CRect(0, 0, 2, 2), kDrawFilled);
        EXPECT_EQ(bad.at(1, 1), kColorRed);
    }
}

TEST(DrawContextTest, UnderlineWinsOverBoldAndItalic)
{
    // Style 5 (bold and underline) is drawn underlined: a solid run of ink below the letters.
    auto longestRun = [](int32_t style)
    {
        Surface s(80, 30);
        s.context->setFontColor(kColorBlack);
        s.context->setFont(kFontBig, 0, style);
        s.context->drawStringAt("xxxx", {4, 24}, false);
        int best = 0;
        for (int32_t y = 0; y < 30; ++y)
        {
            int run = 0;
            for (int32_t x = 0; x < 80; ++x)
            {
                run = s.at(x, y) != kColorWhite ? run + 1 : 0;
                best = std::max(best, run);
            }
        }
        return best;
    };
    const int plain = longestRun(0);
    EXPECT_GT(longestRun(5), plain + 10);
    EXPECT_LT(longestRun(3), plain + 10);
}
